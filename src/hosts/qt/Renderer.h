// Renders a tree of the control model as Qt widgets and keeps them in step: one widget per
// control, placed absolutely from the model's twips, updated from the model's notifications
// (only the property that changed), with user input fed back through the model's User*
// operations. The model's timers run on one QTimer of the event loop. Nothing here knows any
// particular page: whatever tree it is given is rendered.
#pragma once

#include <QObject>
#include <QPixmap>
#include <QString>
#include <QTimer>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <unordered_map>

#include "ui/Control.h"
#include "ui/RenderSupport.h"

class QWidget;
class QPalette;
class QColor;
class QFont;
class QScreen;

namespace kestrova::qt {

// A model colour as a Qt colour: COLORREF 0x00BBGGRR, or a system colour (0x80000000 + index)
// taken from the palette.
QColor ToQColor(ui::Color color, const QPalette& palette);

// A caption as a label shows it: "&&" is a literal ampersand, a single "&" marks a mnemonic and
// is not shown. Buttons, check boxes and frames use the same convention as Qt and take the
// caption unchanged.
QString LabelText(const std::string& caption);

// The stretch (percent) that narrows a font to the average letter width of the classic dialog
// font the layouts in twips were made for; 100 when it is not wider.
int DialogFontStretch(const QFont& font);

// The logical DPI of the screen (the primary one when null); 96 when it cannot be told.
double LogicalDpi(const QScreen* screen = nullptr);
using ui::PxToTwips;
using ui::TwipsToPx;

// The image resource of a Picture name (":/images/<name>.png"); a null pixmap when there is none.
QPixmap LoadPicture(const std::string& name);

class Renderer : public QObject {
  public:
    // Renders root into parent (which may be null for a top-level widget). dpi 0 takes the
    // logical DPI of the primary screen. The renderer must be destroyed before root.
    Renderer(ui::Control& root, QWidget* parent, double dpi = 0);
    ~Renderer() override;
    Renderer(const Renderer&) = delete;
    Renderer& operator=(const Renderer&) = delete;

    QWidget* RootWidget() const;
    // The widget of a control (null for timers and for controls not rendered).
    QWidget* WidgetFor(const ui::Control& control) const;

    int ToPx(int32_t twips) const;
    int32_t ToTwips(int px) const;

    // Time left until the timer driver wakes up next, in ms; -1 when no model timer is armed.
    int TimerRemaining() const;

    // Where failures of model handlers go (they never reach the event loop). The default
    // prints a warning.
    std::function<void(const std::string& message)> OnError;

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    QWidget* Create(ui::Control& control, QWidget* parent);
    void CreateChildren(ui::Control& control, QWidget* widget);
    void Restack(ui::Control& container);
    void Recreate(ui::Control& control);
    // Creates widgets for controls added to the model since the last scan.
    void Rescan();
    void ApplyAll(ui::Control& control);
    void Apply(ui::Control& control, ui::Prop prop);
    void ApplyGeometry(ui::Control& control, QWidget* widget);
    void ApplyColors(ui::Control& control, QWidget* widget);
    void ApplyFont(ui::Control& control, QWidget* widget);
    void ApplyText(ui::Control& control, QWidget* widget);
    void ApplyToolTip(ui::Control& control, QWidget* widget);
    void ApplyList(ui::Control& control, QWidget* widget);
    void ApplyNodes(ui::Control& control, QWidget* widget);
    void ApplyColumns(ui::Control& control, QWidget* widget);
    void ApplyRows(ui::Control& control, QWidget* widget);
    void OnModelChange(ui::Control& control, ui::Prop prop);
    void Connect(ui::Control& control, QWidget* widget);
    bool HandleKey(ui::Control& control, QWidget* widget, QEvent* event);

    // Runs a model operation triggered by the user; failures go to OnError.
    void Forward(const char* what, const std::function<void()>& action);

    void ScheduleTimers();
    void RunTimers();

    ui::Control& root_;
    double dpi_;
    std::unordered_map<const ui::Control*, QWidget*> widgets_;  // null for timers
    std::unordered_map<const QObject*, ui::Control*> byWidget_;
    QWidget* rootWidget_ = nullptr;
    int observer_ = 0;
    int applying_ = 0;  // model changes being applied: widget signals are not user input
    QTimer timer_;
    std::unique_ptr<ui::Clock> ownClock_;
    bool inTimers_ = false;
    int fontStretch_ = 0;                 // found on first use
    const QObject* keyTarget_ = nullptr;  // the widget handling a key press right now
};

}  // namespace kestrova::qt
