// Shared by the simulator's tests: scripts of REPL lines with the output each must print.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Repl.h"
#include "Simulator.h"

namespace kestrova::sim::testing {

// One line and what it prints; kAny accepts any output.
struct Step {
    std::string line;
    std::string expect;
};
inline const std::string kAny = "\x01";

inline void RunScript(Simulator& sim, const std::vector<Step>& steps) {
    for (const Step& s : steps) {
        SCOPED_TRACE(s.line);
        const std::string out = ReplLine(sim, s.line);
        if (s.expect != kAny) {
            EXPECT_EQ(out, s.expect);
        }
    }
}

inline std::string Ask(Simulator& sim, const std::string& command) {
    return sim.SendCommand(command).ToText();
}

// Connects and waits until the port operates.
inline void Online(Simulator& sim) {
    ASSERT_EQ(Ask(sim, "IOL::Connect"), "TRUE");
    sim.Control("advance 200");
    ASSERT_EQ(Ask(sim, "ConnectionState"), "ONLINE+,TRUE");
}

// The numbers after "OK:" (any of the separators ',', ' ').
inline std::vector<int> Fields(const std::string& answer) {
    std::vector<int> out;
    std::string cur;
    for (char c : answer.substr(answer.find(':') + 1) + ",") {
        if (c == ',' || c == ' ') {
            if (!cur.empty()) out.push_back(std::stoi(cur));
            cur.clear();
        } else {
            cur += c;
        }
    }
    return out;
}

// The text carried by a read answer "OK:n b0 b1 ...".
inline std::string TextOf(const std::string& answer) {
    std::vector<int> f = Fields(answer);
    std::string s;
    for (size_t i = 1; i < f.size(); ++i) s += static_cast<char>(f[i]);
    return s;
}

}  // namespace kestrova::sim::testing
