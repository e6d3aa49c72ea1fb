#include "RecordingBridge.h"

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "HeadlessServices.h"
#include "tools/Vb.h"

namespace kestrova::headless {
namespace {

// A business object with canned answers; commands named "fail..." raise.
class CannedBridge : public IGuiBridge {
  public:
    std::map<std::string, Variant> answers;
    std::vector<std::string> calls;
    void RegisterGui(const std::string& p, const std::string& i) override {
        calls.push_back("reg " + p + " " + i);
    }
    void UnregisterGui(const std::string& i) override {
        calls.push_back("unreg " + i);
        if (i == "bad") Raise(91, "Object variable not set");
    }
    void CloseGui(const std::string& i) override { calls.push_back("close " + i); }
    Variant SendCommand(const std::string& text) override {
        calls.push_back("send " + text);
        if (text.starts_with("fail")) throw VbError(-2147467259, "Automation error");
        if (text == "odd") throw std::runtime_error("not a VbError");
        return answers[text];
    }
    void SetItem(const std::string& name, const Variant& value) override {
        calls.push_back("set " + name + " " + (value.IsNull() ? "Null" : value.ToText()));
    }
    void NotifyGuiReleased() override { calls.push_back("released"); }
};

TEST(RecordingBridge, WritesOneLinePerCallAndPassesEveryCallOn) {
    auto inner = std::make_shared<CannedBridge>();
    inner->answers["USBDevice"] = Variant("COM3");
    inner->answers["IOL::Connect"] = Variant(true);
    inner->answers["Language"] = Variant(int32_t{1031});
    RecordingBridge bridge(inner);

    bridge.RegisterGui("Kestrova.DTMGUI", "invoke-1");
    EXPECT_EQ(bridge.SendCommand("USBDevice").ToText(), "COM3");
    bridge.SendCommand("IOL::Connect");
    bridge.SendCommand("Language");
    bridge.SendCommand("Empty");
    bridge.SetItem("LOGGER", Variant("FUNCID_EXPERT ausgewählt"));
    bridge.SetItem("USBDevice", Variant::MakeNull());
    bridge.CloseGui("invoke-1");
    bridge.UnregisterGui("invoke-1");
    bridge.NotifyGuiReleased();

    EXPECT_EQ(bridge.Take(), (std::vector<std::string>{
                                 "+ RegisterGui Kestrova.DTMGUI invoke-1",
                                 "> USBDevice",
                                 "< COM3",
                                 "> IOL::Connect",
                                 "< True",
                                 "> Language",
                                 "< 1031",
                                 "> Empty",
                                 "<",
                                 "= LOGGER FUNCID_EXPERT ausgewählt",
                                 "= USBDevice Null",
                                 "x CloseGui invoke-1",
                                 "- UnregisterGui invoke-1",
                                 "! NotifyGuiReleased",
                             }));
    EXPECT_EQ(inner->calls.size(), 10u);
    EXPECT_TRUE(bridge.Take().empty()) << "Take consumes";
}

TEST(RecordingBridge, ErrorsAreWrittenAndStillReachTheCaller) {
    auto inner = std::make_shared<CannedBridge>();
    RecordingBridge bridge(inner);
    try {
        bridge.SendCommand("fail IOL::Read");
        ADD_FAILURE() << "the error was swallowed";
    } catch (const VbError& e) {
        EXPECT_EQ(e.Number(), -2147467259);
    }
    EXPECT_THROW(bridge.SendCommand("odd"), std::runtime_error);
    EXPECT_THROW(bridge.UnregisterGui("bad"), VbError);
    EXPECT_EQ(bridge.Lines(), (std::vector<std::string>{
                                  "> fail IOL::Read",
                                  "< ERROR -2147467259: Automation error",
                                  "> odd",
                                  "< ERROR: not a VbError",
                                  "- UnregisterGui bad",
                                  "< ERROR 91: Object variable not set",
                              }));
}

TEST(RecordingBridge, ControlCharactersAreEscapedSoEachCallStaysOneLine) {
    auto inner = std::make_shared<CannedBridge>();
    inner->answers["multi"] = Variant("line1\r\nline2\tx\x01");
    RecordingBridge bridge(inner);
    bridge.SendCommand("multi");
    bridge.SetItem("LOGGER", Variant("a\nb"));
    EXPECT_EQ(bridge.Lines(), (std::vector<std::string>{"> multi", R"(< line1\r\nline2\tx\x01)",
                                                        R"(= LOGGER a\nb)"}));
    EXPECT_EQ(OneLine("C:\\Manual\\x.pdf"), "C:\\Manual\\x.pdf") << "backslashes stay as they are";
}

TEST(RecordingBridge, AnUnreadFloodKeepsTheNewestLinesAndSaysHowManyWentMissing) {
    auto inner = std::make_shared<CannedBridge>();
    RecordingBridge bridge(inner, 10);
    for (int i = 0; i < 30; ++i) bridge.NotifyGuiReleased();
    const std::vector<std::string> lines = bridge.Take();
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines.front(), "... 20 earlier lines dropped");
    EXPECT_EQ(lines.size(), 11u);
    bridge.NotifyGuiReleased();
    EXPECT_EQ(bridge.Take(), (std::vector<std::string>{"! NotifyGuiReleased"}));
}

// --- services ---

TEST(HeadlessServices, MessageBoxesAnswerOkOrYesUnlessAnAnswerIsQueued) {
    std::vector<std::string> notes;
    HeadlessServices s([] { return std::vector<ui::InventoryRecord>{}; },
                       [&](const std::string& n) { notes.push_back(n); });
    struct Case {
        int style;
        int answer;
    };
    for (const Case c : {Case{ui::msgbox::OkOnly, ui::msgbox::AnswerOk},
                         Case{ui::msgbox::OkCancel | ui::msgbox::Exclamation, ui::msgbox::AnswerOk},
                         Case{2, 3}, Case{3, ui::msgbox::AnswerYes},
                         Case{ui::msgbox::YesNo | 32, ui::msgbox::AnswerYes}, Case{5, 4}})
        EXPECT_EQ(s.MsgBox("t", c.style, ""), c.answer) << c.style;

    s.QueueMessageAnswer(ui::msgbox::AnswerNo);
    EXPECT_EQ(s.MsgBox("Clear the list?", ui::msgbox::YesNo, "Events"), ui::msgbox::AnswerNo);
    EXPECT_EQ(s.MsgBox("again", ui::msgbox::YesNo, ""), ui::msgbox::AnswerYes) << "one answer each";

    const std::vector<MessageRecord> shown = s.TakeMessages();
    ASSERT_EQ(shown.size(), 8u);
    EXPECT_EQ(
        MessageJson(shown[6]),
        R"({"text":"Clear the list?","title":"Events","buttons":"YesNo","icon":"","answer":"No"})");
    EXPECT_EQ(MessageJson(shown[1]),
              R"({"text":"t","title":"","buttons":"OKCancel","icon":"Exclamation","answer":"OK"})");
    EXPECT_TRUE(s.Messages().empty());
    EXPECT_TRUE(notes.empty());
}

TEST(HeadlessServices, MessageTextIsEscapedInJson) {
    const MessageRecord m{"Register fehler: \"x\"\nzweite Zeile", "", ui::msgbox::Critical, 1};
    EXPECT_EQ(MessageJson(m),
              R"({"text":"Register fehler: \"x\"\nzweite Zeile","title":"","buttons":"OK",)"
              R"("icon":"Critical","answer":"OK"})");
}

