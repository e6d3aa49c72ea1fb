// ISDU access to the device parameters: each kind of bad access answers its own error code and
// changes nothing.
#include <gtest/gtest.h>

#include "SimTestSupport.h"
#include "Simulator.h"

namespace kestrova::sim {
namespace {

using testing::Ask;
using testing::Online;
using testing::TextOf;

std::string Hex(const std::string& text) {
    static const char* digits = "0123456789ABCDEF";
    std::string s;
    for (unsigned char c : text) {
        if (!s.empty()) s += ' ';
        s += digits[c >> 4];
        s += digits[c & 15];
    }
    return s;
}

struct Row {
    const char* command;
    int error;
};

void ExpectErrors(Simulator& sim, const std::vector<Row>& rows) {
    for (const Row& r : rows)
        EXPECT_EQ(Ask(sim, r.command), "ERROR:" + std::to_string(r.error)) << r.command;
    EXPECT_EQ(Ask(sim, "IOL::GetEvent"), "EMPTY:");  // a refused write changes nothing
}

TEST(SimIsdu, SensorRefusesBadAccessWithTheRightCode) {
    Simulator sim;
    Online(sim);
    const std::string tag33 = "IOL::Write Index=24 SubIndex=0 Data=" + Hex(std::string(33, 'A'));
    ExpectErrors(sim, {
                          {"IOL::Read Index=999 SubIndex=0", 0x8011},
                          {"IOL::Write Index=999 SubIndex=0 Data=01", 0x8011},
                          {"IOL::Read Index=1 SubIndex=0", 0x8011},
                          {"IOL::Read Index=2 SubIndex=0", 0x8023},  // write-only
                          {"IOL::Write Index=16 SubIndex=0 Data=41", 0x8023},
                          {"IOL::Write Index=0 SubIndex=1 Data=00", 0x8023},
                          {"IOL::Write Index=80 SubIndex=0 Data=00 00 00 00", 0x8023},
                          {"IOL::Read Index=16 SubIndex=1", 0x8012},  // not a record
                          {"IOL::Write Index=24 SubIndex=1 Data=41", 0x8012},
                          {"IOL::Read Index=64 SubIndex=3", 0x8012},
                          {"IOL::Write Index=64 SubIndex=3 Data=00 64", 0x8012},
                          {"IOL::Read Index=0 SubIndex=17", 0x8012},
                          {tag33.c_str(), 0x8033},
                          {"IOL::Write Index=65 SubIndex=0 Data=00", 0x8034},
                          {"IOL::Write Index=65 SubIndex=0 Data=", 0x8034},
                          {"IOL::Write Index=65 SubIndex=0 Data=00 0A 00", 0x8033},
                          {"IOL::Write Index=64 SubIndex=0 Data=00 C8 05", 0x8034},
                          {"IOL::Write Index=64 SubIndex=0 Data=00 C8 05 DC 00", 0x8033},
                          {"IOL::Write Index=65 SubIndex=0 Data=00 00", 0x8032},
                          {"IOL::Write Index=65 SubIndex=0 Data=00 65", 0x8031},
                          {"IOL::Write Index=68 SubIndex=0 Data=FE 0B", 0x8032},  // -501
                          {"IOL::Write Index=68 SubIndex=0 Data=01 F5", 0x8031},  // 501
                          {"IOL::Write Index=64 SubIndex=2 Data=00 10", 0x8032},
                          {"IOL::Write Index=64 SubIndex=0 Data=0B B9 0B B9", 0x8031},
                          {"IOL::Write Index=66 SubIndex=0 Data=02", 0x8030},
                          {"IOL::Write Index=67 SubIndex=0 Data=03", 0x8030},
                          {"IOL::Write Index=2 SubIndex=0 Data=99", 0x8030},
                          // near must stay below far, written whole or alone
                          {"IOL::Write Index=64 SubIndex=0 Data=05 DC 00 C8", 0x8040},
                          {"IOL::Write Index=64 SubIndex=1 Data=05 DC", 0x8040},
                          {"IOL::Write Index=64 SubIndex=2 Data=00 C8", 0x8040},
                      });
    EXPECT_EQ(Ask(sim, "IOL::Read Index=64 SubIndex=0"), "OK:4 0 200 5 220");
    EXPECT_EQ(Ask(sim, "IOL::Read Index=65 SubIndex=0"), "OK:2 0 10");
    EXPECT_EQ(TextOf(Ask(sim, "IOL::Read Index=24 SubIndex=0")), "***");
}

TEST(SimIsdu, SensorAcceptsValuesAtTheirLimits) {
    Simulator sim;
    Online(sim);
    const std::string tag32 = "IOL::Write Index=24 SubIndex=0 Data=" + Hex(std::string(32, 'Z'));
    for (const std::string& command : {
             tag32,
             std::string("IOL::Write Index=65 SubIndex=0 Data=00 01"),
             std::string("IOL::Write Index=65 SubIndex=0 Data=00 64"),
             std::string("IOL::Write Index=68 SubIndex=0 Data=FE 0C"),  // -500
             std::string("IOL::Write Index=68 SubIndex=0 Data=01 F4"),  // 500
             std::string("IOL::Write Index=67 SubIndex=0 Data=10"),
             std::string("IOL::Write Index=64 SubIndex=0 Data=00 1E 0B B8"),  // 30..3000
             std::string("IOL::Write Index=64 SubIndex=2 Data=00 1F"),
         })
        EXPECT_EQ(Ask(sim, command), "OK:") << command;
    EXPECT_EQ(TextOf(Ask(sim, "IOL::Read Index=24 SubIndex=0")), std::string(32, 'Z'));
    EXPECT_EQ(Ask(sim, "IOL::Read Index=68 SubIndex=0"), "OK:2 1 244");
    EXPECT_EQ(Ask(sim, "IOL::Read Index=64 SubIndex=0"), "OK:4 0 30 0 31");
}

TEST(SimIsdu, LegacyDeviceLacksTheNameTexts) {
    Simulator sim({.profile = "legacy"});
    Online(sim);
    ExpectErrors(sim, {
                          {"IOL::Read Index=16 SubIndex=0", 0x8011},
                          {"IOL::Read Index=17 SubIndex=0", 0x8011},
                          {"IOL::Read Index=18 SubIndex=0", 0x8011},
                          {"IOL::Read Index=20 SubIndex=0", 0x8011},
                          {"IOL::Read Index=24 SubIndex=0", 0x8011},
                          {"IOL::Write Index=24 SubIndex=0 Data=41", 0x8011},
                          {"IOL::Write Index=2 SubIndex=0 Data=82", 0x8030},
                          {"IOL::Write Index=64 SubIndex=0 Data=03 E9", 0x8031},
                          // the reset point stays below the switch point
                          {"IOL::Write Index=64 SubIndex=0 Data=02 8A", 0x8040},
                          {"IOL::Write Index=65 SubIndex=0 Data=02 BC", 0x8040},
                      });
    EXPECT_EQ(TextOf(Ask(sim, "IOL::Read Index=19 SubIndex=0")), "PS10-L");
    EXPECT_EQ(Ask(sim, "IOL::Write Index=64 SubIndex=0 Data=02 8B"), "OK:");
}

TEST(SimIsdu, ActuatorLimitsAndReadOnlyImages) {
    Simulator sim({.profile = "actuator"});
    Online(sim);
    ExpectErrors(sim, {
                          {"IOL::Write Index=66 SubIndex=0 Data=00 63", 0x8032},
                          {"IOL::Write Index=66 SubIndex=0 Data=07 D1", 0x8031},
                          {"IOL::Write Index=41 SubIndex=0 Data=00 00", 0x8023},
                          {"IOL::Write Index=40 SubIndex=0 Data=00 00", 0x8023},
                          {"IOL::Write Index=64 SubIndex=0 Data=02", 0x8030},
                      });
    // The inversion mask applies to valid outputs.
    ASSERT_EQ(Ask(sim, "IOL::Write Index=65 SubIndex=0 Data=FF FF"), "OK:");
    ASSERT_EQ(Ask(sim, "IOL::SetMode Mode=6 Cycle=0"), "OK:");
    EXPECT_EQ(Ask(sim, "IOL::TransferImage Data=00 0F"), "OK:1,2 255 240 0");
    EXPECT_EQ(Ask(sim, "IOL::Read Index=40 SubIndex=0"), "OK:2 255 240");
}

TEST(SimIsdu, NoParameterAccessUnlessTheDeviceCommunicates) {
    Simulator sim;
    const char* commands[] = {"IOL::Read Index=16 SubIndex=0",
                              "IOL::Write Index=24 SubIndex=0 Data=41"};
    for (const char* c : commands) EXPECT_EQ(Ask(sim, c), "ERROR:4096") << "offline: " << c;
    ASSERT_EQ(Ask(sim, "IOL::Connect"), "TRUE");
    for (const char* c : commands) EXPECT_EQ(Ask(sim, c), "ERROR:4096") << "starting: " << c;
    sim.Control("advance 200");
    ASSERT_EQ(Ask(sim, "IOL::SetMode Mode=3 Cycle=0"), "OK:");
    for (const char* c : commands) EXPECT_EQ(Ask(sim, c), "ERROR:4096") << "SIO: " << c;
}

}  // namespace
}  // namespace kestrova::sim
