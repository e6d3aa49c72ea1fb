// A message-only window whose timer drives the control model's timers on the thread that owns
// the control, through the frame's message loop.
#pragma once

#include <windows.h>

#include <functional>

namespace kestrova::win {

class TimerWindow {
  public:
    // tick runs from the message loop each time the window's timer fires.
    explicit TimerWindow(std::function<void()> tick);
    ~TimerWindow();
    TimerWindow(const TimerWindow&) = delete;
    TimerWindow& operator=(const TimerWindow&) = delete;

    // The next tick comes after about delayMs (at least the system's timer minimum).
    void Schedule(unsigned delayMs);
    HWND Handle() const { return window_; }

  private:
    static LRESULT CALLBACK WindowProc(HWND window, UINT message, WPARAM w, LPARAM l);

    std::function<void()> tick_;
    HWND window_ = nullptr;
};

}  // namespace kestrova::win
