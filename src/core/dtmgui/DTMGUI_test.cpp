#include "dtmgui/DTMGUI.h"

#include "dtmgui/testing/HostRig.h"

namespace kestrova {
namespace {

using testing::HostServices;
using Texts = std::vector<std::string>;
using Messages = std::vector<HostServices::Message>;

class DtmguiTest : public testing::HostFixture {
  protected:
    void SetUp() override {
        Fresh();
        bridge->Answer("GetProduct", "7c31COM3");
        services.Plug("7c31", "COM3");
        control = std::make_unique<DTMGUI>(services);
    }
    bool Init(const std::string& id, std::shared_ptr<IGuiBridge> dtm) {
        return control->Init("inv-7",
                             "<FDT xmlns=\"x-schema:DTMFunctionCallSchema.xml\"><FunctionCall "
                             "functionId=\"" +
                                 id + "\"/></FDT>",
                             dtm);
    }
    ui::Control& C(const char* name, int index = -1) { return (*control)(name, index); }
    // The plug check as the pages raise it.
    void RaiseCheck(bool force, int32_t state, bool present) {
        dynamic_cast<Page&>(C("UCGeneral1")).CheckProduct(force, state, present);
    }
    std::string Header() { return C("LabelInterface").Caption(); }
    std::string Status() { return C("StatusBar1").Panels()[0].Text; }

    std::unique_ptr<DTMGUI> control;
};

// The function-call forms, a business object failing during Init and the release are proven
// through the whole product by the scripts tests/e2e/function_*.khs.

TEST_F(DtmguiTest, MissingBusinessObjectFailsInitAndNothingElse) {
    EXPECT_FALSE(Init("2", nullptr));
    EXPECT_EQ(services.Messages,
              (Messages{{"Register fehler: Object required", ui::msgbox::OkOnly, ""}}));
    EXPECT_EQ(control->Gui().Dtm, nullptr);
    C("cmdClose").UserClick();
    EXPECT_TRUE(control->PrepareToRelease());
    EXPECT_EQ(services.Messages.size(), 1u);
}

class FailingRedraw : public DTMGUI {
  public:
    using DTMGUI::DTMGUI;

