// The master as the control sees it: items, the port's state machine with the clock, and the
// answer grammar of every command.
#include <gtest/gtest.h>

#include <cstdlib>

#include "SimTestSupport.h"
#include "Simulator.h"
#include "tools/Vb.h"

namespace kestrova::sim {
namespace {

using testing::Ask;
using testing::Fields;
using testing::kAny;
using testing::Online;
using testing::RunScript;
using testing::TextOf;

TEST(SimItems, DefaultMasterIsInUseButNotConnected) {
    Simulator sim;
    RunScript(sim, {
                       {"USBDevice", "COM3"},
                       {"GetProduct", "7c31 IO-Link USB Master"},
                       {"USBRevision", "2.01"},
                       {"ConnectionState", "OFFLINE,FALSE"},
                       {"DTMDate", "2024-11-18"},
                       {"DTMVersion", "1.4.2"},
                       {"usbdevice", "COM3"},  // item names ignore case
                       {"ConnectionState now", "ERROR:22528"},
                       {"NoSuchItem", "ERROR:22528"},
                   });
    EXPECT_EQ(Ask(sim, ""), "ERROR:22528");
}

TEST(SimItems, ProductTextStartsWithTheFourCharacterId) {
    const struct {
        const char* product;
        const char* text;
    } rows[] = {{"7c32", "7c32 IO-Link USB Master"},
                {"7C33", "7c33 IO-Link USB Master"},
                {"7c3f", "7c3f IO-Link USB Master"},
                {"unreadable", "     IO-Link USB Master"}};
    for (const auto& r : rows) {
        Simulator sim({.product = r.product});
        EXPECT_EQ(Ask(sim, "GetProduct"), r.text) << r.product;
        EXPECT_EQ(Ask(sim, "GetProduct").substr(0, 4), std::string(r.text).substr(0, 4));
    }
    Simulator none({.product = ""});
    RunScript(none, {{"GetProduct", ""},
                     {"USBDevice", ""},
                     {"USBRevision", ""},
                     {"IOL::Connect", "FALSE"},
                     {"ConnectionState", "OFFLINE,FALSE"}});
}

TEST(SimItems, LanguageComesFromTheEnvironmentUnlessGiven) {
    const char* saved = std::getenv("LANG");
    const std::string keep = saved ? saved : "";
    const struct {
        const char* lang;
        int32_t option;
        const char* expect;
    } rows[] = {{"de_DE.UTF-8", 0, "1031"}, {"en_GB.UTF-8", 0, "1033"},
                {"C", 0, "1033"},           {"", 0, "1033"},
                {"de_AT", 1033, "1033"},    {"C", 2055, "2055"}};
    for (const auto& r : rows) {
        setenv("LANG", r.lang, 1);
        Simulator sim({.language = r.option});
        EXPECT_EQ(Ask(sim, "Language"), r.expect) << r.lang;
    }
    saved ? setenv("LANG", keep.c_str(), 1) : unsetenv("LANG");

    Simulator sim({.language = 1033});
    sim.SetItem("Language", "1031");
    EXPECT_EQ(Ask(sim, "Language"), "1031");
    EXPECT_THROW(sim.SetItem("Language", "deutsch"), VbError);
    EXPECT_EQ(Ask(sim, "Language"), "1031");
}

TEST(SimPort, StateMachineFollowsCommandsAndClock) {
    Simulator sim;
    RunScript(sim, {
                       {"IOL::Connect", "TRUE"},
                       {"ConnectionState", "ONLINE-,TRUE"},
                       {"IOL::Read Index=16 SubIndex=0", "ERROR:4096"},  // still starting up
                       {"!advance 199", ""},
                       {"ConnectionState", "ONLINE-,TRUE"},
                       {"!advance 1", ""},
                       {"ConnectionState", "ONLINE+,TRUE"},
                       {"IOL::Connect", "TRUE"},  // already open: nothing restarts
                       {"ConnectionState", "ONLINE+,TRUE"},
                       {"IOL::SetMode Mode=3 Cycle=0", "OK:"},
                       {"ConnectionState", "SIO,TRUE"},
                       {"IOL::GetMode", "ERROR:4096"},
                       {"IOL::SetMode Mode=1 Cycle=40", "OK:"},
                       {"ConnectionState", "ONLINE-,TRUE"},
                       {"!advance 200", ""},
                       {"ConnectionState", "ONLINE+,TRUE"},
                       {"IOL::SetMode Mode=5 Cycle=0", "OK:"},
                       {"ConnectionState", "SIO,TRUE"},
                       {"IOL::Disconnect", "OK:"},
                       {"ConnectionState", "OFFLINE,FALSE"},
                       {"IOL::SetMode Mode=1 Cycle=0", "ERROR:4096"},
                       {"IOL::GetEvent", "ERROR:4096"},
                       {"IOL::Disconnect", "OK:"},
                   });
}

TEST(SimPort, ReplugReportsResetUntilConnected) {
    Simulator sim;
    Online(sim);
    RunScript(sim, {
                       {"!unplug", ""},
                       {"ConnectionState", "OFFLINE,FALSE"},
                       {"USBDevice", ""},
                       {"GetProduct", ""},
                       {"IOL::Read Index=16 SubIndex=0", "ERROR:4096"},
                       {"IOL::Connect", "FALSE"},
                       {"!plug 7c31 COM3", ""},
                       {"USBDevice", "COM3"},
                       {"ConnectionState", "RESET,FALSE"},
                       {"!advance 5000", ""},
                       {"ConnectionState", "RESET,FALSE"},
                       {"IOL::Connect", "TRUE"},
                       {"ConnectionState", "ONLINE-,TRUE"},
                       {"!advance 200", ""},
                       {"ConnectionState", "ONLINE+,TRUE"},
                       {"IOL::Disconnect", "OK:"},
                       {"ConnectionState", "OFFLINE,FALSE"},  // RESET only until connected
                   });
}

TEST(SimPort, ReplugKeepsTheDevicesParameters) {
    Simulator sim;
    Online(sim);
    ASSERT_EQ(Ask(sim, "IOL::Write Index=24 SubIndex=0 Data=4C 31"), "OK:");
    sim.Control("unplug COM3");
    sim.Control("plug 7c31 COM3");
    Online(sim);
    EXPECT_EQ(TextOf(Ask(sim, "IOL::Read Index=24 SubIndex=0")), "L1");
    // A different product on the port is a different master with a fresh device.
    sim.Control("unplug COM3");
    sim.Control("plug 7c33 COM3");
    Online(sim);
    EXPECT_EQ(TextOf(Ask(sim, "IOL::Read Index=24 SubIndex=0")), "***");
}

TEST(SimPort, ChoosingAnotherMasterClosesTheLink) {
    Simulator sim;
    sim.Control("plug 7c33 COM4 actuator");
    Online(sim);
    sim.SetItem("USBDevice", "COM4");
    RunScript(sim, {
                       {"ConnectionState", "RESET,FALSE"},  // plugged while running
                       {"GetProduct", "7c33 IO-Link USB Master"},
                       {"USBRevision", "3.00"},
                       {"IOL::Connect", "TRUE"},
                       {"!advance 200", ""},
                       {"IOL::Read Index=18 SubIndex=0", kAny},
                   });
    EXPECT_EQ(TextOf(Ask(sim, "IOL::Read Index=18 SubIndex=0")), "DOM-16");
    sim.SetItem("USBDevice", "COM3");
    EXPECT_EQ(Ask(sim, "ConnectionState"), "OFFLINE,FALSE");
    sim.SetItem("USBDevice", "COM9");  // nothing there
    EXPECT_EQ(Ask(sim, "USBDevice"), "");
    EXPECT_EQ(Ask(sim, "IOL::Connect"), "FALSE");
}

TEST(SimPort, ExternalClockDrivesTheStartUp) {
    int64_t now = 1'000'000;
    Simulator sim({}, [&] { return now; });
    ASSERT_EQ(Ask(sim, "IOL::Connect"), "TRUE");
    now += 150;
    EXPECT_EQ(Ask(sim, "ConnectionState"), "ONLINE-,TRUE");
    now += 50;
    EXPECT_EQ(Ask(sim, "ConnectionState"), "ONLINE+,TRUE");
}

TEST(SimPort, CycleBelowTheDeviceMinimumRaisesEvent26) {
    Simulator sim;  // the sensor's minimum is code 23, 2.3 ms
    Online(sim);
    RunScript(sim, {
                       {"IOL::GetEvent", "EMPTY:"},
                       {"IOL::SetMode Mode=1 Cycle=10", "OK:"},
                       {"IOL::GetEvent", "OK:1,26,2,48,64,1,1"},
                       {"!advance 200", ""},
                       {"ConnectionState", "ONLINE+,TRUE"},
                   });
    EXPECT_EQ(Fields(Ask(sim, "IOL::GetMode"))[2], 23);  // runs at the minimum
    RunScript(sim, {
                       {"IOL::ChangeCycle Cycle=73", "OK:"},  // 10 ms
                       {"IOL::GetEvent", "EMPTY:"},
                       {"IOL::ChangeCycle Cycle=22", "OK:"},
                       {"IOL::GetEvent", "OK:1,26,2,48,64,1,1"},
                       {"IOL::ChangeCycle Cycle=23", "OK:"},
                       {"IOL::SetMode Mode=1 Cycle=0", "OK:"},  // as fast as the device allows
                       {"IOL::GetEvent", "EMPTY:"},
                   });
    sim.Control("advance 200");
    EXPECT_EQ(Fields(Ask(sim, "IOL::GetMode"))[2], 23);
    sim.Control("advance 200");
    ASSERT_EQ(Ask(sim, "IOL::ChangeCycle Cycle=73"), "OK:");
    EXPECT_EQ(Fields(Ask(sim, "IOL::GetMode"))[2], 73);
}

TEST(SimPort, TargetCycleSetInSioIsUsedAtTheNextConnect) {
    Simulator sim;
    Online(sim);
    RunScript(sim, {{"IOL::SetMode Mode=3 Cycle=0", "OK:"},
                    {"IOL::ChangeCycle Cycle=5", "OK:"},
                    {"IOL::GetEvent", "EMPTY:"},  // nothing runs at that cycle yet
                    {"IOL::Disconnect", "OK:"},
                    {"IOL::Connect", "TRUE"},
                    {"IOL::GetEvent", "OK:1,26,2,48,64,1,1"}});
}

TEST(SimGrammar, GetModeOfTheSensor) {
    Simulator sim;
    Online(sim);
    EXPECT_EQ(Ask(sim, "IOL::GetMode"), "OK:1,153 23 23 9 17 195 0 10 47 0 210 161 0 0 0 0 1,2,0");
    ASSERT_EQ(Ask(sim, "IOL::SetMode Mode=6 Cycle=0"), "OK:");
    EXPECT_EQ(Ask(sim, "IOL::GetMode"), "OK:1,152 23 23 9 17 195 0 10 47 0 210 161 0 0 0 0 1,2,1");
}

// Every profile's direct parameter page agrees with what its process data commands deliver.
TEST(SimGrammar, DirectPageAgreesWithTheProcessImage) {
    const struct {
        const char* profile;
        int revision, baud, inBytes, outBytes;
        bool sio;
        const char* vendorName;  // nullptr: index 16 not supported
    } rows[] = {
        {"sensor", 0x11, 2, 4, 0, true, "Tarnwick Sensorik GmbH"},
        {"actuator", 0x11, 2, 2, 2, false, "Brelmoor Automation AG"},
        {"valve", 0x11, 1, 2, 2, false, "Brelmoor Automation AG"},
        {"legacy", 0x10, 0, 2, 0, true, nullptr},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.profile);
        Simulator sim({.profile = r.profile});
        Online(sim);
        const std::vector<int> mode = Fields(Ask(sim, "IOL::GetMode"));
        ASSERT_EQ(mode.size(), 20u);  // f, 16 page bytes, s1, s2, s0
        const auto page = [&](int i) { return mode[1 + static_cast<size_t>(i)]; };
        EXPECT_EQ(page(4), r.revision);
        EXPECT_EQ(mode[18], r.baud);
        const auto bytes = [](int code) {
            return (code & 128) ? (code & 31) + 1 : ((code & 31) + 7) / 8;
        };
        EXPECT_EQ(bytes(page(5)), r.inBytes);
        EXPECT_EQ(bytes(page(6)), r.outBytes);
        EXPECT_EQ((page(5) & 64) != 0, r.sio);
        EXPECT_EQ(page(1), page(2));  // connected without a target: runs at the minimum

        const std::vector<int> image = Fields(Ask(sim, "IOL::TransferImage Data="));
        EXPECT_EQ(image[1], r.inBytes);
        EXPECT_EQ(image.size(), 3u + static_cast<size_t>(r.inBytes));
        const std::vector<int> outputs = Fields(Ask(sim, "IOL::ReadOutputImage"));
        EXPECT_EQ(outputs[1], r.outBytes);
        EXPECT_EQ(outputs.size(), 2u + static_cast<size_t>(r.outBytes));

        // The direct page read through ISDU index 0 is the same page.
        const std::vector<int> isdu = Fields(Ask(sim, "IOL::Read Index=0 SubIndex=0"));
        ASSERT_EQ(isdu.size(), 17u);
        for (int i = 0; i < 16; ++i) EXPECT_EQ(isdu[1 + static_cast<size_t>(i)], page(i)) << i;
        EXPECT_EQ(Ask(sim, "IOL::Read Index=0 SubIndex=8"), "OK:1 " + std::to_string(page(7)));

        const std::string vendor = Ask(sim, "IOL::Read Index=16 SubIndex=0");
        if (r.vendorName)
            EXPECT_EQ(TextOf(vendor), r.vendorName);
        else
            EXPECT_EQ(vendor, "ERROR:32785");

        // In SIO the port reads one switching byte and no outputs.
        ASSERT_EQ(Ask(sim, "IOL::SetMode Mode=3 Cycle=0"), "OK:");
        const std::vector<int> sio = Fields(Ask(sim, "IOL::TransferImage Data="));
        ASSERT_EQ(sio.size(), 4u);
        EXPECT_EQ(sio[1], 1);
        EXPECT_EQ(Ask(sim, "IOL::ReadOutputImage"), "OK:1,0");
    }
}

TEST(SimGrammar, StrictArgumentsGetAFailureAnswer) {
    Simulator sim;
    Online(sim);
    const char* bad[] = {
        "IOL::Read Index=16",
        "IOL::Read Index=16  SubIndex=0",
        "IOL::Read SubIndex=0 Index=16",
        "IOL::Read Index=x SubIndex=0",
        "IOL::Read Index= SubIndex=0",
        "IOL::Read Index=65536 SubIndex=0",
        "IOL::Read Index=-1 SubIndex=0",
        "IOL::Read Index=16 SubIndex=256",
        "IOL::Read Index=16 SubIndex=0 ",
        "IOL::Read index=16 SubIndex=0",
        "IOL::Write Index=24 SubIndex=0",
        "IOL::Write Index=24 SubIndex=0 Data=4",
        "IOL::Write Index=24 SubIndex=0 Data=41  42",
        "IOL::Write Index=24 SubIndex=0 Data=4G",
        "IOL::Write Index=24 SubIndex=0 Data=41 ",
        "IOL::Write Index=24 SubIndex=0 Data=0x41",
        "IOL::GetMode now",
        "IOL::Connect please",
        "IOL::Disconnect x",
        "IOL::GetEvent 1",
        "IOL::ReadOutputImage 4",
        "IOL::SetMode Mode=2 Cycle=0",
        "IOL::SetMode Mode=3 Cycle=5",
        "IOL::SetMode Mode=1 Cycle=256",
        "IOL::SetMode Mode=1",
        "IOL::ChangeCycle Cycle=",
        "IOL::ChangeCycle Cycle=1.5",
        "IOL::TransferImage",
        "IOL::TransferImage Data=01",  // the sensor has no outputs
    };
    for (const char* line : bad) EXPECT_EQ(Ask(sim, line), "ERROR:22272") << line;
    for (const char* line : {"iol::connect", "IOL::Reset", "IOL:Read Index=16 SubIndex=0"})
        EXPECT_EQ(Ask(sim, line), "ERROR:22528") << line;
    // Nothing of that disturbed the link.
    EXPECT_EQ(Ask(sim, "ConnectionState"), "ONLINE+,TRUE");
    EXPECT_EQ(Ask(sim, "IOL::Write Index=24 SubIndex=0 Data=41 62"), "OK:");
    EXPECT_EQ(Ask(sim, "IOL::Write Index=24 SubIndex=0 Data=41 6a"), "OK:");  // either case
    EXPECT_EQ(Ask(sim, "IOL::Read Index=24 SubIndex=0"), "OK:2 65 106");
}

TEST(SimGrammar, ReadAnswersCountThenBytes) {
    Simulator sim;
    Online(sim);
    EXPECT_EQ(Ask(sim, "IOL::Read Index=64 SubIndex=0"), "OK:4 0 200 5 220");
    EXPECT_EQ(Ask(sim, "IOL::Read Index=64 SubIndex=2"), "OK:2 5 220");
    ASSERT_EQ(Ask(sim, "IOL::Write Index=24 SubIndex=0 Data="), "OK:");
    EXPECT_EQ(Ask(sim, "IOL::Read Index=24 SubIndex=0"), "OK:0");
}

TEST(SimProcess, SensorValuesMoveWithTheClock) {
    Simulator sim;
    Online(sim);
    const auto distance = [&] {
        const std::vector<int> f = Fields(Ask(sim, "IOL::TransferImage Data="));
        return f[2] * 256 + f[3];
    };
    const int first = distance();
    sim.Control("advance 1000");
    const int second = distance();
    EXPECT_GT(second, first);
    EXPECT_GE(first, 30);
    EXPECT_LE(second, 3000);
    // Held still, the value stays and the switching window decides the status bit.
    sim.Control("measure 1000");
    EXPECT_EQ(Ask(sim, "IOL::TransferImage Data="), "OK:1,4 3 232 80 1 0");
    sim.Control("advance 5000");
    EXPECT_EQ(Ask(sim, "IOL::TransferImage Data="), "OK:1,4 3 232 80 1 0");
    // Normally closed logic inverts it; the zero offset moves the value.
    ASSERT_EQ(Ask(sim, "IOL::Write Index=66 SubIndex=0 Data=01"), "OK:");
    ASSERT_EQ(Ask(sim, "IOL::Write Index=68 SubIndex=0 Data=FF 9C"), "OK:");  // -100
    EXPECT_EQ(Ask(sim, "IOL::TransferImage Data="), "OK:1,4 3 132 80 0 0");
    EXPECT_EQ(Ask(sim, "IOL::Read Index=40 SubIndex=0"), "OK:4 3 132 80 0");
}

TEST(SimProcess, LeavingTheMeasuringRangeRaisesComingAndGoing) {
    Simulator sim;
    Online(sim);
    sim.Control("measure 3100");
    RunScript(sim, {
                       {"IOL::GetEvent", "OK:1,35856,4,32,192,1,0"},
                       {"IOL::TransferImage Data=", "OK:1,4 127 248 0 2 0"},
                       {"IOL::Read Index=36 SubIndex=0", "OK:1 2"},
                       {"!measure 2000", ""},
                       {"IOL::GetEvent", "OK:1,35856,4,32,128,1,0"},
                       {"IOL::GetEvent", "EMPTY:"},
                       {"IOL::Read Index=36 SubIndex=0", "OK:1 0"},
                   });
    // Sweeping, the target leaves the range once per 30 s period, near its far end.
    sim.Control("measure sweep");
    sim.Control("advance 60000");
    std::vector<int> modes;
    for (std::string e; (e = Ask(sim, "IOL::GetEvent")) != "EMPTY:";) modes.push_back(Fields(e)[4]);
    EXPECT_EQ(modes, (std::vector<int>{192, 128, 192, 128}));
}

TEST(SimProcess, NoRangeEventsWhileNotCommunicating) {
    Simulator sim;
    Online(sim);
    ASSERT_EQ(Ask(sim, "IOL::SetMode Mode=3 Cycle=0"), "OK:");
    sim.Control("measure 3100");
    sim.Control("advance 1000");
    ASSERT_EQ(Ask(sim, "IOL::SetMode Mode=1 Cycle=0"), "OK:");
    EXPECT_EQ(Ask(sim, "IOL::GetEvent"), "EMPTY:");  // the device is still starting up
    sim.Control("advance 250");
    EXPECT_EQ(Fields(Ask(sim, "IOL::GetEvent"))[1], 0x8C10);
}

TEST(SimProcess, ActuatorDrivesOnlyValidOutputs) {
    Simulator sim({.profile = "actuator"});
    Online(sim);
    RunScript(sim, {
                       {"IOL::TransferImage Data=12 34", "OK:1,2 0 0 0"},  // invalid: off
                       {"IOL::ReadOutputImage", "OK:1,2 18 52"},           // the master holds them
                       {"IOL::SetMode Mode=6 Cycle=0", "OK:"},
                       {"IOL::TransferImage Data=", "OK:1,2 18 52 0"},
                       {"IOL::TransferImage Data=FF 00", "OK:1,2 255 0 0"},
                       {"IOL::SetMode Mode=7 Cycle=0", "OK:"},
                       {"IOL::TransferImage Data=", "OK:1,2 0 0 0"},
                       {"IOL::Write Index=64 SubIndex=0 Data=01", "OK:"},  // hold when invalid
                       {"IOL::SetMode Mode=6 Cycle=0", "OK:"},
                       {"IOL::TransferImage Data=0F 0F", "OK:1,2 15 15 0"},
                       {"IOL::SetMode Mode=7 Cycle=0", "OK:"},
                       {"IOL::TransferImage Data=00 00", "OK:1,2 15 15 0"},
                       {"IOL::ReadOutputImage", "OK:1,2 0 0"},
                       {"IOL::Read Index=41 SubIndex=0", "OK:2 0 0"},
                       {"IOL::TransferImage Data=01", "ERROR:22272"},
                       {"IOL::TransferImage Data=01 02 03", "ERROR:22272"},
                   });
    // A new start-up begins with invalid outputs.
    RunScript(sim, {{"IOL::Write Index=64 SubIndex=0 Data=00", "OK:"},
                    {"IOL::SetMode Mode=6 Cycle=0", "OK:"},
                    {"IOL::TransferImage Data=0F 0F", "OK:1,2 15 15 0"},
                    {"IOL::SetMode Mode=1 Cycle=0", "OK:"},
                    {"!advance 200", ""},
                    {"IOL::TransferImage Data=", "OK:1,2 0 0 0"}});
}

TEST(SimProcess, ValveCountsInBitsAndSwitchingCycles) {
    Simulator sim({.profile = "valve"});
    Online(sim);
    RunScript(sim, {
                       {"IOL::SetMode Mode=6 Cycle=0", "OK:"},
                       {"IOL::TransferImage Data=01 FF", "OK:1,2 3 255 0"},  // 9 valves + pressure
                       {"IOL::TransferImage Data=FE 01", "OK:1,2 2 1 0"},    // bits above 9 unused
                       {"IOL::TransferImage Data=00 00", "OK:1,2 2 0 0"},
                       {"IOL::TransferImage Data=00 01", "OK:1,2 2 1 0"},
                       {"IOL::Read Index=70 SubIndex=1", "OK:4 0 0 0 2"},
                       {"IOL::Read Index=70 SubIndex=9", "OK:4 0 0 0 1"},
                       {"IOL::Read Index=70 SubIndex=10", "ERROR:32786"},
                       {"IOL::Write Index=70 SubIndex=1 Data=00 00 00 00", "ERROR:32803"},
                   });
    EXPECT_EQ(Fields(Ask(sim, "IOL::Read Index=70 SubIndex=0"))[0], 36);
}

TEST(SimEvents, QueueIsBoundedAndPopsOldestFirst) {
    Simulator sim;
    Online(sim);
    for (int i = 1; i <= 70; ++i) sim.Control("event " + std::to_string(0x1800 + i) + " 4 48 192");
    EXPECT_EQ(Ask(sim, "IOL::GetEvent"), "OK:64," + std::to_string(0x1800 + 7) + ",4,48,192,1,0");
    int count = 1;
    while (Ask(sim, "IOL::GetEvent") != "EMPTY:") ++count;
    EXPECT_EQ(count, 64);
}

TEST(SimEvents, ParameterChangesRaiseOnlyWhenAValueChanged) {
    Simulator sim;
    Online(sim);
    RunScript(sim, {
                       {"IOL::Write Index=65 SubIndex=0 Data=00 14", "OK:"},
                       {"IOL::Write Index=65 SubIndex=0 Data=00 14", "OK:"},
                       {"IOL::Write Index=65 SubIndex=0 Data=00 FF", "ERROR:32817"},
                       {"IOL::GetEvent", "OK:1,25424,4,16,64,1,0"},
                       {"IOL::GetEvent", "EMPTY:"},
                       {"IOL::Write Index=2 SubIndex=0 Data=05", "OK:"},  // download store
                       {"IOL::GetEvent", "OK:1,65425,4,16,64,1,0"},
                       {"IOL::Write Index=2 SubIndex=0 Data=82", "OK:"},  // factory settings
                       {"IOL::GetEvent", "OK:1,25424,4,16,64,1,0"},
                       {"IOL::Read Index=65 SubIndex=0", "OK:2 0 10"},
                       {"IOL::Write Index=2 SubIndex=0 Data=82", "OK:"},  // nothing to restore
                       {"IOL::GetEvent", "EMPTY:"},
                       {"IOL::Write Index=2 SubIndex=0 Data=80", "OK:"},  // device reset
                       {"ConnectionState", "ONLINE-,TRUE"},
                       {"!advance 200", ""},
                       {"ConnectionState", "ONLINE+,TRUE"},
                   });
}

TEST(SimEvents, SwappingTheDeviceUnderARunningPort) {
    Simulator sim;
    Online(sim);
    RunScript(sim, {
                       {"!profile none", ""},
                       {"IOL::GetEvent", "OK:1,16,2,48,192,1,1"},
                       {"!advance 5000", ""},
                       {"ConnectionState", "ONLINE-,TRUE"},  // nobody answers
                       {"IOL::GetMode", "ERROR:4096"},
                       {"!profile legacy", ""},
                       {"IOL::GetEvent", "OK:1,16,2,48,128,1,1"},
                       {"!advance 200", ""},
                       {"ConnectionState", "ONLINE+,TRUE"},
                       {"IOL::Read Index=18 SubIndex=0", "ERROR:32785"},
                   });
}

}  // namespace
}  // namespace kestrova::sim
