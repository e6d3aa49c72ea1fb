// The master as the control sees it: items, the port's state machine with the clock, the answer
// grammar, process data and events.
#include <gtest/gtest.h>

#include <cstdlib>

#include "SimTestSupport.h"

namespace kestrova::sim {
namespace {

using SimPort = testing::SimTest;
using SimProcess = testing::SimTest;

TEST_F(SimPort, ItemsDescribeTheMasterInUse) {
    Run({"USBDevice -> COM3; usbdevice -> COM3; USBRevision -> 2.01",
         "GetProduct -> 7c31 IO-Link USB Master; ConnectionState -> OFFLINE,FALSE",
         "DTMDate -> 2024-11-18; DTMVersion -> 1.4.2; Language -> 1033",
         "ConnectionState now -> ERROR:22528; NoSuchItem -> ERROR:22528",
         // another product on the port is another master; an unreadable one has four blanks as id
         "!unplug; !plug 7c32 COM3; GetProduct -> 7c32 IO-Link USB Master; USBRevision -> 1.10",
         "!unplug; !plug 7C33 COM3; GetProduct -> 7c33 IO-Link USB Master; USBRevision -> 3.00",
         "!unplug; !plug 7c3f COM3; GetProduct -> 7c3f IO-Link USB Master; USBRevision -> 1.00",
         "!unplug; !plug unreadable COM3; GetProduct ->      IO-Link USB Master",
         // with none chosen, unplugging takes the one master plugged
         "!set USBDevice; !unplug; !set USBDevice COM3; USBDevice; GetProduct; USBRevision",
         "IOL::Connect -> FALSE"});
}

TEST_F(SimPort, LanguageComesFromTheEnvironmentUnlessGiven) {
    const char* saved = std::getenv("LANG");
    const std::string keep = saved ? saved : "";
    setenv("LANG", "de_DE.UTF-8", 1);
    EXPECT_EQ(Simulator().SendCommand("Language").ToText(), "1031");
    EXPECT_EQ(Simulator({.language = 1033}).SendCommand("Language").ToText(), "1033");
    setenv("LANG", "da_DK.UTF-8", 1);
    EXPECT_EQ(Simulator().SendCommand("Language").ToText(), "1033");
    saved ? setenv("LANG", keep.c_str(), 1) : unsetenv("LANG");
}

TEST_F(SimPort, StateFollowsCommandsClockAndPlugging) {
    Run({"IOL::Connect -> TRUE; ConnectionState -> ONLINE-,TRUE",
         // nothing to read or write while the device starts up
         "IOL::Read Index=16 SubIndex=0 -> ERROR:4096",
         "IOL::Write Index=24 SubIndex=0 Data=41 -> ERROR:4096; !advance 199",
         "ConnectionState -> ONLINE-,TRUE; !advance 1; ConnectionState -> ONLINE+,TRUE",
         // connecting again restarts nothing
         "IOL::Connect -> TRUE; ConnectionState -> ONLINE+,TRUE",
         "IOL::SetMode Mode=3 Cycle=0 -> OK:; ConnectionState -> SIO,TRUE",
         "IOL::ReadOutputImage -> OK:1,0",
         "IOL::GetMode -> ERROR:4096; IOL::Read Index=16 SubIndex=0 -> ERROR:4096",
         "IOL::Write Index=24 SubIndex=0 Data=41 -> ERROR:4096",
         "IOL::SetMode Mode=1 Cycle=40 -> OK:; ConnectionState -> ONLINE-,TRUE; !advance 200",
         "IOL::SetMode Mode=5 Cycle=0 -> OK:; ConnectionState -> SIO,TRUE; IOL::Disconnect -> OK:",
         "ConnectionState -> OFFLINE,FALSE; IOL::SetMode Mode=1 Cycle=0 -> ERROR:4096",
         "IOL::GetEvent -> ERROR:4096; IOL::Read Index=16 SubIndex=0 -> ERROR:4096",
         "IOL::Disconnect -> OK:",
         // unplugged under a running port, then plugged again: a short RESET, then the master
         // reopens the port by itself
         "IOL::Connect -> TRUE; !unplug; ConnectionState -> OFFLINE,FALSE; USBDevice; GetProduct",
         "IOL::Connect -> FALSE; IOL::GetEvent -> ERROR:4096",
         "IOL::TransferImage Data= -> ERROR:4096; IOL::ReadOutputImage -> ERROR:4096",
         "IOL::ChangeCycle Cycle=40 -> ERROR:4096; !unplug -> error: which master? name its port",
         "!advance 5000; !plug 7c31 COM3; USBDevice -> COM3; ConnectionState -> RESET,FALSE",
         "!advance 499; ConnectionState -> RESET,FALSE; !advance 1",
         "ConnectionState -> ONLINE-,TRUE; !advance 200; ConnectionState -> ONLINE+,TRUE",
         "IOL::Read Index=18 SubIndex=0 -> OK:8 79 68 76 45 51 48 48 48",
         // the link let go of first, or another master on the port: RESET until connected
         "IOL::Disconnect -> OK:; !unplug; !plug 7c31 COM3; !advance 5000",
         "ConnectionState -> RESET,FALSE; IOL::Connect -> TRUE; !unplug; !plug 7c33 COM3",
         "!advance 5000; ConnectionState -> RESET,FALSE; IOL::Connect -> TRUE",
         "ConnectionState -> ONLINE-,TRUE; IOL::Disconnect -> OK:; ConnectionState -> "
         "OFFLINE,FALSE"});
}

TEST_F(SimPort, MastersKeepTheirDevicesAndChoosingAnotherClosesTheLink) {
    Online();
    Run({"IOL::Write Index=24 SubIndex=0 Data=4C 31 -> OK:; !event 1 4 48 192",
         // the same master again keeps its device, not its events; another one has a new device
         "!unplug COM3; !plug 7c31 COM3; IOL::Connect -> TRUE; !advance 200",
         "IOL::GetEvent -> EMPTY:; IOL::Read Index=24 SubIndex=0 -> OK:2 76 49",
         "!unplug COM3; !plug 7c33 COM3; IOL::Connect -> TRUE; !advance 200",
         "IOL::Read Index=24 SubIndex=0 -> OK:3 42 42 42; !plug 7c32 COM4 actuator",
         "!set USBDevice COM4; ConnectionState -> RESET,FALSE",
         "GetProduct -> 7c32 IO-Link USB Master; IOL::Connect -> TRUE; !advance 200",
         "IOL::Read Index=18 SubIndex=0 -> OK:6 68 79 77 45 49 54; !set USBDevice COM3",
         "ConnectionState -> OFFLINE,FALSE; !set USBDevice COM9; USBDevice",
         "IOL::Connect -> FALSE"});
}

// The page's master cycle (ISDU index 0, subindex 2) shows the cycle the port runs at.
TEST_F(SimPort, CycleBelowTheDeviceMinimumRaisesEvent26) {
    Online();  // the sensor's minimum is code 23, 2.3 ms
    Run({"IOL::GetEvent -> EMPTY:; IOL::SetMode Mode=1 Cycle=10 -> OK:",
         "IOL::GetEvent -> OK:1,26,2,48,64,1,1; !advance 200",
         "IOL::Read Index=0 SubIndex=2 -> OK:1 23",
         // a cycle the device keeps applies at once while in IO-Link mode
         "IOL::ChangeCycle Cycle=73 -> OK:; IOL::GetEvent -> EMPTY:",
         "IOL::Read Index=0 SubIndex=2 -> OK:1 73; IOL::ChangeCycle Cycle=22 -> OK:",
         "IOL::GetEvent -> OK:1,26,2,48,64,1,1",
         // 0: as fast as the device allows
         "IOL::SetMode Mode=1 Cycle=0 -> OK:; IOL::GetEvent -> EMPTY:; !advance 200",
         "IOL::Read Index=0 SubIndex=2 -> OK:1 23",
         // set in SIO, a cycle waits for the next start-up
         "IOL::SetMode Mode=3 Cycle=0 -> OK:; IOL::ChangeCycle Cycle=5 -> OK:",
         "IOL::GetEvent -> EMPTY:; IOL::Disconnect -> OK:; IOL::Connect -> TRUE",
         "IOL::GetEvent -> OK:1,26,2,48,64,1,1"});
}

// The mode record: page (master command 0x99, or 0x98 with valid outputs), mode, baud, validity.
TEST_F(SimPort, GetModeCarriesPageModeBaudAndValidity) {
    Online();
    Run({"IOL::GetMode -> OK:1,153 23 23 9 17 195 0 10 47 0 210 161 0 0 0 0 1,2,0",
         "IOL::SetMode Mode=6 Cycle=0 -> OK:",
         "IOL::GetMode -> OK:1,152 23 23 9 17 195 0 10 47 0 210 161 0 0 0 0 1,2,1",
         // an application reset makes the outputs invalid
         "IOL::Write Index=2 SubIndex=0 Data=81 -> OK:",
         "IOL::GetMode -> OK:1,153 23 23 9 17 195 0 10 47 0 210 161 0 0 0 0 1,2,0",
         "IOL::Read Index=0 SubIndex=1 -> OK:1 153"});
}

TEST_F(SimPort, StrictArgumentsGetAFailureAnswer) {
    Online();
    // Commands after "IOL::"; the sensor has no outputs to transfer.
    // clang-format off
    for (const char* line : {
             "Read Index=16", "Read Index=16  SubIndex=0", "Read SubIndex=0 Index=16",
             "Read Index= SubIndex=0", "Read Index=65536 SubIndex=0", "Read Index=-1 SubIndex=0",
             "Read Index=16 SubIndex=256", "Read Index=16 SubIndex=0 ", "Read index=16 SubIndex=0",
             "Write Index=24 SubIndex=0", "Write Index=24 SubIndex=0 Data=4",
             "Write Index=24 SubIndex=0 Data=41  42", "Write Index=24 SubIndex=0 Data=4G",
             "Write Index=24 SubIndex=0 Data=41 ", "Write Index=24 SubIndex=0 Data=0x41",
             "Write Index=24 SubIndex=0 Data=41-42", "GetMode now", "Connect please",
             "Disconnect x", "GetEvent 1", "ReadOutputImage 4", "SetMode Mode=2 Cycle=0",
             "SetMode Mode=3 Cycle=5", "SetMode Mode=1 Cycle=256", "SetMode Mode=1",
             "ChangeCycle Cycle=1.5", "TransferImage", "TransferImage Data=01"})
        // clang-format on
        EXPECT_EQ(Ask(std::string("IOL::") + line), "ERROR:22272") << line;
    Run({"iol::connect -> ERROR:22528; IOL::Reset -> ERROR:22528",
         "IOL:Read Index=16 SubIndex=0 -> ERROR:22528",
         // nothing of that disturbed the link; hex digits in either case; no data reads as OK:0
         "ConnectionState -> ONLINE+,TRUE; IOL::Write Index=24 SubIndex=0 Data=41 6a -> OK:",
         "IOL::Read Index=24 SubIndex=0 -> OK:2 65 106",
         "IOL::Read Index=64 SubIndex=2 -> OK:2 5 220; IOL::Write Index=24 SubIndex=0 Data= -> OK:",
         "IOL::Read Index=24 SubIndex=0 -> OK:0"});
}

TEST_F(SimProcess, SensorValueFollowsItsParameters) {
    Online();
    Run({"!measure 1000; !advance 5000; IOL::TransferImage Data= -> OK:1,4 3 232 80 1 0",
         // normally closed logic inverts the switching bit; the zero offset (-100) moves the value
         "IOL::Write Index=66 SubIndex=0 Data=01 -> OK:",
         "IOL::Write Index=68 SubIndex=0 Data=FF 9C -> OK:",
         "IOL::TransferImage Data= -> OK:1,4 3 132 80 0 0",
         "IOL::Read Index=40 SubIndex=0 -> OK:4 3 132 80 0"});
}

TEST_F(SimProcess, LeavingTheMeasuringRangeRaisesComingAndGoing) {
    Online();
    Run({"!measure 3100; IOL::GetEvent -> OK:1,35856,4,32,192,1,0",
         "IOL::TransferImage Data= -> OK:1,4 127 248 0 2 0",
         "IOL::Read Index=36 SubIndex=0 -> OK:1 2; !measure 2000",
         "IOL::GetEvent -> OK:1,35856,4,32,128,1,0; IOL::GetEvent -> EMPTY:",
         "IOL::Read Index=36 SubIndex=0 -> OK:1 0",
         // not while the device does not communicate
         "IOL::SetMode Mode=3 Cycle=0 -> OK:; !measure 3100; !advance 1000",
         "IOL::SetMode Mode=1 Cycle=0 -> OK:; IOL::GetEvent -> EMPTY:; !advance 250",
         "IOL::GetEvent -> OK:1,35856,4,32,192,1,0",
         // sweeping, the target leaves the range once per 30 s period, near its far end
         "!measure sweep; IOL::GetEvent -> OK:1,35856,4,32,128,1,0; !advance 60000",
         "IOL::GetEvent -> OK:4,35856,4,32,192,1,0; IOL::GetEvent -> OK:3,35856,4,32,128,1,0",
         "IOL::GetEvent -> OK:2,35856,4,32,192,1,0; IOL::GetEvent -> OK:1,35856,4,32,128,1,0"});
}

TEST_F(SimProcess, ActuatorDrivesOnlyValidOutputs) {
    Make({.profile = "actuator"});
    Online();
    // not valid: off, though the master holds them
    Run({"IOL::TransferImage Data=12 34 -> OK:1,2 0 0 0; IOL::ReadOutputImage -> OK:1,2 18 52",
         "IOL::SetMode Mode=6 Cycle=0 -> OK:; IOL::TransferImage Data= -> OK:1,2 18 52 0",
         "IOL::SetMode Mode=7 Cycle=0 -> OK:; IOL::TransferImage Data= -> OK:1,2 0 0 0",
         // set to hold the last state when not valid
         "IOL::Write Index=64 SubIndex=0 Data=01 -> OK:; IOL::SetMode Mode=6 Cycle=0 -> OK:",
         "IOL::TransferImage Data=0F 0F -> OK:1,2 15 15 0; IOL::SetMode Mode=7 Cycle=0 -> OK:",
         "IOL::TransferImage Data=00 00 -> OK:1,2 15 15 0; IOL::ReadOutputImage -> OK:1,2 0 0",
         "IOL::Read Index=41 SubIndex=0 -> OK:2 0 0; IOL::TransferImage Data=01 -> ERROR:22272",
         "IOL::TransferImage Data=01 02 03 -> ERROR:22272",
         // the inversion mask
         "IOL::Write Index=65 SubIndex=0 Data=FF 00 -> OK:; IOL::SetMode Mode=6 Cycle=0 -> OK:",
         "IOL::TransferImage Data=00 0F -> OK:1,2 255 15 0",
         "IOL::Read Index=40 SubIndex=0 -> OK:2 255 15",
         // a new start-up begins with the outputs not valid
         "IOL::Write Index=64 SubIndex=0 Data=00 -> OK:; IOL::SetMode Mode=1 Cycle=0 -> OK:",
         "!advance 200; IOL::TransferImage Data= -> OK:1,2 0 0 0"});
}

// Nine valves and, in bit 9, the supply pressure; bits above the ninth output are unused.
TEST_F(SimProcess, ValveCountsInBitsAndSwitchingCycles) {
    Make({.profile = "valve"});
    Online();
    Run({"IOL::SetMode Mode=6 Cycle=0 -> OK:; IOL::TransferImage Data=01 FF -> OK:1,2 3 255 0",
         "IOL::TransferImage Data=FE 01 -> OK:1,2 2 1 0",
         "IOL::TransferImage Data=00 00 -> OK:1,2 2 0 0",
         "IOL::TransferImage Data=00 01 -> OK:1,2 2 1 0",
         "IOL::Read Index=70 SubIndex=1 -> OK:4 0 0 0 2",
         "IOL::Read Index=70 SubIndex=9 -> OK:4 0 0 0 1"});
}

TEST_F(SimProcess, QueueIsBoundedAndPopsOldestFirst) {
    Online();
    for (int i = 1; i <= 70; ++i) sim->Control("event " + std::to_string(0x1800 + i) + " 4 48 192");
    EXPECT_EQ(Ask("IOL::GetEvent"), "OK:64," + std::to_string(0x1800 + 7) + ",4,48,192,1,0");
    int count = 1;
    while (Ask("IOL::GetEvent") != "EMPTY:") ++count;
    EXPECT_EQ(count, 64);
}

TEST_F(SimProcess, EachCauseQueuesItsEvent) {
    Online();
    // a parameter changed (once: the second write changes nothing)
    Run({"IOL::Write Index=65 SubIndex=0 Data=00 14 -> OK:",
         "IOL::Write Index=65 SubIndex=0 Data=00 14 -> OK:",
         "IOL::GetEvent -> OK:1,25424,4,16,64,1,0; IOL::GetEvent -> EMPTY:",
         // download store; factory settings, which change something only the first time
         "IOL::Write Index=2 SubIndex=0 Data=05 -> OK:; IOL::GetEvent -> OK:1,65425,4,16,64,1,0",
         "IOL::Write Index=2 SubIndex=0 Data=82 -> OK:; IOL::GetEvent -> OK:1,25424,4,16,64,1,0",
         "IOL::Read Index=65 SubIndex=0 -> OK:2 0 10; IOL::Write Index=2 SubIndex=0 Data=82 -> OK:",
         "IOL::GetEvent -> EMPTY:",
         // a device reset starts the device up again
         "IOL::Write Index=2 SubIndex=0 Data=80 -> OK:; ConnectionState -> ONLINE-,TRUE",
         "!advance 200",
         // the device swapped under a running port: lost, then found
         "!profile none; IOL::GetEvent -> OK:1,16,2,48,192,1,1; !advance 5000",
         "ConnectionState -> ONLINE-,TRUE; IOL::GetMode -> ERROR:4096; !profile legacy",
         "IOL::GetEvent -> OK:1,16,2,48,128,1,1; !advance 200; ConnectionState -> ONLINE+,TRUE"});
}

}  // namespace
}  // namespace kestrova::sim
