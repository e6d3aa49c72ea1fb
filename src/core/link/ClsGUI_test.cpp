#include "link/ClsGUI.h"

#include <gtest/gtest.h>

#include "link/testing/FakeBridge.h"
#include "tools/testing/VbTesting.h"

namespace kestrova {
namespace {

// A label in both languages, "German / English".
std::string Both(ClsGUI& gui, const char* key) {
    gui.Language = kGerman;
    const std::string german = gui.GetUILabel(key);
    gui.Language = kEnglish;
    return german + " / " + gui.GetUILabel(key);
}

class ClsGUITest : public ::testing::Test {
  protected:
    void Bind() {
        dtm->Answer("DTMDate", "2009-03-05");
        dtm->Answer("DTMVersion", "1.2.3 beta");
        gui.SetDtm(dtm);
        dtm->ClearLog();
    }
    std::shared_ptr<FakeBridge> dtm = std::make_shared<FakeBridge>();
    ClsGUI gui;
};

TEST_F(ClsGUITest, LabelsAreCaseInsensitiveAndTheFirstRegistrationWins) {
    gui.SetUILabel("GENInformation", "Information DE", "Information EN");
    gui.SetUILabel("GENINFORMATION", "zweit", "second");
    constexpr LabelText table[] = {{"T1", "one", "eins"}, {"t1", "uno", "una"}};
    gui.SetUILabels(table);
    EXPECT_EQ(Both(gui, "geninformation"), "Information DE / Information EN");
    EXPECT_EQ(Both(gui, "T1"), "eins / one");
    EXPECT_EQ(Both(gui, "nowhere"), "unbekannt / unknown");
    gui.Language = 0;  // anything but German reads English
    EXPECT_EQ(gui.GetUILabel("t1"), "one");
    EXPECT_TRUE(gui.HasUILabel("geninformation"));
    EXPECT_FALSE(gui.HasUILabel("nowhere"));
}

TEST_F(ClsGUITest, LanguageFromTheLocaleIdentifier) {
    EXPECT_EQ(gui.GetLanguage(), kEnglish);  // unbound: empty item
    Bind();
    // Low byte 7 is German (7), anything else English (9), numbers or not.
    const std::pair<Variant, int16_t> cases[] = {
        {"1031", 7},  {int32_t{2055}, 7}, {"3079", 7}, {"7", 7}, {"&H407", 7},
        {"-249", 7},  {"1033", 9},        {"0", 9},    {"", 9},  {Variant(), 9},
        {"de-DE", 9}, {"1e30", 9},        {true, 9}};
    for (const auto& [item, language] : cases) {
        dtm->Answer("Language", item);
        EXPECT_EQ(gui.GetLanguage(), language) << item.ToText();
        EXPECT_EQ(gui.Language, language) << item.ToText();
    }
}

TEST_F(ClsGUITest, BindingReadsVersionAndTheDateAtFixedPlaces) {
    Bind();
    EXPECT_EQ(Both(gui, "Version"), "1.2.3 beta / 1.2.3 beta");
    // The day has two characters only when the item is exactly ten long; "" marks a non-date,
    // which raises a conversion error that names the item and registers no date.
    const std::pair<const char*, const char*> cases[] = {
        {"", ""},           {"2009-02-30", ""}, {"2009-03-05", "05.03.2009 / 2009/3/5"},
        {"2009", ""},       {"2011-02-29", ""}, {"2009-03-5", "05.03.2009 / 2009/3/5"},
        {"2009-03-", ""},   {"2009-00-05", ""}, {"2012/12/31", "31.12.2012 / 2012/12/31"},
        {"yyyy-mm-dd", ""}, {"2009-03-00", ""}, {"2012-02-29", "29.02.2012 / 2012/2/29"},
        {"2009-13-05", ""}, {"2009-+3-05", ""}, {"2009-03-15xyz", "01.03.2009 / 2009/3/1"},
        {"20090305", ""},   {"2009-03-5 ", ""}};
    for (auto [item, date] : cases) {
        ClsGUI fresh;
        std::string description;
        dtm->Answer("DTMDate", item);
        EXPECT_EQ(ErrorOf([&] { fresh.SetDtm(dtm); }, &description), *date ? 0 : 13) << item;
        EXPECT_EQ(*date ? Both(fresh, "Date") : "", date) << item;
        EXPECT_EQ(description.find(item) != std::string::npos, !*date) << description;
        EXPECT_EQ(fresh.HasUILabel("Date"), *date != 0) << item;
    }
}

TEST_F(ClsGUITest, ReleasedBindingDoesNothingAndUnbindsTheDevice) {
    Bind();
    gui.SetDtm(nullptr);
    EXPECT_EQ(gui.GetItem("USBDevice"), "");
    gui.LogEvent("lost");
    gui.CheckOnlineState();
    EXPECT_EQ(gui.ConnectionStateCode, 0);
    gui.Device.SetSensorState(FOUND);
    Values data;
    EXPECT_EQ(gui.Device.ReadParameter(16, 0, data), -1);
    EXPECT_TRUE(dtm->Log().empty());
}

TEST_F(ClsGUITest, ItemsAndTheDeviceIdentifier) {
    Bind();
    dtm->Answer("USBDevice", int32_t{3});
    EXPECT_EQ(gui.GetItem("USBDevice"), "3");
    gui.SetActualDeviceIdentifier("COM3");
    gui.SetActualDeviceIdentifier("com3");  // exact comparison
    EXPECT_EQ(dtm->ItemsSet("USBDevice"), (std::vector<std::string>{"COM3", "com3"}));
    dtm->Fail("Broken", 440, "automation error");
    EXPECT_EQ(ErrorOf([&] { gui.GetItem("Broken"); }), 440);
}

TEST_F(ClsGUITest, ConnectionStateWordAndFlag) {
    Bind();
    // event (0: none new), item -> code, flag; the device gets the code. An unknown word keeps
    // the previous 5; ONLINE+ is WRONG (6) while the newest event has code 26.
    const std::tuple<int, const char*, int16_t, bool> cases[] = {
        {0, "OFFLINE,TRUE", 1, true},  {0, "online-,TRUE", 2, true},
        {0, "ONLINE+,true", 3, false}, {0, "  Online+ , TRUE ", 3, true},
        {0, "SIO", 4, false},          {0, "RESET,FALSE", 5, false},
        {0, "UNKNOWN,TRUE", 5, true},  {0, "", 5, false},
        {0, "SIO,TRUE,x", 4, false},   {0, "SIO,TRUEX", 4, false},
        {0, ",TRUE", 5, true},         {26, "ONLINE+,TRUE", 6, true},
        {16, "ONLINE+,TRUE", 3, true}, {26, "SIO,TRUE", 4, true}};
    for (auto [event, item, code, connected] : cases) {
        if (event) {  // the newest event the device proxy holds
            dtm->Queue("IOL::GetEvent", "OK:1," + std::to_string(event) + ",4,48,192,0,0");
            ASSERT_TRUE(gui.Device.UpdateEvents());
        }
        gui.ConnectionStateCode = 5;
        gui.DtmConnected = !connected;
        dtm->Answer("ConnectionState", item);
        gui.CheckOnlineState();
        EXPECT_EQ(gui.ConnectionStateCode, code) << item;
        EXPECT_EQ(gui.DtmConnected, connected) << item;
        EXPECT_EQ(gui.Device.SensorState, code) << item;
    }
}

TEST_F(ClsGUITest, ResetRetriesAPendingConnect) {
    Bind();
    dtm->Answer("USBDevice", "COM3");
    dtm->Answer("ConnectionState", "RESET,FALSE");
    gui.CheckOnlineState();  // nothing pending: no connect
    gui.ConnectPending = true;
    dtm->Queue("IOL::Connect", "FALSE");
    gui.CheckOnlineState();
    EXPECT_TRUE(gui.ConnectPending);  // failed: still pending
    dtm->Queue("IOL::Connect", "True");
    gui.CheckOnlineState();
    EXPECT_FALSE(gui.ConnectPending);
    gui.CheckOnlineState();
    gui.ConnectPending = true;
    dtm->Answer("ConnectionState", "ONLINE+,TRUE");  // only in RESET
    gui.CheckOnlineState();
    EXPECT_EQ(dtm->Count("IOL::Connect"), 2);
}

}  // namespace
}  // namespace kestrova
