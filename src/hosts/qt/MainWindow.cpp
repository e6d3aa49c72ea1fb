#include "MainWindow.h"

#include <QActionGroup>
#include <QApplication>
#include <QCloseEvent>
#include <QComboBox>
#include <QDialog>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QLibraryInfo>
#include <QMenuBar>
#include <QMessageBox>
#include <QResizeEvent>
#include <QTranslator>
#include <QUuid>
#include <algorithm>
#include <stdexcept>

#include "Renderer.h"
#include "dtmgui/DTMGUI.h"
#include "sim/Simulator.h"
#include "tools/Vb.h"

#ifdef KESTROVA_HAVE_PLATFORM
#include "platform/LinuxUsbInventory.h"
#endif

namespace kestrova::qt {

namespace {

// The business object as the frame hands it to the control, plus the frame's side of CloseGui
// (the control asks its frame to close it).
class FrameBridge : public IGuiBridge {
  public:
    FrameBridge(std::shared_ptr<IGuiBridge> dtm, QMainWindow* window)
        : sim_(std::move(dtm)), window_(window) {}
    void RegisterGui(const std::string& progId, const std::string& invokeId) override {
        sim_->RegisterGui(progId, invokeId);
    }
    void UnregisterGui(const std::string& invokeId) override { sim_->UnregisterGui(invokeId); }
    void CloseGui(const std::string& invokeId) override {
        sim_->CloseGui(invokeId);
        // Not from inside the control's own click handler: the window goes once it returns.
        QMetaObject::invokeMethod(
            window_, [w = window_] { w->close(); }, Qt::QueuedConnection);
    }
    Variant SendCommand(const std::string& text) override { return sim_->SendCommand(text); }
    void SetItem(const std::string& name, const Variant& value) override {
        sim_->SetItem(name, value);
    }
    void NotifyGuiReleased() override { sim_->NotifyGuiReleased(); }

