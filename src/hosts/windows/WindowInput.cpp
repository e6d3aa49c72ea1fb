#include "WindowInput.h"

#include <commctrl.h>

#include <stdexcept>
#include <utility>

#include "ComTypes.h"
#include "Renderer.h"

namespace kestrova::win {

WindowInput::WindowInput(FrameWindow& frame) : frame_(frame) {
    frame_.OnResize = [this] {
        if (!view_) return;
        RECT client;
        GetClientRect(frame_.Handle(), &client);
        view_->SetBounds(0, 0, client.right, client.bottom);
    };
}

WindowInput::~WindowInput() {
    frame_.OnResize = nullptr;
}

void WindowInput::Attach(ui::Control& root) {
    root_ = &root;
    view_ = std::make_unique<Renderer>(root, frame_.Handle());
    view_->OnError = [this](const char*, std::exception_ptr error) {
        if (!kept_) kept_ = error;
    };
    // The frame fits the control's own size, so the layout is the one the script expects.
    frame_.SetClientSize(view_->ToPx(root.Width()), view_->ToPx(root.Height()));
    InputDriver::Resize(root, root.Width(), root.Height());
    ShowWindow(view_->RootWindow(), SW_SHOWNA);
}

void WindowInput::Detach() {
    view_.reset();
    root_ = nullptr;
}

HWND WindowInput::Window(ui::Control& c) const {
    HWND window = view_ ? FindControlWindow(view_->RootWindow(), ControlPath(c, *root_)) : nullptr;
    if (!window) throw std::runtime_error("no window shows " + ControlPath(c, *root_));
    return window;
}

void WindowInput::RaiseKept() {
    PumpMessages();
    if (!kept_) return;
    std::rethrow_exception(std::exchange(kept_, nullptr));
}

void WindowInput::Click(ui::Control& c) {
    switch (c.GetKind()) {
        case ui::Kind::CommandButton:
        case ui::Kind::CheckBox:
        case ui::Kind::OptionButton:
            // A button pressed and released over itself, as the mouse does it.
            SendMessageW(Window(c), BM_CLICK, 0, 0);
            break;
        default:
            // Labels, pictures and containers have no native click of their own.
            c.UserClick();
            break;
    }
    RaiseKept();
}

void WindowInput::NodeClick(ui::Control& tree, const std::string& key) {
    HWND window = Window(tree);
    size_t index = 0;
    while (index < tree.Nodes().size() && tree.Nodes()[index].Key != key) ++index;
    HTREEITEM item = TreeView_GetRoot(window);
    for (size_t i = 0; item && i < index; ++i) item = TreeView_GetNextSibling(window, item);
    if (!item) throw std::runtime_error("the tree shows no node " + key);
    TreeView_EnsureVisible(window, item);
    RECT box{};
    TreeView_GetItemRect(window, item, &box, TRUE);
    const LPARAM at = MAKELPARAM((box.left + box.right) / 2, (box.top + box.bottom) / 2);
    // The tree follows a click through its own message loop: both halves wait in the queue.
    SetFocus(window);
    PostMessageW(window, WM_LBUTTONDOWN, MK_LBUTTON, at);
    PostMessageW(window, WM_LBUTTONUP, 0, at);
    RaiseKept();
}

void WindowInput::Type(ui::Control& c, const std::string& text) {
    if (c.GetKind() != ui::Kind::TextBox) {
        c.UserType(text);  // a drop-down list takes no typed text
        return;
    }
    HWND window = Window(c);
    SetFocus(window);
    const std::wstring wide = Widen(text);
    // The whole text replaced as a paste over everything does it: WM_SETTEXT would tell a
    // multi-line edit's parent nothing.
    SendMessageW(window, EM_SETSEL, 0, -1);
    SendMessageW(window, EM_REPLACESEL, TRUE, reinterpret_cast<LPARAM>(wide.c_str()));
    RaiseKept();
}

void WindowInput::Key(ui::Control& c, int16_t code) {
    HWND window = Window(c);
    SetFocus(window);
    if (c.GetKind() == ui::Kind::TextBox) {
        // Typing goes on at the end of the text, where the caret is after typing.
        const auto end = static_cast<WPARAM>(GetWindowTextLengthW(window));
        SendMessageW(window, EM_SETSEL, end, static_cast<LPARAM>(end));
    }
    const char narrow = static_cast<char>(code & 0xFF);
    wchar_t ch = 0;
    MultiByteToWideChar(1252, 0, &narrow, 1, &ch, 1);
    SendMessageW(window, WM_CHAR, ch, 1);
    RaiseKept();
}

void WindowInput::Pick(ui::Control& c, int index) {
    if (index < 0) {
        c.UserPick(index);  // nobody picks "nothing" from a list
        return;
    }
    HWND window = Window(c);
    SetFocus(window);
    // One step down from the entry before: the list moves and tells its parent, as when the
    // user presses the arrow key on the closed list.
    SendMessageW(window, CB_SETCURSEL, static_cast<WPARAM>(index - 1), 0);
    SendMessageW(window, WM_KEYDOWN, VK_DOWN, 1);
    SendMessageW(window, WM_KEYUP, VK_DOWN, 1u | (1u << 30) | (1u << 31));
    RaiseKept();
}

void WindowInput::Resize(ui::Control& root, int32_t width, int32_t height) {
    if (!view_) return;
    // The frame window is resized and sites the control anew; the size in pixels then becomes
    // the exact size in twips the script asked for.
    frame_.SetClientSize(view_->ToPx(width), view_->ToPx(height));
    RaiseKept();
    InputDriver::Resize(root, width, height);
}

void WindowInput::Settle() {
    PumpMessages();
    if (view_) UpdateWindow(frame_.Handle());
    kept_ = nullptr;  // raised already where it mattered; timers report through the frame
}

}  // namespace kestrova::win
