// The whole control: Init, then page switches, user inputs and timer ticks on every page, with
// every answer of the business object taken from the input. Lines starting with "< " are the
// answers, in order (FuzzBridge.h); the others are lines of the scripted frame's language:
// init, init-raw, release, node, click, type, key, keys, pick, resize, tick (at most 5 s a line
// and 60 s an input, with at most 6 inits and 300 lines, so that one input stays short), and
// "sim plug|unplug" for the USB inventory.
#include <cstdint>
#include <sstream>
#include <string>
#include <string_view>

#include "FuzzHost.h"

namespace kestrova::fuzz {
namespace {

constexpr int64_t kMaxTickMs = 5000;
constexpr int64_t kMaxSessionMs = 60000;
// A control is created on every init: a few per input keep one input well under a second.
constexpr int kMaxInits = 6;
constexpr int kMaxLines = 300;

bool Allowed(std::string_view command, std::string_view rest) {
    static const std::string_view kCommands[] = {"init", "init-raw", "release", "node", "click",
                                                 "type", "key",      "keys",    "pick", "resize"};
    for (std::string_view c : kCommands)
        if (command == c) return true;
    if (command != "sim") return false;
    const std::string_view what = Word(rest);
    return what == "plug" || what == "unplug";
}

}  // namespace
}  // namespace kestrova::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace kestrova::fuzz;
    auto bridge = std::make_shared<FuzzBridge>();
    std::vector<std::string> script;
    for (std::string& line : Lines(data, size)) {
        if (line.starts_with("< "))
            bridge->Give(line.substr(2));
        else
            script.push_back(std::move(line));
    }
    std::ostringstream out;
    kestrova::headless::HeadlessFrame frame(out, GuardedFrame(bridge));
    int64_t elapsed = 0;
    int number = 0, inits = 0;
    for (const std::string& line : script) {
        if (++number > kMaxLines) break;
        std::string_view rest = line;
        const std::string_view command = Word(rest);
        if (command == "tick") {
            const int64_t ms = Number(Word(rest), 0, kMaxTickMs);
            if (elapsed + ms > kMaxSessionMs) break;
            elapsed += ms;
            GuardedTick(frame, ms);
        } else if (Allowed(command, rest)) {
            if (command.starts_with("init") && ++inits > kMaxInits) break;
            frame.Execute(line, number);
        }
        out.str({});
    }
    return 0;
}
