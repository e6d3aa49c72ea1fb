// Shared by the simulator's tests: one simulator per test, and scripts of REPL lines with what
// each must print.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "Repl.h"
#include "Simulator.h"

namespace kestrova::sim::testing {

// The parts of a text separated by "; ".
inline std::vector<std::string> Split(const std::string& text) {
    std::vector<std::string> parts;
    for (size_t start = 0; start < text.size();) {
        const size_t end = std::min(text.find("; ", start), text.size());
        parts.push_back(text.substr(start, end - start));
        start = end + 2;
    }
    return parts;
}

class SimTest : public ::testing::Test {
  protected:
    void Make(Options options = {}) {
        if (options.language == 0) options.language = 1033;
        sim = std::make_shared<Simulator>(options);
    }
    std::string Ask(const std::string& command) { return sim->SendCommand(command).ToText(); }

    // Each text holds steps separated by "; ": a REPL line and, after " -> ", what it must
    // print; without an arrow it must print nothing.
    void Run(const std::vector<std::string>& script) {
        for (const std::string& text : script) {
            for (const std::string& step : Split(text)) {
                const size_t arrow = step.find(" -> ");
                SCOPED_TRACE(step);
                EXPECT_EQ(ReplLine(*sim, step.substr(0, arrow)),
                          arrow == std::string::npos ? "" : step.substr(arrow + 4));
            }
        }
    }
    // Connects and waits until the device operates.
    void Online() {
        ASSERT_EQ(Ask("IOL::Connect"), "TRUE");
        sim->Control("advance 200");
        ASSERT_EQ(Ask("ConnectionState"), "ONLINE+,TRUE");
    }

    std::shared_ptr<Simulator> sim = std::make_shared<Simulator>(Options{.language = 1033});
};

}  // namespace kestrova::sim::testing
