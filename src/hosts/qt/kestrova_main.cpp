// kestrova: the DTM in a desktop frame window, on the simulated IO-Link USB master.
#include <unistd.h>
#include <QApplication>
#include <QFontDatabase>
#include <QIcon>
#include <QMenuBar>
#include <QPixmap>
#include <QStyleFactory>
#include <QTimer>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "AppOptions.h"
#include "MainWindow.h"
#include "Renderer.h"
#include "dtmgui/DTMGUI.h"
#include "link/LineBridge.h"
#include "sim/Simulator.h"
#include "tools/Vb.h"

#ifdef KESTROVA_HAVE_PLATFORM
#include "platform/ChildProcess.h"
#endif

#ifndef KESTROVA_VERSION
#define KESTROVA_VERSION "0.0.0"
#endif

using namespace kestrova;
using namespace kestrova::qt;

namespace {

// Qt's own command-line options that take a value; they are left to QApplication.
bool IsQtOptionWithValue(const std::string& arg) {
    static const char* const names[] = {
        "-platform",        "-style",        "-stylesheet",  "-display",
        "-qwindowgeometry", "-qwindowtitle", "-qwindowicon", "-platformpluginpath",
        "-platformtheme",   "-plugin",       "-session"};
    for (const char* n : names)
        if (arg == n) return true;
    return false;
}

bool HasDisplay() {
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY"}) {
        const char* v = std::getenv(name);
        if (v && *v) return true;
    }
    return false;
}

// Milliseconds since the process started: from the launcher's clock when it passed one
// (KESTROVA_LAUNCH_NS, nanoseconds of the real-time clock), else from the kernel's start time.
double MsSinceStart() {
    if (const char* launch = std::getenv("KESTROVA_LAUNCH_NS")) {
        timespec now{};
        clock_gettime(CLOCK_REALTIME, &now);
        const double nowNs =
            static_cast<double>(now.tv_sec) * 1e9 + static_cast<double>(now.tv_nsec);
        return (nowNs - std::atof(launch)) / 1e6;
    }
    std::ifstream stat("/proc/self/stat");
    std::string text((std::istreambuf_iterator<char>(stat)), std::istreambuf_iterator<char>());
    const size_t close = text.rfind(')');
    if (close == std::string::npos) return -1;
    // Fields after the command name; the start time is field 22 of the line.
    std::vector<std::string> fields;
    std::string field;
    for (size_t i = close + 2; i <= text.size(); ++i) {
        if (i == text.size() || text[i] == ' ') {
            fields.push_back(field);
            field.clear();
        } else {
            field += text[i];
        }
    }
    if (fields.size() < 20) return -1;
    const double startTicks = std::atof(fields[19].c_str());
    timespec boot{};
    clock_gettime(CLOCK_BOOTTIME, &boot);
    const double bootMs =
        static_cast<double>(boot.tv_sec) * 1e3 + static_cast<double>(boot.tv_nsec) / 1e6;
    return bootMs - startTicks * 1000.0 / static_cast<double>(sysconf(_SC_CLK_TCK));
}

// Reports when the control's page was painted the first time (KESTROVA_STARTUP_REPORT=1).
class FirstPaint : public QObject {
  public:
    explicit FirstPaint(MainWindow& window) : window_(window) {}

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() != QEvent::Paint || done_) return false;
        Renderer* r = window_.GetRenderer();
        auto* w = qobject_cast<QWidget*>(watched);
        if (!r || !w || (w != r->RootWidget() && !r->RootWidget()->isAncestorOf(w))) return false;
        done_ = true;
        qApp->removeEventFilter(this);
        // Reported once this paint pass is over.
        QTimer::singleShot(0, [] {
            std::fprintf(stderr, "kestrova: first page painted after %.0f ms\n", MsSinceStart());
        });
        return false;
    }

  private:
    MainWindow& window_;
    bool done_ = false;
};

// A family close to the classic 8-point dialog font the layouts were made for, when there is
// one; the renderer narrows whatever family is used to that font's width.
void PickFont() {
    const QStringList families = QFontDatabase::families();
    for (const char* name : {"Tahoma", "Liberation Sans", "Arimo", "Arial"}) {
        const QString family = QString::fromLatin1(name);
        if (!families.contains(family)) continue;
        QFont font = QApplication::font();
        font.setFamily(family);
        QApplication::setFont(font);
        return;
    }
}

QtMessageHandler defaultHandler = nullptr;

void FilterMessages(QtMsgType type, const QMessageLogContext& context, const QString& message) {
    // The offscreen platform says this about every window; it means nothing for us.
    if (message.startsWith(QStringLiteral("This plugin does not support propagateSizeHints")))
        return;
    defaultHandler(type, context, message);
}

}  // namespace

