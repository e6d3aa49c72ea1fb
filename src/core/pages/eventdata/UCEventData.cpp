#include "pages/eventdata/UCEventData.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <vector>

#include "device/ClsEvent.h"
#include "link/ClsGUI.h"
#include "link/EventCatalogue.h"
#include "pages/common/PanelSupport.h"
#include "tools/NumberFormats.h"
#include "tools/TextHelpers.h"
#include "tools/Vb.h"

namespace kestrova {

namespace {

const LabelText kLabels[] = {
    {"EVENTHead1", "Number", "Nummer"},
    {"EVENTHead2", "Instance", "Instanz"},
    {"EVENTHead3", "Mode", "Modus"},
    {"EVENTHead4", "Event Code", "Event Code"},
    {"EVENTHead5", "Hex values", "Hex Werte"},
    {"EVENTClear", "Clear Events", "Events löschen"},
    {"EVENTSave", "Save Events", "Events speichern"},
    {"EVENTFrame", "Event data", "Event Daten"},
    {"EVENTSaveError", "The events could not be saved to the file",
     "Die Events konnten nicht in der Datei gespeichert werden"},
};

const char* const kHeadKeys[] = {"EVENTHead1", "EVENTHead2", "EVENTHead3", "EVENTHead4",
                                 "EVENTHead5"};

std::string Hex(int64_t value, int digits) {
    return FormatHex(value, digits, "0x", true);
}

// Codes are 16-bit values; a code delivered as a negative number still shows four digits.
int64_t Code16(int32_t code) {
    return code & 0xFFFF;
}

// The type and mode parts as the catalogue reads them: only their bits in the qualifier byte
// count, so the sum is taken in 64 bits and cut to that byte (answer values may be any Long).
int32_t TypeModeWord(const ClsEvent& event) {
    return static_cast<int32_t>((int64_t{event.Type} + int64_t{event.Mode}) & 0xFF);
}

// Whether the qualifier parts add up to a byte; an event whose qualifier overflows is no
// event the panel can show.
bool HasQualifier(const ClsEvent& event) {
    try {
        event.InstTypMode();
        return true;
    } catch (const VbError&) {
        return false;
    }
}

// Row backgrounds by the type bits of the qualifier: errors light red, warnings light amber,
// notifications plain.
ui::Color TypeBackColor(int32_t type) {
    switch (type & 0x30) {
        case 0x30:
            return ui::Rgb(255, 214, 214);
        case 0x20:
            return ui::Rgb(255, 240, 196);
        default:
            return ui::syscolor::Window;
    }
}

// Design-time room around the list: the buttons' column on the right, margins in the frame.
constexpr int32_t kMargin = 120;
constexpr int32_t kListTop = 270;
constexpr int32_t kButtonWidth = 1455;

}  // namespace

UCEventData::UCEventData(ui::Services& services, std::string name)
    : ui::UserControl(std::move(name)), services_(services) {
    using ui::Kind;
    Move(0, 0, 7590, 2325);

    AddAt(Kind::Frame, "Frame2", 0, 0, 7590, 2325, "Event data");

    auto& list = AddAt(Kind::ListView, "ListView1", 120, 270, 5775, 1935);
    const char* const heads[] = {"Number", "Instance", "Mode", "Event Code", "Hex values"};
    const int32_t widths[] = {750, 800, 1200, 2000, 1050};
    for (int i = 0; i < 5; ++i) list.AddColumn(heads[i], widths[i]);

    AddAt(Kind::CommandButton, "Command1", 6015, 270, 1455, 375, "Clear Events").Click = [this] {
        ClearClick();
    };
    AddAt(Kind::CommandButton, "Command2", 6015, 750, 1455, 375, "Save Events").Click = [this] {
        SaveClick();
    };
}

void UCEventData::RaiseChangeTimer(bool enable) {
    if (ChangeTimer) ChangeTimer(enable);
}

void UCEventData::RefreshContents(ClsGUI* gui) {
    gui_ = gui;
    if (gui_) Refill();
}

void UCEventData::Refill() {
    C("ListView1").ClearRows();
    newestListed_ = -1;
    ClsDevice& device = gui_->Device;
    clearedSeen_ = device.EventsClearedThrough;
    for (int16_t p = 1; p <= device.EventCount && p <= ClsDevice::kMaxEvents; ++p) {
        const ClsEvent& event = device.GetEvent(p);
        if (event.Number > newestListed_) newestListed_ = event.Number;
        AddRow(event);
    }
}

// The list and the saved file show the same events: reported ones (numbered from 1) with a
// qualifier byte, newer than the last clear.
bool UCEventData::Shown(const ClsEvent& event) const {
    return event.Number >= 1 && event.Number > gui_->Device.EventsClearedThrough &&
           HasQualifier(event);
}

void UCEventData::AddRow(const ClsEvent& event) {
    if (!Shown(event)) return;
    auto& list = C("ListView1");
    while (list.ListItems().size() >= kMaxRows) list.RemoveRow(1);
    const ClsGUI& gui = *gui_;
    list.AddRow(
        {
            Str(int64_t{event.Number}),
            IolErrorText(2, event.Instance, 0, gui),
            IolErrorText(3, TypeModeWord(event), 0, gui),
            IolErrorText(1, event.Code, event.Type, gui),
            Hex(event.InstTypMode(), 2) + " " + Hex(Code16(event.Code), 4),
        },
        TypeBackColor(event.Type));
}

void UCEventData::OnResize() {
    // The list takes whatever room the panel is given; the buttons stay right of it.
    if (!Find("Command2")) return;  // sized while being built
    const int32_t w = Width(), h = Height();
    C("Frame2").Move(0, 0, w, h);
    const int32_t buttonLeft = w - kMargin - kButtonWidth;
    C("ListView1")
        .Move(kMargin, kListTop, std::max<int32_t>(buttonLeft - 2 * kMargin, kMargin),
              std::max<int32_t>(h - kListTop - kMargin, kMargin));
    for (const char* name : {"Command1", "Command2"}) {
        auto& button = C(name);
        button.Move(buttonLeft, button.Top(), button.Width(), button.Height());
    }
}

void UCEventData::ActualizeEvents(ClsDevice& device, int maxEvents) {
    if (!gui_) return;
    // Events are listed even when fetching stops half way; the rest comes on a later tick.
    pages::TryStep([&] { pages::FetchEvents(device, maxEvents); });
    if (device.EventsClearedThrough != clearedSeen_) {  // cleared on the other page
        Refill();
        return;
    }
    // The events newer than the newest listed sit at the end of the proxy's list.
    int16_t first = static_cast<int16_t>(std::min<int>(device.EventCount, ClsDevice::kMaxEvents));
    while (first >= 1 && device.GetEvent(first).Number > newestListed_) --first;
    for (int16_t p = static_cast<int16_t>(first + 1);
         p <= device.EventCount && p <= ClsDevice::kMaxEvents; ++p) {
        const ClsEvent& event = device.GetEvent(p);
        newestListed_ = event.Number;
        AddRow(event);
    }
}

void UCEventData::ClearClick() {
    RaiseChangeTimer(false);
    pages::OnScopeExit restart([this] { RaiseChangeTimer(true); });
    if (!gui_) return;
    ClsDevice& device = gui_->Device;
    device.ClearEvents();
    for (int16_t p = 1; p <= device.EventCount && p <= ClsDevice::kMaxEvents; ++p)
        device.EventsClearedThrough =
            std::max<int64_t>(device.EventsClearedThrough, device.GetEvent(p).Number);
    Refill();
}

std::string UCEventData::FileLine(const ClsEvent& event) const {
    const ClsGUI& gui = *gui_;
    return Str(int64_t{event.Number}) + ";" + IolErrorText(2, event.Instance, 0, gui) + ";" +
           IolErrorText(3, TypeModeWord(event), 0, gui) + ";" +
           IolErrorText(1, event.Code, event.Type, gui) + ";" + Hex(event.Instance, 2) + " " +
           Hex(event.Mode, 2) + " " + Hex(event.Type, 2) + " " + Hex(Code16(event.Code), 4);
}

bool UCEventData::SaveTo(const std::string& path) {
    std::string reason;
    std::FILE* file = OpenFile(path, "wb");  // an existing file is replaced
    if (!file) {
        reason = std::strerror(errno);
    } else {
        // Lines as the Windows tools that read the log expect them: ANSI code page, CR LF.
        auto writeLine = [&](const std::string& line) {
            if (!reason.empty()) return;
            std::vector<uint8_t> bytes = Utf8ToCp1252(line);
            bytes.push_back('\r');
            bytes.push_back('\n');
            if (std::fwrite(bytes.data(), 1, bytes.size(), file) != bytes.size())
                reason = std::strerror(errno);
        };
        writeLine(kFileHeader);
        if (gui_) {
            ClsDevice& device = gui_->Device;
            for (int16_t p = 1; p <= device.EventCount && p <= ClsDevice::kMaxEvents; ++p) {
                const ClsEvent& event = device.GetEvent(p);
                if (Shown(event)) writeLine(FileLine(event));
            }
        }
        // Buffered lines reach the disk only now; a full disk shows here.
        if (std::fflush(file) != 0 && reason.empty()) reason = std::strerror(errno);
        if (std::fclose(file) != 0 && reason.empty()) reason = std::strerror(errno);
    }
    if (reason.empty()) return true;
    std::string text = "The events could not be saved to the file";
    if (gui_) {
        gui_->SetUILabels(kLabels);
        text = gui_->GetUILabel("EVENTSaveError");
    }
    services_.MsgBox(text + ":\n" + path + "\n" + reason, ui::msgbox::OkOnly | ui::msgbox::Critical,
                     "");
    return false;
}

void UCEventData::SaveClick() {
    const std::string path = services_.ShowSaveAs(kFilter, kDefaultFile, C("Command2").Caption());
    if (path.empty()) return;
    SaveTo(path);
    RaiseChangeTimer(true);
}

void UCEventData::SetLanguage() {
    if (!gui_) return;
    gui_->SetUILabels(kLabels);
    auto& list = C("ListView1");
    for (size_t i = 0; i < 5; ++i) list.SetColumnText(i, gui_->GetUILabel(kHeadKeys[i]));
    C("Command1").SetCaption(gui_->GetUILabel("EVENTClear"));
    C("Command2").SetCaption(gui_->GetUILabel("EVENTSave"));
    C("Frame2").SetCaption(gui_->GetUILabel("EVENTFrame"));
}

}  // namespace kestrova
