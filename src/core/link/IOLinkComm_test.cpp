#include "link/IOLinkComm.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "link/testing/FakeBridge.h"
#include "tools/Vb.h"

namespace kestrova {
namespace {

template <class F>
int32_t ErrorOf(F&& f) {
    try {
        f();
    } catch (const VbError& e) {
        return e.Number();
    }
    return 0;
}

class IOLinkCommTest : public ::testing::Test {
  protected:
    FakeBridge dtm;
};

TEST_F(IOLinkCommTest, CommandTexts) {
    Values data;
    int16_t status = 0;
    EventRecord event{};
    ModeRecord mode{};
    // Unanswered commands fail to parse; only the texts sent matter here.
    ErrorOf([&] { IolRead(dtm, 16, 0, data); });
    ErrorOf([&] { IolRead(dtm, -1, 255, data); });
    ErrorOf([&] { IolWrite(dtm, 64, 0, {1, 255}); });
    ErrorOf([&] { IolWrite(dtm, 64, 1, {}); });
    ErrorOf([&] { IolSetMode(dtm, 1, 45); });
    ErrorOf([&] { IolSetMode(dtm, 6, 0); });
    ErrorOf([&] { IolChangeCycle(dtm, 73); });
    ErrorOf([&] { IolTransferImage(dtm, {1, 2, 3}, data, status, 2); });
    ErrorOf([&] { IolTransferImage(dtm, {1, 2, 3}, data, status, 0); });
    ErrorOf([&] { IolTransferImage(dtm, {1, 2, 3}, data, status, -4); });
    ErrorOf([&] { IolTransferImage(dtm, {1}, data, status, 5); });  // never more than there is
    ErrorOf([&] { IolReadOutputImage(dtm, data, 4); });
    ErrorOf([&] { IolGetEvent(dtm, event); });
    ErrorOf([&] { IolGetMode(dtm, mode); });
    ErrorOf([&] { IolDisconnect(dtm); });
    const std::vector<std::string> expected{
        "IOL::Read Index=16 SubIndex=0",
        "IOL::Read Index=-1 SubIndex=255",
        "IOL::Write Index=64 SubIndex=0 Data=01 FF",
        "IOL::Write Index=64 SubIndex=1 Data=",
        "IOL::SetMode Mode=1 Cycle=45",
        "IOL::SetMode Mode=6 Cycle=0",
        "IOL::ChangeCycle Cycle=73",
        "IOL::TransferImage Data=01 02",
        "IOL::TransferImage Data=",
        "IOL::TransferImage Data=",
        "IOL::TransferImage Data=01",
        "IOL::ReadOutputImage",
        "IOL::GetEvent",
        "IOL::GetMode",
        "IOL::Disconnect",
    };
    EXPECT_EQ(dtm.Sent(), expected);
}

TEST_F(IOLinkCommTest, ConnectAsksForTheMasterFirst) {
    EXPECT_FALSE(IolConnect(dtm));  // no master chosen: empty answer, no connect
    EXPECT_EQ(dtm.Sent(), std::vector<std::string>{"USBDevice"});

    dtm.Answer("USBDevice", "COM3");
    for (const Variant& answer :
         {Variant("TRUE"), Variant("true"), Variant("TrUe"), Variant(true)}) {
        dtm.Queue("IOL::Connect", answer);
        EXPECT_TRUE(IolConnect(dtm)) << answer.ToText();
    }
    for (const Variant& answer : {Variant("FALSE"), Variant(" TRUE"), Variant("OK:"), Variant()}) {
        dtm.Queue("IOL::Connect", answer);
        EXPECT_FALSE(IolConnect(dtm)) << answer.ToText();
    }
}

TEST_F(IOLinkCommTest, DisconnectIgnoresTheAnswerButNotAFailingCall) {
    dtm.Answer("IOL::Disconnect", Variant::MakeNull());
    EXPECT_NO_THROW(IolDisconnect(dtm));
    dtm.Fail("IOL::Disconnect", 440, "link gone");
    EXPECT_EQ(ErrorOf([&] { IolDisconnect(dtm); }), 440);
}

// Every command that parses a result takes the number from the seventh character on, whatever
// the six characters before it are.
TEST_F(IOLinkCommTest, FailureNumberIsPositional) {
    const std::vector<std::pair<std::string, std::function<int32_t()>>> commands = {
        {"IOL::Read Index=1 SubIndex=0",
         [&] {
             Values d;
             return IolRead(dtm, 1, 0, d);
         }},
        {"IOL::Write Index=1 SubIndex=0 Data=01", [&] { return IolWrite(dtm, 1, 0, {1}); }},
        {"IOL::GetMode",
         [&] {
             ModeRecord m{};
             return IolGetMode(dtm, m);
         }},
        {"IOL::TransferImage Data=",
         [&] {
             Values in;
             int16_t st = 0;
             return IolTransferImage(dtm, {}, in, st, 0);
         }},
        {"IOL::ReadOutputImage",
         [&] {
             Values out;
             return IolReadOutputImage(dtm, out, 2);
         }},
        {"IOL::GetEvent",
         [&] {
             EventRecord e{};
             return IolGetEvent(dtm, e);
         }},
        {"IOL::SetMode Mode=1 Cycle=0", [&] { return IolSetMode(dtm, 1, 0); }},
        {"IOL::ChangeCycle Cycle=0", [&] { return IolChangeCycle(dtm, 0); }},
    };
    const std::pair<const char*, int32_t> answers[] = {
        {"ERROR:17", 17}, {"FAILED17", 17}, {"xxxxxx-3", -3}, {"ok:aaa4660", 4660},
        {"NOTOK: 8 ", 8}, {"OK 12:42", 42}, {"Ä1234:5", 5}};
    for (const auto& [command, call] : commands) {
        for (auto [answer, number] : answers) {
            dtm.Queue(command, answer);
            EXPECT_EQ(call(), number) << command << " / " << answer;
        }
        // Nothing where the number should be: a conversion error, never a silent 0.
        for (const char* answer : {"", "ERROR", "ERROR:", "ERROR:x", "ERROR:1 2"}) {
            dtm.Queue(command, answer);
            EXPECT_EQ(ErrorOf(call), vberr::TypeMismatch) << command << " / " << answer;
        }
        dtm.Queue(command, "ERROR:99999999999");
        EXPECT_EQ(ErrorOf(call), vberr::Overflow) << command;
    }
}

TEST_F(IOLinkCommTest, MalformedAnswerSaysWhereItCameFrom) {
    dtm.Answer("IOL::Read Index=16 SubIndex=0", "OK:2 7");
    Values data{5};
    try {
        IolRead(dtm, 16, 0, data);
        FAIL() << "no error raised";
    } catch (const VbError& e) {
        EXPECT_EQ(e.Number(), vberr::TypeMismatch);
        EXPECT_NE(std::string(e.Description()).find("IOL::Read Index=16 SubIndex=0"),
                  std::string::npos);
        EXPECT_NE(std::string(e.Description()).find("OK:2 7"), std::string::npos);
    }
    EXPECT_EQ(data, Values{5});  // untouched
}

TEST_F(IOLinkCommTest, ReadAnswers) {
    const std::string cmd = "IOL::Read Index=16 SubIndex=0";
    struct Case {
        const char* answer;
        Values data;
    };
    const Case cases[] = {
        {"OK:3 65 66 67", {65, 66, 67}},
        {"OK:0", {}},
        {"OK:-2", {}},
        {"OK:0 9 9", {}},
        {"OK:1 7 8 9", {7}},  // more than the count is not read
        {"OK:2 300 -1", {300, -1}},
    };
    for (const Case& c : cases) {
        Values data{42};
        dtm.Queue(cmd, c.answer);
        EXPECT_EQ(IolRead(dtm, 16, 0, data), 0) << c.answer;
        EXPECT_EQ(data, c.data) << c.answer;
    }
}

TEST_F(IOLinkCommTest, MalformedReadAnswersRaiseAndKeepTheData) {
    const std::string cmd = "IOL::Read Index=16 SubIndex=0";
    const std::pair<const char*, int32_t> cases[] = {
        {"OK:", vberr::TypeMismatch},         {"OK:x", vberr::TypeMismatch},
        {"OK:3 1 2", vberr::TypeMismatch},    {"OK:3 1  2 3", vberr::TypeMismatch},
        {"OK:2 1 z", vberr::TypeMismatch},    {"OK:32768 1", vberr::Overflow},
        {"OK:2147483647", vberr::Overflow},   {"OK:99999999999", vberr::Overflow},
        {"OK:32767 1 2", vberr::TypeMismatch}};
    for (auto [answer, error] : cases) {
        Values data{42};
        dtm.Queue(cmd, answer);
        EXPECT_EQ(ErrorOf([&] { IolRead(dtm, 16, 0, data); }), error) << answer;
        EXPECT_EQ(data, Values{42}) << answer;
    }
}

TEST_F(IOLinkCommTest, GetModeFillsTheRecordInItsOddOrder) {
    dtm.Answer("IOL::GetMode", "OK:f,0 45 23 17 17 136 2 1 44 0 0 7 0 1 0 0 11 , 2 ,33");
    ModeRecord mode{};
    EXPECT_EQ(IolGetMode(dtm, mode), 0);
    const ModeRecord expected{33, 11, 2, 0, 45, 23, 17, 17, 136, 2, 1, 44, 0, 0, 7, 0, 1, 0, 0};
    EXPECT_EQ(mode, expected);
}

TEST_F(IOLinkCommTest, MalformedGetModeAnswersRaiseAndKeepTheRecord) {
    const std::string p16 = "OK:f,0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 ";  // the 16 page bytes
    const std::pair<std::string, int32_t> cases[] = {
        {"OK:", vberr::TypeMismatch},
        {"OK:f,0 1 2 3", vberr::TypeMismatch},
        {p16 + "1,2", vberr::TypeMismatch},  // s0 missing
        {"OK:f,256 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 1,2,3", vberr::Overflow},
        {p16 + "1,-2,3", vberr::Overflow},
        {p16 + "1,40000,3", vberr::Overflow},
        {p16 + "1,two,3", vberr::TypeMismatch},
        {p16 + "1,2,3", 0},  // the well-formed one, for contrast
    };
    for (auto [answer, error] : cases) {
        ModeRecord mode{};
        mode.fill(9);
        dtm.Queue("IOL::GetMode", answer);
        EXPECT_EQ(ErrorOf([&] { IolGetMode(dtm, mode); }), error) << answer;
        EXPECT_EQ(mode[0], error ? 9 : 3) << answer;
        EXPECT_EQ(mode[3], error ? 9 : 0) << answer;
    }
}

TEST_F(IOLinkCommTest, TransferImage) {
    const std::string cmd = "IOL::TransferImage Data=";
    Values inputs{5, 5};
    int16_t status = -1;
    dtm.Queue(cmd, "OK:x,3 10 20 30 1");
    EXPECT_EQ(IolTransferImage(dtm, {}, inputs, status, 0), 0);
    EXPECT_EQ(inputs, (Values{10, 20, 30}));
    EXPECT_EQ(status, 1);

    // No input data: the inputs stay, the status is still read.
    dtm.Queue(cmd, "OK:x,0 7");
    EXPECT_EQ(IolTransferImage(dtm, {}, inputs, status, 0), 0);
    EXPECT_EQ(inputs, (Values{10, 20, 30}));
    EXPECT_EQ(status, 7);
}

TEST_F(IOLinkCommTest, MalformedTransferAnswersRaiseAndChangeNothing) {
    const std::string cmd = "IOL::TransferImage Data=";
    const std::pair<const char*, int32_t> cases[] = {
        {"OK:", vberr::TypeMismatch},       {"OK:x,2 1 2", vberr::TypeMismatch},
        {"OK:x,2 1", vberr::TypeMismatch},  {"OK:x,1 1 70000", vberr::Overflow},
        {"OK:x,40000 1", vberr::Overflow},  {"OK:x,-40000 1", vberr::Overflow},
        {"OK:x,a 1 2", vberr::TypeMismatch}};
    for (auto [answer, error] : cases) {
        Values inputs{5};
        int16_t status = 3;
        dtm.Queue(cmd, answer);
        EXPECT_EQ(ErrorOf([&] { IolTransferImage(dtm, {}, inputs, status, 0); }), error) << answer;
        EXPECT_EQ(inputs, Values{5}) << answer;
        EXPECT_EQ(status, 3) << answer;
    }
}

TEST_F(IOLinkCommTest, ReadOutputImageIsSizedByTheCallersLength) {
    const std::string cmd = "IOL::ReadOutputImage";
    Values outputs{9};
    dtm.Queue(cmd, "OK:x,1 1 2 3 4");
    EXPECT_EQ(IolReadOutputImage(dtm, outputs, 4), 0);
    EXPECT_EQ(outputs, (Values{1, 2, 3, 4}));

    dtm.Queue(cmd, "OK:x,4 1 2 3 4");
    EXPECT_EQ(IolReadOutputImage(dtm, outputs, 2), 0);
    EXPECT_EQ(outputs, (Values{1, 2}));

    dtm.Queue(cmd, "OK:x,0 8 8");  // no data: outputs stay
    EXPECT_EQ(IolReadOutputImage(dtm, outputs, 2), 0);
    EXPECT_EQ(outputs, (Values{1, 2}));

    dtm.Queue(cmd, "OK:x,3 1 2 3");  // nothing asked for: nothing read
    EXPECT_EQ(IolReadOutputImage(dtm, outputs, 0), 0);
    EXPECT_EQ(outputs, Values{});

    outputs = {9};
    dtm.Queue(cmd, "OK:x,1 1");  // the length asks for more than the answer holds
    EXPECT_EQ(ErrorOf([&] { IolReadOutputImage(dtm, outputs, 4); }), vberr::TypeMismatch);
    EXPECT_EQ(outputs, Values{9});
    dtm.Queue(cmd, "OK:x,40000 1");
    EXPECT_EQ(ErrorOf([&] { IolReadOutputImage(dtm, outputs, 1); }), vberr::Overflow);
}

TEST_F(IOLinkCommTest, GetEventAnswers) {
    const std::string cmd = "IOL::GetEvent";
    EventRecord record{};
    dtm.Queue(cmd, "OK:1,16,4,48,192,-5,7");
    EXPECT_EQ(IolGetEvent(dtm, record), 0);
    EXPECT_EQ(record, (EventRecord{1, 16, 4, 48, 192, -5, 7}));

    dtm.Queue(cmd, "OK: 2 , 6656 ,1,16,64,0,0,extra");
    EXPECT_EQ(IolGetEvent(dtm, record), 0);
    EXPECT_EQ(record, (EventRecord{2, 6656, 1, 16, 64, 0, 0}));

    // No event waiting: only element 0 changes.
    for (const char* empty : {"EMPTY:", "EMPTY:anything", "EMPTY:"}) {
        dtm.Queue(cmd, empty);
        EXPECT_EQ(IolGetEvent(dtm, record), 0);
        EXPECT_EQ(record, (EventRecord{-1, 6656, 1, 16, 64, 0, 0}));
    }
    dtm.Queue(cmd, "EMPTY");  // not the word with its colon: a failure answer without a number
    EXPECT_EQ(ErrorOf([&] { IolGetEvent(dtm, record); }), vberr::TypeMismatch);
    dtm.Queue(cmd, "empty:0");  // case-sensitive: a failure answer with number 0
    EXPECT_EQ(IolGetEvent(dtm, record), 0);
}

TEST_F(IOLinkCommTest, MalformedEventAnswersRaiseAndKeepTheRecord) {
    const std::pair<const char*, int32_t> cases[] = {
        {"OK:", vberr::TypeMismatch},
        {"OK:1,2,3,4,5,6", vberr::TypeMismatch},
        {"OK:1,2,3,4,5,6,", vberr::TypeMismatch},
        {"OK:1,2,3,x,5,6,7", vberr::TypeMismatch},
        {"OK:1,2,3,4,5,6,99999999999", vberr::Overflow},
    };
    for (auto [answer, error] : cases) {
        EventRecord record{3, 3, 3, 3, 3, 3, 3};
        dtm.Queue("IOL::GetEvent", answer);
        EXPECT_EQ(ErrorOf([&] { IolGetEvent(dtm, record); }), error) << answer;
        EXPECT_EQ(record, (EventRecord{3, 3, 3, 3, 3, 3, 3})) << answer;
    }
}

TEST_F(IOLinkCommTest, ResultOnlyCommandsReadNothingAfterOk) {
    dtm.Answer("IOL::SetMode Mode=5 Cycle=0", "OK:garbage");
    EXPECT_EQ(IolSetMode(dtm, 5, 0), 0);
    dtm.Answer("IOL::ChangeCycle Cycle=10", "OK:");
    EXPECT_EQ(IolChangeCycle(dtm, 10), 0);
}

TEST_F(IOLinkCommTest, FailingCallsOfTheBusinessObjectPassThrough) {
    dtm.Fail("IOL::GetEvent", 424, "no business object");
    EventRecord record{};
    try {
        IolGetEvent(dtm, record);
        FAIL() << "no error raised";
    } catch (const VbError& e) {
        EXPECT_EQ(e.Number(), 424);
        EXPECT_STREQ(e.Description(), "no business object");
    }
    dtm.Answer("IOL::ChangeCycle Cycle=1", Variant::MakeNull());
    EXPECT_EQ(ErrorOf([&] { IolChangeCycle(dtm, 1); }), 94);
}

}  // namespace
}  // namespace kestrova
