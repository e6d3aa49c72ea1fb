#include "ScreenScript.h"

#include <memory>
#include <ostream>

#include "FrameWindow.h"
#include "HeadlessFrame.h"
#include "WindowInput.h"

namespace kestrova::win {

int RunScreenScript(std::istream& script, std::ostream& out, const ScreenScriptOptions& options) {
    FrameWindow window(L"Kestrova", 640, 480);
    if (!window.Handle()) {
        out << "error: no frame window (is there a display?)\n";
        return 1;
    }
    auto input = std::make_shared<WindowInput>(window);
    headless::FrameOptions frameOptions;
    frameOptions.echo = options.echo;
    frameOptions.language = options.language;
    frameOptions.input = input;
    headless::HeadlessFrame frame(out, frameOptions);
    int failures = frame.Run(script);
    if (!options.screenshot.empty()) {
        std::string error;
        if (!SaveScreenshot(window.Handle(), options.screenshot, error)) {
            out << "error: screenshot: " << error << "\n";
            ++failures;
        }
    }
    return failures;
}

}  // namespace kestrova::win
