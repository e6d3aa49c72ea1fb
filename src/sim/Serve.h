// The simulator as a separate process: kestrova-sim --serve answers the bridge line protocol
// (docs/bridge.md) on standard input and output, so any host can use it with --bridge.
#pragma once

#include <chrono>
#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>
#include <string_view>

#include "Simulator.h"

namespace kestrova::sim {

class Server {
  public:
    // Time follows the wall clock until the host sends its own ("Clock MS"), then the host's.
    explicit Server(Options options);
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    // The answer line to one request line; never throws.
    std::string Answer(std::string_view request);
    Simulator& Sim() { return sim_; }

  private:
    int64_t Now() const;

    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
    std::optional<int64_t> hostMs_;
    Simulator sim_;
};

// Answers every line of in on out until the end of in; returns the exit code.
int RunServe(Server& server, std::istream& in, std::ostream& out);

}  // namespace kestrova::sim
