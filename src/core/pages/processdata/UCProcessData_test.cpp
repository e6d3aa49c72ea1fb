#include "pages/processdata/UCProcessData.h"

#include <gtest/gtest.h>

#include <map>

#include "pages/common/testing/PageRig.h"

namespace kestrova {
namespace {

using ProcRig = testing::PanelRig<UCProcessData>;

TEST(UCProcessData, EnableFollowsStateAndPermissions) {
    const char* const controls[] = {"OptionAnzeige",   "CheckAutoUpdate", "TextInputs",
                                    "TextReadOutputs", "TextOutputs",     "CheckValid",
                                    "BTWrite",         "BTRead"};
    struct Row {
        int16_t state;
        bool readBlocked, write, read;
        const char* enabled;  // '1' for each of the controls above that is enabled
    };
    const Row rows[] = {{0, false, true, true, "00000000"},   {1, false, false, true, "11110001"},
                        {1, true, false, true, "11110000"},   {2, false, true, true, "11111111"},
                        {2, false, false, false, "11010000"}, {2, true, true, true, "11111110"}};
    for (const Row& row : rows) {
        SCOPED_TRACE(::testing::Message() << row.state << row.readBlocked << row.write << row.read);
        ProcRig p;
        p.gui.Device.ProcessOutputs[0] = 38;
        p.C("TextInputs").SetText("1 2");
        p.panel.Enable(row.state, row.readBlocked, row.write, row.read);
        std::string enabled;
        for (const char* c : controls)
            enabled += p.C(c, c == controls[0] ? 2 : -1).Enabled() ? '1' : '0';
        EXPECT_EQ(enabled, row.enabled);
        EXPECT_EQ(p.panel.OutputsChanged(), row.state != 0 && row.write);
        // Without data both displays empty; otherwise the current outputs show.
        EXPECT_EQ(p.C("TextInputs").Text(), row.state ? "1 2" : "");
        EXPECT_EQ(p.C("TextReadOutputs").Text(), row.state ? "38" : "");
    }
}

TEST(UCProcessData, LengthsInBitsAreRoundedUpToBytes) {
    ProcRig p;
    p.bridge->Answer("IOL::GetMode", testing::ModeAnswer(9, 9));
    p.bridge->Answer("IOL::ReadOutputImage", "OK:0,2 1 2");
    p.panel.ActualizeProcessData(3);
    EXPECT_EQ(p.C("TextReadOutputs").Text(), "1 2");
    EXPECT_EQ(p.C("TextInputs").Text(), "1 171");
}

TEST(UCProcessData, RefreshReadsOutputsThenInputsAndRepaintsOnlyChanges) {
    ProcRig p;
    std::map<std::string, int> changes;
    p.panel.Observe([&](ui::Control& c, ui::Prop prop) {
        if (prop == ui::Prop::Text) ++changes[c.Name()];
    });
    EXPECT_EQ(p.panel.ActualizeProcessData(3), 0);
    EXPECT_EQ(p.bridge->Sent(), (std::vector<std::string>{"IOL::GetMode", "IOL::ReadOutputImage",
                                                          "IOL::TransferImage Data="}));
    EXPECT_EQ(p.C("TextReadOutputs").Text(), "5");
    EXPECT_EQ(p.C("TextInputs").Text(), "1 171");
    changes.clear();
    for (int i = 0; i < 3; ++i) p.panel.ActualizeProcessData(3);
    EXPECT_TRUE(changes.empty());
    p.bridge->Answer("IOL::TransferImage Data=", "OK:0,2 1 172 0");
    p.panel.ActualizeProcessData(3);
    EXPECT_EQ(changes, (std::map<std::string, int>{{"TextInputs", 1}}));
    // A failed read answers its code and leaves the inputs as they were.
    p.bridge->Answer("IOL::TransferImage Data=", "ERROR:4097");
    EXPECT_EQ(p.panel.ActualizeProcessData(3), 4097);
    EXPECT_EQ(p.C("TextInputs").Text(), "1 172");
}

TEST(UCProcessData, OnlyWhatParsesIsWrittenAndOnlyOnTheNextRefresh) {
    struct Row {
        const char* text;  // in hex; "0x1," raises inside the parser, "" holds no byte
        bool sent;
    };
    const Row rows[] = {
        {"0x07", true}, {"0x1G", false}, {"256", false}, {"0x1,", false}, {"", false}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.text);
        ProcRig p;
        p.C("OptionAnzeige", 1).UserClick();
        p.panel.ActualizeProcessData(3);
        p.bridge->Answer("IOL::TransferImage Data=07", "OK:0,2 1 171 0");
        p.bridge->ClearLog();
        p.events.clear();
        p.C("TextOutputs").UserType(row.text);
        p.C("TextOutputs").UserKey(10);  // Ctrl+Enter: no line break, nothing written
        p.C("TextOutputs").UserKey(13);
        EXPECT_EQ(p.events, "T");
        EXPECT_EQ(p.C("TextOutputs").Text(), row.text);
        EXPECT_EQ(p.panel.OutputsChanged(), row.sent);
        EXPECT_TRUE(p.bridge->Sent().empty());
        p.panel.ActualizeProcessData(3);
        EXPECT_EQ(p.bridge->Count("IOL::TransferImage Data=07"), row.sent ? 1 : 0);
        EXPECT_EQ(p.C("TextReadOutputs").Text(), row.sent ? "0x07" : "0x05");
        EXPECT_TRUE(p.services.Messages.empty());
    }
}

TEST(UCProcessData, ValidFlagThatFailsIsUncheckedAndReleasesTheTimer) {
    ProcRig p;
    p.bridge->Fail("IOL::SetMode Mode=6 Cycle=0", 462, "gone");
    p.C("CheckValid").UserClick();
    EXPECT_EQ(p.C("CheckValid").Value(), 0);
    EXPECT_EQ(p.events, "FT");
    EXPECT_EQ(p.services.Messages.size(), 1u);
}

}  // namespace
}  // namespace kestrova
