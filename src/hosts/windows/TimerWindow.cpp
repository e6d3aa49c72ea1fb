#include "TimerWindow.h"

#include "Module.h"

namespace kestrova::win {

namespace {
constexpr wchar_t kClassName[] = L"KestrovaTimerWindow";
constexpr UINT_PTR kTimerId = 1;

// Registered at first use rather than in DllMain, where window classes must not be touched.
bool RegisterTimerClass() {
    WNDCLASSEXW wc = {};
    wc.cbSize = sizeof wc;
    if (GetClassInfoExW(ThisModule(), kClassName, &wc)) return true;
    wc.lpfnWndProc = DefWindowProcW;
    wc.hInstance = ThisModule();
    wc.lpszClassName = kClassName;
    return RegisterClassExW(&wc) != 0 || GetLastError() == ERROR_CLASS_ALREADY_EXISTS;
}
}  // namespace

TimerWindow::TimerWindow(std::function<void()> tick) : tick_(std::move(tick)) {
    if (!RegisterTimerClass()) return;
    window_ = CreateWindowExW(0, kClassName, L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr,
                              ThisModule(), nullptr);
    if (!window_) return;
    SetWindowLongPtrW(window_, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
    SetWindowLongPtrW(window_, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&WindowProc));
}

TimerWindow::~TimerWindow() {
    if (window_) {
        KillTimer(window_, kTimerId);
        SetWindowLongPtrW(window_, GWLP_USERDATA, 0);
        DestroyWindow(window_);
    }
}

void TimerWindow::Schedule(unsigned delayMs) {
    if (window_) SetTimer(window_, kTimerId, delayMs, nullptr);
}

LRESULT CALLBACK TimerWindow::WindowProc(HWND window, UINT message, WPARAM w, LPARAM l) {
    if (message == WM_TIMER && w == kTimerId) {
        KillTimer(window, kTimerId);
        auto* self = reinterpret_cast<TimerWindow*>(GetWindowLongPtrW(window, GWLP_USERDATA));
        if (self && self->tick_) self->tick_();
        return 0;
    }
    return DefWindowProcW(window, message, w, l);
}

}  // namespace kestrova::win
