#include "pages/general/UCGeneral.h"

#include "dtmgui/testing/HostRig.h"

namespace kestrova {
namespace {

using testing::Raised;
using Texts = std::vector<std::string>;

class GeneralTest : public testing::PageFixture<UCGeneral> {
  protected:
    ui::Control& Combo() { return C("CBComPorts"); }
    Texts Masters() {
        return {C("Label15").Caption(), C("Label14").Caption(), C("Label13").Caption()};
    }
};

TEST_F(GeneralTest, WithoutMasterTheComboShowsWhatIsMissing) {
    const std::string none = "USB device not connected", keine = "USB Ger\xC3\xA4t nicht vorhanden";
    struct Row {
        int16_t language;
        const char* port;
        std::string entry, master, trace;
    };
    const Row rows[] = {{kEnglish, "", none, none, "CheckProduct 3: " + none},
                        {kGerman, "", keine, keine, "CheckProduct 3: " + keine},
                        {kEnglish, "COM3", "COM3(not found)", none, "CheckProduct 4"},
                        {kGerman, "COM3", "COM3(nicht gefunden)", keine, "CheckProduct 4"}};
    for (const Row& r : rows) {
        SCOPED_TRACE(r.entry);
        Reset(r.language);
        int languageEvents = 0;
        page->LanguageChanged = [&] { ++languageEvents; };
        gui->ActualDeviceIdentifier = r.port;
        Start();
        Ticks(2);
        EXPECT_EQ(Combo().List(), Texts{r.entry});
        EXPECT_EQ(Combo().ListIndex(), 0);
        EXPECT_EQ(Masters(), (Texts{r.master, "", ""}));
        EXPECT_EQ(Logged("RefreshBoards:Ende false"), 1);
        EXPECT_EQ(Logged(r.trace), 1);
        // The tick's own check, then the one of the selection: no master present.
        EXPECT_EQ(raised, (std::vector<Raised>{{true, 1, false}, {true, 1, false}}));
        // The port in use is kept as it was.
        EXPECT_EQ(gui->ActualDeviceIdentifier, r.port);
        EXPECT_TRUE(bridge->ItemsSet("USBDevice").empty());
        EXPECT_EQ(languageEvents, 1);  // captions are set once
    }
}

TEST_F(GeneralTest, FirstMasterIsTakenWhenNoPortIsKnown) {
    services.Plug("7c33", "COM5", "Some & Co IO-Link USB Master");
    services.Plug("7c31", "COM6");
    onCheck = [this] { gui->ProductId = gui->ActualDeviceIdentifier == "COM5" ? "7c33" : ""; };
    Start();
    Ticks();
    EXPECT_EQ(Combo().List(), (Texts{"COM5", "COM6"}));
    EXPECT_EQ(Combo().ListIndex(), 0);
    EXPECT_EQ(bridge->ItemsSet("USBDevice"), Texts{"COM5"});
    EXPECT_EQ(raised.back(), Raised(true, 1, true));
    EXPECT_EQ(Masters(), (Texts{"Some && Co IO-Link USB Master", "DV-LNK-0417", "1.4"}));
}

TEST_F(GeneralTest, PortMissingFromANewListIsAddedAsNotFound) {
    services.Plug("7c31", "COM3");
    gui->ActualDeviceIdentifier = "COM4";
    Start();
    Ticks();
    EXPECT_EQ(Logged("Entry COM4 not found") + Logged("RefreshBoards:Ende true"), 2);
    EXPECT_EQ(Combo().List(), (Texts{"COM3", "COM4(not found)"}));
    EXPECT_EQ(Combo().ListIndex(), 1);
    EXPECT_EQ(C("Label15").Caption(), "USB device not connected");
}

TEST_F(GeneralTest, UnknownModelIsListedButNotTaken) {
    services.Plug("7c99", "COM6");
    Start();
    Ticks(3);
    EXPECT_EQ(page->Entries(), (PortList{{"COM6", "IO-Link USB Master (not supported)"}}));
    EXPECT_EQ(raised.back(), Raised(true, 1, true));
    EXPECT_EQ(Masters(), (Texts{"IO-Link USB Master (not supported)", "", ""}));
    EXPECT_TRUE(bridge->ItemsSet("USBDevice").empty());
    // Every read with it counts as a change, so offline the list is read on every tick.
    EXPECT_EQ(Logged("RefreshBoards:Start"), 3);
    EXPECT_EQ(Logged("CheckProduct 5"), 3);
}

TEST_F(GeneralTest, SilentMasterMakesTheComboJumpBack) {
    services.Plug("7c31", "COM3");
    services.Plug("7c33", "COM4");
    onCheck = [this] { gui->ProductId = gui->ActualDeviceIdentifier == "COM3" ? "7c31" : "7c33"; };
    Start();
    Ticks();
    ASSERT_EQ(Combo().ListIndex(), 0);
    bridge->Queue("USBRevision", "");  // COM4 does not answer
    Combo().UserPick(1);
    EXPECT_EQ(
        Logged("Combo wieder setzen: count=2 old:0") + Logged("Combo wieder setzen hat geklappt"),
        2);
    EXPECT_EQ(Combo().ListIndex(), 0);
    EXPECT_EQ(gui->ActualDeviceIdentifier, "COM3");
    EXPECT_EQ(Masters(), (Texts{"IO-Link USB Master", "880731", "1.4"}));

    // Without an entry that worked before, no entry stays selected.
    Reset();
    services.Plug("7c31", "COM3");
    bridge->Answer("USBRevision", "");
    Start();
    Ticks();
    EXPECT_EQ(Logged("Combo wieder setzen: count=1 old:-1"), 1);
    EXPECT_EQ(Combo().ListIndex(), -1);
    EXPECT_EQ(Masters(), (Texts{"", "", ""}));
}

// Lamp, text and lock through the states the simulated master passes are proven by
// tests/e2e/status_bar.khs; these are the states it does not reach on this page.
TEST_F(GeneralTest, PortIsLockedWhileAConnectionIsInUse) {
    // SIO, and a link the business object holds open while offline.
    for (const char* word : {"SIO,FALSE", "OFFLINE,TRUE"}) {
        SCOPED_TRACE(word);
        Reset();
        services.Plug("7c31", "COM3");
        bridge->Answer("ConnectionState", word);
        Start();
        for (int tick = 0; tick < 2; ++tick) {
            Ticks();
            EXPECT_FALSE(Combo().Enabled() || C("Command1").Enabled());
        }
        EXPECT_EQ(Logged("CheckProduct 1"), 2);
        // Only the second tick knows the master is there.
        const int16_t state = gui->ConnectionStateCode;
        EXPECT_EQ(std::count(raised.begin(), raised.end(), Raised(false, state, true)), 1);
    }
}

TEST_F(GeneralTest, LampAndConnectionText) {
    const ui::Color g = UCGeneral::kGreen, d = UCGeneral::kDarkGrey;
    // State 0 keeps the lamp, and the code stays 5 on UNKNOWN. Connecting blinks, counted
    // from its first tick: two ticks green, two dark grey.
    const std::tuple<const char*, ui::Color, const char*> rows[] = {
        {"UNKNOWN,FALSE", d, "Not connected"},     {"SIO,TRUE", g, "Connected"},
        {"RESET,FALSE", d, "Connected"},           {"UNKNOWN,FALSE", d, "Connected"},
        {"ONLINE-,TRUE", g, "Connection request"}, {"ONLINE-,TRUE", d, "Connection request"},
        {"ONLINE-,TRUE", d, "Connection request"}, {"ONLINE-,TRUE", g, "Connection request"},
        {"ONLINE-,TRUE", g, "Connection request"}, {"ONLINE-,TRUE", d, "Connection request"}};
    Start();
    for (const auto& [word, fill, text] : rows) {
        bridge->Answer("ConnectionState", word);
        Ticks();
        EXPECT_EQ(C("ShapeConnected").FillColor(), fill) << word;
        EXPECT_EQ(C("Label6").Caption(), text) << word;
    }
}

TEST_F(GeneralTest, OfflineDiscoveryRunsEveryFewTicks) {
    Start();
    Ticks(11);
    EXPECT_EQ(Logged("RefreshBoards:Start"), 3);  // ticks 1, 6 and 11
    // A master plugged in meanwhile is found at the next run, and read once more to confirm.
    services.Plug("7c31", "COM3");
    Ticks(5);
    EXPECT_EQ(Combo().List(), Texts{"COM3"});
    EXPECT_EQ(Logged("RefreshBoards:Start"), 4);
    Ticks();
    EXPECT_EQ(Logged("RefreshBoards:Start"), 5);
    EXPECT_EQ(Logged("GetComPorts returns TRUE, but no change"), 1);
}

TEST_F(GeneralTest, FailedUpdateIsShown) {
    Start();
    bridge->FailSetItem("LOGGER", 91, "logger gone");
    EXPECT_NO_THROW(C("Command1").UserClick());
    EXPECT_EQ(
        services.Messages,
        (std::vector<testing::HostServices::Message>{{"logger gone", ui::msgbox::OkOnly, ""}}));
    EXPECT_TRUE(C("Timer1").Enabled());
}

}  // namespace
}  // namespace kestrova
