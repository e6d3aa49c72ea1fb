#include "pages/communication/IOLinkCommunication.h"

#include <gtest/gtest.h>

#include "pages/common/testing/PageRig.h"

namespace kestrova {
namespace {

using testing::RecordingServices;
using testing::Rig;
constexpr ui::Color kGreen = IOLinkCommunication::kGreen;
constexpr ui::Color kGrey = IOLinkCommunication::kDarkGrey;

struct Panel {
    explicit Panel(const std::string& state = "ONLINE+,TRUE") : rig(state) {
        panel.RefreshContents(&rig.gui);
        panel.SetLanguage();
        panel.ChangeTimer = [this](bool enable) { timerEvents.push_back(enable); };
        rig.bridge->ClearLog();
    }
    ui::Control& C(const char* name) { return panel(name); }

    RecordingServices services;
    Rig rig;
    IOLinkCommunication panel{services};
    std::vector<bool> timerEvents;
};

struct StateRow {
    int16_t state;
    ui::Color connected, sio;
    const char* actual;  // null: unchanged
    const char* label4;
    bool start, fallback, locked;
};

TEST(IOLinkCommunication, StateTableSetsLampsTextsAndEntries) {
    const StateRow rows[] = {
        {1, kGrey, kGrey, nullptr, "Communication request", false, false, false},
        {3, kGreen, kGrey, "10.0", "Communication", false, true, true},
        {4, kGrey, kGreen, nullptr, "Communication", true, false, false},
        {5, kGrey, kGrey, "", "Communication", true, false, false},
        {2, kGreen, kGrey, "", "Communication request", false, true, true},
        {6, kGreen, kGrey, "", "Communication request", false, true, true},
    };
    for (const StateRow& row : rows) {
        SCOPED_TRACE(row.state);
        Panel p;
        p.C("TextActual").SetText("keep");
        p.panel.SetConnectionState(row.state, false);
        EXPECT_EQ(p.C("ShapeConnected").FillColor(), row.connected);
        EXPECT_EQ(p.C("ShapeSIO").FillColor(), row.sio);
        EXPECT_EQ(p.C("TextActual").Text(), row.actual ? row.actual : "keep");
        EXPECT_EQ(p.C("Label4").Caption(), row.label4);
        EXPECT_EQ(p.C("BTStart").Enabled(), row.start);
        EXPECT_EQ(p.C("BTFallback").Enabled(), row.fallback);
        EXPECT_EQ(p.C("TextTarget").Locked(), row.locked);
        EXPECT_EQ(p.C("TextTarget").BackColor(),
                  row.locked ? IOLinkCommunication::kLockedBack : ui::syscolor::Window);
    }
}

TEST(IOLinkCommunication, ReadOnlyLocksEverythingInEveryState) {
    Panel p;
    for (int16_t state = 0; state <= 7; ++state) {
        p.panel.SetConnectionState(state, true);
        EXPECT_FALSE(p.C("BTStart").Enabled()) << state;
        EXPECT_FALSE(p.C("BTFallback").Enabled()) << state;
        EXPECT_TRUE(p.C("TextTarget").Locked()) << state;
        EXPECT_EQ(p.C("TextTarget").BackColor(), IOLinkCommunication::kLockedBack) << state;
    }
}

TEST(IOLinkCommunication, LampBlinksTwoOnTwoOffWhileConnecting) {
    for (int16_t state : {2, 6}) {
        Panel p;
        std::vector<ui::Color> seen;
        for (int i = 0; i < 6; ++i) {
            p.panel.SetConnectionState(state, false);
            seen.push_back(p.C("ShapeConnected").FillColor());
        }
        EXPECT_EQ(seen, (std::vector<ui::Color>{kGreen, kGreen, kGrey, kGrey, kGreen, kGreen}));
        // Another state keeps the counter where it was.
        p.panel.SetConnectionState(3, false);
        EXPECT_EQ(p.panel.BlinkCounter(), 2);
    }
}

TEST(IOLinkCommunication, UnknownStateChangesNoLamp) {
    Panel p;
    p.panel.SetConnectionState(4, false);
    p.panel.SetConnectionState(0, false);
    p.panel.SetConnectionState(7, false);
    EXPECT_EQ(p.C("ShapeSIO").FillColor(), kGreen);
    EXPECT_EQ(p.C("Label4").Caption(), "Communication");
}

TEST(IOLinkCommunication, TargetEntryIsCheckedAgainstTheUpperBound) {
    struct Row {
        const char* text;
        bool valid;
        const char* sent;  // the cycle command, or null for none
    };
    const Row rows[] = {
        {"537", true, "IOL::ChangeCycle Cycle=255"},
        {"537.0", true, "IOL::ChangeCycle Cycle=255"},
        {"537.1", false, nullptr},
        {"10", true, "IOL::ChangeCycle Cycle=73"},
        {"2,3", true, "IOL::ChangeCycle Cycle=23"},
        {"abc", false, nullptr},
        {"1e2", false, nullptr},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.text);
        Panel p("SIO,TRUE");
        if (row.sent) p.rig.Ok(row.sent);
        p.C("TextTarget").UserType(row.text);
        EXPECT_TRUE(p.services.Messages.empty());
        EXPECT_EQ(p.C("LabelError").Visible(), !row.valid);
        EXPECT_EQ(p.C("TextTarget").ForeColor(),
                  row.valid ? p.C("TextActual").ForeColor() : p.C("LabelError").ForeColor());
        EXPECT_EQ(p.rig.bridge->Sent(),
                  row.sent ? std::vector<std::string>{row.sent} : std::vector<std::string>{});
    }
}

TEST(IOLinkCommunication, EmptyTargetChangesNothing) {
    Panel p("SIO,TRUE");
    p.C("TextTarget").UserType("600");
    ASSERT_TRUE(p.C("LabelError").Visible());
    p.C("TextTarget").UserType("");
    EXPECT_TRUE(p.C("LabelError").Visible());
    EXPECT_TRUE(p.rig.bridge->Sent().empty());
}

TEST(IOLinkCommunication, RefreshShowsTheStoredTargetWithoutSendingIt) {
    Panel p("SIO,TRUE");
    p.rig.Ok("IOL::ChangeCycle Cycle=79");
    p.rig.gui.Device.TargetCycleTimer(12.25);
    p.rig.bridge->ClearLog();
    p.panel.RefreshContents(&p.rig.gui);
    EXPECT_EQ(p.C("TextTarget").Text(), "12.3");
    EXPECT_TRUE(p.rig.bridge->Sent().empty());
}

TEST(IOLinkCommunication, StartSendsTheEncodedCycleBracketedByTimerEvents) {
    Panel p("SIO,TRUE");
    p.panel.SetConnectionState(4, false);
    p.rig.Ok("IOL::ChangeCycle Cycle=73");
    p.rig.Ok("IOL::SetMode Mode=1 Cycle=73");
    p.C("TextTarget").UserType("10");
    p.rig.bridge->ClearLog();
    p.C("BTStart").UserClick();
    EXPECT_EQ(p.timerEvents, (std::vector<bool>{false, true}));
    EXPECT_EQ(p.rig.bridge->Sent(), std::vector<std::string>{"IOL::SetMode Mode=1 Cycle=73"});
    EXPECT_EQ(p.C("TextTarget").Text(), "10.0");
}

TEST(IOLinkCommunication, StartWithAnInvalidTargetSendsNothing) {
    Panel p("SIO,TRUE");
    p.panel.SetConnectionState(4, false);
    p.C("TextTarget").UserType("999");
    p.C("BTStart").UserClick();
    EXPECT_EQ(p.timerEvents, (std::vector<bool>{false, true}));
    EXPECT_TRUE(p.rig.bridge->Sent().empty());
}

TEST(IOLinkCommunication, FallbackTakesEventsThenFallsBackByState) {
    Panel p;
    p.rig.QueueEvent(0x1A05);
    p.panel.SetConnectionState(3, false);
    p.rig.bridge->ClearLog();
    p.C("BTFallback").UserClick();
    EXPECT_EQ(p.timerEvents, (std::vector<bool>{false, true}));
    EXPECT_EQ(p.rig.bridge->Sent(),
              (std::vector<std::string>{"IOL::GetEvent", "IOL::GetEvent", "ConnectionState",
                                        "IOL::SetMode Mode=5 Cycle=0"}));
}

TEST(IOLinkCommunication, FallbackTakesAtMostTenEvents) {
    Panel p;
    p.rig.bridge->Answer("IOL::GetEvent", "OK:1,16,1,16,64,0,0");
    p.C("BTFallback").UserClick();
    EXPECT_EQ(p.rig.bridge->Count("IOL::GetEvent"), 10);
}

TEST(IOLinkCommunication, AFailingModeChangeIsReportedAndStillReleasesTheTimer) {
    Panel p("SIO,TRUE");
    p.panel.SetConnectionState(4, false);
    p.rig.Ok("IOL::ChangeCycle Cycle=73");
    p.C("TextTarget").UserType("10");
    p.rig.bridge->Fail("IOL::SetMode Mode=1 Cycle=73", 91, "Object variable not set");
    p.C("BTStart").UserClick();
    EXPECT_EQ(p.timerEvents, (std::vector<bool>{false, true}));
    ASSERT_EQ(p.services.Messages.size(), 1u);
    EXPECT_NE(p.services.Messages[0].Text.find("Object variable not set"), std::string::npos);
}

TEST(IOLinkCommunication, WithoutBindingButtonsOnlyRaiseTheTimerEvents) {
    RecordingServices services;
    IOLinkCommunication panel(services);
    std::vector<bool> events;
    panel.ChangeTimer = [&](bool e) { events.push_back(e); };
    panel("BTStart").UserClick();
    panel("BTFallback").UserClick();
    panel("TextTarget").UserType("5");
    panel.SetConnectionState(3, false);
    EXPECT_EQ(events, (std::vector<bool>{false, true, false, true}));
    EXPECT_FALSE(panel("LabelError").Visible());
}

}  // namespace
}  // namespace kestrova
