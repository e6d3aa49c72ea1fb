#include "ui/RenderSupport.h"

#include <algorithm>
#include <climits>
#include <cmath>

namespace kestrova::ui {

int StackingLayer(Kind kind) {
    switch (kind) {
        case Kind::Frame:
            return 0;
        case Kind::Shape:
            return 1;
        case Kind::Image:
            return 2;
        case Kind::Label:
            return 3;
        default:
            return kWindowedLayer;
    }
}

Aspect AspectOf(Prop prop) {
    switch (prop) {
        case Prop::Left:
        case Prop::Top:
        case Prop::Width:
        case Prop::Height:
            return Aspect::Geometry;
        case Prop::Visible:
            return Aspect::Visible;
        case Prop::Enabled:
            return Aspect::Enabled;
        case Prop::Locked:
            return Aspect::Locked;
        case Prop::BackColor:
        case Prop::ForeColor:
        case Prop::FillColor:
            return Aspect::Colors;
        case Prop::Shape:
            return Aspect::Shape;
        case Prop::ToolTipText:
            return Aspect::ToolTip;
        case Prop::FontBold:
        case Prop::FontSize:
            return Aspect::Font;
        case Prop::Caption:
        case Prop::Text:
        case Prop::Value:
        case Prop::Picture:
            return Aspect::Content;
        case Prop::List:
        case Prop::ListIndex:
            return Aspect::List;
        case Prop::Nodes:
            return Aspect::Nodes;
        case Prop::ColumnHeaders:
            return Aspect::Columns;
        case Prop::ListItems:
            return Aspect::Rows;
        case Prop::Panels:
            return Aspect::Panels;
        case Prop::Interval:
        case Prop::MultiLine:
            break;
    }
    return Aspect::None;
}

bool Shows(Kind kind, Aspect aspect) {
    switch (aspect) {
        case Aspect::None:
            return false;
        case Aspect::Locked:
            return kind == Kind::TextBox;
        case Aspect::Shape:
            return kind == Kind::Shape;
        case Aspect::List:
            return kind == Kind::ComboBox;
        case Aspect::Nodes:
            return kind == Kind::TreeView;
        case Aspect::Columns:
        case Aspect::Rows:
            return kind == Kind::ListView;
        case Aspect::Panels:
            return kind == Kind::StatusBar;
        default:
            return true;
    }
}

bool IsDefaultFace(Color color) {
    return color == syscolor::ButtonFace;
}

bool DrawsOnContainer(const Control& control) {
    switch (control.GetKind()) {
        case Kind::Label:
        case Kind::CheckBox:
        case Kind::OptionButton:
            return IsDefaultFace(control.BackColor());
        default:
            return false;
    }
}

bool IsOwnBackColor(Color back) {
    return back != syscolor::Window;
}

bool IsOwnForeColor(Color fore) {
    return fore != syscolor::WindowText;
}

bool HasOwnColors(const TreeNode& node) {
    return IsOwnBackColor(node.BackColor) || IsOwnForeColor(node.ForeColor);
}

int SelectedNode(const Control& tree) {
    const std::string& key = tree.SelectedKey();
    if (key.empty()) return -1;
    const auto& nodes = tree.Nodes();
    for (size_t i = 0; i < nodes.size() && i <= INT_MAX; ++i)
        if (nodes[i].Key == key) return static_cast<int>(i);
    return -1;
}

CheckState CheckStateOf(int value) {
    return value == 1   ? CheckState::Checked
           : value == 2 ? CheckState::Grayed
                        : CheckState::Unchecked;
}

int TwipsToPx(int32_t twips, double dpi) {
    const double px = std::round(static_cast<double>(twips) * dpi / 1440.0);
    if (std::isnan(px)) return 0;
    return static_cast<int>(
        std::clamp(px, static_cast<double>(INT_MIN), static_cast<double>(INT_MAX)));
}

int32_t PxToTwips(int px, double dpi) {
    if (!(dpi > 0)) return 0;
    const double twips = std::round(static_cast<double>(px) * 1440.0 / dpi);
    return static_cast<int32_t>(
        std::clamp(twips, static_cast<double>(INT32_MIN), static_cast<double>(INT32_MAX)));
}

double FontPoints(const Control& control) {
    return control.FontSize() > 0 ? control.FontSize() : kDefaultFontPoints;
}

double NarrowingFor(double average, double dpi) {
    const double target = DialogLetterWidth(dpi);
    if (!(average > target * 1.02) || !(target > 0)) return 1.0;  // NaN and nonsense stay as is
    return std::clamp(target / average, 0.7, 1.0);
}

bool IsOneLineLabel(int heightPx, int lineHeightPx) {
    return static_cast<int64_t>(heightPx) < 2 * static_cast<int64_t>(lineHeightPx);
}

int LabelWidth(int widthPx, int heightPx, int lineHeightPx, int textWidthPx, bool textHasBreak) {
    if (textHasBreak || !IsOneLineLabel(heightPx, lineHeightPx)) return widthPx;
    const int64_t text = static_cast<int64_t>(textWidthPx) + 1;
    return static_cast<int>(std::max<int64_t>(widthPx, std::min<int64_t>(text, INT_MAX)));
}

std::string IndexedName(const Control& control) {
    std::string name = control.Name();
    if (control.Index() >= 0) name += "(" + std::to_string(control.Index()) + ")";
    return name;
}

std::string ControlPath(const Control& control, const Control& root) {
    if (&control == &root) return root.Name();
    std::string path;
    for (const Control* c = &control; c && c != &root; c = c->Parent())
        path = path.empty() ? IndexedName(*c) : IndexedName(*c) + "." + path;
    return path;
}

std::string FailureText(const std::exception_ptr& error) {
    try {
        if (error) std::rethrow_exception(error);
    } catch (const std::exception& e) {
        return e.what();
    } catch (...) {
    }
    return "unknown failure";
}

}  // namespace kestrova::ui
