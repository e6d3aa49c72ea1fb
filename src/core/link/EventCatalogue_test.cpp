#include "link/EventCatalogue.h"

#include <gtest/gtest.h>

#include <tuple>

#include "link/ClsGUI.h"

namespace kestrova {
namespace {

class EventCatalogueTest : public ::testing::Test {
  protected:
    void SetUp() override {
        IolInitEventTable(gui);
        gui.Language = kEnglish;
    }
    ClsGUI gui;
};

// Each row is registered under its key with its own German and English text, and every EVNT_
// key is the one its code is looked up by. The texts keep their oddities.
TEST_F(EventCatalogueTest, EveryRowIsRegisteredAndFoundByItsCode) {
    for (const LabelText& row : EventLabelTable()) {
        const std::string key = row.Key;
        gui.Language = kGerman;
        EXPECT_EQ(gui.GetUILabel(key), row.German) << key;
        gui.Language = kEnglish;
        EXPECT_EQ(gui.GetUILabel(key), row.English) << key;
        if (!key.starts_with("EVNT_")) continue;
        const int32_t code = std::stoi(key.substr(5), nullptr, 16);
        EXPECT_TRUE(IolErrorText(1, code, 0, gui).starts_with(row.English)) << key;
    }
    EXPECT_EQ(IolErrorText(1, 26, 0, gui), "Min cycle time doesn\u00B4t fit");
    EXPECT_EQ(IolErrorText(1, 27, 0, gui), "Communication retries occured");
    EXPECT_EQ(IolErrorText(1, 0xFFF0, 0, gui), "PD invalid event from device ");
    gui.Language = kGerman;
    EXPECT_EQ(IolErrorText(1, 0x4110, 0, gui), "Umgebungstemperatur zu hoch");
}

TEST_F(EventCatalogueTest, EventCodesChooseTheKey) {
    // code, third -> key whose text is shown ("none": no text, "unknown"), and what follows
    // it. Codes compare as 16-bit values, so 0x8C10 may come as -29680; the third value only
    // matters for code 16; beyond 16 bits nothing matches.
    const std::tuple<int32_t, int32_t, const char*, const char*> cases[] = {
        {12, 0, "A_MESSAGE", ""},  {15, 0, "A_PARAMETER", ""},
        {13, 0, "A_WARNING", ""},  {16, 1, "S_DEVICELOST_GOING", ""},
        {14, 0, "A_DEVICE", ""},   {16, 0, "S_DEVICELOST_COMING", ""},
        {27, 0, "S_RETRY", ""},    {26, 1, "S_WRONGSENSOR", ""},
        {30, 0, "P_SHORT", ""},    {16, -5, "S_DEVICELOST_GOING", ""},
        {31, 0, "P_SENSOR", ""},   {0x1800, 0, "EVNT_1800", " (0x1800)"},
        {32, 0, "P_ACTOR", ""},    {-29680, 0, "EVNT_8C10", ""},
        {33, 0, "P_POWER", ""},    {0x1A05, 0, "EVNT_1800", " (0x1A05)"},
        {34, 0, "P_RESET", ""},    {0x1FFF, 0, "EVNT_1800", " (0x1FFF)"},
        {2, 0, "M_PDU_CHECK", ""}, {-29536, 0, "EVNT_8CA0", " (0x8CA0)"},
        {1, 0, "none", ""},        {0x8CFF, 0, "EVNT_8CA0", " (0x8CFF)"},
        {35, 0, "S_FALLBACK", ""}, {0xFF00, 0, "EVNT_FF00", ""},
        {0x4111, 0, "none", ""},   {0x8D00, 0, "EVNT_8D00", " (0x8D00)"},
        {0x14110, 0, "none", ""},  {-29185, 0, "EVNT_8D00", " (0x8DFF)"},
        {0x8C9F, 0, "none", ""},   {-1, 0, "EVNT_FF00", " (0xFFFF)"},
        {-16, 0, "EVNT_FFF0", ""}, {0xFF90, 0, "EVNT_FF00", " (0xFF90)"}};
    for (auto [code, third, key, suffix] : cases)
        EXPECT_EQ(IolErrorText(1, code, third, gui), gui.GetUILabel(key) + suffix) << code;
}

TEST_F(EventCatalogueTest, QualifierWordsAndErrorNumbers) {
    // kind, value -> text. Kind 2 instance, 3 type and mode (instance bits ignored), 4 to 6
    // error numbers (the whole 16-bit number first, then the low byte of any number), any other
    // kind "unknown".
    const std::tuple<int, int32_t, const char*> words[] = {
        {2, 1, "PHL"},     {2, 5, "UNKNOWN"},        {3, 48 + 192, "ERR-COMING"},
        {2, 2, "DL"},      {3, 0, "unknown"},        {3, 32 + 128, "WARN-GOING"},
        {2, 3, "AL"},      {0, 2, "unknown"},        {3, 16 + 64, "MSG-SINGLE"},
        {2, 4, "APPL"},    {7, 2, "unknown"},        {3, 4 + 48 + 192, "ERR-COMING"},
        {2, 0, "UNKNOWN"}, {-1, 2, "unknown"},       {3, 192, "unknown-COMING"},
        {3, 48, "ERR"},    {3, 64, "unknown-SINGLE"}};
    const std::tuple<int, int32_t, const char*> numbers[] = {
        {4, 0x5200, "Device buffer too small for complete PDU"},
        {5, 0x1000, "Negative service response initiated by a communication error"},
        {6, 0x8023, "Application Access denied"},
        {4, -32733, "Application Access denied"},
        {5, 0x8000, "Application No details"},
        {6, 0x8082, "Application Application not ready"},
        {4, 0x8033, "0x8033:unknown"},
        {5, 0x5201, "0x5201:unknown"},
        {6, 0x10023, "Application Access denied"},
        {4, 98339, "Application Access denied"},
        {5, -65501, "Application Access denied"},
        {6, 0x15200, "Application No details"},
        {4, 0x10033, "0x10033:unknown"},
        {4, -40000, "0xFFFF63C0:unknown"}};
    for (auto [kind, value, text] : words) EXPECT_EQ(IolErrorText(kind, value, 0, gui), text);
    for (auto [kind, value, text] : numbers) EXPECT_EQ(IolErrorText(kind, value, 0, gui), text);
}

}  // namespace
}  // namespace kestrova
