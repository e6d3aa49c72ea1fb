#include "pages/about/IOLinkAbout.h"

#include "link/ClsGUI.h"
#include "pages/common/PanelSupport.h"
#include "tools/Discovery.h"
#include "tools/TextHelpers.h"

namespace kestrova {

namespace {

const LabelText kLabels[] = {
    {"ABOUTLabel1", "About",
     "Info \xC3\xBC"
     "ber"},
    {"ABOUTFrame1", "DTM Identification", "DTM Informationen"},
    {"ABOUTLabel3", "DTM Version", "DTM Version"},
    {"ABOUTLabel4", "Date", "Datum"},
    {"ABOUTLabel5", "Device", "Ger\xC3\xA4t"},
    {"ABOUTFrame2", "Vendor information", "Herstellerinformation"},
    {"ABOUTSheet", "Open data sheet..",
     "Datenblatt \xC3\xB6"
     "ffnen.."},
    {"ABOUTSheetName", "Vantra_Master_en.pdf", "Vantra_Master_de.pdf"},
    {"ABOUTSheetNameHV", "880731_eng.pdf", "880731_ger.pdf"},
    {"ABOUTNoPDF", "There is no application registered for PDF files",
     "es ist keine Applikation f\xC3\xBCr PDF-Dateien registriert"},
    {"ABOUTPlease", "Please connect one of the following IO-Link USB master:",
     "bitte verbinden Sie einen der folgenden IO-Link USB Master:"},
    {"ABOUTRights", "All rights reserved", "Alle Rechte vorbehalten"},
};

const std::pair<const char*, const char*> kCaptions[] = {
    {"Label1", "ABOUTLabel1"},  {"Frame1", "ABOUTFrame1"}, {"Label3", "ABOUTLabel3"},
    {"Label4", "ABOUTLabel4"},  {"Label5", "ABOUTLabel5"}, {"Frame2", "ABOUTFrame2"},
    {"Command1", "ABOUTSheet"},
};

constexpr const char* kManualFolder = "Manual/";

bool NoMaster(const std::string& productId) {
    return productId.empty() || productId == "xxxx";
}

}  // namespace

IOLinkAbout::IOLinkAbout(ui::Services& services, std::string name)
    : Page(services, std::move(name)), services_(services) {
    using ui::Kind;
    AddTitle("Label1", "About");

    AddAt(Kind::Frame, "Frame1", 120, 540, 6600, 1200, "DTM Identification");
    AddAt(Kind::Label, "Label3", 360, 870, 1800, 255, "DTM Version");
    AddAt(Kind::Label, "Label6", 2280, 870, 4200, 255);
    AddAt(Kind::Label, "Label4", 360, 1230, 1800, 255, "Date");
    AddAt(Kind::Label, "Label7", 2280, 1230, 4200, 255);

    AddAt(Kind::Frame, "Frame2", 120, 1920, 6600, 1680, "Vendor information");
    AddAt(Kind::Label, "Label5", 360, 2250, 1800, 255, "Device");
    AddAt(Kind::Label, "LabelVendor", 2280, 2250, 4200, 510);
    AddAt(Kind::Label, "LabelService", 2280, 2850, 4200, 255);
    AddAt(Kind::Label, "LabelUrl", 2280, 3210, 4200, 255);

    AddAt(Kind::CommandButton, "Command1", 120, 3780, 2400, 375, "Open data sheet..").Click =
        [this] {
            try {
                OpenDataSheet();
            } catch (const std::exception& e) {
                services_.MsgBox(e.what(), ui::msgbox::OkOnly, "");
            }
        };

    timer_ = &AddControl(Kind::Timer, "Timer1");
    timer_->SetInterval(kInterval);
    timer_->SetEnabled(false);
    timer_->OnTimer = [this] { Tick(); };
}

void IOLinkAbout::Log(const std::string& line) {
    if (gui_) gui_->LogEvent(line);
}

void IOLinkAbout::RefreshContents(ClsGUI* gui) {
    if (!gui) {
        timer_->SetEnabled(false);
        gui_ = nullptr;
        return;
    }
    gui_ = gui;
    // Whatever fails on the way, a bound page keeps polling: only its ticks notice an unplug.
    pages::OnScopeExit arm([this] { timer_->SetEnabled(true); });
    SetLanguage();
}

void IOLinkAbout::SetLanguage() {
    if (!gui_) return;
    gui_->SetUILabels(kLabels);
    for (const auto& [control, key] : kCaptions)
        (*this)(control).SetCaption(CaptionText(gui_->GetUILabel(key)));
    (*this)("Label6").SetCaption(CaptionText(gui_->GetUILabel("Version")));
    (*this)("Label7").SetCaption(CaptionText(gui_->GetUILabel("Date")));
    if (LanguageChanged) LanguageChanged();
}

void IOLinkAbout::FillVendorBlock(const std::string& productId) {
    ui::Control& vendor = (*this)("LabelVendor");
    ui::Control& service = (*this)("LabelService");
    ui::Control& url = (*this)("LabelUrl");
    const ProductInfo* product = FindProduct(productId);
    if (product && *product->RightsLine) {
        vendor.SetCaption(CaptionText(std::string(product->RightsLine) + "\r\n" +
                                      gui_->GetUILabel("ABOUTRights")));
        service.SetCaption(CaptionText(std::string("Service: ") + product->ServicePhone));
        url.SetCaption(CaptionText(std::string("URL: ") + product->WebAddress));
    } else if (product || NoMaster(productId)) {
        // The maker's own master, like none at all, asks for one of the partners' masters.
        vendor.SetCaption(CaptionText(gui_->GetUILabel("ABOUTPlease")));
        service.SetCaption(CaptionText(FindProduct("7c31")->DisplayName));
        url.SetCaption(CaptionText(FindProduct("7c33")->DisplayName));
    }
}

std::string IOLinkAbout::DataSheetFile(const std::string& productId) const {
    if (productId == "7c31")
        return gui_ ? kManualFolder + gui_->GetUILabel("ABOUTSheetNameHV") : std::string{};
    const ProductInfo* product = FindProduct(NoMaster(productId) ? "7c32" : productId);
    if (!product) return {};
    const bool german = gui_ && gui_->Language == kGerman;
    return kManualFolder + std::string(german ? product->ManualGerman : product->ManualEnglish);
}

void IOLinkAbout::OpenDataSheet() {
    if (!gui_) return;
    const std::string file = DataSheetFile(gui_->ProductId);
    const std::string path =
        file.empty() ? std::string{} : services_.ProgramDirectory() + "/" + file;
    Log("PDF Filename = " + path);
    if (path.empty()) return;

    std::string application;
    try {
        application = services_.OpenCommand(".PDF");
        Log("PDF-Applikation: " + application);
    } catch (const std::exception& e) {
        Log(std::string("Fehler bei LiefereRegistrierteApplikation: ") + e.what());
        application.clear();
    }
    if (application.empty()) {
        services_.MsgBox(gui_->GetUILabel("ABOUTNoPDF"), ui::msgbox::Information, kMessageTitle);
        return;
    }
    const std::string commandLine = application + " \"" + path + "\"";
    Log("PDF-Shell-Aufruf: " + commandLine);
    if (!services_.StartDocument(application, path)) {
        Log("PDF-Shell-Aufruf fehlgeschlagen: " + commandLine);
        services_.MsgBox(commandLine, ui::msgbox::Exclamation, kMessageTitle);
    }
}

void IOLinkAbout::Tick() {
    if (!gui_) return;
    timer_->SetEnabled(false);
    try {
        gui_->CheckOnlineState();
        const int16_t state = gui_->ConnectionStateCode;
        if (state != previousState_ || state == 1) {
            previousState_ = state;
            // Offline, the frame also verifies that the master is still plugged in.
            if (CheckProduct) CheckProduct(state == 1, state, false);
        }
        const std::string productId = gui_->ProductId;
        if (productId != shownProduct_) {
            FillVendorBlock(productId);
            shownProduct_ = productId;
        } else if (NoMaster(productId)) {
            pages::AdoptNewMaster(services_, *gui_);
        }
    } catch (const std::exception&) {
        // An error ends the tick; the next one tries again.
    }
    if (gui_) timer_->SetEnabled(true);
}

}  // namespace kestrova
