// A business object in a child process: the command is started with its standard input and
// output on one socket, request lines go in and answer lines come out, each round trip within a
// timeout. Whatever goes wrong (the child ends, writes a broken line, does not answer in time)
// fails the call with a description a person can read; the child is then stopped and reaped, and
// every later call fails at once with the same description.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace kestrova::platform {

// "kestrova-sim --serve --port 'COM 4'": blank-separated words; single or double quotes keep
// blanks inside a word. Throws std::invalid_argument for an unterminated quote or no words.
std::vector<std::string> SplitCommand(const std::string& command);

class ChildProcess {
  public:
    static constexpr int kDefaultTimeoutMs = 5000;

    // Starts the command (looked up in PATH). Throws std::runtime_error with a one-line message
    // when it cannot be started, e.g. because there is no such program.
    ChildProcess(const std::string& command, int timeoutMs = kDefaultTimeoutMs);
    // Closes the child's input, gives it a moment to end, then stops it; always reaps it.
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    // Writes the request line and answers the child's answer line (without the line break).
    // Throws VbError when there is no answer.
    std::string RoundTrip(const std::string& request);

    // Empty while the child is usable; else why it is not.
    const std::string& Broken() const { return broken_; }
    pid_t Pid() const { return pid_; }

  private:
    [[noreturn]] void Fail(const std::string& why);
    void Stop(int graceMs);
    std::string Ended();

    std::string command_;
    int timeoutMs_;
    int fd_ = -1;
    pid_t pid_ = -1;
    std::string pending_;  // bytes read past the last answer line
    std::string broken_;
};

}  // namespace kestrova::platform
