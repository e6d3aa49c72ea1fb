#include "pages/iolinkdata/IOLinkData.h"

#include <gtest/gtest.h>

#include "pages/common/testing/PageRig.h"

namespace kestrova {
namespace {

using testing::RecordingServices;
using testing::Rig;

struct DataPage {
    explicit DataPage(const std::string& state = "ONLINE+,TRUE") : rig(state) {
        rig.bridge->Answer("IOL::ReadOutputImage", "OK:0,1 5");
        rig.bridge->Answer("IOL::TransferImage Data=", "OK:0,2 1 171 0");
        page.SetVisible(false);
        page.SetVisible(true);
        page.CheckProduct = [this](bool force, int32_t s, bool) { checks.push_back({force, s}); };
        page.Activity = [this](bool v) { activity.push_back(v); };
        page.RefreshContents(&rig.gui);
        rig.bridge->ClearLog();
    }
    void Run(int64_t ms) { ui::AdvanceClock(page, services.Clock, services.Clock.NowMs() + ms); }
    ui::Control& Process(const char* name, int index = -1) {
        return page.ProcessData()(name, index);
    }
    ui::Control& Timer() { return page("Timer1"); }

    RecordingServices services;
    Rig rig;
    IOLinkData page{services};
    std::vector<std::pair<bool, int32_t>> checks;
    std::vector<bool> activity;
};

TEST(IOLinkData, ProcessPanelFollowsTheStateTable) {
    struct Row {
        const char* word;
        bool options, inputs, outputs, read;
    };
    const Row rows[] = {
        {"OFFLINE,FALSE", false, false, false, false}, {"ONLINE-,TRUE", false, false, false, false},
        {"ONLINE+,TRUE", true, true, true, false},  // auto update blocks the read button
        {"SIO,TRUE", true, true, false, false},        {"RESET,TRUE", false, false, false, false},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.word);
        DataPage p(row.word);
        p.Run(1);
        EXPECT_EQ(p.Process("OptionAnzeige", 0).Enabled(), row.options);
        EXPECT_EQ(p.Process("TextInputs").Enabled(), row.inputs);
        EXPECT_EQ(p.Process("TextOutputs").Enabled(), row.outputs);
        EXPECT_EQ(p.Process("BTWrite").Enabled(), row.outputs);
        EXPECT_EQ(p.Process("BTRead").Enabled(), row.read);
    }
}

TEST(IOLinkData, AutoUpdateReadsOnEveryTickAndOtherwiseOnlyOnRequest) {
    DataPage p;
    p.Run(1 + 300 * 3);
    EXPECT_EQ(p.rig.bridge->Count("IOL::ReadOutputImage"), 4);
    EXPECT_EQ(p.Process("TextInputs").Text(), "1 171");

    p.Process("CheckAutoUpdate").UserClick();
    p.Run(1);
    p.rig.bridge->ClearLog();
    p.Run(300 * 5);
    EXPECT_EQ(p.rig.bridge->Count("IOL::ReadOutputImage"), 0);
    EXPECT_EQ(p.rig.bridge->Count("ConnectionState"), 5);

    p.Process("BTRead").UserClick();
    EXPECT_EQ(p.Timer().DueAt(), p.services.Clock.NowMs() + 1);
    p.Run(1);
    EXPECT_EQ(p.rig.bridge->Count("IOL::ReadOutputImage"), 1);
    EXPECT_EQ(p.Timer().Interval(), 300);
}

TEST(IOLinkData, PanelEventFalseStopsThePolling) {
    DataPage p;
    p.Run(1);
    p.page.ProcessData().ChangeTimer(false);
    EXPECT_FALSE(p.Timer().Enabled());
    p.rig.bridge->ClearLog();
    p.Run(3000);
    EXPECT_TRUE(p.rig.bridge->Sent().empty());
    p.page.ProcessData().ChangeTimer(true);
    p.Run(1);
    EXPECT_EQ(p.rig.bridge->Count("ConnectionState"), 1);
}

TEST(IOLinkData, RaisesTheFrameEventsByState) {
    DataPage p;
    p.Run(1 + 300 * 2);
    EXPECT_EQ(p.checks, (std::vector<std::pair<bool, int32_t>>{{false, 3}}));
    EXPECT_EQ(p.activity, (std::vector<bool>{true, true, true}));
    p.rig.bridge->Answer("ConnectionState", "OFFLINE,FALSE");
    p.checks.clear();
    p.activity.clear();
    p.Run(300 * 2);
    EXPECT_EQ(p.checks, (std::vector<std::pair<bool, int32_t>>{{false, 1}, {true, 1}, {true, 1}}));
    EXPECT_EQ(p.activity, std::vector<bool>{false});
}

TEST(IOLinkData, HidingStopsPollingAndShowingPollsAtOnce) {
    DataPage p;
    p.Run(1);
    p.page.SetVisible(false);
    p.rig.bridge->ClearLog();
    p.Run(3000);
    EXPECT_TRUE(p.rig.bridge->Sent().empty());
    p.page.SetVisible(true);
    p.page.RefreshContents(&p.rig.gui);
    EXPECT_EQ(p.Timer().DueAt(), p.services.Clock.NowMs() + 1);
    EXPECT_EQ(p.page.LastState(), 0);
}

TEST(IOLinkData, ReleasedPageStopsAndIgnoresPanelEvents) {
    DataPage p;
    p.Run(1);
    p.page.RefreshContents(nullptr);
    p.page.ProcessData().ChangeTimer(true);
    EXPECT_FALSE(p.Timer().Enabled());
}

TEST(IOLinkData, AFailingBusinessObjectLeavesThePageUsable) {
    DataPage p;
    p.Run(1);
    const char* commands[] = {"ConnectionState", "IOL::GetEvent", "IOL::ReadOutputImage",
                              "IOL::TransferImage Data=", "IOL::GetMode"};
    for (const char* c : commands) p.rig.bridge->Fail(c, 462, "The remote server is gone");
    p.Process("OptionAnzeige", 1).UserClick();
    p.Run(1 + 300 * 3);
    EXPECT_TRUE(p.Timer().Enabled());
    EXPECT_TRUE(p.services.Messages.empty());

    // It comes back, answering garbage first.
    p.rig.bridge->Answer("ConnectionState", "ONLINE+,TRUE");
    p.rig.bridge->Answer("IOL::GetEvent", "OK:1,x");
    p.rig.bridge->Answer("IOL::ReadOutputImage", "OK:0,1 5");
    p.rig.bridge->Answer("IOL::TransferImage Data=", "OK:0,2 1 171 0");
    p.rig.bridge->Answer("IOL::GetMode", testing::ModeAnswer(testing::SensorPage()));
    p.Run(300);
    EXPECT_EQ(p.Process("TextInputs").Text(), "0x01 0xAB");
    p.rig.bridge->Answer("IOL::GetEvent", "EMPTY:");
    p.rig.QueueEvent(0x4110);
    p.rig.QueueEvent(0x4120);
    p.Run(300);
    EXPECT_EQ(p.page.Events()("ListView1").ListItems().size(), 1u);
}

}  // namespace
}  // namespace kestrova
