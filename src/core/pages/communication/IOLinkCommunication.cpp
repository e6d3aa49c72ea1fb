#include "pages/communication/IOLinkCommunication.h"

#include "link/ClsGUI.h"
#include "pages/common/PanelSupport.h"
#include "tools/NumberFormats.h"
#include "tools/Vb.h"

namespace kestrova {

namespace {

const LabelText kLabels[] = {
    {"COMMLabel1", "IO-Link Communication", "IO-Link Kommunikation"},
    {"COMMFrame2", "IO-Link Mode", "IO-Link Modus"},
    {"COMMLabel3", "Target cycle time", "Soll Zykluszeit"},
    {"COMMLabel7", "Actual cycle time", "Ist Zykluszeit"},
    {"COMMBTStart", "IO-Link Mode", "IO-Link Modus"},
    {"COMMBTFallback", "SIO-Mode", "SIO Modus"},
    {"COMMLabel4a", "Communication", "Kommunikation"},
    {"COMMLabel4b", "Communication request", "Kommunikationsversuch"},
    {"COMMLabel5", "SIO Mode", "SIO Modus"},
    {"COMMTooltipError", "Wrong number format", "Falsches Zahlenformat"},
};

// Caption key of the lamp text for a state; null leaves the text as it is.
const char* CommunicationKey(int16_t state) {
    switch (state) {
        case 1:
        case 2:
        case 6:
            return "COMMLabel4b";
        case 3:
        case 4:
        case 5:
            return "COMMLabel4a";
        default:
            return nullptr;
    }
}

bool CommunicationRunning(int16_t state) {
    return state == 2 || state == 3 || state == 6;
}

}  // namespace

IOLinkCommunication::IOLinkCommunication(ui::Services& services, std::string name)
    : ui::UserControl(std::move(name)), services_(services) {
    using ui::Kind;
    Move(0, 0, 3825, 2295);

    AddAt(Kind::Label, "Label1", 120, 60, 3585, 255, "IO-Link Communication").SetFontBold(true);
    AddAt(Kind::Frame, "Frame2", 120, 360, 3585, 1815, "IO-Link Mode");

    AddAt(Kind::Label, "Label3", 240, 630, 1335, 255, "Target cycle time");
    auto& textTarget = AddAt(Kind::TextBox, "TextTarget", 1620, 600, 735, 285);
    auto& error = AddAt(Kind::Label, "LabelError", 2430, 630, 1215, 255, "falsches Format");
    error.SetForeColor(ui::Rgb(255, 0, 0));
    error.SetToolTipText("Wrong number format");
    error.SetVisible(false);

    AddAt(Kind::Label, "Label7", 240, 990, 1335, 255, "Actual cycle time");
    auto& textActual = AddAt(Kind::TextBox, "TextActual", 1620, 960, 735, 285);
    textActual.SetLocked(true);
    textActual.SetBackColor(kLockedBack);

    auto& start =
        AddAt(Kind::CommandButton, "BTStart", 240, 1350, 1635, 375, "Start Communication");
    auto& fallback =
        AddAt(Kind::CommandButton, "BTFallback", 1995, 1350, 1635, 375, "Fallback to SIO Input");

    auto lamp = [this](const char* name, int32_t left) {
        auto& shape = AddAt(Kind::Shape, name, left, 1830, 195, 195);
        shape.SetShapeKind(ui::kCircle);
        shape.SetFillColor(kDarkGrey);
    };
    lamp("ShapeConnected", 240);
    AddAt(Kind::Label, "Label4", 480, 1800, 1710, 255, "Communication");
    lamp("ShapeSIO", 2250);
    AddAt(Kind::Label, "Label5", 2520, 1800, 1080, 255, "SIO Mode");

    textTarget.Change = [this] { TextTargetChange(); };
    start.Click = [this] { StartClick(); };
    fallback.Click = [this] { FallbackClick(); };
}

void IOLinkCommunication::RefreshContents(ClsGUI* gui) {
    gui_ = gui;
    if (!gui_) return;
    ShowTarget();
    C("TextTarget").SetForeColor(C("TextActual").ForeColor());
}

void IOLinkCommunication::ShowTarget() {
    showingTarget_ = true;
    pages::OnScopeExit done([this] { showingTarget_ = false; });
    C("TextTarget").SetText(FormatFixed(gui_->Device.TargetCycleTimer(), 1));
}

void IOLinkCommunication::TextTargetChange() {
    auto& text = C("TextTarget");
    if (!gui_ || text.Text().empty()) return;
    auto& error = C("LabelError");
    double value = 0;
    if (!CheckNumber(text.Text(), kMaxTargetCycle, &value)) {
        text.SetForeColor(error.ForeColor());
        error.SetVisible(true);
        return;
    }
    error.SetVisible(false);
    text.SetForeColor(C("TextActual").ForeColor());
    if (showingTarget_) return;  // the device already holds what the panel shows
    try {
        gui_->Device.TargetCycleTimer(value);
    } catch (const std::exception& e) {
        pages::ReportFailure(services_, C("Label3").Caption(), e);
    }
}

void IOLinkCommunication::RaiseChangeTimer(bool enable) {
    if (ChangeTimer) ChangeTimer(enable);
}

void IOLinkCommunication::StartClick() {
    RaiseChangeTimer(false);
    pages::OnScopeExit restart([this] { RaiseChangeTimer(true); });
    if (!gui_) return;
    double value = 0;
    if (!CheckNumber(C("TextTarget").Text(), kMaxTargetCycle, &value)) return;
    try {
        gui_->Device.SetModeIOLink(EncodeCycleTime(value));
        ShowTarget();
    } catch (const std::exception& e) {
        pages::ReportFailure(services_, C("BTStart").Caption(), e);
    }
}

void IOLinkCommunication::FallbackClick() {
    RaiseChangeTimer(false);
    pages::OnScopeExit restart([this] { RaiseChangeTimer(true); });
    if (!gui_) return;
    try {
        pages::FetchEvents(gui_->Device, 10);
        gui_->CheckOnlineState();
        gui_->Device.SetFallback();
    } catch (const std::exception& e) {
        pages::ReportFailure(services_, C("BTFallback").Caption(), e);
    }
}

void IOLinkCommunication::SetConnectionState(int16_t state, bool readOnly) {
    auto& connected = C("ShapeConnected");
    auto& sio = C("ShapeSIO");
    auto& actual = C("TextActual");
    auto blink = [this, &connected] {
        connected.SetFillColor(blink_ < 2 ? kGreen : kDarkGrey);
        if (++blink_ >= 4) blink_ = 0;
    };
    bool readActual = false;
    switch (state) {
        case 1:
            connected.SetFillColor(kDarkGrey);
            sio.SetFillColor(kDarkGrey);
            break;
        case 2:
        case 6:
            blink();
            sio.SetFillColor(kDarkGrey);
            actual.SetText("");
            break;
        case 3:
            connected.SetFillColor(kGreen);
            sio.SetFillColor(kDarkGrey);
            readActual = true;
            break;
        case 4:
            connected.SetFillColor(kDarkGrey);
            sio.SetFillColor(kGreen);
            break;
        case 5:
            connected.SetFillColor(kDarkGrey);
            sio.SetFillColor(kDarkGrey);
            actual.SetText("");
            break;
        default:
            break;
    }
    state_ = state;
    if (const char* key = CommunicationKey(state); key && gui_)
        C("Label4").SetCaption(gui_->GetUILabel(key));

    C("BTStart").SetEnabled(!readOnly && (state == 4 || state == 5));
    C("BTFallback").SetEnabled(!readOnly && CommunicationRunning(state));
    auto& target = C("TextTarget");
    const bool locked = readOnly || CommunicationRunning(state);
    target.SetLocked(locked);
    target.SetBackColor(locked ? kLockedBack : ui::syscolor::Window);

    // Last, so that a failing read leaves lamps and entries right.
    if (readActual && gui_)
        actual.SetText(FormatFixed(DecodeCycleTime(gui_->Device.ActualCycleTime()), 1));
}

void IOLinkCommunication::SetLanguage() {
    if (!gui_) return;
    gui_->SetUILabels(kLabels);
    auto label = [this](const char* key) { return gui_->GetUILabel(key); };
    C("Label1").SetCaption(label("COMMLabel1"));
    C("Frame2").SetCaption(label("COMMFrame2"));
    C("Label3").SetCaption(label("COMMLabel3"));
    C("Label7").SetCaption(label("COMMLabel7"));
    C("BTStart").SetCaption(label("COMMBTStart"));
    C("BTFallback").SetCaption(label("COMMBTFallback"));
    C("Label5").SetCaption(label("COMMLabel5"));
    C("LabelError").SetToolTipText(label("COMMTooltipError"));
    if (const char* key = CommunicationKey(state_)) C("Label4").SetCaption(label(key));
}

}  // namespace kestrova
