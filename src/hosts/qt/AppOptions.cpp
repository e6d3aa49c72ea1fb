#include "AppOptions.h"

#include <cctype>
#include <cstdlib>

#include "tools/Vb.h"

namespace kestrova::qt {

namespace {

bool IsHex4(const std::string& s) {
    if (s.size() != 4) return false;
    for (char c : s)
        if (!std::isxdigit(static_cast<unsigned char>(c))) return false;
    return true;
}

bool ParseMs(const std::string& text, int& ms) {
    if (text.empty() || text.size() > 7) return false;
    for (char c : text)
        if (c < '0' || c > '9') return false;
    ms = std::atoi(text.c_str());
    return true;
}

bool IsPort(const std::string& text) {
    if (text.size() < 4 || text.size() > 6 || !IEquals(text.substr(0, 3), "COM")) return false;
    for (size_t i = 3; i < text.size(); ++i)
        if (text[i] < '0' || text[i] > '9') return false;
    return text[3] != '0';
}

}  // namespace

std::string UsageText() {
    return "Usage: kestrova [options]\n"
           "The IO-Link USB master DTM in a desktop frame, on a simulated master.\n"
           "\n"
           "  --function configure|expert|about   FDT function to open (default expert)\n"
           "  --language de|en          language of the DTM (default: from LANG)\n"
           "  --profile NAME            device behind the simulated port (sensor, actuator, ...)\n"
           "  --master ID|none          master plugged at start: 7c31, 7c32, 7c33, other hex\n"
           "                            digits (unsupported), unreadable, or none (default 7c31)\n"
           "  --port COMn               port of that master (default COM3)\n"
           "  --inventory simulator|system   USB inventory to search (default simulator)\n"
           "  --sim LINE                simulator control line run before the DTM opens, e.g.\n"
           "                            --sim \"latency 20\" (repeatable)\n"
           "  --bridge \"COMMAND ARGS\"  the business object is COMMAND, spoken to through the\n"
           "                            bridge line protocol (docs/bridge.md), e.g.\n"
           "                            --bridge \"kestrova-sim --serve\"\n"
           "  --bridge-timeout MS       how long a bridge may take to answer (default 5000)\n"
           "  --page NODE               open a page by its tree node key or text (e.g. K3)\n"
           "  --click PATH              click a control once the page is open, e.g.\n"
           "                            IOLinkData1.UCProcessData1.CheckAutoUpdate (repeatable)\n"
           "  --click-after MS          when to click (default 1000)\n"
           "  --screenshot FILE         write the window to FILE (PNG) and exit\n"
           "  --after MS                when to take the screenshot (default 2500)\n"
           "  --help                    this text\n";
}

ParsedOptions ParseOptions(const std::vector<std::string>& args) {
    ParsedOptions result;
    AppOptions& o = result.options;
    auto fail = [&](const std::string& message) {
        result.error = message;
        return result;
    };
    for (size_t i = 0; i < args.size(); ++i) {
        std::string arg = args[i];
        std::string value;
        bool hasValue = false;
        // Both "--name value" and "--name=value".
        if (const size_t eq = arg.find('='); arg.rfind("--", 0) == 0 && eq != std::string::npos) {
            value = arg.substr(eq + 1);
            arg = arg.substr(0, eq);
            hasValue = true;
        }
        auto need = [&](std::string& out) {
            if (hasValue) {
                out = value;
                return true;
            }
            if (i + 1 >= args.size()) return false;
            out = args[++i];
            return true;
        };
        std::string v;
        if (arg == "--help" || arg == "-h") {
            o.help = true;
        } else if (arg == "--function") {
            if (!need(v)) return fail("--function needs a value: configure, expert or about");
            const std::string f = LCase(v);
            if (f == "configure" || f == "1")
                o.functionId = kFunctionConfigure;
            else if (f == "expert" || f == "2")
                o.functionId = kFunctionExpert;
            else if (f == "about" || f == "3")
                o.functionId = kFunctionAbout;
            else
                return fail("unknown function '" + v + "' (configure, expert or about)");
        } else if (arg == "--language") {
            if (!need(v)) return fail("--language needs a value: de or en");
            const std::string l = LCase(v);
            if (l == "de" || l == "german" || l == "deutsch" || l == "1031")
                o.language = kLocaleGerman;
            else if (l == "en" || l == "english" || l == "1033")
                o.language = kLocaleEnglish;
            else
                return fail("unknown language '" + v + "' (de or en)");
        } else if (arg == "--profile") {
            if (!need(v) || v.empty()) return fail("--profile needs a profile name");
            o.profile = v;
        } else if (arg == "--master") {
            if (!need(v)) return fail("--master needs a product id or none");
            const std::string m = LCase(v);
            if (m != "none" && m != "unreadable" && !IsHex4(m))
                return fail("--master takes four hex digits, unreadable or none, not '" + v + "'");
            o.master = m;
        } else if (arg == "--port") {
            if (!need(v) || !IsPort(v)) return fail("--port takes a port name like COM3");
            o.port = UCase(v);
        } else if (arg == "--inventory") {
            if (!need(v)) return fail("--inventory needs a value: simulator or system");
            if (LCase(v) == "system")
                o.systemInventory = true;
            else if (LCase(v) == "simulator")
                o.systemInventory = false;
            else
                return fail("unknown inventory '" + v + "' (simulator or system)");
        } else if (arg == "--sim") {
            if (!need(v) || v.empty()) return fail("--sim needs a control line");
            o.simLines.push_back(v);
        } else if (arg == "--bridge") {
            if (!need(v) || v.empty()) return fail("--bridge needs a command");
            o.bridge = v;
        } else if (arg == "--bridge-timeout") {
            if (!need(v) || !ParseMs(v, o.bridgeTimeoutMs) || o.bridgeTimeoutMs < 1)
                return fail("--bridge-timeout takes milliseconds");
        } else if (arg == "--page") {
            if (!need(v) || v.empty()) return fail("--page needs a node key or text");
            o.page = v;
        } else if (arg == "--click") {
            if (!need(v) || v.empty()) return fail("--click needs a control path");
            o.clicks.push_back(v);
        } else if (arg == "--click-after") {
            if (!need(v) || !ParseMs(v, o.clickAfterMs))
                return fail("--click-after takes milliseconds");
        } else if (arg == "--screenshot") {
            if (!need(v) || v.empty()) return fail("--screenshot needs a file name");
            o.screenshot = v;
        } else if (arg == "--after") {
            if (!need(v) || !ParseMs(v, o.afterMs)) return fail("--after takes milliseconds");
        } else {
            return fail("unknown option '" + args[i] + "' (see --help)");
        }
    }
    return result;
}

int LocaleFromEnvironment() {
    for (const char* name : {"LANGUAGE", "LC_ALL", "LC_MESSAGES", "LANG"}) {
        const char* value = std::getenv(name);
        if (!value || !*value) continue;
        const std::string v = LCase(value);
        if (v == "c" || v == "posix" || v.rfind("c.", 0) == 0) return kLocaleEnglish;
        return v.rfind("de", 0) == 0 ? kLocaleGerman : kLocaleEnglish;
    }
    return kLocaleEnglish;
}

std::string FunctionCallXml(int functionId) {
    return "<?xml version=\"1.0\"?>\n"
           "<FDT xmlns=\"x-schema:DTMFunctionCallSchema.xml\" "
           "xmlns:fdt=\"x-schema:FDTDataTypesSchema.xml\">\n"
           "  <FunctionCall functionId=\"" +
           std::to_string(functionId) + "\"/>\n</FDT>\n";
}

std::string FunctionName(int functionId) {
    switch (functionId) {
        case kFunctionConfigure:
            return "Configure";
        case kFunctionExpert:
            return "Expert";
        case kFunctionAbout:
            return "About";
        default:
            return "Function " + std::to_string(functionId);
    }
}

}  // namespace kestrova::qt
