#include "dtmgui/DTMGUI.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "dtmgui/testing/HostRig.h"
#include "link/testing/FakeBridge.h"

namespace kestrova {
namespace {

using testing::HostServices;

constexpr ui::Color kTreeBack = 0xE1DAD5;
constexpr ui::Color kSelectedBack = ui::Rgb(49, 106, 197);
constexpr ui::Color kWhite = ui::Rgb(255, 255, 255);

std::string FunctionCall(const std::string& value) {
    return "<FDT xmlns=\"x-schema:DTMFunctionCallSchema.xml\"><FunctionCall functionId=" + value +
           " /></FDT>";
}

class DtmguiTest : public ::testing::Test {
  protected:
    void SetUp() override {
        // Also used to start afresh inside a table-driven test.
        control.reset();
        services = HostServices{};
        bridge = std::make_shared<FakeBridge>();
        bridge->Answer("DTMDate", "2009-03-05");
        bridge->Answer("DTMVersion", "2.1.0");
        bridge->Answer("Language", 1033);
        bridge->Answer("USBDevice", "COM3");
        bridge->Answer("IOL::Connect", "TRUE");
        bridge->Answer("ConnectionState", "OFFLINE,FALSE");
        bridge->Answer("IOL::GetEvent", "EMPTY:");
        bridge->Answer("GetProduct", "7c31COM3");
        bridge->Answer("USBRevision", "1.4");
        services.Plug("7c31", "COM3");
        control = std::make_unique<DTMGUI>(services);
    }

    bool Init(const std::string& value) {
        return control->Init("inv-7", FunctionCall(value), bridge);
    }
    ui::Control& C(const char* name, int index = -1) { return (*control)(name, index); }
    Page& PageNamed(const char* name) { return dynamic_cast<Page&>(C(name)); }
    std::vector<std::string> NodeKeys() {
        std::vector<std::string> keys;
        for (const auto& n : C("TreeMenu").Nodes()) keys.push_back(n.Key);
        return keys;
    }
    std::vector<std::string> Log() const { return bridge->ItemsSet("LOGGER"); }
    bool Logged(const std::string& line) const {
        const auto log = Log();
        return std::find(log.begin(), log.end(), line) != log.end();
    }
    // The plug check as the pages raise it.
    void RaiseCheck(bool force, int32_t state, bool present) {
        PageNamed("UCGeneral1").CheckProduct(force, state, present);
    }
    std::string Header() { return C("LabelInterface").Caption(); }
    std::string StatusText() { return C("StatusBar1").Panels()[0].Text; }
    std::string StatusIcon() { return C("StatusBar1").Panels()[0].Picture; }
    std::vector<bool> Logos() {
        return {C("ImageLogo", 0).Visible(), C("ImageLogo", 1).Visible(),
                C("ImageLogo", 2).Visible(), C("ImageLogos", 1).Visible(),
                C("ImageLogos", 2).Visible()};
    }

