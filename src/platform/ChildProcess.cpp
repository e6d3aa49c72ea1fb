#include "ChildProcess.h"

#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <stdexcept>
#include <thread>

#include "link/BridgeProtocol.h"
#include "tools/Vb.h"

extern char** environ;

namespace kestrova::platform {

namespace {

using Steady = std::chrono::steady_clock;

int MsLeft(Steady::time_point deadline) {
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Steady::now()).count();
    return left > 0 ? static_cast<int>(left) : 0;
}

// Waits for the descriptor to become ready for events; false when the deadline passed.
bool WaitFor(int fd, short events, Steady::time_point deadline) {
    for (;;) {
        pollfd p{fd, events, 0};
        const int n = ::poll(&p, 1, MsLeft(deadline));
        if (n > 0) return true;
        if (n == 0) return false;
        if (errno != EINTR) return false;
    }
}

std::string OperationOf(const std::string& request) {
    return request.substr(0, request.find(' '));
}

}  // namespace

std::vector<std::string> SplitCommand(const std::string& command) {
    std::vector<std::string> words;
    std::string word;
    bool inWord = false;
    char quote = 0;
    for (char c : command) {
        if (quote) {
            if (c == quote)
                quote = 0;
            else
                word += c;
        } else if (c == '"' || c == '\'') {
            quote = c;
            inWord = true;
        } else if (c == ' ' || c == '\t') {
            if (inWord) words.push_back(std::move(word));
            word.clear();
            inWord = false;
        } else {
            word += c;
            inWord = true;
        }
    }
    if (quote) throw std::invalid_argument("unterminated quote in \"" + command + "\"");
    if (inWord) words.push_back(std::move(word));
    if (words.empty()) throw std::invalid_argument("no command given");
    return words;
}

ChildProcess::ChildProcess(const std::string& command, int timeoutMs)
    : command_(command), timeoutMs_(timeoutMs) {
    const std::vector<std::string> words = SplitCommand(command);
    std::vector<char*> argv;
    for (const std::string& w : words) argv.push_back(const_cast<char*>(w.c_str()));
    argv.push_back(nullptr);

    int fds[2];
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, fds) != 0)
        throw std::runtime_error("cannot start " + words[0] + ": " + std::strerror(errno));
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, fds[1], STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, fds[1], STDOUT_FILENO);
    // A group of its own, so that stopping it also stops what it started (a shell's children).
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP);
    posix_spawnattr_setpgroup(&attributes, 0);
    const int error = ::posix_spawnp(&pid_, argv[0], &actions, &attributes, argv.data(), environ);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    ::close(fds[1]);
    if (error != 0) {
        ::close(fds[0]);
        pid_ = -1;
        throw std::runtime_error(
            "cannot start " + words[0] + ": " +
            (error == ENOENT ? std::string("no such program") : std::string(std::strerror(error))));
    }
    fd_ = fds[0];
}

ChildProcess::~ChildProcess() {
    Stop(500);
}

void ChildProcess::Stop(int graceMs) {
    if (fd_ >= 0) {
        ::shutdown(fd_, SHUT_WR);  // end of input: a well-behaved bridge ends by itself
    }
    if (pid_ > 0) {
        const auto reaped = [this](Steady::time_point until) {
            for (;;) {
                const pid_t r = ::waitpid(pid_, nullptr, WNOHANG);
                if (r == pid_ || (r < 0 && errno != EINTR)) return true;
                if (Steady::now() >= until) return false;
                std::this_thread::sleep_for(std::chrono::milliseconds(5));
            }
        };
        if (!reaped(Steady::now() + std::chrono::milliseconds(graceMs))) {
            ::kill(-pid_, SIGTERM);
            if (!reaped(Steady::now() + std::chrono::milliseconds(200))) {
                ::kill(-pid_, SIGKILL);
                while (::waitpid(pid_, nullptr, 0) < 0 && errno == EINTR) {
                }
            }
        }
        pid_ = -1;
    }
    if (fd_ >= 0) ::close(fd_);
    fd_ = -1;
}

void ChildProcess::Fail(const std::string& why) {
    broken_ = "The business object \"" + command_ + "\" " + why;
    Stop(0);
    throw VbError(bridge::kBridgeFailure, broken_);
}

// Why the child's output ended: how it exited, as far as it can be told yet.
std::string ChildProcess::Ended() {
    int status = 0;
    pid_t r = 0;
    const auto until = Steady::now() + std::chrono::milliseconds(200);
    while ((r = ::waitpid(pid_, &status, WNOHANG)) == 0 && Steady::now() < until)
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    if (r != pid_) return "closed its output";
    pid_ = -1;
    if (WIFEXITED(status)) return "ended with exit status " + std::to_string(WEXITSTATUS(status));
    if (WIFSIGNALED(status)) return "was killed by signal " + std::to_string(WTERMSIG(status));
    return "ended";
}

std::string ChildProcess::RoundTrip(const std::string& request) {
    if (!broken_.empty()) throw VbError(bridge::kBridgeFailure, broken_);
    const std::string operation = OperationOf(request);
    const Steady::time_point deadline = Steady::now() + std::chrono::milliseconds(timeoutMs_);
    const std::string timedOut =
        "did not answer " + operation + " within " + std::to_string(timeoutMs_) + " ms";

    // Output nobody asked for would be taken as the next answer: the bridge is out of step.
    pollfd early{fd_, POLLIN, 0};
    if (!pending_.empty() || (::poll(&early, 1, 0) > 0 && (early.revents & POLLIN))) {
        char c;
        if (pending_.empty() && ::recv(fd_, &c, 1, MSG_PEEK) == 0) Fail(Ended());
        Fail("wrote a line no request asked for");
    }

    const std::string line = request + "\n";
    size_t sent = 0;
    while (sent < line.size()) {
        if (!WaitFor(fd_, POLLOUT, deadline)) Fail(timedOut);
        const ssize_t n = ::send(fd_, line.data() + sent, line.size() - sent, MSG_NOSIGNAL);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) Fail(errno == EPIPE || errno == ECONNRESET ? Ended() : std::strerror(errno));
        sent += static_cast<size_t>(n);
    }

    for (;;) {
        const size_t end = pending_.find('\n');
        if (end != std::string::npos) {
            std::string answer = pending_.substr(0, end);
            pending_.erase(0, end + 1);
            return answer;
        }
        if (pending_.size() > bridge::kMaxLine)
            Fail("answered " + operation + " with a line longer than " +
                 std::to_string(bridge::kMaxLine) + " bytes");
        if (!WaitFor(fd_, POLLIN, deadline)) Fail(timedOut);
        char buffer[4096];
        const ssize_t n = ::recv(fd_, buffer, sizeof buffer, 0);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0 && errno != ECONNRESET) Fail(std::strerror(errno));
        if (n <= 0) Fail(Ended() + " before it answered " + operation);
        pending_.append(buffer, static_cast<size_t>(n));
    }
}

}  // namespace kestrova::platform
