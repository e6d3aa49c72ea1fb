// The retained control model: user controls holding named controls with the properties and
// events the pages use. Page logic is written once against it; hosts render it and feed user
// input back through the User* operations. Geometry is in twips, colours are COLORREF values
// (0x00BBGGRR) or system colours (0x80000000 + index).
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace kestrova::ui {

enum class Kind {
    UserControl,
    Label,
    TextBox,
    CommandButton,
    CheckBox,
    OptionButton,
    ComboBox,
    Frame,
    Shape,
    Image,
    Timer,
    TreeView,
    ListView,
    StatusBar,
};
const char* KindName(Kind kind);

using Color = uint32_t;
constexpr Color Rgb(int r, int g, int b) {
    return static_cast<Color>(r) | (static_cast<Color>(g) << 8) | (static_cast<Color>(b) << 16);
}
namespace syscolor {
inline constexpr Color ScrollBar = 0x80000000;
inline constexpr Color Window = 0x80000005;
inline constexpr Color WindowText = 0x80000008;
inline constexpr Color ButtonFace = 0x8000000F;
inline constexpr Color GrayText = 0x80000011;
inline constexpr Color ButtonText = 0x80000012;
inline constexpr Color InfoBackground = 0x80000018;
}  // namespace syscolor

// Properties, as named in notifications and in the scripted frame's JSON.
enum class Prop {
    Caption,
    Text,
    Enabled,
    Visible,
    Locked,
    BackColor,
    ForeColor,
    FillColor,
    ToolTipText,
    Value,
    ListIndex,
    List,
    Interval,
    Left,
    Top,
    Width,
    Height,
    Picture,
    FontBold,
    FontSize,
    Shape,
    MultiLine,
    Nodes,
    ColumnHeaders,
    ListItems,
    Panels,
};
const char* PropName(Prop prop);

// Shape styles (the Shape property of a Shape control).
enum ShapeStyle : int {
    kRectangle = 0,
    kSquare = 1,
    kOval = 2,
    kCircle = 3,
    kRoundedRectangle = 4
};

struct TreeNode {
    std::string Key;
    std::string Text;
    Color BackColor = syscolor::Window;
    Color ForeColor = syscolor::WindowText;
    bool operator==(const TreeNode&) const = default;
};

struct ColumnHeader {
    std::string Text;
    int32_t Width = 1440;
    bool operator==(const ColumnHeader&) const = default;
};

struct Panel {
    std::string Text;
    std::string Picture;  // image resource name, empty for none
    int32_t Width = 1440;
    bool operator==(const Panel&) const = default;
};

class Control;
class Clock;
using Observer = std::function<void(Control&, Prop)>;

class Control {
  public:
    Control(Kind kind, std::string name, int index = -1);
    virtual ~Control();
    Control(const Control&) = delete;
    Control& operator=(const Control&) = delete;

    Kind GetKind() const { return kind_; }
    const std::string& Name() const { return name_; }
    int Index() const { return index_; }  // -1 unless part of a control array
    Control* Parent() const { return parent_; }
    Control& Root();

    // --- children (user controls and frames hold others) ---
    template <class T, class... Args>
    T& Add(Args&&... args) {
        auto child = std::make_unique<T>(std::forward<Args>(args)...);
        T& ref = *child;
        Adopt(std::move(child));
        return ref;
    }
    Control& AddControl(Kind kind, std::string name, int index = -1);
    // Adds a control at its design-time place (twips) with its design-time caption.
    Control& AddAt(Kind kind, std::string name, int32_t left, int32_t top, int32_t width,
                   int32_t height, std::string caption = {});
    const std::vector<std::unique_ptr<Control>>& Children() const { return children_; }
    // Direct child by name (case-insensitive) and array index; null when absent.
    Control* Find(std::string_view name, int index = -1) const;
    // Like Find, but a missing control raises (a design fault, not a user error).
    Control& operator()(std::string_view name, int index = -1) const;
    // Dot-separated chain of names with optional "(n)" indices; null when absent.
    Control* Resolve(std::string_view path);
    // All controls below this one, depth first.
    void ForEach(const std::function<void(Control&)>& fn);

    // --- common properties ---
    const std::string& Caption() const { return caption_; }
    void SetCaption(std::string v);
    const std::string& Text() const { return text_; }
    void SetText(std::string v);  // a text box fires Change when the text changes
    bool Enabled() const { return enabled_; }
    void SetEnabled(bool v);  // a timer re-arms when enabled
    bool Visible() const { return visible_; }
    void SetVisible(bool v);
    bool Locked() const { return locked_; }
    void SetLocked(bool v);
    Color BackColor() const { return backColor_; }
    void SetBackColor(Color v);
    Color ForeColor() const { return foreColor_; }
    void SetForeColor(Color v);
    Color FillColor() const { return fillColor_; }
    void SetFillColor(Color v);
    const std::string& ToolTipText() const { return toolTip_; }
    void SetToolTipText(std::string v);
    // CheckBox 0/1/2, OptionButton 0/1. Setting a check box's value fires Click; setting an
    // option button to 1 clears its siblings in the same container and fires Click.
    int Value() const { return value_; }
    void SetValue(int v);
    int32_t Left() const { return left_; }
    int32_t Top() const { return top_; }
    int32_t Width() const { return width_; }
    int32_t Height() const { return height_; }
    void SetLeft(int32_t v);
    void SetTop(int32_t v);
    void SetWidth(int32_t v);
    void SetHeight(int32_t v);
    void Move(int32_t left, int32_t top, int32_t width, int32_t height);
    const std::string& Picture() const { return picture_; }  // image resource name
    void SetPicture(std::string v);
    bool FontBold() const { return fontBold_; }
    void SetFontBold(bool v);
    double FontSize() const { return fontSize_; }
    void SetFontSize(double v);
    int ShapeKind() const { return shape_; }
    void SetShapeKind(int v);
    bool MultiLine() const { return multiLine_; }
    void SetMultiLine(bool v);

    // --- combo box ---
    const std::vector<std::string>& List() const { return list_; }
    int ListCount() const { return static_cast<int>(list_.size()); }
    void AddItem(std::string item);
    void Clear();  // empties the list; ListIndex becomes -1
    int ListIndex() const { return listIndex_; }
    // Selects an entry (-1 for none), sets Text to it and fires Click when it changes. An index
    // outside the list raises Invalid property value (380).
    void SetListIndex(int index);

    // --- timer ---
    int32_t Interval() const { return interval_; }
    void SetInterval(int32_t ms);           // re-arms an enabled timer
    int64_t DueAt() const { return due_; }  // -1 when not armed
    // The armed timers of this control and every control below it, in no particular order.
    const std::vector<Control*>& ArmedTimers() const { return armed_; }

    // --- tree view ---
    const std::vector<TreeNode>& Nodes() const { return nodes_; }
    void AddNode(std::string key, std::string text);  // a duplicate key raises (35602)
    void ClearNodes();
    TreeNode* FindNode(std::string_view key);
    void SetNodeText(std::string_view key, std::string text);
    void SetNodeColors(std::string_view key, Color back, Color fore);
    const std::string& SelectedKey() const { return selectedKey_; }
    void SelectNode(std::string_view key);  // selects without firing NodeClick

    // --- list view (report mode) ---
    const std::vector<ColumnHeader>& ColumnHeaders() const { return columns_; }
    void AddColumn(std::string text, int32_t width);
    void SetColumnText(size_t index, std::string text);
    using Rows = std::deque<std::vector<std::string>>;  // the oldest row goes in constant time
    const Rows& ListItems() const { return rows_; }
    // A row's background (0-based, as ListItems counts); the window colour when it has none.
    Color RowBackColor(size_t index) const;
    void AddRow(std::vector<std::string> cells, Color back = syscolor::Window);
    void RemoveRow(size_t position);  // 1-based, as the list view counts
    void ClearRows();

    // --- status bar ---
    const std::vector<Panel>& Panels() const { return panels_; }
    void AddPanel(std::string text, int32_t width);
    void SetPanelText(size_t position, std::string text);  // 1-based
    void SetPanelPicture(size_t position, std::string picture);

    // --- events (one handler each, typed) ---
    std::function<void()> Click;
    std::function<void()> Change;
    std::function<void(int16_t& keyAscii)> KeyPress;
    std::function<void(const std::string& key)> NodeClick;
    std::function<void()> OnTimer;

    // --- user input, as a renderer or a script delivers it ---
    void UserClick();                 // button, check box (toggles), option button (selects)
    void UserType(std::string text);  // sets a text box's text (Change fires)
    void UserKey(int16_t keyAscii);   // KeyPress, then printable keys edit the text
    void UserPick(int index);         // combo box selection (Click fires)
    void UserNodeClick(std::string_view key);  // selects the node, then NodeClick

    // --- observation (renderers) ---
    // Observers see changes of this control and of every control below it.
    int Observe(Observer observer);
    void Unobserve(int id);

    // --- timers: the clock comes from the root; hosts drive them through RunDueTimers ---
    void SetClock(Clock* clock) { clock_ = clock; }
    Clock* GetClock();
    // Fires the Timer event if this is an enabled, due timer; re-arms it.
    void FireTimer();

  protected:
    // User control hooks.
    virtual void OnShow() {}
    virtual void OnHide() {}
    virtual void OnResize() {}

    void Notify(Prop prop);

  private:
    void Adopt(std::unique_ptr<Control> child);
    void Arm();
    void SetDue(int64_t due);
    void PropagateShow(bool shown);
    bool ShownInTree() const;

    Kind kind_;
    std::string name_;
    int index_;
    Control* parent_ = nullptr;
    std::vector<std::unique_ptr<Control>> children_;

    std::string caption_, text_, toolTip_, picture_;
    bool enabled_ = true, visible_ = true, locked_ = false, fontBold_ = false, multiLine_ = false;
    Color backColor_, foreColor_, fillColor_ = 0;
    double fontSize_ = 8.25;
    int value_ = 0;
    int shape_ = kRectangle;
    int32_t left_ = 0, top_ = 0, width_ = 1200, height_ = 375;
    std::vector<std::string> list_;
    int listIndex_ = -1;
    int32_t interval_ = 0;
    int64_t due_ = -1;
    std::vector<Control*> armed_;
    std::vector<TreeNode> nodes_;
    std::string selectedKey_;
    std::vector<ColumnHeader> columns_;
    Rows rows_;
    std::deque<Color> rowBacks_;  // beside rows_
    std::vector<Panel> panels_;
    std::vector<std::pair<int, Observer>> observers_;
    int nextObserver_ = 1;
    Clock* clock_ = nullptr;
    bool inResize_ = false;
};

// A user control: a container with its own show/hide/resize hooks (pages and panels derive).
class UserControl : public Control {
  public:
    explicit UserControl(std::string name, int index = -1)
        : Control(Kind::UserControl, std::move(name), index) {}
};

// The host's clock, in milliseconds.
class Clock {
  public:
    virtual ~Clock() = default;
    virtual int64_t NowMs() const = 0;
};

// A clock that moves only when told (tests and the scripted frame).
class VirtualClock : public Clock {
  public:
    int64_t NowMs() const override { return now_; }
    void Set(int64_t now) { now_ = now; }

  private:
    int64_t now_ = 0;
};

// The armed timer below root that fires next (the earliest due, depth first among equals), or
// null; NextDue is its due time, or -1.
Control* NextDueTimer(Control& root);
int64_t NextDue(Control& root);
// Fires due timers (due <= now) in time order; each fires at most once per call.
int RunDueTimers(Control& root, int64_t now);
// Advances a virtual clock to target, firing every timer due on the way in time order (a timer
// re-armed inside the window fires again). Returns the number of ticks fired.
int AdvanceClock(Control& root, VirtualClock& clock, int64_t target);

}  // namespace kestrova::ui
