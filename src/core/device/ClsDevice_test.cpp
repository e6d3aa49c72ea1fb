#include "device/ClsDevice.h"

#include <gtest/gtest.h>

#include <array>
#include <string>

#include "link/testing/FakeBridge.h"
#include "tools/Vb.h"

namespace kestrova {
namespace {

// A get-mode answer carrying the 16 bytes of direct parameter page 1 and the baud code.
std::string ModeAnswer(const std::array<int, 16>& page, int baud = 2) {
    std::string s = "OK:0,";
    for (int b : page) s += std::to_string(b) + " ";
    return s + "1," + std::to_string(baud) + ",0";
}

// Page: master command, master cycle, min cycle, M-seq, revision, PD in, PD out, vendor (2),
// device (3), function (2), reserved, system command.
constexpr std::array<int, 16> kPage{0,    45,   23,   17,   17,   0x88, 0x10, 0x01,
                                    0x2C, 0x12, 0x34, 0x56, 0x0A, 0x0B, 0,    0};

class ClsDeviceTest : public ::testing::Test {
  protected:
    void SetUp() override {
        device.SetDtm(dtm);
        dtm->Answer("IOL::GetMode", ModeAnswer(kPage));
    }
    void Found() { device.SetSensorState(FOUND); }
    // Sets one page byte and makes the next getter read the record again.
    void WithPage(size_t n, int value) {
        auto page = kPage;
        page[n] = value;
        dtm->Answer("IOL::GetMode", ModeAnswer(page));
        device.SetSensorState(UNKNOWN);
        Found();
    }

