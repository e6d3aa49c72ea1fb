#include "dtmgui/DTMGUI.h"

#include <algorithm>
#include <exception>

#include "link/EventCatalogue.h"
#include "link/IOLinkComm.h"
#include "pages/about/IOLinkAbout.h"
#include "pages/common/PanelSupport.h"
#include "pages/deviceinfo/UCDeviceInfo.h"
#include "pages/general/UCGeneral.h"
#include "pages/iolinkdata/IOLinkData.h"
#include "pages/iolinkparam/IOLinkParam.h"
#include "tools/Discovery.h"
#include "tools/TextHelpers.h"
#include "tools/Vb.h"

namespace kestrova {

namespace {

constexpr const char* kSchema = "x-schema:DTMFunctionCallSchema.xml";

// Colours of the navigation tree.
constexpr ui::Color kTreeBack = 0xE1DAD5;  // RGB(213,218,225)
constexpr ui::Color kSelectedBack = ui::Rgb(49, 106, 197);
constexpr ui::Color kSelectedText = ui::Rgb(255, 255, 255);

// Layout, in twips.
constexpr int32_t kMargin = 75;
constexpr int32_t kHeaderHeight = 900;
constexpr int32_t kMenuWidth = 2300;
constexpr int32_t kStatusHeight = 315;
constexpr int32_t kHeaderTextWidth = 5400;

// The pages of the control: one row each, created in this order. A page whose row is missing
// here simply opens nothing from its node.
struct PageSlot {
    const char* Name;
    Page& (*Create)(DTMGUI& host, ui::Services& services, const char* name);
};
template <class P>
Page& MakePage(DTMGUI& host, ui::Services& services, const char* name) {
    return host.Add<P>(services, name);
}
const PageSlot kPages[] = {
    {"UCGeneral1", &MakePage<UCGeneral>},     {"UCDeviceInfo1", &MakePage<UCDeviceInfo>},
    {"IOLinkData1", &MakePage<IOLinkData>},   {"IOLinkParam1", &MakePage<IOLinkParam>},
    {"IOLinkAbout1", &MakePage<IOLinkAbout>},
};

// The tree nodes: key, text at creation, label key of the text, page control opened.
struct NodeSlot {
    const char* Key;
    const char* Text;
    const char* LabelKey;
    const char* Page;
};
const NodeSlot kNodes[] = {
    {"K1", "General", "FRMGeneral", "UCGeneral1"},
    {"K2", "Device Info", "FRMDeviceInfo", "UCDeviceInfo1"},
    {"K3", "IO-Link Data", "FRMIoLinkData", "IOLinkData1"},
    {"K4", "IO-Link Parameter", "FRMIoLinkParameter", "IOLinkParam1"},
    {"K5", "About", "FRMAbout", "IOLinkAbout1"},
};

// Frame, status and interface labels.
const LabelText kFrameLabels[] = {
    {"FRMCmdClose", "Close", "Schliessen"},
    {"FRMGeneral", "General",
     "\xC3\x9C"
     "berblick"},
    {"FRMDeviceInfo", "Device Information", "Ger\xC3\xA4te Information"},
    {"FRMIoLinkData", "IO-Link Data", "IO-Link Daten"},
    {"FRMIoLinkParameter", "IO-Link Parameter", "IO-Link Parameter"},
    {"FRMAbout", "About",
     "Info \xC3\xBC"
     "ber"},
    {"FRMDESCRIPTION", "IO-Link-to-USB Interface", "IO-Link-zu-USB Interface"},
    {"STATConnecting", "Connecting", "verbinden"},
    {"STATConnected", "Connected", "verbunden"},
    {"STATDisconnected", "Disconnected", "getrennt"},
    {"STATStandby", "Standby", "Standby"},
    {"STATDisturbed", "Disturbed", "gest\xC3\xB6rt"},
    {"STATDevice", "Device", "Ger\xC3\xA4t"},
    {"FRMInterNoName", "USB device not supported", "USB Ger\xC3\xA4t nicht unterst\xC3\xBCtzt"},
    {"FRMInterNotFound", "USB device not connected", "USB Ger\xC3\xA4t nicht vorhanden"},
};

// Images of ImageList1, by image number.
const char* const kStateIcons[] = {"", "lamp_off", "lamp_connecting", "lamp_on"};
const char* const kLogos[] = {"logo_ostrel", "logo_halvervoss", "logo_dravik"};
const char* const kSmallLogos[] = {"", "logo_halvervoss_small", "logo_dravik_small"};

// Runs one step and forgets its failure.
template <class Fn>
void Ignoring(Fn&& fn) {
    try {
        fn();
    } catch (...) {
    }
}

}  // namespace

struct DTMGUI::Impl {
    std::unique_ptr<ClsGUI> gui;
    std::string invokeId;
    Page* currentPage = nullptr;
    std::string previousNode;  // key of the node painted as selected; empty for none
    std::string lastProduct;
    int16_t lastShownState = 0;
    bool lastPresent = false;
    bool frameLabels = false;

