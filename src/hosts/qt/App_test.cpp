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
#include "sim/Simulator.h"

inline void PrintTo(const QString& s, std::ostream* os) {
    *os << '"' << s.toStdString() << '"';
}

namespace kestrova::qt {
namespace {

// --- command line ---

TEST(AppOptions, ParsesEveryOption) {
    const ParsedOptions p =
        ParseOptions({"--function", "about",        "--language=de", "--profile", "actuator",
                      "--master",   "7C33",         "--port",        "com4",      "--inventory",
                      "system",     "--sim",        "latency 20",    "--sim",     "measure 100",
                      "--page",     "K3",           "--click",       "A.B",       "--click-after",
                      "50",         "--screenshot", "out.png",       "--after",   "900"});
    ASSERT_EQ(p.error, "");
    const AppOptions& o = p.options;
    EXPECT_EQ(o.functionId, kFunctionAbout);
    EXPECT_EQ(o.language, kLocaleGerman);
    EXPECT_EQ(o.profile, "actuator");
    EXPECT_EQ(o.master, "7c33");
    EXPECT_EQ(o.port, "COM4");
    EXPECT_TRUE(o.systemInventory);
    EXPECT_EQ(o.simLines, (std::vector<std::string>{"latency 20", "measure 100"}));
    EXPECT_EQ(o.page, "K3");
    EXPECT_EQ(o.clicks, std::vector<std::string>{"A.B"});
    EXPECT_EQ(o.clickAfterMs, 50);
    EXPECT_EQ(o.screenshot, "out.png");
    EXPECT_EQ(o.afterMs, 900);
    EXPECT_FALSE(o.help);
}

TEST(AppOptions, DefaultsAreTheExpertFunctionOnASimulatedMaster) {
    const ParsedOptions p = ParseOptions({});
    EXPECT_EQ(p.error, "");
    EXPECT_EQ(p.options.functionId, kFunctionExpert);
    EXPECT_EQ(p.options.language, 0);
    EXPECT_EQ(p.options.master, "7c31");
    EXPECT_FALSE(p.options.systemInventory);
    EXPECT_TRUE(p.options.screenshot.empty());
    EXPECT_TRUE(ParseOptions({"--help"}).options.help);
    EXPECT_EQ(ParseOptions({"--function", "1"}).options.functionId, kFunctionConfigure);
    EXPECT_EQ(ParseOptions({"--language", "EN"}).options.language, kLocaleEnglish);
    EXPECT_EQ(ParseOptions({"--master", "none"}).options.master, "none");
}

TEST(AppOptions, BadCommandLinesAreRefusedWithAReason) {
    const std::pair<std::vector<std::string>, std::string> cases[] = {
        {{"--function", "edit"}, "unknown function 'edit'"},
        {{"--function"}, "--function needs a value"},
        {{"--language", "fr"}, "unknown language 'fr'"},
        {{"--master", "7c3"}, "four hex digits"},
        {{"--port", "LPT1"}, "port name like COM3"},
        {{"--port", "COM0"}, "port name like COM3"},
        {{"--inventory", "wmi"}, "unknown inventory"},
        {{"--after", "-5"}, "--after takes milliseconds"},
        {{"--after", "soon"}, "--after takes milliseconds"},
        {{"--screenshot"}, "needs a file name"},
        {{"--profile="}, "needs a profile name"},
        {{"--verbose"}, "unknown option '--verbose'"},
        {{"expert"}, "unknown option 'expert'"},
    };
    for (const auto& [args, message] : cases) {
        const std::string error = ParseOptions(args).error;
        EXPECT_NE(error.find(message), std::string::npos) << args[0] << ": " << error;
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
    void Open(int function, int locale, AppOptions options = {}) {
        window = std::make_unique<MainWindow>(options);
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
    EXPECT_TRUE(WaitFor([&] { return StatusText() == "Connected"; }))
        << "status bar reads " << StatusText().toStdString();
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
    ASSERT_TRUE(WaitFor([&] { return StatusText() == "Connected"; }));
    ASSERT_TRUE(window->SimulatorControl("unplug"));
    EXPECT_TRUE(WaitFor([&] { return StatusText() == "Disconnected"; }))
        << "status bar reads " << StatusText().toStdString();
    EXPECT_EQ(StatusBar()->PanelPicture(0), "lamp_off");
    // A master plugged in while the control runs comes up reset, waiting to be connected.
    ASSERT_TRUE(window->SimulatorControl("plug 7c33 COM3"));
    EXPECT_TRUE(WaitFor([&] { return StatusText() == "Standby"; }))
        << "status bar reads " << StatusText().toStdString();
}

TEST_F(AppTest, MenusReopenTheControlAndDriveTheSimulator) {
    Open(kFunctionExpert, kLocaleEnglish);
    ASSERT_TRUE(WaitFor([&] { return StatusText() == "Connected"; }));
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
    EXPECT_TRUE(WaitFor([&] { return StatusText() == "verbunden"; }));
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
    try {
        MainWindow window(options);
        FAIL() << "accepted";
    } catch (const std::invalid_argument& e) {
        EXPECT_NE(std::string(e.what()).find("--sim \"frobnicate\""), std::string::npos)
            << e.what();
    }
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

    // Controls are named by path below the main control, its own name in front or not.
    EXPECT_TRUE(window->ClickControl("TreeMenu"));
    EXPECT_TRUE(window->ClickControl("DTMGUI.TreeMenu"));
    EXPECT_TRUE(window->ClickControl("dtmgui.IOLinkData1"));
    EXPECT_FALSE(window->ClickControl("DTMGUI"));
    EXPECT_FALSE(window->ClickControl("DTMGUI.NoSuchControl"));
}

}  // namespace
}  // namespace kestrova::qt
