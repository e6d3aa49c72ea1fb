#include "pages/communication/IOLinkCommunication.h"

#include <gtest/gtest.h>

#include "pages/common/testing/PageRig.h"

namespace kestrova {
namespace {

using CommRig = testing::PanelRig<IOLinkCommunication>;
constexpr ui::Color kGreen = IOLinkCommunication::kGreen;
constexpr ui::Color kGrey = IOLinkCommunication::kDarkGrey;

TEST(IOLinkCommunication, StateTableSetsLampsTextsAndEntries) {
    // Lamps, actual cycle time and lamp text ("keep": unchanged), then what the user may use.
    struct Row {
        int16_t state;
        ui::Color connected, sio;
        const char *actual, *label4;
        bool start, fallback, locked;
    };
    const Row rows[] = {{0, kGrey, kGreen, "keep", "keep", false, false, false},
                        {1, kGrey, kGrey, "keep", "Communication request", false, false, false},
                        {2, kGreen, kGrey, "", "Communication request", false, true, true},
                        {3, kGreen, kGrey, "10.0", "Communication", false, true, true},
                        {4, kGrey, kGreen, "keep", "Communication", true, false, false},
                        {5, kGrey, kGrey, "", "Communication", true, false, false},
                        {6, kGreen, kGrey, "", "Communication request", false, true, true},
                        {7, kGrey, kGreen, "keep", "keep", false, false, false}};
    for (const Row& row : rows) {
        for (bool readOnly : {false, true}) {
            SCOPED_TRACE(::testing::Message() << row.state << " readOnly " << readOnly);
            CommRig p;
            p.panel.SetConnectionState(4, false);  // SIO lamp on
            p.C("TextActual").SetText("keep");
            p.C("Label4").SetCaption("keep");
            p.panel.SetConnectionState(row.state, readOnly);
            EXPECT_EQ(p.C("ShapeConnected").FillColor(), row.connected);
            EXPECT_EQ(p.C("ShapeSIO").FillColor(), row.sio);
            EXPECT_EQ(p.C("TextActual").Text(), row.actual);
            EXPECT_EQ(p.C("Label4").Caption(), row.label4);
            EXPECT_EQ(p.C("BTStart").Enabled(), row.start && !readOnly);
            EXPECT_EQ(p.C("BTFallback").Enabled(), row.fallback && !readOnly);
            const bool locked = row.locked || readOnly;
            EXPECT_EQ(p.C("TextTarget").Locked(), locked);
            EXPECT_EQ(p.C("TextTarget").BackColor(),
                      locked ? IOLinkCommunication::kLockedBack : ui::syscolor::Window);
        }
    }
}

TEST(IOLinkCommunication, LampBlinksTwoOnTwoOffWhileConnecting) {
    for (int16_t state : {2, 6}) {
        CommRig p;
        std::vector<ui::Color> seen;
        for (int i = 0; i < 6; ++i) {
            p.panel.SetConnectionState(state, false);
            seen.push_back(p.C("ShapeConnected").FillColor());
        }
        EXPECT_EQ(seen, (std::vector<ui::Color>{kGreen, kGreen, kGrey, kGrey, kGreen, kGreen}));
        p.panel.SetConnectionState(3, false);  // another state keeps the count
        EXPECT_EQ(p.panel.BlinkCounter(), 2);
    }
}

TEST(IOLinkCommunication, ModeButtonsPauseThePollingWhileTheyRun) {
    // SIO mode takes at most ten waiting events first; Start sends nothing with a wrong entry.
    for (const auto& [button, events] : {std::pair{"BTStart", 0}, {"BTFallback", 10}}) {
        CommRig p;
        p.bridge->Answer("IOL::GetEvent", "OK:1,16,1,16,64,0,0");
        p.C("TextTarget").UserType("999");
        p.C(button).UserClick();
        EXPECT_EQ(p.events, "FT") << button;
        EXPECT_EQ(p.bridge->Count("IOL::GetEvent"), events) << button;
    }
}

}  // namespace
}  // namespace kestrova
