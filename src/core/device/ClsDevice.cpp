#include "device/ClsDevice.h"

#include <algorithm>

#include "tools/Vb.h"

namespace kestrova {

namespace {

constexpr size_t kImageSize = 32;

// Index of direct parameter page byte n in the mode record.
constexpr size_t Page(size_t n) {
    return 3 + n;
}

// A process data length in whole bytes; bit lengths round up.
int16_t InBytes(int16_t length, bool isBytes) {
    return isBytes ? length : static_cast<int16_t>((length + 7) / 8);
}

std::string BoolText(bool b) {
    return b ? "True" : "False";
}

// Device has no answer to give without a business object: "not ready".
constexpr int32_t kNotReady = -1;

}  // namespace

ClsDevice::ClsDevice() : ProcessInputs(kImageSize, 0), ProcessOutputs(kImageSize, 0) {}

void ClsDevice::TargetCycleTimer(double milliseconds) {
    targetCycle_ = milliseconds;
    const int16_t code = EncodeCycleTime(milliseconds);
    if (dtm_) IolChangeCycle(*dtm_, code);
}

std::string ClsDevice::VendorName() {
    return ReadName(16, vendorName_, vendorRead_);
}
std::string ClsDevice::DeviceName() {
    return ReadName(18, deviceName_, deviceRead_);
}
std::string ClsDevice::FunctionName() {
    return ReadName(20, functionName_, functionRead_);
}

std::string ClsDevice::ReadName(int16_t index, std::string& cache, bool& read) {
    if (SensorState != FOUND) {
        cache.clear();
        return cache;
    }
    if (read || !dtm_) return cache;
    Values data;
    const int32_t result = IolRead(*dtm_, index, 0, data);
    if (result != 0)
        cache = "not supported";
    else
        cache = FormatBytes(data, kCharacters);
    // Set even after "not supported", so the device is not asked again until the state changes.
    read = true;
    return cache;
}

void ClsDevice::SetDtm(std::shared_ptr<IGuiBridge> dtm) {
    dtm_ = std::move(dtm);
}

void ClsDevice::SetSensorState(int16_t newSensorstate) {
    SensorState = newSensorstate;
    if (newSensorstate != FOUND) {
        vendorRead_ = deviceRead_ = functionRead_ = false;
        infoValid_ = false;
        if (newSensorstate != SIO) std::fill(ProcessInputs.begin(), ProcessInputs.end(), 0);
    }
}

bool ClsDevice::CheckInfo() {
    Trace("CheckInfo: Begin");
    if (!infoValid_) {
        if (traceOn_) Trace("CheckInfo: Sensorstate=" + Str(int64_t{SensorState}));
        if (SensorState == FOUND && dtm_) {
            ModeRecord mode = mode_;
            if (IolGetMode(*dtm_, mode) == 0) {
                mode_ = mode;
                infoValid_ = true;
            }
        }
    }
    // Every length and identification read passes here, the process data exchange of each timer
    // tick included: the record is formatted only while tracing.
    if (traceOn_) {
        const Values record(mode_.begin(), mode_.end());
        Trace("CheckInfo: End, return = " + BoolText(infoValid_) +
              "data= " + FormatBytes(record, kHex));
    }
    return infoValid_;
}

int16_t ClsDevice::ActualCycleTime() {
    return CheckInfo() ? mode_[Page(1)] : 0;
}

double ClsDevice::MinCycleTime() {
    return CheckInfo() ? DecodeCycleTime(mode_[Page(2)]) : 0.0;
}

std::string ClsDevice::Revision() {
    if (!CheckInfo()) return {};
    const uint8_t b = mode_[Page(4)];
    // Floating-point division on purpose: 17 gives "1.0625.1".
    return Str(b / 16.0) + "." + Str(int64_t{b & 15});
}

void ClsDevice::Length(uint8_t pageByte, int16_t& length, bool& isBytes) {
    length = pageByte & 31;
    isBytes = (pageByte & 128) != 0;
    if (isBytes) length = static_cast<int16_t>(length + 1);
}

void ClsDevice::InLength(int16_t& length, bool& isBytes) {
    Trace("InLength: Begin");
    if (CheckInfo()) {
        Length(mode_[Page(5)], length, isBytes);
        if (traceOn_)
            Trace("InLength: CheckInfo returns true, data=" +
                  FormatHex(mode_[Page(5)], 2, "0x", true) + " " +
                  FormatHex(mode_[Page(6)], 2, "0x", true));
    } else if (SensorState == SIO) {
        length = 1;
        isBytes = true;
        Trace("InLength: SIO State");
    } else {
        length = 0;
        isBytes = false;
        Trace("InLength: CheckInfo returns false");
    }
    if (traceOn_) Trace("InLength: End, Return Length=" + Str(int64_t{length}) + " value=");
}

void ClsDevice::OutLength(int16_t& length, bool& isBytes) {
    if (CheckInfo()) {
        Length(mode_[Page(6)], length, isBytes);
    } else {
        length = 0;
        isBytes = false;
    }
}

bool ClsDevice::SIOSupport() {
    return CheckInfo() && (mode_[Page(5)] & 64) != 0;
}

std::string ClsDevice::VendorID(bool optHex) {
    if (!CheckInfo()) return {};
    const uint8_t hi = mode_[Page(7)], lo = mode_[Page(8)];
    if (optHex) return "0x" + FormatHex(hi, 2, "", true) + FormatHex(lo, 2, "", true);
    return Str(int64_t{hi} * 256 + lo);
}

std::string ClsDevice::DeviceID(bool optHex) {
    if (!CheckInfo()) return {};
    const int64_t v = (int64_t{mode_[Page(9)]} * 256 + mode_[Page(10)]) * 256 + mode_[Page(11)];
    return optHex ? FormatHex(v, 6, "0x", true) : Str(v);
}

std::string ClsDevice::FunctionID(bool optHex) {
    if (!CheckInfo()) return {};
    const uint8_t hi = mode_[Page(12)], lo = mode_[Page(13)];
    if (optHex) return "0x" + FormatHex(hi, 2, "", true) + FormatHex(lo, 2, "", true);
    return Str(int64_t{hi} * 256 + lo);
}

std::string ClsDevice::CurrentBaudrate() {
    if (!CheckInfo()) return {};
    switch (mode_[2]) {
        case 0:
            return "4800";
        case 1:
            return "38400";
        case 2:
            return "230400";
        default:
            return {};
    }
}

int32_t ClsDevice::ExchangeProcessImage() {
    if (!dtm_) return kNotReady;
    const int16_t length = ByteOutputLength();
    return IolTransferImage(*dtm_, ProcessOutputs, ProcessInputs, ActualStatus, length);
}

int32_t ClsDevice::ReadProcessImage() {
    if (!dtm_) return kNotReady;
    return IolTransferImage(*dtm_, ProcessOutputs, ProcessInputs, ActualStatus, 0);
}

int32_t ClsDevice::ReadProcessOutputs() {
    if (!dtm_) return kNotReady;
    const int16_t length = ByteOutputLength();
    const int32_t result = IolReadOutputImage(*dtm_, ProcessOutputs, length);
    // The answer may be shorter than the image; SetOutputs relies on 32 positions.
    if (ProcessOutputs.size() < kImageSize) ProcessOutputs.resize(kImageSize, 0);
    return result;
}

void ClsDevice::Traceon() {
    traceOn_ = true;
}

void ClsDevice::Traceoff() {
    traceOn_ = false;
    trace_.clear();
}

std::string ClsDevice::ReadTrace(bool StopTrace) {
    std::string text = std::move(trace_);
    trace_.clear();
    if (StopTrace) traceOn_ = false;
    return text;
}

void ClsDevice::Trace(std::string_view line) {
    if (!traceOn_) return;
    trace_ += "\r\n";
    trace_ += line;
}

int16_t ClsDevice::ByteOutputLength() {
    int16_t length = 0;
    bool isBytes = false;
    OutLength(length, isBytes);
    return InBytes(length, isBytes);
}

int16_t ClsDevice::ByteInputLength() {
    int16_t length = 0;
    bool isBytes = false;
    InLength(length, isBytes);
    return InBytes(length, isBytes);
}

void ClsDevice::SetOutputs(const Values& v) {
    if (ProcessOutputs.size() < kImageSize) ProcessOutputs.resize(kImageSize, 0);
    for (size_t i = 0; i < v.size() && i < kImageSize; ++i) ProcessOutputs[i] = v[i];
}

int32_t ClsDevice::SetOutputsValid(bool valid) {
    if (!dtm_) return kNotReady;
    // 6 declares the outputs valid, 7 not valid.
    return IolSetMode(*dtm_, valid ? 6 : 7, 0);
}

int32_t ClsDevice::SetFallback() {
    if (!dtm_) return kNotReady;
    if (SensorState == WRONG) {
        IolDisconnect(*dtm_);
        return 0;
    }
    return IolSetMode(*dtm_, SensorState == FOUND ? 5 : 3, 0);
}

int32_t ClsDevice::SetModeIOLink(int16_t cycle) {
    if (!dtm_) return kNotReady;
    return IolSetMode(*dtm_, 1, cycle);
}

int32_t ClsDevice::ReadParameter(int16_t Index, int16_t Subindex, Values& data) {
    if (SensorState != FOUND || !dtm_) return kNotReady;
    return IolRead(*dtm_, Index, Subindex, data);
}

int32_t ClsDevice::WriteParameter(int16_t index, int16_t subindex, const Values& data) {
    if (SensorState != FOUND || !dtm_) return kNotReady;
    return IolWrite(*dtm_, index, subindex, data);
}

ClsEvent& ClsDevice::GetEvent(int16_t position) {
    if (position < 1 || position > kMaxEvents)
        Raise(vberr::SubscriptOutOfRange, "Subscript out of range: event position " +
                                              Str(int64_t{position}) + " is not between 1 and 100");
    return events_[static_cast<size_t>(position - 1)];
}

void ClsDevice::ClearEvents() {}

bool ClsDevice::UpdateEvents() {
    if (!dtm_) return false;
    EventRecord record{};
    if (IolGetEvent(*dtm_, record) != 0 || record[0] < 0) return false;
    if (EventCount < 0) EventCount = 0;
    if (EventCount >= kMaxEvents) {
        // Full: the oldest goes, the others move one position down.
        EventCount = kMaxEvents - 1;
        for (int16_t p = 2; p <= kMaxEvents; ++p)
            GetEvent(static_cast<int16_t>(p - 1)).Copy(GetEvent(p));
    }
    ++EventCount;
    ClsEvent& e = GetEvent(EventCount);
    e.Number = runningNumber_;
    e.Code = record[1];
    e.Instance = record[2];
    e.Type = record[3];
    e.Mode = record[4];
    e.Value1 = record[5];
    e.Value2 = record[6];
    runningNumber_ = CLng(int64_t{runningNumber_} + 1);
    return true;
}

}  // namespace kestrova
