// The device proxy: the one object through which the pages reach the connected IO-Link device.
// Caches the identification per state change, holds the process image, the trace and the ring
// of the last 100 events.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "device/ClsEvent.h"
#include "link/IOLinkComm.h"

namespace kestrova {

// Sensor state (connection state code).
enum SensorStates : int16_t {
    UNKNOWN = 0,
    OFFLINE = 1,
    LOST = 2,
    FOUND = 3,
    SIO = 4,
    RESETTED = 5,
    WRONG = 6,
};

class ClsDevice {
  public:
    static constexpr int kMaxEvents = 100;

    ClsDevice();

    int16_t SensorState = UNKNOWN;
    int16_t EventCount = 0;
    Values ProcessInputs;   // 32 zeros at creation
    Values ProcessOutputs;  // 32 zeros at creation
    int16_t ActualStatus = 0;

    double TargetCycleTimer() const { return targetCycle_; }
    void TargetCycleTimer(double milliseconds);  // stores, then IOL::ChangeCycle

    std::string VendorName();
    std::string DeviceName();
    std::string FunctionName();

    void SetDtm(std::shared_ptr<IGuiBridge> dtm);
    void SetSensorState(int16_t newSensorstate);

    int16_t ActualCycleTime();
    double MinCycleTime();
    std::string Revision();
    void InLength(int16_t& length, bool& isBytes);
    void OutLength(int16_t& length, bool& isBytes);
    bool SIOSupport();
    std::string VendorID(bool optHex);
    std::string DeviceID(bool optHex);
    std::string FunctionID(bool optHex);
    std::string CurrentBaudrate();

    int32_t ExchangeProcessImage();
    int32_t ReadProcessImage();
    int32_t ReadProcessOutputs();

    void Traceon();
    void Traceoff();
    std::string ReadTrace(bool StopTrace);

    int16_t ByteOutputLength();
    int16_t ByteInputLength();

    void SetOutputs(const Values& v);
    int32_t SetOutputsValid(bool valid);
    int32_t SetFallback();
    int32_t SetModeIOLink(int16_t cycle);

    int32_t ReadParameter(int16_t Index, int16_t Subindex, Values& data);
    int32_t WriteParameter(int16_t index, int16_t subindex, const Values& data);

    // Position 1..100; outside raises Subscript out of range (9).
    ClsEvent& GetEvent(int16_t position);
    void ClearEvents();  // deliberately does nothing
    // Running number of the newest event the user cleared from the event lists. Every list
    // hides the events up to it; the proxy keeps them, as the newest also tells the state.
    int64_t EventsClearedThrough = -1;
    bool UpdateEvents();

  private:
    bool CheckInfo();
    std::string ReadName(int16_t index, std::string& cache, bool& read);
    void Trace(std::string_view line);
    void Length(uint8_t pageByte, int16_t& length, bool& isBytes);

    std::shared_ptr<IGuiBridge> dtm_;
    ModeRecord mode_{};
    bool infoValid_ = false;
    double targetCycle_ = 0;
    bool traceOn_ = false;
    std::string trace_;
    std::string vendorName_, deviceName_, functionName_;
    bool vendorRead_ = false, deviceRead_ = false, functionRead_ = false;
    // Never-filled positions read as an empty event, as if created on first use.
    std::array<ClsEvent, kMaxEvents> events_{};
    int32_t runningNumber_ = 0;
};

}  // namespace kestrova