    std::shared_ptr<FakeBridge> dtm = std::make_shared<FakeBridge>();
    ClsDevice device;
};

TEST_F(ClsDeviceTest, StartsEmpty) {
    EXPECT_EQ(device.ProcessInputs, Values(32, 0));
    EXPECT_EQ(device.ProcessOutputs, Values(32, 0));
    EXPECT_EQ(device.EventCount, 0);
    EXPECT_EQ(device.SensorState, UNKNOWN);
    EXPECT_EQ(device.ReadTrace(false), "");
}

TEST_F(ClsDeviceTest, IdentificationFromThePage) {
    Found();
    EXPECT_EQ(device.ActualCycleTime(), 45);
    EXPECT_NEAR(device.MinCycleTime(), 2.3, 1e-9);
    EXPECT_EQ(device.VendorID(false), "300");
    EXPECT_EQ(device.VendorID(true), "0x012C");
    EXPECT_EQ(device.DeviceID(false), "1193046");
    EXPECT_EQ(device.DeviceID(true), "0x123456");
    EXPECT_EQ(device.FunctionID(false), "2571");
    EXPECT_EQ(device.FunctionID(true), "0x0A0B");
    EXPECT_EQ(device.CurrentBaudrate(), "230400");
    EXPECT_EQ(device.Revision(), "1.0625.1");
    EXPECT_FALSE(device.SIOSupport());
    // The record is read once per state change, however many getters ask.
    EXPECT_EQ(dtm->Count("IOL::GetMode"), 1);
}

TEST_F(ClsDeviceTest, NoInfoGivesEmptyAnswers) {
    // Not FOUND: nothing is asked.
    EXPECT_EQ(device.ActualCycleTime(), 0);
    EXPECT_EQ(device.MinCycleTime(), 0.0);
    EXPECT_EQ(device.Revision(), "");
    EXPECT_EQ(device.VendorID(true), "");
    EXPECT_EQ(device.DeviceID(false), "");
    EXPECT_EQ(device.FunctionID(false), "");
    EXPECT_EQ(device.CurrentBaudrate(), "");
    EXPECT_FALSE(device.SIOSupport());
    EXPECT_EQ(dtm->Count("IOL::GetMode"), 0);

    // FOUND but the master fails: asked at every call until it answers.
    dtm->Answer("IOL::GetMode", "ERROR:5");
    Found();
    EXPECT_EQ(device.VendorID(false), "");
    EXPECT_EQ(device.VendorID(false), "");
    EXPECT_EQ(dtm->Count("IOL::GetMode"), 2);
    dtm->Answer("IOL::GetMode", ModeAnswer(kPage));
    EXPECT_EQ(device.VendorID(false), "300");
}

TEST_F(ClsDeviceTest, RevisionKeepsTheFloatingPointDivision) {
    const std::pair<int, const char*> cases[] = {
        {16, "1.0"}, {17, "1.0625.1"}, {0, "0.0"}, {0x21, "2.0625.1"}, {0x1F, "1.9375.15"}};
    for (auto [byte, text] : cases) {
        WithPage(4, byte);
        EXPECT_EQ(device.Revision(), text) << byte;
    }
}

TEST_F(ClsDeviceTest, BaudCodes) {
    const std::pair<int, const char*> cases[] = {{0, "4800"}, {1, "38400"}, {2, "230400"}, {3, ""}};
    for (auto [code, text] : cases) {
        dtm->Answer("IOL::GetMode", ModeAnswer(kPage, code));
        device.SetSensorState(UNKNOWN);
        Found();
        EXPECT_EQ(device.CurrentBaudrate(), text) << code;
    }
}

TEST_F(ClsDeviceTest, LengthRule) {
    struct Case {
        int pageByte;
        int16_t length;
        bool isBytes;
        int16_t byteLength;
    };
    const Case cases[] = {{0x88, 9, true, 9},  {0x10, 16, false, 2}, {0x0F, 15, false, 2},
                          {0x00, 0, false, 0}, {0x80, 1, true, 1},   {0x9F, 32, true, 32},
                          {0x01, 1, false, 1}, {0x48, 8, false, 1}};
    for (const Case& c : cases) {
        WithPage(5, c.pageByte);
        int16_t length = -1;
        bool isBytes = !c.isBytes;
        device.InLength(length, isBytes);
        EXPECT_EQ(length, c.length) << c.pageByte;
        EXPECT_EQ(isBytes, c.isBytes) << c.pageByte;
        EXPECT_EQ(device.ByteInputLength(), c.byteLength) << c.pageByte;

        WithPage(6, c.pageByte);
        device.OutLength(length, isBytes);
        EXPECT_EQ(length, c.length) << c.pageByte;
        EXPECT_EQ(isBytes, c.isBytes) << c.pageByte;
        EXPECT_EQ(device.ByteOutputLength(), c.byteLength) << c.pageByte;
    }
    WithPage(5, 0x40);
    EXPECT_TRUE(device.SIOSupport());
}

TEST_F(ClsDeviceTest, InputLengthWithoutInfoDependsOnSio) {
    int16_t length = -1;
    bool isBytes = false;
    device.SetSensorState(SIO);
    device.InLength(length, isBytes);
    EXPECT_EQ(length, 1);
    EXPECT_TRUE(isBytes);
    device.OutLength(length, isBytes);  // no SIO case for outputs
    EXPECT_EQ(length, 0);
    EXPECT_FALSE(isBytes);
    device.SetSensorState(OFFLINE);
    device.InLength(length, isBytes);
    EXPECT_EQ(length, 0);
    EXPECT_FALSE(isBytes);
}

TEST_F(ClsDeviceTest, TraceLines) {
    device.Traceon();
    Found();
    int16_t length = 0;
    bool isBytes = false;
    device.InLength(length, isBytes);
    device.InLength(length, isBytes);
    const std::string record = "00 01 02 00 2D 17 11 11 88 10 01 2C 12 34 56 0A 0B 00 00";
    const std::string expected =
        "\r\nInLength: Begin"
        "\r\nCheckInfo: Begin"
        "\r\nCheckInfo: Sensorstate=3"
        "\r\nCheckInfo: End, return = Truedata= " +
        record +
        "\r\nInLength: CheckInfo returns true, data=0x88 0x10"
        "\r\nInLength: End, Return Length=9 value="
        "\r\nInLength: Begin"
        "\r\nCheckInfo: Begin"
        "\r\nCheckInfo: End, return = Truedata= " +
        record +
        "\r\nInLength: CheckInfo returns true, data=0x88 0x10"
        "\r\nInLength: End, Return Length=9 value=";
    EXPECT_EQ(device.ReadTrace(false), expected);
    EXPECT_EQ(device.ReadTrace(false), "");  // read empties it

    device.SetSensorState(SIO);
    device.InLength(length, isBytes);
    EXPECT_EQ(device.ReadTrace(true),
              "\r\nInLength: Begin\r\nCheckInfo: Begin\r\nCheckInfo: Sensorstate=4"
              "\r\nCheckInfo: End, return = Falsedata= " +
                  record + "\r\nInLength: SIO State\r\nInLength: End, Return Length=1 value=");
    // ReadTrace(true) switched tracing off.
    device.InLength(length, isBytes);
    EXPECT_EQ(device.ReadTrace(false), "");

    device.Traceon();
    device.SetSensorState(OFFLINE);
    device.InLength(length, isBytes);
    EXPECT_NE(device.ReadTrace(false).find("\r\nInLength: CheckInfo returns false\r\n"),
              std::string::npos);
    device.InLength(length, isBytes);
    device.Traceoff();  // off empties as well
    device.Traceon();
    EXPECT_EQ(device.ReadTrace(false), "");
}

TEST_F(ClsDeviceTest, NamesAreCachedPerStateChange) {
    dtm->Answer("IOL::Read Index=16 SubIndex=0", "OK:6 65 99 109 101 0 32");
    dtm->Answer("IOL::Read Index=18 SubIndex=0", "ERROR:32803");
    dtm->Answer("IOL::Read Index=20 SubIndex=0", "OK:0");
    EXPECT_EQ(device.VendorName(), "");  // not FOUND: nothing asked
    EXPECT_EQ(dtm->Sent().size(), 0u);

    Found();
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(device.VendorName(), "Acme.");
        EXPECT_EQ(device.DeviceName(), "not supported");
        EXPECT_EQ(device.FunctionName(), "");
    }
    EXPECT_EQ(dtm->Count("IOL::Read Index=16 SubIndex=0"), 1);
    EXPECT_EQ(dtm->Count("IOL::Read Index=18 SubIndex=0"), 1);  // not asked again
    EXPECT_EQ(dtm->Count("IOL::Read Index=20 SubIndex=0"), 1);

