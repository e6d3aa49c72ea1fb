#include "link/IOLinkComm.h"

#include <gtest/gtest.h>

#include <ctime>
#include <functional>
#include <string>
#include <tuple>

#include "link/testing/FakeBridge.h"
#include "tools/testing/VbTesting.h"

namespace kestrova {
namespace {

// Error numbers in the tables: 13 Type mismatch, 6 Overflow, 0 nothing raised.
class IOLinkCommTest : public ::testing::Test {
  protected:
    FakeBridge dtm;
    std::string description;
    Values io, out{1, 255, 3};
    int16_t st = 0;
    EventRecord event{};
    ModeRecord mode{};
    // Every command that parses a result, with the text it sends.
    const std::vector<std::pair<std::string, std::function<int32_t()>>> commands{
        {"IOL::Read Index=16 SubIndex=0", [&] { return IolRead(dtm, 16, 0, io); }},
        {"IOL::Read Index=-1 SubIndex=255", [&] { return IolRead(dtm, -1, 255, io); }},
        {"IOL::Write Index=6 SubIndex=1 Data=01 FF 03", [&] { return IolWrite(dtm, 6, 1, out); }},
        {"IOL::Write Index=64 SubIndex=0 Data=", [&] { return IolWrite(dtm, 64, 0, {}); }},
        {"IOL::SetMode Mode=1 Cycle=45", [&] { return IolSetMode(dtm, 1, 45); }},
        {"IOL::ChangeCycle Cycle=73", [&] { return IolChangeCycle(dtm, 73); }},
        {"IOL::TransferImage Data=01 FF", [&] { return IolTransferImage(dtm, out, io, st, 2); }},
        {"IOL::TransferImage Data=", [&] { return IolTransferImage(dtm, out, io, st, 0); }},
        {"IOL::TransferImage Data=01 FF 03", [&] { return IolTransferImage(dtm, out, io, st, 5); }},
        {"IOL::ReadOutputImage", [&] { return IolReadOutputImage(dtm, io, 4); }},
        {"IOL::GetEvent", [&] { return IolGetEvent(dtm, event); }},
        {"IOL::GetMode", [&] { return IolGetMode(dtm, mode); }}};
};

// Every command sends exactly its text (the answers are keyed by it). The number is taken from
// the seventh character on, whatever the six characters before it are; nothing there is a
// conversion error, never a silent 0.
TEST_F(IOLinkCommTest, FailureNumberIsPositional) {
    const std::tuple<const char*, int32_t, int32_t> answers[] = {
        {"ERROR:17", 17, 0},        {"FAILED17", 17, 0}, {"xxxxxx-3", -3, 0},
        {"ok:aaa4660", 4660, 0},    {"NOTOK: 8 ", 8, 0}, {"OK 12:42", 42, 0},
        {"Ä1234:5", 5, 0},          {"", 0, 13},         {"ERROR", 0, 13},
        {"ERROR:", 0, 13},          {"ERROR:x", 0, 13},  {"ERROR:1 2", 0, 13},
        {"ERROR:99999999999", 0, 6}};
    for (const auto& [text, call] : commands) {
        dtm.ClearLog();
        for (auto [answer, number, error] : answers) {
            dtm.Queue(text, answer);
            int32_t result = 0;
            EXPECT_EQ(ErrorOf([&] { result = call(); }), error) << text << " / " << answer;
            EXPECT_EQ(result, number) << text << " / " << answer;
        }
        EXPECT_EQ(dtm.Sent(), std::vector<std::string>(std::size(answers), text));
    }
}

TEST_F(IOLinkCommTest, ConnectAsksForTheMasterFirst) {
    EXPECT_FALSE(IolConnect(dtm));  // no master chosen: empty answer, no connect
    EXPECT_EQ(dtm.Sent(), std::vector<std::string>{"USBDevice"});
    dtm.Answer("USBDevice", "COM3");
    const std::pair<Variant, bool> answers[] = {{"TRUE", true}, {"true", true},    {"TrUe", true},
                                                {true, true},   {"FALSE", false},  {" TRUE", false},
                                                {"OK:", false}, {Variant(), false}};
    for (const auto& [answer, connected] : answers) {
        dtm.Queue("IOL::Connect", answer);
        EXPECT_EQ(IolConnect(dtm), connected) << answer.ToText();
    }
}

TEST_F(IOLinkCommTest, ResultOnlyAnswersAreNotReadAndFailingCallsPassThrough) {
    dtm.Answer("IOL::SetMode Mode=5 Cycle=0", "OK:garbage");
    EXPECT_EQ(IolSetMode(dtm, 5, 0), 0);
    dtm.Answer("IOL::Write Index=1 SubIndex=0 Data=07", "OK:x y");
    EXPECT_EQ(IolWrite(dtm, 1, 0, {7}), 0);
    dtm.Answer("IOL::Disconnect", Variant::MakeNull());  // never looked at
    EXPECT_EQ(ErrorOf([&] { IolDisconnect(dtm); }), 0);
    dtm.Fail("IOL::Disconnect", 440);
    EXPECT_EQ(ErrorOf([&] { IolDisconnect(dtm); }), 440);
    dtm.Fail("IOL::GetEvent", 424, "no business object");
    EXPECT_EQ(ErrorOf([&] { IolGetEvent(dtm, event); }, &description), 424);
    EXPECT_EQ(description, "no business object");
}

// The answer tables: answer -> error raised, outputs afterwards. A raising answer leaves every
// output as it was, and its message names the command and the answer.
TEST_F(IOLinkCommTest, ReadAnswers) {
    // Values beyond the count are not read; a count of 0 or less gives no data.
    const std::tuple<const char*, int32_t, const char*> cases[] = {
        {"OK:0", 0, ""},        {"OK:3 1 2", 13, "42"},    {"OK:3 65 66 67", 0, "65 66 67"},
        {"OK:-2", 0, ""},       {"OK:3 1  2 3", 13, "42"}, {"OK:2 300 -1", 0, "300 -1"},
        {"OK:0 9 9", 0, ""},    {"OK:2 1 z", 13, "42"},    {"OK:32767 1 2", 13, "42"},
        {"OK:1 7 8 9", 0, "7"}, {"OK:32768 1", 6, "42"},   {"OK:99999999999", 6, "42"},
        {"OK:", 13, "42"}};
    for (auto [answer, error, data] : cases) {
        io = {42};
        dtm.Queue("IOL::Read Index=16 SubIndex=0", answer);
        EXPECT_EQ(ErrorOf([&] { EXPECT_EQ(IolRead(dtm, 16, 0, io), 0); }, &description), error)
            << answer;
        EXPECT_EQ(Text(io), data) << answer;
        if (error) {
            EXPECT_NE(description.find("IOL::Read Index=16 SubIndex=0"), std::string::npos);
            EXPECT_NE(description.find(std::string("\"") + answer + "\""), std::string::npos);
        }
    }
}

TEST_F(IOLinkCommTest, MegabyteAnswersParseInLinearTime) {
    // A 4 MB answer: every field used to copy the rest of the text, for seconds.
    std::string answer = "OK:32767";
    while (answer.size() < (4u << 20)) answer += " 255";
    dtm.Queue("IOL::Read Index=16 SubIndex=0", answer);
    const std::clock_t start = std::clock();  // CPU time: a busy machine does not count
    EXPECT_EQ(IolRead(dtm, 16, 0, io), 0);
    EXPECT_LT(std::clock() - start, 3 * CLOCKS_PER_SEC);
    EXPECT_EQ(io.size(), 32767u);
    EXPECT_EQ(io.back(), 255);
}

TEST_F(IOLinkCommTest, GetModeAnswers) {
    dtm.Queue("IOL::GetMode", "OK:f,0 45 23 17 17 136 2 1 44 0 0 7 0 1 0 0 11 , 2 ,33");
    EXPECT_EQ(IolGetMode(dtm, mode), 0);
    EXPECT_EQ(Text(mode), "33 11 2 0 45 23 17 17 136 2 1 44 0 0 7 0 1 0 0");  // s0 s1 s2 page
    // The answer with the given first page byte and the fields after the 16 page bytes.
    const auto page = [](const char* first, const char* rest) {
        return "OK:f," + std::string(first) + " 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 " + rest;
    };
    const std::pair<std::string, int32_t> cases[] = {
        {"OK:f,0 1 2 3", 13},   {page("256", "1,2,3"), 6}, {page("0", "1,two,3"), 13}, {"OK:", 13},
        {page("0", "1,2"), 13}, {page("0", "1,-2,3"), 6},  {page("0", "1,40000,3"), 6}};
    for (const auto& [answer, error] : cases) {
        mode.fill(9);
        dtm.Queue("IOL::GetMode", answer);
        EXPECT_EQ(ErrorOf([&] { IolGetMode(dtm, mode); }), error) << answer;
        EXPECT_EQ(Text(mode), "9 9 9 9 9 9 9 9 9 9 9 9 9 9 9 9 9 9 9") << answer;
    }
}

TEST_F(IOLinkCommTest, TransferImageAnswers) {
    // answer -> error, inputs, status. Without input data the inputs stay, the status is read.
    const std::tuple<const char*, int32_t, const char*, int16_t> cases[] = {
        {"OK:x,0 7", 0, "5", 7},    {"OK:x,3 10 20 30 1", 0, "10 20 30", 1},
        {"OK:", 13, "5", 3},        {"OK:x,1 1 70000", 6, "5", 3},
        {"OK:x,2 1 2", 13, "5", 3}, {"OK:x,40000 1", 6, "5", 3},
        {"OK:x,a 1 2", 13, "5", 3}};
    for (auto [answer, error, inputs, status] : cases) {
        io = {5};
        st = 3;
        dtm.Queue("IOL::TransferImage Data=", answer);
        EXPECT_EQ(ErrorOf([&] { EXPECT_EQ(IolTransferImage(dtm, {}, io, st, 0), 0); }), error)
            << answer;
        EXPECT_EQ(Text(io), inputs) << answer;
        EXPECT_EQ(st, status) << answer;
    }
}

TEST_F(IOLinkCommTest, ReadOutputImageIsSizedByTheCallersLength) {
    // answer, length -> error, outputs. A count of 1 or more reads as many as the length says.
    const std::tuple<const char*, int16_t, int32_t, const char*> cases[] = {
        {"OK:x,1 1 2 3 4", 4, 0, "1 2 3 4"}, {"OK:x,4 1 2 3 4", 2, 0, "1 2"},
        {"OK:x,3 1 2 3", 0, 0, ""},          {"OK:x,0 8 8", 2, 0, "9"},
        {"OK:x,40000 1", 1, 6, "9"},         {"OK:x,1 1", 4, 13, "9"}};
    for (auto [answer, length, error, outputs] : cases) {
        io = {9};
        dtm.Queue("IOL::ReadOutputImage", answer);
        EXPECT_EQ(ErrorOf([&] { EXPECT_EQ(IolReadOutputImage(dtm, io, length), 0); }), error)
            << answer;
        EXPECT_EQ(Text(io), outputs) << answer;
    }
}

TEST_F(IOLinkCommTest, GetEventAnswers) {
    // Only "EMPTY:" with its colon and in upper case means no event: element 0 becomes -1 and
    // the rest stays. "empty:0" is a failure answer with number 0.
    const std::string same = "3 3 3 3 3 3 3";
    const std::tuple<const char*, int32_t, std::string> cases[] = {
        {"OK:1,16,4,48,192,-5,7", 0, "1 16 4 48 192 -5 7"},
        {"OK: 2 , 6656 ,1,16,64,0,0,extra", 0, "2 6656 1 16 64 0 0"},
        {"EMPTY:", 0, "-1 3 3 3 3 3 3"},
        {"EMPTY:anything", 0, "-1 3 3 3 3 3 3"},
        {"empty:0", 0, same},
        {"EMPTY", 13, same},
        {"OK:1,2,3,4,5,6", 13, same},
        {"OK:1,2,3,x,5,6,7", 13, same},
        {"OK:1,2,3,4,5,6,99999999999", 6, same}};
    for (const auto& [answer, error, record] : cases) {
        event.fill(3);
        dtm.Queue("IOL::GetEvent", answer);
        EXPECT_EQ(ErrorOf([&] { EXPECT_EQ(IolGetEvent(dtm, event), 0); }), error) << answer;
        EXPECT_EQ(Text(event), record) << answer;
    }
}

}  // namespace
}  // namespace kestrova
