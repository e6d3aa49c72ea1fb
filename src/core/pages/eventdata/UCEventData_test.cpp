#include "pages/eventdata/UCEventData.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "pages/common/testing/PageRig.h"

namespace kestrova {
namespace {

using testing::RecordingServices;
using testing::Rig;
namespace fs = std::filesystem;

struct Panel {
    Panel() {
        panel.RefreshContents(&rig.gui);
        panel.SetLanguage();
        panel.ChangeTimer = [this](bool e) { events.push_back(e); };
    }
    const std::vector<std::vector<std::string>>& Rows() { return panel("ListView1").ListItems(); }
    std::vector<std::string> Numbers() {
        std::vector<std::string> out;
        for (const auto& row : Rows()) out.push_back(row[0]);
        return out;
    }
    // Queues n events and takes them all in.
    void Receive(int n, int32_t code = 0x4110) {
        for (int i = 0; i < n; ++i) rig.QueueEvent(code);
        panel.ActualizeEvents(rig.gui.Device, n + 1);
    }

    RecordingServices services;
    Rig rig;
    UCEventData panel{services};
    std::vector<bool> events;
};

struct TempDir {
    TempDir() {
        char pattern[] = "/tmp/kestrova_events_XXXXXX";
        path = mkdtemp(pattern);
    }
    ~TempDir() { fs::remove_all(path); }
    std::string File(const char* name) const { return (fs::path(path) / name).string(); }
    std::string path;
};

std::string ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
}

TEST(UCEventData, RowsCarryNumberTextsAndHexValues) {
    Panel p;
    p.Receive(1);  // the first record is numbered 0 and not listed
    p.rig.QueueEvent(26, 5, 0, 0);
    p.rig.QueueEvent(0x4110, 4, 48, 192);
    p.rig.QueueEvent(-29536, 4, 32, 128);  // 0x8CA0 delivered as a signed 16-bit value
    p.panel.ActualizeEvents(p.rig.gui.Device, 5);
    using Row = std::vector<std::string>;
    EXPECT_EQ(p.Rows(),
              (std::vector<Row>{
                  {"1", "UNKNOWN", "UNKNOWN", "Min cycle time doesn´t fit", "0x05 0x001A"},
                  {"2", "APPL", "ERR-COMING", "excess ambient temperature", "0xF4 0x4110"},
                  {"3", "APPL", "WARN-GOING", "manufacturer specific (0x8CA0)", "0xA4 0x8CA0"},
              }));
}

TEST(UCEventData, TakesAtMostTheGivenNumberPerCall) {
    Panel p;
    for (int i = 0; i < 13; ++i) p.rig.QueueEvent(0x4110);
    std::vector<size_t> rows;
    for (int tick = 0; tick < 4; ++tick) {
        p.panel.ActualizeEvents(p.rig.gui.Device, 5);
        rows.push_back(p.Rows().size());
    }
    EXPECT_EQ(rows, (std::vector<size_t>{4, 9, 12, 12}));  // number 0 is never listed
    EXPECT_EQ(p.rig.bridge->Count("IOL::GetEvent"), 5 + 5 + 4 + 1);
}

TEST(UCEventData, TheListKeepsTheNewestHundred) {
    Panel p;
    p.Receive(102);
    ASSERT_EQ(p.Rows().size(), 100u);
    EXPECT_EQ(p.Rows().front()[0], "2");
    EXPECT_EQ(p.Rows().back()[0], "101");
    // Refilling from the proxy shows the same rows.
    p.panel.RefreshContents(&p.rig.gui);
    EXPECT_EQ(p.Rows().size(), 100u);
    EXPECT_EQ(p.Rows().front()[0], "2");
}

TEST(UCEventData, EventsTakenInByOthersAreListedToo) {
    Panel p;
    p.Receive(2);
    p.rig.QueueEvent(0x5110);
    p.rig.QueueEvent(0x5111);
    // The device information page or the communication panel fetched them.
    p.rig.gui.Device.UpdateEvents();
    p.rig.gui.Device.UpdateEvents();
    p.panel.ActualizeEvents(p.rig.gui.Device, 5);
    EXPECT_EQ(p.Numbers(), (std::vector<std::string>{"1", "2", "3"}));
    EXPECT_EQ(p.Rows().back()[3], "U1 = supply +/- 15 V");
}

TEST(UCEventData, ClearEmptiesTheListAndLaterEventsAppear) {
    Panel p;
    p.Receive(4);
    p.panel("Command1").UserClick();
    EXPECT_EQ(p.events, (std::vector<bool>{false, true}));
    EXPECT_TRUE(p.Rows().empty());
    p.panel.RefreshContents(&p.rig.gui);
    EXPECT_TRUE(p.Rows().empty());
    p.Receive(1);
    EXPECT_EQ(p.Numbers(), std::vector<std::string>{"4"});
    // The proxy still knows the newest event (it tells the connection state).
    EXPECT_EQ(p.rig.gui.Device.EventCount, 5);
}

TEST(UCEventData, SaveWritesTheFileFormat) {
    Panel p;
    p.rig.QueueEvent(16, 1, 16, 64);
    p.rig.QueueEvent(26, 5, 0, 0);
    p.rig.QueueEvent(0x8CA5, 4, 48, 192);
    p.panel.ActualizeEvents(p.rig.gui.Device, 5);
    TempDir dir;
    const std::string file = dir.File("EventLog.txt");
    p.services.SaveAnswers.push_back(file);
    p.panel("Command2").UserClick();
    EXPECT_EQ(p.services.SaveDialogs,
              (std::vector<std::pair<std::string, std::string>>{{"*.txt", "EventLog.txt"}}));
    EXPECT_EQ(ReadFile(file),
              "Number;Instance;Mode;EventCode;HexValues\n"
              "0;PHL;MSG-SINGLE;Connection established;0x01 0x40 0x10 0x0010\n"
              "1;UNKNOWN;UNKNOWN;Min cycle time doesn´t fit;0x05 0x00 0x00 0x001A\n"
              "2;APPL;ERR-COMING;manufacturer specific (0x8CA5);0x04 0xC0 0x30 0x8CA5\n");
    EXPECT_EQ(p.events, std::vector<bool>{true});
    EXPECT_TRUE(p.services.Messages.empty());
}

TEST(UCEventData, SaveReplacesAnExistingFile) {
    Panel p;
    TempDir dir;
    const std::string file = dir.File("log.txt");
    std::ofstream(file) << "old content that is longer than the new one\nsecond line\n";
    p.services.SaveAnswers.push_back(file);
    p.panel("Command2").UserClick();
    EXPECT_EQ(ReadFile(file), "Number;Instance;Mode;EventCode;HexValues\n");
}

TEST(UCEventData, CancelledSaveWritesNothing) {
    Panel p;
    p.panel("Command2").UserClick();
    EXPECT_EQ(p.services.SaveDialogs.size(), 1u);
    EXPECT_TRUE(p.events.empty());
    EXPECT_TRUE(p.services.Messages.empty());
}

TEST(UCEventData, SaveAfterClearHoldsOnlyTheHeader) {
    Panel p;
    p.Receive(3);
    p.panel("Command1").UserClick();
    TempDir dir;
    ASSERT_TRUE(p.panel.SaveTo(dir.File("e.txt")));
    EXPECT_EQ(ReadFile(dir.File("e.txt")), "Number;Instance;Mode;EventCode;HexValues\n");
}

TEST(UCEventData, SaveThatCannotCreateTheFileSaysWhy) {
    TempDir dir;
    struct Row {
        std::string path;
        const char* reason;
    };
    const Row rows[] = {
        {dir.path, "Is a directory"},
        {dir.File("missing/EventLog.txt"), "No such file or directory"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.path);
        Panel p;
        p.services.SaveAnswers.push_back(row.path);
        p.panel("Command2").UserClick();
        ASSERT_EQ(p.services.Messages.size(), 1u);
        const std::string& text = p.services.Messages[0].Text;
        EXPECT_NE(text.find("could not be saved"), std::string::npos) << text;
        EXPECT_NE(text.find(row.path), std::string::npos) << text;
        EXPECT_NE(text.find(row.reason), std::string::npos) << text;
        EXPECT_TRUE(fs::is_directory(dir.path));
    }
}

TEST(UCEventData, SaveThatCannotWriteSaysWhy) {
    if (access("/dev/full", W_OK) != 0) GTEST_SKIP() << "no /dev/full";
    Panel p;
    p.Receive(3);
    EXPECT_FALSE(p.panel.SaveTo("/dev/full"));
    ASSERT_EQ(p.services.Messages.size(), 1u);
    EXPECT_NE(p.services.Messages[0].Text.find("No space left on device"), std::string::npos);
}

TEST(UCEventData, FailureIsReportedInTheUsersLanguage) {
    Panel p;
    p.rig.gui.Language = kGerman;
    TempDir dir;
    EXPECT_FALSE(p.panel.SaveTo(dir.path));
    ASSERT_EQ(p.services.Messages.size(), 1u);
    EXPECT_NE(p.services.Messages[0].Text.find("nicht in der Datei gespeichert"),
              std::string::npos);
}

}  // namespace
}  // namespace kestrova