int main(int argc, char** argv) {
    std::vector<std::string> ours;
    bool qtPlatformOption = false;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (IsQtOptionWithValue(arg)) {
            qtPlatformOption = qtPlatformOption || arg == "-platform";
            ++i;
        } else if (arg == "-reverse") {
        } else {
            ours.push_back(arg);
        }
    }
    const ParsedOptions parsed = ParseOptions(ours);
    if (!parsed.error.empty()) {
        std::fprintf(stderr, "kestrova: %s\n", parsed.error.c_str());
        return 2;
    }
    const AppOptions& options = parsed.options;
    if (options.help) {
        std::fputs(UsageText().c_str(), stdout);
        return 0;
    }
    if (!options.profile.empty()) {
        bool known = false;
        std::string names;
        for (const std::string& p : sim::Simulator::Profiles()) {
            known = known || IEquals(p, options.profile);
            names += (names.empty() ? "" : ", ") + p;
        }
        if (!known) {
            std::fprintf(stderr, "kestrova: unknown profile '%s' (%s)\n", options.profile.c_str(),
                         names.c_str());
            return 2;
        }
    }

    // A bridge that cannot start is reported before any window opens.
    BusinessObject business;
    if (!options.bridge.empty()) {
#ifdef KESTROVA_HAVE_PLATFORM
        try {
            auto child =
                std::make_shared<platform::ChildProcess>(options.bridge, options.bridgeTimeoutMs);
            business = BridgeBusinessObject(
                [child](const std::string& request) { return child->RoundTrip(request); },
                "\"" + options.bridge + "\"");
        } catch (const std::exception& e) {
            std::fprintf(stderr, "kestrova: --bridge: %s\n", e.what());
            return 2;
        }
#else
        std::fputs("kestrova: --bridge: this build cannot start other programs\n", stderr);
        return 2;
#endif
    }

    const bool platformChosen = qtPlatformOption || !qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM");
    if (!platformChosen && !HasDisplay()) {
        if (options.screenshot.empty()) {
            std::fputs(
                "kestrova: no display found (neither DISPLAY nor WAYLAND_DISPLAY is set), so the "
                "window cannot be shown.\n"
                "Run it in a desktop session, or take a picture of the window without one:\n"
                "  QT_QPA_PLATFORM=offscreen ./run --screenshot kestrova.png\n",
                stderr);
            return 1;
        }
        qputenv("QT_QPA_PLATFORM", "offscreen");  // a screenshot needs no screen
    }

    defaultHandler = qInstallMessageHandler(FilterMessages);
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Kestrova"));
    QApplication::setApplicationVersion(QStringLiteral(KESTROVA_VERSION));
    QApplication::setDesktopFileName(QStringLiteral("kestrova"));
    QApplication::setWindowIcon(QIcon(LoadPicture("kestrova")));
    if (qEnvironmentVariableIsEmpty("QT_STYLE_OVERRIDE"))
        if (QStyle* fusion = QStyleFactory::create(QStringLiteral("Fusion")))
            QApplication::setStyle(fusion);
    PickFont();

    std::unique_ptr<MainWindow> window;
    try {
        window = std::make_unique<MainWindow>(options, std::move(business));
    } catch (const std::exception& e) {
        std::fprintf(stderr, "kestrova: %s\n", e.what());
        return 2;
    }
    const bool unattended = !options.screenshot.empty();
    if (unattended)
        window->Services().Unattended = [](const std::string& text, int style, const std::string&) {
            std::fprintf(stderr, "kestrova: message: %s\n", text.c_str());
            return MsgBoxAnswer(MsgBoxDefault(style));
        };

    FirstPaint firstPaint(*window);
    if (!qEnvironmentVariableIsEmpty("KESTROVA_STARTUP_REPORT"))
        app.installEventFilter(&firstPaint);

    const int locale = options.language ? options.language : LocaleFromEnvironment();
    window->OpenDtm(options.functionId, locale);
    if (!options.page.empty() && !window->OpenPage(options.page))
        std::fprintf(stderr, "kestrova: no page node '%s' in this function\n",
                     options.page.c_str());

    // The control's design size, below the menu bar.
    QSize size(700, 500);
    if (DTMGUI* dtm = window->Dtm()) size = window->HostSizeFor(dtm->Width(), dtm->Height());
    window->resize(size.width(), size.height() + window->menuBar()->sizeHint().height());
    window->show();

    if (!options.clicks.empty())
        QTimer::singleShot(options.clickAfterMs, window.get(), [&window, &options] {
            for (const std::string& path : options.clicks)
                if (!window->ClickControl(path))
                    std::fprintf(stderr, "kestrova: no control '%s' to click\n", path.c_str());
        });

    if (unattended)
        QTimer::singleShot(options.afterMs, window.get(), [&window, &options] {
            const QPixmap shot = window->grab();
            const bool ok = shot.save(QString::fromStdString(options.screenshot), "PNG");
            if (ok)
                std::fprintf(stderr, "kestrova: screenshot written to %s\n",
                             options.screenshot.c_str());
            else
                std::fprintf(stderr, "kestrova: cannot write %s\n", options.screenshot.c_str());
            window->close();
            QApplication::exit(ok ? 0 : 1);
        });

    const int rc = app.exec();
    window.reset();  // releases the control before the application goes
    return rc;
}
