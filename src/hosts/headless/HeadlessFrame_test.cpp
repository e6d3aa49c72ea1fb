#include "HeadlessFrame.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include "HeadlessServices.h"
#include "sim/Simulator.h"
#include "tools/Vb.h"

namespace kestrova::headless {
namespace {

// A small control standing in for the main control, so the interpreter is tested on its own.
struct Probe {
    std::vector<std::string> events;
    std::string functionCall;
    std::string invokeId;
};

class FakeControl : public HostedControl {
  public:
    FakeControl(ui::Services& services, Probe& probe) : services_(services), probe_(probe) {
        auto& go = root_.AddControl(ui::Kind::CommandButton, "BTGo");
        go.Click = [this] {
            probe_.events.push_back("go");
            if (dtm_) dtm_->SendCommand("GetProduct");
        };
        root_.AddControl(ui::Kind::CommandButton, "BTFail").Click = [] {
            Raise(vberr::InvalidProcedureCall);
        };
        root_.AddControl(ui::Kind::CommandButton, "BTAsk").Click = [this] {
            const int answer = services_.MsgBox("Clear the list?", ui::msgbox::YesNo, "Events");
            probe_.events.push_back("answer " + std::to_string(answer));
        };
        root_.AddControl(ui::Kind::CommandButton, "BTSave").Click = [this] {
            probe_.events.push_back("save " + services_.ShowSave("*.txt", "EventLog.txt"));
        };
        root_.AddControl(ui::Kind::CommandButton, "BTOff").SetEnabled(false);
        auto& text = root_.AddControl(ui::Kind::TextBox, "Text1");
        text.Change = [this, &text] { probe_.events.push_back("change " + text.Text()); };
        text.KeyPress = [this](int16_t& key) {
            probe_.events.push_back("key " + std::to_string(key));
        };
        root_.AddControl(ui::Kind::TextBox, "TextLocked").SetLocked(true);
        root_.AddControl(ui::Kind::Label, "Label1").SetCaption("Gerät");
        auto& combo = root_.AddControl(ui::Kind::ComboBox, "Combo1");
        combo.AddItem("COM3");
        combo.AddItem("COM4");
        combo.Click = [this, &combo] { probe_.events.push_back("pick " + combo.Text()); };
        auto& hidden = root_.AddControl(ui::Kind::Frame, "Hidden");
        hidden.AddControl(ui::Kind::CommandButton, "Inside");
        hidden.SetVisible(false);
        auto& panel = root_.Add<ui::UserControl>("Panel1");
        for (int i = 0; i < 3; ++i) panel.AddControl(ui::Kind::OptionButton, "Option1", i);
        auto& tree = root_.AddControl(ui::Kind::TreeView, "TreeMenu");
        tree.AddNode("K1", "General");
        tree.AddNode("K5", "About");
        tree.NodeClick = [this](const std::string& key) { probe_.events.push_back("node " + key); };
        auto& timer = root_.AddControl(ui::Kind::Timer, "Timer1");
        timer.OnTimer = [this, &timer] {
            probe_.events.push_back("tick " + std::to_string(timer.GetClock()->NowMs()));
        };
        auto& bad = panel.AddControl(ui::Kind::Timer, "TimerBad");
        bad.OnTimer = [] { Raise(vberr::Overflow); };
        root_.SetClock(&services.GetClock());
        timer.SetInterval(300);
        bad.SetInterval(500);
        bad.SetEnabled(false);
    }
    ui::Control& Root() override { return root_; }
    bool Init(const std::string& invokeId, const std::string& call,
              std::shared_ptr<IGuiBridge> dtm) override {
        probe_.functionCall = call;
        probe_.invokeId = invokeId;
        dtm_ = std::move(dtm);
        dtm_->SendCommand("Language");
        dtm_->RegisterGui("Fake.Control", invokeId);
        return call.find("functionId=\"1\"") != std::string::npos;
    }
    bool PrepareToRelease() override {
        dtm_->NotifyGuiReleased();
        return true;
    }