    ui::Control* tree = nullptr;
    ui::Control* menu = nullptr;
    ui::Control* work = nullptr;
    ui::Control* close = nullptr;
    ui::Control* status = nullptr;
    ui::Control* labelInterface = nullptr;
    ui::Control* labelDescription = nullptr;
    ui::Control* logo[3] = {};
    ui::Control* smallLogo[3] = {};  // elements 1 and 2
};

std::string DTMGUI::NodeKeyFor(std::string_view keyOrText) {
    for (const NodeSlot& n : kNodes) {
        if (IEquals(keyOrText, n.Key) || IEquals(keyOrText, n.Text)) return n.Key;
        for (const LabelText& label : kFrameLabels)
            if (IEquals(label.Key, n.LabelKey) &&
                (IEquals(keyOrText, label.English) || IEquals(keyOrText, label.German)))
                return n.Key;
    }
    return {};
}

DTMGUI::DTMGUI(ui::Services& services)
    : ui::UserControl("DTMGUI"), impl_(std::make_unique<Impl>()), services_(services) {
    Impl& d = *impl_;
    SetClock(&services.GetClock());

    // Header: the brand logo on the left, the interface and its description beside it, the
    // small partner logos right-aligned with the page frame.
    for (int i = 0; i < 3; ++i) {
        d.logo[i] = &AddControl(ui::Kind::Image, "ImageLogo", i);
        d.logo[i]->Move(kMargin, kMargin, kMenuWidth, kHeaderHeight - 2 * kMargin);
        d.logo[i]->SetPicture(kLogos[i]);
        d.logo[i]->SetVisible(i == 0);
    }
    const int32_t textLeft = 2 * kMargin + kMenuWidth;
    d.labelInterface = &AddControl(ui::Kind::Label, "LabelInterface");
    d.labelInterface->Move(textLeft, 135, kHeaderTextWidth, 330);
    d.labelInterface->SetFontBold(true);
    d.labelInterface->SetFontSize(8.25);
    d.labelDescription = &AddControl(ui::Kind::Label, "LabelDescription");
    d.labelDescription->Move(textLeft, 495, kHeaderTextWidth, 285);
    d.labelDescription->SetCaption("IO-Link-to-USB Interface");
    for (int i = 1; i <= 2; ++i) {
        d.smallLogo[i] = &AddControl(ui::Kind::Image, "ImageLogos", i);
        d.smallLogo[i]->Move(0, kMargin, 1500, kHeaderHeight - 2 * kMargin);
        d.smallLogo[i]->SetPicture(kSmallLogos[i]);
        d.smallLogo[i]->SetVisible(false);
    }

    d.menu = &AddControl(ui::Kind::Frame, "frmMenu");
    d.menu->Move(kMargin, kHeaderHeight, kMenuWidth, 4500);
    d.tree = &AddControl(ui::Kind::TreeView, "TreeMenu");
    d.tree->SetBackColor(kTreeBack);
    d.tree->NodeClick = [this](const std::string& key) { NodeClicked(key); };

    d.work = &AddControl(ui::Kind::Frame, "FrmWork");
    d.work->Move(textLeft, kHeaderHeight, 6000, 4500);

    d.close = &AddControl(ui::Kind::CommandButton, "cmdClose");
    d.close->Move(0, 0, 1200, 375);
    d.close->SetCaption("Close");
    d.close->Click = [this] { CloseClicked(); };

    d.status = &AddControl(ui::Kind::StatusBar, "StatusBar1");
    d.status->Move(0, 0, kDesignWidth, kStatusHeight);
    d.status->AddPanel("", 2400);
    d.status->AddPanel("Device", 7000);
    d.status->SetPanelPicture(1, kStateIcons[1]);

    for (const PageSlot& slot : kPages) {
        Page& page = slot.Create(*this, services, slot.Name);
        page.SetVisible(false);
        page.LanguageChanged = [this] { LanguagePass(); };
        page.CheckProduct = [this](bool force, int32_t state, bool present) {
            PlugCheck(force, state, present);
        };
        page.Activity = [](bool) {};
    }

    Move(0, 0, kDesignWidth, kDesignHeight);
}

DTMGUI::~DTMGUI() {
    // Pages stop their timers and let go of the binding before it goes.
    for (const auto& child : Children())
        if (auto* page = dynamic_cast<Page*>(child.get()))
            Ignoring([page] { page->RefreshContents(nullptr); });
    impl_->gui.reset();
}

ClsGUI& DTMGUI::Gui() {
    if (!impl_->gui) impl_->gui = std::make_unique<ClsGUI>();
    return *impl_->gui;
}

Page* DTMGUI::CurrentPage() const {
    return impl_->currentPage;
}

void DTMGUI::Unbind() {
    Ignoring([this] { Gui().SetDtm(nullptr); });
    Gui().Dtm = nullptr;
}

bool DTMGUI::Init(const std::string& invokeId, const std::string& functionCall,
                  std::shared_ptr<IGuiBridge> dtm) {
    Impl& d = *impl_;
    bool result = false;
    try {
        if (functionCall.find(kSchema) == std::string::npos) {
            Unbind();
            return false;
        }
        ClsGUI& gui = Gui();
        d.lastProduct.clear();
        gui.SetDtm(dtm);
        IolInitEventTable(gui);

        // The function id is the first quoted value after "functionId".
        constexpr size_t npos = std::string::npos;
        const size_t at = IFind(functionCall, "functionId");
        const size_t open = at == npos ? npos : functionCall.find('"', at);
        const size_t close = open == npos ? npos : functionCall.find('"', open + 1);
        if (close == npos) {
            Unbind();
            return false;
        }
        gui.FunctionId =
            CInt(std::string_view(Trim(functionCall.substr(open + 1, close - open - 1))));
        d.lastShownState = 0;

        if (!dtm) Raise(vberr::ObjectRequired);
        gui.ActualDeviceIdentifier = dtm->SendCommand("USBDevice").ToText();
        gui.GetLanguage();
        d.tree->ClearNodes();
        d.previousNode.clear();

        switch (gui.FunctionId) {
            case 1:
                AddNode("K1");
                AddNode("K5");
                ShowPage("ucGeneral1", "K1");
                PaintSelectedNode();
                gui.LogEvent("FUNCID_CONFIGURE ausgew\xC3\xA4hlt");
                break;
            case 2:
                for (const NodeSlot& n : kNodes) AddNode(n.Key);
                ShowPage("ucGeneral1", "K1");
                d.tree->SelectNode("K1");
                PaintSelectedNode();
                gui.LogEvent("FUNCID_EXPERT ausgew\xC3\xA4hlt");
                break;
            case 3:
                AddNode("K5");
                ShowPage("iolinkabout1", "K5");
                PaintSelectedNode();
                gui.LogEvent("FUNCID_ABOUT ausgew\xC3\xA4hlt");
                break;
            default:
                Unbind();
                return false;
        }

        d.invokeId = invokeId;
        if (PrepareControl()) {
            dtm->RegisterGui(kProgId, invokeId);
            result = true;
            // Without the master the connect fails; the binding retries it on the next RESET.
            if (!IolConnect(*gui.Dtm)) gui.ConnectPending = true;
        }
        if (d.currentPage) d.currentPage->RefreshContents(&gui);
        return result;
    } catch (const std::exception& e) {
        services_.MsgBox(std::string("Register fehler: ") + e.what(), ui::msgbox::OkOnly, "");
        Unbind();
        return false;
    }
}

bool DTMGUI::PrepareToRelease() {
    Impl& d = *impl_;
    ClsGUI& gui = Gui();
    if (std::shared_ptr<IGuiBridge> dtm = gui.Dtm) {
        Ignoring([&] { IolDisconnect(*dtm); });
        Ignoring([&] { dtm->UnregisterGui(d.invokeId); });
        Ignoring([&] { dtm->NotifyGuiReleased(); });
    }
    Unbind();
    if (Page* page = d.currentPage) {
        Ignoring([page] { page->RefreshContents(nullptr); });
        Ignoring([page] { page->SetVisible(false); });
        d.currentPage = nullptr;
    }
    return true;
}

void DTMGUI::CloseClicked() {
    Ignoring([this] {
        if (impl_->gui && impl_->gui->Dtm) impl_->gui->Dtm->CloseGui(impl_->invokeId);
    });
}

bool DTMGUI::PrepareControl() {
    try {
        Redraw();
        return true;
    } catch (const std::exception& e) {
        services_.MsgBox(e.what(), ui::msgbox::OkOnly, "");
        return false;
    }
}

void DTMGUI::Redraw() {
    Layout(true);
}

void DTMGUI::AddNode(const char* key) {
    for (const NodeSlot& n : kNodes) {
        if (std::string_view(n.Key) != key) continue;
        impl_->tree->AddNode(n.Key, n.Text);
        impl_->tree->SetNodeColors(n.Key, kTreeBack, ui::syscolor::WindowText);
    }
}

void DTMGUI::SetTreeBackColor() {
    impl_->tree->SetBackColor(kTreeBack);
}

void DTMGUI::ShowPage(const std::string& name, const std::string& key) {
    Impl& d = *impl_;
    SetTreeBackColor();
    auto* page = dynamic_cast<Page*>(Find(name));
    if (!page || page == d.currentPage) return;
    if (d.currentPage) {
        d.currentPage->RefreshContents(nullptr);
        d.currentPage->SetVisible(false);
    }
    d.currentPage = page;
    PlacePage();
    page->SetVisible(true);
    d.tree->SelectNode(key);
}

void DTMGUI::PaintSelectedNode() {
    Impl& d = *impl_;
    const std::string selected = d.tree->SelectedKey();
    if (!d.previousNode.empty() && d.previousNode != selected && d.tree->FindNode(d.previousNode))
        d.tree->SetNodeColors(d.previousNode, kTreeBack, ui::syscolor::WindowText);
    if (selected.empty()) return;
    d.tree->SetNodeColors(selected, kSelectedBack, kSelectedText);
    d.previousNode = selected;
}

void DTMGUI::NodeClicked(const std::string& key) {
    Impl& d = *impl_;
    const NodeSlot* node = nullptr;
    for (const NodeSlot& n : kNodes)
        if (key == n.Key) node = &n;
    if (!node) return;
    // A user action: its failure is reported, the control stays usable.
    try {
        ShowPage(node->Page, key);
        if (d.gui && d.currentPage) d.currentPage->RefreshContents(d.gui.get());
    } catch (const std::exception& e) {
        services_.MsgBox(e.what(), ui::msgbox::OkOnly, "");
    }
    PaintSelectedNode();
}

void DTMGUI::RegisterFrameLabels() {
    Impl& d = *impl_;
    if (d.frameLabels) return;
    Gui().SetUILabels(kFrameLabels);
    d.frameLabels = true;
}

void DTMGUI::LanguagePass() {
    Impl& d = *impl_;
    ClsGUI& gui = Gui();
    RegisterFrameLabels();
    for (const NodeSlot& n : kNodes)
        if (d.tree->FindNode(n.Key)) d.tree->SetNodeText(n.Key, gui.GetUILabel(n.LabelKey));
    d.close->SetCaption(CaptionText(gui.GetUILabel("FRMCmdClose")));
    d.labelDescription->SetCaption(CaptionText(gui.GetUILabel("FRMDESCRIPTION")));
    d.status->SetPanelText(2, gui.GetUILabel("STATDevice"));
    // The status text is written again in the current language.
    const int16_t shown = d.lastShownState;
    d.lastShownState = 0;
    PlugCheck(false, shown, d.lastPresent);
}

void DTMGUI::PlugCheck(bool force, int32_t state, bool present) {
    Impl& d = *impl_;
    std::string product = d.gui ? d.gui->GetItem("GetProduct") : std::string{};
    d.lastPresent = present;
    RegisterFrameLabels();
    if (force || product != d.lastProduct) {
        ClsGUI& gui = Gui();
        const std::string id = product.substr(0, 4);
        if (!id.empty() && id != "    " && force) {
            gui.LogEvent("Plugcheck wird durchgef\xC3\xBChrt mit " + product);
            // The master must still be on the port the business object uses.
            if (!IsMasterPresent(services_, id + gui.ActualDeviceIdentifier)) {
                gui.LogEvent("Plugcheck war negativ");
                product.clear();
            }
        }
        if (product.empty() && pages::AdoptNewMaster(services_, gui))
            product = gui.GetItem("GetProduct");
        d.lastProduct = product;
        ShowProduct(product.substr(0, 4), present);
    }
    if (state != d.lastShownState) {
        ShowState(state);
        d.lastShownState = static_cast<int16_t>(state);
    }
}

void DTMGUI::ShowProduct(const std::string& id, bool present) {
    Impl& d = *impl_;
    ClsGUI& gui = Gui();
    std::string text;
    int logo = 0, smallLogo = 0;
    std::string productId;
    if (id.empty()) {
        text = gui.GetUILabel(present ? "FRMInterNoName" : "FRMInterNotFound");
        gui.LogEvent("kein Ger\xC3\xA4t testeckt bzw. verf\xC3\xBCgbar");
    } else if (id == "    ") {
        text = gui.GetUILabel("FRMInterNoName");
        productId = "xxxx";
    } else if (const ProductInfo* p = FindProduct(id)) {
        text = p->DisplayName;
        logo = p->Logo;
        smallLogo = p->SmallLogo;
        productId = p->ShortId;
    } else {
        return;  // an unknown master leaves the header as it is
    }
    for (int i = 0; i < 3; ++i) d.logo[i]->SetVisible(i == logo);
    for (int i = 1; i <= 2; ++i) d.smallLogo[i]->SetVisible(i == smallLogo);
    d.labelInterface->SetCaption(CaptionText("Interface: " + text));
    gui.ProductId = productId;
}

void DTMGUI::ShowState(int32_t state) {
    Impl& d = *impl_;
    const char* key = nullptr;
    int icon = 1;
    switch (state) {
        case 0:
            break;
        case 1:
            key = "STATDisConnected";
            break;
        case 2:
            key = "STATConnecting", icon = 2;
            break;
        case 3:
        case 4:
            key = "STATConnected", icon = 3;
            break;
        case 5:
            key = "STATStandby";
            break;
        case 6:
            key = "STATDisturbed";
            break;
        default:
            return;
    }
    d.status->SetPanelText(1, key ? Gui().GetUILabel(key) : std::string{});
    d.status->SetPanelPicture(1, kStateIcons[icon]);
}

void DTMGUI::PlacePage() {
    Impl& d = *impl_;
    if (!d.currentPage) return;
    // Page frame coordinates: 150 below and 75 right of the frame's corner.
    d.currentPage->Move(d.work->Left() + 75, d.work->Top() + 150, d.work->Width() - 150,
                        d.work->Height() - 225);
}

void DTMGUI::OnResize() {
    Layout(false);
}

void DTMGUI::Layout(bool strict) {
    Impl& d = *impl_;
    auto step = [strict](auto&& fn) {
        if (strict)
            fn();
        else
            Ignoring(fn);
    };
    step([&] { SetTreeBackColor(); });
    step([&] {
        if (Width() < kMinWidth) SetWidth(kMinWidth);
    });
    step([&] {
        if (Height() < kMinHeight) SetHeight(kMinHeight);
    });
    const int32_t w = Width(), h = Height();
    const int32_t bottomBand = 2 * kMargin + d.close->Height() + d.status->Height();
    step([&] { d.menu->SetHeight(h - d.menu->Top() - bottomBand); });
    step([&] { d.work->SetWidth(w - d.work->Left() - kMargin); });
    step([&] { d.work->SetHeight(h - d.work->Top() - bottomBand); });
    step([&] {
        d.close->SetLeft(w - kMargin - d.close->Width());
        d.close->SetTop(d.work->Top() + d.work->Height() + kMargin);
    });
    for (int i = 1; i <= 2; ++i)
        step([&] {
            d.smallLogo[i]->SetLeft(d.work->Left() + d.work->Width() - 15 -
                                    d.smallLogo[i]->Width());
        });
    step([&] { PlacePage(); });
    // The tree fills its frame; the status bar runs along the bottom edge.
    step([&] {
        d.tree->Move(d.menu->Left() + kMargin, d.menu->Top() + 150, d.menu->Width() - 2 * kMargin,
                     d.menu->Height() - 225);
    });
    step([&] { d.status->Move(0, h - d.status->Height(), w, d.status->Height()); });
    // The header texts end before the partner logos.
    step([&] {
        const int32_t room = d.smallLogo[1]->Left() - kMargin - d.labelInterface->Left();
        const int32_t width = std::clamp(room, 0, kHeaderTextWidth);
        d.labelInterface->SetWidth(width);
        d.labelDescription->SetWidth(width);
    });
}

}  // namespace kestrova
