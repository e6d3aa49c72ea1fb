// The General page: the choice of the USB master this DTM instance drives, its description,
// part number and USB revision, and the state of the USB link.
#pragma once

#include <cstdint>
#include <string>

#include "pages/Page.h"
#include "tools/Discovery.h"
#include "ui/Services.h"

namespace kestrova {

class UCGeneral : public Page {
  public:
    static constexpr int32_t kInterval = 300;
    static constexpr ui::Color kGreen = 65280;
    static constexpr ui::Color kDarkGrey = 0x404040;
    // Description given to a port whose master is missing.
    static constexpr const char* kPlaceholderMaster = "H+V IO-Link USB Master";

    explicit UCGeneral(ui::Services& services, std::string name = "UCGeneral1");

    void RefreshContents(ClsGUI* gui) override;
    // Fill of the connection lamp by state code.
    void SetConnectionState(int16_t state);

    // The port entries behind the combo box, in its order.
    const PortList& Entries() const { return entries_; }

  protected:
    void OnShow() override;
    void OnHide() override;

  private:
    void Tick();
    void UpdateClick();
    void ComboClick();
    void RefreshBoards();
    void EnsureLabels();
    void SetLanguage();
    void SetLabel6(int16_t state);
    void FillCombo();
    void RaiseCheckProduct(const char* trace, bool force, bool present);
    const PortEntry* EntryFor(const std::string& text) const;
    void Log(const std::string& line);
    std::string Label(const char* key) const;
    // Runs a user action: its failure is shown, not thrown, unless it runs inside another handler.
    template <class Fn>
    void UserAction(Fn&& fn);

    ui::Services& services_;
    ui::Control* timer_ = nullptr;
    ui::Control* combo_ = nullptr;
    ClsGUI* gui_ = nullptr;
    PortList entries_;
    int16_t oldIndex_ = -1;
    int16_t blink_ = 0;
    int16_t previousState_ = 0;
    int16_t offlineTicks_ = 0;
    bool changed_ = false;
    bool suppress_ = false;
    bool notFound_ = false;
    bool labelsDone_ = false;
    bool mastersFound_ = false;
    int handlerDepth_ = 0;
};

}  // namespace kestrova
