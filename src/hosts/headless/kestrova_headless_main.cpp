// kestrova-headless: runs a script against the main control and the simulated master.
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
#include <memory>
#include <string>

#include "HeadlessFrame.h"
#include "link/LineBridge.h"
#include "platform/ChildProcess.h"

namespace {

constexpr const char* kUsage =
    "usage: kestrova-headless [--echo] [--language LCID] [--bridge COMMAND] [SCRIPT]\n"
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
    "  --bridge \"COMMAND ARGS\"\n"
    "                   start COMMAND and use it as the business object through the bridge\n"
    "                   line protocol (docs/bridge.md), e.g. --bridge \"kestrova-sim --serve\"\n"
    "  --bridge-timeout MS\n"
    "                   how long a bridge may take to answer one call (5000)\n"
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
    std::string bridgeCommand;
    int bridgeTimeout = kestrova::platform::ChildProcess::kDefaultTimeoutMs;
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
        } else if (arg == "--bridge") {
            if (++i >= argc || !*argv[i]) return Usage("--bridge needs a command");
            bridgeCommand = argv[i];
        } else if (arg == "--bridge-timeout") {
            const std::string value = ++i < argc ? argv[i] : "";
            if (value.empty() || value.size() > 7 ||
                value.find_first_not_of("0123456789") != std::string::npos || std::stoi(value) < 1)
                return Usage("--bridge-timeout needs milliseconds from 1 to 9999999");
            bridgeTimeout = std::stoi(value);
        } else if (arg.size() > 1 && arg[0] == '-') {
            return Usage("unknown option " + arg);
        } else if (haveScript) {
            return Usage("one script at a time");
        } else {
            script = arg;
            haveScript = true;
        }
    }

    std::shared_ptr<kestrova::platform::ChildProcess> child;
    if (!bridgeCommand.empty()) {
        try {
            child =
                std::make_shared<kestrova::platform::ChildProcess>(bridgeCommand, bridgeTimeout);
        } catch (const std::exception& e) {
            std::cerr << "kestrova-headless: --bridge: " << e.what() << "\n";
            return 2;
        }
        options.business = [child, bridgeCommand](kestrova::ui::VirtualClock& clock) {
            return kestrova::BridgeBusinessObject(
                [child](const std::string& request) { return child->RoundTrip(request); },
                "\"" + bridgeCommand + "\"", [&clock] { return clock.NowMs(); });
        };
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
