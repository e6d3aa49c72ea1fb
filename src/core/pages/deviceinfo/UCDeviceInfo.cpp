#include "pages/deviceinfo/UCDeviceInfo.h"

#include "link/ClsGUI.h"
#include "pages/common/PanelSupport.h"
#include "tools/TextHelpers.h"
#include "tools/Vb.h"

namespace kestrova {

namespace {

const LabelText kLabels[] = {
    {"DEVLabel1", "Connected Device", "Angeschlossenes Gerät"},
    {"DEVLabel3", "Vendor", "Hersteller"},
    {"DEVLabel4", "Device Type", "Gerätename"},
    {"DEVLabel5", "Device Function", "Gerätefunktion"},
    {"DEVLabel9", "Vendor ID", "Hersteller ID"},
    {"DEVLabel10", "Device ID", "Geräte ID"},
    {"DEVLabel11", "Function ID", "Funktions-ID"},
    {"DEVLabel15", "IO-Link Revision", "IO-Link Version"},
    {"DEVLabel17", "min. Cycle Time", "min. Zykluszeit"},
    {"DEVLabel21", "Actual baudrate", "Baudrate"},
    {"DEVLabel19", "Process Input Data Length", "Länge der Eingabedaten"},
    {"DEVLabel24", "Process Output Data Length", "Länge der Ausgabedaten"},
    {"DEVLabel26", "SIO support", "SIO Unterstützung"},
    {"DEVLabelDez", "dec", "dez"},
    {"DEVFrame1", "Device Identification", "Geräteidentifikation"},
    {"DEVFrame2", "Communication Parameters", "Kommunikationsparameter"},
    {"DEVLenByte", "byte", "byte"},
    {"DEVLenBit", "bit", "bit"},
    {"DEVnotSupported", "not supported", "nicht unterstützt"},
};

// Caption controls and their keys (the key without its "DEV" prefix names the control).
const char* const kCaptionKeys[] = {
    "DEVLabel1",  "DEVLabel3",   "DEVLabel4",  "DEVLabel5",  "DEVLabel9",  "DEVLabel10",
    "DEVLabel11", "DEVLabel15",  "DEVLabel17", "DEVLabel21", "DEVLabel19", "DEVLabel24",
    "DEVLabel26", "DEVLabelDez", "DEVFrame1",  "DEVFrame2",
};

const char* const kValueFields[] = {
    "TextVendor",      "TextDevice",   "TextFunction",  "TextVendorID",
    "TextVendorDez",   "TextDeviceID", "TextDeviceDez", "TextFunctionID",
    "TextFunctionDez", "TextRevision", "TextMinCycle",  "TextBaudrate",
    "TextInLength",    "LabelInLen",   "TextOutLength", "LabelOutLen",
};

}  // namespace

UCDeviceInfo::UCDeviceInfo(ui::Services& services, std::string name)
    : Page(services, std::move(name)),
      communication_(Add<IOLinkCommunication>(services, "IOLinkCommunication1")),
      timer_(AddControl(ui::Kind::Timer, "Timer1")) {
    using ui::Kind;
    communication_.Move(3880, 2040, communication_.Width(), communication_.Height());
    timer_.SetEnabled(false);
    timer_.SetInterval(kInterval);

    AddTitle("Label1", "Connected Device");

    // A caption sits a little lower than the read-only field it names.
    auto caption = [this](const char* name, const char* text, int32_t left, int32_t top,
                          int32_t width) {
        AddAt(Kind::Label, name, left, top + 30, width, 255, text);
    };
    auto field = [this](const char* name, int32_t left, int32_t top, int32_t width) {
        AddAt(Kind::TextBox, name, left, top, width, 285).SetLocked(true);
    };

    // Identification: names on the left, as wide as the ids leave room for; ids in hex and
    // decimal on the right.
    AddAt(Kind::Frame, "Frame1", 120, 420, 7590, 1560, "Device Identification");
    caption("LabelDez", "dec", 6720, 600, 870);
    const struct {
        const char *label, *caption, *name, *idLabel, *idCaption, *hex, *dec;
    } rows[] = {
        {"Label3", "Vendor", "TextVendor", "Label9", "Vendor ID", "TextVendorID", "TextVendorDez"},
        {"Label4", "Device Type", "TextDevice", "Label10", "Device ID", "TextDeviceID",
         "TextDeviceDez"},
        {"Label5", "Device Function", "TextFunction", "Label11", "Function ID", "TextFunctionID",
         "TextFunctionDez"},
    };
    int32_t top = 900;
    for (const auto& row : rows) {
        caption(row.label, row.caption, 240, top, 1335);
        field(row.name, 1620, top, 2865);
        caption(row.idLabel, row.idCaption, 4545, top, 1095);
        field(row.hex, 5700, top, 960);
        field(row.dec, 6720, top, 870);
        top += 330;
    }

    // Communication parameters below, the IO-Link communication panel beside them.
    AddAt(Kind::Frame, "Frame2", 120, 2040, 3640, 2340, "Communication Parameters");
    caption("Label15", "IO-Link Revision", 240, 2310, 2100);
    field("TextRevision", 2400, 2310, 780);
    caption("Label17", "min. Cycle Time", 240, 2640, 2100);
    field("TextMinCycle", 2400, 2640, 780);
    caption("Label21", "Actual baudrate", 240, 2970, 2100);
    field("TextBaudrate", 2400, 2970, 780);
    caption("Label19", "Process Input Data Length", 240, 3300, 2100);
    field("TextInLength", 2400, 3300, 780);
    caption("LabelInLen", "", 3240, 3300, 420);
    caption("Label24", "Process Output Data Length", 240, 3630, 2100);
    field("TextOutLength", 2400, 3630, 780);
    caption("LabelOutLen", "", 3240, 3630, 420);
    caption("Label26", "SIO support", 240, 3960, 2100);
    // Shows what the device supports; not a setting.
    AddAt(Kind::CheckBox, "CheckSIO", 2400, 3960, 255, 255).SetEnabled(false);

    timer_.OnTimer = [this] { Tick(); };
    // The panel stops the polling while it changes the mode and asks for a tick at once after.
    communication_.ChangeTimer = [this](bool enable) {
        timer_.SetEnabled(false);
        if (!enable || !gui_) return;
        timer_.SetInterval(1);
        timer_.SetEnabled(true);
    };
}

void UCDeviceInfo::OnShow() {
    timer_.SetInterval(1);
}

void UCDeviceInfo::OnHide() {
    timer_.SetEnabled(false);
}

void UCDeviceInfo::RefreshContents(ClsGUI* gui) {
    gui_ = gui;
    // Whatever fails on the way, a bound page keeps polling: only its ticks notice an unplug.
    pages::OnScopeExit arm([this] { timer_.SetEnabled(gui_ != nullptr); });
    // Entering the page reads the device again, even when the state did not change meanwhile.
    if (gui_) previousState_ = 0;
    communication_.RefreshContents(gui);
    SetLanguage();
}

void UCDeviceInfo::SetLanguage() {
    if (!gui_) return;
    gui_->SetUILabels(kLabels);
    for (const char* key : kCaptionKeys) C(key + 3).SetCaption(gui_->GetUILabel(key));
    communication_.SetLanguage();
    if (LanguageChanged) LanguageChanged();
}

void UCDeviceInfo::ClearValues() {
    for (const char* name : kValueFields) {
        auto& c = C(name);
        if (c.GetKind() == ui::Kind::TextBox)
            c.SetText("");
        else
            c.SetCaption("");
    }
    C("CheckSIO").SetValue(0);
}

void UCDeviceInfo::ReadValues() {
    ClsDevice& device = gui_->Device;
    auto name = [this](const std::string& text) {
        return text == "not supported" ? gui_->GetUILabel("DEVnotSupported") : text;
    };
    auto unit = [this](bool isBytes) {
        return gui_->GetUILabel(isBytes ? "DEVLenByte" : "DEVLenBit");
    };
    C("TextVendor").SetText(name(device.VendorName()));
    C("TextDevice").SetText(name(device.DeviceName()));
    C("TextFunction").SetText(name(device.FunctionName()));
    C("TextMinCycle").SetText(Str(device.MinCycleTime()));
    C("TextRevision").SetText(CaptionText(device.Revision()));
    int16_t length = 0;
    bool isBytes = false;
    device.InLength(length, isBytes);
    C("TextInLength").SetText(Str(int64_t{length}));
    C("LabelInLen").SetCaption(unit(isBytes));
    device.OutLength(length, isBytes);
    C("TextOutLength").SetText(Str(int64_t{length}));
    C("LabelOutLen").SetCaption(unit(isBytes));
    C("CheckSIO").SetValue(device.SIOSupport() ? 1 : 0);
    C("TextVendorID").SetText(device.VendorID(true));
    C("TextVendorDez").SetText(device.VendorID(false));
    C("TextDeviceID").SetText(device.DeviceID(true));
    C("TextDeviceDez").SetText(device.DeviceID(false));
    C("TextFunctionID").SetText(device.FunctionID(true));
    C("TextFunctionDez").SetText(device.FunctionID(false));
    C("TextBaudrate").SetText(device.CurrentBaudrate());
}

void UCDeviceInfo::RaiseCheckProduct(bool force, int16_t state) {
    // The frame's plug check reads the business object; its failure must not end the tick.
    if (CheckProduct) pages::TryStep([&] { CheckProduct(force, state, false); });
}

void UCDeviceInfo::Tick() {
    if (!gui_) {
        timer_.SetEnabled(false);
        return;
    }
    if (!timer_.Enabled()) return;
    timer_.SetEnabled(false);

    pages::TryStep([this] { pages::FetchEvents(gui_->Device, 10); });
    pages::TryStep([this] { gui_->CheckOnlineState(); });
    const int16_t state = gui_->ConnectionStateCode;
    pages::TryStep([&] { communication_.SetConnectionState(state, pages::ModeReadOnly(*gui_)); });

    bool completed = true;
    if (state != previousState_ && state >= 1 && state <= 6) {
        switch (state) {
            case 1:
                ClearValues();
                break;
            case 2:
            case 4:
            case 5:
            case 6:
                ClearValues();
                RaiseCheckProduct(false, state);
                break;
            case 3:
                if (Activity) pages::TryStep([this] { Activity(true); });
                // A read that fails leaves the fields not yet read as they were and is tried
                // again on the next tick.
                completed = pages::TryStep([this] { ReadValues(); });
                RaiseCheckProduct(false, state);
                break;
        }
    }
    if (state == 1) RaiseCheckProduct(true, state);

    if (completed) previousState_ = state;
    // A handler may have unbound the page meanwhile (the frame released it).
    if (!gui_) return;
    timer_.SetInterval(kInterval);
    timer_.SetEnabled(true);
}

}  // namespace kestrova
