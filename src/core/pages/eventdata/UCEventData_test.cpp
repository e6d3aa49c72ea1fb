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
                  {"1", "UNKNOWN", "unknown", "Min cycle time doesn´t fit", "0x05 0x001A"},
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

// Qualifier parts come from the answer as any 32-bit value. Parts that do not add up to a byte
// make no qualifier: that event is neither listed nor saved, and the sums must not overflow on
// the way (the sanitizer build stops on a signed overflow).
TEST(UCEventData, EventsWhoseQualifierLeavesAByteAreNeitherListedNorSaved) {
    constexpr int32_t kMax = INT32_MAX, kMin = INT32_MIN;
    struct Case {
        int32_t instance, type, mode;
        bool shown;
    };
    const Case cases[] = {
        {4, 48, 192, true},      {15, 48, 192, true},       {16, 48, 192, false},
        {0, 0, -1, false},       {1, kMax, kMax, false},    {kMax, kMax, kMax, false},
        {-1, kMin, kMin, false}, {kMin, kMax, kMin, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::to_string(c.instance) + " " + std::to_string(c.type) + " " +
                     std::to_string(c.mode));
        EventRig p;
        p.Receive(1);  // numbered 0, not listed
        p.QueueEvent(26, c.instance, c.type, c.mode);
        p.QueueEvent(26, 4, 48, 64);
        p.panel.ActualizeEvents(p.gui.Device, 5);
        ASSERT_EQ(p.Rows().size(), c.shown ? 2u : 1u);
        EXPECT_EQ(p.Rows().back()[0], "2");
        const std::string saved = p.Save();
        EXPECT_EQ(saved.find("\r\n1;") != std::string::npos, c.shown) << saved;
        EXPECT_NE(saved.find("\r\n2;"), std::string::npos) << saved;
    }
}

TEST(UCEventData, SaveWritesTheLogFileAndReplacesAnOldOne) {
    EventRig p;
    p.QueueEvent(16, 1, 16, 64);
    p.QueueEvent(26, 5, 0, 0);
    p.QueueEvent(0x8CA5, 4, 48, 192);
    p.panel.ActualizeEvents(p.gui.Device, 5);
    // Replaces a longer old log. Windows text: CR LF, the acute accent as its one ANSI byte.
    // The record numbered 0 is not listed, so it is not saved either.
    EXPECT_EQ(p.Save(std::string(1000, 'x')),
              kHeader +
                  "1;UNKNOWN;unknown;Min cycle time doesn\xB4t fit;0x05 0x00 0x00 0x001A\r\n"
                  "2;APPL;ERR-COMING;manufacturer specific (0x8CA5);0x04 0xC0 0x30 0x8CA5\r\n");
    EXPECT_EQ(p.services.SaveDialogs, std::vector<std::string>{"*.txt EventLog.txt"});
    EXPECT_EQ(p.events, "T");
    EXPECT_TRUE(p.services.Messages.empty());
}

// The user cleared the device's events, not one view of them: both panels showing them (the
// data page's and the parameter page's) empty, and so does the file saved from either.
TEST(UCEventData, ClearedEventsLeaveBothListsAndTheFileButNotTheDevice) {
    EventRig p;
    UCEventData other(p.services, "UCEventData2");
    other.RefreshContents(&p.gui);
    p.Receive(4);
    other.ActualizeEvents(p.gui.Device, 5);
    ASSERT_EQ(other("ListView1").ListItems().size(), 3u);
    p.panel("Command1").UserClick();
    EXPECT_EQ(p.events, "FT");
    EXPECT_TRUE(p.Rows().empty());
    other.ActualizeEvents(p.gui.Device, 5);
    EXPECT_TRUE(other("ListView1").ListItems().empty());
    p.panel.RefreshContents(&p.gui);
    EXPECT_TRUE(p.Rows().empty());
    EXPECT_EQ(p.Save(), kHeader);
    const std::string file = ::testing::TempDir() + "other" + std::to_string(getpid());
    ASSERT_TRUE(other.SaveTo(file));
    std::stringstream text;
    text << std::ifstream(file, std::ios::binary).rdbuf();
    std::remove(file.c_str());
    EXPECT_EQ(text.str(), kHeader);
    // New events show in both.
    p.Receive(1);
    other.ActualizeEvents(p.gui.Device, 5);
    ASSERT_EQ(p.Rows().size(), 1u);
    EXPECT_EQ(p.Rows()[0][0], "4");
    EXPECT_EQ(other("ListView1").ListItems(), p.Rows());
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