    // Staying in FOUND keeps the cache; SIO clears it and the next FOUND asks again.
    Found();
    EXPECT_EQ(device.VendorName(), "Acme.");
    EXPECT_EQ(dtm->Count("IOL::Read Index=16 SubIndex=0"), 1);
    device.SetSensorState(SIO);
    EXPECT_EQ(device.VendorName(), "");
    dtm->Answer("IOL::Read Index=16 SubIndex=0", "OK:2 196 228");  // Windows-1252 bytes
    Found();
    EXPECT_EQ(device.VendorName(), "Ää");
    EXPECT_EQ(dtm->Count("IOL::Read Index=16 SubIndex=0"), 2);
}

TEST_F(ClsDeviceTest, ProcessImage) {
    Found();  // PD out 0x10: 16 bits, two bytes
    device.SetOutputs({1, 2, 3});
    dtm->Answer("IOL::TransferImage Data=01 02", "OK:0,3 7 8 9 5");
    EXPECT_EQ(device.ExchangeProcessImage(), 0);
    EXPECT_EQ(device.ProcessInputs, (Values{7, 8, 9}));
    EXPECT_EQ(device.ActualStatus, 5);

    dtm->Answer("IOL::TransferImage Data=", "ERROR:17");
    EXPECT_EQ(device.ReadProcessImage(), 17);

    dtm->Answer("IOL::ReadOutputImage", "OK:0,2 4 5");
    EXPECT_EQ(device.ReadProcessOutputs(), 0);
    Values expected(32, 0);
    expected[0] = 4;
    expected[1] = 5;
    EXPECT_EQ(device.ProcessOutputs, expected);  // sized by the answer, kept at 32 positions
    device.SetOutputs(Values(40, 1));            // positions above 31 skipped
    EXPECT_EQ(device.ProcessOutputs, Values(32, 1));

    device.ProcessOutputs = {1};  // even a shrunk image is never written past
    device.SetOutputs({6, 6});
    EXPECT_EQ(device.ProcessOutputs.size(), 32u);
    EXPECT_EQ(device.ProcessOutputs[1], 6);
}

TEST_F(ClsDeviceTest, StateChangesClearInputsOutsideFoundAndSio) {
    device.ProcessInputs = {1, 2, 3};
    device.SetSensorState(SIO);
    EXPECT_EQ(device.ProcessInputs, (Values{1, 2, 3}));
    Found();
    EXPECT_EQ(device.ProcessInputs, (Values{1, 2, 3}));
    device.SetSensorState(LOST);
    EXPECT_EQ(device.ProcessInputs, (Values{0, 0, 0}));
}

TEST_F(ClsDeviceTest, ModeCommands) {
    struct Case {
        int16_t state;
        const char* fallback;
    };
    for (const Case& c :
         {Case{WRONG, "IOL::Disconnect"}, Case{FOUND, "IOL::SetMode Mode=5 Cycle=0"},
          Case{SIO, "IOL::SetMode Mode=3 Cycle=0"}, Case{OFFLINE, "IOL::SetMode Mode=3 Cycle=0"}}) {
        dtm->ClearLog();
        dtm->Answer(c.fallback, "OK:");
        device.SetSensorState(c.state);
        EXPECT_EQ(device.SetFallback(), 0) << c.state;
        EXPECT_EQ(dtm->Sent(), std::vector<std::string>{c.fallback}) << c.state;
    }
    dtm->Answer("IOL::Disconnect", "FAILED:99");  // the answer is ignored
    device.SetSensorState(WRONG);
    EXPECT_EQ(device.SetFallback(), 0);

    dtm->ClearLog();
    dtm->Answer("IOL::SetMode Mode=6 Cycle=0", "OK:");
    dtm->Answer("IOL::SetMode Mode=7 Cycle=0", "ERROR:3");
    dtm->Answer("IOL::SetMode Mode=1 Cycle=73", "OK:");
    dtm->Answer("IOL::ChangeCycle Cycle=73", "OK:");
    EXPECT_EQ(device.SetOutputsValid(true), 0);
    EXPECT_EQ(device.SetOutputsValid(false), 3);
    EXPECT_EQ(device.SetModeIOLink(73), 0);
    device.TargetCycleTimer(10.0);
    EXPECT_EQ(device.TargetCycleTimer(), 10.0);
    EXPECT_EQ(dtm->Sent(), (std::vector<std::string>{
                               "IOL::SetMode Mode=6 Cycle=0", "IOL::SetMode Mode=7 Cycle=0",
                               "IOL::SetMode Mode=1 Cycle=73", "IOL::ChangeCycle Cycle=73"}));
}

TEST_F(ClsDeviceTest, ParametersOnlyInFound) {
    dtm->Answer("IOL::Read Index=16 SubIndex=0", "OK:1 65");
    dtm->Answer("IOL::Write Index=64 SubIndex=2 Data=01 FF", "ERROR:32803");
    Values data{9};
    EXPECT_EQ(device.ReadParameter(16, 0, data), -1);
    EXPECT_EQ(device.WriteParameter(64, 2, {1, 255}), -1);
    EXPECT_EQ(dtm->Sent().size(), 0u);
    Found();
    EXPECT_EQ(device.ReadParameter(16, 0, data), 0);
    EXPECT_EQ(data, Values{65});
    EXPECT_EQ(device.WriteParameter(64, 2, {1, 255}), 32803);

    ClsDevice unbound;
    unbound.SetSensorState(FOUND);
    EXPECT_EQ(unbound.ReadParameter(16, 0, data), -1);
    EXPECT_EQ(unbound.ExchangeProcessImage(), -1);
    EXPECT_FALSE(unbound.UpdateEvents());
    EXPECT_EQ(unbound.VendorName(), "");
}

TEST_F(ClsDeviceTest, EventRingKeepsTheLatestHundred) {
    for (int i = 0; i < 101; ++i)
        dtm->Queue("IOL::GetEvent", "OK:1," + std::to_string(1000 + i) + ",4,48,192,5,6");
    for (int i = 0; i < 100; ++i) ASSERT_TRUE(device.UpdateEvents());
    EXPECT_EQ(device.EventCount, 100);
    EXPECT_EQ(device.GetEvent(1).Number, 0);
    EXPECT_EQ(device.GetEvent(1).Code, 1000);
    EXPECT_EQ(device.GetEvent(100).Number, 99);

    ASSERT_TRUE(device.UpdateEvents());  // the 101st pushes out the first
    EXPECT_EQ(device.EventCount, 100);
    EXPECT_EQ(device.GetEvent(1).Number, 1);
    EXPECT_EQ(device.GetEvent(1).Code, 1001);
    const ClsEvent& newest = device.GetEvent(100);
    EXPECT_EQ(newest.Number, 100);
    EXPECT_EQ(newest.Code, 1100);
    EXPECT_EQ(newest.Instance, 4);
    EXPECT_EQ(newest.Type, 48);
    EXPECT_EQ(newest.Mode, 192);
    EXPECT_EQ(newest.Value1, 5);
    EXPECT_EQ(newest.Value2, 6);
}

TEST_F(ClsDeviceTest, NoEventChangesNothing) {
    const char* answers[] = {"EMPTY:", "OK:-1,1,1,1,1,1,1", "ERROR:4"};
    for (const char* answer : answers) {
        dtm->Queue("IOL::GetEvent", answer);
        EXPECT_FALSE(device.UpdateEvents()) << answer;
    }
    EXPECT_EQ(device.EventCount, 0);
    dtm->Queue("IOL::GetEvent", "OK:0,26,1,1,1,1,1");
    EXPECT_TRUE(device.UpdateEvents());
    EXPECT_EQ(device.GetEvent(1).Number, 0);  // running numbers start at 0
    dtm->Queue("IOL::GetEvent", "OK:1,2,");   // malformed: raised, list untouched
    EXPECT_THROW(device.UpdateEvents(), VbError);
    EXPECT_EQ(device.EventCount, 1);
}

TEST_F(ClsDeviceTest, EventPositionsOutsideTheListRaise) {
    for (int16_t p : {0, -1, 101, 32767}) {
        try {
            device.GetEvent(p);
            ADD_FAILURE() << p;
        } catch (const VbError& e) {
            EXPECT_EQ(e.Number(), vberr::SubscriptOutOfRange) << p;
        }
    }
    EXPECT_EQ(device.GetEvent(100).Code, 0);  // created empty on demand
    device.ClearEvents();                     // kept empty on purpose
}

TEST(ClsEvent, CopyAndQualifier) {
    ClsEvent a{7, 0x1A05, 4, 48, 192, 1, 2};
    ClsEvent b;
    b.Copy(a);
    EXPECT_EQ(b.Number, 7);
    EXPECT_EQ(b.Code, 0x1A05);
    EXPECT_EQ(b.Value2, 2);
    EXPECT_EQ(b.InstTypMode(), 244);
    b.Mode = 255;
    EXPECT_THROW(b.InstTypMode(), VbError);
    b.Mode = -100;
    EXPECT_THROW(b.InstTypMode(), VbError);
}

}  // namespace
}  // namespace kestrova