  private:
    std::shared_ptr<IGuiBridge> sim_;
    QMainWindow* window_;
};

struct MasterChoice {
    const char* product;
    const char* text;
};
const MasterChoice kMasters[] = {
    {"7c31", "Halver+Voss master (7c31)"},
    {"7c32", "Ostrel master (7c32)"},
    {"7c33", "Dravik master (7c33)"},
    {"7c3f", "Unsupported master (7c3f)"},
    {"unreadable", "Master with unreadable product id"},
};

struct Choice {
    int value;
    const char* text;
};
// IO-Link event codes and qualifier parts a user may want to raise.
const Choice kEventCodes[] = {
    {0x8C10, "Process variable range overrun"},
    {0x8C30, "Process variable range underrun"},
    {0x4000, "Temperature fault"},
    {0x4210, "Device temperature overrun"},
    {0x5100, "General power supply fault"},
    {0x6320, "Parameter error"},
    {0x1000, "General malfunction"},
    {0x8CA0, "Device specific (36000)"},
};
const Choice kInstances[] = {{4, "Application"},
                             {1, "Physical layer"},
                             {2, "Data link"},
                             {3, "Application layer"},
                             {0, "Unknown"}};
const Choice kTypes[] = {{48, "Error"}, {32, "Warning"}, {16, "Notification"}};
const Choice kModes[] = {{192, "Appears"}, {128, "Disappears"}, {64, "Single shot"}};

template <size_t N>
QComboBox* ChoiceBox(const Choice (&choices)[N], QWidget* parent) {
    auto* box = new QComboBox(parent);
    for (const Choice& c : choices) box->addItem(QString::fromUtf8(c.text), c.value);
    return box;
}

// A code as "0x8C10" (hex) or "36000" (decimal), alone or followed by a description.
bool ParseEventCode(const QString& text, int& code) {
    const QString word = text.trimmed().section(QChar(' '), 0, 0);
    bool ok = false;
    const int value = word.startsWith(QStringLiteral("0x"), Qt::CaseInsensitive)
                          ? word.mid(2).toInt(&ok, 16)
                          : word.toInt(&ok, 10);
    if (!ok || value < 0 || value > 0xFFFF) return false;
    code = value;
    return true;
}

}  // namespace

MainWindow::MainWindow(const AppOptions& options, BusinessObject business, QWidget* parent)
    : QMainWindow(parent),
      options_(options),
      services_([this]() -> std::vector<ui::InventoryRecord> {
#ifdef KESTROVA_HAVE_PLATFORM
          if (options_.systemInventory) return platform::LinuxUsbInventory();
#endif
          return business_.Inventory ? business_.Inventory() : std::vector<ui::InventoryRecord>{};
      }),
      port_(options.port) {
    if (business.Dtm) {
        business_ = std::move(business);
    } else {
        sim::Options simOptions;
        if (!options.profile.empty()) simOptions.profile = options.profile;
        simOptions.product = options.master == "none" ? "" : options.master;
        simOptions.port = options.port;
        simOptions.realtime = true;
        ui::Clock* clock = &services_.GetClock();
        sim_ = std::make_shared<sim::Simulator>(simOptions, [clock] { return clock->NowMs(); });
        business_ = sim::AsBusinessObject(sim_);
    }
    for (const std::string& line : options.simLines) {
        try {
            Control(line);
        } catch (const std::exception& e) {
            throw std::invalid_argument("--sim \"" + line + "\": " + e.what());
        }
    }
    bridge_ = std::make_shared<FrameBridge>(business_.Dtm, this);
    services_.SetParentWindow(this);

    dpi_ = LogicalDpi();

    host_ = new QWidget(this);
    host_->installEventFilter(this);
    setCentralWidget(host_);
    const int32_t minW = DTMGUI::kMinWidth, minH = DTMGUI::kMinHeight;
    host_->setMinimumSize(HostSizeFor(minW, minH));
    BuildMenus();
}

MainWindow::~MainWindow() {
    CloseDtm();
}

QSize MainWindow::HostSizeFor(int32_t widthTwips, int32_t heightTwips) const {
    return QSize(TwipsToPx(widthTwips, dpi_), TwipsToPx(heightTwips, dpi_));
}

bool MainWindow::OpenDtm(int functionId, int locale) {
    CloseDtm();
    functionId_ = functionId;
    locale_ = locale;
    try {
        business_.Dtm->SetItem("Language", Variant(static_cast<int32_t>(locale)));
    } catch (const std::exception& e) {
        ReportError(std::string("The business object refused the language: ") + e.what());
    }

    UseQtLanguage(locale);

    dtm_ = std::make_unique<DTMGUI>(services_);
    FitDtmToHost();
    const std::string invokeId = QUuid::createUuid().toString().toStdString();
    bool ok = false;
    try {
        ok = dtm_->Init(invokeId, FunctionCallXml(functionId), bridge_);
    } catch (const std::exception& e) {
        ReportError(std::string("Init failed: ") + e.what());
    }
    // Rendered once the control has built its start page: one pass instead of many updates.
    renderer_ = std::make_unique<Renderer>(*dtm_, host_, dpi_);
    UpdateChecks();
    UpdateTitle();
    if (!ok) ReportError("The control did not open the " + FunctionName(functionId) + " function.");
    return ok;
}

void MainWindow::UseQtLanguage(int locale) {
    // Qt's own dialogs (the save dialog, message box buttons) speak the control's language.
    const QString name = locale == kLocaleGerman ? QStringLiteral("de") : QStringLiteral("en");
    services_.SetLanguage(locale);
    if (qtTranslator_ && qtTranslator_->language().startsWith(name)) return;
    if (qtTranslator_) QCoreApplication::removeTranslator(qtTranslator_.get());
    qtTranslator_.reset();
    if (locale != kLocaleGerman) return;
    auto translator = std::make_unique<QTranslator>();
    if (!translator->load(QLocale(QLocale::German), QStringLiteral("qtbase"), QStringLiteral("_"),
                          QLibraryInfo::path(QLibraryInfo::TranslationsPath))) {
        qWarning("kestrova: Qt's German translations are not installed");
        return;
    }
    QCoreApplication::installTranslator(translator.get());
    qtTranslator_ = std::move(translator);
}

QString MainWindow::DtmVersion() const {
    if (!dtm_) return {};
    try {
        return QString::fromStdString(dtm_->Gui().GetUILabel("Version"));
    } catch (const std::exception&) {
        return {};
    }
}

void MainWindow::CloseDtm() {
    if (!dtm_) return;
    try {
        dtm_->PrepareToRelease();
    } catch (const std::exception& e) {
        qWarning("kestrova: PrepareToRelease: %s", e.what());
    }
    renderer_.reset();
    dtm_.reset();
}

void MainWindow::FitDtmToHost() {
    // Before the window is shown the control keeps its design size; showing sizes it.
    if (!dtm_ || !host_->isVisible() || host_->width() <= 0 || host_->height() <= 0) return;
    try {
        dtm_->Move(0, 0, PxToTwips(host_->width(), dpi_), PxToTwips(host_->height(), dpi_));
    } catch (const std::exception& e) {
        qWarning("kestrova: resize: %s", e.what());
    }
}

bool MainWindow::eventFilter(QObject* watched, QEvent* event) {
    if (watched == host_ && event->type() == QEvent::Resize) FitDtmToHost();
    return QMainWindow::eventFilter(watched, event);
}

void MainWindow::closeEvent(QCloseEvent* event) {
    CloseDtm();
    event->accept();
}

void MainWindow::ReportError(const std::string& message) {
    services_.MsgBox(message, ui::msgbox::OkOnly | ui::msgbox::Exclamation, "");
}

std::string MainWindow::Control(const std::string& line) {
    if (!business_.Control)
        throw std::invalid_argument("the business object takes no control lines");
    return business_.Control(line);
}

bool MainWindow::SimulatorControl(const std::string& line) {
    try {
        Control(line);
        return true;
    } catch (const std::exception& e) {
        ReportError("Simulator: " + std::string(e.what()));
        return false;
    }
}

bool MainWindow::OpenPage(const std::string& keyOrText) {
    if (!dtm_) return false;
    const std::string key = DTMGUI::NodeKeyFor(keyOrText);
    for (const auto& child : dtm_->Children()) {
        if (child->GetKind() != ui::Kind::TreeView) continue;
        for (const ui::TreeNode& node : child->Nodes()) {
            if (!IEquals(node.Key, key) && !IEquals(node.Text, keyOrText)) continue;
            try {
                child->UserNodeClick(node.Key);
            } catch (const std::exception& e) {
                ReportError(e.what());
            }
            return true;
        }
    }
    return false;
}

bool MainWindow::ClickControl(const std::string& path) {
    if (!dtm_) return false;
    // Paths start below the main control; its own name may lead them.
    std::string_view below = path;
    const std::string prefix = dtm_->Name() + ".";
    if (below.size() > prefix.size() && IEquals(below.substr(0, prefix.size()), prefix))
        below.remove_prefix(prefix.size());
    ui::Control* c = dtm_->Resolve(below);
    if (!c) return false;
    try {
        c->UserClick();
    } catch (const std::exception& e) {
        ReportError(e.what());
    }
    return true;
}

// --- menus ---

void MainWindow::BuildMenus() {
    QMenu* dtm = menuBar()->addMenu(QStringLiteral("&DTM"));
    functionGroup_ = new QActionGroup(this);
    const std::pair<int, const char*> functions[] = {{kFunctionConfigure, "&Configure"},
                                                     {kFunctionExpert, "&Expert"},
                                                     {kFunctionAbout, "&About"}};
    for (const auto& [id, text] : functions) {
        QAction* a = dtm->addAction(QString::fromUtf8(text));
        a->setCheckable(true);
        a->setData(id);
        a->setStatusTip(QStringLiteral("Reopen the DTM with this FDT function"));
        functionGroup_->addAction(a);
        connect(a, &QAction::triggered, this, [this, id = id] { OpenDtm(id, locale_); });
    }
    dtm->addSeparator();
    languageGroup_ = new QActionGroup(this);
    const std::pair<int, const char*> languages[] = {{kLocaleEnglish, "E&nglish"},
                                                     {kLocaleGerman, "&Deutsch"}};
    for (const auto& [locale, text] : languages) {
        QAction* a = dtm->addAction(QString::fromUtf8(text));
        a->setCheckable(true);
        a->setData(locale);
        languageGroup_->addAction(a);
        connect(a, &QAction::triggered, this,
                [this, locale = locale] { OpenDtm(functionId_, locale); });
    }
    dtm->addSeparator();
    QAction* reopen = dtm->addAction(QStringLiteral("&Reopen"));
    reopen->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_R));
    connect(reopen, &QAction::triggered, this, [this] { OpenDtm(functionId_, locale_); });
    dtm->addSeparator();
    QAction* quit = dtm->addAction(QStringLiteral("&Quit"));
    quit->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Q));
    connect(quit, &QAction::triggered, this, &QWidget::close);

    QMenu* simMenu = menuBar()->addMenu(QStringLiteral("&Simulator"));
    QMenu* plug = simMenu->addMenu(QStringLiteral("&Plug master"));
    for (const MasterChoice& m : kMasters) {
        QAction* a = plug->addAction(QString::fromUtf8(m.text));
        connect(a, &QAction::triggered, this,
                [this, p = std::string(m.product)] { PlugMaster(p); });
    }
    QMenu* ports = simMenu->addMenu(QStringLiteral("P&ort for plugging"));
    portGroup_ = new QActionGroup(this);
    for (int n = 3; n <= 9; ++n) {
        const QString name = QStringLiteral("COM%1").arg(n);
        QAction* a = ports->addAction(name);
        a->setCheckable(true);
        a->setChecked(name.toStdString() == port_);
        portGroup_->addAction(a);
        connect(a, &QAction::triggered, this, [this, name] { port_ = name.toStdString(); });
    }
    QAction* unplug = simMenu->addAction(QStringLiteral("&Unplug master"));
    connect(unplug, &QAction::triggered, this, [this] { UnplugMaster(); });
    simMenu->addSeparator();
    QAction* event = simMenu->addAction(QStringLiteral("Raise device &event..."));
    event->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_E));
    connect(event, &QAction::triggered, this, [this] { RaiseDeviceEvent(); });
    QMenu* profiles = simMenu->addMenu(QStringLiteral("Device p&rofile"));
    profileGroup_ = new QActionGroup(this);
    const std::string startProfile = options_.profile.empty() ? "sensor" : options_.profile;
    for (const std::string& name : sim::Simulator::Profiles()) {
        QAction* a = profiles->addAction(QString::fromStdString(name));
        a->setCheckable(true);
        a->setChecked(IEquals(name, startProfile));
        profileGroup_->addAction(a);
        connect(a, &QAction::triggered, this,
                [this, name] { SimulatorControl("profile " + name); });
    }
    simMenu->addSeparator();
    QAction* status = simMenu->addAction(QStringLiteral("&Status..."));
    connect(status, &QAction::triggered, this, [this] { ShowSimulatorStatus(); });

    QMenu* help = menuBar()->addMenu(QStringLiteral("&Help"));
    QAction* about = help->addAction(QStringLiteral("&About Kestrova"));
    connect(about, &QAction::triggered, this, [this] {
        const QString dtmVersion = DtmVersion();
        QMessageBox::about(
            this, QStringLiteral("About Kestrova"),
            QStringLiteral("<b>Kestrova DTM %1</b> (application %2)<p>The user interface of the "
                           "IO-Link USB master DTM in a desktop frame.</p><p>Without hardware it "
                           "runs on a simulated master; the Simulator menu plugs and unplugs "
                           "masters and raises device events.</p>")
                .arg(dtmVersion.isEmpty() ? QStringLiteral("(not open)") : dtmVersion,
                     QApplication::applicationVersion()));
    });
    QAction* aboutQt = help->addAction(QStringLiteral("About &Qt"));
    connect(aboutQt, &QAction::triggered, qApp, &QApplication::aboutQt);
}

