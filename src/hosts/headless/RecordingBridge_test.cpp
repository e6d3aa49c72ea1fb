#include "RecordingBridge.h"

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "HeadlessServices.h"
#include "tools/Vb.h"

namespace kestrova::headless {
namespace {

using Lines = std::vector<std::string>;

// A business object that counts the calls reaching it; "fail", "odd" and the id "bad" raise.
class CannedBridge : public IGuiBridge {
  public:
    std::map<std::string, Variant> answers;
    int calls = 0;
    void RegisterGui(const std::string&, const std::string&) override { ++calls; }
    void UnregisterGui(const std::string& id) override {
        ++calls;
        if (id == "bad") Raise(91, "Object variable not set");
    }
    void CloseGui(const std::string&) override { ++calls; }
    Variant SendCommand(const std::string& text) override {
        ++calls;
        if (text == "fail") throw VbError(-2147467259, "Automation error");
        if (text == "odd") throw std::runtime_error("not a VbError");
        return answers[text];
    }
    void SetItem(const std::string&, const Variant&) override { ++calls; }
    void NotifyGuiReleased() override { ++calls; }
};

TEST(RecordingBridge, WritesOneLinePerCallPassesItOnAndLetsErrorsThrough) {
    auto inner = std::make_shared<CannedBridge>();
    inner->answers = {{"Connect", Variant(true)}, {"multi", Variant("a\r\nb\tx\x01\x7f C:\\x ä")}};
    RecordingBridge b(inner);
    const std::vector<std::pair<std::function<void()>, Lines>> cases = {
        {[&] { b.RegisterGui("Kestrova.DTMGUI", "i-1"); }, {"+ RegisterGui Kestrova.DTMGUI i-1"}},
        {[&] { EXPECT_EQ(b.SendCommand("Connect"), Variant(true)); }, {"> Connect", "< True"}},
        {[&] { b.SendCommand("Empty"); }, {"> Empty", "<"}},
        {[&] { b.SendCommand("multi"); }, {"> multi", R"(< a\r\nb\tx\x01\x7F C:\x ä)"}},
        {[&] { b.SetItem("LOGGER", Variant("a\nb")); }, {R"(= LOGGER a\nb)"}},
        {[&] { b.SetItem("USBDevice", Variant::MakeNull()); }, {"= USBDevice Null"}},
        {[&] { b.CloseGui("i-1"); }, {"x CloseGui i-1"}},
        {[&] { b.UnregisterGui("i-1"); }, {"- UnregisterGui i-1"}},
        {[&] { b.NotifyGuiReleased(); }, {"! NotifyGuiReleased"}},
        {[&] { EXPECT_THROW(b.SendCommand("fail"), VbError); },
         {"> fail", "< ERROR -2147467259: Automation error"}},
        {[&] { EXPECT_THROW(b.SendCommand("odd"), std::runtime_error); },
         {"> odd", "< ERROR: not a VbError"}},
        {[&] { EXPECT_THROW(b.UnregisterGui("bad"), VbError); },
         {"- UnregisterGui bad", "< ERROR 91: Object variable not set"}},
    };
    for (const auto& [call, want] : cases) {
        call();
        EXPECT_EQ(b.Take(), want);
    }
    EXPECT_EQ(inner->calls, static_cast<int>(cases.size()));
}

TEST(RecordingBridge, AnUnreadFloodKeepsTheNewestLinesAndSaysHowManyWentMissing) {
    RecordingBridge bridge(std::make_shared<CannedBridge>(), 10);
    for (int i = 0; i < 30; ++i) bridge.NotifyGuiReleased();
    const Lines lines = bridge.Take();
    ASSERT_EQ(lines.size(), 11u);
    EXPECT_EQ(lines.front(), "... 20 earlier lines dropped");
    bridge.NotifyGuiReleased();
    EXPECT_EQ(bridge.Take(), (Lines{"! NotifyGuiReleased"}));
}

TEST(HeadlessServices, MessageBoxesAnswerFromTheQueueElseWithTheDefaultButton) {
    HeadlessServices s([] { return std::vector<ui::InventoryRecord>{}; },
                       [](const std::string&) {});
    s.QueueMessageAnswer(ui::msgbox::AnswerNo);
    // Style, then buttons, icon and answer: OK or Yes, else the first button.
    const std::vector<std::pair<int, std::string>> cases = {
        {4 | 32, "YesNo Question No"},
        {4, "YesNo  Yes"},
        {16, "OK Critical OK"},
        {1 | 48, "OKCancel Exclamation OK"},
        {2 | 64, "AbortRetryIgnore Information Abort"},
        {3, "YesNoCancel  Yes"},
        {5, "RetryCancel  Retry"}};
    for (const auto& [style, want] : cases)
        EXPECT_EQ(std::string(ButtonsName(style)) + " " + IconName(style) + " " +
                      AnswerName(s.MsgBox("\"\n", style, "T")),
                  want);
    EXPECT_EQ(MessageJson(s.TakeMessages().front()),
              R"({"text":"\"\n","title":"T","buttons":"YesNo","icon":"Question","answer":"No"})");
}

}  // namespace
}  // namespace kestrova::headless