    HostServices services;
    std::shared_ptr<FakeBridge> bridge = std::make_shared<FakeBridge>();
    std::unique_ptr<DTMGUI> control;
};

TEST_F(DtmguiTest, InitPicksNodesAndStartPageByFunctionId) {
    struct Row {
        const char* value;
        bool result;
        std::vector<std::string> nodes;
        const char* page;
        const char* log;
        const char* message;
    };
    const Row rows[] = {
        {"\"1\"", true, {"K1", "K5"}, "UCGeneral1", "FUNCID_CONFIGURE ausgew\xC3\xA4hlt", nullptr},
        {"\"2\"",
         true,
         {"K1", "K2", "K3", "K4", "K5"},
         "UCGeneral1",
         "FUNCID_EXPERT ausgew\xC3\xA4hlt",
         nullptr},
        {"\" 3 \"", true, {"K5"}, "IOLinkAbout1", "FUNCID_ABOUT ausgew\xC3\xA4hlt", nullptr},
        // Only double quotes delimit the value.
        {"'2'", false, {}, nullptr, nullptr, nullptr},
        {"\"4\"", false, {}, nullptr, nullptr, nullptr},
        {"\"x\"", false, {}, nullptr, nullptr, "Register fehler: Type mismatch"},
        {"\"70000\"", false, {}, nullptr, nullptr, "Register fehler: Overflow"},
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(r.value);
        SetUp();
        EXPECT_EQ(Init(r.value), r.result);
        EXPECT_EQ(NodeKeys(), r.nodes);
        Page* page = control->CurrentPage();
        if (r.page) {
            ASSERT_NE(page, nullptr);
            EXPECT_EQ(page->Name(), r.page);
            EXPECT_TRUE(page->Visible());
            EXPECT_EQ(C("TreeMenu").SelectedKey(), r.nodes.front());
            EXPECT_EQ(C("TreeMenu").FindNode(r.nodes.front())->BackColor, kSelectedBack);
            EXPECT_EQ(C("TreeMenu").FindNode(r.nodes.front())->ForeColor, kWhite);
            EXPECT_TRUE(Logged(r.log));
            EXPECT_EQ(bridge->Log().front(), (FakeBridge::Call{"SendCommand", "DTMDate", {}}));
            EXPECT_EQ(bridge->Calls("RegisterGui"), 1);
            EXPECT_EQ(std::count(bridge->Log().begin(), bridge->Log().end(),
                                 FakeBridge::Call{"RegisterGui", DTMGUI::kProgId, "inv-7"}),
                      1);
            EXPECT_EQ(bridge->Count("IOL::Connect"), 1);
            EXPECT_EQ(control->Gui().Dtm, bridge);
            EXPECT_EQ(control->Gui().ActualDeviceIdentifier, "COM3");
            EXPECT_EQ(control->Gui().Language, kEnglish);
            EXPECT_FALSE(control->Gui().ConnectPending);
        } else {
            EXPECT_EQ(page, nullptr);
            EXPECT_EQ(bridge->Calls("RegisterGui"), 0);
            EXPECT_EQ(bridge->Count("IOL::Connect"), 0);
            EXPECT_EQ(control->Gui().Dtm, nullptr);
        }
        if (r.message)
            EXPECT_EQ(services.Messages,
                      (std::vector<HostServices::Message>{{r.message, ui::msgbox::OkOnly, ""}}));
        else
            EXPECT_TRUE(services.Messages.empty());
    }
}

TEST_F(DtmguiTest, FunctionCallWithoutSchemaOrValueFailsQuietly) {
    const std::string calls[] = {
        "<FunctionCall functionId=\"1\"/>",                                      // no schema
        "<FDT xmlns=\"X-SCHEMA:DTMFunctionCallSchema.xml\" functionId=\"1\"/>",  // schema case
        "<FDT xmlns=\"x-schema:DTMFunctionCallSchema.xml\"/>",                   // no functionId
        "<FDT xmlns=\"x-schema:DTMFunctionCallSchema.xml\" functionId=1/>",      // no quote at all
        "<FDT xmlns=\"x-schema:DTMFunctionCallSchema.xml\" functionId=\"1/>",    // one quote
    };
    for (const std::string& call : calls) {
        SCOPED_TRACE(call);
        SetUp();
        EXPECT_FALSE(control->Init("inv", call, bridge));
        EXPECT_TRUE(services.Messages.empty());
        EXPECT_EQ(control->Gui().Dtm, nullptr);
        EXPECT_EQ(bridge->Calls("RegisterGui"), 0);
        EXPECT_EQ(control->CurrentPage(), nullptr);
    }
}

TEST_F(DtmguiTest, FunctionIdIsFoundWithoutRegardToCase) {
    EXPECT_TRUE(control->Init(
        "i", "<x xmlns=\"x-schema:DTMFunctionCallSchema.xml\" FUNCTIONID=\"3\"/>", bridge));
    EXPECT_EQ(NodeKeys(), std::vector<std::string>{"K5"});
}

TEST_F(DtmguiTest, BusinessObjectFailingInTheMiddleOfInit) {
    bridge->Fail("Language", 91, "Object variable not set");
    EXPECT_FALSE(Init("\"2\""));
    EXPECT_EQ(services.Messages,
              (std::vector<HostServices::Message>{
                  {"Register fehler: Object variable not set", ui::msgbox::OkOnly, ""}}));
    EXPECT_EQ(control->Gui().Dtm, nullptr);
    EXPECT_EQ(bridge->Calls("RegisterGui"), 0);
    EXPECT_EQ(bridge->Count("IOL::Connect"), 0);
    // Released after the failure, nothing is sent and nothing fails.
    bridge->ClearLog();
    EXPECT_TRUE(control->PrepareToRelease());
    EXPECT_TRUE(bridge->Log().empty());
}

TEST_F(DtmguiTest, MissingBusinessObjectIsReported) {
    EXPECT_FALSE(control->Init("i", FunctionCall("\"1\""), nullptr));
    ASSERT_EQ(services.Messages.size(), 1u);
    EXPECT_EQ(services.Messages[0].Text, "Register fehler: Object required");
    EXPECT_TRUE(control->PrepareToRelease());
}

TEST_F(DtmguiTest, MasterNotPluggedLeavesTheConnectionPending) {
    // Without a master the business object names no device, so the connect is not even sent.
    bridge->Answer("USBDevice", "");
    EXPECT_TRUE(Init("\"1\""));
    EXPECT_TRUE(control->Gui().ConnectPending);
    EXPECT_EQ(bridge->Count("IOL::Connect"), 0);
    EXPECT_EQ(bridge->Calls("RegisterGui"), 1);

    SetUp();
    bridge->Answer("IOL::Connect", "False");
    EXPECT_TRUE(Init("\"1\""));
    EXPECT_TRUE(control->Gui().ConnectPending);
}

class FailingRedraw : public DTMGUI {
  public:
    using DTMGUI::DTMGUI;

