#include "platform/ChildProcess.h"

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cerrno>
#include <chrono>
#include <stdexcept>
#include <thread>

#include "tools/Vb.h"

namespace kestrova::platform {
namespace {

using Steady = std::chrono::steady_clock;

bool Reaped(pid_t pid) {
    return ::waitpid(pid, nullptr, WNOHANG) < 0 && errno == ECHILD;
}

TEST(ChildProcess, CommandsSplitLikeAShellLine) {
    const std::pair<const char*, std::vector<std::string>> cases[] = {
        {"kestrova-sim --serve", {"kestrova-sim", "--serve"}},
        {"  a   b ", {"a", "b"}},
        {"sh -c 'read x; echo \"$x\"'", {"sh", "-c", "read x; echo \"$x\""}},
        {"x \"\" y", {"x", "", "y"}},
        {"p\"q r\"s", {"pq rs"}},
    };
    for (const auto& [line, words] : cases) EXPECT_EQ(SplitCommand(line), words) << line;
    EXPECT_THROW(SplitCommand("a 'b"), std::invalid_argument);
    EXPECT_THROW(SplitCommand("   "), std::invalid_argument);
}

TEST(ChildProcess, AnswersLineByLine) {
    ChildProcess child("sh -c 'while read l; do echo \"text $l\"; done'");
    EXPECT_EQ(child.RoundTrip("SendCommand a b"), "text SendCommand a b");
    EXPECT_EQ(child.RoundTrip(""), "text ");
    EXPECT_TRUE(child.Broken().empty());
}

// Every way a bridge can fail ends the call with the reason within the timeout, stops the child
// and fails later calls at once with the same reason.
TEST(ChildProcess, FailuresAreBoundedAndFinal) {
    const std::pair<const char*, const char*> cases[] = {
        {"sh -c 'exit 3'", "ended with exit status 3"},
        {"sh -c 'read l; kill -9 $$'", "killed by signal 9"},
        {"sh -c 'read l; printf partial; sleep 9'", "did not answer SendCommand within 300 ms"},
        {"sleep 9", "did not answer SendCommand within 300 ms"},
        {"sh -c 'echo early; sleep 9'", "wrote a line no request asked for"},
        {"sh -c 'read l; head -c 1100000 /dev/zero | tr \"\\0\" x; sleep 9'", "longer than"},
    };
    for (const auto& [command, reason] : cases) {
        ChildProcess child(command, 300);
        std::this_thread::sleep_for(std::chrono::milliseconds(50));  // let early output arrive
        const pid_t pid = child.Pid();
        const Steady::time_point start = Steady::now();
        try {
            child.RoundTrip("SendCommand IOL::Connect");
            ADD_FAILURE() << command << " answered";
        } catch (const VbError& e) {
            EXPECT_NE(std::string(e.Description()).find(reason), std::string::npos)
                << command << ": " << e.Description();
        }
        EXPECT_LT(Steady::now() - start, std::chrono::seconds(2)) << command;
        EXPECT_TRUE(Reaped(pid)) << command;
        EXPECT_NE(child.Broken().find(reason), std::string::npos) << command;
        EXPECT_THROW(child.RoundTrip("SendCommand x"), VbError) << command;
    }
}

TEST(ChildProcess, AMissingProgramFailsToStart) {
    try {
        ChildProcess child("kestrova-no-such-program --serve");
        FAIL() << "started";
    } catch (const std::runtime_error& e) {
        EXPECT_STREQ(e.what(), "cannot start kestrova-no-such-program: no such program");
    }
}

TEST(ChildProcess, EndingClosesTheInputAndReaps) {
    pid_t pid = 0;
    {
        ChildProcess child("sleep 30");  // does not read: is stopped after the grace time
        pid = child.Pid();
    }
    EXPECT_TRUE(Reaped(pid));
}

}  // namespace
}  // namespace kestrova::platform
