#include <gtest/gtest.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QTest>
#include <QTreeWidget>
#include <cstdlib>

#include "AppOptions.h"
#include "MainWindow.h"
#include "Renderer.h"
#include "Widgets.h"
#include "dtmgui/DTMGUI.h"
#include "link/LineBridge.h"
#include "sim/Serve.h"
#include "sim/Simulator.h"

inline void PrintTo(const QString& s, std::ostream* os) {
    *os << '"' << s.toStdString() << '"';
}

namespace kestrova::qt {
namespace {

// --- command line ---

// The options that differ from the defaults, or the parse error.
std::string Outcome(const std::vector<std::string>& args) {
    const ParsedOptions p = ParseOptions(args);
    if (!p.error.empty()) return "error: " + p.error;
    const AppOptions& o = p.options;
    const AppOptions d;
    std::string s;
    auto add = [&](bool differs, const std::string& text) {
        if (differs) s += (s.empty() ? "" : " ") + text;
    };
    add(o.functionId != d.functionId, "function " + std::to_string(o.functionId));
    add(o.language != d.language, "language " + std::to_string(o.language));
    add(o.profile != d.profile, "profile " + o.profile);
    add(o.master != d.master, "master " + o.master);
    add(o.port != d.port, "port " + o.port);
    add(o.systemInventory, "system inventory");
    for (const std::string& line : o.simLines) add(true, "sim '" + line + "'");
    add(o.page != d.page, "page " + o.page);
    for (const std::string& path : o.clicks) add(true, "click " + path);
    add(o.clickAfterMs != d.clickAfterMs, "click after " + std::to_string(o.clickAfterMs));
    add(o.screenshot != d.screenshot, "screenshot " + o.screenshot);
    add(o.afterMs != d.afterMs, "after " + std::to_string(o.afterMs));
    add(o.help, "help");
    add(o.bridge != d.bridge, "bridge '" + o.bridge + "'");
    add(o.bridgeTimeoutMs != d.bridgeTimeoutMs, "timeout " + std::to_string(o.bridgeTimeoutMs));
    return s;
}

TEST(AppOptions, CommandLinesGiveOptionsOrAReason) {
    const AppOptions d;  // the expert function on a simulated master
    EXPECT_EQ(std::tie(d.functionId, d.language, d.master, d.port, d.systemInventory),
              std::make_tuple(kFunctionExpert, 0, std::string("7c31"), std::string("COM3"), false));
    // Errors are matched by a part of their text.
    const std::pair<std::vector<std::string>, std::string> cases[] = {
        // clang-format off
        {{"--function", "about", "--language=de", "--profile", "actuator", "--master", "7C33",
          "--port", "com4", "--inventory", "system", "--sim", "latency 20", "--sim", "measure 100",
          "--page", "K3", "--click", "A.B", "--click-after", "50", "--screenshot", "out.png", "--after", "900"},
         "function 3 language 1031 profile actuator master 7c33 port COM4 system inventory sim 'latency 20' "
         "sim 'measure 100' page K3 click A.B click after 50 screenshot out.png after 900"},
        {{}, ""}, {{"--help"}, "help"}, {{"--function", "1"}, "function 1"},
        {{"--language", "EN"}, "language 1033"}, {{"--master", "none"}, "master none"},
        {{"--function", "edit"}, "error: unknown function 'edit'"}, {{"--function"}, "error: --function needs a value"},
        {{"--language", "fr"}, "error: unknown language 'fr'"}, {{"--master", "7c3"}, "four hex digits"},
        {{"--port", "LPT1"}, "port name like COM3"}, {{"--port", "COM0"}, "port name like COM3"},
        {{"--inventory", "wmi"}, "error: unknown inventory"}, {{"--after", "-5"}, "error: --after takes milliseconds"},
        {{"--after", "soon"}, "error: --after takes milliseconds"}, {{"--screenshot"}, "needs a file name"},
        {{"--profile="}, "needs a profile name"}, {{"--verbose"}, "error: unknown option '--verbose'"},
        {{"expert"}, "error: unknown option 'expert'"},
        {{"--bridge", "kestrova-sim --serve", "--bridge-timeout=900"}, "bridge 'kestrova-sim --serve' timeout 900"},
        {{"--bridge="}, "error: --bridge needs a command"}, {{"--bridge-timeout", "0"}, "takes milliseconds"},
        // clang-format on
    };
    for (const auto& [args, expected] : cases) {
        const std::string got = Outcome(args);
        if (got.rfind("error: ", 0) == 0)
            EXPECT_NE(got.find(expected), std::string::npos) << got;
        else
            EXPECT_EQ(got, expected);
    }
}

TEST(AppOptions, LanguageFollowsTheEnvironment) {
    const char* names[] = {"LANGUAGE", "LC_ALL", "LC_MESSAGES", "LANG"};
    std::vector<std::pair<std::string, std::string>> saved;
    for (const char* n : names) {
        if (const char* v = std::getenv(n)) saved.emplace_back(n, v);
        unsetenv(n);
    }
    const struct {
        const char* name;
        const char* value;
        int locale;
    } cases[] = {
        {"LANG", "de_DE.UTF-8", kLocaleGerman}, {"LANG", "en_GB.UTF-8", kLocaleEnglish},
        {"LANG", "C", kLocaleEnglish},          {"LC_ALL", "de_AT", kLocaleGerman},
        {"LANGUAGE", "de:en", kLocaleGerman},   {"LANG", "fr_FR", kLocaleEnglish},
    };
    EXPECT_EQ(LocaleFromEnvironment(), kLocaleEnglish);  // nothing set
    for (const auto& c : cases) {
        setenv(c.name, c.value, 1);
        EXPECT_EQ(LocaleFromEnvironment(), c.locale) << c.name << "=" << c.value;
        unsetenv(c.name);
    }
    for (const auto& [n, v] : saved) setenv(n.c_str(), v.c_str(), 1);
}

TEST(AppOptions, FunctionCallCarriesSchemaAndId) {
    for (int id : {1, 2, 3}) {
        const std::string xml = FunctionCallXml(id);
        EXPECT_NE(xml.find("x-schema:DTMFunctionCallSchema.xml"), std::string::npos);
        EXPECT_NE(xml.find("functionId=\"" + std::to_string(id) + "\""), std::string::npos);
    }
    EXPECT_EQ(FunctionName(kFunctionExpert), "Expert");
}

// --- the frame window on the simulator ---

class AppTest : public ::testing::Test {
  protected:
    void Open(int function, int locale, AppOptions options = {}, BusinessObject business = {}) {
        window = std::make_unique<MainWindow>(options, std::move(business));
        window->Services().Unattended = [this](const std::string& text, int, const std::string&) {
            messages.push_back(text);
            return ui::msgbox::AnswerOk;
        };
        opened = window->OpenDtm(function, locale);
        window->resize(800, 560);
        window->show();
    }
    StatusBarWidget* StatusBar() const {
        for (QWidget* w : window->findChildren<QWidget*>())
            if (auto* bar = dynamic_cast<StatusBarWidget*>(w)) return bar;
        return nullptr;
    }
    QString StatusText() const {
        StatusBarWidget* bar = StatusBar();
        return bar ? bar->PanelText(0) : QString();
    }
    // Waits for the status bar's first panel to read the text.
    ::testing::AssertionResult WaitForStatus(const QString& text) {
        if (WaitFor([&] { return StatusText() == text; })) return ::testing::AssertionSuccess();
        return ::testing::AssertionFailure() << "status bar reads " << StatusText().toStdString();
    }
    bool WaitFor(const std::function<bool()>& pred, int ms = 10000) {
        QElapsedTimer t;
        t.start();
        while (!pred() && t.elapsed() < ms) QTest::qWait(10);
        return pred();
    }
    QWidget* Rendered(const char* name) const {
        ui::Control* c = window->Dtm()->Find(name);
        return c ? window->GetRenderer()->WidgetFor(*c) : nullptr;
    }