  protected:
    void Redraw() override { Raise(480, "Can't create AutoRedraw image"); }
};

TEST_F(DtmguiTest, FailedRedrawShowsThePageButDoesNotRegister) {
    control = std::make_unique<FailingRedraw>(services);
    EXPECT_FALSE(Init("1", bridge));
    EXPECT_EQ(services.Messages,
              (Messages{{"Can't create AutoRedraw image", ui::msgbox::OkOnly, ""}}));
    EXPECT_EQ(bridge->Calls("RegisterGui") + bridge->Count("IOL::Connect"), 0);
    ASSERT_NE(control->CurrentPage(), nullptr);
    EXPECT_EQ(Logged("RefreshContents:Start"), 1);
}

TEST_F(DtmguiTest, NodeOfTheShownPageDoesNotRefreshIt) {
    ASSERT_TRUE(Init("2", bridge));
    ui::Control& about = C("IOLinkAbout1");
    C("TreeMenu").UserNodeClick("K5");
    // Refreshed with none, its timer would start afresh.
    services.Clock.Set(services.Clock.NowMs() + 100);
    const int64_t due = about("Timer1").DueAt();
    C("TreeMenu").UserNodeClick("K5");
    EXPECT_TRUE(about.Visible());
    EXPECT_EQ(about("Timer1").DueAt(), due);
}

// A business object failing once while a page is entered must not end that page's polling:
// the unplug afterwards still reaches the status bar.
TEST_F(DtmguiTest, PageEnteredDuringAFailedCallKeepsPolling) {
    const char* const pages[][2] = {{"K2", "UCDeviceInfo1"},
                                    {"K3", "IOLinkData1"},
                                    {"K4", "IOLinkParam1"},
                                    {"K5", "IOLinkAbout1"},
                                    {"K1", "UCGeneral1"}};
    for (const auto& [node, name] : pages) {
        SCOPED_TRACE(name);
        SetUp();
        bridge->Answer("ConnectionState", "ONLINE+,TRUE");
        ASSERT_TRUE(Init("2", bridge));
        if (std::string_view(node) == "K1") C("TreeMenu").UserNodeClick("K5");
        bridge->FailOnce("GetProduct", 91, "gone");
        C("TreeMenu").UserNodeClick(node);
        ASSERT_EQ(control->CurrentPage(), &C(name));
        EXPECT_TRUE(C(name)("Timer1").Enabled());
        ui::AdvanceClock(*control, services.Clock, services.Clock.NowMs() + 1000);
        EXPECT_EQ(Status(), "Connected");

        bridge->Answer("ConnectionState", "OFFLINE,FALSE");
        bridge->Answer("GetProduct", "");
        services.Inventory.clear();
        ui::AdvanceClock(*control, services.Clock, services.Clock.NowMs() + 1000);
        EXPECT_EQ(Status(), "Disconnected");
    }
}

TEST_F(DtmguiTest, PlugCheckShowsTheMasterInUse) {
    ASSERT_TRUE(Init("1", bridge));
    services.Inventory.clear();  // nothing to adopt
    const std::string none = "kein Ger\xC3\xA4t testeckt bzw. verf\xC3\xBCgbar";
    // Shown: the header, then ImageLogo 0 to 2 and ImageLogos 1 and 2, then the product id.
    struct Row {
        const char* product;
        bool force, present;
        std::string shown;
        Texts log;
    };
    const Row rows[] = {{"7c33COM3", false, true, "Dravik IO-Link USB Master 00101 7c33", {}},
                        {"    COM3", false, true, "USB device not supported 10000 xxxx", {}},
                        // An unknown model leaves everything as the row before.
                        {"9a9aCOM3", false, true, "USB device not supported 10000 xxxx", {}},
                        {"", true, true, "USB device not supported 10000 ", {none}}};
    for (const Row& r : rows) {
        SCOPED_TRACE(r.product);
        bridge->Answer("GetProduct", r.product);
        bridge->ClearLog();
        RaiseCheck(r.force, 1, r.present);
        std::string shown = Header() + " ";
        for (ui::Control* c : {&C("ImageLogo", 0), &C("ImageLogo", 1), &C("ImageLogo", 2),
                               &C("ImageLogos", 1), &C("ImageLogos", 2)})
            shown += c->Visible() ? '1' : '0';
        EXPECT_EQ(shown + " " + control->Gui().ProductId, "Interface: " + r.shown);
        EXPECT_EQ(Log(), r.log);
    }
}

TEST_F(DtmguiTest, PresenceOfTheMasterIsVerifiedWhenForced) {
    ASSERT_TRUE(Init("1", bridge));
    RaiseCheck(false, 1, true);
    const int reads = services.InventoryReads;
    RaiseCheck(false, 1, true);  // same product, not forced
    EXPECT_EQ(services.InventoryReads, reads);
    RaiseCheck(true, 1, true);
    EXPECT_EQ(services.InventoryReads, reads + 1);
    EXPECT_EQ(control->Gui().ProductId, "7c31");

    // Gone from its port, with another master plugged: a connected DTM keeps its port.
    services.Inventory.clear();
    services.Plug("7c33", "COM5");
    control->Gui().DtmConnected = true;
    bridge->ClearLog();
    RaiseCheck(true, 3, false);
    EXPECT_EQ(Log(), (Texts{"Plugcheck wird durchgef\xC3\xBChrt mit 7c31COM3",
                            "Plugcheck war negativ", "Neues Device gefunden: COM5",
                            "kein Ger\xC3\xA4t testeckt bzw. verf\xC3\xBCgbar"}));
    EXPECT_TRUE(bridge->ItemsSet("USBDevice").empty());
    EXPECT_EQ(Header(), "Interface: USB device not connected");
}

TEST_F(DtmguiTest, StatusBarIsWrittenOncePerKnownState) {
    ASSERT_TRUE(Init("1", bridge));
    RaiseCheck(false, 6, true);
    EXPECT_EQ(Status(), "Disturbed");
    C("StatusBar1").SetPanelText(1, "scribble");
    RaiseCheck(false, 6, true);  // the same state again is not written again
    RaiseCheck(false, 7, true);  // above 6: nothing changes
    EXPECT_EQ(Status(), "scribble");
}

TEST_F(DtmguiTest, LanguagePassRewritesTheStatusInTheCurrentLanguage) {
    bridge->Answer("Language", 1031);
    ASSERT_TRUE(Init("3", bridge));
    Page& about = *control->CurrentPage();
    about.CheckProduct(false, 1, false);
    C("StatusBar1").SetPanelText(1, "scribble");
    about.LanguageChanged();
    EXPECT_EQ(Status(), "getrennt");
}

TEST(DtmguiNodeKey, KeysAndTextsOfBothLanguagesName) {
    const std::pair<const char*, const char*> cases[] = {
        {"k3", "K3"},
        {"Device Info", "K2"},                // the text the tree starts with
        {"device information", "K2"},         // shown in English
        {"Ger\xC3\xA4te Information", "K2"},  // shown in German
        {"IO-Link Daten", "K3"},
        {"Info \xC3\xBC"
         "ber",
         "K5"},
        {"Close", ""},  // a frame label, but no node
        {"K6", ""},
        {"", ""},
    };
    for (const auto& [text, key] : cases) EXPECT_EQ(DTMGUI::NodeKeyFor(text), key) << text;
}

}  // namespace
}  // namespace kestrova
