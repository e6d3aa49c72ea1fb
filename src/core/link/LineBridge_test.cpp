#include "link/LineBridge.h"

#include <gtest/gtest.h>

#include <map>
#include <stdexcept>

#include "tools/Vb.h"

namespace kestrova {
namespace {

// A bridge on the other side of the line: answers from a table, writes down every request.
struct Far {
    std::map<std::string, std::string> answers;
    std::vector<std::string> requests;
    LineBridge::Transport Transport() {
        return [this](const std::string& request) {
            requests.push_back(request);
            const auto it = answers.find(request);
            return it == answers.end() ? std::string("empty") : it->second;
        };
    }
};

TEST(LineBridgeTest, CallsBecomeRequestLinesAndAnswersValues) {
    Far far;
    far.answers = {{"SendCommand Language", "int 1031"},
                   {"SendCommand IOL::Connect", "bool true"},
                   {"SendCommand ConnectionState", "text ONLINE+,TRUE"}};
    LineBridge bridge(far.Transport(), "far");
    EXPECT_EQ(bridge.SendCommand("Language").ToText(), "1031");
    EXPECT_EQ(bridge.SendCommand("IOL::Connect").ToText(), "True");
    EXPECT_EQ(bridge.SendCommand("ConnectionState").ToText(), "ONLINE+,TRUE");
    bridge.SetItem("LOGGER", "two words");
    bridge.RegisterGui("Kestrova.DTMGUI", "invoke 1");
    bridge.NotifyGuiReleased();
    EXPECT_EQ(far.requests, (std::vector<std::string>{
                                "SendCommand Language", "SendCommand IOL::Connect",
                                "SendCommand ConnectionState", "SetItem LOGGER text two words",
                                "RegisterGui Kestrova.DTMGUI invoke 1", "NotifyGuiReleased"}));
}

// What the far side answers -> what the caller sees: the bridge's own error as it stands, and
// anything that is not an answer as a failure naming the bridge and the operation.
TEST(LineBridgeTest, FailuresReachTheCallerAsErrors) {
    const std::tuple<const char*, int32_t, const char*> cases[] = {
        {"error 91 Object variable not set", 91, "Object variable not set"},
        {"OK:1", bridge::kBridgeFailure,
         "The business object far answered SendCommand with not an answer: 'OK:1'"},
        {"int ten", bridge::kBridgeFailure, "int needs a whole number"},
        {"", bridge::kBridgeFailure, "not an answer: ''"},
    };
    for (const auto& [answer, number, description] : cases) {
        Far far;
        far.answers["SendCommand IOL::GetMode"] = answer;
        LineBridge bridge(far.Transport(), "far");
        try {
            bridge.SendCommand("IOL::GetMode");
            ADD_FAILURE() << answer;
        } catch (const VbError& e) {
            EXPECT_EQ(e.Number(), number) << answer;
            EXPECT_NE(std::string(e.Description()).find(description), std::string::npos)
                << answer << ": " << e.Description();
        }
    }
}

TEST(LineBridgeTest, ClockGoesAheadOnlyWhenItMoved) {
    Far far;
    int64_t now = 0;
    LineBridge bridge(far.Transport(), "far", [&] { return now; });
    bridge.SendCommand("a");
    bridge.SendCommand("b");
    now = 300;
    bridge.SendCommand("c");
    EXPECT_EQ(far.requests, (std::vector<std::string>{"Clock 0", "SendCommand a", "SendCommand b",
                                                      "Clock 300", "SendCommand c"}));
    // A bridge on its own time refuses the clock once and is not asked again.
    Far own;
    own.answers["Clock 0"] = "error 5 no clock here";
    LineBridge wall(own.Transport(), "own", [&] { return now; });
    now = 0;
    wall.SendCommand("a");
    now = 50;
    wall.SendCommand("b");
    EXPECT_EQ(own.requests,
              (std::vector<std::string>{"Clock 0", "SendCommand a", "SendCommand b"}));
}

TEST(LineBridgeTest, InventoryAndControlLines) {
    Far far;
    far.answers = {{"UsbInventory", "text A\\\\1\\tMaster (COM3)\\n"},
                   {"Control plug 7c32 COM4", "text "},
                   {"Control status", "text line 1\\nline 2"},
                   {"Control bogus", "error 5 unknown control command 'bogus'"}};
    const BusinessObject business = BridgeBusinessObject(far.Transport(), "far");
    const std::vector<ui::InventoryRecord> records = business.Inventory();
    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(records[0].DeviceID, "A\\1");
    EXPECT_EQ(records[0].Name, "Master (COM3)");
    EXPECT_EQ(business.Control("plug 7c32 COM4"), "");
    EXPECT_EQ(business.Control("status"), "line 1\nline 2");
    EXPECT_THROW(business.Control("bogus"), std::invalid_argument);

    far.answers["UsbInventory"] = "text no tab";
    EXPECT_THROW(business.Inventory(), VbError);
}

}  // namespace
}  // namespace kestrova