void MainWindow::UpdateChecks() {
    for (QAction* a : functionGroup_->actions()) a->setChecked(a->data().toInt() == functionId_);
    for (QAction* a : languageGroup_->actions()) a->setChecked(a->data().toInt() == locale_);
}

void MainWindow::UpdateTitle() {
    const QString language =
        locale_ == kLocaleGerman ? QStringLiteral("Deutsch") : QStringLiteral("English");
    setWindowTitle(QStringLiteral("Kestrova \u2013 %1 (%2) \u2013 simulated master")
                       .arg(QString::fromStdString(FunctionName(functionId_)), language));
}

void MainWindow::PlugMaster(const std::string& product) {
    SimulatorControl("plug " + product + " " + port_);
}

void MainWindow::UnplugMaster() {
    // The master in use; when none is in use, the one on the chosen port.
    try {
        Control("unplug");
        return;
    } catch (const std::exception&) {
    }
    SimulatorControl("unplug " + port_);
}

void MainWindow::RaiseDeviceEvent() {
    QDialog dialog(this);
    dialog.setWindowTitle(QStringLiteral("Raise device event"));
    auto* form = new QFormLayout(&dialog);
    auto* code = new QComboBox(&dialog);
    code->setEditable(true);
    for (const Choice& c : kEventCodes)
        code->addItem(QStringLiteral("0x%1  %2")
                          .arg(QString::number(c.value, 16).toUpper().rightJustified(4, QChar('0')),
                               QString::fromUtf8(c.text)));
    auto* instance = ChoiceBox(kInstances, &dialog);
    auto* type = ChoiceBox(kTypes, &dialog);
    auto* mode = ChoiceBox(kModes, &dialog);
    auto* hint = new QLabel(QStringLiteral("Code in hex (0x8C10) or decimal (36000)."), &dialog);
    hint->setEnabled(false);
    form->addRow(QStringLiteral("&Code:"), code);
    form->addRow(QString(), hint);
    form->addRow(QStringLiteral("&Instance:"), instance);
    form->addRow(QStringLiteral("&Type:"), type);
    form->addRow(QStringLiteral("&Mode:"), mode);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, &dialog);
    form->addRow(buttons);
    connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
    connect(buttons, &QDialogButtonBox::accepted, &dialog, [&] {
        int value = 0;
        if (!ParseEventCode(code->currentText(), value)) {
            QMessageBox::warning(&dialog, dialog.windowTitle(),
                                 QStringLiteral("The code must be a number from 0 to 65535, "
                                                "in hex as 0x8C10 or in decimal."));
            return;  // the dialog stays open with what was typed
        }
        const std::string line = "event " + std::to_string(value) + " " +
                                 std::to_string(instance->currentData().toInt()) + " " +
                                 std::to_string(type->currentData().toInt()) + " " +
                                 std::to_string(mode->currentData().toInt());
        if (SimulatorControl(line)) dialog.accept();
    });
    dialog.exec();
}

void MainWindow::ShowSimulatorStatus() {
    std::string text;
    try {
        text = Control("status");
    } catch (const std::exception& e) {
        text = e.what();
    }
    QMessageBox box(this);
    box.setWindowTitle(QStringLiteral("Simulator status"));
    box.setText(QString::fromStdString(text));
    box.setTextFormat(Qt::PlainText);
    box.exec();
}

}  // namespace kestrova::qt
