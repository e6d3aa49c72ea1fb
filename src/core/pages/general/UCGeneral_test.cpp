#include "pages/general/UCGeneral.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

#include "dtmgui/testing/HostRig.h"
#include "link/ClsGUI.h"
#include "link/testing/FakeBridge.h"

namespace kestrova {
namespace {

using testing::HostServices;

struct Raised {
    bool Force;
    int32_t State;
    bool Present;
    bool operator==(const Raised&) const = default;
};

class GeneralTest : public ::testing::Test {
  protected:
    void SetUp() override {
        // Also used to start afresh inside a table-driven test.
        page.reset();
        services = HostServices{};
        bridge = std::make_shared<FakeBridge>();
        gui = std::make_unique<ClsGUI>();
        raised.clear();
        onCheck = nullptr;
        languageEvents = 0;
        bridge->Answer("DTMDate", "2009-03-05");
        bridge->Answer("DTMVersion", "2.1.0");
        bridge->Answer("ConnectionState", "OFFLINE,FALSE");
        bridge->Answer("IOL::GetEvent", "EMPTY:");
        bridge->Answer("USBRevision", "1.4");
        gui->SetDtm(bridge);
        gui->Language = kEnglish;
        page = std::make_unique<UCGeneral>(services);
        page->CheckProduct = [this](bool force, int32_t state, bool present) {
            raised.push_back({force, state, present});
            if (onCheck) onCheck();
        };
        page->LanguageChanged = [this] { ++languageEvents; };
    }

    void Start() { page->RefreshContents(gui.get()); }
    void Ticks(int n = 1) {
        for (int i = 0; i < n; ++i)
            ui::AdvanceClock(*page, services.Clock, services.Clock.NowMs() + UCGeneral::kInterval);
    }
    ui::Control& C(const char* name) { return (*page)(name); }
    ui::Control& Combo() { return C("CBComPorts"); }
    std::vector<std::string> Log() const { return bridge->ItemsSet("LOGGER"); }
    bool Logged(const std::string& line) const {
        const auto log = Log();
        return std::find(log.begin(), log.end(), line) != log.end();
    }
    int LogCount(const std::string& line) const {
        const auto log = Log();
        return static_cast<int>(std::count(log.begin(), log.end(), line));
    }
    std::vector<std::string> Masters() {
        return {C("Label15").Caption(), C("Label14").Caption(), C("Label13").Caption()};
    }

