#include "pages/iolinkparam/IOLinkParam.h"

#include <gtest/gtest.h>

#include "pages/common/testing/PageRig.h"

namespace kestrova {
namespace {

using testing::RecordingServices;
using testing::Rig;

struct ParamPage {
    explicit ParamPage(const std::string& state = "ONLINE+,TRUE") : rig(state) {
        page.SetVisible(false);
        page.SetVisible(true);
        page.Activity = [this](bool v) { activity.push_back(v); };
        page.RefreshContents(&rig.gui);
        rig.bridge->ClearLog();
    }
    void Run(int64_t ms) { ui::AdvanceClock(page, services.Clock, services.Clock.NowMs() + ms); }
    ui::Control& Param(const char* name, int index = -1) { return page.Parameter()(name, index); }
    ui::Control& Timer() { return page("Timer1"); }

    RecordingServices services;
    Rig rig;
    IOLinkParam page{services};
    std::vector<bool> activity;
};

TEST(IOLinkParam, ParameterPanelIsEnabledOnlyInIOLinkMode) {
    const std::pair<const char*, bool> rows[] = {
        {"OFFLINE,FALSE", false}, {"ONLINE-,TRUE", false}, {"ONLINE+,TRUE", true},
        {"SIO,TRUE", false},      {"RESET,TRUE", false},
    };
    for (const auto& [word, enabled] : rows) {
        SCOPED_TRACE(word);
        ParamPage p(word);
        p.Run(1);
        EXPECT_EQ(p.Param("Command1").Enabled(), enabled);
        EXPECT_EQ(p.Param("TextWr").Locked(), !enabled);
    }
}

TEST(IOLinkParam, ReadRunsOnTheNextTickAtOnce) {
    ParamPage p;
    p.Run(1);
    p.rig.bridge->Answer("IOL::Read Index=16 SubIndex=0", "OK:2 72 86");
    p.Param("TextRdIndex").UserType("16");
    p.Param("TextRdSubIndex").UserType("0");
    p.Param("Command1").UserClick();
    EXPECT_EQ(p.rig.bridge->Count("IOL::Read Index=16 SubIndex=0"), 0);
    EXPECT_EQ(p.page.PendingReason(), 2);
    EXPECT_EQ(p.Timer().DueAt(), p.services.Clock.NowMs() + 1);
    p.Run(1);
    EXPECT_EQ(p.rig.bridge->Count("IOL::Read Index=16 SubIndex=0"), 1);
    EXPECT_EQ(p.Param("TextRd").Text(), "72 86");
    EXPECT_EQ(p.Param("LabelError").Caption(), "ok");
    EXPECT_EQ(p.Timer().Interval(), 300);
    p.Run(300 * 3);
    EXPECT_EQ(p.rig.bridge->Count("IOL::Read Index=16 SubIndex=0"), 1);
}

TEST(IOLinkParam, ARequestWaitsForIOLinkMode) {
    ParamPage p("SIO,TRUE");
    p.rig.bridge->Answer("IOL::Read Index=16 SubIndex=0", "OK:1 65");
    p.Param("TextRdIndex").UserType("16");
    p.Param("TextRdSubIndex").UserType("0");
    // Pressed before the first tick disabled the panel.
    p.Param("Command1").UserClick();
    p.Run(1 + 300 * 3);
    EXPECT_EQ(p.rig.bridge->Count("IOL::Read Index=16 SubIndex=0"), 0);
    p.rig.bridge->Answer("ConnectionState", "ONLINE+,TRUE");
    p.Run(300);
    EXPECT_EQ(p.rig.bridge->Count("IOL::Read Index=16 SubIndex=0"), 1);
    EXPECT_EQ(p.Param("TextRd").Text(), "65");
}

TEST(IOLinkParam, AFailingBusinessObjectLeavesThePageUsable) {
    ParamPage p;
    p.Run(1);
    for (const char* c : {"ConnectionState", "IOL::GetEvent", "IOL::Read Index=16 SubIndex=0"})
        p.rig.bridge->Fail(c, 462, "The remote server is gone");
    p.Param("TextRdIndex").UserType("16");
    p.Param("TextRdSubIndex").UserType("0");
    p.Param("Command1").UserClick();
    p.Run(1 + 300 * 2);
    EXPECT_TRUE(p.Timer().Enabled());
    EXPECT_EQ(p.Param("LabelError").Caption(), "The remote server is gone");
    EXPECT_EQ(p.page.PendingReason(), 0);

    p.rig.bridge->Answer("ConnectionState", "ONLINE+,TRUE");
    p.rig.bridge->Answer("IOL::GetEvent", "EMPTY:");
    p.rig.bridge->Answer("IOL::Read Index=16 SubIndex=0", "OK:1 7");
    p.Param("Command1").UserClick();
    p.Run(1);
    EXPECT_EQ(p.Param("LabelError").Caption(), "ok");
    EXPECT_EQ(p.Param("TextRd").Text(), "7");
}

TEST(IOLinkParam, UpdateHelperReportsActivityAndTakesEvents) {
    ParamPage p;
    for (int i = 0; i < 3; ++i) p.rig.QueueEvent(0x4110);
    p.page.Actualize();
    EXPECT_EQ(p.activity, std::vector<bool>{true});
    EXPECT_EQ(p.page.Events()("ListView1").ListItems().size(), 2u);
}

}  // namespace
}  // namespace kestrova
