// Control lines, faults on demand and the REPL of kestrova-sim.
#include <gtest/gtest.h>

#include <chrono>
#include <sstream>
#include <stdexcept>

#include "SimTestSupport.h"

namespace kestrova::sim {
namespace {

using SimFaults = testing::SimTest;
using SimControl = testing::SimTest;

TEST_F(SimFaults, FailAndThrowStandInForTheMaster) {
    Online();
    Run({"!fail IOL::Read ERROR:32785 2; IOL::Read Index=18 SubIndex=0 -> ERROR:32785",
         // other commands are not touched
         "IOL::Write Index=24 SubIndex=0 Data=41 -> OK:",
         "IOL::Read Index=18 SubIndex=0 -> ERROR:32785",
         "IOL::Read Index=18 SubIndex=0 -> OK:8 79 68 76 45 51 48 48 48",
         // a prefix with blanks, and an answer that is no failure
         "!fail \"IOL::Read Index=16 \" \"OK:2 65 66\"",
         "IOL::Read Index=18 SubIndex=0 -> OK:8 79 68 76 45 51 48 48 48",
         "IOL::Read Index=16 SubIndex=0 -> OK:2 65 66",
         // "*" takes any command, items included; what it answers is not executed
         "!fail * \"\" 2; ConnectionState; IOL::Disconnect; ConnectionState -> ONLINE+,TRUE",
         "IOL::Disconnect -> OK:; !throw IOL::Connect",
         "IOL::Connect -> raised -2147467259: Automation error: the USB master did not answer",
         "ConnectionState -> OFFLINE,FALSE; IOL::Connect -> TRUE",
         "!throw Conn 2 91 Object variable not set",
         "ConnectionState -> raised 91: Object variable not set",
         "ConnectionState -> raised 91: Object variable not set; ConnectionState -> ONLINE-,TRUE"});
}

TEST_F(SimFaults, GarbleDamagesTheAnswerButTheCommandRuns) {
    Online();
    Run({"!garble text 1 IOL::Read; IOL::Read Index=65 SubIndex=0 -> OK:x x xx; !garble truncate",
         "IOL::Read Index=64 SubIndex=0 -> OK:4 0 2; !garble empty 1 IOL::GetMode; IOL::GetMode",
         "!garble text 1 IOL::Write; IOL::Write Index=24 SubIndex=0 Data=41 -> OK:x",
         "IOL::Read Index=24 SubIndex=0 -> OK:1 65",
         // the prefix decides, for as many answers as asked
         "!garble text 2 IOL::Read; ConnectionState -> ONLINE+,TRUE",
         "IOL::Read Index=24 SubIndex=0 -> OK:x xx; IOL::Read Index=24 SubIndex=0 -> OK:x xx",
         "IOL::Read Index=24 SubIndex=0 -> OK:1 65; !garble text",
         "IOL::Write Index=65 SubIndex=0 Data=00 FF -> ERROR:xxxxx"});
}

TEST_F(SimFaults, LatencyAdvancesTheOwnClockOrReallySleeps) {
    const auto time = [&] {
        const std::string s = sim->Control("status");
        return s.substr(5, s.find(" ms") - 5);
    };
    // t = 100, ready at 300; then t = 200 and 300
    Run({"!latency 100; IOL::Connect -> TRUE; ConnectionState -> ONLINE-,TRUE",
         "ConnectionState -> ONLINE+,TRUE",
         // the longest matching prefix wins; 0 removes a latency
         "!latency 0; !latency 1000 IOL::Read; !latency 5 IOL::; USBDevice -> COM3",
         "IOL::Read Index=18 SubIndex=0 -> OK:8 79 68 76 45 51 48 48 48; IOL::Disconnect -> OK:"});
    EXPECT_EQ(time(), "1305");
    Run({"!clear; IOL::Read Index=16 SubIndex=0 -> ERROR:4096"});
    EXPECT_EQ(time(), "1305");

    Make({.realtime = true});
    sim->Control("latency 30");
    const auto start = std::chrono::steady_clock::now();
    Ask("USBDevice");
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(30));
}

TEST_F(SimControl, MalformedLinesAreRefusedAndChangeNothing) {
    Make({.profile = "actuator"});
    const std::string before = sim->Control("status");
    // COM3 is taken; the actuator measures nothing.
    // clang-format off
    for (const char* line : {
             "", "   ", "bogus", "advance", "advance -5", "advance 1.5", "advance 10 20",
             "plug 7c3 COM4", "plug 7c31 LPT1", "plug 7c31 COM0", "plug 7c31", "plug 7c31 COM3",
             "plug 7c31 COM4 toaster", "unplug COM9", "event 1 2 3", "event 70000 1 2 3",
             "event 0xZZ 1 2 3", "fail IOL::Read", "fail \"\" X", "fail IOL::Read ERROR:1 0",
             "fail \"IOL::Read ERROR:1", "throw", "throw IOL::Read many", "garble weird", "garble",
             "latency x", "latency 10 \"\"", "profile", "profile toaster", "measure 5", "set",
             "set Language deutsch", "set Colour blue", "inventory now", "log all", "status now"}) {
        // clang-format on
        try {
            sim->Control(line);
            ADD_FAILURE() << "accepted: '" << line << "'";
        } catch (const std::invalid_argument& e) {
            const std::string message = e.what();  // one line of text
            EXPECT_TRUE(!message.empty() && message.find('\n') == std::string::npos) << line;
        }
    }
    EXPECT_EQ(sim->Control("status"), before);
    Make({.product = ""});  // what needs a master in use
    for (const char* line : {"event 26 4 48 192", "measure 5", "unplug"})
        EXPECT_THROW(sim->Control(line), std::invalid_argument) << line;
}

TEST_F(SimControl, SetTakesTheRestOfTheLine) {
    Run({"!set LOGGER Plugcheck wird durchgeführt mit 7c31 \"x\"; !set LOGGER \"  quoted  \"",
         "!set Language 1031; Language -> 1031; !set USBDevice; USBDevice",
         "!set USBDevice COM3; USBDevice -> COM3; !# a comment \"with a stray quote",
         "!log -> Plugcheck wird durchgeführt mit 7c31 \"x\"\n  quoted  "});
}

TEST_F(SimControl, LogKeepsTheNewestLinesInOrder) {
    for (int i = 0; i < 10'003; ++i) sim->SetItem("LOGGER", std::to_string(i));
    const std::vector<std::string> log = sim->Log();
    ASSERT_EQ(log.size(), 10'000u);
    EXPECT_EQ(log.front() + " " + log[9'996] + " " + log.back(), "3 9999 10002");
}

TEST(SimRepl, LinesPrintTheirAnswers) {
    Simulator sim({.language = 1033});
    std::istringstream echoed("GetProduct\n!status extra\n");
    std::ostringstream out;
    RunRepl(sim, echoed, out, true);
    EXPECT_EQ(out.str(),
              "> GetProduct\n7c31 IO-Link USB Master\n> !status extra\nerror: usage: status\n");
    std::istringstream in(
        "USBDevice\r\n\n!advance 10\n!nonsense\n!throw USB\nUSBDevice\n!set USBDevice\n"
        "USBDevice\n!quit\r\nUSBDevice\n");
    out.str("");
    EXPECT_EQ(RunRepl(sim, in, out, false), 0);
    // The empty answer is still one line.
    EXPECT_EQ(out.str(),
              "COM3\nerror: unknown control command 'nonsense' (try !help)\n"
              "raised -2147467259: Automation error: the USB master did not answer\n\n");
}

TEST(SimRepl, CommandLineOptions) {
    const ReplOptions o = ParseReplArgs({"--profile", "valve", "--product=7c33", "--port", "COM7",
                                         "--language", "1031", "--realtime", "--echo"});
    EXPECT_EQ(o.simulator.profile + o.simulator.product + o.simulator.port, "valve7c33COM7");
    EXPECT_TRUE(o.simulator.language == 1031 && o.simulator.realtime && o.echo && !o.help);
    EXPECT_EQ(ParseReplArgs({"--product", "none"}).simulator.product, "");
    for (const std::vector<std::string>& args :
         std::vector<std::vector<std::string>>{{"--profile"},
                                               {"--language", "de"},
                                               {"--language", "0"},
                                               {"--colour", "red"},
                                               {"COM3"}})
        EXPECT_THROW(ParseReplArgs(args), std::invalid_argument);
    // What the options name is checked when the simulator is made.
    for (const Options& bad :
         {Options{.profile = "toaster"}, Options{.product = "7c3"}, Options{.port = "USB0"}})
        EXPECT_THROW(Simulator{bad}, std::invalid_argument);
}

}  // namespace
}  // namespace kestrova::sim