    HostServices services;
    std::shared_ptr<FakeBridge> bridge = std::make_shared<FakeBridge>();
    std::unique_ptr<ClsGUI> gui;
    std::unique_ptr<UCGeneral> page;
    std::vector<Raised> raised;
    std::function<void()> onCheck;
    int languageEvents = 0;
};

TEST_F(GeneralTest, WithoutMasterTheComboShowsWhatIsMissing) {
    struct Row {
        int16_t language;
        const char* port;
        const char* entry;
        const char* master;
        const char* trace;
    };
    const Row rows[] = {
        {kEnglish, "", "USB device not connected", "USB device not connected",
         "CheckProduct 3: USB device not connected"},
        {kGerman, "", "USB Ger\xC3\xA4t nicht vorhanden", "USB Ger\xC3\xA4t nicht vorhanden",
         "CheckProduct 3: USB Ger\xC3\xA4t nicht vorhanden"},
        {kEnglish, "COM3", "COM3(not found)", "USB device not connected", "CheckProduct 4"},
        {kGerman, "COM3", "COM3(nicht gefunden)", "USB Ger\xC3\xA4t nicht vorhanden",
         "CheckProduct 4"},
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(r.entry);
        SetUp();
        raised.clear();
        gui->Language = r.language;
        gui->ActualDeviceIdentifier = r.port;
        Start();
        Ticks();
        EXPECT_EQ(Combo().List(), std::vector<std::string>{r.entry});
        EXPECT_EQ(Combo().ListIndex(), 0);
        EXPECT_EQ(Masters(), (std::vector<std::string>{r.master, "", ""}));
        EXPECT_TRUE(Logged("RefreshBoards:Ende false"));
        EXPECT_TRUE(Logged(r.trace));
        // The tick's own check, then the one of the selection: no master present.
        EXPECT_EQ(raised, (std::vector<Raised>{{true, 1, false}, {true, 1, false}}));
        // The port in use is kept as it was.
        EXPECT_EQ(gui->ActualDeviceIdentifier, r.port);
        EXPECT_TRUE(bridge->ItemsSet("USBDevice").empty());
    }
}

TEST_F(GeneralTest, SupportedMasterShowsPartNumberAndRevision) {
    struct Row {
        const char* pid;
        const char* part;
    };
    for (const Row& r : {Row{"7c31", "880731"}, Row{"7c33", "DV-LNK-0417"}, Row{"7c32", ""}}) {
        SCOPED_TRACE(r.pid);
        SetUp();
        services.Plug(r.pid, "COM3", "Some & Co IO-Link USB Master");
        gui->ActualDeviceIdentifier = "COM3";
        onCheck = [this, &r] { gui->ProductId = r.pid; };
        Start();
        Ticks();
        EXPECT_EQ(Combo().List(), std::vector<std::string>{"COM3"});
        EXPECT_EQ(Combo().ListIndex(), 0);
        EXPECT_EQ(Masters(),
                  (std::vector<std::string>{"Some && Co IO-Link USB Master", r.part, "1.4"}));
        EXPECT_TRUE(Logged("GetComPorts returns TRUE"));
        EXPECT_TRUE(Logged("CBComPorts_Click: 0:COM3"));
        EXPECT_TRUE(Logged("CheckProduct 4"));
    }
}

TEST_F(GeneralTest, FirstMasterIsTakenWhenNoPortIsKnown) {
    services.Plug("7c31", "COM5");
    services.Plug("7c33", "COM6");
    Start();
    Ticks();
    EXPECT_EQ(Combo().List(), (std::vector<std::string>{"COM5", "COM6"}));
    EXPECT_EQ(Combo().ListIndex(), 0);
    EXPECT_EQ(bridge->ItemsSet("USBDevice"), std::vector<std::string>{"COM5"});
    EXPECT_EQ(raised.back(), (Raised{true, 1, true}));
}

TEST_F(GeneralTest, PortMissingFromANewListIsAddedAsNotFound) {
    services.Plug("7c31", "COM3");
    gui->ActualDeviceIdentifier = "COM4";
    Start();
    Ticks();
    EXPECT_TRUE(Logged("Entry COM4 not found"));
    EXPECT_TRUE(Logged("RefreshBoards:Ende true"));
    EXPECT_EQ(Combo().List(), (std::vector<std::string>{"COM3", "COM4(not found)"}));
    EXPECT_EQ(Combo().ListIndex(), 1);
    EXPECT_EQ(C("Label15").Caption(), "USB device not connected");
}

TEST_F(GeneralTest, UnknownModelIsListedButNotTaken) {
    services.Plug("7c99", "COM6");
    Start();
    Ticks();
    EXPECT_EQ(page->Entries(), (PortList{{"COM6", "IO-Link USB Master (not supported)"}}));
    EXPECT_TRUE(Logged("CheckProduct 5"));
    EXPECT_EQ(raised.back(), (Raised{true, 1, true}));
    EXPECT_EQ(Masters(), (std::vector<std::string>{"IO-Link USB Master (not supported)", "", ""}));
    EXPECT_TRUE(bridge->ItemsSet("USBDevice").empty());
}

TEST_F(GeneralTest, SilentMasterMakesTheComboJumpBack) {
    services.Plug("7c31", "COM3");
    services.Plug("7c33", "COM4");
    gui->ActualDeviceIdentifier = "COM3";
    onCheck = [this] { gui->ProductId = gui->ActualDeviceIdentifier == "COM3" ? "7c31" : "7c33"; };
    Start();
    Ticks();
    ASSERT_EQ(Combo().ListIndex(), 0);

    bridge->Queue("USBRevision", "");  // COM4 does not answer
    Combo().UserPick(1);
    EXPECT_TRUE(Logged("Combo wieder setzen: count=2 old:0"));
    EXPECT_TRUE(Logged("Combo wieder setzen hat geklappt"));
    EXPECT_EQ(Combo().ListIndex(), 0);
    EXPECT_EQ(gui->ActualDeviceIdentifier, "COM3");
    EXPECT_EQ(Masters(), (std::vector<std::string>{"IO-Link USB Master", "880731", "1.4"}));
}

TEST_F(GeneralTest, SilentFirstMasterLeavesNoSelection) {
    services.Plug("7c31", "COM3");
    bridge->Answer("USBRevision", "");
    Start();
    Ticks();
    EXPECT_TRUE(Logged("Combo wieder setzen: count=1 old:-1"));
    EXPECT_EQ(Combo().ListIndex(), -1);
    EXPECT_EQ(Masters(), (std::vector<std::string>{"", "", ""}));
}

TEST_F(GeneralTest, PortIsLockedWhileAConnectionIsInUse) {
    struct Row {
        const char* word;
        int16_t state;
        bool locked;
    };
    const Row rows[] = {
        {"OFFLINE,FALSE", 1, false}, {"ONLINE-,FALSE", 2, true}, {"ONLINE+,FALSE", 3, true},
        {"SIO,FALSE", 4, true},      {"RESET,FALSE", 5, false},  {"ONLINE+,FALSE", 6, true},
        {"OFFLINE,TRUE", 1, true},  // the business object holds the link open
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(r.word);
        SetUp();
        services.Plug("7c31", "COM3");
        bridge->Answer("ConnectionState", r.word);
        if (r.state == 6) bridge->Queue("IOL::GetEvent", "OK:0,26,1,48,192,0,0");
        Start();
        for (int tick = 0; tick < 2; ++tick) {
            Ticks();
            EXPECT_EQ(gui->ConnectionStateCode, r.state);
            EXPECT_EQ(Combo().Enabled(), !r.locked) << "tick " << tick;
            EXPECT_EQ(C("Command1").Enabled(), !r.locked) << "tick " << tick;
        }
        EXPECT_EQ(LogCount("CheckProduct 1"), r.locked ? 2 : 0);
        if (r.locked) {
            EXPECT_NE(std::find(raised.begin(), raised.end(), Raised{false, r.state, true}),
                      raised.end());
        }
    }
}

TEST_F(GeneralTest, LampAndConnectionText) {
    struct Row {
        const char* word;
        ui::Color fill;
        const char* text;
    };
    const Row rows[] = {
        {"UNKNOWN,FALSE", UCGeneral::kDarkGrey, "Not connected"},  // state 0 keeps the lamp
        {"OFFLINE,FALSE", UCGeneral::kDarkGrey, "Not connected"},
        {"ONLINE+,TRUE", UCGeneral::kGreen, "Connected"},
        {"SIO,TRUE", UCGeneral::kGreen, "Connected"},
        {"RESET,FALSE", UCGeneral::kDarkGrey, "Connected"},
        {"UNKNOWN,FALSE", UCGeneral::kDarkGrey, "Connected"},  // the code stays 5
    };
    Start();
    for (const Row& r : rows) {
        bridge->Answer("ConnectionState", r.word);
        Ticks();
        EXPECT_EQ(C("ShapeConnected").FillColor(), r.fill) << r.word;
        EXPECT_EQ(C("Label6").Caption(), r.text) << r.word;
    }
    EXPECT_EQ(C("ShapeConnected").ShapeKind(), ui::kCircle);
}

TEST_F(GeneralTest, LampBlinksWhileConnecting) {
    bridge->Answer("ConnectionState", "ONLINE-,TRUE");
    Start();
    std::vector<ui::Color> fills;
    for (int i = 0; i < 8; ++i) {
        Ticks();
        fills.push_back(C("ShapeConnected").FillColor());
    }
    const ui::Color g = UCGeneral::kGreen, d = UCGeneral::kDarkGrey;
    EXPECT_EQ(fills, (std::vector<ui::Color>{g, d, d, g, g, d, d, g}));
    EXPECT_EQ(C("Label6").Caption(), "Connection request");
}

TEST_F(GeneralTest, OfflineDiscoveryRunsEveryFewTicks) {
    Start();
    Ticks(11);
    EXPECT_EQ(LogCount("RefreshBoards:Start"), 3);  // ticks 1, 6 and 11
    // A master plugged in meanwhile is found at the next run, and once more to confirm.
    services.Plug("7c31", "COM3");
    Ticks(5);
    EXPECT_EQ(Combo().List(), std::vector<std::string>{"COM3"});
    EXPECT_EQ(LogCount("RefreshBoards:Start"), 4);
    Ticks();
    EXPECT_EQ(LogCount("RefreshBoards:Start"), 5);
    EXPECT_TRUE(Logged("GetComPorts returns TRUE, but no change"));
}

TEST_F(GeneralTest, FirstTickSetsTheCaptionsOnce) {
    gui->Language = kGerman;
    Start();
    Ticks(3);
    EXPECT_EQ(languageEvents, 1);
    EXPECT_EQ(C("Information").Caption(), "Generelle Information");
    EXPECT_EQ(C("Frame2").Caption(), "USB Kommunikation");
    EXPECT_EQ(C("Label3").Caption(), "Artikelnummer");
    EXPECT_EQ(C("Command1").Caption(), "Aktualisieren");
    EXPECT_EQ(C("Label6").Caption(), "keine Verbindung");
    EXPECT_EQ(Combo().ToolTipText(),
              "Der COM-Port legt den IO-Link USB Master fest, der von dieser DTM-Instanz "
              "angesteuert wird");
}

TEST_F(GeneralTest, UpdateRereadsTheMasters) {
    Start();
    Ticks();
    services.Plug("7c33", "COM8");
    C("Command1").UserClick();
    EXPECT_EQ(Combo().List(), std::vector<std::string>{"COM8"});
    EXPECT_TRUE(C("Timer1").Enabled());
}

TEST_F(GeneralTest, FailuresNeitherThrowNorStopThePage) {
    Start();
    bridge->Fail("ConnectionState", 91, "gone");
    EXPECT_NO_THROW(Ticks(2));
    EXPECT_TRUE(C("Timer1").Enabled());
    bridge->FailSetItem("LOGGER", 91, "logger gone");
    EXPECT_NO_THROW(C("Command1").UserClick());
    ASSERT_EQ(services.Messages.size(), 1u);
    EXPECT_EQ(services.Messages[0].Text, "logger gone");
    EXPECT_TRUE(C("Timer1").Enabled());
}

TEST_F(GeneralTest, DetachedPageStops) {
    Start();
    Ticks();
    page->RefreshContents(nullptr);
    bridge->ClearLog();
    Ticks(5);
    EXPECT_TRUE(bridge->Log().empty());
    EXPECT_FALSE(C("Timer1").Enabled());
}

}  // namespace
}  // namespace kestrova
