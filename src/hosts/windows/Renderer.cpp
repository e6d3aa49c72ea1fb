#include "Renderer.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <stdexcept>

#include "ComTypes.h"
#include "Module.h"
#include "tools/Vb.h"

namespace kestrova::win {

using ui::Control;
using ui::Kind;
using ui::Prop;

namespace {

constexpr wchar_t kPanelClass[] = L"KestrovaPanel";
constexpr wchar_t kPaintClass[] = L"KestrovaPaint";
constexpr wchar_t kPathProperty[] = L"Kestrova.Path";
constexpr UINT_PTR kSubclassId = 1;

std::wstring WindowText(HWND window) {
    const int length = GetWindowTextLengthW(window);
    std::wstring text(static_cast<size_t>(std::max(length, 0)) + 1, L'\0');
    const int got = GetWindowTextW(window, text.data(), length + 1);
    text.resize(static_cast<size_t>(std::max(got, 0)));
    return text;
}

void SetText(HWND window, std::string_view text) {
    const std::wstring wide = Widen(text);
    if (WindowText(window) != wide) SetWindowTextW(window, wide.c_str());
}

bool IsContainer(Kind kind) {
    return kind == Kind::UserControl || kind == Kind::Frame;
}

struct WindowSpec {
    const wchar_t* windowClass;
    DWORD style;
    DWORD exStyle;
};

WindowSpec SpecFor(const Control& c) {
    constexpr DWORD child = WS_CHILD | WS_CLIPSIBLINGS;
    switch (c.GetKind()) {
        case Kind::UserControl:
        case Kind::Frame:
            return {kPanelClass, child | WS_CLIPCHILDREN, WS_EX_CONTROLPARENT};
        case Kind::Label:
            return {L"STATIC", child | SS_LEFT, 0};
        case Kind::TextBox:
            if (c.MultiLine())
                return {
                    L"EDIT",
                    child | WS_TABSTOP | WS_VSCROLL | ES_MULTILINE | ES_AUTOVSCROLL | ES_WANTRETURN,
                    WS_EX_CLIENTEDGE};
            return {L"EDIT", child | WS_TABSTOP | ES_AUTOHSCROLL, WS_EX_CLIENTEDGE};
        case Kind::CommandButton:
            return {L"BUTTON", child | WS_TABSTOP | BS_PUSHBUTTON | BS_MULTILINE, 0};
        case Kind::CheckBox:
            // Not automatic: the model decides the state, the window shows it.
            return {L"BUTTON", child | WS_TABSTOP | BS_3STATE, 0};
        case Kind::OptionButton:
            return {L"BUTTON", child | WS_TABSTOP | BS_RADIOBUTTON, 0};
        case Kind::ComboBox:
            return {L"COMBOBOX", child | WS_TABSTOP | WS_VSCROLL | CBS_DROPDOWNLIST, 0};
        case Kind::Shape:
        case Kind::Image:
            return {kPaintClass, child, 0};
        case Kind::TreeView:
            return {WC_TREEVIEWW, child | WS_TABSTOP | TVS_SHOWSELALWAYS | TVS_FULLROWSELECT,
                    WS_EX_CLIENTEDGE};
        case Kind::ListView:
            return {WC_LISTVIEWW,
                    child | WS_TABSTOP | LVS_REPORT | LVS_SINGLESEL | LVS_SHOWSELALWAYS |
                        LVS_NOSORTHEADER,
                    WS_EX_CLIENTEDGE};
        case Kind::StatusBar:
            return {STATUSCLASSNAMEW, child | CCS_NOPARENTALIGN | CCS_NORESIZE | CCS_NODIVIDER, 0};
        case Kind::Timer:
            break;
    }
    return {nullptr, 0, 0};
}

void RegisterClasses() {
    static const bool done = [] {
        INITCOMMONCONTROLSEX common{sizeof(common), ICC_TREEVIEW_CLASSES | ICC_LISTVIEW_CLASSES |
                                                        ICC_BAR_CLASSES | ICC_STANDARD_CLASSES};
        InitCommonControlsEx(&common);
        WNDCLASSEXW wc{};
        wc.cbSize = sizeof(wc);
        wc.lpfnWndProc = PanelProc;
        wc.hInstance = ThisModule();
        wc.hCursor = LoadCursorW(nullptr, reinterpret_cast<LPCWSTR>(IDC_ARROW));
        wc.lpszClassName = kPanelClass;
        RegisterClassExW(&wc);
        wc.lpszClassName = kPaintClass;
        RegisterClassExW(&wc);
        return true;
    }();
    (void)done;
}

// Releases the path atom a window carries.
void ForgetPath(HWND window) {
    if (auto atom =
            static_cast<ATOM>(reinterpret_cast<UINT_PTR>(RemovePropW(window, kPathProperty))))
        GlobalDeleteAtom(atom);
}

}  // namespace

// --- free helpers ---

COLORREF ToColorRef(ui::Color color) {
    if (color & 0x80000000u) return GetSysColor(static_cast<int>(color & 0xFFu));
    return color & 0x00FFFFFFu;
}

double ScreenDpi() {
    HDC screen = GetDC(nullptr);
    const int dpi = screen ? GetDeviceCaps(screen, LOGPIXELSX) : 0;
    if (screen) ReleaseDC(nullptr, screen);
    return dpi > 0 ? dpi : 96.0;
}

std::string WindowControlPath(HWND window) {
    const auto atom =
        static_cast<ATOM>(reinterpret_cast<UINT_PTR>(GetPropW(window, kPathProperty)));
    if (!atom) return {};
    wchar_t name[256];
    const UINT n = GlobalGetAtomNameW(atom, name, 256);
    return Narrow(std::wstring_view(name, n));
}

namespace {

struct PathSearch {
    std::string_view path;
    HWND found;
};

BOOL CALLBACK MatchPath(HWND window, LPARAM data) {
    auto* search = reinterpret_cast<PathSearch*>(data);
    if (!IEquals(WindowControlPath(window), search->path)) return TRUE;
    search->found = window;
    return FALSE;
}

}  // namespace

HWND FindControlWindow(HWND top, std::string_view path) {
    if (top && IEquals(WindowControlPath(top), path)) return top;
    PathSearch search{path, nullptr};
    EnumChildWindows(top, MatchPath, reinterpret_cast<LPARAM>(&search));
    return search.found;
}

// --- fonts: the system's dialog font at each size and weight a control asks for ---

struct Renderer::Fonts {
    LOGFONTW base{};
    std::map<std::pair<int, bool>, HFONT> made;
    ~Fonts() {
        for (auto& [key, font] : made) DeleteObject(font);
    }
    HFONT Get(double points, bool bold, double dpi) {
        const int height =
            -static_cast<int>(std::lround(std::clamp(points, 1.0, 200.0) * dpi / 72));
        auto [it, fresh] = made.try_emplace({height, bold}, nullptr);
        if (fresh) {
            LOGFONTW font = base;
            font.lfHeight = height;
            font.lfWidth = 0;
            font.lfWeight = bold ? FW_BOLD : FW_NORMAL;
            it->second = CreateFontIndirectW(&font);
            // A face wider than the one the layouts were made for is narrowed to its width.
            TEXTMETRICW metrics{};
            const double share = Narrowing(it->second, -height, dpi, metrics);
            if (share < 1.0 && metrics.tmAveCharWidth > 0) {
                font.lfWidth = std::max<LONG>(1, std::lround(metrics.tmAveCharWidth * share));
                DeleteObject(it->second);
                it->second = CreateFontIndirectW(&font);
            }
        }
        return it->second;
    }
    // How much of its width the font (em pixels high) keeps; its metrics come back for the
    // average character width GDI narrows by.
    static double Narrowing(HFONT font, int em, double dpi, TEXTMETRICW& metrics) {
        HDC dc = CreateCompatibleDC(nullptr);
        if (!dc) return 1.0;
        HGDIOBJ old = SelectObject(dc, font);
        const std::wstring letters = Widen(ui::kAverageLetters);
        SIZE extent{};
        const bool measured =
            GetTextExtentPoint32W(dc, letters.c_str(), static_cast<int>(letters.size()), &extent) &&
            GetTextMetricsW(dc, &metrics);
        SelectObject(dc, old);
        DeleteDC(dc);
        if (!measured || em <= 0) return 1.0;
        // Fonts of every size are narrowed alike: the average is taken as if at the default size.
        const double atDefault = static_cast<double>(extent.cx) / letters.size() *
                                 (ui::kDefaultFontPoints * dpi / 72.0) / em;
        return ui::NarrowingFor(atDefault, dpi);
    }
};

// --- construction ---

Renderer::Renderer(Control& root, HWND parent, double dpi)
    : root_(root), dpi_(dpi > 0 ? dpi : ScreenDpi()), fonts_(std::make_unique<Fonts>()) {
    OnError = [](const char* what, std::exception_ptr error) {
        const std::string message =
            std::string("kestrova: ") + what + ": " + ui::FailureText(error) + "\n";
        OutputDebugStringW(Widen(message).c_str());
    };
    RegisterClasses();
    GetObjectW(GetStockObject(DEFAULT_GUI_FONT), sizeof(fonts_->base), &fonts_->base);
    rootWindow_ = Create(root_, parent);
    observer_ = root_.Observe([this](Control& c, Prop p) { OnModelChange(c, p); });
}

Renderer::~Renderer() {
    root_.Unobserve(observer_);
    ++applying_;  // windows torn down below notify nothing the model should hear
    for (auto& [window, control] : byWindow_) {
        ForgetPath(window);
        RemoveWindowSubclass(window, InputSubclass, kSubclassId);
    }
    for (auto& [box, frame] : byGroupBox_) RemoveWindowSubclass(box, InputSubclass, kSubclassId);
    if (tips_) DestroyWindow(tips_);
    if (rootWindow_) DestroyWindow(rootWindow_);
    for (auto& [color, brush] : brushes_) DeleteObject(brush);
    for (auto& [name, bitmap] : pictures_)
        if (bitmap) DeleteObject(bitmap);
}

HWND Renderer::WindowFor(const Control& control) const {
    auto it = windows_.find(&control);
    return it == windows_.end() ? nullptr : it->second;
}

Control* Renderer::ControlFor(HWND window) const {
    auto it = byWindow_.find(window);
    return it == byWindow_.end() ? nullptr : it->second;
}

HWND Renderer::Create(Control& c, HWND parent) {
    const WindowSpec spec = SpecFor(c);
    if (!spec.windowClass) {
        windows_[&c] = nullptr;
        return nullptr;
    }
    const DWORD style =
        spec.style | (c.Visible() ? WS_VISIBLE : 0) | (c.Enabled() ? 0 : WS_DISABLED);
    HWND w = CreateWindowExW(spec.exStyle, spec.windowClass, L"", style, 0, 0, 0, 0, parent,
                             nullptr, ThisModule(), this);
    windows_[&c] = w;
    if (!w) {
        Forward("show", [&] {
            throw std::runtime_error("cannot create the window of " + ControlPath(c, root_));
        });
        return nullptr;
    }
    byWindow_[w] = &c;
    const std::wstring path = Widen(ControlPath(c, root_).substr(0, 255));
    if (ATOM atom = GlobalAddAtomW(path.c_str()))
        SetPropW(w, kPathProperty, reinterpret_cast<HANDLE>(static_cast<UINT_PTR>(atom)));
    switch (c.GetKind()) {
        case Kind::Frame:
            // The native group box draws the border and caption; the panel holds the children.
            groupBoxes_[&c] = CreateWindowExW(0, L"BUTTON", L"",
                                              WS_CHILD | WS_VISIBLE | BS_GROUPBOX | WS_CLIPSIBLINGS,
                                              0, 0, 0, 0, w, nullptr, ThisModule(), nullptr);
            break;
        case Kind::ListView:
            SendMessageW(w, LVM_SETEXTENDEDLISTVIEWSTYLE, LVS_EX_FULLROWSELECT,
                         LVS_EX_FULLROWSELECT);
            break;
        default:
            break;
    }
    if (HWND box = c.GetKind() == Kind::Frame ? groupBoxes_[&c] : nullptr) {
        byGroupBox_[box] = &c;
        SetWindowSubclass(box, InputSubclass, kSubclassId, reinterpret_cast<DWORD_PTR>(this));
    }
    SetWindowSubclass(w, InputSubclass, kSubclassId, reinterpret_cast<DWORD_PTR>(this));
    ApplyAll(c);
    if (IsContainer(c.GetKind())) CreateChildren(c, w);
    return w;
}

void Renderer::CreateChildren(Control& c, HWND w) {
    for (const auto& child : c.Children())
        if (!windows_.count(child.get())) Create(*child, w);
    // Backgrounds at the bottom: windows placed at the bottom one after another end up in
    // reverse order, so the foreground layer goes first.
    for (int layer = ui::kWindowedLayer; layer >= 0; --layer)
        for (const auto& child : c.Children())
            if (ui::StackingLayer(child->GetKind()) == layer)
                if (HWND cw = WindowFor(*child))
                    SetWindowPos(cw, HWND_BOTTOM, 0, 0, 0, 0,
                                 SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE);
    auto box = groupBoxes_.find(&c);
    if (box != groupBoxes_.end())
        SetWindowPos(box->second, HWND_BOTTOM, 0, 0, 0, 0,
                     SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE);
}

void Renderer::Rescan() {
    bool added = false;
    root_.ForEach([&](Control& c) {
        if (!windows_.count(&c)) added = true;
    });
    if (!added) return;
    root_.ForEach([&](Control& c) {
        if (windows_.count(&c) || !c.Parent()) return;
        HWND parent = WindowFor(*c.Parent());
        if (parent) CreateChildren(*c.Parent(), parent);
    });
}

// --- model to window ---

void Renderer::ApplyAll(Control& c) {
    for (Prop p : {Prop::FontSize, Prop::Left, Prop::Caption, Prop::Enabled, Prop::Locked,
                   Prop::ToolTipText, Prop::List, Prop::Nodes, Prop::ColumnHeaders, Prop::ListItems,
                   Prop::Panels, Prop::BackColor})
        Apply(c, p);
}

void Renderer::Apply(Control& c, Prop prop) {
    HWND w = WindowFor(c);
    if (!w) return;
    const ui::Aspect aspect = ui::AspectOf(prop);
    if (!ui::Shows(c.GetKind(), aspect)) return;
    ++applying_;
    switch (aspect) {
        case ui::Aspect::Geometry:
            ApplyGeometry(c, w);
            break;
        case ui::Aspect::Visible:
            ShowWindow(w, c.Visible() ? SW_SHOWNA : SW_HIDE);
            break;
        case ui::Aspect::Enabled:
            EnableWindow(w, c.Enabled());
            break;
        case ui::Aspect::Locked:
            SendMessageW(w, EM_SETREADONLY, c.Locked(), 0);
            break;
        case ui::Aspect::Font:
            ApplyFont(c, w);
            break;
        case ui::Aspect::Colors:
        case ui::Aspect::Shape:
            if (c.GetKind() == Kind::TreeView) {
                SendMessageW(w, TVM_SETBKCOLOR, 0, static_cast<LPARAM>(ToColorRef(c.BackColor())));
                SendMessageW(w, TVM_SETTEXTCOLOR, 0,
                             static_cast<LPARAM>(ToColorRef(c.ForeColor())));
            } else if (c.GetKind() == Kind::ListView) {
                const auto back = static_cast<LPARAM>(ToColorRef(c.BackColor()));
                SendMessageW(w, LVM_SETBKCOLOR, 0, back);
                SendMessageW(w, LVM_SETTEXTBKCOLOR, 0, back);
                SendMessageW(w, LVM_SETTEXTCOLOR, 0,
                             static_cast<LPARAM>(ToColorRef(c.ForeColor())));
            }
            InvalidateRect(w, nullptr, TRUE);
            break;
        case ui::Aspect::Content:
            ApplyText(c, w);
            break;
        case ui::Aspect::List:
            ApplyList(c, w);
            break;
        case ui::Aspect::Nodes:
            ApplyNodes(c, w);
            break;
        case ui::Aspect::Columns:
            ApplyColumns(c, w);
            break;
        case ui::Aspect::Rows:
            ApplyRows(c, w);
            break;
        case ui::Aspect::Panels:
            ApplyPanels(c, w);
            break;
        case ui::Aspect::ToolTip:
            ApplyToolTip(c, w);
            break;
        case ui::Aspect::None:
            break;
    }
    --applying_;
}

void Renderer::ApplyGeometry(Control& c, HWND w) {
    const bool isRoot = &c == &root_;
    const int left = isRoot ? origin_.x : ToPx(c.Left());
    const int top = isRoot ? origin_.y : ToPx(c.Top());
    int width = std::max(ToPx(c.Width()), 0);
    int height = std::max(ToPx(c.Height()), 0);
    // A drop-down list's window reaches down over its open list.
    if (c.GetKind() == Kind::ComboBox) height = std::max(height, 20) * 9;
    if (c.GetKind() == Kind::Label) {
        HDC dc = GetDC(w);
        HGDIOBJ old = SelectObject(dc, reinterpret_cast<HFONT>(SendMessageW(w, WM_GETFONT, 0, 0)));
        TEXTMETRICW metrics{};
        GetTextMetricsW(dc, &metrics);
        const std::wstring text = WindowText(w);
        SIZE extent{};
        GetTextExtentPoint32W(dc, text.c_str(), static_cast<int>(text.size()), &extent);
        SelectObject(dc, old);
        ReleaseDC(w, dc);
        const bool hasBreak = text.find(L'\n') != std::wstring::npos;
        const bool oneLine = ui::IsOneLineLabel(height, metrics.tmHeight) && !hasBreak;
        LONG_PTR style = GetWindowLongPtrW(w, GWL_STYLE) & ~static_cast<LONG_PTR>(SS_TYPEMASK);
        SetWindowLongPtrW(w, GWL_STYLE, style | (oneLine ? SS_LEFTNOWORDWRAP : SS_LEFT));
        width = ui::LabelWidth(width, height, metrics.tmHeight, extent.cx, hasBreak);
    }
    SetWindowPos(w, nullptr, left, top, width, height, SWP_NOZORDER | SWP_NOACTIVATE);
    auto box = groupBoxes_.find(&c);
    if (box != groupBoxes_.end())
        SetWindowPos(box->second, nullptr, 0, 0, width, std::max(ToPx(c.Height()), 0),
                     SWP_NOZORDER | SWP_NOACTIVATE);
    if (c.GetKind() == Kind::StatusBar) ApplyPanels(c, w);
    if (c.GetKind() == Kind::ListView) FitColumns(c, w);  // the last column fills the new width
    if (c.GetKind() == Kind::TextBox || c.GetKind() == Kind::Label) ApplyToolTip(c, w);
}

void Renderer::ApplyFont(Control& c, HWND w) {
    HFONT font = fonts_->Get(ui::FontPoints(c), c.FontBold(), dpi_);
    SendMessageW(w, WM_SETFONT, reinterpret_cast<WPARAM>(font), TRUE);
    if (c.GetKind() == Kind::Label) ApplyGeometry(c, w);
    auto box = groupBoxes_.find(&c);
    if (box != groupBoxes_.end())
        SendMessageW(box->second, WM_SETFONT, reinterpret_cast<WPARAM>(font), TRUE);
}

void Renderer::ApplyText(Control& c, HWND w) {
    switch (c.GetKind()) {
        case Kind::Label:
            SetText(w, c.Caption());
            ApplyGeometry(c, w);
            break;
        case Kind::CommandButton:
            SetText(w, c.Caption());
            break;
        case Kind::CheckBox:
            SetText(w, c.Caption());
            static constexpr WPARAM kStates[] = {BST_UNCHECKED, BST_CHECKED, BST_INDETERMINATE};
            SendMessageW(w, BM_SETCHECK, kStates[static_cast<int>(ui::CheckStateOf(c.Value()))], 0);
            break;
        case Kind::OptionButton:
            SetText(w, c.Caption());
            SendMessageW(w, BM_SETCHECK, c.Value() ? BST_CHECKED : BST_UNCHECKED, 0);
            break;
        case Kind::Frame:
            if (HWND box = groupBoxes_[&c]) SetText(box, c.Caption());
            break;
        case Kind::TextBox: {
            // The model's line breaks are CR LF already, as the edit control wants them.
            const std::wstring text = Widen(c.Text());
            if (WindowText(w) != text) {
                DWORD start = 0, end = 0;
                SendMessageW(w, EM_GETSEL, reinterpret_cast<WPARAM>(&start),
                             reinterpret_cast<LPARAM>(&end));
                SetWindowTextW(w, text.c_str());
                const auto caret = static_cast<WPARAM>(std::min<size_t>(end, text.size()));
                SendMessageW(w, EM_SETSEL, caret, static_cast<LPARAM>(caret));
            }
            ApplyToolTip(c, w);  // typed text too may have outgrown the box
            break;
        }
        case Kind::ComboBox:
            ApplyList(c, w);
            break;
        case Kind::Image:
            InvalidateRect(w, nullptr, TRUE);
            break;
        default:
            break;
    }
}

void Renderer::ApplyList(Control& c, HWND w) {
    if (c.GetKind() != Kind::ComboBox) return;
    const auto& list = c.List();
    const auto have = static_cast<size_t>(std::max<LRESULT>(SendMessageW(w, CB_GETCOUNT, 0, 0), 0));
    size_t same = 0;
    for (; same < std::min(have, list.size()); ++same) {
        const auto length = SendMessageW(w, CB_GETLBTEXTLEN, same, 0);
        std::wstring entry(static_cast<size_t>(std::max<LRESULT>(length, 0)) + 1, L'\0');
        SendMessageW(w, CB_GETLBTEXT, same, reinterpret_cast<LPARAM>(entry.data()));
        entry.resize(static_cast<size_t>(std::max<LRESULT>(length, 0)));
        if (entry != Widen(list[same])) break;
    }
    // Entries changed or went away: rebuild from the first difference.
    for (size_t i = have; i > same; --i) SendMessageW(w, CB_DELETESTRING, i - 1, 0);
    for (size_t i = same; i < list.size(); ++i)
        SendMessageW(w, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(Widen(list[i]).c_str()));
    if (SendMessageW(w, CB_GETCURSEL, 0, 0) != c.ListIndex())
        SendMessageW(w, CB_SETCURSEL, static_cast<WPARAM>(c.ListIndex()), 0);
}

void Renderer::ApplyNodes(Control& c, HWND w) {
    if (c.GetKind() != Kind::TreeView) return;
    const auto& nodes = c.Nodes();
    // The items carry their node's index; the list is rebuilt when the count changes.
    std::vector<HTREEITEM> items;
    for (auto item = reinterpret_cast<HTREEITEM>(SendMessageW(w, TVM_GETNEXTITEM, TVGN_ROOT, 0));
         item; item = reinterpret_cast<HTREEITEM>(
                   SendMessageW(w, TVM_GETNEXTITEM, TVGN_NEXT, reinterpret_cast<LPARAM>(item))))
        items.push_back(item);
    if (items.size() != nodes.size()) {
        SendMessageW(w, TVM_DELETEITEM, 0, reinterpret_cast<LPARAM>(TVI_ROOT));
        items.clear();
        for (size_t i = 0; i < nodes.size(); ++i) {
            TVINSERTSTRUCTW insert{};
            insert.hParent = TVI_ROOT;
            insert.hInsertAfter = TVI_LAST;
            insert.item.mask = TVIF_TEXT | TVIF_PARAM;
            std::wstring text = Widen(nodes[i].Text);
            insert.item.pszText = text.data();
            insert.item.lParam = static_cast<LPARAM>(i);
            items.push_back(reinterpret_cast<HTREEITEM>(
                SendMessageW(w, TVM_INSERTITEMW, 0, reinterpret_cast<LPARAM>(&insert))));
        }
    }
    for (size_t i = 0; i < nodes.size(); ++i) {
        wchar_t buffer[260] = {};
        TVITEMW item{};
        item.mask = TVIF_TEXT;
        item.hItem = items[i];
        item.pszText = buffer;
        item.cchTextMax = 260;
        SendMessageW(w, TVM_GETITEMW, 0, reinterpret_cast<LPARAM>(&item));
        std::wstring text = Widen(nodes[i].Text);
        if (text != buffer) {
            item.pszText = text.data();
            SendMessageW(w, TVM_SETITEMW, 0, reinterpret_cast<LPARAM>(&item));
        }
    }
    const int chosen = ui::SelectedNode(c);
    HTREEITEM selected = chosen < 0 ? nullptr : items[static_cast<size_t>(chosen)];
    SendMessageW(w, TVM_SELECTITEM, TVGN_CARET, reinterpret_cast<LPARAM>(selected));
    InvalidateRect(w, nullptr, TRUE);  // node colours are drawn on request
}

void Renderer::ApplyColumns(Control& c, HWND w) {
    HWND header = reinterpret_cast<HWND>(SendMessageW(w, LVM_GETHEADER, 0, 0));
    const auto& columns = c.ColumnHeaders();
    auto have = static_cast<size_t>(
        header ? std::max<LRESULT>(SendMessageW(header, HDM_GETITEMCOUNT, 0, 0), 0) : 0);
    for (; have > columns.size(); --have) SendMessageW(w, LVM_DELETECOLUMN, have - 1, 0);
    for (size_t i = 0; i < columns.size(); ++i) {
        std::wstring text = Widen(columns[i].Text);
        LVCOLUMNW column{};
        column.mask = LVCF_TEXT | LVCF_WIDTH;
        column.pszText = text.data();
        column.cx = ToPx(columns[i].Width);
        SendMessageW(w, i < have ? LVM_SETCOLUMNW : LVM_INSERTCOLUMNW, i,
                     reinterpret_cast<LPARAM>(&column));
    }
    FitColumns(c, w);
}

void Renderer::ApplyRows(Control& c, HWND w) {
    const auto& rows = c.ListItems();
    auto& shown = shownRows_[&c];
    // The newest row stays in view unless the user scrolled away from the end.
    const LRESULT top = SendMessageW(w, LVM_GETTOPINDEX, 0, 0);
    const LRESULT perPage = SendMessageW(w, LVM_GETCOUNTPERPAGE, 0, 0);
    const bool follow = top + perPage >= static_cast<LRESULT>(shown.size());
    while (shown.size() > rows.size()) {
        SendMessageW(w, LVM_DELETEITEM, shown.size() - 1, 0);
        shown.pop_back();
    }
    for (size_t i = 0; i < rows.size(); ++i) {
        if (i >= shown.size()) {
            LVITEMW item{};
            item.mask = LVIF_TEXT;
            item.iItem = static_cast<int>(i);
            item.pszText = const_cast<wchar_t*>(L"");
            SendMessageW(w, LVM_INSERTITEMW, 0, reinterpret_cast<LPARAM>(&item));
            shown.emplace_back();
        }
        auto& cells = shown[i];
        const size_t count = std::max(cells.size(), rows[i].size());
        cells.resize(count);
        for (size_t col = 0; col < count; ++col) {
            const std::string want = col < rows[i].size() ? rows[i][col] : std::string();
            if (cells[col] == want) continue;
            cells[col] = want;
            std::wstring text = Widen(want);
            LVITEMW item{};
            item.iSubItem = static_cast<int>(col);
            item.pszText = text.data();
            SendMessageW(w, LVM_SETITEMTEXTW, i, reinterpret_cast<LPARAM>(&item));
        }
    }
    FitColumns(c, w);
    if (follow && !rows.empty()) SendMessageW(w, LVM_ENSUREVISIBLE, rows.size() - 1, FALSE);
    InvalidateRect(w, nullptr, FALSE);  // row colours are drawn on request
}

void Renderer::FitColumns(Control& c, HWND w) {
    // As wide as header and cells in the list's own font; the last column fills what is left
    // of the row.
    const auto& columns = c.ColumnHeaders();
    if (columns.empty()) return;
    const int padding = ToPx(210);
    auto widthOf = [w, padding](const std::string& text) {
        const std::wstring wide = Widen(text);
        return static_cast<int>(SendMessageW(w, LVM_GETSTRINGWIDTHW, 0,
                                             reinterpret_cast<LPARAM>(wide.c_str()))) +
               padding;
    };
    std::vector<int> widths;
    for (const auto& column : columns) widths.push_back(widthOf(column.Text));
    for (const auto& row : c.ListItems())
        for (size_t col = 0; col < row.size() && col < widths.size(); ++col)
            widths[col] = std::max(widths[col], widthOf(row[col]));
    RECT client{};
    GetClientRect(w, &client);
    int used = 0;
    for (size_t i = 0; i + 1 < widths.size(); ++i) used += widths[i];
    widths.back() = std::max(widths.back(), static_cast<int>(client.right) - used);
    for (size_t i = 0; i < widths.size(); ++i)
        if (SendMessageW(w, LVM_GETCOLUMNWIDTH, i, 0) != widths[i])
            SendMessageW(w, LVM_SETCOLUMNWIDTH, i, MAKELPARAM(widths[i], 0));
}

void Renderer::ApplyPanels(Control& c, HWND w) {
    if (c.GetKind() != Kind::StatusBar) return;
    const auto& panels = c.Panels();
    std::vector<int> edges;
    int right = 0;
    for (size_t i = 0; i < panels.size(); ++i) {
        right += std::max(ToPx(panels[i].Width), 0);
        edges.push_back(i + 1 == panels.size() ? -1 : right);  // the last takes what is left
    }
    if (edges.empty()) edges.push_back(-1);
    SendMessageW(w, SB_SETPARTS, edges.size(), reinterpret_cast<LPARAM>(edges.data()));
    // Drawn by us (picture and text), so the parts carry only their number.
    for (size_t i = 0; i < edges.size(); ++i)
        SendMessageW(w, SB_SETTEXTW, i | SBT_OWNERDRAW, static_cast<LPARAM>(i));
    InvalidateRect(w, nullptr, TRUE);
}

namespace {

// Whether a text box or label shows less than its whole text: a line wider than the box, or
// more lines than it has room for.
bool TextIsCut(const Control& c, HWND w, const std::wstring& text) {
    if (text.empty()) return false;
    RECT client{};
    GetClientRect(w, &client);
    HDC dc = GetDC(w);
    if (!dc) return false;
    HGDIOBJ old = SelectObject(dc, reinterpret_cast<HFONT>(SendMessageW(w, WM_GETFONT, 0, 0)));
    RECT need{0, 0, client.right, 0};
    const bool wraps = c.GetKind() == Kind::Label
                           ? (GetWindowLongPtrW(w, GWL_STYLE) & SS_TYPEMASK) != SS_LEFTNOWORDWRAP
                           : c.MultiLine();
    // An edit keeps a few pixels of margin on either side.
    const int margin = c.GetKind() == Kind::TextBox ? 8 : 0;
    need.right = std::max<LONG>(client.right - margin, 1);
    DrawTextW(dc, text.c_str(), static_cast<int>(text.size()), &need,
              DT_CALCRECT | DT_NOPREFIX | DT_EDITCONTROL | (wraps ? DT_WORDBREAK : DT_SINGLELINE));
    SelectObject(dc, old);
    ReleaseDC(w, dc);
    return need.right - need.left > std::max<LONG>(client.right - margin, 1) ||
           need.bottom - need.top > client.bottom;
}

}  // namespace

void Renderer::ApplyToolTip(Control& c, HWND w) {
    // A text that does not fit its box tells itself as the tooltip, unless the control has its
    // own.
    std::string tip = c.ToolTipText();
    if (tip.empty() && (c.GetKind() == Kind::TextBox || c.GetKind() == Kind::Label)) {
        const std::string& shown = c.GetKind() == Kind::Label ? c.Caption() : c.Text();
        if (TextIsCut(c, w, Widen(shown))) tip = shown;
    }
    if (tip.empty() && !tips_) return;
    if (!tips_) {
        tips_ = CreateWindowExW(WS_EX_TOPMOST, TOOLTIPS_CLASSW, nullptr, WS_POPUP | TTS_ALWAYSTIP,
                                CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT,
                                rootWindow_ ? rootWindow_ : GetParent(w), nullptr, ThisModule(),
                                nullptr);
        if (!tips_) return;
    }
    std::wstring text = Widen(tip);
    TTTOOLINFOW tool{};
    tool.cbSize = sizeof(tool);
    tool.uFlags = TTF_IDISHWND | TTF_SUBCLASS;
    tool.hwnd = GetParent(w);
    tool.uId = reinterpret_cast<UINT_PTR>(w);
    tool.lpszText = text.data();
    const bool known = tipped_.count(w) != 0;
    if (text.empty()) {
        if (known) SendMessageW(tips_, TTM_DELTOOLW, 0, reinterpret_cast<LPARAM>(&tool));
        tipped_.erase(w);
    } else {
        SendMessageW(tips_, known ? TTM_UPDATETIPTEXTW : TTM_ADDTOOLW, 0,
                     reinterpret_cast<LPARAM>(&tool));
        tipped_.insert(w);
    }
}

void Renderer::OnModelChange(Control& c, Prop prop) {
    if (!windows_.count(&c)) {
        Rescan();  // a control added to the model after rendering
        if (!windows_.count(&c)) return;
    }
    Apply(c, prop);
    if (prop == Prop::Visible && c.Visible() && !c.Children().empty()) Rescan();
}

void Renderer::SetBounds(int left, int top, int width, int height) {
    origin_ = {left, top};
    Forward("resize",
            [&] { root_.Move(0, 0, ToTwips(std::max(width, 0)), ToTwips(std::max(height, 0))); });
    ++applying_;
    ApplyGeometry(root_, rootWindow_);
    --applying_;
}

// --- painting ---

HBRUSH Renderer::Brush(COLORREF color) {
    auto [it, fresh] = brushes_.try_emplace(color, nullptr);
    if (fresh) it->second = CreateSolidBrush(color);
    return it->second;
}

HBITMAP Renderer::Picture(const std::string& name) {
    auto [it, fresh] = pictures_.try_emplace(name, nullptr);
    if (fresh && !name.empty())
        it->second = static_cast<HBITMAP>(
            LoadImageW(ThisModule(), Widen(name).c_str(), IMAGE_BITMAP, 0, 0, LR_CREATEDIBSECTION));
    return it->second;
}

namespace {

// Draws a bitmap into the box, scaled; 32-bit pictures keep their transparency.
void DrawPicture(HDC dc, HBITMAP bitmap, const RECT& box) {
    BITMAP info{};
    if (!bitmap || !GetObjectW(bitmap, sizeof(info), &info) || info.bmWidth <= 0) return;
    HDC source = CreateCompatibleDC(dc);
    HGDIOBJ old = SelectObject(source, bitmap);
    const int width = box.right - box.left, height = box.bottom - box.top;
    if (info.bmBitsPixel == 32) {
        BLENDFUNCTION blend{AC_SRC_OVER, 0, 255, AC_SRC_ALPHA};
        GdiAlphaBlend(dc, box.left, box.top, width, height, source, 0, 0, info.bmWidth,
                      info.bmHeight, blend);
    } else {
        SetStretchBltMode(dc, HALFTONE);
        StretchBlt(dc, box.left, box.top, width, height, source, 0, 0, info.bmWidth, info.bmHeight,
                   SRCCOPY);
    }
    SelectObject(source, old);
    DeleteDC(source);
}

}  // namespace

void Renderer::PaintOwnDrawn(HWND w, Control& c) {
    PAINTSTRUCT paint;
    HDC dc = BeginPaint(w, &paint);
    RECT box;
    GetClientRect(w, &box);
    if (c.GetKind() == Kind::Image) {
        DrawPicture(dc, Picture(c.Picture()), box);
    } else if (c.GetKind() == Kind::Shape) {
        int width = box.right, height = box.bottom;
        const int shape = c.ShapeKind();
        if (shape == ui::kSquare || shape == ui::kCircle) {
            // Squares and circles are centred in the box.
            const int side = std::min(width, height);
            box.left = (width - side) / 2;
            box.top = (height - side) / 2;
            box.right = box.left + side;
            box.bottom = box.top + side;
        }
        HPEN pen = CreatePen(PS_SOLID, 1, ToColorRef(c.ForeColor()));
        HGDIOBJ oldPen = SelectObject(dc, pen);
        HGDIOBJ oldBrush = SelectObject(dc, Brush(ToColorRef(c.FillColor())));
        if (shape == ui::kOval || shape == ui::kCircle)
            Ellipse(dc, box.left, box.top, box.right, box.bottom);
        else if (shape == ui::kRoundedRectangle)
            RoundRect(dc, box.left, box.top, box.right, box.bottom, width / 4, height / 4);
        else
            Rectangle(dc, box.left, box.top, box.right, box.bottom);
        SelectObject(dc, oldBrush);
        SelectObject(dc, oldPen);
        DeleteObject(pen);
    }
    EndPaint(w, &paint);
}

void Renderer::OnDrawItem(DRAWITEMSTRUCT* item) {
    Control* c = ControlFor(item->hwndItem);
    if (!c || c->GetKind() != Kind::StatusBar) return;
    const size_t index = item->itemID;
    if (index >= c->Panels().size()) return;
    const ui::Panel& panel = c->Panels()[index];
    RECT box = item->rcItem;
    if (!panel.Picture.empty()) {
        const int side = std::max<int>(box.bottom - box.top - 2, 0);
        RECT icon{box.left + 1, box.top + 1, box.left + 1 + side, box.top + 1 + side};
        DrawPicture(item->hDC, Picture(panel.Picture), icon);
        box.left = icon.right + 2;
    }
    std::wstring text = Widen(panel.Text);
    SetBkMode(item->hDC, TRANSPARENT);
    SetTextColor(item->hDC, GetSysColor(COLOR_BTNTEXT));
    box.left += 2;
    DrawTextW(item->hDC, text.c_str(), static_cast<int>(text.size()), &box,
              DT_LEFT | DT_VCENTER | DT_SINGLELINE | DT_NOPREFIX | DT_END_ELLIPSIS);
}

LRESULT Renderer::OnColor(HWND child, HDC dc) {
    Control* c = ControlFor(child);
    if (!c) {
        // A frame's group box shows the frame's colours.
        auto box = byGroupBox_.find(child);
        if (box == byGroupBox_.end()) return 0;
        c = box->second;
    }
    ui::Color back = c->BackColor();
    // Labels, check boxes and options without a colour of their own sit on their container's.
    if (ui::DrawsOnContainer(*c) && c->Parent()) back = c->Parent()->BackColor();
    const COLORREF color = ToColorRef(back);
    SetTextColor(dc, ToColorRef(c->Enabled() ? c->ForeColor() : ui::syscolor::GrayText));
    SetBkColor(dc, color);
    return reinterpret_cast<LRESULT>(Brush(color));
}

// --- user input ---

void Renderer::Forward(const char* what, const std::function<void()>& action) {
    try {
        action();
    } catch (...) {
        if (OnError) OnError(what, std::current_exception());
    }
}

LRESULT Renderer::OnCommand(HWND child, int code) {
    Control* cp = ControlFor(child);
    if (!cp || applying_) return 0;
    Control& c = *cp;
    switch (c.GetKind()) {
        case Kind::CommandButton:
        case Kind::CheckBox:
        case Kind::OptionButton:
            if (code != BN_CLICKED) break;
            Forward("click", [&c] { c.UserClick(); });
            // The handler may have put the value back; an option clears its siblings.
            if (c.GetKind() == Kind::OptionButton && c.Parent()) {
                for (const auto& s : c.Parent()->Children())
                    if (s->GetKind() == Kind::OptionButton) Apply(*s, Prop::Value);
            } else if (WindowFor(c)) {
                Apply(c, Prop::Value);
            }
            break;
        case Kind::TextBox:
            if (code != EN_CHANGE) break;
            Forward("type", [&c, child] { c.UserType(Narrow(WindowText(child))); });
            Apply(c, Prop::Text);
            break;
        case Kind::ComboBox:
            if (code != CBN_SELCHANGE) break;
            Forward("pick", [&c, child] {
                c.UserPick(static_cast<int>(SendMessageW(child, CB_GETCURSEL, 0, 0)));
            });
            Apply(c, Prop::ListIndex);
            break;
        default:
            break;
    }
    return 0;
}

void Renderer::DeliverNode(Control& tree, HWND w, HTREEITEM item) {
    TVITEMW info{};
    info.mask = TVIF_PARAM;
    info.hItem = item;
    if (!item || !SendMessageW(w, TVM_GETITEMW, 0, reinterpret_cast<LPARAM>(&info))) return;
    const auto index = static_cast<size_t>(info.lParam);
    if (index >= tree.Nodes().size()) return;
    const std::string key = tree.Nodes()[index].Key;
    Forward("node click", [&tree, &key] { tree.UserNodeClick(key); });
    Apply(tree, Prop::Nodes);
}

LRESULT Renderer::OnNotify(NMHDR* header) {
    Control* cp = ControlFor(header->hwndFrom);
    if (!cp) return 0;
    Control& c = *cp;
    HWND w = header->hwndFrom;
    if (c.GetKind() == Kind::ListView && header->code == NM_CUSTOMDRAW) {
        // Each row in the background the model gives it.
        auto* draw = reinterpret_cast<NMLVCUSTOMDRAW*>(header);
        if (draw->nmcd.dwDrawStage == CDDS_PREPAINT) return CDRF_NOTIFYITEMDRAW;
        if (draw->nmcd.dwDrawStage != CDDS_ITEMPREPAINT) return CDRF_DODEFAULT;
        const ui::Color back = c.RowBackColor(static_cast<size_t>(draw->nmcd.dwItemSpec));
        if (ui::IsOwnBackColor(back)) draw->clrTextBk = ToColorRef(back);
        return CDRF_DODEFAULT;
    }
    if (c.GetKind() != Kind::TreeView) return 0;
    switch (header->code) {
        case TVN_SELCHANGEDW:
        case TVN_SELCHANGEDA: {
            auto* change = reinterpret_cast<NMTREEVIEWW*>(header);
            if (applying_ || change->action == TVC_UNKNOWN) break;
            if (change->action == TVC_BYMOUSE) mouseNode_ = change->itemNew.hItem;
            DeliverNode(c, w, change->itemNew.hItem);
            break;
        }
        case NM_CLICK: {
            // A click on the node already chosen changes no selection but is still a click.
            TVHITTESTINFO hit{};
            hit.pt = mouseDown_;
            auto item = reinterpret_cast<HTREEITEM>(
                SendMessageW(w, TVM_HITTEST, 0, reinterpret_cast<LPARAM>(&hit)));
            const auto selected =
                reinterpret_cast<HTREEITEM>(SendMessageW(w, TVM_GETNEXTITEM, TVGN_CARET, 0));
            if (!applying_ && item && item == selected && item != mouseNode_)
                DeliverNode(c, w, item);
            mouseNode_ = nullptr;
            break;
        }
        case NM_CUSTOMDRAW: {
            auto* draw = reinterpret_cast<NMTVCUSTOMDRAW*>(header);
            if (draw->nmcd.dwDrawStage == CDDS_PREPAINT) return CDRF_NOTIFYITEMDRAW;
            if (draw->nmcd.dwDrawStage != CDDS_ITEMPREPAINT) return CDRF_DODEFAULT;
            const auto index = static_cast<size_t>(draw->nmcd.lItemlParam);
            if (index >= c.Nodes().size()) return CDRF_DODEFAULT;
            const ui::TreeNode& node = c.Nodes()[index];
            // A node's own colours win over the selection highlight: the pages mark the
            // chosen page that way.
            if (ui::HasOwnColors(node)) {
                draw->nmcd.uItemState &= ~static_cast<UINT>(CDIS_SELECTED | CDIS_FOCUS);
                draw->clrTextBk = ToColorRef(node.BackColor);
                draw->clrText = ToColorRef(node.ForeColor);
            }
            return CDRF_DODEFAULT;
        }
        default:
            break;
    }
    return 0;
}

bool Renderer::OnChar(HWND w, WPARAM& ch) {
    Control* cp = ControlFor(w);
    if (!cp || applying_ || !cp->KeyPress || !cp->Enabled()) return true;
    Control& c = *cp;
    // The key as the runtime sees it: one Windows-1252 code.
    const wchar_t wide = static_cast<wchar_t>(ch);
    char narrow = 0;
    BOOL lossy = FALSE;
    if (WideCharToMultiByte(1252, WC_NO_BEST_FIT_CHARS, &wide, 1, &narrow, 1, nullptr, &lossy) !=
            1 ||
        lossy)
        return true;  // a character outside Windows-1252 is typed as is, without a key event
    int16_t ascii = static_cast<uint8_t>(narrow);
    const int16_t original = ascii;
    Forward("key", [&c, &ascii] { c.KeyPress(ascii); });
    if (c.GetKind() != Kind::TextBox || ascii == original) return true;
    if (ascii <= 0 || ascii > 255) return false;  // the handler dropped the key
    const char replaced = static_cast<char>(ascii);
    wchar_t out = 0;
    MultiByteToWideChar(1252, 0, &replaced, 1, &out, 1);
    ch = out;
    return true;
}

LRESULT CALLBACK InputSubclass(HWND w, UINT message, WPARAM wp, LPARAM lp, UINT_PTR,
                               DWORD_PTR data) {
    auto* self = reinterpret_cast<Renderer*>(data);
    if (message == WM_CHAR && !self->OnChar(w, wp)) return 0;
    if (message == WM_ERASEBKGND) {
        // A group box paints its border and caption only; its inside is the frame's face.
        auto box = self->byGroupBox_.find(w);
        if (box != self->byGroupBox_.end()) {
            RECT client;
            GetClientRect(w, &client);
            FillRect(reinterpret_cast<HDC>(wp), &client,
                     self->Brush(ToColorRef(box->second->BackColor())));
            return 1;
        }
    }
    if (message == WM_LBUTTONDOWN) {
        self->mouseNode_ = nullptr;
        self->mouseDown_ = {static_cast<short>(LOWORD(lp)), static_cast<short>(HIWORD(lp))};
    }
    return DefSubclassProc(w, message, wp, lp);
}

LRESULT CALLBACK PanelProc(HWND w, UINT message, WPARAM wp, LPARAM lp) {
    if (message == WM_NCCREATE) {
        auto* create = reinterpret_cast<CREATESTRUCTW*>(lp);
        SetWindowLongPtrW(w, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(create->lpCreateParams));
    }
    auto* self = reinterpret_cast<Renderer*>(GetWindowLongPtrW(w, GWLP_USERDATA));
    if (!self) return DefWindowProcW(w, message, wp, lp);
    switch (message) {
        case WM_COMMAND:
            return self->OnCommand(reinterpret_cast<HWND>(lp), HIWORD(wp));
        case WM_NOTIFY:
            return self->OnNotify(reinterpret_cast<NMHDR*>(lp));
        case WM_CTLCOLORSTATIC:
        case WM_CTLCOLOREDIT:
        case WM_CTLCOLORBTN:
        case WM_CTLCOLORLISTBOX:
            if (LRESULT brush =
                    self->OnColor(reinterpret_cast<HWND>(lp), reinterpret_cast<HDC>(wp)))
                return brush;
            break;
        case WM_DRAWITEM:
            self->OnDrawItem(reinterpret_cast<DRAWITEMSTRUCT*>(lp));
            return TRUE;
        case WM_ERASEBKGND: {
            Control* c = self->ControlFor(w);
            if (!c || c->GetKind() == Kind::Shape) return 1;
            RECT box;
            GetClientRect(w, &box);
            FillRect(reinterpret_cast<HDC>(wp), &box,
                     self->Brush(ToColorRef(c->GetKind() == Kind::Image && c->Parent()
                                                ? c->Parent()->BackColor()
                                                : c->BackColor())));
            return 1;
        }
        case WM_PAINT:
            if (Control* c = self->ControlFor(w);
                c && (c->GetKind() == Kind::Shape || c->GetKind() == Kind::Image)) {
                self->PaintOwnDrawn(w, *c);
                return 0;
            }
            break;
        default:
            break;
    }
    return DefWindowProcW(w, message, wp, lp);
}

}  // namespace kestrova::win
