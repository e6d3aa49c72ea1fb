#include "pages/deviceinfo/UCDeviceInfo.h"

#include <gtest/gtest.h>

#include "pages/common/testing/PageRig.h"

namespace kestrova {
namespace {

using testing::RecordingServices;
using testing::Rig;

struct Page {
    explicit Page(const std::string& state = "ONLINE+,TRUE", int16_t language = kEnglish)
        : rig(state, language) {
        page.SetVisible(false);
        page.SetVisible(true);  // shown: the first tick comes at once
        page.CheckProduct = [this](bool force, int32_t s, bool present) {
            checks.push_back({force, s, present});
        };
        page.Activity = [this](bool v) { activity.push_back(v); };
        page.RefreshContents(&rig.gui);
    }
    void Run(int64_t ms) { ui::AdvanceClock(page, services.Clock, services.Clock.NowMs() + ms); }
    const std::string& Text(const char* name) { return page(name).Text(); }

    struct Check {
        bool force;
        int32_t state;
        bool present;
        bool operator==(const Check&) const = default;
    };
    RecordingServices services;
    Rig rig;
    UCDeviceInfo page{services};
    std::vector<Check> checks;
    std::vector<bool> activity;
};

void AnswerNames(Rig& rig) {
    rig.bridge->Answer("IOL::Read Index=16 SubIndex=0", "OK:4 65 67 77 69");
    rig.bridge->Answer("IOL::Read Index=18 SubIndex=0", "OK:2 80 49");
    rig.bridge->Answer("IOL::Read Index=20 SubIndex=0", "ERROR:32785");
}

TEST(UCDeviceInfo, EnteringIOLinkModeShowsEveryValue) {
    Page p;
    AnswerNames(p.rig);
    p.Run(1);
    EXPECT_EQ(p.Text("TextVendor"), "ACME");
    EXPECT_EQ(p.Text("TextDevice"), "P1");
    EXPECT_EQ(p.Text("TextFunction"), "not supported");
    EXPECT_EQ(p.Text("TextVendorID"), "0x012C");
    EXPECT_EQ(p.Text("TextVendorDez"), "300");
    EXPECT_EQ(p.Text("TextDeviceID"), "0x000105");
    EXPECT_EQ(p.Text("TextDeviceDez"), "261");
    EXPECT_EQ(p.Text("TextFunctionID"), "0x0001");
    EXPECT_EQ(p.Text("TextFunctionDez"), "1");
    EXPECT_EQ(p.Text("TextRevision"), "1.0625.1");
    EXPECT_EQ(p.Text("TextMinCycle"), "2.3");
    EXPECT_EQ(p.Text("TextBaudrate"), "230400");
    EXPECT_EQ(p.Text("TextInLength"), "2");
    EXPECT_EQ(p.page("LabelInLen").Caption(), "byte");
    EXPECT_EQ(p.Text("TextOutLength"), "1");
    EXPECT_EQ(p.page("LabelOutLen").Caption(), "byte");
    EXPECT_EQ(p.page("CheckSIO").Value(), 0);
    EXPECT_EQ(p.activity, std::vector<bool>{true});
    EXPECT_EQ(p.checks, (std::vector<Page::Check>{{false, 3, false}}));
    // The embedded panel follows the state.
    EXPECT_EQ(p.page.Communication()("ShapeConnected").FillColor(), IOLinkCommunication::kGreen);
}

TEST(UCDeviceInfo, StayingInIOLinkModeReadsTheDeviceOnce) {
    Page p;
    AnswerNames(p.rig);
    p.Run(1 + 300 * 20);
    EXPECT_EQ(p.rig.bridge->Count("IOL::GetMode"), 1);
    EXPECT_EQ(p.rig.bridge->Count("IOL::Read Index=16 SubIndex=0"), 1);
    EXPECT_EQ(p.rig.bridge->Count("ConnectionState"), 21);
    EXPECT_EQ(p.checks.size(), 1u);
}

TEST(UCDeviceInfo, ReturningIntoIOLinkModeReadsAgain) {
    Page p;
    AnswerNames(p.rig);
    p.Run(1);
    p.rig.bridge->Answer("ConnectionState", "ONLINE-,TRUE");
    p.Run(300);
    EXPECT_EQ(p.Text("TextVendor"), "");
    EXPECT_EQ(p.page("LabelInLen").Caption(), "");
    p.rig.bridge->Answer("ConnectionState", "ONLINE+,TRUE");
    p.Run(300);
    EXPECT_EQ(p.Text("TextVendor"), "ACME");
    EXPECT_EQ(p.rig.bridge->Count("IOL::GetMode"), 2);
}

TEST(UCDeviceInfo, LengthsInBitsShowTheirUnit) {
    Page p;
    auto page = testing::SensorPage();
    page[5] = 0x42;  // 2 bits, SIO supported
    page[6] = 0x00;
    AnswerNames(p.rig);
    p.rig.bridge->Answer("IOL::GetMode", testing::ModeAnswer(page, 7));
    p.Run(1);
    EXPECT_EQ(p.Text("TextInLength"), "2");
    EXPECT_EQ(p.page("LabelInLen").Caption(), "bit");
    EXPECT_EQ(p.Text("TextOutLength"), "0");
    EXPECT_EQ(p.page("LabelOutLen").Caption(), "bit");
    EXPECT_EQ(p.page("CheckSIO").Value(), 1);
    EXPECT_EQ(p.Text("TextBaudrate"), "");
}

TEST(UCDeviceInfo, StateEventsFollowTheTable) {
    struct Row {
        const char* word;
        std::vector<Page::Check> checks;  // raised on the first tick of the state
    };
    const Row rows[] = {
        {"OFFLINE,FALSE", {{true, 1, false}}},
        {"ONLINE-,TRUE", {{false, 2, false}}},
        {"SIO,TRUE", {{false, 4, false}}},
        {"RESET,TRUE", {{false, 5, false}}},
        {"WHATEVER,TRUE", {}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.word);
        Page p(row.word);
        p.Run(1);
        EXPECT_EQ(p.checks, row.checks);
        EXPECT_TRUE(p.activity.empty());
    }
}

TEST(UCDeviceInfo, OfflineRunsTheForcedPlugCheckOnEveryTick) {
    Page p("OFFLINE,FALSE");
    p.Run(1 + 300 * 3);
    EXPECT_EQ(p.checks, std::vector<Page::Check>(4, {true, 1, false}));
}

TEST(UCDeviceInfo, AFailingReadKeepsThePageAliveAndReadsAgainLater) {
    Page p;
    AnswerNames(p.rig);
    p.rig.bridge->Fail("IOL::GetMode", 440, "Automation error");
    p.Run(1);
    EXPECT_EQ(p.Text("TextVendor"), "ACME");  // read before the failure
    EXPECT_EQ(p.Text("TextVendorID"), "");
    EXPECT_TRUE(p.page("Timer1").Enabled());
    p.rig.bridge->Answer("IOL::GetMode", testing::ModeAnswer(testing::SensorPage()));
    p.Run(300);
    EXPECT_EQ(p.Text("TextVendorID"), "0x012C");
}

TEST(UCDeviceInfo, AnUnpluggedBusinessObjectStopsNothing) {
    Page p;
    p.rig.bridge->Fail("ConnectionState", 462, "The remote server machine does not exist");
    p.rig.bridge->Fail("IOL::GetEvent", 462, "The remote server machine does not exist");
    p.page.CheckProduct = [](bool, int32_t, bool) { Raise(462, "gone"); };
    p.Run(1 + 300 * 5);
    EXPECT_TRUE(p.page("Timer1").Enabled());
    EXPECT_EQ(p.rig.bridge->Count("ConnectionState"), 6);
}

TEST(UCDeviceInfo, HidingStopsAndShowingPollsAtOnce) {
    Page p;
    p.Run(1);
    p.page.SetVisible(false);
    EXPECT_FALSE(p.page("Timer1").Enabled());
    p.rig.bridge->ClearLog();
    p.Run(3000);
    EXPECT_TRUE(p.rig.bridge->Sent().empty());
    p.page.SetVisible(true);
    p.page.RefreshContents(&p.rig.gui);
    p.Run(1);
    EXPECT_EQ(p.rig.bridge->Count("ConnectionState"), 1);
}

TEST(UCDeviceInfo, ModeButtonsNeedTheConnectionToTheMaster) {
    for (const auto& [word, start] : {std::pair{"RESET,TRUE", true},
                                      {"RESET,FALSE", false},
                                      {"SIO,TRUE", true},
                                      {"SIO,FALSE", false}}) {
        SCOPED_TRACE(word);
        Page p(word);
        p.Run(1);
        EXPECT_EQ(p.page.Communication()("BTStart").Enabled(), start);
        EXPECT_EQ(p.page.Communication()("TextTarget").Locked(), !start);
    }
}

TEST(UCDeviceInfo, CommunicationPanelEventsPauseAndHurryThePolling) {
    Page p("SIO,TRUE");
    p.Run(1);
    auto& timer = p.page("Timer1");
    p.page.Communication().ChangeTimer(false);
    EXPECT_FALSE(timer.Enabled());
    p.page.Communication().ChangeTimer(true);
    EXPECT_EQ(timer.DueAt(), p.services.Clock.NowMs() + 1);
    p.Run(1);
    EXPECT_EQ(timer.Interval(), 300);
}

}  // namespace
}  // namespace kestrova
