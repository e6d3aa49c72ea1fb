// The test frame's script mode: the scripted frame's language, with the main control drawn in a
// frame window on screen and the script's user input sent to its native windows.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <string>

namespace kestrova::win {

struct ScreenScriptOptions {
    bool echo = false;
    int32_t language = 1033;
    std::string screenshot;  // a BMP file of the frame at the end; empty for none
};

// Runs the script; returns the number of failed lines. Besides the scripted frame's commands a
// line "screenshot FILE" saves the frame as it is then (a BMP file).
int RunScreenScript(std::istream& script, std::ostream& out, const ScreenScriptOptions& options);

}  // namespace kestrova::win
