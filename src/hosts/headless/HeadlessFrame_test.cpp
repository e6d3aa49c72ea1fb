#include "HeadlessFrame.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "HeadlessServices.h"
#include "link/testing/FakeBridge.h"
#include "tools/Vb.h"
#include "ui/Json.h"

namespace kestrova::headless {
namespace {

using Lines = std::vector<std::string>;

// A small control standing in for the main control, so the interpreter is tested on its own;
// its handlers write what they saw to the log.
class FakeControl : public HostedControl {
  public:
    FakeControl(ui::Services& services, Lines& log) : log_(log) {
        using ui::Kind;
        ui::Control& r = root_;
        const auto button = [&r](const char* name) -> ui::Control& {
            return r.AddControl(Kind::CommandButton, name);
        };
        const auto note = [this](std::string line) { log_.push_back(std::move(line)); };
        button("BTGo").Click = [this, note] {
            note("go");
            dtm_->SendCommand("GetProduct");
        };
        button("BTFail").Click = [] { Raise(vberr::InvalidProcedureCall); };
        button("BTAsk").Click = [&services] { services.MsgBox("Clear?", ui::msgbox::YesNo, "T"); };
        button("BTOff").SetEnabled(false);
        auto& text = r.AddControl(Kind::TextBox, "Text1");
        text.Change = [note, &text] { note("change " + text.Text()); };
        text.KeyPress = [note](int16_t& key) { note("key " + std::to_string(key)); };
        r.AddControl(Kind::TextBox, "TextLocked").SetLocked(true);
        r.AddControl(Kind::Label, "Label1").SetCaption("Gerät");
        auto& combo = r.AddControl(Kind::ComboBox, "Combo1");
        for (const char* item : {"COM3", "COM4"}) combo.AddItem(item);
        combo.Click = [note, &combo] { note("pick " + combo.Text()); };
        auto& hidden = r.AddControl(Kind::Frame, "Hidden");
        hidden.AddControl(Kind::CommandButton, "Inside");
        hidden.SetVisible(false);
        auto& panel = r.Add<ui::UserControl>("Panel1");
        for (int i = 0; i < 3; ++i) panel.AddControl(Kind::OptionButton, "Option1", i);
        auto& tree = r.AddControl(Kind::TreeView, "TreeMenu");
        for (const char* key : {"K1", "K5"}) tree.AddNode(key, key);
        tree.NodeClick = [note](const std::string& key) { note("node " + key); };
        auto& t = r.AddControl(Kind::Timer, "Timer1");
        t.OnTimer = [note, &t] { note("tick " + std::to_string(t.GetClock()->NowMs())); };
        t.SetInterval(300);
        panel.AddControl(Kind::Timer, "TimerBad").OnTimer = [] { Raise(vberr::Overflow); };
    }
    ui::Control& Root() override { return root_; }
    bool Init(const std::string& invokeId, const std::string& call,
              std::shared_ptr<IGuiBridge> dtm) override {
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
    Lines& log_;
    std::shared_ptr<IGuiBridge> dtm_;
};

class FrameTest : public ::testing::Test {
  protected:
    // Runs the lines and answers what they printed.
    std::string Run(const std::string& script) {
        out.str("");
        std::istringstream in(script);
        frame.Run(in);
        return out.str();
    }
    ui::Control& Find(const char* path) { return *frame.Root()->Resolve(path); }
    std::ostringstream out;
    Lines log;
    HostFactory host = [this](ui::Services& s) { return std::make_unique<FakeControl>(s, log); };
    HeadlessFrame frame{out, FrameOptions{false, 1033, host, {}, {}}};
};

TEST_F(FrameTest, ABadLinePrintsOneErrorNamingItsLineAndTheFrameGoesOn) {
    const std::vector<std::pair<const char*, const char*>> cases = {
        {"click BTGo", "no control yet: init comes first"},
        {"release", "no control yet: init comes first"},
        {"tick 250", nullptr},  // the clock runs from the start
        {"init 1", nullptr},
        {"frobnicate", "unknown command 'frobnicate'"},
        {"tick soon", "MS must be a whole number from 0 to 1000000000, not 'soon'"},
        {"init 1 1031 x", "usage: init FUNCID [LCID]"},
        {"click Nope", "unknown control Nope"},
        {"pick Combo1 2", "Combo1 has no entry 2 (it has 2)"},
        {"pick Label1 0", "Label1 is a Label, not a combo box"},
        {"type Label1 x", "Label1 is a Label, not a text box"},
        {"type TextLocked x", "TextLocked is locked"},
        {"key Text1 Shift", "CODE must be a whole number from 0 to 255"},
        {"node K9", "TreeMenu has no node K9"},
        {"expect Label1", "usage: expect PATH PROPERTY VALUE"},
        {"expect-traffic", "usage: expect-traffic TEXT"},
        {"answer-message maybe", "usage: answer-message"},
        {"answer-save", "usage: answer-save PATH|cancel"},
        {"start-result perhaps", "usage: start-result ok|fail"},
        {"sim frobnicate", "sim: unknown control command 'frobnicate'"},
        {"click BTGo", nullptr},
    };
    int line = 0, failures = 0;
    for (const auto& [text, message] : cases) {
        out.str("");
        EXPECT_EQ(frame.Execute(text, ++line), !message) << text;
        if (!message) continue;
        ++failures;
        const std::string want = "error line " + std::to_string(line) + ": " + message;
        const std::string printed = out.str();  // one line
        EXPECT_TRUE(printed.starts_with(want) && printed.find('\n') + 1 == printed.size())
            << printed;
    }
    EXPECT_EQ(frame.Failures(), failures);
    EXPECT_EQ(frame.Services().Clock().NowMs(), 250);
}

TEST_F(FrameTest, CommentsAndBlankLinesAreSkippedAndEchoShowsTheScript) {
    std::ostringstream echoed;
    HeadlessFrame echo(echoed, FrameOptions{true, 1033, host, {}, {}});
    std::istringstream in("# setup\ninit 1\r\n   \t\r\nbogus\n");
    EXPECT_EQ(echo.Run(in), 1);
    EXPECT_EQ(echoed.str(),
              "# setup\n$ init 1\ninit true\n\n$ bogus\nerror line 4: unknown command 'bogus'\n");
}

TEST_F(FrameTest, InitOpensANewControlWithANewInvokeIdAfterSettingTheLanguage) {
    EXPECT_EQ(Run("init 1 1031\ninit 2\ninit-raw <FDT functionId=\"1\"/>\nrelease\ntraffic\n"),
              "init true\ninit false\ninit true\nrelease true\n"
              "> Language\n< 1031\n+ RegisterGui Fake.Control invoke-1\n"
              "> Language\n< 1031\n+ RegisterGui Fake.Control invoke-2\n"
              "> Language\n< 1031\n+ RegisterGui Fake.Control invoke-3\n! NotifyGuiReleased\n");
}

TEST_F(FrameTest, HandlerErrorsAreReportedAndInputReachesOnlyVisibleEnabledControls) {
    EXPECT_EQ(Run("init 1\nclick BTFail\nclick Hidden.Inside\nclick BTOff\nclick main.btgo\n"
                  "click Main.BTGo\n"),
              "init true\n"
              "error line 2: \"click BTFail\" raised error 5: Invalid procedure call or argument\n"
              "error line 3: Hidden.Inside (in Hidden) is not visible\n"
              "error line 4: BTOff is disabled\n");
    EXPECT_EQ(log, (Lines{"go", "go"}));
}

TEST_F(FrameTest, TypingKeysPicksClicksAndNodesGoThroughTheUserOperations) {
    // TEXT is decoded when it is one JSON string, else taken as written.
    EXPECT_EQ(Run("init 1\ntype Text1 16\ntype Text1 \"  spaced \\\"x\\\"\"\nkey Text1 Backspace\n"
                  "key Text1 enter\nkey Text1 65\nkeys Text1 ä€\ntype Text1 \"a\" and \"b\"\n"
                  "type Text1 \"bad \\q\"\npick Combo1 1\npick Combo1 -1\n"
                  "click Panel1.Option1(2)\nnode K5\n"),
              "init true\n");
    EXPECT_EQ(
        log, (Lines{"change 16", "change   spaced \"x\"", "key 8", "change   spaced \"x", "key 13",
                    "key 65", "change   spaced \"xA", "key 228", "change   spaced \"xAä", "key 128",
                    "change   spaced \"xAä€", "change \"a\" and \"b\"", "change \"bad \\q\"",
                    "pick COM4", "pick ", "node K5"}));
    EXPECT_EQ(Find("Panel1.Option1(2)").Value(), 1);
}

TEST_F(FrameTest, TicksFireTimersInTimeOrderAndAFailingTimerIsNamedWithoutFlooding) {
    Run("init 1\n");
    EXPECT_EQ(Run("tick 650\n"), "");
    EXPECT_EQ(log, (Lines{"tick 300", "tick 600"}));

    log.clear();
    Find("Panel1.TimerBad").SetInterval(500);  // due at 1150
    EXPECT_EQ(Run("tick 600\n"),
              "error line 1: tick: timer Panel1.TimerBad at 1150 ms raised error 6: Overflow\n");
    EXPECT_EQ(log, (Lines{"tick 900", "tick 1200"})) << "the other timer goes on";
    EXPECT_EQ(frame.Services().Clock().NowMs(), 1250);

    Find("Panel1.TimerBad").SetInterval(1);  // 100 failures in the next tick
    const std::string printed = Run("tick 100\n");
    EXPECT_EQ(std::count(printed.begin(), printed.end(), '\n'), 21) << printed;
    EXPECT_NE(printed.find("tick: 80 more timer errors not shown"), std::string::npos) << printed;
    EXPECT_EQ(frame.Failures(), 2) << "one failure per line";
}

TEST_F(FrameTest, GetAndDumpPrintJsonWithPaths) {
    Run("init 1\n");
    EXPECT_EQ(Run("get label1\n"), ui::ToJson(Find("Label1")) + "\n");
    const std::string dump = Run("dump Panel1\n");
    EXPECT_EQ(std::count(dump.begin(), dump.end(), '\n'), 5);
    EXPECT_TRUE(dump.starts_with(R"({"path":"Panel1","kind":"UserControl")")) << dump;
    EXPECT_NE(dump.find(R"j({"path":"Panel1.Option1(2)","kind":"OptionButton")j"),
              std::string::npos)
        << dump;
    const std::string all = Run("dump\n");
    EXPECT_TRUE(all.starts_with(R"({"path":"Main","kind":"UserControl")")) << all;
    EXPECT_NE(all.find(R"("path":"Hidden.Inside")"), std::string::npos) << all;
}

TEST_F(FrameTest, ExpectIsSilentOnSuccessAndPrintsBothValuesOnMismatch) {
    // Booleans ignore case, numbers may be wanted in hex, an empty value is the empty text.
    EXPECT_EQ(Run("init 1\nexpect Label1 Caption Gerät\nexpect Label1 Visible TRUE\n"
                  "expect BTOff Enabled false\nexpect Text1 Text \"\"\nexpect Text1 Text\n"
                  "expect Combo1 List(1) COM4\nexpect main Width 1200\n"
                  "expect Label1 BackColor 0x8000000F\nexpect Label1 BackColor &H8000000F\n"
                  "expect Label1 Caption Gerat\nexpect BTOff Enabled yes\n"
                  "expect Label1 BackColor 0xZZ\nexpect Combo1 List(5) x\n"),
              "init true\n"
              "error line 11: expect Label1 Caption: got \"Gerät\", want \"Gerat\"\n"
              "error line 12: expect BTOff Enabled: got false, want yes\n"
              "error line 13: expect Label1 BackColor: got 2147483663, want 0xZZ\n"
              "error line 14: Combo1: List(5) does not exist: 2 entries\n");
}

TEST_F(FrameTest, TrafficIsPrintedOnceAndExpectTrafficLooksWithoutConsuming) {
    EXPECT_EQ(Run("init 1\nclick BTGo\nexpect-traffic \"> GetProduct\\n< 7c31\"\n"
                  "expect-no-traffic IOL::Read\ntraffic\nexpect-no-traffic GetProduct\ntraffic\n"
                  "click BTGo\nexpect-traffic IOL::Read\nexpect-no-traffic 7c31\n"),
              "init true\n> Language\n< 1033\n+ RegisterGui Fake.Control invoke-1\n> GetProduct\n"
              "< 7c31 IO-Link USB Master\n"
              "error line 9: expect-traffic: no pending traffic contains \"IOL::Read\" (2 lines "
              "pending)\nerror line 10: expect-no-traffic: pending traffic contains \"7c31\" in "
              "\"< 7c31 IO-Link USB Master\"\n");
}

TEST_F(FrameTest, MessagesAreAnsweredFromTheQueueThenYesAndChecked) {
    EXPECT_EQ(Run("init 1\nanswer-message no\nclick BTAsk\nmessages\nclick BTAsk\n"
                  "expect-no-message\nexpect-message Register\n"),
              "init true\n"
              R"({"text":"Clear?","title":"T","buttons":"YesNo","icon":"","answer":"No"})"
              "\nerror line 6: expect-no-message: pending "
              R"("{\"text\":\"Clear?\",\"title\":\"T\",\"buttons\":\"YesNo\",\"icon\":\"\",)"
              R"(\"answer\":\"Yes\"}")"
              "\nerror line 7: expect-message: no pending message contains \"Register\" "
              "(1 pending)\n");
}

TEST_F(FrameTest, SaveDialogsTakeQueuedAnswersAndNoteAMissingOne) {
    EXPECT_EQ(Run("answer-save events today.txt\nanswer-save cancel\nanswer-save \"cancel\"\n"),
              "");
    for (const char* want : {"events today.txt", "", "cancel", ""})
        EXPECT_EQ(frame.Services().ShowSave("*.txt", "E.txt"), want);
    EXPECT_EQ(out.str(),
              "note: save dialog (*.txt, E.txt) answered cancel; no answer-save was given\n");
}

// Stands in for a host that sends input to its own windows: records what reached it and
// forwards to the model, so the script's effects stay the same.
class LoggingDriver : public InputDriver {
  public:
    explicit LoggingDriver(Lines& log) : log_(log) {}
    void Attach(ui::Control& root) override { log_.push_back("attach " + root.Name()); }
    void Detach() override { log_.push_back("detach"); }
    void Click(ui::Control& c) override {
        log_.push_back("click " + c.Name());
        InputDriver::Click(c);
    }
    void Pick(ui::Control& c, int index) override {
        log_.push_back("pick# " + std::to_string(index));
        InputDriver::Pick(c, index);
    }
    void Resize(ui::Control& root, int32_t width, int32_t height) override {
        log_.push_back("resize " + std::to_string(width) + "x" + std::to_string(height));
        InputDriver::Resize(root, width, height);
    }
    void Settle() override { ++settles; }
    int settles = 0;