  protected:
    void Redraw() override { Raise(480, "Can't create AutoRedraw image"); }
};

TEST_F(DtmguiTest, FailedRedrawShowsThePageButDoesNotRegister) {
    control = std::make_unique<FailingRedraw>(services);
    EXPECT_FALSE(Init("\"1\""));
    EXPECT_EQ(services.Messages, (std::vector<HostServices::Message>{
                                     {"Can't create AutoRedraw image", ui::msgbox::OkOnly, ""}}));
    EXPECT_EQ(bridge->Calls("RegisterGui"), 0);
    EXPECT_EQ(bridge->Count("IOL::Connect"), 0);
    ASSERT_NE(control->CurrentPage(), nullptr);
    EXPECT_EQ(control->CurrentPage()->Name(), "UCGeneral1");
    EXPECT_TRUE(Logged("RefreshContents:Start"));
}

TEST_F(DtmguiTest, PrepareToReleaseUndoesInit) {
    ASSERT_TRUE(Init("\"1\""));
    Page& general = PageNamed("UCGeneral1");
    bridge->ClearLog();
    EXPECT_TRUE(control->PrepareToRelease());
    EXPECT_EQ(bridge->Log(), (std::vector<FakeBridge::Call>{{"SendCommand", "IOL::Disconnect", {}},
                                                            {"UnregisterGui", "inv-7", {}},
                                                            {"NotifyGuiReleased", {}, {}}}));
    EXPECT_EQ(control->Gui().Dtm, nullptr);
    EXPECT_EQ(control->CurrentPage(), nullptr);
    EXPECT_FALSE(general.Visible());
    EXPECT_FALSE(general("Timer1").Enabled());
    // Nothing polls any more.
    bridge->ClearLog();
    ui::AdvanceClock(*control, services.Clock, 5000);
    EXPECT_TRUE(bridge->Log().empty());
}

TEST_F(DtmguiTest, PrepareToReleaseIgnoresBusinessObjectFailures) {
    ASSERT_TRUE(Init("\"1\""));
    bridge->Fail("IOL::Disconnect", 91, "gone");
    EXPECT_TRUE(control->PrepareToRelease());
    EXPECT_EQ(bridge->Calls("UnregisterGui"), 1);
    EXPECT_EQ(bridge->Calls("NotifyGuiReleased"), 1);
    EXPECT_TRUE(services.Messages.empty());
}

TEST_F(DtmguiTest, CloseAsksTheFrameToCloseTheGui) {
    C("cmdClose").UserClick();  // before Init: nothing to ask, nothing fails
    ASSERT_TRUE(Init("\"3\""));
    C("cmdClose").UserClick();
    EXPECT_EQ(bridge->Log().back(), (FakeBridge::Call{"CloseGui", "inv-7", {}}));
}

TEST_F(DtmguiTest, TreeClicksSwitchPagesAndPaintTheSelection) {
    ASSERT_TRUE(Init("\"2\""));
    ui::Control& tree = C("TreeMenu");
    Page& general = PageNamed("UCGeneral1");
    Page& about = PageNamed("IOLinkAbout1");

    tree.UserNodeClick("K5");
    EXPECT_EQ(control->CurrentPage(), &about);
    EXPECT_FALSE(general.Visible());
    EXPECT_TRUE(about.Visible());
    EXPECT_FALSE(general("Timer1").Enabled());  // refreshed with none
    EXPECT_TRUE(about("Timer1").Enabled());
    EXPECT_EQ(tree.FindNode("K5")->BackColor, kSelectedBack);
    EXPECT_EQ(tree.FindNode("K1")->BackColor, kTreeBack);
    EXPECT_EQ(tree.FindNode("K1")->ForeColor, ui::syscolor::WindowText);

    // The shown page's node again: no refresh with none (its timer keeps its due time).
    services.Clock.Set(services.Clock.NowMs() + 100);
    const int64_t due = about("Timer1").DueAt();
    tree.UserNodeClick("K5");
    EXPECT_TRUE(about.Visible());
    EXPECT_EQ(about("Timer1").DueAt(), due);

    for (const auto& [key, name] :
         {std::pair{"K2", "UCDeviceInfo1"}, std::pair{"K3", "IOLinkData1"},
          std::pair{"K4", "IOLinkParam1"}, std::pair{"K1", "UCGeneral1"}}) {
        tree.UserNodeClick(key);
        ASSERT_NE(control->CurrentPage(), nullptr);
        EXPECT_EQ(control->CurrentPage()->Name(), name);
        EXPECT_EQ(tree.FindNode(key)->BackColor, kSelectedBack);
        int shown = 0;
        for (const char* p :
             {"UCGeneral1", "UCDeviceInfo1", "IOLinkData1", "IOLinkParam1", "IOLinkAbout1"})
            shown += C(p).Visible();
        EXPECT_EQ(shown, 1);
    }
    EXPECT_TRUE(services.Messages.empty());
}

TEST_F(DtmguiTest, PagesSitInThePageFrame) {
    ASSERT_TRUE(Init("\"1\""));
    ui::Control& work = C("FrmWork");
    ui::Control& page = C("UCGeneral1");
    EXPECT_EQ(page.Left(), work.Left() + 75);
    EXPECT_EQ(page.Top(), work.Top() + 150);
    EXPECT_EQ(page.Width(), work.Width() - 150);
    EXPECT_EQ(page.Height(), work.Height() - 225);
}

TEST_F(DtmguiTest, ResizeKeepsTheMinimumAndLaysOutTheParts) {
    ASSERT_TRUE(Init("\"1\""));
    struct Row {
        int32_t w, h, expectW, expectH;
    };
    for (const Row& r : {Row{5000, 3000, 7500, 4500}, Row{7499, 9000, 7500, 9000},
                         Row{12000, 4499, 12000, 4500}, Row{10500, 7500, 10500, 7500}}) {
        control->Move(0, 0, r.w, r.h);
        EXPECT_EQ(control->Width(), r.expectW);
        EXPECT_EQ(control->Height(), r.expectH);
        ui::Control& work = C("FrmWork");
        ui::Control& menu = C("frmMenu");
        ui::Control& close = C("cmdClose");
        const int32_t band = 150 + close.Height() + C("StatusBar1").Height();
        EXPECT_EQ(menu.Height(), r.expectH - menu.Top() - band);
        EXPECT_EQ(work.Width(), r.expectW - work.Left() - 75);
        EXPECT_EQ(work.Height(), r.expectH - work.Top() - band);
        EXPECT_EQ(close.Left(), r.expectW - 75 - close.Width());
        EXPECT_EQ(close.Top(), work.Top() + work.Height() + 75);
        for (int i = 1; i <= 2; ++i)
            EXPECT_EQ(C("ImageLogos", i).Left() + C("ImageLogos", i).Width(),
                      work.Left() + work.Width() - 15);
        EXPECT_EQ(C("UCGeneral1").Width(), work.Width() - 150);
        EXPECT_EQ(C("StatusBar1").Top() + C("StatusBar1").Height(), r.expectH);
        // The header text never runs under the partner logos.
        EXPECT_LE(C("LabelInterface").Left() + C("LabelInterface").Width(),
                  C("ImageLogos", 1).Left());
    }
}

TEST_F(DtmguiTest, PlugCheckShowsTheBrandOfTheMaster) {
    ASSERT_TRUE(Init("\"1\""));
    struct Row {
        const char* product;
        const char* header;
        std::vector<bool> logos;
        const char* productId;
    };
    const Row rows[] = {
        {"7c31COM3",
         "Interface: Halver+Voss IO-Link USB Master",
         {false, true, false, true, false},
         "7c31"},
        {"7c32COM3",
         "Interface: Ostrel IO-Link USB Master",
         {true, false, false, false, false},
         "7c32"},
        {"7c33COM3",
         "Interface: Dravik IO-Link USB Master",
         {false, false, true, false, true},
         "7c33"},
        {"    COM3",
         "Interface: USB device not supported",
         {true, false, false, false, false},
         "xxxx"},
        // An unknown model leaves everything as the row before.
        {"9a9aCOM3",
         "Interface: USB device not supported",
         {true, false, false, false, false},
         "xxxx"},
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(r.product);
        bridge->Answer("GetProduct", r.product);
        RaiseCheck(false, 1, true);
        EXPECT_EQ(Header(), r.header);
        EXPECT_EQ(Logos(), r.logos);
        EXPECT_EQ(control->Gui().ProductId, r.productId);
    }
}

TEST_F(DtmguiTest, UnpluggedMasterWithForce) {
    ASSERT_TRUE(Init("\"1\""));
    RaiseCheck(false, 1, true);
    ASSERT_EQ(control->Gui().ProductId, "7c31");
    services.UnplugAll();
    for (bool present : {false, true}) {
        bridge->ClearLog();
        RaiseCheck(true, 1, present);
        EXPECT_EQ(Log(),
                  (std::vector<std::string>{"Plugcheck wird durchgef\xC3\xBChrt mit 7c31COM3",
                                            "Plugcheck war negativ",
                                            "kein Ger\xC3\xA4t testeckt bzw. verf\xC3\xBCgbar"}));
        EXPECT_EQ(Header(), present ? "Interface: USB device not supported"
                                    : "Interface: USB device not connected");
        EXPECT_EQ(control->Gui().ProductId, "");
        EXPECT_EQ(Logos(), (std::vector<bool>{true, false, false, false, false}));
    }
}

TEST_F(DtmguiTest, PresenceIsVerifiedOnlyWhenForcedOrChanged) {
    ASSERT_TRUE(Init("\"1\""));
    RaiseCheck(false, 1, true);
    const int reads = services.InventoryReads;
    RaiseCheck(false, 1, true);  // same product, not forced
    EXPECT_EQ(services.InventoryReads, reads);
    RaiseCheck(true, 1, true);
    EXPECT_EQ(services.InventoryReads, reads + 1);
    EXPECT_EQ(control->Gui().ProductId, "7c31");
    // A failing inventory counts as an unplugged master.
    services.InventoryFails = true;
    RaiseCheck(true, 1, false);
    EXPECT_EQ(Header(), "Interface: USB device not connected");
}

TEST_F(DtmguiTest, AnotherMasterPluggedWhileNotConnectedIsAdopted) {
    ASSERT_TRUE(Init("\"1\""));
    services.UnplugAll();
    services.Plug("7c99", "COM4");  // an unknown model is never adopted
    services.Plug("7c33", "COM5");
    bridge->Queue("GetProduct", "");
    bridge->Answer("GetProduct", "7c33COM5");
    bridge->ClearLog();
    RaiseCheck(true, 1, true);
    EXPECT_EQ(Log(), (std::vector<std::string>{"Neues Device gefunden: COM5",
                                               "IsDtmConnected=FALSE", "USB-Revision:1.4"}));
    EXPECT_EQ(bridge->ItemsSet("USBDevice"), std::vector<std::string>{"COM5"});
    EXPECT_EQ(control->Gui().ActualDeviceIdentifier, "COM5");
    EXPECT_EQ(Header(), "Interface: Dravik IO-Link USB Master");
    EXPECT_EQ(control->Gui().ProductId, "7c33");
}

TEST_F(DtmguiTest, ConnectedDtmKeepsItsMaster) {
    ASSERT_TRUE(Init("\"1\""));
    services.UnplugAll();
    services.Plug("7c33", "COM5");
    bridge->Answer("GetProduct", "");
    control->Gui().DtmConnected = true;
    RaiseCheck(true, 3, false);
    EXPECT_TRUE(Logged("Neues Device gefunden: COM5"));
    EXPECT_FALSE(Logged("IsDtmConnected=FALSE"));
    EXPECT_TRUE(bridge->ItemsSet("USBDevice").empty());
    EXPECT_EQ(Header(), "Interface: USB device not connected");
}

TEST_F(DtmguiTest, StatusBarFollowsTheStateOncePerChange) {
    ASSERT_TRUE(Init("\"1\""));
    struct Row {
        int32_t state;
        const char* text;
        const char* icon;
    };
    const Row rows[] = {
        {1, "Disconnected", "lamp_off"},
        {2, "Connecting", "lamp_connecting"},
        {3, "Connected", "lamp_on"},
        {4, "Connected", "lamp_on"},
        {5, "Standby", "lamp_off"},
        {6, "Disturbed", "lamp_off"},
        {7, "Disturbed", "lamp_off"},  // above 6: nothing changes
        {0, "", "lamp_off"},
    };
    for (const Row& r : rows) {
        RaiseCheck(false, r.state, true);
        EXPECT_EQ(StatusText(), r.text) << r.state;
        EXPECT_EQ(StatusIcon(), r.icon) << r.state;
    }
    RaiseCheck(false, 3, true);
    C("StatusBar1").SetPanelText(1, "scribble");
    RaiseCheck(false, 3, true);  // the same state again is not written again
    EXPECT_EQ(StatusText(), "scribble");
    EXPECT_EQ(C("StatusBar1").Panels()[1].Text, "Device");
}

TEST_F(DtmguiTest, LanguagePassRewritesTheFrameTexts) {
    bridge->Answer("Language", 1031);
    ASSERT_TRUE(Init("\"2\""));
    RaiseCheck(false, 1, false);
    EXPECT_EQ(StatusText(), "getrennt");
    C("StatusBar1").SetPanelText(1, "scribble");
    PageNamed("UCGeneral1").LanguageChanged();
    ui::Control& tree = C("TreeMenu");
    std::vector<std::string> texts;
    for (const auto& n : tree.Nodes()) texts.push_back(n.Text);
    EXPECT_EQ(texts, (std::vector<std::string>{"\xC3\x9C"
                                               "berblick",
                                               "Ger\xC3\xA4te Information", "IO-Link Daten",
                                               "IO-Link Parameter",
                                               "Info \xC3\xBC"
                                               "ber"}));
    EXPECT_EQ(C("cmdClose").Caption(), "Schliessen");
    EXPECT_EQ(C("LabelDescription").Caption(), "IO-Link-zu-USB Interface");
    EXPECT_EQ(C("StatusBar1").Panels()[1].Text, "Ger\xC3\xA4t");
    EXPECT_EQ(StatusText(), "getrennt");
}

TEST_F(DtmguiTest, LanguagePassWithFewNodes) {
    ASSERT_TRUE(Init("\"3\""));
    PageNamed("IOLinkAbout1").LanguageChanged();
    ASSERT_EQ(C("TreeMenu").Nodes().size(), 1u);
    EXPECT_EQ(C("TreeMenu").Nodes()[0].Text, "About");
}

}  // namespace
}  // namespace kestrova
