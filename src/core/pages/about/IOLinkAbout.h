// The About page: version and date of the DTM, the vendor data of the connected master's brand
// and its data sheet.
#pragma once

#include <cstdint>
#include <string>

#include "pages/Page.h"
#include "ui/Services.h"

namespace kestrova {

class IOLinkAbout : public Page {
  public:
    static constexpr int32_t kInterval = 300;
    static constexpr const char* kMessageTitle = "IO-Link USB Master";

    explicit IOLinkAbout(ui::Services& services, std::string name = "IOLinkAbout1");

    void RefreshContents(ClsGUI* gui) override;
    void SetLanguage();

    // The data sheet of the master with this product id, relative to the program directory
    // ("Manual/880731_eng.pdf"); empty when there is none.
    std::string DataSheetFile(const std::string& productId) const;

  private:
    void Tick();
    void OpenDataSheet();
    void FillVendorBlock(const std::string& productId);
    void Log(const std::string& line);

    ui::Services& services_;
    ui::Control* timer_ = nullptr;
    ClsGUI* gui_ = nullptr;
    std::string shownProduct_ = "keines";
    int16_t previousState_ = 0;
};

}  // namespace kestrova
