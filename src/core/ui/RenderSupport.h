// What every renderer of the control model decides the same way, whatever toolkit draws it:
// stacking, colours, twips, the fit of a label's text, fonts, names and failure texts. The
// hosts keep only what their toolkit needs.
#pragma once

#include <cstdint>
#include <exception>
#include <string>

#include "ui/Control.h"

namespace kestrova::ui {

// Stacking layer of a kind, lowest first. Frames and shapes are backgrounds: controls placed
// over them as siblings (not as their children) must stay visible. Lightweight controls come
// next, below every windowed one.
inline constexpr int kWindowedLayer = 4;
int StackingLayer(Kind kind);

// The groups of properties a renderer applies together: a change of any one of them redraws
// its whole group (the box, the colours, the shown text and value, ...).
enum class Aspect {
    None,  // nothing to draw (a timer's interval; a text box's line mode changes its window)
    Geometry,
    Visible,
    Enabled,
    Locked,
    Colors,
    Shape,
    ToolTip,
    Font,
    Content,  // caption, text, value and picture
    List,
    Nodes,
    Columns,
    Rows,
    Panels,
};
Aspect AspectOf(Prop prop);
// Whether a kind shows an aspect at all: only combo boxes have a list, only tree views nodes,
// only list views columns and rows, only status bars panels, only text boxes lock, only shapes
// a shape.
bool Shows(Kind kind, Aspect aspect);

// A control's colour left at the button face: it has none of its own.
bool IsDefaultFace(Color color);
// Labels, check boxes and options without a colour of their own are drawn on their container.
bool DrawsOnContainer(const Control& control);
// A node or row colour other than the view's own.
bool IsOwnBackColor(Color back);
bool IsOwnForeColor(Color fore);
bool HasOwnColors(const TreeNode& node);

// The node of a tree view that shows as chosen; -1 when none is.
int SelectedNode(const Control& tree);

// How a check box shows its value: 1 checked, 2 greyed, anything else clear.
enum class CheckState { Unchecked, Checked, Grayed };
CheckState CheckStateOf(int value);

// Twips (1/1440 inch) and pixels at a DPI, rounded; values beyond the range are clamped and a
// DPI that is not positive gives 0.
int TwipsToPx(int32_t twips, double dpi);
int32_t PxToTwips(int px, double dpi);

// The classic dialog font size the layouts were made for, and the size a control's text takes.
inline constexpr double kDefaultFontPoints = 8.25;
double FontPoints(const Control& control);

// The letters of the classic dialog font average about 5.6 pixels at 96 DPI; a wider font would
// not fit its captions into layouts made for it, so renderers narrow it to that width (never
// widen it). The letters the average is taken over, and that average in pixels at `dpi`:
inline constexpr const char* kAverageLetters =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
inline constexpr double DialogLetterWidth(double dpi) {
    return 5.6 * dpi / 96.0;
}
// The share of its width (0.7 to 1) a font keeps whose letters average `average` pixels at
// `dpi`; 1 for a font no wider than the target (2 % allowed).
double NarrowingFor(double average, double dpi);

// A label less than two lines high shows its caption on one line. Such a label whose text has
// no line break widens to its text (one pixel spare): when the font runs a little wider than
// the one the layout was made for, the text may pass the label's right edge (over whatever is
// there) rather than break onto a line nobody can see.
bool IsOneLineLabel(int heightPx, int lineHeightPx);
int LabelWidth(int widthPx, int heightPx, int lineHeightPx, int textWidthPx, bool textHasBreak);

// A control's name as scripts use it: "Option1(3)" for a member of a control array.
std::string IndexedName(const Control& control);
// A control's path below root: "UCGeneral1.CBComPorts", "IOLinkParam1.UCParameter1.Option1(3)";
// the root is its own name.
std::string ControlPath(const Control& control, const Control& root);

// What a failure says: the exception's text, or "unknown failure" for anything else.
std::string FailureText(const std::exception_ptr& error);

}  // namespace kestrova::ui
