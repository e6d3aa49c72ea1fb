#include "pages/about/IOLinkAbout.h"

#include "dtmgui/testing/HostRig.h"

namespace kestrova {
namespace {

using testing::Raised;
using Texts = std::vector<std::string>;

using AboutTest = testing::PageFixture<IOLinkAbout>;

// The vendor block and the data sheet of each master, in both languages, are proven by the
// scripts tests/e2e/about_*.khs.

TEST_F(AboutTest, UnknownMasterLeavesTheVendorBlock) {
    Start();
    EXPECT_EQ(C("Label6").Caption(), "2.1.0 R&&D");
    gui->ProductId = "7c33";
    Ticks();
    gui->ProductId = "9999";
    Ticks();
    EXPECT_EQ(C("LabelUrl").Caption(), "URL: https://www.dravik.example");
}

TEST_F(AboutTest, DataSheetWithoutFileOrApplication) {
    services.OpenCommandFails = true;
    Start();
    gui->ProductId = "9999";
    C("Command1").UserClick();
    EXPECT_EQ(Log(), Texts{"PDF Filename = "});
    EXPECT_TRUE(services.OpenCommandAsked.empty());

    gui->ProductId = "7c32";
    bridge->ClearLog();
    C("Command1").UserClick();
    EXPECT_EQ(Log(), (Texts{"PDF Filename = /opt/kestrova/Manual/Generic_Vantra_Master.pdf",
                            "Fehler bei LiefereRegistrierteApplikation: no association table"}));
    EXPECT_EQ(services.OpenCommandAsked, Texts{".PDF"});
    EXPECT_TRUE(services.Starts.empty());
    EXPECT_EQ(services.Messages, (std::vector<testing::HostServices::Message>{
                                     {"There is no application registered for PDF files",
                                      ui::msgbox::Information, "IO-Link USB Master"}}));
}

TEST_F(AboutTest, StateEventOnChangeAndWhileOffline) {
    Start();
    for (const char* word : {"ONLINE-,TRUE", "ONLINE+,TRUE", "OFFLINE,FALSE"}) {
        bridge->Answer("ConnectionState", word);
        Ticks(2);
    }
    EXPECT_EQ(raised,
              (std::vector<Raised>{
                  {false, 2, false}, {false, 3, false}, {true, 1, false}, {true, 1, false}}));
    // A failing tick ends only itself.
    bridge->Fail("ConnectionState", 91, "gone");
    EXPECT_NO_THROW(Ticks(2));
    EXPECT_TRUE(C("Timer1").Enabled());
}

TEST_F(AboutTest, NewMasterIsHandedToTheBusinessObject) {
    services.Plug("7c33", "COM5");
    Start();
    Ticks();  // fills the vendor block for "no master"
    bridge->ClearLog();
    Ticks();
    EXPECT_EQ(Log(),
              (Texts{"Neues Device gefunden: COM5", "IsDtmConnected=FALSE", "USB-Revision:1.4"}));
    EXPECT_EQ(bridge->ItemsSet("USBDevice"), Texts{"COM5"});
    // A connected DTM keeps its master.
    gui->ActualDeviceIdentifier = "COM3";
    bridge->Answer("ConnectionState", "OFFLINE,TRUE");
    bridge->ClearLog();
    Ticks();
    EXPECT_EQ(Log(), Texts{"Neues Device gefunden: COM5"});
}

}  // namespace
}  // namespace kestrova
