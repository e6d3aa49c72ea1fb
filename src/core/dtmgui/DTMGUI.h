// The main control: entry through the FDT operations Init and PrepareToRelease, the navigation
// tree and page frame, the plug check of the USB master and the status bar.
#pragma once

#include <memory>
#include <string>

#include "link/ClsGUI.h"
#include "link/IGuiBridge.h"
#include "pages/Page.h"
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

    // The page shown in the page frame, or null.
    Page* CurrentPage() const;

    // The tree node key named by a key ("K3") or by a node text in either language ("IO-Link
    // Daten", "Device Info"), any case; empty when nothing matches.
    static std::string NodeKeyFor(std::string_view keyOrText);

    // Size of the control when it is made: tall enough for the data pages' multi-line fields
    // and a few rows of events; in twips.
    static constexpr int32_t kDesignWidth = 10500;
    static constexpr int32_t kDesignHeight = 8100;
    // Smallest size of the control, in twips.
    static constexpr int32_t kMinWidth = 7500;
    static constexpr int32_t kMinHeight = 4500;

  protected:
    void OnResize() override;
    // The redraw done before the control registers with the business object; a failure is shown
    // and keeps the control from registering.
    virtual void Redraw();

  private:
    void Unbind();
    bool PrepareControl();
    void CloseClicked();
    void AddNode(const char* key);
    void SetTreeBackColor();
    void ShowPage(const std::string& name, const std::string& key);
    void PaintSelectedNode();
    void NodeClicked(const std::string& key);
    void RegisterFrameLabels();
    void LanguagePass();
    void PlugCheck(bool force, int32_t state, bool present);
    void ShowProduct(const std::string& id, bool present);
    void ShowState(int32_t state);
    void PlacePage();
    void Layout(bool strict);

    struct Impl;
    std::unique_ptr<Impl> impl_;
    ui::Services& services_;
};

}  // namespace kestrova
