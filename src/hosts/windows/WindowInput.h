// The scripted frame's user input as a person gives it on screen: the control is rendered into
// the frame window by the Win32 renderer, and every click, typed text, key, combo pick and tree
// click goes to the native window of its control as window messages. The renderer turns them
// back into the model's events, so it is under test with the page behind it.
#pragma once

#include <windows.h>

#include <exception>
#include <memory>

#include "FrameWindow.h"
#include "HeadlessFrame.h"

namespace kestrova::win {

class Renderer;

class WindowInput : public headless::InputDriver {
  public:
    explicit WindowInput(FrameWindow& frame);
    ~WindowInput() override;

    void Attach(ui::Control& root) override;
    void Detach() override;
    void Click(ui::Control& c) override;
    void NodeClick(ui::Control& tree, const std::string& key) override;
    void Type(ui::Control& c, const std::string& text) override;
    void Key(ui::Control& c, int16_t code) override;
    void Pick(ui::Control& c, int index) override;
    void Resize(ui::Control& root, int32_t width, int32_t height) override;
    void Settle() override;

    Renderer* View() const { return view_.get(); }

  private:
    HWND Window(ui::Control& c) const;
    // A failure inside a message handler is kept and raised here, after the message returned,
    // so the script reports it like any other.
    void RaiseKept();

    FrameWindow& frame_;
    ui::Control* root_ = nullptr;
    std::unique_ptr<Renderer> view_;
    std::exception_ptr kept_;
};

}  // namespace kestrova::win