  private:
    Lines& log_;
};

TEST_F(FrameTest, AnotherInputDriverGetsTheInputAndSeesEachControlComeAndGo) {
    auto driver = std::make_shared<LoggingDriver>(log);
    std::ostringstream printed;
    {
        HeadlessFrame driven(printed, FrameOptions{false, 1033, host, driver, {}});
        std::istringstream in(
            "init 1\nclick BTGo\npick Combo1 1\nclick BTOff\n# note\n"
            "resize 9000 6000\ninit 1\n");
        EXPECT_EQ(driven.Run(in), 1) << "a disabled target never reaches the driver";
    }
    EXPECT_EQ(log, (Lines{"attach Main", "click BTGo", "go", "pick# 1", "pick COM4",
                          "resize 9000x6000", "detach", "attach Main", "detach"}));
    EXPECT_EQ(driver->settles, 6) << "after every command line, failed ones too";
}

// A business object from outside takes the control's calls; the frame asks it for the inventory
// and hands it the control lines, on the frame's clock.
TEST(FrameBusiness, AGivenBusinessObjectTakesTheCallsTheInventoryAndTheControlLines) {
    auto fake = std::make_shared<FakeBridge>();
    const std::vector<ui::InventoryRecord> inventory = {{"USB\\VID_0403&PID_7C31\\X", "M (COM9)"}};
    Lines controls;
    int64_t controlledAt = -1;
    FrameOptions options;
    options.business = [&](ui::VirtualClock& clock) {
        return BusinessObject{fake, [&] { return inventory; },
                              [&](std::string_view line) {
                                  controls.emplace_back(line);
                                  controlledAt = clock.NowMs();
                                  return "said " + std::string(line);
                              }};
    };
    std::ostringstream out;
    HeadlessFrame frame(out, options);
    std::istringstream script("tick 40\nsim plug 7c32 COM4\ninit 1 1031\n");
    EXPECT_EQ(frame.Run(script), 0) << out.str();
    EXPECT_NE(out.str().find("said plug 7c32 COM4\n"), std::string::npos) << out.str();
    EXPECT_EQ(controls, (Lines{"plug 7c32 COM4", "set Language 1031"}));
    EXPECT_EQ(controlledAt, 40);
    EXPECT_EQ(frame.Services().UsbInventory()[0].Name, "M (COM9)");
    EXPECT_EQ(fake->Count("DTMDate"), 1);

    // One that takes no control lines says so; one without an inventory has nothing plugged.
    options.business = [&](ui::VirtualClock&) { return BusinessObject{fake, {}, {}}; };
    std::ostringstream plainOut;
    HeadlessFrame plain(plainOut, options);
    EXPECT_FALSE(plain.Execute("sim status", 1));
    EXPECT_EQ(plainOut.str(), "error line 1: sim: the business object takes no control lines\n");
    EXPECT_TRUE(plain.Services().UsbInventory().empty());  // and no inventory: none plugged
}

}  // namespace
}  // namespace kestrova::headless