  private:
    ui::UserControl root_{"Main"};
    ui::Services& services_;
    Probe& probe_;
    std::shared_ptr<IGuiBridge> dtm_;
};

class FrameTest : public ::testing::Test {
  protected:
    FrameTest() : frame(out, Options()) {}
    FrameOptions Options() {
        FrameOptions o;
        o.host = [this](ui::Services& s) { return std::make_unique<FakeControl>(s, probe); };
        return o;
    }
    // Runs the lines and answers what they printed.
    std::string Run(const std::string& script) {
        out.str("");
        std::istringstream in(script);
        frame.Run(in);
        return out.str();
    }
    std::ostringstream out;
    Probe probe;
    HeadlessFrame frame;
};

TEST_F(FrameTest, MalformedLinesPrintOneErrorNamingTheLineAndTheFrameGoesOn) {
    struct Case {
        const char* line;
        const char* message;
    };
    const std::vector<Case> cases = {
        {"frobnicate", "unknown command 'frobnicate'"},
        {"INIT 1", "unknown command 'INIT'"},
        {"tick", "usage: tick MS"},
        {"tick soon", "MS must be a whole number from 0 to 1000000000, not 'soon'"},
        {"tick -5", "MS must be a whole number"},
        {"tick 5 6", "usage: tick MS"},
        {"init", "usage: init FUNCID [LCID]"},
        {"init 1 german", "LCID must be a whole number"},
        {"init 1 1031 x", "usage: init FUNCID [LCID]"},
        {"click", "usage: click PATH"},
        {"click Nope", "unknown control Nope"},
        {"click Panel1.Option1", "unknown control Panel1.Option1"},
        {"click Panel1..Option1(1)", "unknown control Panel1..Option1(1)"},
        {"click Panel1.Option1(", "unknown control Panel1.Option1("},
        {"click Panel1.Option1(a)", "unknown control Panel1.Option1(a)"},
        {"get UCGeneral1.Foo", "unknown control UCGeneral1.Foo"},
        {"pick Combo1 2", "Combo1 has no entry 2 (it has 2)"},
        {"pick Combo1 -2", "INDEX must be a whole number from -1"},
        {"pick Label1 0", "Label1 is a Label, not a combo box"},
        {"type Label1 x", "Label1 is a Label, not a text box"},
        {"type TextLocked x", "TextLocked is locked"},
        {"key Text1 Shift", "CODE must be a whole number from 0 to 255"},
        {"key Text1 300", "CODE must be"},
        {"resize 100", "usage: resize WIDTH HEIGHT"},
        {"node K9", "TreeMenu has no node K9"},
        {"expect Label1", "usage: expect PATH PROPERTY VALUE"},
        {"expect Label1 Colour red", "Label1: unknown property Colour"},
        {"expect-traffic", "usage: expect-traffic TEXT"},
        {"answer-message maybe", "usage: answer-message"},
        {"answer-save", "usage: answer-save PATH|cancel"},
        {"start-result perhaps", "usage: start-result ok|fail"},
        {"sim frobnicate", "sim: unknown control command 'frobnicate'"},
        {"traffic now", "usage: traffic"},
    };
    Run("init 1\n");
    int line = 1;
    for (const Case& c : cases) {
        ++line;
        out.str("");
        EXPECT_FALSE(frame.Execute(c.line, line)) << c.line;
        const std::string want = "error line " + std::to_string(line) + ": " + c.message;
        const std::string printed = out.str();
        EXPECT_EQ(printed.substr(0, want.size()), want) << c.line;
        EXPECT_EQ(std::count(printed.begin(), printed.end(), '\n'), 1) << printed;
    }
    EXPECT_EQ(frame.Failures(), static_cast<int>(cases.size()));
    EXPECT_TRUE(frame.Execute("click BTGo", ++line)) << "the frame goes on";
}

TEST_F(FrameTest, CommentsAndBlankLinesAreSkippedAndEchoShowsTheScript) {
    EXPECT_EQ(Run("# a comment\n\n   \t\r\n"), "");
    EXPECT_EQ(frame.Failures(), 0);

    std::ostringstream echoed;
    FrameOptions o = Options();
    o.echo = true;
    HeadlessFrame echo(echoed, o);
    std::istringstream in("# setup\ninit 1\r\n\nbogus\n");
    EXPECT_EQ(echo.Run(in), 1);
    EXPECT_EQ(echoed.str(),
              "# setup\n$ init 1\ninit true\n\n$ bogus\nerror line 4: unknown command 'bogus'\n");
}

TEST_F(FrameTest, CommandsOnTheControlNeedInitFirst) {
    for (const char* line :
         {"click BTGo", "get Label1", "dump", "release", "resize 1 1", "node K1"}) {
        out.str("");
        EXPECT_FALSE(frame.Execute(line, 3)) << line;
        EXPECT_EQ(out.str(), "error line 3: no control yet: init comes first\n") << line;
    }
    // The simulator is there from the start, and time moves without a control.
    EXPECT_TRUE(frame.Execute("sim unplug", 4));
    EXPECT_TRUE(frame.Execute("tick 250", 5));
    EXPECT_EQ(frame.Services().Clock().NowMs(), 250);
}

TEST_F(FrameTest, InitBuildsTheFunctionCallAndSetsTheLanguageFirst) {
    EXPECT_EQ(Run("init 1 1031\ntraffic\n"),
              "init true\n> Language\n< 1031\n+ RegisterGui Fake.Control invoke-1\n");
    EXPECT_EQ(probe.functionCall, FunctionCallXml("1"));
    EXPECT_NE(probe.functionCall.find("x-schema:DTMFunctionCallSchema.xml"), std::string::npos);
    EXPECT_NE(probe.functionCall.find("functionId=\"1\""), std::string::npos);

    EXPECT_EQ(Run("init 2\n"), "init false\n");
    EXPECT_EQ(probe.invokeId, "invoke-2");
    EXPECT_EQ(Run("init-raw  <FDT functionId='1'/>  \n"), "init false\n");
    EXPECT_EQ(probe.functionCall, "<FDT functionId='1'/>");
    EXPECT_EQ(Run("release\ntraffic\n"),
              "release true\n> Language\n< 1031\n+ RegisterGui Fake.Control invoke-2\n"
              "> Language\n< 1031\n+ RegisterGui Fake.Control invoke-3\n"
              "! NotifyGuiReleased\n");
    EXPECT_EQ(frame.Failures(), 0);
}

TEST_F(FrameTest, AnErrorEscapingAHandlerIsReportedAndTheFrameGoesOn) {
    const std::string printed = Run("init 1\nclick BTFail\nclick BTGo\n");
    EXPECT_EQ(printed,
              "init true\nerror line 2: \"click BTFail\" raised error 5: Invalid procedure call or "
              "argument\n");
    EXPECT_EQ(probe.events, (std::vector<std::string>{"go"}));
    EXPECT_EQ(frame.Failures(), 1);
}

TEST_F(FrameTest, InputReachesOnlyVisibleEnabledControls) {
    EXPECT_EQ(Run("init 1\nclick Hidden.Inside\nclick BTOff\nclick main.btgo\nclick Main.BTGo\n"),
              "init true\n"
              "error line 2: Hidden.Inside (in Hidden) is not visible\n"
              "error line 3: BTOff is disabled\n");
    EXPECT_EQ(probe.events, (std::vector<std::string>{"go", "go"}));
}

TEST_F(FrameTest, TypingKeysPickingAndTreeClicksGoThroughTheUserOperations) {
    const std::string printed =
        Run("init 1\n"
            "type Text1 16\n"
            "type Text1 \"  spaced \\\"x\\\"\"\n"
            "key Text1 Backspace\n"
            "key Text1 Enter\n"
            "key Text1 65\n"
            "keys Text1 ä€\n"
            "type Text1 \"a\" and \"b\"\n"
            "type Text1 \"bad \\q\"\n"
            "pick Combo1 1\n"
            "pick Combo1 -1\n"
            "click Panel1.Option1(2)\n"
            "node K5\n");
    EXPECT_EQ(printed, "init true\n");
    EXPECT_EQ(probe.events,
              (std::vector<std::string>{
                  "change 16", "change   spaced \"x\"", "key 8", "change   spaced \"x", "key 13",
                  "key 65", "change   spaced \"xA", "key 228", "change   spaced \"xAä", "key 128",
                  "change   spaced \"xAä€", "change \"a\" and \"b\"", "change \"bad \\q\"",
                  "pick COM4", "pick ", "node K5"}));
    ui::Control& root = *frame.Root();
    EXPECT_EQ(root.Resolve("Panel1.Option1(2)")->Value(), 1);
    EXPECT_EQ(root("TreeMenu").SelectedKey(), "K5");
}

TEST_F(FrameTest, TicksFireTimersInTimeOrderAndAFailingTimerIsNamed) {
    Run("init 1\n");
    EXPECT_EQ(Run("tick 650\n"), "");
    EXPECT_EQ(probe.events, (std::vector<std::string>{"tick 300", "tick 600"}));
    EXPECT_EQ(frame.Services().Clock().NowMs(), 650);

    probe.events.clear();
    frame.Root()->Resolve("Panel1.TimerBad")->SetEnabled(true);  // due at 1150
    EXPECT_EQ(Run("tick 600\n"),
              "error line 1: tick: timer Panel1.TimerBad at 1150 ms raised error 6: Overflow\n");
    EXPECT_EQ(probe.events, (std::vector<std::string>{"tick 900", "tick 1200"}))
        << "the other timer goes on after the failure";
    EXPECT_EQ(frame.Services().Clock().NowMs(), 1250);
}

TEST_F(FrameTest, ATimerFailingOnEveryTickIsReportedWithoutFloodingTheOutput) {
    Run("init 1\n");
    ui::Control& bad = *frame.Root()->Resolve("Panel1.TimerBad");
    bad.SetInterval(1);
    bad.SetEnabled(true);
    const std::string printed = Run("tick 100\n");
    EXPECT_EQ(std::count(printed.begin(), printed.end(), '\n'), 21) << printed;
    EXPECT_NE(printed.find("tick: 80 more timer errors not shown"), std::string::npos) << printed;
    EXPECT_EQ(frame.Failures(), 1) << "one line, one failure";
}

TEST_F(FrameTest, GetAndDumpPrintJsonWithPaths) {
    Run("init 1\n");
    EXPECT_EQ(Run("get Label1\n"),
              R"({"kind":"Label","name":"Label1","Caption":"Gerät","Visible":true,"Enabled":true,)"
              R"("ForeColor":2147483666,"BackColor":2147483663,"FontBold":false,"ToolTipText":"",)"
              R"("Left":0,"Top":0,"Width":1200,"Height":375})"
              "\n");
    const std::string dump = Run("dump Panel1\n");
    EXPECT_EQ(std::count(dump.begin(), dump.end(), '\n'), 5);
    EXPECT_EQ(dump.rfind(R"({"path":"Panel1","kind":"UserControl")", 0), 0u) << dump;
    EXPECT_NE(
        dump.find(
            R"j({"path":"Panel1.Option1(2)","kind":"OptionButton","name":"Option1","index":2,)j"),
        std::string::npos)
        << dump;
    const std::string all = Run("dump\n");
    EXPECT_EQ(all.rfind(R"({"path":"Main","kind":"UserControl")", 0), 0u) << all;
    EXPECT_NE(all.find(R"("path":"Hidden.Inside")"), std::string::npos);
}

TEST_F(FrameTest, ExpectIsSilentOnSuccessAndPrintsBothValuesOnMismatch) {
    Run("init 1\n");
    EXPECT_EQ(Run("expect Label1 Caption Gerät\n"
                  "expect Label1 Visible TRUE\n"
                  "expect BTOff Enabled false\n"
                  "expect Text1 Text \"\"\n"
                  "expect Text1 Text\n"
                  "expect Combo1 List.Count 2\n"
                  "expect Combo1 List(1) COM4\n"
                  "expect TreeMenu Nodes(K5).Text About\n"
                  "expect Main Width 1200\n"
                  "expect Label1 BackColor 0x8000000F\n"
                  "expect Label1 BackColor &H8000000F\n"
                  "expect Label1 BackColor 2147483663\n"),
              "");
    EXPECT_EQ(frame.Failures(), 0);
    EXPECT_EQ(Run("expect Label1 Caption Gerat\n"
                  "expect BTOff Enabled yes\n"
                  "expect Label1 BackColor 0xZZ\n"
                  "expect Combo1 List(5) x\n"),
              "error line 1: expect Label1 Caption: got \"Gerät\", want \"Gerat\"\n"
              "error line 2: expect BTOff Enabled: got false, want yes\n"
              "error line 3: expect Label1 BackColor: got 2147483663, want 0xZZ\n"
              "error line 4: Combo1: List(5) does not exist: 2 entries\n");
    EXPECT_EQ(frame.Failures(), 4);
}

TEST_F(FrameTest, TrafficIsPrintedOnceAndExpectTrafficLooksWithoutConsuming) {
    EXPECT_EQ(Run("init 1\n"
                  "click BTGo\n"
                  "expect-traffic > GetProduct\n"
                  "expect-traffic \"> GetProduct\\n< 7c31\"\n"
                  "expect-no-traffic IOL::Read\n"
                  "traffic\n"
                  "expect-no-traffic GetProduct\n"
                  "traffic\n"),
              "init true\n> Language\n< 1033\n+ RegisterGui Fake.Control invoke-1\n> GetProduct\n"
              "< 7c31 IO-Link USB Master\n");
    EXPECT_EQ(frame.Failures(), 0);

    EXPECT_EQ(Run("click BTGo\nexpect-traffic IOL::Read\nexpect-no-traffic 7c31\n"),
              "error line 2: expect-traffic: no pending traffic contains \"IOL::Read\" (2 lines "
              "pending)\n"
              "error line 3: expect-no-traffic: pending traffic contains \"7c31\" in "
              "\"< 7c31 IO-Link USB Master\"\n");
}

TEST_F(FrameTest, TrafficShowsErrorsOfTheBusinessObject) {
    EXPECT_EQ(Run("init 1\ntraffic\nsim throw GetProduct 1 5 Boom\nclick BTGo\ntraffic\n"),
              "init true\n> Language\n< 1033\n+ RegisterGui Fake.Control invoke-1\n"
              "error line 4: \"click BTGo\" raised error 5: Boom\n"
              "> GetProduct\n< ERROR 5: Boom\n");
}

TEST_F(FrameTest, MessagesAreRecordedAnsweredAndChecked) {
    EXPECT_EQ(
        Run("init 1\n"
            "answer-message no\n"
            "click BTAsk\n"
            "click BTAsk\n"
            "expect-message Clear the list?\n"
            "expect-message \"buttons\":\"YesNo\"\n"
            "messages\n"
            "expect-no-message\n"),
        "init true\n"
        R"({"text":"Clear the list?","title":"Events","buttons":"YesNo","icon":"","answer":"No"})"
        "\n"
        R"({"text":"Clear the list?","title":"Events","buttons":"YesNo","icon":"","answer":"Yes"})"
        "\n");
    EXPECT_EQ(probe.events, (std::vector<std::string>{"answer 7", "answer 6"}));
    EXPECT_EQ(frame.Failures(), 0);

    const std::string printed =
        Run("click BTAsk\nexpect-no-message\nexpect-message Register fehler\n");
    EXPECT_NE(printed.find("error line 2: expect-no-message: pending"), std::string::npos)
        << printed;
    EXPECT_NE(printed.find("error line 3: expect-message: no pending message contains \"Register "
                           "fehler\" (1 pending)"),
              std::string::npos)
        << printed;
}

TEST_F(FrameTest, SaveDialogsTakeQueuedAnswersAndNoteAMissingOne) {
    EXPECT_EQ(Run("init 1\n"
                  "answer-save events today.txt\n"
                  "answer-save cancel\n"
                  "answer-save \"cancel\"\n"
                  "click BTSave\nclick BTSave\nclick BTSave\nclick BTSave\n"),
              "init true\nnote: save dialog (*.txt, EventLog.txt) answered cancel; no answer-save "
              "was given\n");
    EXPECT_EQ(probe.events,
              (std::vector<std::string>{"save events today.txt", "save ", "save cancel", "save "}));
    EXPECT_EQ(frame.Failures(), 0) << "a note is not a failure";
}

TEST_F(FrameTest, HostSettingsReachTheServices) {
    EXPECT_EQ(
        Run("pdf-app /usr/bin/evince\nprogram-dir \"/srv/kestrova app\"\nstart-result fail\n"), "");
    EXPECT_EQ(frame.Services().OpenCommand(".PDF"), "/usr/bin/evince");
    EXPECT_EQ(frame.Services().ProgramDirectory(), "/srv/kestrova app");
    EXPECT_FALSE(frame.Services().StartDocument("a", "b"));
    Run("pdf-app none\n");
    EXPECT_EQ(frame.Services().OpenCommand(".PDF"), "");
}

TEST_F(FrameTest, SimLinesPrintTheSimulatorsAnswerAndTheInventoryComesFromIt) {
    const std::string printed = Run("sim plug 7c33 COM9\nsim inventory\n");
    EXPECT_NE(printed.find("USB\\VID_0403&PID_7C33"), std::string::npos) << printed;
    EXPECT_NE(printed.find("IO-Link USB Master (COM9)"), std::string::npos) << printed;
    bool found = false;
    for (const ui::InventoryRecord& r : frame.Services().UsbInventory())
        found = found || r.Name == "IO-Link USB Master (COM9)";
    EXPECT_TRUE(found);
}

TEST_F(FrameTest, ResizeMovesTheRootAndRejectsNonsense) {
    EXPECT_EQ(Run("init 1\nresize 9000 6000\nexpect Main Width 9000\nexpect Main Height 6000\n"),
              "init true\n");
    EXPECT_EQ(frame.Failures(), 0);
}

TEST_F(FrameTest, RunCountsFailedLinesNotErrors) {
    std::istringstream in(
        "init 1\nbogus\nexpect Label1 Caption x\nclick BTGo\nexpect BTOff Enabled true\n");
    EXPECT_EQ(frame.Run(in), 3);
}

// --- with the real main control ---

TEST(HeadlessMainControl, InitReleaseAndTheRegisterFailureMessage) {
    std::ostringstream out;
    HeadlessFrame frame(out);
    std::istringstream in(
        "init 2\n"
        "expect TreeMenu Nodes.Count 5\n"
        "expect-traffic + RegisterGui Kestrova.DTMGUI invoke-1\n"
        "release\n"
        "expect-traffic - UnregisterGui invoke-1\n"
        "init x\n"
        "expect-message Register fehler: \n");
    EXPECT_EQ(frame.Run(in), 0) << out.str();
    EXPECT_NE(out.str().find("init true\nrelease true\ninit false\n"), std::string::npos)
        << out.str();
}

}  // namespace
}  // namespace kestrova::headless