TEST(HeadlessServices, AnswerNamesReadBothWays) {
    for (int i = 1; i <= 7; ++i) EXPECT_EQ(AnswerNumber(AnswerName(i)), i);
    EXPECT_EQ(AnswerNumber("yes"), ui::msgbox::AnswerYes);
    EXPECT_EQ(AnswerNumber("maybe"), 0);
    EXPECT_EQ(AnswerNumber(""), 0);
}

TEST(HeadlessServices, SaveDialogsAnswerFromTheQueueAndCancelWithANoteWhenItIsEmpty) {
    std::vector<std::string> notes;
    HeadlessServices s([] { return std::vector<ui::InventoryRecord>{}; },
                       [&](const std::string& n) { notes.push_back(n); });
    s.QueueSaveAnswer("/tmp/events.txt");
    s.QueueSaveAnswer("");
    EXPECT_EQ(s.ShowSave("*.txt", "EventLog.txt"), "/tmp/events.txt");
    EXPECT_EQ(s.ShowSave("*.txt", "EventLog.txt"), "");
    EXPECT_TRUE(notes.empty()) << "an answered cancel is no surprise";
    EXPECT_EQ(s.ShowSave("*.txt", "EventLog.txt"), "");
    ASSERT_EQ(notes.size(), 1u);
    EXPECT_NE(notes[0].find("answered cancel"), std::string::npos) << notes[0];
}

TEST(HeadlessServices, ProgramsAreReportedNotStarted) {
    std::vector<std::string> notes;
    HeadlessServices s(
        [] {
            return std::vector<ui::InventoryRecord>{{"USB\\VID_0403&PID_7C31\\1", "M (COM3)"}};
        },
        [&](const std::string& n) { notes.push_back(n); });
    EXPECT_EQ(s.OpenCommand(".PDF"), "") << "no application by default";
    s.SetPdfApplication("/usr/bin/evince");
    EXPECT_EQ(s.OpenCommand(".PDF"), "/usr/bin/evince");
    EXPECT_EQ(s.OpenCommand(".pdf"), "/usr/bin/evince");
    EXPECT_EQ(s.OpenCommand(".txt"), "");
    EXPECT_TRUE(s.StartDocument("/usr/bin/evince", "/opt/kestrova/Manual/a.pdf"));
    s.SetStartSucceeds(false);
    EXPECT_FALSE(s.StartDocument("/usr/bin/evince", "b.pdf"));
    EXPECT_EQ(notes, (std::vector<std::string>{"started /usr/bin/evince /opt/kestrova/Manual/a.pdf",
                                               "started /usr/bin/evince b.pdf (failed)"}));
    s.SetProgramDirectory("/srv/k");
    EXPECT_EQ(s.ProgramDirectory(), "/srv/k");
    EXPECT_EQ(s.UsbInventory().size(), 1u);
    s.Clock().Set(42);
    EXPECT_EQ(s.GetClock().NowMs(), 42);
}

}  // namespace
}  // namespace kestrova::headless
