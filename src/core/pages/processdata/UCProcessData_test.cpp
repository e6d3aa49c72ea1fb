#include "pages/processdata/UCProcessData.h"

#include <gtest/gtest.h>

#include <map>

#include "pages/common/testing/PageRig.h"

namespace kestrova {
namespace {

using testing::RecordingServices;
using testing::Rig;

struct Panel {
    explicit Panel(const std::string& state = "ONLINE+,TRUE") : rig(state) {
        panel.RefreshContents(&rig.gui);
        panel.SetLanguage();
        panel.ChangeTimer = [this](bool e) { events.push_back(e); };
        panel.Observe([this](ui::Control& c, ui::Prop p) {
            if (p == ui::Prop::Text) ++textChanges[c.Name()];
        });
        // Outputs read back 0x05, inputs 0x01 0xAB.
        rig.bridge->Answer("IOL::ReadOutputImage", "OK:0,1 5");
        rig.bridge->Answer("IOL::TransferImage Data=", "OK:0,2 1 171 0");
        rig.bridge->ClearLog();
    }
    ui::Control& C(const char* name, int index = -1) { return panel(name, index); }
    void Format(int index) { C("OptionAnzeige", index).UserClick(); }

    RecordingServices services;
    Rig rig;
    UCProcessData panel{services};
    std::vector<bool> events;
    std::map<std::string, int> textChanges;
};

TEST(UCProcessData, EnableFollowsStateAndPermissions) {
    struct Row {
        int16_t state;
        bool readBlocked, write, read;
        bool options, inputs, readOutputs, outputs, read_, auto_;
    };
    const Row rows[] = {
        {0, false, true, true, false, false, false, false, false, false},
        {1, false, false, true, true, true, true, false, true, true},
        {1, true, false, true, true, true, true, false, false, true},
        {2, false, true, true, true, true, true, true, true, true},
        {2, false, false, false, true, false, true, false, false, true},
        {2, true, true, true, true, true, true, true, false, true},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(::testing::Message() << row.state << row.readBlocked << row.write << row.read);
        Panel p;
        p.panel.Enable(row.state, row.readBlocked, row.write, row.read);
        for (int i = 0; i < 3; ++i) EXPECT_EQ(p.C("OptionAnzeige", i).Enabled(), row.options);
        EXPECT_EQ(p.C("TextInputs").Enabled(), row.inputs);
        EXPECT_EQ(p.C("TextReadOutputs").Enabled(), row.readOutputs);
        EXPECT_EQ(p.C("TextOutputs").Enabled(), row.outputs);
        EXPECT_EQ(p.C("CheckValid").Enabled(), row.outputs);
        EXPECT_EQ(p.C("BTWrite").Enabled(), row.outputs);
        EXPECT_EQ(p.C("BTRead").Enabled(), row.read_);
        EXPECT_EQ(p.C("CheckAutoUpdate").Enabled(), row.auto_);
        EXPECT_EQ(p.panel.OutputsChanged(), row.state != 0 && row.write);
    }
}

TEST(UCProcessData, EnableWithoutDataEmptiesTheDisplays) {
    Panel p;
    p.C("TextInputs").SetText("1 2");
    p.C("TextReadOutputs").SetText("3");
    p.panel.Enable(UCProcessData::kNoData, false, false, false);
    EXPECT_EQ(p.C("TextInputs").Text(), "");
    EXPECT_EQ(p.C("TextReadOutputs").Text(), "");
    EXPECT_TRUE(p.rig.bridge->Sent().empty());
}

TEST(UCProcessData, EnableShowsTheCurrentOutputs) {
    Panel p;
    p.rig.gui.Device.ProcessOutputs[0] = 38;
    p.Format(1);
    p.panel.Enable(UCProcessData::kReadWrite, true, true, true);
    EXPECT_EQ(p.C("TextReadOutputs").Text(), "0x26");
    EXPECT_EQ(p.C("TextOutputs").Text(), "0x26");
}

TEST(UCProcessData, NoOutputsLeavesTheReadBackDisabled) {
    Panel p;
    auto page = testing::SensorPage();
    page[6] = 0;
    p.rig.bridge->Answer("IOL::GetMode", testing::ModeAnswer(page));
    p.panel.Enable(UCProcessData::kReadWrite, false, true, true);
    EXPECT_FALSE(p.C("TextReadOutputs").Enabled());
    EXPECT_EQ(p.C("TextReadOutputs").Text(), "");
}

TEST(UCProcessData, NineOutputBitsShowAsTwoBytes) {
    Panel p;
    auto page = testing::SensorPage();
    page[6] = 9;
    p.rig.bridge->Answer("IOL::GetMode", testing::ModeAnswer(page));
    p.rig.gui.Device.ProcessOutputs[0] = 1;
    p.rig.gui.Device.ProcessOutputs[1] = 2;
    p.panel.Enable(UCProcessData::kReadWrite, false, true, true);
    EXPECT_EQ(p.C("TextReadOutputs").Text(), "1 2");
}

TEST(UCProcessData, RefreshReadsOutputsThenInputs) {
    Panel p;
    EXPECT_EQ(p.panel.ActualizeProcessData(3), 0);
    EXPECT_EQ(p.rig.bridge->Sent(),
              (std::vector<std::string>{"IOL::GetMode", "IOL::ReadOutputImage",
                                        "IOL::TransferImage Data="}));
    EXPECT_EQ(p.C("TextReadOutputs").Text(), "5");
    EXPECT_EQ(p.C("TextInputs").Text(), "1 171");
}

TEST(UCProcessData, RefreshOutsideIOLinkAndSioReadsNothing) {
    Panel p("ONLINE-,TRUE");
    p.C("BTRead").UserClick();
    EXPECT_TRUE(p.panel.OutputsChanged());
    EXPECT_EQ(p.panel.ActualizeProcessData(2), 0);
    EXPECT_FALSE(p.panel.OutputsChanged());
    EXPECT_TRUE(p.rig.bridge->Sent().empty());
}

TEST(UCProcessData, AFailedImageReadLeavesTheInputsAsTheyWere) {
    Panel p;
    p.panel.ActualizeProcessData(3);
    p.rig.bridge->Answer("IOL::TransferImage Data=", "ERROR:4097");
    EXPECT_EQ(p.panel.ActualizeProcessData(3), 4097);
    EXPECT_EQ(p.C("TextInputs").Text(), "1 171");
}

TEST(UCProcessData, UnchangedDataCausesNoTextUpdate) {
    Panel p;
    p.panel.ActualizeProcessData(3);
    p.textChanges.clear();
    for (int i = 0; i < 5; ++i) p.panel.ActualizeProcessData(3);
    EXPECT_TRUE(p.textChanges.empty());
    p.rig.bridge->Answer("IOL::TransferImage Data=", "OK:0,2 1 172 0");
    p.panel.ActualizeProcessData(3);
    EXPECT_EQ(p.textChanges, (std::map<std::string, int>{{"TextInputs", 1}}));
}

TEST(UCProcessData, FormatChangeReformatsEverythingOnTheNextRefresh) {
    Panel p;
    p.panel.ActualizeProcessData(3);
    p.rig.bridge->Answer("IOL::TransferImage Data=05", "OK:0,2 1 171 0");
    struct Row {
        int option;
        const char* outputs;
        const char* inputs;
    };
    const Row rows[] = {
        {1, "0x05", "0x01 0xAB"}, {2, "00000101", "00000001 10101011"}, {0, "5", "1 171"}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.option);
        p.events.clear();
        p.Format(row.option);
        EXPECT_EQ(p.events, std::vector<bool>{true});
        EXPECT_EQ(p.panel.Format(), row.option);
        EXPECT_TRUE(p.panel.OutputsChanged());
        p.panel.ActualizeProcessData(3);
        EXPECT_EQ(p.C("TextReadOutputs").Text(), row.outputs);
        EXPECT_EQ(p.C("TextOutputs").Text(), row.outputs);
        EXPECT_EQ(p.C("TextInputs").Text(), row.inputs);
    }
}

TEST(UCProcessData, EnterWritesExactlyAsTheWriteButton) {
    for (bool enter : {false, true}) {
        SCOPED_TRACE(enter);
        Panel p;
        p.Format(1);
        p.panel.ActualizeProcessData(3);
        p.rig.bridge->Answer("IOL::TransferImage Data=07", "OK:0,2 1 171 0");
        p.rig.bridge->ClearLog();
        p.events.clear();
        p.C("TextOutputs").UserType("0x07");
        if (enter)
            p.C("TextOutputs").UserKey(13);
        else
            p.C("BTWrite").UserClick();
        EXPECT_EQ(p.C("TextOutputs").Text(), "0x07");
        EXPECT_EQ(p.events, std::vector<bool>{true});
        EXPECT_TRUE(p.panel.OutputsChanged());
        p.panel.ActualizeProcessData(3);
        EXPECT_EQ(p.rig.bridge->Sent(), (std::vector<std::string>{"IOL::TransferImage Data=07"}));
        EXPECT_EQ(p.C("TextReadOutputs").Text(), "0x07");
    }
}

TEST(UCProcessData, OnlyWhatParsesIsWritten) {
    const char* bad[] = {"0x1G", "256", "12 x", "0x1,", ""};
    for (const char* text : bad) {
        SCOPED_TRACE(text);
        Panel p;
        p.panel.ActualizeProcessData(3);
        p.rig.bridge->ClearLog();
        p.C("TextOutputs").UserType(text);
        p.C("TextOutputs").UserKey(13);
        EXPECT_EQ(p.events, std::vector<bool>{true});
        EXPECT_FALSE(p.panel.OutputsChanged());
        EXPECT_EQ(p.C("TextOutputs").Text(), text);
        EXPECT_EQ(p.rig.gui.Device.ProcessOutputs[0], 5);
        EXPECT_TRUE(p.services.Messages.empty());
    }
}

TEST(UCProcessData, ValidFlagIsSentAndUncheckedWhenRefused) {
    Panel p;
    p.rig.bridge->Answer("IOL::SetMode Mode=6 Cycle=0", "ERROR:4096");
    p.C("CheckValid").UserClick();
    EXPECT_EQ(p.C("CheckValid").Value(), 0);
    EXPECT_EQ(p.events, (std::vector<bool>{false, true}));
    EXPECT_EQ(p.rig.bridge->Sent(), std::vector<std::string>{"IOL::SetMode Mode=6 Cycle=0"});

    p.rig.Ok("IOL::SetMode Mode=6 Cycle=0");
    p.rig.Ok("IOL::SetMode Mode=7 Cycle=0");
    p.C("CheckValid").UserClick();
    EXPECT_EQ(p.C("CheckValid").Value(), 1);
    p.C("CheckValid").UserClick();
    EXPECT_EQ(p.C("CheckValid").Value(), 0);
    EXPECT_EQ(p.rig.bridge->Count("IOL::SetMode Mode=7 Cycle=0"), 1);
}

TEST(UCProcessData, ValidFlagFailureIsReportedAndReleasesTheTimer) {
    Panel p;
    p.rig.bridge->Fail("IOL::SetMode Mode=6 Cycle=0", 462, "gone");
    p.C("CheckValid").UserClick();
    EXPECT_EQ(p.C("CheckValid").Value(), 0);
    EXPECT_EQ(p.events, (std::vector<bool>{false, true}));
    EXPECT_EQ(p.services.Messages.size(), 1u);
}

}  // namespace
}  // namespace kestrova
