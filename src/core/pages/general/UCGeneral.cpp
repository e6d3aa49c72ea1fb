#include "pages/general/UCGeneral.h"

#include "link/ClsGUI.h"
#include "pages/common/PanelSupport.h"
#include "tools/TextHelpers.h"
#include "tools/Vb.h"

namespace kestrova {

namespace {

const LabelText kLabels[] = {
    {"GENInformation", "General Information", "Generelle Information"},
    {"GENFrame1", "Information", "Information"},
    {"GENFrame2", "USB Communication", "USB Kommunikation"},
    {"GENLabel2", "Master", "Master"},
    {"GENLabel3", "Part Number", "Artikelnummer"},
    {"GENLabel4", "Revision", "Version"},
    {"GENLabel6a", "Connected", "Verbindung"},
    {"GENLabel6b", "Connection request", "Kommunikationsversuch"},
    {"GENLabel6c", "Not connected", "keine Verbindung"},
    {"GENLabel7", "Port", "Port"},
    {"GENCommand1", "Update", "Aktualisieren"},
    {"GENNotFound", "USB device not connected", "USB Ger\xC3\xA4t nicht vorhanden"},
    {"GENTooltipCOM", "The COM-Port defines the IO-Link USB Master controlled by this DTM instance",
     "Der COM-Port legt den IO-Link USB Master fest, der von dieser DTM-Instanz angesteuert wird"},
};

// Control and the key of its caption.
const std::pair<const char*, const char*> kCaptions[] = {
    {"Information", "GENInformation"}, {"Frame1", "GENFrame1"},     {"Frame2", "GENFrame2"},
    {"Label2", "GENLabel2"},           {"Label3", "GENLabel3"},     {"Label4", "GENLabel4"},
    {"Label7", "GENLabel7"},           {"Command1", "GENCommand1"},
};

bool InUseState(int16_t state) {
    return state == 2 || state == 3 || state == 4 || state == 6;
}

}  // namespace

UCGeneral::UCGeneral(ui::Services& services, std::string name)
    : Page(services, std::move(name)), services_(services) {
    using ui::Kind;
    AddTitle("Information", "General Information");

    AddAt(Kind::Frame, "Frame1", 120, 540, 6600, 1560, "Information");
    AddAt(Kind::Label, "Label2", 360, 870, 1500, 255, "Master");
    AddAt(Kind::Label, "Label15", 1980, 870, 4560, 255);
    AddAt(Kind::Label, "Label3", 360, 1230, 1500, 255, "Part Number");
    AddAt(Kind::Label, "Label14", 1980, 1230, 4560, 255);
    AddAt(Kind::Label, "Label4", 360, 1590, 1500, 255, "Revision");
    AddAt(Kind::Label, "Label13", 1980, 1590, 4560, 255);

    AddAt(Kind::Frame, "Frame2", 120, 2280, 6600, 1560, "USB Communication");
    AddAt(Kind::Label, "Label7", 360, 2670, 1500, 255, "Port");
    combo_ = &AddAt(Kind::ComboBox, "CBComPorts", 1980, 2610, 2400, 315);
    ui::Control& update = AddAt(Kind::CommandButton, "Command1", 4560, 2580, 1440, 375, "Update");
    ui::Control& lamp = AddAt(Kind::Shape, "ShapeConnected", 360, 3180, 255, 255);
    lamp.SetShapeKind(ui::kCircle);
    lamp.SetFillColor(kDarkGrey);
    AddAt(Kind::Label, "Label6", 780, 3180, 4200, 255, "Not connected");

    timer_ = &AddControl(Kind::Timer, "Timer1");
    timer_->SetInterval(kInterval);
    timer_->SetEnabled(false);
    timer_->OnTimer = [this] { Tick(); };
    update.Click = [this] { UserAction([this] { UpdateClick(); }); };
    combo_->Click = [this] { UserAction([this] { ComboClick(); }); };
}

template <class Fn>
void UCGeneral::UserAction(Fn&& fn) {
    if (handlerDepth_ > 0) {
        fn();  // part of a running handler: its caller sees the failure
        return;
    }
    try {
        ++handlerDepth_;
        pages::OnScopeExit leave([this] { --handlerDepth_; });
        fn();
    } catch (const std::exception& e) {
        services_.MsgBox(e.what(), ui::msgbox::OkOnly, "");
    }
}

void UCGeneral::OnShow() {
    timer_->SetInterval(1);  // the first tick comes at once
    timer_->SetEnabled(true);
}

void UCGeneral::OnHide() {
    timer_->SetEnabled(false);
}

void UCGeneral::RefreshContents(ClsGUI* gui) {
    if (!gui) {
        timer_->SetEnabled(false);
        gui_ = nullptr;
        return;
    }
    gui_ = gui;
    // Whatever fails on the way, a bound page keeps polling: only its ticks notice an unplug.
    pages::OnScopeExit arm([this] { timer_->SetEnabled(true); });
    Log("RefreshContents:Start");
    if (combo_->ListIndex() >= 0) {
        ++handlerDepth_;
        pages::OnScopeExit leave([this] { --handlerDepth_; });
        ComboClick();
    }
}

void UCGeneral::Log(const std::string& line) {
    if (gui_) gui_->LogEvent(line);
}

std::string UCGeneral::Label(const char* key) const {
    return gui_ ? gui_->GetUILabel(key) : std::string{};
}

void UCGeneral::EnsureLabels() {
    if (labelsDone_ || !gui_) return;
    gui_->SetUILabels(kLabels);
    labelsDone_ = true;
    SetLanguage();
}

void UCGeneral::SetLanguage() {
    for (const auto& [control, key] : kCaptions)
        (*this)(control).SetCaption(CaptionText(Label(key)));
    (*this)("Label15").SetCaption(CaptionText(Label("GENNotFound")));
    SetLabel6(previousState_);
    combo_->SetToolTipText(Label("GENTooltipCOM"));
    if (LanguageChanged) LanguageChanged();
}

void UCGeneral::SetLabel6(int16_t state) {
    const char* key = nullptr;
    switch (state) {
        case 0:
        case 1:
            key = "GENLabel6c";
            break;
        case 2:
        case 6:
            key = "GENLabel6b";
            break;
        case 3:
        case 4:
        case 5:
            key = "GENLabel6a";
            break;
        default:
            return;
    }
    (*this)("Label6").SetCaption(CaptionText(Label(key)));
}

void UCGeneral::SetConnectionState(int16_t state) {
    ui::Control& lamp = (*this)("ShapeConnected");
    switch (state) {
        case 1:
        case 5:
            lamp.SetFillColor(kDarkGrey);
            break;
        case 3:
        case 4:
            lamp.SetFillColor(kGreen);
            break;
        case 2:
        case 6:
            // Two ticks green, two ticks dark grey.
            if (++blink_ >= 4) blink_ = 0;
            lamp.SetFillColor(blink_ < 2 ? kGreen : kDarkGrey);
            break;
        default:
            break;
    }
}

void UCGeneral::RaiseCheckProduct(const char* trace, bool force, bool present) {
    Log(trace);
    // No tick may run inside the frame's handler.
    const bool was = timer_->Enabled();
    timer_->SetEnabled(false);
    pages::OnScopeExit restore([this, was] { timer_->SetEnabled(was); });
    if (CheckProduct) CheckProduct(force, gui_->ConnectionStateCode, present);
}

void UCGeneral::Tick() {
    if (!gui_) return;
    timer_->SetEnabled(false);
    timer_->SetInterval(kInterval);
    ++handlerDepth_;
    try {
        EnsureLabels();
        // Events waiting in the master are fetched here; a failing fetch must not stop the
        // supervision of the link.
        pages::TryStep([this] { pages::FetchEvents(gui_->Device, 10); });
        gui_->CheckOnlineState();
        const int16_t state = gui_->ConnectionStateCode;
        SetConnectionState(state);
        const bool inUse = gui_->DtmConnected || InUseState(state);
        ui::Control& update = (*this)("Command1");
        if (inUse) {
            // The port can't be changed while a connection is in use or being made.
            combo_->SetEnabled(false);
            update.SetEnabled(false);
            RaiseCheckProduct("CheckProduct 1", false, mastersFound_);
        }
        if (changed_) offlineTicks_ = 5;
        if (state == previousState_ && state == 1 && offlineTicks_ < 5) ++offlineTicks_;
        if (state != previousState_ || (state == 1 && offlineTicks_ >= 5)) {
            if (!inUse) {
                combo_->SetEnabled(true);
                update.SetEnabled(true);
            }
            RaiseCheckProduct("CheckProduct 2", true, mastersFound_);
            offlineTicks_ = 0;
            RefreshBoards();
        }
        previousState_ = state;
        SetLabel6(state);
    } catch (const std::exception& e) {
        // Background work: the failure ends this tick, the next one tries again.
        try {
            Log(std::string("Timer1_Timer: ") + e.what());
        } catch (...) {
        }
    }
    --handlerDepth_;
    if (gui_) timer_->SetEnabled(true);
}

void UCGeneral::UpdateClick() {
    if (!gui_) return;
    timer_->SetEnabled(false);
    ++handlerDepth_;
    pages::OnScopeExit leave([this] {
        --handlerDepth_;
        timer_->SetEnabled(true);
    });
    EnsureLabels();
    RefreshBoards();
}

void UCGeneral::FillCombo() {
    combo_->Clear();
    for (const PortEntry& e : entries_) combo_->AddItem(e.Text);
}

const PortEntry* UCGeneral::EntryFor(const std::string& text) const {
    for (const PortEntry& e : entries_)
        if (e.Text == text) return &e;
    return nullptr;
}

void UCGeneral::RefreshBoards() {
    Log("RefreshBoards:Start");
    const int16_t language = gui_->Language;
    const bool found = ListMasters(services_, language, entries_, changed_);
    if (changed_) FillCombo();
    mastersFound_ = found;
    const std::string port = gui_->ActualDeviceIdentifier;

    if (!found) {
        Log("RefreshBoards:Ende false");
        if (!entries_.empty() && !changed_) return;
        PortEntry entry;
        if (!port.empty()) {
            entry = {port + NotFoundText(language), kPlaceholderMaster};
        } else {
            const std::string none = Label("GENNotFound");
            entry = {none, none};
        }
        entries_.push_back(entry);
        combo_->AddItem(entry.Text);
        changed_ = false;
        combo_->SetListIndex(0);
        return;
    }

    if (!changed_) {
        Log("GetComPorts returns TRUE, but no change");
        return;
    }
    Log("GetComPorts returns TRUE");
    if (port.empty()) {
        combo_->SetListIndex(0);
        return;
    }
    for (int i = 0; i < combo_->ListCount(); ++i) {
        if (combo_->List()[static_cast<size_t>(i)] == port) {
            combo_->SetListIndex(i);
            return;
        }
    }
    Log("Entry " + port + " not found");
    const PortEntry missing{port + NotFoundText(language), kPlaceholderMaster};
    entries_.push_back(missing);
    combo_->AddItem(missing.Text);
    combo_->SetListIndex(combo_->ListCount() - 1);
    Log("RefreshBoards:Ende true");
}

void UCGeneral::ComboClick() {
    if (suppress_ || !gui_) return;
    notFound_ = false;
    const int index = combo_->ListIndex();
    Log("CBComPorts_Click: " + Str(int64_t{index}) + ":" + combo_->Text());
    ui::Control& revision = (*this)("Label13");
    ui::Control& part = (*this)("Label14");
    ui::Control& master = (*this)("Label15");
    if (index == -1) {
        revision.SetCaption("");
        part.SetCaption("");
        master.SetCaption("");
        return;
    }

    std::string text = combo_->Text();
    const std::string marker = NotFoundText(gui_->Language);
    if (const size_t at = text.find(marker); at != std::string::npos) {
        notFound_ = true;
        text = text.substr(0, at);
    }

    const std::string notConnected = Label("GENNotFound");
    if (text == notConnected) {
        revision.SetCaption("");
        part.SetCaption("");
        RaiseCheckProduct(("CheckProduct 3: " + text).c_str(), true, false);
        return;
    }

    // A missing master's placeholder is stored under its whole text.
    const PortEntry* found = EntryFor(text);
    if (!found) found = EntryFor(combo_->Text());
    const std::string description = found ? found->Description : std::string{};
    if (description.find(NotSupportedText(gui_->Language)) != std::string::npos) {
        RaiseCheckProduct("CheckProduct 5", true, true);
        revision.SetCaption("");
        part.SetCaption("");
        master.SetCaption(CaptionText(description));
        oldIndex_ = static_cast<int16_t>(index);
        return;
    }

    gui_->SetActualDeviceIdentifier(text);
    RaiseCheckProduct("CheckProduct 4", true, !notFound_);
    if (notFound_) {
        revision.SetCaption("");
        part.SetCaption("");
        master.SetCaption(CaptionText(notConnected));
        return;
    }

    const std::string usbRevision = gui_->GetItem("USBRevision");
    if (usbRevision.empty()) {
        // The master did not answer: go back to the entry that worked.
        revision.SetCaption("");
        part.SetCaption("");
        master.SetCaption("");
        const int count = combo_->ListCount();
        Log("Combo wieder setzen: count=" + Str(int64_t{count}) +
            " old:" + Str(int64_t{oldIndex_}));
        combo_->SetListIndex(oldIndex_ < count ? oldIndex_ : -1);
        Log("Combo wieder setzen hat geklappt");
        return;
    }

    const ProductInfo* product = FindProduct(gui_->ProductId);
    part.SetCaption(CaptionText(product ? product->PartNumber : ""));
    revision.SetCaption(CaptionText(usbRevision));
    if (gui_->ActualDeviceIdentifier != combo_->Text()) {
        suppress_ = true;
        for (int i = 0; i < combo_->ListCount(); ++i)
            if (combo_->List()[static_cast<size_t>(i)] == gui_->ActualDeviceIdentifier)
                combo_->SetListIndex(i);
        suppress_ = false;
    }
    master.SetCaption(CaptionText(description));
    oldIndex_ = static_cast<int16_t>(combo_->ListIndex());
}

}  // namespace kestrova
