// The read-eval-print loop of kestrova-sim: protocol lines go to SendCommand, "!" lines to
// Simulator::Control. Kept apart from main() so hosts and tests can drive it.
#pragma once

#include <iosfwd>
#include <string>
#include <string_view>
#include <vector>

#include "Simulator.h"

namespace kestrova::sim {

struct ReplOptions {
    Options simulator;
    bool echo = false;  // print each input line, after "> ", before its answer
    bool help = false;
    bool serve = false;  // speak the bridge line protocol instead of the prompt
};

// Parses the command-line arguments (without the program name); a bad one throws
// std::invalid_argument with a one-line message.
ReplOptions ParseReplArgs(const std::vector<std::string>& args);
std::string ReplUsage();

// What one input line prints (without the final line break; empty when nothing). Never throws:
// a malformed control line gives "error: ...", a failing call "raised NUMBER: DESCRIPTION".
std::string ReplLine(Simulator& sim, std::string_view line);

// Runs until the end of the input or "!quit"; returns the exit code.
int RunRepl(Simulator& sim, std::istream& in, std::ostream& out, bool echo);

}  // namespace kestrova::sim
