#include "ui/Control.h"

#include <algorithm>

#include "tools/Vb.h"

namespace kestrova::ui {

namespace {
constexpr int32_t kInvalidPropertyValue = 380;
constexpr int32_t kIndexOutOfBounds = 35600;
constexpr int32_t kElementNotFound = 35601;
constexpr int32_t kKeyNotUnique = 35602;
}  // namespace

const char* KindName(Kind kind) {
    switch (kind) {
        case Kind::UserControl:
            return "UserControl";
        case Kind::Label:
            return "Label";
        case Kind::TextBox:
            return "TextBox";
        case Kind::CommandButton:
            return "CommandButton";
        case Kind::CheckBox:
            return "CheckBox";
        case Kind::OptionButton:
            return "OptionButton";
        case Kind::ComboBox:
            return "ComboBox";
        case Kind::Frame:
            return "Frame";
        case Kind::Shape:
            return "Shape";
        case Kind::Image:
            return "Image";
        case Kind::Timer:
            return "Timer";
        case Kind::TreeView:
            return "TreeView";
        case Kind::ListView:
            return "ListView";
        case Kind::StatusBar:
            return "StatusBar";
    }
    return "Control";
}

const char* PropName(Prop prop) {
    switch (prop) {
        case Prop::Caption:
            return "Caption";
        case Prop::Text:
            return "Text";
        case Prop::Enabled:
            return "Enabled";
        case Prop::Visible:
            return "Visible";
        case Prop::Locked:
            return "Locked";
        case Prop::BackColor:
            return "BackColor";
        case Prop::ForeColor:
            return "ForeColor";
        case Prop::FillColor:
            return "FillColor";
        case Prop::ToolTipText:
            return "ToolTipText";
        case Prop::Value:
            return "Value";
        case Prop::ListIndex:
            return "ListIndex";
        case Prop::List:
            return "List";
        case Prop::Interval:
            return "Interval";
        case Prop::Left:
            return "Left";
        case Prop::Top:
            return "Top";
        case Prop::Width:
            return "Width";
        case Prop::Height:
            return "Height";
        case Prop::Picture:
            return "Picture";
        case Prop::FontBold:
            return "FontBold";
        case Prop::FontSize:
            return "FontSize";
        case Prop::Shape:
            return "Shape";
        case Prop::MultiLine:
            return "MultiLine";
        case Prop::Nodes:
            return "Nodes";
        case Prop::ColumnHeaders:
            return "ColumnHeaders";
        case Prop::ListItems:
            return "ListItems";
        case Prop::Panels:
            return "Panels";
    }
    return "";
}

Control::Control(Kind kind, std::string name, int index)
    : kind_(kind), name_(std::move(name)), index_(index) {
    const bool field = kind == Kind::TextBox || kind == Kind::ComboBox || kind == Kind::TreeView ||
                       kind == Kind::ListView;
    backColor_ = field ? syscolor::Window : syscolor::ButtonFace;
    foreColor_ = field ? syscolor::WindowText : syscolor::ButtonText;
}

Control::~Control() {
    // The ancestors stop counting this subtree's timers; the children go without walking up.
    for (Control* c = parent_; c; c = c->parent_)
        for (Control* t : armed_) std::erase(c->armed_, t);
    for (auto& child : children_) child->parent_ = nullptr;
}

Control& Control::Root() {
    Control* c = this;
    while (c->parent_) c = c->parent_;
    return *c;
}

void Control::Adopt(std::unique_ptr<Control> child) {
    child->parent_ = this;
    for (Control* c = this; c; c = c->parent_)
        c->armed_.insert(c->armed_.end(), child->armed_.begin(), child->armed_.end());
    children_.push_back(std::move(child));
}

Control& Control::AddControl(Kind kind, std::string name, int index) {
    return Add<Control>(kind, std::move(name), index);
}

Control& Control::AddAt(Kind kind, std::string name, int32_t left, int32_t top, int32_t width,
                        int32_t height, std::string caption) {
    Control& c = AddControl(kind, std::move(name));
    c.Move(left, top, width, height);
    c.SetCaption(std::move(caption));
    return c;
}

Control* Control::Find(std::string_view name, int index) const {
    for (const auto& c : children_)
        if (c->index_ == index && IEquals(c->name_, name)) return c.get();
    return nullptr;
}

Control& Control::operator()(std::string_view name, int index) const {
    Control* c = Find(name, index);
    if (!c) {
        std::string what = "Control not found: " + std::string(name);
        if (index >= 0) what += "(" + std::to_string(index) + ")";
        Raise(730, what);
    }
    return *c;
}

Control* Control::Resolve(std::string_view path) {
    if (path.empty()) return this;
    Control* c = this;
    // Every dot must be followed by a name: "A." and "A..B" resolve to nothing.
    for (bool more = true; c && more;) {
        const size_t dot = path.find('.');
        std::string_view part = path.substr(0, dot);
        more = dot != std::string_view::npos;
        path = more ? path.substr(dot + 1) : std::string_view{};
        int index = -1;
        const size_t open = part.find('(');
        if (open != std::string_view::npos) {
            if (part.back() != ')') return nullptr;
            const std::string_view digits = part.substr(open + 1, part.size() - open - 2);
            if (digits.size() > 4 || !IsDigits(digits)) return nullptr;
            index = std::stoi(std::string(digits));
            part = part.substr(0, open);
        }
        if (part.empty()) return nullptr;
        c = c->Find(part, index);
    }
    return c;
}

void Control::ForEach(const std::function<void(Control&)>& fn) {
    for (auto& c : children_) {
        fn(*c);
        c->ForEach(fn);
    }
}

void Control::Notify(Prop prop) {
    for (Control* c = this; c; c = c->parent_) {
        // Copy: an observer may unregister itself while being called.
        auto observers = c->observers_;
        for (auto& [id, fn] : observers) fn(*this, prop);
    }
}

int Control::Observe(Observer observer) {
    const int id = nextObserver_++;
    observers_.emplace_back(id, std::move(observer));
    return id;
}

void Control::Unobserve(int id) {
    std::erase_if(observers_, [id](const auto& o) { return o.first == id; });
}

void Control::SetCaption(std::string v) {
    if (v == caption_) return;
    caption_ = std::move(v);
    Notify(Prop::Caption);
}

void Control::SetText(std::string v) {
    if (v == text_) return;
    text_ = std::move(v);
    Notify(Prop::Text);
    if (kind_ == Kind::TextBox && Change) Change();
}

void Control::SetEnabled(bool v) {
    if (v == enabled_) return;
    enabled_ = v;
    if (kind_ == Kind::Timer) Arm();
    Notify(Prop::Enabled);
}

bool Control::ShownInTree() const {
    for (const Control* c = this; c; c = c->parent_)
        if (!c->visible_) return false;
    return true;
}

void Control::PropagateShow(bool shown) {
    if (kind_ == Kind::UserControl) {
        if (shown)
            OnShow();
        else
            OnHide();
    }
    for (auto& c : children_)
        if (c->visible_) c->PropagateShow(shown);
}

void Control::SetVisible(bool v) {
    if (v == visible_) return;
    const bool parentShown = !parent_ || parent_->ShownInTree();
    visible_ = v;
    Notify(Prop::Visible);
    if (parentShown) PropagateShow(v);
}

void Control::SetLocked(bool v) {
    if (v == locked_) return;
    locked_ = v;
    Notify(Prop::Locked);
}

void Control::SetBackColor(Color v) {
    if (v == backColor_) return;
    backColor_ = v;
    Notify(Prop::BackColor);
}

void Control::SetForeColor(Color v) {
    if (v == foreColor_) return;
    foreColor_ = v;
    Notify(Prop::ForeColor);
}

void Control::SetFillColor(Color v) {
    if (v == fillColor_) return;
    fillColor_ = v;
    Notify(Prop::FillColor);
}

void Control::SetToolTipText(std::string v) {
    if (v == toolTip_) return;
    toolTip_ = std::move(v);
    Notify(Prop::ToolTipText);
}

void Control::SetValue(int v) {
    if (kind_ == Kind::OptionButton) v = v ? 1 : 0;
    if (v == value_) return;
    value_ = v;
    Notify(Prop::Value);
    if (kind_ == Kind::OptionButton) {
        if (v == 0) return;
        if (parent_)
            for (auto& s : parent_->children_)
                if (s.get() != this && s->kind_ == Kind::OptionButton && s->value_) {
                    s->value_ = 0;
                    s->Notify(Prop::Value);
                }
        if (Click) Click();
    } else if (kind_ == Kind::CheckBox) {
        if (Click) Click();
    }
}

void Control::SetLeft(int32_t v) {
    Move(v, top_, width_, height_);
}
void Control::SetTop(int32_t v) {
    Move(left_, v, width_, height_);
}
void Control::SetWidth(int32_t v) {
    Move(left_, top_, v, height_);
}
void Control::SetHeight(int32_t v) {
    Move(left_, top_, width_, v);
}

void Control::Move(int32_t left, int32_t top, int32_t width, int32_t height) {
    if (width < 0 || height < 0) Raise(kInvalidPropertyValue, "Invalid property value");
    const bool sized = width != width_ || height != height_;
    if (left != left_) {
        left_ = left;
        Notify(Prop::Left);
    }
    if (top != top_) {
        top_ = top;
        Notify(Prop::Top);
    }
    if (width != width_) {
        width_ = width;
        Notify(Prop::Width);
    }
    if (height != height_) {
        height_ = height;
        Notify(Prop::Height);
    }
    // A resize handler that sizes its own control must not recurse.
    if (sized && kind_ == Kind::UserControl && !inResize_) {
        inResize_ = true;
        try {
            OnResize();
        } catch (...) {
            inResize_ = false;
            throw;
        }
        inResize_ = false;
    }
}

void Control::SetPicture(std::string v) {
    if (v == picture_) return;
    picture_ = std::move(v);
    Notify(Prop::Picture);
}

void Control::SetFontBold(bool v) {
    if (v == fontBold_) return;
    fontBold_ = v;
    Notify(Prop::FontBold);
}

void Control::SetFontSize(double v) {
    if (v == fontSize_) return;
    fontSize_ = v;
    Notify(Prop::FontSize);
}

void Control::SetShapeKind(int v) {
    if (v == shape_) return;
    shape_ = v;
    Notify(Prop::Shape);
}

void Control::SetMultiLine(bool v) {
    if (v == multiLine_) return;
    multiLine_ = v;
    Notify(Prop::MultiLine);
}

void Control::AddItem(std::string item) {
    list_.push_back(std::move(item));
    Notify(Prop::List);
}

void Control::Clear() {
    if (list_.empty() && listIndex_ == -1) return;
    list_.clear();
    Notify(Prop::List);
    if (listIndex_ != -1) {
        listIndex_ = -1;
        Notify(Prop::ListIndex);
    }
    if (!text_.empty()) {
        text_.clear();
        Notify(Prop::Text);
    }
}

void Control::SetListIndex(int index) {
    if (index < -1 || index >= ListCount()) Raise(kInvalidPropertyValue, "Invalid property value");
    if (index == listIndex_) return;
    listIndex_ = index;
    Notify(Prop::ListIndex);
    std::string text = index >= 0 ? list_[static_cast<size_t>(index)] : std::string{};
    if (text != text_) {
        text_ = std::move(text);
        Notify(Prop::Text);
    }
    if (Click) Click();
}

Clock* Control::GetClock() {
    for (Control* c = this; c; c = c->parent_)
        if (c->clock_) return c->clock_;
    return nullptr;
}

void Control::Arm() {
    if (kind_ != Kind::Timer) return;
    if (!enabled_ || interval_ <= 0) {
        SetDue(-1);
        return;
    }
    const Clock* clock = GetClock();
    SetDue((clock ? clock->NowMs() : 0) + interval_);
}

void Control::SetDue(int64_t due) {
    const bool wasArmed = due_ >= 0, armed = due >= 0;
    due_ = due;
    if (wasArmed == armed) return;
    // Every ancestor keeps the armed timers below it, so finding the next one never walks the
    // controls.
    for (Control* c = this; c; c = c->parent_) {
        if (armed)
            c->armed_.push_back(this);
        else
            std::erase(c->armed_, this);
    }
}

void Control::SetInterval(int32_t ms) {
    if (ms < 0) Raise(kInvalidPropertyValue, "Invalid property value");
    if (ms == interval_) return;
    interval_ = ms;
    Arm();
    Notify(Prop::Interval);
}

void Control::FireTimer() {
    if (kind_ != Kind::Timer || !enabled_ || due_ < 0) return;
    Arm();  // the next tick counts from now; the handler may re-arm it again
    if (OnTimer) OnTimer();
}

void Control::AddNode(std::string key, std::string text) {
    if (!key.empty() && FindNode(key)) Raise(kKeyNotUnique, "Key is not unique in collection");
    nodes_.push_back(TreeNode{std::move(key), std::move(text)});
    Notify(Prop::Nodes);
}

void Control::ClearNodes() {
    if (nodes_.empty()) return;
    nodes_.clear();
    selectedKey_.clear();
    Notify(Prop::Nodes);
}

TreeNode* Control::FindNode(std::string_view key) {
    for (auto& n : nodes_)
        if (n.Key == key) return &n;
    return nullptr;
}

void Control::SetNodeText(std::string_view key, std::string text) {
    TreeNode* n = FindNode(key);
    if (!n) Raise(kElementNotFound, "Element not found");
    if (n->Text == text) return;
    n->Text = std::move(text);
    Notify(Prop::Nodes);
}

void Control::SetNodeColors(std::string_view key, Color back, Color fore) {
    TreeNode* n = FindNode(key);
    if (!n) Raise(kElementNotFound, "Element not found");
    if (n->BackColor == back && n->ForeColor == fore) return;
    n->BackColor = back;
    n->ForeColor = fore;
    Notify(Prop::Nodes);
}

void Control::SelectNode(std::string_view key) {
    if (!FindNode(key)) Raise(kElementNotFound, "Element not found");
    if (selectedKey_ == key) return;
    selectedKey_ = std::string(key);
    Notify(Prop::Nodes);
}

void Control::AddColumn(std::string text, int32_t width) {
    columns_.push_back(ColumnHeader{std::move(text), width});
    Notify(Prop::ColumnHeaders);
}

void Control::SetColumnText(size_t index, std::string text) {
    if (index >= columns_.size()) Raise(vberr::SubscriptOutOfRange);
    if (columns_[index].Text == text) return;
    columns_[index].Text = std::move(text);
    Notify(Prop::ColumnHeaders);
}

Color Control::RowBackColor(size_t index) const {
    return index < rowBacks_.size() ? rowBacks_[index] : syscolor::Window;
}

void Control::AddRow(std::vector<std::string> cells, Color back) {
    rows_.push_back(std::move(cells));
    rowBacks_.push_back(back);
    Notify(Prop::ListItems);
}

void Control::RemoveRow(size_t position) {
    if (position < 1 || position > rows_.size()) Raise(kIndexOutOfBounds, "Index out of bounds");
    rows_.erase(rows_.begin() + static_cast<std::ptrdiff_t>(position - 1));
    rowBacks_.erase(rowBacks_.begin() + static_cast<std::ptrdiff_t>(position - 1));
    Notify(Prop::ListItems);
}

void Control::ClearRows() {
    if (rows_.empty()) return;
    rows_.clear();
    rowBacks_.clear();
    Notify(Prop::ListItems);
}

void Control::AddPanel(std::string text, int32_t width) {
    panels_.push_back(Panel{std::move(text), {}, width});
    Notify(Prop::Panels);
}

void Control::SetPanelText(size_t position, std::string text) {
    if (position < 1 || position > panels_.size()) Raise(kIndexOutOfBounds, "Index out of bounds");
    if (panels_[position - 1].Text == text) return;
    panels_[position - 1].Text = std::move(text);
    Notify(Prop::Panels);
}

void Control::SetPanelPicture(size_t position, std::string picture) {
    if (position < 1 || position > panels_.size()) Raise(kIndexOutOfBounds, "Index out of bounds");
    if (panels_[position - 1].Picture == picture) return;
    panels_[position - 1].Picture = std::move(picture);
    Notify(Prop::Panels);
}

void Control::UserClick() {
    if (!enabled_) return;
    switch (kind_) {
        case Kind::CheckBox:
            SetValue(value_ == 1 ? 0 : 1);
            break;
        case Kind::OptionButton:
            // Clicking the chosen option fires Click again without a value change.
            if (!value_)
                SetValue(1);
            else if (Click)
                Click();
            break;
        default:
            if (Click) Click();
    }
}

void Control::UserType(std::string text) {
    if (!enabled_ || locked_) return;
    SetText(std::move(text));
}

void Control::UserKey(int16_t keyAscii) {
    if (!enabled_) return;
    if (KeyPress) KeyPress(keyAscii);
    if (kind_ != Kind::TextBox || locked_ || keyAscii == 0) return;
    if (keyAscii == 8) {
        if (!text_.empty()) {
            // Remove one whole UTF-8 character.
            size_t cut = text_.size() - 1;
            while (cut > 0 && (static_cast<unsigned char>(text_[cut]) & 0xC0) == 0x80) --cut;
            SetText(text_.substr(0, cut));
        }
    } else if (keyAscii >= 32 && keyAscii <= 255) {
        SetText(text_ + Cp1252Char(static_cast<uint8_t>(keyAscii)));
    }
}

void Control::UserPick(int index) {
    if (!enabled_) return;
    SetListIndex(index);
}

void Control::UserNodeClick(std::string_view key) {
    if (!enabled_) return;
    SelectNode(key);
    if (NodeClick) NodeClick(std::string(key));
}

namespace {

// Whether a comes before b depth first, the order in which timers due at the same instant fire.
bool BeforeInTree(const Control* a, const Control* b) {
    std::vector<const Control*> pathA, pathB;
    for (const Control* c = a; c; c = c->Parent()) pathA.insert(pathA.begin(), c);
    for (const Control* c = b; c; c = c->Parent()) pathB.insert(pathB.begin(), c);
    size_t i = 0;
    while (i < pathA.size() && i < pathB.size() && pathA[i] == pathB[i]) ++i;
    if (i == pathA.size() || i == pathB.size()) return pathA.size() < pathB.size();
    for (const auto& child : pathA[i - 1]->Children()) {
        if (child.get() == pathA[i]) return true;
        if (child.get() == pathB[i]) return false;
    }
    return false;
}

bool FiresFirst(const Control* a, const Control* b) {
    return a->DueAt() != b->DueAt() ? a->DueAt() < b->DueAt() : BeforeInTree(a, b);
}

}  // namespace

Control* NextDueTimer(Control& root) {
    Control* best = nullptr;
    for (Control* t : root.ArmedTimers())
        if (!best || FiresFirst(t, best)) best = t;
    return best;
}

int64_t NextDue(Control& root) {
    Control* t = NextDueTimer(root);
    return t ? t->DueAt() : -1;
}

int RunDueTimers(Control& root, int64_t now) {
    std::vector<Control*> timers;
    for (Control* t : root.ArmedTimers())
        if (t->DueAt() <= now) timers.push_back(t);
    std::sort(timers.begin(), timers.end(), FiresFirst);
    int fired = 0;
    for (Control* t : timers) {
        // A handler before this one may have disabled or re-armed it.
        if (t->Enabled() && t->DueAt() >= 0 && t->DueAt() <= now) {
            t->FireTimer();
            ++fired;
        }
    }
    return fired;
}

int AdvanceClock(Control& root, VirtualClock& clock, int64_t target) {
    // Timers arm from the root's clock; without one they would never move past the window.
    if (!root.GetClock()) root.SetClock(&clock);
    int fired = 0;
    for (Control* t = NextDueTimer(root); t && t->DueAt() <= target; t = NextDueTimer(root)) {
        if (t->DueAt() > clock.NowMs()) clock.Set(t->DueAt());
        t->FireTimer();
        ++fired;
    }
    if (target > clock.NowMs()) clock.Set(target);
    return fired;
}

}  // namespace kestrova::ui
