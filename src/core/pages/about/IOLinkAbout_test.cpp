#include "pages/about/IOLinkAbout.h"

#include <gtest/gtest.h>

#include <algorithm>

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

class AboutTest : public ::testing::Test {
  protected:
    void SetUp() override {
        page.reset();
        services = HostServices{};
        bridge = std::make_shared<FakeBridge>();
        gui = std::make_unique<ClsGUI>();
        raised.clear();
        bridge->Answer("DTMDate", "2009-03-05");
        bridge->Answer("DTMVersion", "2.1.0 R&D");
        bridge->Answer("ConnectionState", "OFFLINE,FALSE");
        bridge->Answer("USBRevision", "1.4");
        gui->SetDtm(bridge);
        gui->Language = kEnglish;
        page = std::make_unique<IOLinkAbout>(services);
        page->CheckProduct = [this](bool force, int32_t state, bool present) {
            raised.push_back({force, state, present});
        };
    }
    void Start() { page->RefreshContents(gui.get()); }
    void Ticks(int n = 1) {
        for (int i = 0; i < n; ++i)
            ui::AdvanceClock(*page, services.Clock,
                             services.Clock.NowMs() + IOLinkAbout::kInterval);
    }
    ui::Control& C(const char* name) { return (*page)(name); }
    std::vector<std::string> Vendor() {
        return {C("LabelVendor").Caption(), C("LabelService").Caption(), C("LabelUrl").Caption()};
    }
    std::vector<std::string> Log() const { return bridge->ItemsSet("LOGGER"); }

    HostServices services;
    std::shared_ptr<FakeBridge> bridge;
    std::unique_ptr<ClsGUI> gui;
    std::unique_ptr<IOLinkAbout> page;
    std::vector<Raised> raised;
};

TEST_F(AboutTest, IdentificationComesFromTheBinding) {
    for (int16_t language : {kEnglish, kGerman}) {
        SetUp();
        gui->Language = language;
        Start();
        EXPECT_EQ(C("Label6").Caption(), "2.1.0 R&&D");
        EXPECT_EQ(C("Label7").Caption(), language == kGerman ? "05.03.2009" : "2009/3/5");
        EXPECT_EQ(C("Command1").Caption(), language == kGerman ? "Datenblatt \xC3\xB6"
                                                                 "ffnen.."
                                                               : "Open data sheet..");
        EXPECT_EQ(C("Frame2").Caption(),
                  language == kGerman ? "Herstellerinformation" : "Vendor information");
    }
}

TEST_F(AboutTest, VendorBlockFollowsTheMaster) {
    const std::vector<std::string> please = {
        "Please connect one of the following IO-Link USB master:", "Halver+Voss IO-Link USB Master",
        "Dravik IO-Link USB Master"};
    const std::vector<std::string> halverVoss = {
        "\xC2\xA9 2009-2025 Halver+Voss GmbH && Co. KG\r\nAll rights reserved",
        "Service: +49 2351 555-0731", "URL: https://www.halver-voss.example"};
    const std::vector<std::string> dravik = {
        "\xC2\xA9 2011-2025 Dravik Automation AG\r\nAll rights reserved",
        "Service: +49 711 555-4172", "URL: https://www.dravik.example"};
    struct Row {
        const char* productId;
        std::vector<std::string> block;
    };
    const Row rows[] = {
        {"", please},     {"7c31", halverVoss}, {"9999", halverVoss},  // unknown: unchanged
        {"7c33", dravik}, {"7c32", please},     {"7c31", halverVoss}, {"xxxx", please},
    };
    Start();
    for (const Row& r : rows) {
        gui->ProductId = r.productId;
        Ticks();
        EXPECT_EQ(Vendor(), r.block) << r.productId;
    }
}

TEST_F(AboutTest, GermanVendorTexts) {
    gui->Language = kGerman;
    gui->ProductId = "7c33";
    Start();
    Ticks();
    EXPECT_EQ(C("LabelVendor").Caption(),
              "\xC2\xA9 2011-2025 Dravik Automation AG\r\nAlle Rechte vorbehalten");
    gui->ProductId = "7c32";
    Ticks();
    EXPECT_EQ(C("LabelVendor").Caption(),
              "bitte verbinden Sie einen der folgenden IO-Link USB Master:");
}

