// The parameter panel: reads and writes one ISDU parameter by index and subindex and shows the
// data in decimal, hex, binary or characters. Buttons only ask for the work (a reason code);
// the container runs it on its own timer tick through ExecuteReason, so a parameter access
// never overlaps a poll.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "tools/NumberFormats.h"
#include "ui/Control.h"
#include "ui/Services.h"

namespace kestrova {

class ClsGUI;

class UCParameter : public ui::UserControl {
  public:
    // Reason codes of the panel's event and of ExecuteReason.
    static constexpr int16_t kReasonFormat = 1;
    static constexpr int16_t kReasonRead = 2;
    static constexpr int16_t kReasonWrite = 3;
    static constexpr int32_t kMaxIndex = 32767;
    static constexpr int32_t kMaxSubIndex = 255;
    static constexpr int kMaxBytes = 250;
    static constexpr int32_t kHeight = 3825;  // design-time height, twips

    explicit UCParameter(ui::Services& services, std::string name = "UCParameter1");

    void Enable(bool enabled);
    void RefreshContents(ClsGUI* gui) { gui_ = gui; }
    void SetLanguage();
    void ExecuteReason(int16_t reason);

    // Display form of the chosen Option1 button (0 decimal, 1 hex, 2 binary, 3 characters).
    int Format() const;

    // Raised with true and the reason code when the panel needs the device.
    std::function<void(bool enable, int16_t reason)> ChangeTimer;

  protected:
    void OnShow() override;

  private:
    void FormatClick();
    void Read();
    void Write();
    bool ReadAddress(const char* indexBox, const char* subIndexBox, int16_t& index,
                     int16_t& subIndex);
    void ShowResult(const std::string& text);
    std::string ErrorText(int32_t code, int kind) const;
    void RaiseRequest(int16_t reason);
    ui::Control& C(const char* name, int index = -1) const { return (*this)(name, index); }

    ClsGUI* gui_ = nullptr;
    Values lastRead_;
    Values lastEdit_;
    bool readError_ = true;
    int lastFormat_ = kDecimal;
};

}  // namespace kestrova
