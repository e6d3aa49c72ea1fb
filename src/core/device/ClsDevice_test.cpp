#include "device/ClsDevice.h"

#include <gtest/gtest.h>

#include <array>
#include <string>

#include "link/testing/FakeBridge.h"
#include "tools/testing/VbTesting.h"

namespace kestrova {
namespace {

using Texts = std::vector<std::string>;

std::string Fields(const ClsEvent& e) {
    return Text(std::array{e.Number, e.Code, e.Instance, e.Type, e.Mode, e.Value1, e.Value2});
}

// Trace lines as the trace text holds them: each after a line break.
std::string Lines(const Texts& lines) {
    std::string s;
    for (const std::string& line : lines) s += "\r\n" + line;
    return s;
}

class ClsDeviceTest : public ::testing::Test {
  protected:
    void SetUp() override {
        device.SetDtm(dtm);
        Reread();
    }
    // Answers get-mode with the page and baud code, and makes the next getter read it again.
    void Reread() {
        dtm->Answer("IOL::GetMode", "OK:0," + Text(page) + " 1," + std::to_string(baud) + ",0");
        device.SetSensorState(UNKNOWN);
        device.SetSensorState(FOUND);
    }
    // The getters no other test reads; vendor and device id are checked against the simulator.
    std::string Identification() {
        return Str(int64_t{device.ActualCycleTime()}) + "/" + Str(device.MinCycleTime()) + "/" +
               device.FunctionID(false) + "/" + device.CurrentBaudrate();
    }
    // Input length, unit and byte count, then the same of the outputs.
    std::string Lengths() {
        int16_t in = -1, out = -1;
        bool inBytes = false, outBytes = true;
        device.InLength(in, inBytes);
        device.OutLength(out, outBytes);
        return Str(int64_t{in}) + (inBytes ? " bytes " : " bits ") +
               Str(int64_t{device.ByteInputLength()}) + " | " + Str(int64_t{out}) +
               (outBytes ? " bytes " : " bits ") + Str(int64_t{device.ByteOutputLength()});
    }

