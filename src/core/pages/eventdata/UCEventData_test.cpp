#include "pages/eventdata/UCEventData.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <sstream>

#include "pages/common/testing/PageRig.h"

namespace kestrova {
namespace {

struct EventRig : testing::PanelRig<UCEventData> {
    const ui::Control::Rows& Rows() { return panel("ListView1").ListItems(); }
    // Queues n events and takes them all in.
    void Receive(int n, int32_t code = 0x4110) {
        for (int i = 0; i < n; ++i) QueueEvent(code);
        panel.ActualizeEvents(gui.Device, n + 1);
    }
    // Saves to a file that held before and answers what was written.
    std::string Save(const std::string& before = {}) {
        const std::string file = ::testing::TempDir() + "events" + std::to_string(getpid());
        std::ofstream(file) << before;
        services.SaveAnswer = file;
        panel("Command2").UserClick();
        std::stringstream text;
        text << std::ifstream(file, std::ios::binary).rdbuf();
        std::remove(file.c_str());
        return text.str();
    }
};

const std::string kHeader = "Number;Instance;Mode;EventCode;HexValues\r\n";

TEST(UCEventData, RowsCarryNumberTextsAndHexValues) {
    EventRig p;
    p.Receive(1);  // the first record is numbered 0 and not listed
    p.QueueEvent(26, 5, 0, 0);
    p.QueueEvent(0x4110, 4, 48, 192);
    p.QueueEvent(-29536, 4, 32, 128);  // 0x8CA0 delivered as a signed 16-bit value
    p.panel.ActualizeEvents(p.gui.Device, 5);
    EXPECT_EQ(p.Rows(),
              (ui::Control::Rows{
                  {"1", "UNKNOWN", "UNKNOWN", "Min cycle time doesn´t fit", "0x05 0x001A"},
                  {"2", "APPL", "ERR-COMING", "excess ambient temperature", "0xF4 0x4110"},
                  {"3", "APPL", "WARN-GOING", "manufacturer specific (0x8CA0)", "0xA4 0x8CA0"},
              }));
    // Errors and warnings stand out; a row without a known type stays plain.
    const ui::Control& list = p.panel("ListView1");
    EXPECT_EQ(list.RowBackColor(0), ui::syscolor::Window);
    EXPECT_EQ(list.RowBackColor(1), ui::Rgb(255, 214, 214));
    EXPECT_EQ(list.RowBackColor(2), ui::Rgb(255, 240, 196));
    // The oldest row goes with its colour.
    list.Parent()->Find("ListView1")->RemoveRow(1);
    EXPECT_EQ(list.RowBackColor(0), ui::Rgb(255, 214, 214));
    EXPECT_EQ(list.RowBackColor(2), ui::syscolor::Window);  // past the end: plain
}

// Qualifier parts come from the answer as any 32-bit value; their sums must not overflow (the
// sanitizer build stops on a signed overflow). Only their bits in the qualifier byte name them.
TEST(UCEventData, ExtremeQualifierPartsStillGiveRowAndFileLine) {
    constexpr int32_t kMax = INT32_MAX, kMin = INT32_MIN;
    struct Case {
        int32_t instance, type, mode;
        const char *modeText, *hex;
    };
    const Case cases[] = {
        {1, kMax, kMax, "ERR-COMING", "0xFFFFFFFF 0x001A"},
        {kMax, kMax, kMax, "ERR-COMING", "0x17FFFFFFD 0x001A"},
        {-1, kMin, kMin, "UNKNOWN", "0xFFFFFFFF 0x001A"},
        {kMin, kMax, kMin, "ERR-COMING", "0x7FFFFFFF 0x001A"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::to_string(c.type) + " " + std::to_string(c.mode));
        EventRig p;
        p.Receive(1);  // numbered 0, not listed
        p.QueueEvent(26, c.instance, c.type, c.mode);
        p.panel.ActualizeEvents(p.gui.Device, 5);
        ASSERT_EQ(p.Rows().size(), 1u);
        EXPECT_EQ(p.Rows()[0][2], c.modeText);
        EXPECT_EQ(p.Rows()[0][4], c.hex);
        const std::string saved = p.Save();
        EXPECT_NE(saved.find(std::string(";") + c.modeText + ";"), std::string::npos) << saved;
    }
}

TEST(UCEventData, SaveWritesTheLogFileAndReplacesAnOldOne) {
    EventRig p;
    p.QueueEvent(16, 1, 16, 64);
    p.QueueEvent(26, 5, 0, 0);
    p.QueueEvent(0x8CA5, 4, 48, 192);
    p.panel.ActualizeEvents(p.gui.Device, 5);
    // Replaces a longer old log. Windows text: CR LF, the acute accent as its one ANSI byte.
    EXPECT_EQ(p.Save(std::string(1000, 'x')),
              kHeader +
                  "0;PHL;MSG-SINGLE;Connection established;0x01 0x40 0x10 0x0010\r\n"
                  "1;UNKNOWN;UNKNOWN;Min cycle time doesn\xB4t fit;0x05 0x00 0x00 0x001A\r\n"
                  "2;APPL;ERR-COMING;manufacturer specific (0x8CA5);0x04 0xC0 0x30 0x8CA5\r\n");
    EXPECT_EQ(p.services.SaveDialogs, std::vector<std::string>{"*.txt EventLog.txt"});
    EXPECT_EQ(p.events, "T");
    EXPECT_TRUE(p.services.Messages.empty());
}

TEST(UCEventData, ClearedEventsLeaveListAndFileButNotTheDevice) {
    EventRig p;
    p.Receive(4);
    p.panel("Command1").UserClick();
    EXPECT_EQ(p.events, "FT");
    EXPECT_TRUE(p.Rows().empty());
    p.panel.RefreshContents(&p.gui);
    EXPECT_TRUE(p.Rows().empty());
    EXPECT_EQ(p.Save(), kHeader);
    p.Receive(1);
    ASSERT_EQ(p.Rows().size(), 1u);
    EXPECT_EQ(p.Rows()[0][0], "4");
    // The proxy still knows the newest event (it tells the connection state).
    EXPECT_EQ(p.gui.Device.EventCount, 5);
}

TEST(UCEventData, SaveThatCannotWriteSaysWhy) {
    if (access("/dev/full", W_OK) != 0) GTEST_SKIP() << "no /dev/full";
    EventRig p;
    p.Receive(3);
    EXPECT_FALSE(p.panel.SaveTo("/dev/full"));
    ASSERT_EQ(p.services.Messages.size(), 1u);
    EXPECT_NE(p.services.Messages[0].find("No space left on device"), std::string::npos);
}

}  // namespace
}  // namespace kestrova
