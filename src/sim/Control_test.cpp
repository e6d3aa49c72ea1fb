// Control lines, faults on demand, the inventory and the REPL of kestrova-sim.
#include <gtest/gtest.h>

#include <chrono>
#include <sstream>
#include <stdexcept>

#include "Repl.h"
#include "SimTestSupport.h"
#include "Simulator.h"
#include "tools/Vb.h"

namespace kestrova::sim {
namespace {

using testing::Ask;
using testing::Online;
using testing::RunScript;

TEST(SimFaults, FailAnswersTheNextCommandsWithAPrefix) {
    Simulator sim;
    Online(sim);
    sim.Control("fail IOL::Read ERROR:32785 2");
    RunScript(sim, {
                       {"IOL::Read Index=18 SubIndex=0", "ERROR:32785"},
                       {"IOL::GetMode", testing::kAny},  // other commands are not touched
                       {"IOL::Read Index=18 SubIndex=0", "ERROR:32785"},
                       {"IOL::Read Index=18 SubIndex=0", "OK:8 79 68 76 45 51 48 48 48"},
                   });
    // A prefix with blanks, and an answer that is not a failure at all.
    sim.Control("fail \"IOL::Read Index=16 \" \"OK:2 65 66\"");
    EXPECT_EQ(Ask(sim, "IOL::Read Index=18 SubIndex=0"), "OK:8 79 68 76 45 51 48 48 48");
    EXPECT_EQ(Ask(sim, "IOL::Read Index=16 SubIndex=0"), "OK:2 65 66");
    // "*" takes any command, items included; an answered command is not executed.
    sim.Control("fail * \"\" 2");
    EXPECT_EQ(Ask(sim, "ConnectionState"), "");
    EXPECT_EQ(Ask(sim, "IOL::Disconnect"), "");
    EXPECT_EQ(Ask(sim, "ConnectionState"), "ONLINE+,TRUE");
}

TEST(SimFaults, ThrowMakesTheCallFail) {
    Simulator sim;
    sim.Control("throw IOL::Connect");
    try {
        sim.SendCommand("IOL::Connect");
        FAIL() << "no error raised";
    } catch (const VbError& e) {
        EXPECT_EQ(e.Number(), -2147467259);
        EXPECT_STRNE(e.Description(), "");
    }
    EXPECT_EQ(Ask(sim, "ConnectionState"), "OFFLINE,FALSE");  // it did not connect
    EXPECT_EQ(Ask(sim, "IOL::Connect"), "TRUE");

    sim.Control("throw Conn 2 91 Object variable not set");
    for (int i = 0; i < 2; ++i) {
        try {
            sim.SendCommand("ConnectionState");
            FAIL() << "no error raised";
        } catch (const VbError& e) {
            EXPECT_EQ(e.Number(), 91);
            EXPECT_STREQ(e.Description(), "Object variable not set");
        }
    }
    EXPECT_EQ(Ask(sim, "ConnectionState"), "ONLINE-,TRUE");
}

TEST(SimFaults, GarbleDamagesTheAnswerButTheCommandRuns) {
    Simulator sim;
    Online(sim);
    const struct {
        const char* control;
        const char* command;
        const char* answer;
    } rows[] = {
        {"garble text 1 IOL::Read", "IOL::Read Index=65 SubIndex=0", "OK:x x xx"},
        {"garble truncate", "IOL::Read Index=64 SubIndex=0", "OK:4 0 2"},
        {"garble empty 1 IOL::GetMode", "IOL::GetMode", ""},
        {"garble text 1 IOL::Write", "IOL::Write Index=24 SubIndex=0 Data=41", "OK:x"},
        {"garble text",
         "IOL::Write Index=24 SubIndex=0 Data=41 41 41 41 41 41 41 41 41 41 41 "
         "41 41 41 41 41 41 41 41 41 41 41 41 41 41 41 41 41 41 41 41 41 41",
         "ERROR:xxxxx"},
    };
    for (const auto& r : rows) {
        sim.Control(r.control);
        EXPECT_EQ(Ask(sim, r.command), r.answer) << r.control;
    }
    EXPECT_EQ(Ask(sim, "IOL::Read Index=24 SubIndex=0"), "OK:1 65");  // the write happened
    sim.Control("garble text 2 IOL::Read");
    EXPECT_EQ(Ask(sim, "ConnectionState"), "ONLINE+,TRUE");  // prefix decides
    EXPECT_EQ(Ask(sim, "IOL::Read Index=24 SubIndex=0"), "OK:x xx");
    EXPECT_EQ(Ask(sim, "IOL::Read Index=24 SubIndex=0"), "OK:x xx");
    EXPECT_EQ(Ask(sim, "IOL::Read Index=24 SubIndex=0"), "OK:1 65");
}

TEST(SimFaults, LatencyAdvancesTheOwnClock) {
    Simulator sim;
    sim.Control("latency 100");
    ASSERT_EQ(Ask(sim, "IOL::Connect"), "TRUE");             // t = 100, ready at 300
    EXPECT_EQ(Ask(sim, "ConnectionState"), "ONLINE-,TRUE");  // t = 200
    EXPECT_EQ(Ask(sim, "ConnectionState"), "ONLINE+,TRUE");  // t = 300
    // The longest matching prefix wins; 0 removes a latency.
    sim.Control("latency 0");
    sim.Control("latency 1000 IOL::Read");
    sim.Control("latency 5 IOL::");
    EXPECT_NE(sim.Control("status").find("time 300 ms"), std::string::npos);
    Ask(sim, "IOL::GetMode");
    Ask(sim, "IOL::Read Index=16 SubIndex=0");
    Ask(sim, "ConnectionState");
    EXPECT_NE(sim.Control("status").find("time 1305 ms"), std::string::npos);
    sim.Control("clear");
    Ask(sim, "IOL::Read Index=16 SubIndex=0");
    EXPECT_NE(sim.Control("status").find("time 1305 ms"), std::string::npos);
}

TEST(SimFaults, LatencyReallySleepsInRealtime) {
    Simulator sim({.realtime = true});
    sim.Control("latency 30");
    const auto start = std::chrono::steady_clock::now();
    Ask(sim, "USBDevice");
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(30));
}

TEST(SimFaults, UnplugMidSession) {
    Simulator sim;
    Online(sim);
    sim.Control("unplug");
    RunScript(sim, {
                       {"IOL::GetEvent", "ERROR:4096"},
                       {"IOL::TransferImage Data=", "ERROR:4096"},
                       {"IOL::ReadOutputImage", "ERROR:4096"},
                       {"IOL::SetMode Mode=1 Cycle=0", "ERROR:4096"},
                       {"IOL::ChangeCycle Cycle=40", "ERROR:4096"},
                       {"IOL::GetMode", "ERROR:4096"},
                       {"ConnectionState", "OFFLINE,FALSE"},
                       {"!unplug", "error: which master? name its port"},
                   });
}

TEST(SimControl, MalformedLinesAreRefusedWithAMessage) {
    Simulator sim({.profile = "actuator"});
    const char* bad[] = {
        "",
        "   ",
        "bogus",
        "advance",
        "advance -5",
        "advance 1.5",
        "advance 10 20",
        "plug 7c3 COM4",
        "plug 7c31 LPT1",
        "plug 7c31 COM0",
        "plug 7c31",
        "plug 7c31 COM3",  // taken
        "plug 7c31 COM4 toaster",
        "unplug COM9",
        "event 1 2 3",
        "event 70000 1 2 3",
        "event 0xZZ 1 2 3",
        "fail IOL::Read",
        "fail \"\" X",
        "fail IOL::Read ERROR:1 0",
        "fail \"IOL::Read ERROR:1",
        "throw",
        "throw IOL::Read many",
        "garble weird",
        "garble",
        "latency x",
        "latency 10 \"\"",
        "profile",
        "profile toaster",
        "measure 5",  // the actuator measures nothing
        "set",
        "set Language deutsch",
        "set Colour blue",
        "inventory now",
        "log all",
    };
    for (const char* line : bad) {
        try {
            sim.Control(line);
            ADD_FAILURE() << "accepted: '" << line << "'";
        } catch (const std::invalid_argument& e) {
            const std::string message = e.what();
            EXPECT_FALSE(message.empty()) << line;
            EXPECT_EQ(message.find('\n'), std::string::npos) << line;
        }
    }
    // Nothing of that changed the state.
    EXPECT_EQ(sim.Inventory().size(), 5u);
    EXPECT_EQ(Ask(sim, "Language").empty(), false);
    EXPECT_NE(sim.Control("status").find("time 0 ms"), std::string::npos);
}

TEST(SimControl, SetTakesTheRestOfTheLine) {
    Simulator sim;
    RunScript(sim, {
                       {"!set LOGGER Plugcheck wird durchgeführt mit 7c31 \"x\"", ""},
                       {"!set Language 1031", ""},
                       {"Language", "1031"},
                       {"!set USBDevice", ""},
                       {"USBDevice", ""},
                       {"!set USBDevice COM3", ""},
                       {"USBDevice", "COM3"},
                       {"!log", "Plugcheck wird durchgeführt mit 7c31 \"x\""},
                       {"!# a comment \"with a stray quote", ""},
                   });
}

TEST(SimControl, EventsQueueAsGiven) {
    Simulator sim;
    Online(sim);
    RunScript(sim, {
                       {"!event 0x1A05 4 48 192", ""},
                       {"!event 26 0 0 0", ""},
                       {"IOL::GetEvent", "OK:2,6661,4,48,192,1,0"},
                       {"IOL::GetEvent", "OK:1,26,0,0,0,1,0"},
                       {"IOL::GetEvent", "EMPTY:"},
                   });
    Simulator none({.product = ""});
    EXPECT_THROW(none.Control("event 26 4 48 192"), std::invalid_argument);
}

TEST(SimInventory, MastersLookLikePnpEntities) {
    Simulator sim;
    sim.Control("plug 7c3f COM5");
    sim.Control("plug unreadable COM12");
    sim.Control("plug 7C33 com6");
    int masters = 0;
    std::vector<std::string> ports;
    for (const ui::InventoryRecord& r : sim.Inventory()) {
        const bool ftdi = r.DeviceID.find("VID_0403") != std::string::npos;
        const bool master = r.Name.find("IO-Link USB Master") != std::string::npos;
        if (master) {
            ++masters;
            EXPECT_TRUE(r.DeviceID.starts_with("USB\\VID_0403&PID_7C3")) << r.DeviceID;
            EXPECT_EQ(r.DeviceID, UCase(r.DeviceID));
            const size_t open = r.Name.rfind(" (COM");
            ASSERT_NE(open, std::string::npos) << r.Name;
            EXPECT_TRUE(r.Name.ends_with(")"));
            ports.push_back(r.Name.substr(open + 2, r.Name.size() - open - 3));
        } else if (r.Name.find("(COM") != std::string::npos && !ftdi) {
            EXPECT_EQ(r.Name.find("IO-Link"), std::string::npos);  // foreign adapter
        } else if (ftdi) {
            EXPECT_EQ(r.DeviceID.find("PID_7C3"), std::string::npos) << r.DeviceID;
        }
    }
    EXPECT_EQ(masters, 4);
    EXPECT_EQ(ports, (std::vector<std::string>{"COM3", "COM5", "COM12", "COM6"}));
    const auto has = [&](const std::string& fragment) {
        for (const ui::InventoryRecord& r : sim.Inventory())
            if (r.DeviceID.find(fragment) != std::string::npos) return true;
        return false;
    };
    EXPECT_TRUE(has("PID_7C3F"));
    EXPECT_TRUE(has("PID_6001"));
    sim.Control("unplug COM5");
    EXPECT_FALSE(has("PID_7C3F"));
}

TEST(SimRepl, LinesPrintTheirAnswers) {
    Simulator sim;
    std::istringstream in(
        "USBDevice\r\n"
        "\n"
        "!advance 10\n"
        "!nonsense\n"
        "!throw USB\n"
        "USBDevice\n"
        "!set USBDevice\n"
        "USBDevice\n"
        "!quit\n"
        "USBDevice\n");
    std::ostringstream out;
    EXPECT_EQ(RunRepl(sim, in, out, false), 0);
    EXPECT_EQ(out.str(),
              "COM3\n"
              "error: unknown control command 'nonsense' (try !help)\n"
              "raised -2147467259: Automation error: the USB master did not answer\n"
              "\n");  // the empty answer is still one line
}

TEST(SimRepl, EchoShowsTheInput) {
    Simulator sim;
    std::istringstream in("GetProduct\n!status extra\n");
    std::ostringstream out;
    RunRepl(sim, in, out, true);
    EXPECT_EQ(out.str(),
              "> GetProduct\n7c31 IO-Link USB Master\n> !status extra\nerror: usage: status\n");
}

TEST(SimRepl, CommandLineOptions) {
    const ReplOptions o = ParseReplArgs({"--profile", "valve", "--product=7c33", "--port", "COM7",
                                         "--language", "1031", "--realtime", "--echo"});
    EXPECT_EQ(o.simulator.profile, "valve");
    EXPECT_EQ(o.simulator.product, "7c33");
    EXPECT_EQ(o.simulator.port, "COM7");
    EXPECT_EQ(o.simulator.language, 1031);
    EXPECT_TRUE(o.simulator.realtime);
    EXPECT_TRUE(o.echo);
    EXPECT_FALSE(o.help);
    EXPECT_EQ(ParseReplArgs({"--product", "none"}).simulator.product, "");
    EXPECT_TRUE(ParseReplArgs({"--help"}).help);
    const std::vector<std::vector<std::string>> bad = {
        {"--profile"}, {"--language", "de"}, {"--language", "0"}, {"--colour", "red"}, {"COM3"}};
    for (const auto& args : bad) EXPECT_THROW(ParseReplArgs(args), std::invalid_argument);
    // What the options name is checked when the simulator is made.
    EXPECT_THROW(Simulator({.profile = "toaster"}), std::invalid_argument);
    EXPECT_THROW(Simulator({.product = "7c3"}), std::invalid_argument);
    EXPECT_THROW(Simulator({.port = "USB0"}), std::invalid_argument);
    EXPECT_NE(ReplUsage().find("--realtime"), std::string::npos);
}

}  // namespace
}  // namespace kestrova::sim