    // Direct parameter page 1: master command, master cycle, min cycle, M-sequence, revision,
    // PD in, PD out, vendor (2), device (3), function (2), reserved, system command.
    std::array<int, 16> page{0, 45, 23, 17, 17, 0x88, 0x10, 1, 0x2C, 0, 0x34, 0x56, 10, 11};
    int baud = 2;
    std::shared_ptr<FakeBridge> dtm = std::make_shared<FakeBridge>();
    ClsDevice device;
};

TEST_F(ClsDeviceTest, IdentificationIsReadOncePerStateChange) {
    device.SetSensorState(SIO);  // not FOUND: nothing asked, nothing known
    EXPECT_EQ(Identification(), "0/0//");
    EXPECT_EQ(dtm->Count("IOL::GetMode"), 0);
    dtm->Answer("IOL::GetMode", "ERROR:5");
    device.SetSensorState(FOUND);  // the master fails: asked again by every getter
    EXPECT_EQ(Identification(), "0/0//");
    EXPECT_EQ(dtm->Count("IOL::GetMode"), 4);
    Reread();
    const std::string all = "45/2.3/2571/230400";
    EXPECT_EQ(Identification(), all);
    EXPECT_EQ(Identification(), all);
    EXPECT_EQ(dtm->Count("IOL::GetMode"), 5);
    baud = 3;  // no such code
    Reread();
    EXPECT_EQ(device.CurrentBaudrate(), "");
}

TEST_F(ClsDeviceTest, RevisionKeepsTheFloatingPointDivision) {
    const std::pair<int, const char*> revisions[] = {
        {16, "1.0"}, {17, "1.0625.1"}, {0, "0.0"}, {0x21, "2.0625.1"}, {0x1F, "1.9375.15"}};
    for (auto [byte, text] : revisions) {
        page[4] = byte;
        Reread();
        EXPECT_EQ(device.Revision(), text) << byte;
    }
}

TEST_F(ClsDeviceTest, LengthRule) {
    EXPECT_EQ(Lengths(), "9 bytes 9 | 16 bits 2");
    // PD in and out byte -> length; bit 7 counts bytes, one more than the low five bits say.
    const std::pair<int, const char*> cases[] = {
        {0x88, "9 bytes 9"}, {0x10, "16 bits 2"},   {0x0F, "15 bits 2"}, {0x00, "0 bits 0"},
        {0x80, "1 bytes 1"}, {0x9F, "32 bytes 32"}, {0x01, "1 bits 1"},  {0x48, "8 bits 1"}};
    for (auto [byte, text] : cases) {
        page[5] = page[6] = byte;
        Reread();
        EXPECT_EQ(Lengths(), std::string(text) + " | " + text) << byte;
    }
    device.SetSensorState(SIO);  // no info: one byte in SIO, but never for outputs
    EXPECT_EQ(Lengths(), "1 bytes 1 | 0 bits 0");
    device.SetSensorState(OFFLINE);
    EXPECT_EQ(Lengths(), "0 bits 0 | 0 bits 0");
}

TEST_F(ClsDeviceTest, TraceLines) {
    int16_t n = 0;
    bool bytes = false;
    const std::string record = "data= 00 01 02 00 2D 17 11 11 88 10 01 2C 00 34 56 0A 0B 00 00";
    const std::string begin = Lines({"InLength: Begin", "CheckInfo: Begin"});
    const std::string found = Lines({"CheckInfo: End, return = True" + record,
                                     "InLength: CheckInfo returns true, data=0x88 0x10",
                                     "InLength: End, Return Length=9 value="});
    device.Traceon();
    device.InLength(n, bytes);
    device.InLength(n, bytes);  // the record is read once
    EXPECT_EQ(device.ReadTrace(false),
              begin + Lines({"CheckInfo: Sensorstate=3"}) + found + begin + found);
    EXPECT_EQ(device.ReadTrace(false), "");  // reading empties it
    device.SetSensorState(SIO);
    device.InLength(n, bytes);
    EXPECT_EQ(device.ReadTrace(true),
              begin + Lines({"CheckInfo: Sensorstate=4", "CheckInfo: End, return = False" + record,
                             "InLength: SIO State", "InLength: End, Return Length=1 value="}));
    device.InLength(n, bytes);  // ReadTrace(true) switched tracing off
    EXPECT_EQ(device.ReadTrace(false), "");
    device.Traceon();
    device.InLength(n, bytes);
    device.Traceoff();  // off empties as well
    device.Traceon();
    device.SetSensorState(OFFLINE);
    device.InLength(n, bytes);
    EXPECT_EQ(device.ReadTrace(false),
              begin + Lines({"CheckInfo: Sensorstate=1", "CheckInfo: End, return = False" + record,
                             "InLength: CheckInfo returns false",
                             "InLength: End, Return Length=0 value="}));
}

TEST_F(ClsDeviceTest, NamesAreCachedPerStateChange) {
    dtm->Answer("IOL::Read Index=16 SubIndex=0", "OK:6 65 99 109 101 0 32");
    dtm->Answer("IOL::Read Index=18 SubIndex=0", "ERROR:32803");
    dtm->Answer("IOL::Read Index=20 SubIndex=0", "OK:0");
    const auto names = [&] {
        return Texts{device.VendorName(), device.DeviceName(), device.FunctionName()};
    };
    device.SetSensorState(SIO);  // not FOUND: nothing asked
    EXPECT_EQ(names(), (Texts{"", "", ""}));
    device.SetSensorState(FOUND);
    EXPECT_EQ(names(), (Texts{"Acme.", "not supported", ""}));
    device.SetSensorState(FOUND);  // staying FOUND keeps the cache, "not supported" included
    EXPECT_EQ(names(), (Texts{"Acme.", "not supported", ""}));
    EXPECT_EQ(dtm->Sent(), (Texts{"IOL::Read Index=16 SubIndex=0", "IOL::Read Index=18 SubIndex=0",
                                  "IOL::Read Index=20 SubIndex=0"}));
    device.SetSensorState(SIO);
    EXPECT_EQ(names(), (Texts{"", "", ""}));
    dtm->Answer("IOL::Read Index=16 SubIndex=0", "OK:2 196 228");  // Windows-1252 bytes
    device.SetSensorState(FOUND);
    EXPECT_EQ(device.VendorName(), "Ää");
}

TEST_F(ClsDeviceTest, ProcessImage) {
    EXPECT_EQ(ClsDevice().ProcessInputs, Values(32, 0));
    device.SetOutputs({1, 2, 3});  // PD out 0x10: 16 bits, two bytes are sent
    dtm->Answer("IOL::TransferImage Data=01 02", "OK:0,3 7 8 9 5");
    EXPECT_EQ(device.ExchangeProcessImage(), 0);
    EXPECT_EQ(Text(device.ProcessInputs) + " / " + Str(int64_t{device.ActualStatus}), "7 8 9 / 5");
    // Inputs are kept in FOUND and SIO and cleared in any other state.
    device.SetSensorState(SIO);
    device.SetSensorState(FOUND);
    EXPECT_EQ(Text(device.ProcessInputs), "7 8 9");
    device.SetSensorState(LOST);
    EXPECT_EQ(Text(device.ProcessInputs), "0 0 0");
    // The outputs keep 32 positions, whatever the answer or the caller hands over.
    device.SetSensorState(FOUND);
    dtm->Answer("IOL::ReadOutputImage", "OK:0,2 4 5");
    EXPECT_EQ(device.ReadProcessOutputs(), 0);
    const auto padded = [](Values v) {
        v.resize(32);
        return v;
    };
    EXPECT_EQ(device.ProcessOutputs, padded({4, 5}));
    device.SetOutputs(Values(40, 1));
    EXPECT_EQ(device.ProcessOutputs, Values(32, 1));
    device.ProcessOutputs = {1};
    device.SetOutputs({6, 6});
    EXPECT_EQ(device.ProcessOutputs, padded({6, 6}));
}

TEST_F(ClsDeviceTest, FallbackByState) {
    // WRONG disconnects (the answer is ignored), FOUND asks for mode 5, any other state for 3.
    const Texts sent{"IOL::Disconnect", "IOL::SetMode Mode=5 Cycle=0",
                     "IOL::SetMode Mode=3 Cycle=0"};
    dtm->Answer("IOL::Disconnect", "FAILED:99");
    dtm->Answer("IOL::SetMode Mode=5 Cycle=0", "OK:");
    dtm->Answer("IOL::SetMode Mode=3 Cycle=0", "OK:");
    for (int16_t state : {WRONG, FOUND, OFFLINE}) {
        device.SetSensorState(state);
        EXPECT_EQ(device.SetFallback(), 0) << state;
    }
    EXPECT_EQ(dtm->Sent(), sent);
}

TEST_F(ClsDeviceTest, ParametersOnlyInFoundAndOnlyBound) {
    dtm->Answer("IOL::Read Index=16 SubIndex=0", "OK:1 65");
    Values data{9};
    device.SetSensorState(SIO);
    EXPECT_EQ(device.ReadParameter(16, 0, data), -1);
    EXPECT_EQ(device.WriteParameter(64, 2, {1, 255}), -1);
    EXPECT_TRUE(dtm->Sent().empty());
    device.SetSensorState(FOUND);
    EXPECT_EQ(device.ReadParameter(16, 0, data), 0);
    ClsDevice unbound;
    unbound.SetSensorState(FOUND);
    EXPECT_EQ(unbound.ReadParameter(16, 0, data), -1);
    EXPECT_EQ(unbound.ExchangeProcessImage(), -1);
    EXPECT_FALSE(unbound.UpdateEvents());
    EXPECT_EQ(unbound.VendorName(), "");
}

TEST_F(ClsDeviceTest, EventRingKeepsTheLatestHundred) {
    // No event, a negative marker, a failure: nothing changes; a malformed answer raises.
    for (const char* answer : {"EMPTY:", "OK:-1,1,1,1,1,1,1", "ERROR:4"}) {
        dtm->Queue("IOL::GetEvent", answer);
        EXPECT_FALSE(device.UpdateEvents()) << answer;
    }
    dtm->Queue("IOL::GetEvent", "OK:1,2,");
    EXPECT_EQ(ErrorOf([&] { device.UpdateEvents(); }), 13);
    for (int i = 0; i < 101; ++i) {
        dtm->Queue("IOL::GetEvent", "OK:0," + std::to_string(1000 + i) + ",4,48,192,5,6");
        ASSERT_TRUE(device.UpdateEvents());
        EXPECT_EQ(device.EventCount, std::min(i + 1, 100));
    }
    // The 101st pushed out the first; running numbers start at 0 and go on counting.
    EXPECT_EQ(Fields(device.GetEvent(1)), "1 1001 4 48 192 5 6");
    EXPECT_EQ(Fields(device.GetEvent(100)), "100 1100 4 48 192 5 6");
    for (int16_t position : {0, -1, 101, 32767})
        EXPECT_EQ(ErrorOf([&] { device.GetEvent(position); }), 9) << position;
    device.ClearEvents();  // kept empty on purpose
    EXPECT_EQ(device.EventCount, 100);
    ClsEvent& newest = device.GetEvent(100);
    EXPECT_EQ(newest.InstTypMode(), 244);  // the qualifier byte
    newest.Mode = 255;
    EXPECT_EQ(ErrorOf([&] { newest.InstTypMode(); }), 6);
}

}  // namespace
}  // namespace kestrova
