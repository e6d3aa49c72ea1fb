#include "link/EventCatalogue.h"

#include <gtest/gtest.h>

#include <set>

#include "link/ClsGUI.h"
#include "tools/Vb.h"

namespace kestrova {
namespace {

class EventCatalogueTest : public ::testing::Test {
  protected:
    void SetUp() override {
        IolInitEventTable(gui);
        gui.Language = kEnglish;
    }
    std::string Event(int32_t code, int32_t third = 0) { return IolErrorText(1, code, third, gui); }

    ClsGUI gui;
};

TEST_F(EventCatalogueTest, TableIsCompleteAndKeysAreUnique) {
    const auto table = EventLabelTable();
    EXPECT_EQ(table.size(), 84u);
    std::set<std::string> keys;
    for (const LabelText& row : table) {
        EXPECT_TRUE(keys.insert(UCase(row.Key)).second) << row.Key;
        const std::string key = row.Key;
        if (key.starts_with("EVNT_")) {
            // Four upper-case hex digits, so the lookup by code finds it.
            ASSERT_EQ(key.size(), 9u) << key;
            EXPECT_EQ(key.substr(5), FormatHex(std::stoi(key.substr(5), nullptr, 16), 4, "", true));
        }
        EXPECT_TRUE(gui.HasUILabel(key)) << key;
        EXPECT_NE(std::string(row.English), "") << key;
        EXPECT_NE(std::string(row.German), "") << key;
    }
    EXPECT_EQ(std::string(table.front().Key), "M_PDU_CHECK");
    EXPECT_EQ(std::string(table.back().Key), "EVNT_FF98");
}

TEST_F(EventCatalogueTest, DeliberateOdditiesAreKept) {
    EXPECT_EQ(gui.GetUILabel("S_WRONGSENSOR"), "Min cycle time doesn\u00B4t fit");
    EXPECT_EQ(gui.GetUILabel("S_RETRY"), "Communication retries occured");
    EXPECT_EQ(gui.GetUILabel("EVNT_FFF0"), "PD invalid event from device ");
    EXPECT_EQ(gui.GetUILabel("EVNT_5451"), "S1 = L1");
    gui.Language = kGerman;
    EXPECT_EQ(gui.GetUILabel("EVNT_8C10"), "Überschreitung des Prozessdatenbereichs");
    EXPECT_EQ(gui.GetUILabel("P_RESET"), "Reset wurde durchgeführt");
}

TEST_F(EventCatalogueTest, MasterEventsByCode) {
    EXPECT_EQ(Event(2), gui.GetUILabel("M_PDU_CHECK"));
    EXPECT_EQ(Event(16, 0), "Device has been lost");
    EXPECT_EQ(Event(16, 1), "Connection established");
    EXPECT_EQ(Event(16, -5), "Connection established");
    EXPECT_EQ(Event(26), "Min cycle time doesn\u00B4t fit");
    EXPECT_EQ(Event(35), "Fallback was successful");
    EXPECT_EQ(Event(26, 1), Event(26));  // the third value only matters for 16
}

TEST_F(EventCatalogueTest, StandardCodes) {
    EXPECT_EQ(Event(0x4110), "excess ambient temperature");
    gui.Language = kGerman;
    EXPECT_EQ(Event(0x4110), "Umgebungstemperatur zu hoch");
    gui.Language = kEnglish;
    EXPECT_EQ(Event(0x8C10), "excess process variable range");
    EXPECT_EQ(Event(-29680), "excess process variable range");  // 0x8C10 as 16-bit
    EXPECT_EQ(Event(0x4111), "unknown");                        // its key, not in the table
    EXPECT_EQ(Event(1), "unknown");
    EXPECT_EQ(Event(0x12345), "unknown");  // beyond 16 bits matches nothing
}

TEST_F(EventCatalogueTest, RangesAreBracketedWithTheirCode) {
    const std::pair<int32_t, const char*> cases[] = {
        {0x1800, "general malfunction (man. spec.) (0x1800)"},
        {0x1A05, "general malfunction (man. spec.) (0x1A05)"},
        {0x1FFF, "general malfunction (man. spec.) (0x1FFF)"},
        {0x8CA0, "manufacturer specific (0x8CA0)"},
        {-29536, "manufacturer specific (0x8CA0)"},
        {0x8CFF, "manufacturer specific (0x8CFF)"},
        {0x8D00, "user defined (customer specific mapping of events) (0x8D00)"},
        {-29185, "user defined (customer specific mapping of events) (0x8DFF)"},
        {0xFF00, "IO-Link specific event codes (see Table 86)"},
        {0xFF91, "Parameter have to be stored"},
        {-16, "PD invalid event from device "},  // 0xFFF0 as 16-bit
        {0xFFF0, "PD invalid event from device "},
        {0xFF90, "IO-Link specific event codes (see Table 86) (0xFF90)"},
        {-1, "IO-Link specific event codes (see Table 86) (0xFFFF)"},
    };
    for (auto [code, text] : cases) EXPECT_EQ(Event(code), text) << code;
    EXPECT_EQ(Event(0x8C9F), "unknown");  // just below the range
}

TEST_F(EventCatalogueTest, QualifierWords) {
    const std::pair<int32_t, const char*> instances[] = {
        {1, "PHL"}, {2, "DL"}, {3, "AL"}, {4, "APPL"}, {0, "UNKNOWN"}, {5, "UNKNOWN"}};
    for (auto [v, text] : instances) EXPECT_EQ(IolErrorText(2, v, 0, gui), text) << v;
    const std::pair<int32_t, const char*> typeModes[] = {
        {48 + 192, "ERR-COMING"},
        {32 + 128, "WARN-GOING"},
        {16 + 64, "MSG-SINGLE"},
        {4 + 48 + 192, "ERR-COMING"},  // instance bits are ignored
        {48, "ERR"},
        {192, "UNKNOWN-COMING"},
        {0, "UNKNOWN"}};
    for (auto [v, text] : typeModes) EXPECT_EQ(IolErrorText(3, v, 0, gui), text) << v;
}

TEST_F(EventCatalogueTest, ErrorNumbersByWholeNumberThenLowByte) {
    const std::pair<int32_t, const char*> cases[] = {
        {0x5200, "Device buffer too small for complete PDU"},
        {0x1000, "Negative service response initiated by a communication error"},
        {0x8023, "Application Access denied"},
        {-32733, "Application Access denied"},  // 0x8023 as 16-bit
        {0x8000, "Application No details"},
        {0x8082, "Application Application not ready"},
        {0x8033, "0x8033:unknown"},
        {0x1234, "0x1234:unknown"},
        {0x5201, "0x5201:unknown"},
        {0x10023, "0x10023:unknown"},  // beyond 16 bits matches nothing
        {-40000, "0xFFFF63C0:unknown"},
    };
    for (int kind : {4, 5, 6})
        for (auto [v, text] : cases) EXPECT_EQ(IolErrorText(kind, v, 0, gui), text) << v;
}

TEST_F(EventCatalogueTest, UnknownKinds) {
    for (int kind : {0, 7, -1}) EXPECT_EQ(IolErrorText(kind, 2, 0, gui), "unknown");
}

TEST(EventCatalogue, UnregisteredTableFallsBackToTheUnknownWord) {
    ClsGUI gui;
    gui.Language = kGerman;
    EXPECT_EQ(IolErrorText(1, 0x4110, 0, gui), "unbekannt");
    EXPECT_EQ(IolErrorText(1, 0x1A05, 0, gui), "unbekannt (0x1A05)");
}

}  // namespace
}  // namespace kestrova