    std::unique_ptr<MainWindow> window;
    std::vector<std::string> messages;
    bool opened = false;
};

TEST_F(AppTest, ExpertFunctionConnectsToTheSimulatedMaster) {
    Open(kFunctionExpert, kLocaleEnglish);
    ASSERT_TRUE(opened);
    EXPECT_TRUE(WaitForStatus("Connected"));
    EXPECT_EQ(StatusBar()->PanelPicture(0), "lamp_on");
    EXPECT_TRUE(StatusBar()->PanelHasIcon(0));
    auto* tree = dynamic_cast<QTreeWidget*>(Rendered("TreeMenu"));
    ASSERT_NE(tree, nullptr);
    EXPECT_EQ(tree->topLevelItemCount(), 5);
    EXPECT_TRUE(messages.empty()) << messages.front();
}

TEST_F(AppTest, ControlFollowsTheWindowSize) {
    Open(kFunctionAbout, kLocaleEnglish);
    QApplication::processEvents();
    const QWidget* root = window->GetRenderer()->RootWidget();
    window->resize(900, 650);
    QApplication::processEvents();
    const QWidget* host = window->centralWidget();
    EXPECT_EQ(root->size(), host->size());
    EXPECT_EQ(window->Dtm()->Width(), window->GetRenderer()->ToTwips(host->width()));
}

TEST_F(AppTest, UnpluggingTheMasterShowsInTheStatusBar) {
    Open(kFunctionExpert, kLocaleEnglish);
    ASSERT_TRUE(WaitForStatus("Connected"));
    ASSERT_TRUE(window->SimulatorControl("unplug"));
    EXPECT_TRUE(WaitForStatus("Disconnected"));
    EXPECT_EQ(StatusBar()->PanelPicture(0), "lamp_off");
    // Another master plugged in while the control runs comes up reset, waiting to be connected.
    ASSERT_TRUE(window->SimulatorControl("plug 7c33 COM3"));
    EXPECT_TRUE(WaitForStatus("Standby"));
}

// The master is unplugged and plugged in again: the link comes back without any user action.
TEST_F(AppTest, TheSameMasterPluggedInAgainReconnectsByItself) {
    Open(kFunctionExpert, kLocaleEnglish);
    ASSERT_TRUE(WaitForStatus("Connected"));
    ASSERT_TRUE(window->SimulatorControl("unplug"));
    ASSERT_TRUE(WaitForStatus("Disconnected"));
    ASSERT_TRUE(window->SimulatorControl("plug 7c31 COM3"));
    EXPECT_TRUE(WaitForStatus("Standby"));
    EXPECT_TRUE(WaitForStatus("Connected"));
    EXPECT_EQ(StatusBar()->PanelPicture(0), "lamp_on");
    EXPECT_TRUE(messages.empty()) << messages.front();
}

// A business object from outside: the simulator behind the bridge line protocol, as
// --bridge "kestrova-sim --serve" gives it, minus the process.
TEST_F(AppTest, ABusinessObjectFromOutsideIsUsedForEverything) {
    auto server = std::make_shared<sim::Server>(sim::Options{});
    Open(kFunctionExpert, kLocaleEnglish, {},
         BridgeBusinessObject([server](const std::string& line) { return server->Answer(line); },
                              "in-process"));
    ASSERT_TRUE(opened);
    EXPECT_TRUE(WaitForStatus("Connected"));
    EXPECT_NE(window->Control("status").find("GUI registered"), std::string::npos);
    ASSERT_TRUE(window->SimulatorControl("unplug"));
    EXPECT_TRUE(WaitForStatus("Disconnected"));
    EXPECT_TRUE(messages.empty()) << messages.front();
}

TEST_F(AppTest, MenusReopenTheControlAndDriveTheSimulator) {
    Open(kFunctionExpert, kLocaleEnglish);
    ASSERT_TRUE(WaitForStatus("Connected"));
    std::function<QAction*(const QList<QAction*>&, const QString&)> find =
        [&](const QList<QAction*>& actions, const QString& text) -> QAction* {
        for (QAction* a : actions) {
            if (a->text() == text) return a;
            if (a->menu())
                if (QAction* inner = find(a->menu()->actions(), text)) return inner;
        }
        return nullptr;
    };
    auto trigger = [&](const char* text) {
        QAction* a = find(window->menuBar()->actions(), QString::fromUtf8(text));
        ASSERT_NE(a, nullptr) << text;
        a->trigger();
    };

    trigger("&Deutsch");
    EXPECT_EQ(window->Locale(), kLocaleGerman);
    EXPECT_TRUE(WaitForStatus("verbunden"));
    trigger("&About");
    EXPECT_EQ(window->FunctionId(), kFunctionAbout);
    EXPECT_EQ(window->Locale(), kLocaleGerman);  // the language stays
    EXPECT_TRUE(window->windowTitle().contains("About"));
    EXPECT_EQ(dynamic_cast<QTreeWidget*>(Rendered("TreeMenu"))->topLevelItemCount(), 1);

    trigger("&Unplug master");
    EXPECT_NE(window->Simulator().Control("status").find("(unplugged)"), std::string::npos);
    trigger("COM5");
    trigger("Dravik master (7c33)");
    const std::string status = window->Simulator().Control("status");
    EXPECT_NE(status.find("master 7c33 on COM5"), std::string::npos) << status;
    trigger("actuator");
    EXPECT_TRUE(messages.empty()) << messages.front();
}

TEST_F(AppTest, BadSimulatorLinesOnTheCommandLineAreRefused) {
    AppOptions options;
    options.simLines = {"latency 5", "frobnicate"};
    std::string error = "accepted";
    try {
        MainWindow window(options);
    } catch (const std::invalid_argument& e) {
        error = e.what();
    }
    EXPECT_NE(error.find("--sim \"frobnicate\""), std::string::npos) << error;
}

TEST_F(AppTest, RefusedSimulatorLinesAreReportedNotThrown) {
    Open(kFunctionAbout, kLocaleEnglish);
    EXPECT_FALSE(window->SimulatorControl("plug xyz COM3"));
    EXPECT_FALSE(window->SimulatorControl("event 1 2"));
    ASSERT_FALSE(messages.empty());
    EXPECT_NE(messages.back().find("Simulator"), std::string::npos);
    EXPECT_FALSE(window->OpenPage("no such page"));
    EXPECT_FALSE(window->ClickControl("Nothing.Here"));
}

TEST_F(AppTest, CloseButtonAndWindowCloseReleaseTheControl) {
    Open(kFunctionExpert, kLocaleEnglish);
    auto* close = dynamic_cast<QPushButton*>(Rendered("cmdClose"));
    ASSERT_NE(close, nullptr);
    QTest::mouseClick(close, Qt::LeftButton);
    EXPECT_TRUE(WaitFor([&] { return !window->isVisible(); }, 2000));
    EXPECT_EQ(window->Dtm(), nullptr);  // released on close
    const std::string status = window->Simulator().Control("status");
    EXPECT_NE(status.find("GUI asked to close"), std::string::npos) << status;
    EXPECT_NE(status.find("GUI released"), std::string::npos) << status;
}

TEST_F(AppTest, PagesOpenFromTheCommandLineNames) {
    Open(kFunctionExpert, kLocaleEnglish);
    ASSERT_TRUE(window->OpenPage("K3"));
    ui::Control* tree = window->Dtm()->Find("TreeMenu");
    ASSERT_NE(tree, nullptr);
    EXPECT_EQ(tree->SelectedKey(), "K3");
    ASSERT_TRUE(window->OpenPage("about"));  // by text, any case
    EXPECT_EQ(tree->SelectedKey(), "K5");
    ASSERT_TRUE(window->OpenPage("IO-Link Daten"));  // the German text in an English session
    EXPECT_EQ(tree->SelectedKey(), "K3");
    ASSERT_TRUE(window->OpenPage("Device Information"));  // shown, not the text at creation
    EXPECT_EQ(tree->SelectedKey(), "K2");

    // Controls are named by path below the main control, its own name in front or not.
    EXPECT_TRUE(window->ClickControl("TreeMenu"));
    EXPECT_TRUE(window->ClickControl("DTMGUI.TreeMenu"));
    EXPECT_TRUE(window->ClickControl("dtmgui.IOLinkData1"));
    EXPECT_FALSE(window->ClickControl("DTMGUI"));
    EXPECT_FALSE(window->ClickControl("DTMGUI.NoSuchControl"));
}

TEST_F(AppTest, QtTextsAndTheVersionFollowTheControl) {
    const QString cancel = QCoreApplication::translate("QPlatformTheme", "Cancel");
    Open(kFunctionExpert, kLocaleGerman);
    EXPECT_EQ(QCoreApplication::translate("QPlatformTheme", "Cancel"), QStringLiteral("Abbrechen"));
    ASSERT_TRUE(window->OpenPage("K5"));
    ui::Control* version = window->Dtm()->Resolve("IOLinkAbout1.Label6");
    ASSERT_NE(version, nullptr);
    EXPECT_FALSE(window->DtmVersion().isEmpty());
    EXPECT_EQ(window->DtmVersion().toStdString(), version->Caption());
    Open(kFunctionExpert, kLocaleEnglish);
    EXPECT_EQ(QCoreApplication::translate("QPlatformTheme", "Cancel"), cancel);
}

}  // namespace
}  // namespace kestrova::qt
