#include "ScreenScript.h"

#include <istream>
#include <memory>
#include <ostream>

#include "FrameWindow.h"
#include "HeadlessFrame.h"
#include "WindowInput.h"

namespace kestrova::win {

namespace {

// "screenshot FILE": the frame as it is now, for the pictures of each page.
bool IsScreenshotLine(const std::string& line, std::string& file) {
    constexpr std::string_view command = "screenshot ";
    const size_t start = line.find_first_not_of(" \t");
    if (start == std::string::npos || line.compare(start, command.size(), command) != 0)
        return false;
    file = line.substr(start + command.size());
    while (!file.empty() && (file.back() == '\r' || file.back() == ' ')) file.pop_back();
    return true;
}

}  // namespace

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
    int screenshotFailures = 0;
    const auto screenshot = [&](const std::string& file, int lineNumber) {
        std::string error;
        if (SaveScreenshot(window.Handle(), file, error)) return;
        out << "error line " << lineNumber << ": screenshot: " << error << "\n";
        ++screenshotFailures;
    };
    std::string line, file;
    for (int number = 1; std::getline(script, line); ++number) {
        if (IsScreenshotLine(line, file)) {
            if (options.echo) out << "$ " << line << "\n";
            screenshot(file, number);
        } else {
            frame.Execute(line, number);
        }
    }
    if (!options.screenshot.empty()) screenshot(options.screenshot, 0);
    out.flush();
    return frame.Failures() + screenshotFailures;
}

}  // namespace kestrova::win
