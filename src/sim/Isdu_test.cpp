// ISDU access to the device parameters: each kind of bad access answers its own error code and
// changes nothing; values at their limits are taken.
#include <gtest/gtest.h>

#include "SimTestSupport.h"

namespace kestrova::sim {
namespace {

using SimIsdu = testing::SimTest;

std::string Repeat(const std::string& text, int times) {
    std::string out;
    while (times-- > 0) out += text;
    return out;
}

TEST_F(SimIsdu, EachBadAccessAnswersItsErrorAndChangesNothing) {
    const std::string tag33 = "Write Index=24 SubIndex=0 Data=41" + Repeat(" 41", 32);
    // Commands after "IOL::", separated by "; ".
    const struct {
        const char* profile;
        int error;
        std::string commands;
    } rows[] = {
        // clang-format off
        // index not available; the legacy device has no name texts
        {"sensor", 0x8011, "Read Index=999 SubIndex=0; Write Index=999 SubIndex=0 Data=01; "
                           "Read Index=1 SubIndex=0"},
        {"legacy", 0x8011, "Read Index=16 SubIndex=0; Read Index=18 SubIndex=0; "
                           "Read Index=20 SubIndex=0; Write Index=24 SubIndex=0 Data=41"},
        // a subindex of a variable, or beyond a record
        {"sensor", 0x8012, "Read Index=16 SubIndex=1; Write Index=24 SubIndex=1 Data=41; "
                           "Read Index=64 SubIndex=3; Write Index=64 SubIndex=3 Data=00 64; "
                           "Read Index=0 SubIndex=17"},
        {"valve", 0x8012, "Read Index=70 SubIndex=10"},
        // reading write-only, writing read-only
        {"sensor", 0x8023, "Read Index=2 SubIndex=0; Write Index=16 SubIndex=0 Data=41; "
                           "Write Index=0 SubIndex=1 Data=00; "
                           "Write Index=80 SubIndex=0 Data=00 00 00 00"},
        {"actuator", 0x8023, "Write Index=40 SubIndex=0 Data=00 00; "
                             "Write Index=41 SubIndex=0 Data=00 00"},
        {"valve", 0x8023, "Write Index=70 SubIndex=1 Data=00 00 00 00"},
        // not one of the allowed values
        {"sensor", 0x8030, "Write Index=66 SubIndex=0 Data=02; Write Index=67 SubIndex=0 Data=03; "
                           "Write Index=2 SubIndex=0 Data=99"},
        {"legacy", 0x8030, "Write Index=2 SubIndex=0 Data=82"},
        {"actuator", 0x8030, "Write Index=64 SubIndex=0 Data=02"},
        // above or below the limit, unsigned or signed (68), whole record or one field
        {"sensor", 0x8031, "Write Index=65 SubIndex=0 Data=00 65; "
                           "Write Index=68 SubIndex=0 Data=01 F5; "
                           "Write Index=64 SubIndex=0 Data=0B B9 0B B9"},
        {"legacy", 0x8031, "Write Index=64 SubIndex=0 Data=03 E9"},
        {"actuator", 0x8031, "Write Index=66 SubIndex=0 Data=07 D1"},
        {"sensor", 0x8032, "Write Index=65 SubIndex=0 Data=00 00; "
                           "Write Index=68 SubIndex=0 Data=FE 0B; "
                           "Write Index=64 SubIndex=2 Data=00 10"},
        // too long, too short
        {"sensor", 0x8033, tag33 + "; Write Index=65 SubIndex=0 Data=00 0A 00; "
                                   "Write Index=64 SubIndex=0 Data=00 C8 05 DC 00"},
        {"sensor", 0x8034, "Write Index=65 SubIndex=0 Data=00; Write Index=65 SubIndex=0 Data=; "
                           "Write Index=64 SubIndex=0 Data=00 C8 05"},
        // near stays below far, written whole or alone; the reset point below the switch point
        {"sensor", 0x8040, "Write Index=64 SubIndex=0 Data=05 DC 00 C8; "
                           "Write Index=64 SubIndex=1 Data=05 DC; "
                           "Write Index=64 SubIndex=2 Data=00 C8"},
        {"legacy", 0x8040, "Write Index=64 SubIndex=0 Data=02 8A; "
                           "Write Index=65 SubIndex=0 Data=02 BC"},
        // clang-format on
    };
    for (const auto& r : rows) {
        Make({.profile = r.profile});
        Online();
        for (const std::string& c : testing::Split(r.commands))
            EXPECT_EQ(Ask("IOL::" + c), "ERROR:" + std::to_string(r.error))
                << r.profile << ": " << c;
        EXPECT_EQ(Ask("IOL::GetEvent"), "EMPTY:") << r.profile;  // no value changed
    }
}

// With the refusals above these pin each limit from both sides.
TEST_F(SimIsdu, ValuesAtTheirLimitsAreTaken) {
    Online();
    Run({"IOL::Write Index=24 SubIndex=0 Data=41" + Repeat(" 41", 31) + " -> OK:",
         "IOL::Read Index=24 SubIndex=0 -> OK:32" + Repeat(" 65", 32),
         // 100, -500, the whole window 30..3000, then far just above near
         "IOL::Write Index=65 SubIndex=0 Data=00 64 -> OK:",
         "IOL::Write Index=68 SubIndex=0 Data=FE 0C -> OK:",
         "IOL::Write Index=64 SubIndex=0 Data=00 1E 0B B8 -> OK:",
         "IOL::Write Index=64 SubIndex=2 Data=00 1F -> OK:",
         "IOL::Read Index=64 SubIndex=0 -> OK:4 0 30 0 31"});
    Make({.profile = "legacy"});
    Online();
    Run({"IOL::Write Index=64 SubIndex=0 Data=02 8B -> OK:"});  // just above the reset point
}

}  // namespace
}  // namespace kestrova::sim
