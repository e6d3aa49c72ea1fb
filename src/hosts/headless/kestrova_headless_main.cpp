// kestrova-headless: runs a script against the main control and the simulated master.
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
#include <string>

#include "HeadlessFrame.h"

namespace {

constexpr const char* kUsage =
    "usage: kestrova-headless [--echo] [--language LCID] [SCRIPT]\n"
    "Runs SCRIPT (or standard input, also for '-') against the main control hosted in a\n"
    "scripted frame with the simulated IO-Link USB master. One command per line:\n"
    "  init FUNCID [LCID] | init-raw TEXT | release\n"
    "  tick MS | resize WIDTH HEIGHT\n"
    "  click PATH | node KEY | type PATH TEXT | key PATH CODE | keys PATH TEXT | pick PATH INDEX\n"
    "  get PATH | dump [PATH] | traffic | messages | sim LINE\n"
    "  answer-save PATH|cancel | answer-message ok|cancel|yes|no|... | pdf-app PATH|none\n"
    "  program-dir PATH | start-result ok|fail\n"
    "  expect PATH PROPERTY VALUE | expect-traffic TEXT | expect-no-traffic TEXT\n"
    "  expect-message TEXT | expect-no-message [TEXT]\n"
    "Lines starting with # are comments. A failing line prints 'error line N: ...'.\n"
    "Options:\n"
    "  --echo           print each script line (as '$ LINE') before its output\n"
    "  --language LCID  the simulated business object's Language item at start (1033)\n"
    "  --help           this text\n"
    "Exit status: 0 when every line succeeded, 1 when a line failed, 2 for bad usage.\n";

int Usage(const std::string& problem) {
    std::cerr << "kestrova-headless: " << problem << "\n" << kUsage;
    return 2;
}

}  // namespace

int main(int argc, char** argv) {
    kestrova::headless::FrameOptions options;
    std::string script;
    bool haveScript = false;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--help" || arg == "-h") {
            std::cout << kUsage;
            return 0;
        }
        if (arg == "--echo") {
            options.echo = true;
        } else if (arg == "--language") {
            if (++i >= argc) return Usage("--language needs a locale id");
            const std::string value = argv[i];
            if (value.empty() || value.size() > 5 ||
                value.find_first_not_of("0123456789") != std::string::npos)
                return Usage("--language needs a locale id such as 1031 or 1033, not '" + value +
                             "'");
            options.language = std::stoi(value);
        } else if (arg.size() > 1 && arg[0] == '-') {
            return Usage("unknown option " + arg);
        } else if (haveScript) {
            return Usage("one script at a time");
        } else {
            script = arg;
            haveScript = true;
        }
    }

    kestrova::headless::HeadlessFrame frame(std::cout, options);
    int failures = 0;
    if (!haveScript || script == "-") {
        failures = frame.Run(std::cin);
    } else {
        std::ifstream in(script);
        if (!in) {
            std::cerr << "kestrova-headless: cannot read " << script << ": " << std::strerror(errno)
                      << "\n";
            return 2;
        }
        failures = frame.Run(in);
    }
    return failures ? 1 : 0;
}
