#include "link/ClsGUI.h"

#include <gtest/gtest.h>

#include "link/testing/FakeBridge.h"
#include "tools/Vb.h"

namespace kestrova {
namespace {

class ClsGUITest : public ::testing::Test {
  protected:
    void Bind() {
        dtm->Answer("DTMDate", "2009-03-05");
        dtm->Answer("DTMVersion", "1.2.3 beta");
        gui.SetDtm(dtm);
        dtm->ClearLog();
    }
    // Queues one event whose code the device proxy then holds as its newest.
    void HoldEvent(int code) {
        dtm->Queue("IOL::GetEvent", "OK:1," + std::to_string(code) + ",4,48,192,0,0");
        ASSERT_TRUE(gui.Device.UpdateEvents());
    }

    std::shared_ptr<FakeBridge> dtm = std::make_shared<FakeBridge>();
    ClsGUI gui;
};

TEST_F(ClsGUITest, ProtocolId) {
    EXPECT_EQ(gui.ProtocolID(), "2C4CD8B8-D509-4ECB-94A7-019F12569C8B");
}

TEST_F(ClsGUITest, LabelLookupFallsBackToTheOtherLanguage) {
    gui.SetUILabel("GENInformation", "Information DE", "Information EN");
    gui.Language = kGerman;
    EXPECT_EQ(gui.GetUILabel("geninformation"), "Information DE");
    EXPECT_EQ(gui.GetUILabel("nowhere"), "unbekannt");
    gui.Language = kEnglish;
    EXPECT_EQ(gui.GetUILabel("GENINFORMATION"), "Information EN");
    EXPECT_EQ(gui.GetUILabel("nowhere"), "unknown");
    gui.Language = 0;  // anything but German reads English
    EXPECT_EQ(gui.GetUILabel("GENInformation"), "Information EN");
    EXPECT_TRUE(gui.HasUILabel("geninformation"));
    EXPECT_FALSE(gui.HasUILabel("nowhere"));
}

TEST_F(ClsGUITest, FirstRegistrationWins) {
    gui.SetUILabel("Key", "erst", "first");
    gui.SetUILabel("KEY", "zweit", "second");
    gui.Language = kGerman;
    EXPECT_EQ(gui.GetUILabel("key"), "erst");
    gui.Language = kEnglish;
    EXPECT_EQ(gui.GetUILabel("key"), "first");

    constexpr LabelText table[] = {
        {"T1", "one", "eins"}, {"t1", "uno", "una"}, {"T2", "two", "zwei"}};
    gui.SetUILabels(table);
    EXPECT_EQ(gui.GetUILabel("T1"), "one");
    gui.Language = kGerman;
    EXPECT_EQ(gui.GetUILabel("t2"), "zwei");
}

TEST_F(ClsGUITest, LanguageFromTheLocaleIdentifier) {
    gui.SetDtm(nullptr);
    EXPECT_EQ(gui.GetLanguage(), kEnglish);  // unbound: empty item
    Bind();
    const std::pair<Variant, int16_t> cases[] = {
        {Variant("1031"), kGerman},  {Variant(int32_t{2055}), kGerman},
        {Variant("3079"), kGerman},  {Variant("7"), kGerman},
        {Variant("&H407"), kGerman}, {Variant("1033"), kEnglish},
        {Variant("0"), kEnglish},    {Variant(""), kEnglish},
        {Variant(), kEnglish},       {Variant("de-DE"), kEnglish},
        {Variant("1e30"), kEnglish}, {Variant("-249"), kGerman},
        {Variant(true), kEnglish}};
    for (const auto& [item, language] : cases) {
        dtm->Answer("Language", item);
        gui.Language = 0;
        EXPECT_EQ(gui.GetLanguage(), language) << item.ToText();
        EXPECT_EQ(gui.Language, language) << item.ToText();
    }
}

TEST_F(ClsGUITest, BindingReadsDateAndVersion) {
    Bind();
    EXPECT_EQ(gui.Dtm, dtm);
    gui.Language = kGerman;
    EXPECT_EQ(gui.GetUILabel("Date"), "05.03.2009");
    EXPECT_EQ(gui.GetUILabel("Version"), "1.2.3 beta");
    gui.Language = kEnglish;
    EXPECT_EQ(gui.GetUILabel("Date"), "2009/3/5");
    EXPECT_EQ(gui.GetUILabel("Version"), "1.2.3 beta");
}

TEST(ClsGUIDate, DayLengthDependsOnTheTextLength) {
    struct Case {
        const char* item;
        const char* german;
        const char* english;
    };
    const Case cases[] = {
        {"2009-03-05", "05.03.2009", "2009/3/5"},    {"2009-03-5", "05.03.2009", "2009/3/5"},
        {"2012/12/31", "31.12.2012", "2012/12/31"},  {"2012-02-29", "29.02.2012", "2012/2/29"},
        {"2009-03-15xyz", "01.03.2009", "2009/3/1"},  // not ten long: one day character
    };
    for (const Case& c : cases) {
        auto dtm = std::make_shared<FakeBridge>();
        dtm->Answer("DTMDate", c.item);
        ClsGUI gui;
        gui.SetDtm(dtm);
        gui.Language = kGerman;
        EXPECT_EQ(gui.GetUILabel("Date"), c.german) << c.item;
        gui.Language = kEnglish;
        EXPECT_EQ(gui.GetUILabel("Date"), c.english) << c.item;
    }
}

TEST(ClsGUIDate, NonDatesRaiseAReadableConversionError) {
    for (const char* item :
         {"", "2009", "2009-03-", "yyyy-mm-dd", "2009-13-05", "2009-02-30", "2011-02-29",
          "2009-00-05", "2009-03-00", "20090305", "2009-+3-05", "2009-03-5 "}) {
        auto dtm = std::make_shared<FakeBridge>();
        dtm->Answer("DTMDate", item);
        ClsGUI gui;
        try {
            gui.SetDtm(dtm);
            ADD_FAILURE() << "accepted " << item;
        } catch (const VbError& e) {
            EXPECT_EQ(e.Number(), vberr::TypeMismatch) << item;
            EXPECT_NE(std::string(e.Description()).find(item), std::string::npos) << item;
        }
        EXPECT_FALSE(gui.HasUILabel("Date")) << item;
    }
}

TEST_F(ClsGUITest, UnboundDoesNothing) {
    EXPECT_EQ(gui.GetItem("USBDevice"), "");
    gui.LogEvent("lost");
    gui.CheckOnlineState();
    EXPECT_EQ(gui.ConnectionStateCode, 0);
    gui.SetActualDeviceIdentifier("COM4");
    EXPECT_EQ(gui.ActualDeviceIdentifier, "COM4");
    EXPECT_TRUE(dtm->Log().empty());
}

TEST_F(ClsGUITest, ItemsAndLogging) {
    Bind();
    dtm->Answer("USBDevice", int32_t{3});
    EXPECT_EQ(gui.GetItem("USBDevice"), "3");
    gui.LogEvent("Neues Device gefunden: x");
    EXPECT_EQ(dtm->ItemsSet("LOGGER"), std::vector<std::string>{"Neues Device gefunden: x"});

    gui.SetActualDeviceIdentifier("COM3");
    gui.SetActualDeviceIdentifier("COM3");  // unchanged: not written again
    gui.SetActualDeviceIdentifier("com3");  // exact comparison
    EXPECT_EQ(dtm->ItemsSet("USBDevice"), (std::vector<std::string>{"COM3", "com3"}));
    EXPECT_EQ(gui.ActualDeviceIdentifier, "com3");

    dtm->Fail("Broken", 440, "automation error");
    EXPECT_THROW(gui.GetItem("Broken"), VbError);
}

struct StateCase {
    const char* item;
    int16_t code;
    bool connected;
};

class ConnectionStateTest : public ClsGUITest, public ::testing::WithParamInterface<StateCase> {};

TEST_P(ConnectionStateTest, WordAndFlag) {
    Bind();
    gui.ConnectionStateCode = 5;
    gui.DtmConnected = true;
    dtm->Answer("ConnectionState", GetParam().item);
    gui.CheckOnlineState();
    EXPECT_EQ(gui.ConnectionStateCode, GetParam().code);
    EXPECT_EQ(gui.DtmConnected, GetParam().connected);
    EXPECT_EQ(gui.Device.SensorState, GetParam().code);
}

INSTANTIATE_TEST_SUITE_P(
    Words, ConnectionStateTest,
    ::testing::Values(StateCase{"OFFLINE,TRUE", 1, true}, StateCase{"online-,TRUE", 2, true},
                      StateCase{"ONLINE+,true", 3, false}, StateCase{"  Online+ , TRUE ", 3, true},
                      StateCase{"SIO", 4, false}, StateCase{"RESET,FALSE", 5, false},
                      StateCase{"UNKNOWN,TRUE", 5, true},  // unknown word keeps the code
                      StateCase{"", 5, false}, StateCase{"SIO,TRUE,x", 4, false},
                      StateCase{"SIO,TRUEX", 4, false}, StateCase{",TRUE", 5, true}));

TEST_F(ClsGUITest, WrongSensorEventMakesOnlinePlusWrong) {
    Bind();
    dtm->Answer("ConnectionState", "ONLINE+,TRUE");
    HoldEvent(26);
    gui.CheckOnlineState();
    EXPECT_EQ(gui.ConnectionStateCode, 6);
    HoldEvent(16);  // only the newest event counts
    gui.CheckOnlineState();
    EXPECT_EQ(gui.ConnectionStateCode, 3);
    HoldEvent(26);
    dtm->Answer("ConnectionState", "SIO,TRUE");  // only ONLINE+ looks at events
    gui.CheckOnlineState();
    EXPECT_EQ(gui.ConnectionStateCode, 4);
}

TEST_F(ClsGUITest, ResetRetriesAPendingConnect) {
    Bind();
    dtm->Answer("ConnectionState", "RESET,FALSE");
    gui.CheckOnlineState();  // nothing pending: no connect
    EXPECT_EQ(dtm->Count("IOL::Connect"), 0);
    EXPECT_EQ(dtm->Count("USBDevice"), 0);

    gui.ConnectPending = true;
    dtm->Answer("USBDevice", "COM3");
    dtm->Queue("IOL::Connect", "FALSE");
    gui.CheckOnlineState();
    EXPECT_TRUE(gui.ConnectPending);  // failed: still pending
    dtm->Queue("IOL::Connect", "True");
    gui.CheckOnlineState();
    EXPECT_FALSE(gui.ConnectPending);
    gui.CheckOnlineState();
    EXPECT_EQ(dtm->Count("IOL::Connect"), 2);

    gui.ConnectPending = true;
    dtm->Answer("ConnectionState", "ONLINE+,TRUE");  // only in RESET
    gui.CheckOnlineState();
    EXPECT_EQ(dtm->Count("IOL::Connect"), 2);
}

TEST_F(ClsGUITest, ReleasingTheBindingUnbindsTheDevice) {
    Bind();
    gui.SetDtm(nullptr);
    EXPECT_EQ(gui.Dtm, nullptr);
    gui.Device.SetSensorState(FOUND);
    Values data;
    EXPECT_EQ(gui.Device.ReadParameter(16, 0, data), -1);
    EXPECT_TRUE(dtm->Sent().empty());
}

}  // namespace
}  // namespace kestrova
