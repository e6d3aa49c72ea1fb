// Renders a tree of the control model as native Win32 windows and keeps them in step: one
// window per control, placed from the model's twips at the screen's DPI, updated from the
// model's notifications (only the property that changed), with user input fed back through the
// model's User* operations. The model's timers are the host's to drive. Nothing here knows any
// particular page: whatever tree it is given is rendered.
#pragma once

#include <windows.h>

#include <commctrl.h>

#include <cstdint>
#include <exception>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "ui/Control.h"
#include "ui/RenderSupport.h"

namespace kestrova::win {

// A model colour as a COLORREF: system colours (0x80000000 + index) from GetSysColor.
COLORREF ToColorRef(ui::Color color);

using ui::ControlPath;
using ui::PxToTwips;
using ui::TwipsToPx;

// The logical DPI of the screen; 96 when it cannot be told.
double ScreenDpi();

// The window rendering the control at path (case-insensitive) below top, found through the
// window property every rendered window carries; null when there is none.
HWND FindControlWindow(HWND top, std::string_view path);
// The path a rendered window carries; empty for other windows.
std::string WindowControlPath(HWND window);

LRESULT CALLBACK PanelProc(HWND window, UINT message, WPARAM wp, LPARAM lp);
LRESULT CALLBACK InputSubclass(HWND window, UINT message, WPARAM wp, LPARAM lp, UINT_PTR id,
                               DWORD_PTR data);

class Renderer {
  public:
    // Renders root as a child window of parent. dpi 0 takes the screen's. The renderer must be
    // destroyed before root.
    Renderer(ui::Control& root, HWND parent, double dpi = 0);
    ~Renderer();
    Renderer(const Renderer&) = delete;
    Renderer& operator=(const Renderer&) = delete;

    HWND RootWindow() const { return rootWindow_; }
    // The tooltip window (null until a control has a tooltip).
    HWND ToolTips() const { return tips_; }
    // The window of a control (null for timers and controls not rendered).
    HWND WindowFor(const ui::Control& control) const;
    ui::Control* ControlFor(HWND window) const;

    int ToPx(int32_t twips) const { return TwipsToPx(twips, dpi_); }
    int32_t ToTwips(int px) const { return PxToTwips(px, dpi_); }
    double Dpi() const { return dpi_; }

    // The container places the control in its window (pixels); the model may put the size
    // back, as it does below its smallest size.
    void SetBounds(int left, int top, int width, int height);

    // Where failures of model handlers go (they never cross the message loop): what the user
    // did and the error. The default writes them to the debugger output.
    std::function<void(const char* what, std::exception_ptr error)> OnError;

  private:
    struct Fonts;
    friend LRESULT CALLBACK PanelProc(HWND, UINT, WPARAM, LPARAM);
    friend LRESULT CALLBACK InputSubclass(HWND, UINT, WPARAM, LPARAM, UINT_PTR, DWORD_PTR);

    HWND Create(ui::Control& control, HWND parent);
    void CreateChildren(ui::Control& control, HWND window);
    void Destroy(ui::Control& control);
    void Rescan();
    void ApplyAll(ui::Control& control);
    void Apply(ui::Control& control, ui::Prop prop);
    void ApplyGeometry(ui::Control& control, HWND window);
    void ApplyText(ui::Control& control, HWND window);
    void ApplyList(ui::Control& control, HWND window);
    void ApplyNodes(ui::Control& control, HWND window);
    void ApplyColumns(ui::Control& control, HWND window);
    void ApplyRows(ui::Control& control, HWND window);
    void FitColumns(ui::Control& control, HWND list);
    void ApplyPanels(ui::Control& control, HWND window);
    void ApplyFont(ui::Control& control, HWND window);
    void ApplyToolTip(ui::Control& control, HWND window);
    void OnModelChange(ui::Control& control, ui::Prop prop);

    // Messages of a container window (the panels of user controls and frames).
    LRESULT OnCommand(HWND child, int code);
    LRESULT OnNotify(NMHDR* header);
    LRESULT OnColor(HWND child, HDC dc);
    void OnDrawItem(DRAWITEMSTRUCT* item);
    void PaintOwnDrawn(HWND window, ui::Control& control);
    bool OnChar(HWND window, WPARAM& ch);
    void DeliverNode(ui::Control& tree, HWND window, HTREEITEM item);

    void Forward(const char* what, const std::function<void()>& action);
    HBRUSH Brush(COLORREF color);
    HBITMAP Picture(const std::string& name);

    ui::Control& root_;
    double dpi_;
    HWND rootWindow_ = nullptr;
    HWND tips_ = nullptr;              // the tooltips of every window that has one
    std::unordered_set<HWND> tipped_;  // the windows that have one
    std::unordered_map<const ui::Control*, HWND> windows_;  // null for timers
    std::unordered_map<HWND, ui::Control*> byWindow_;
    std::unordered_map<const ui::Control*, HWND> groupBoxes_;  // the border of each frame
    std::unordered_map<HWND, ui::Control*> byGroupBox_;
    std::unordered_map<const ui::Control*, std::vector<std::vector<std::string>>> shownRows_;
    std::map<COLORREF, HBRUSH> brushes_;
    std::map<std::string, HBITMAP> pictures_;
    std::unique_ptr<Fonts> fonts_;
    int observer_ = 0;
    int applying_ = 0;  // model changes being applied: window notifications are not user input
    HTREEITEM mouseNode_ = nullptr;  // the node a mouse click already delivered
    POINT mouseDown_{};              // where the last mouse click in a tree went down
    POINT origin_{};                 // where the container put the root window
};

}  // namespace kestrova::win
