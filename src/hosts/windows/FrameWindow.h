// The test frame's window on screen: a plain top-level window whose client area holds the
// control, and pictures of it for the screenshot option and the tests.
#pragma once

#include <windows.h>

#include <functional>
#include <string>

namespace kestrova::win {

class FrameWindow {
  public:
    // A frame window with the title, its client area widthPx x heightPx, shown.
    FrameWindow(const std::wstring& title, int widthPx, int heightPx);
    ~FrameWindow();
    FrameWindow(const FrameWindow&) = delete;
    FrameWindow& operator=(const FrameWindow&) = delete;

    HWND Handle() const { return window_; }
    // Gives the client area a new size; OnResize follows.
    void SetClientSize(int widthPx, int heightPx);
    // Runs whenever the client area changed size.
    std::function<void()> OnResize;
    // Set when the user closed the window; the window stays until its owner is done.
    bool Closed() const { return closed_; }

  private:
    static LRESULT CALLBACK WindowProc(HWND window, UINT message, WPARAM wp, LPARAM lp);
    HWND window_ = nullptr;
    bool closed_ = false;
};

// Handles every message waiting for this thread, painting included.
void PumpMessages();

// Saves what the window shows (client area) as a 24-bit BMP file; false with the reason in
// error when it cannot.
bool SaveScreenshot(HWND window, const std::string& path, std::string& error);

}  // namespace kestrova::win
