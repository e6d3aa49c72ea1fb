#include "Repl.h"

#include <istream>
#include <ostream>
#include <stdexcept>

#include "tools/Vb.h"

namespace kestrova::sim {

namespace {

// "--name value" or "--name=value".
bool TakeValue(const std::vector<std::string>& args, size_t& i, std::string_view name,
               std::string& value) {
    const std::string& a = args[i];
    if (a == name) {
        if (i + 1 >= args.size()) throw std::invalid_argument(std::string(name) + " needs a value");
        value = args[++i];
        return true;
    }
    if (a.size() > name.size() && a.starts_with(name) && a[name.size()] == '=') {
        value = a.substr(name.size() + 1);
        return true;
    }
    return false;
}

}  // namespace

ReplOptions ParseReplArgs(const std::vector<std::string>& args) {
    ReplOptions o;
    for (size_t i = 0; i < args.size(); ++i) {
        std::string v;
        if (args[i] == "--help" || args[i] == "-h") {
            o.help = true;
        } else if (args[i] == "--realtime") {
            o.simulator.realtime = true;
        } else if (args[i] == "--serve") {
            o.serve = true;
        } else if (args[i] == "--echo") {
            o.echo = true;
        } else if (TakeValue(args, i, "--profile", v)) {
            o.simulator.profile = v;
        } else if (TakeValue(args, i, "--product", v)) {
            o.simulator.product = v == "none" ? "" : v;
        } else if (TakeValue(args, i, "--port", v)) {
            o.simulator.port = v;
        } else if (TakeValue(args, i, "--language", v)) {
            int32_t id = 0;
            try {
                id = CLng(v);
            } catch (const VbError&) {
                id = -1;
            }
            if (id <= 0 || id > 0xFFFF)
                throw std::invalid_argument("--language needs a locale id such as 1031 or 1033");
            o.simulator.language = id;
        } else {
            throw std::invalid_argument("unknown option '" + args[i] + "' (try --help)");
        }
    }
    return o;
}

std::string ReplUsage() {
    std::string profiles;
    for (const std::string& p : Simulator::Profiles())
        profiles += (profiles.empty() ? "" : ", ") + p;
    return "usage: kestrova-sim [options]\n"
           "A simulated IO-Link USB master with a device behind it. Reads lines from standard\n"
           "input: a protocol line (IOL::Connect, ConnectionState, ...) prints its answer; a line\n"
           "starting with ! is a control line (!help lists them); !quit or end of input ends.\n"
           "\n"
           "  --profile NAME   device behind the port (" +
           profiles +
           "); default sensor\n"
           "  --product ID     master plugged at start: 7c31 (default), 7c32, 7c33, other hex\n"
           "                   digits, unreadable, or none\n"
           "  --port NAME      its port, default COM3\n"
           "  --language LCID  the Language item, e.g. 1031 or 1033; default from LANG\n"
           "  --realtime       follow the wall clock (else time moves only by !advance)\n"
           "  --echo           print each input line before its answer\n"
           "  --serve          answer the bridge line protocol (docs/bridge.md) instead, for\n"
           "                   kestrova --bridge \"kestrova-sim --serve\"\n"
           "  --help           this text";
}

std::string ReplLine(Simulator& sim, std::string_view line) {
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    if (line.empty()) return "";
    try {
        if (line[0] == '!') return sim.Control(line.substr(1));
        return sim.SendCommand(std::string(line)).ToText();
    } catch (const VbError& e) {
        return "raised " + std::to_string(e.Number()) + ": " + e.Description();
    } catch (const std::exception& e) {
        return std::string("error: ") + e.what();
    }
}

int RunRepl(Simulator& sim, std::istream& in, std::ostream& out, bool echo) {
    std::string line;
    while (std::getline(in, line)) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        if (echo && !line.empty()) out << "> " << line << '\n';
        if (line == "!quit" || line == "!exit") break;
        const std::string answer = ReplLine(sim, line);
        if (!answer.empty() || (!line.empty() && line[0] != '!')) out << answer << '\n';
        out.flush();
    }
    return 0;
}

}  // namespace kestrova::sim