TEST_F(AboutTest, DataSheetByMasterAndLanguage) {
    struct Row {
        const char* productId;
        int16_t language;
        const char* file;  // empty: nothing to open
    };
    const Row rows[] = {
        {"7c31", kEnglish, "/opt/kestrova/Manual/880731_eng.pdf"},
        {"7c31", kGerman, "/opt/kestrova/Manual/880731_ger.pdf"},
        {"7c33", kEnglish, "/opt/kestrova/Manual/ds_4417209_eng_gb.pdf"},
        {"7c33", kGerman, "/opt/kestrova/Manual/ds_4417209_ger_de.pdf"},
        {"7c32", kGerman, "/opt/kestrova/Manual/Generic_Vantra_Master.pdf"},
        {"", kEnglish, "/opt/kestrova/Manual/Generic_Vantra_Master.pdf"},
        {"xxxx", kEnglish, "/opt/kestrova/Manual/Generic_Vantra_Master.pdf"},
        {"9999", kEnglish, ""},
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(std::string(r.productId) + " " + std::to_string(r.language));
        SetUp();
        gui->Language = r.language;
        gui->ProductId = r.productId;
        Start();
        bridge->ClearLog();
        C("Command1").UserClick();
        const std::string file = r.file;
        if (file.empty()) {
            EXPECT_EQ(Log(), std::vector<std::string>{"PDF Filename = "});
            EXPECT_TRUE(services.OpenCommandAsked.empty());
            EXPECT_TRUE(services.Starts.empty());
        } else {
            EXPECT_EQ(Log(), (std::vector<std::string>{
                                 "PDF Filename = " + file, "PDF-Applikation: /usr/bin/evince",
                                 "PDF-Shell-Aufruf: /usr/bin/evince \"" + file + "\""}));
            EXPECT_EQ(services.OpenCommandAsked, std::vector<std::string>{".PDF"});
            EXPECT_EQ(services.Starts,
                      (std::vector<HostServices::Start>{{"/usr/bin/evince", file}}));
        }
        EXPECT_TRUE(services.Messages.empty());
    }
}

TEST_F(AboutTest, NoPdfApplicationIsExplained) {
    for (bool lookupFails : {false, true}) {
        SetUp();
        gui->ProductId = "7c32";
        services.PdfApplication = "";
        services.OpenCommandFails = lookupFails;
        Start();
        C("Command1").UserClick();
        EXPECT_TRUE(services.Starts.empty());
        EXPECT_EQ(
            services.Messages,
            (std::vector<HostServices::Message>{{"There is no application registered for PDF files",
                                                 ui::msgbox::Information, "IO-Link USB Master"}}));
        const auto log = Log();
        EXPECT_EQ(std::count(log.begin(), log.end(),
                             "Fehler bei LiefereRegistrierteApplikation: no association table"),
                  lookupFails ? 1 : 0);
    }
}

TEST_F(AboutTest, FailedStartIsReported) {
    gui->ProductId = "7c31";
    services.StartSucceeds = false;
    Start();
    C("Command1").UserClick();
    ASSERT_EQ(services.Messages.size(), 1u);
    EXPECT_EQ(services.Messages[0].Title, "IO-Link USB Master");
    EXPECT_NE(services.Messages[0].Text.find("880731_eng.pdf"), std::string::npos);
}

TEST_F(AboutTest, StateEventOnChangeAndWhileOffline) {
    Start();
    bridge->Answer("ConnectionState", "ONLINE-,TRUE");
    Ticks(2);
    bridge->Answer("ConnectionState", "ONLINE+,TRUE");
    Ticks(2);
    bridge->Answer("ConnectionState", "OFFLINE,FALSE");
    Ticks(2);
    EXPECT_EQ(raised,
              (std::vector<Raised>{
                  {false, 2, false}, {false, 3, false}, {true, 1, false}, {true, 1, false}}));
}

TEST_F(AboutTest, NewMasterIsHandedToTheBusinessObject) {
    services.Plug("7c33", "COM5");
    Start();
    Ticks();  // fills the vendor block for "no master"
    bridge->ClearLog();
    Ticks();
    EXPECT_EQ(Log(), (std::vector<std::string>{"Neues Device gefunden: COM5",
                                               "IsDtmConnected=FALSE", "USB-Revision:1.4"}));
    EXPECT_EQ(bridge->ItemsSet("USBDevice"), std::vector<std::string>{"COM5"});

    // A connected DTM keeps its master.
    gui->ActualDeviceIdentifier = "COM3";
    bridge->Answer("ConnectionState", "OFFLINE,TRUE");
    bridge->ClearLog();
    Ticks();
    EXPECT_EQ(Log(), std::vector<std::string>{"Neues Device gefunden: COM5"});
}

TEST_F(AboutTest, TickFailureEndsOnlyThatTick) {
    Start();
    bridge->Fail("ConnectionState", 91, "gone");
    EXPECT_NO_THROW(Ticks(2));
    EXPECT_TRUE(C("Timer1").Enabled());
    page->RefreshContents(nullptr);
    EXPECT_FALSE(C("Timer1").Enabled());
}

}  // namespace
}  // namespace kestrova
