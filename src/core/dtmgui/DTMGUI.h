// The main control: entry through the FDT operations Init and PrepareToRelease, the navigation
// tree and page frame, the plug check of the USB master and the status bar.
#pragma once

#include <memory>
#include <string>

#include "link/ClsGUI.h"
#include "link/IGuiBridge.h"
#include "ui/Control.h"
#include "ui/Services.h"

namespace kestrova {

class DTMGUI : public ui::UserControl {
public:
    static constexpr const char* kProgId = "Kestrova.DTMGUI";

    explicit DTMGUI(ui::Services& services);
    ~DTMGUI() override;

    // IDtmActiveXControl.
    bool Init(const std::string& invokeId, const std::string& functionCall,
              std::shared_ptr<IGuiBridge> dtm);
    bool PrepareToRelease();

    // The binding, created on first use.
    ClsGUI& Gui();
    ui::Services& GetServices() { return services_; }

protected:
    void OnResize() override;

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
    ui::Services& services_;
};

}  // namespace kestrova
