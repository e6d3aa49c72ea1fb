#include "SimDevice.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace kestrova::sim {

namespace {

// --- value encoding (IO-Link is big-endian) ---

Bytes Be(int64_t value, int size) {
    Bytes out(static_cast<size_t>(size));
    for (int i = size - 1; i >= 0; --i, value >>= 8) out[static_cast<size_t>(i)] = value & 0xFF;
    return out;
}

int64_t FromBe(const Bytes& bytes, size_t offset, size_t size, bool isSigned) {
    int64_t v = 0;
    for (size_t i = 0; i < size && offset + i < bytes.size(); ++i) v = (v << 8) | bytes[offset + i];
    if (isSigned && size > 0 && size < 8 && (v & (int64_t{1} << (size * 8 - 1))))
        v -= int64_t{1} << (size * 8);
    return v;
}

Bytes Text(std::string_view s) {
    return Bytes(s.begin(), s.end());
}

int64_t Stored(const Device& d, uint16_t index, size_t offset = 0, size_t size = 1,
               bool isSigned = false) {
    const auto it = d.values.find(index);
    return it == d.values.end() ? 0 : FromBe(it->second, offset, size, isSigned);
}

// --- field kinds ---

Field U8(int64_t min, int64_t max) {
    return {Type::UInt, 1, min, max};
}
Field U16(int64_t min, int64_t max) {
    return {Type::UInt, 2, min, max};
}
Field U32() {
    return {Type::UInt, 4, 0, 0xFFFFFFFF};
}
Field I16(int64_t min, int64_t max) {
    return {Type::Int, 2, min, max};
}
Field Enum8(std::vector<int64_t> allowed) {
    return {Type::UInt, 1, 0, 255, std::move(allowed)};
}
Field Str(uint8_t maxLength) {
    return {Type::Text, maxLength};
}
Field Oct(uint8_t size) {
    return {Type::Octets, size};
}

// --- live parameters ---

Bytes LivePage(const Device& d, int64_t) {
    Bytes out(d.profile->page.begin(), d.profile->page.end());
    out[page::MasterCommand] = d.masterCommand;
    out[page::MasterCycle] = d.masterCycle;
    return out;
}
Bytes LiveStatus(const Device& d, int64_t now) {
    // 2 = outside its rated range
    return {static_cast<uint8_t>(OutOfRange(d, now) ? 2 : 0)};
}
Bytes LivePdIn(const Device& d, int64_t now) {
    return ProcessInputs(d, now);
}
Bytes LivePdOut(const Device& d, int64_t) {
    return d.outputs;
}
Bytes LiveHours(const Device&, int64_t now) {
    return Be(4213 + now / 3'600'000, 4);
}
Bytes LiveCycles(const Device& d, int64_t) {
    Bytes out;
    for (int i = 0; i < 9; ++i) {
        const Bytes b = Be(d.cycles[static_cast<size_t>(i)], 4);
        out.insert(out.end(), b.begin(), b.end());
    }
    return out;
}

// --- parameters every profile shares ---

Param DirectPage() {
    return {idx::DirectPage,
            "Direct parameter page 1",
            Access::RO,
            std::vector<Field>(16, U8(0, 255)),
            {},
            &LivePage};
}
Param SystemCommand(std::vector<int64_t> commands) {
    return {idx::SystemCommand, "System command", Access::WO, {Enum8(std::move(commands))}};
}
Param Ident(uint16_t index, const char* name, std::string_view text) {
    return {index, name, Access::RO, {Str(64)}, Text(text)};
}
Param ApplicationTag() {
    return {idx::ApplicationTag, "Application-specific tag", Access::RW, {Str(32)}, Text("***")};
}
Param DeviceStatus() {
    return {idx::DeviceStatus, "Device status", Access::RO, {U8(0, 4)}, {}, &LiveStatus};
}
Param PdIn(uint8_t size) {
    return {idx::ProcessDataIn, "Process data input", Access::RO, {Oct(size)}, {}, &LivePdIn};
}
Param PdOut(uint8_t size) {
    return {idx::ProcessDataOut, "Process data output", Access::RO, {Oct(size)}, {}, &LivePdOut};
}

const std::vector<int64_t> kCommands11 = {0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x80, 0x81, 0x82};

// --- sensor: a laser distance sensor, 30 to 3000 mm ---
// Inputs: distance (mm, signed 16 bit; 32760 when out of range), signal quality (%), status
// (bit 0 switching output, bit 1 out of range).

constexpr int32_t kSensorMin = 30, kSensorMax = 3000, kOutOfRangeMark = 32760;

int32_t SensorDistance(const Device& d, int64_t now) {
    if (d.pinned) return *d.pinned;
    // A target moving to and fro between 100 and 3200 mm every 30 s: it leaves the measuring
    // range for about two seconds per period.
    const int64_t phase = ((now % 30'000) + 30'000) % 30'000;
    const int64_t rise = phase < 15'000 ? phase : 30'000 - phase;
    return static_cast<int32_t>(100 + rise * 3100 / 15'000);
}
bool SensorOut(const Device& d, int64_t now) {
    const int32_t v = SensorDistance(d, now);
    return v < kSensorMin || v > kSensorMax;
}
int32_t SensorMeasured(const Device& d, int64_t now) {
    return SensorDistance(d, now) + static_cast<int32_t>(Stored(d, 68, 0, 2, true));
}
uint8_t SensorSwitch(const Device& d, int64_t now) {
    if (SensorOut(d, now)) return static_cast<uint8_t>(Stored(d, 66) & 1);
    const int64_t m = SensorMeasured(d, now);
    const bool inside = m >= Stored(d, 64, 0, 2) && m <= Stored(d, 64, 2, 2);
    return static_cast<uint8_t>((inside ? 1 : 0) ^ (Stored(d, 66) & 1));
}
Bytes SensorInputs(const Device& d, int64_t now) {
    const bool out = SensorOut(d, now);
    const int32_t distance = SensorDistance(d, now);
    Bytes in = Be(out ? kOutOfRangeMark : SensorMeasured(d, now), 2);
    in.push_back(static_cast<uint8_t>(out ? 0 : 100 - distance * 60 / kSensorMax));
    in.push_back(static_cast<uint8_t>(SensorSwitch(d, now) | (out ? 2 : 0)));
    return in;
}
uint16_t SensorInterfere(const Device&, uint16_t index, const Bytes& value) {
    if (index == 64 && FromBe(value, 0, 2, false) >= FromBe(value, 2, 2, false))
        return isdu::InterferingParameter;
    return 0;
}

// --- legacy: a pressure switch of the first IO-Link revision ---
// Inputs: pressure in 0.01 bar.

int32_t Pressure(const Device& d, int64_t now) {
    if (d.pinned) return *d.pinned;
    return 600 + static_cast<int32_t>(std::lround(
                     150 * std::sin(2 * std::numbers::pi * static_cast<double>(now) / 20'000)));
}
Bytes PressureInputs(const Device& d, int64_t now) {
    return Be(Pressure(d, now), 2);
}
uint8_t PressureSwitch(const Device& d, int64_t now) {
    return Pressure(d, now) >= Stored(d, 64, 0, 2) ? 1 : 0;
}
uint16_t PressureInterfere(const Device& d, uint16_t index, const Bytes& value) {
    // The reset point must stay below the switch point.
    const int64_t v = FromBe(value, 0, 2, false);
    if ((index == 64 && v <= Stored(d, 65, 0, 2)) || (index == 65 && v >= Stored(d, 64, 0, 2)))
        return isdu::InterferingParameter;
    return 0;
}

// --- actuator and valve: inputs read back what the outputs drive ---

Bytes TerminalInputs(const Device& d, int64_t) {
    return Be(d.terminal, 2);
}
Bytes ValveInputs(const Device& d, int64_t) {
    return Be(d.terminal | 0x200, 2);  // bit 9: supply pressure present
}
uint8_t NoSio(const Device&, int64_t) {
    return 0;
}
bool NeverOut(const Device&, int64_t) {
    return false;
}
uint16_t NoInterference(const Device&, uint16_t, const Bytes&) {
    return 0;
}
Bytes NoInputs(const Device&, int64_t) {
    return {};
}

std::vector<Profile> BuildProfiles() {
    std::vector<Profile> all;
    // clang-format off
    // Direct parameter pages: master command, master cycle (both filled in by the master), min
    // cycle, M-sequence capability, revision, PD in, PD out / vendor id (2), device id (3),
    // function id (2), reserved, system command.
    all.push_back({"sensor",
        "laser distance sensor ODL-3000, 4 bytes in (distance, quality, status)", true,
        {0x00, 0x00, 0x17, 0x09, 0x11, 0xC3, 0x00,
         0x0A, 0x2F, 0x00, 0xD2, 0xA1, 0x00, 0x00, 0x00, 0x00},
        2,
        {DirectPage(), SystemCommand(kCommands11),
         Ident(16, "Vendor name", "Tarnwick Sensorik GmbH"),
         Ident(17, "Vendor text", "Tarnwick - optical distance measurement"),
         Ident(18, "Product name", "ODL-3000"),
         Ident(19, "Product ID", "ODL3000-IOL-01"),
         Ident(20, "Product text", "Laser distance sensor 30...3000 mm"),
         Ident(21, "Serial number", "TW21470093"),
         Ident(22, "Hardware revision", "HW 2"),
         Ident(23, "Firmware revision", "FW 1.4.0"),
         ApplicationTag(), DeviceStatus(), PdIn(4),
         {64, "Switching window (near, far) mm", Access::RW,
          {U16(kSensorMin, kSensorMax), U16(kSensorMin, kSensorMax)}, {0x00, 0xC8, 0x05, 0xDC}},
         {65, "Hysteresis mm", Access::RW, {U16(1, 100)}, {0x00, 0x0A}},
         {66, "Switching logic (0 normally open, 1 normally closed)", Access::RW,
          {Enum8({0, 1})}, {0x00}},
         {67, "Averaging", Access::RW, {Enum8({1, 2, 4, 8, 16})}, {0x04}},
         {68, "Zero offset mm", Access::RW, {I16(-500, 500)}, {0x00, 0x00}},
         {80, "Operating hours", Access::RO, {U32()}, {}, &LiveHours}},
        &SensorInputs, &SensorSwitch, &SensorOut, &SensorInterfere, 0, 0, 0});

    all.push_back({"actuator",
        "digital output module DOM-16, 2 bytes out, 2 bytes in (read back)", true,
        {0x00, 0x00, 0x0A, 0x0B, 0x11, 0x81, 0x81,
         0x0B, 0x37, 0x02, 0x03, 0x10, 0x00, 0x01, 0x00, 0x00},
        2,
        {DirectPage(), SystemCommand(kCommands11),
         Ident(16, "Vendor name", "Brelmoor Automation AG"),
         Ident(17, "Vendor text", "Brelmoor - I/O for the field"),
         Ident(18, "Product name", "DOM-16"),
         Ident(19, "Product ID", "DOM16-IOL"),
         Ident(20, "Product text", "Digital output module, 16 outputs 0.5 A"),
         Ident(21, "Serial number", "BA0093551"),
         Ident(22, "Hardware revision", "A"),
         Ident(23, "Firmware revision", "2.1.7"),
         ApplicationTag(), DeviceStatus(), PdIn(2), PdOut(2),
         {64, "Outputs when invalid (0 off, 1 hold)", Access::RW, {Enum8({0, 1})}, {0x00}},
         {65, "Output inversion mask", Access::RW, {U16(0, 0xFFFF)}, {0x00, 0x00}},
         {66, "Current limit mA", Access::RW, {U16(100, 2000)}, {0x01, 0xF4}}},
        &TerminalInputs, &NoSio, &NeverOut, &NoInterference, 0xFFFF, 64, 65});

    all.push_back({"valve",
        "valve terminal VT-9, 9 output bits, 10 input bits (read back, pressure)", true,
        {0x00, 0x00, 0x44, 0x0B, 0x11, 0x0A, 0x09,
         0x0B, 0x37, 0x02, 0x09, 0x01, 0x00, 0x00, 0x00, 0x00},
        1,
        {DirectPage(), SystemCommand(kCommands11),
         Ident(16, "Vendor name", "Brelmoor Automation AG"),
         Ident(17, "Vendor text", "Brelmoor - I/O for the field"),
         Ident(18, "Product name", "VT-9"),
         Ident(19, "Product ID", "VT9-IOL-24"),
         Ident(20, "Product text", "Valve terminal, 9 valves"),
         Ident(21, "Serial number", "BA0107342"),
         Ident(22, "Hardware revision", "C"),
         Ident(23, "Firmware revision", "1.0.3"),
         ApplicationTag(), DeviceStatus(), PdIn(2), PdOut(2),
         {64, "Valves when invalid (0 off, 1 hold)", Access::RW, {Enum8({0, 1})}, {0x00}},
         {70, "Switching cycles per valve", Access::RO, std::vector<Field>(9, U32()), {},
          &LiveCycles}},
        &ValveInputs, &NoSio, &NeverOut, &NoInterference, 0x01FF, 64, 0});

    all.push_back({"legacy",
        "pressure switch PS-10 (IO-Link 1.0), no name texts, 2 bytes in", true,
        {0x00, 0x00, 0x62, 0x01, 0x10, 0xC1, 0x00,
         0x04, 0x57, 0x00, 0x04, 0x51, 0x00, 0x00, 0x00, 0x00},
        0,
        {DirectPage(), SystemCommand({0x80, 0x81}),
         Ident(19, "Product ID", "PS10-L"),
         Ident(21, "Serial number", "0004417"),
         PdIn(2),
         {64, "Switch point 0.01 bar", Access::RW, {U16(0, 1000)}, {0x02, 0xBC}},
         {65, "Reset point 0.01 bar", Access::RW, {U16(0, 1000)}, {0x02, 0x8A}}},
        &PressureInputs, &PressureSwitch, &NeverOut, &PressureInterfere, 0, 0, 0});

    all.push_back({"none", "no device on the port", false, {}, 2, {},
        &NoInputs, &NoSio, &NeverOut, &NoInterference, 0, 0, 0});
    // clang-format on
    return all;
}

const Param* FindParam(const Profile& p, uint16_t index) {
    for (const Param& param : p.params)
        if (param.index == index) return &param;
    return nullptr;
}

size_t FieldOffset(const Param& p, size_t subindex) {
    size_t offset = 0;
    for (size_t i = 0; i + 1 < subindex; ++i) offset += p.fields[i].size;
    return offset;
}

uint16_t CheckField(const Field& f, const Bytes& data) {
    switch (f.type) {
        case Type::Text:
            return data.size() > f.size ? isdu::LengthOverrun : 0;
        case Type::Octets:
            if (data.size() != f.size)
                return data.size() > f.size ? isdu::LengthOverrun : isdu::LengthUnderrun;
            return 0;
        case Type::UInt:
        case Type::Int: {
            if (data.size() != f.size)
                return data.size() > f.size ? isdu::LengthOverrun : isdu::LengthUnderrun;
            const int64_t v = FromBe(data, 0, f.size, f.type == Type::Int);
            if (!f.allowed.empty())
                return std::find(f.allowed.begin(), f.allowed.end(), v) == f.allowed.end()
                           ? isdu::ValueOutOfRange
                           : 0;
            if (v > f.max) return isdu::ValueAboveLimit;
            if (v < f.min) return isdu::ValueBelowLimit;
            return 0;
        }
    }
    return 0;
}

// Process data length in bytes from its direct-page code (bit 7: bytes, else bits).
int PdBytes(uint8_t code) {
    return (code & 0x80) ? (code & 31) + 1 : ((code & 31) + 7) / 8;
}

void Drive(Device& d) {
    const Profile& p = *d.profile;
    if (p.terminalMask == 0) return;
    const uint32_t out = static_cast<uint32_t>(FromBe(d.outputs, 0, d.outputs.size(), false));
    const uint32_t invert =
        p.invertParam ? static_cast<uint32_t>(Stored(d, p.invertParam, 0, 2)) : 0;
    const bool hold = p.holdParam && Stored(d, p.holdParam) == 1;
    uint32_t next = d.outputsValid ? (out ^ invert) : (hold ? d.terminal : 0);
    next &= p.terminalMask;
    const uint32_t rising = next & ~d.terminal;
    for (size_t bit = 0; bit < d.cycles.size(); ++bit)
        if (rising & (1u << bit)) ++d.cycles[bit];
    d.terminal = next;
}

}  // namespace

const std::vector<Profile>& AllProfiles() {
    static const std::vector<Profile> all = BuildProfiles();
    return all;
}

const Profile* FindProfile(std::string_view name) {
    for (const Profile& p : AllProfiles())
        if (p.name == name) return &p;
    return nullptr;
}

Device MakeDevice(const Profile& profile) {
    Device d;
    d.profile = &profile;
    for (const Param& p : profile.params)
        if (!p.live && p.access != Access::WO) d.values[p.index] = p.initial;
    d.outputs.assign(static_cast<size_t>(PdBytes(profile.page[page::PdOut])), 0);
    d.masterCycle = profile.page[page::MinCycle];
    return d;
}

uint16_t IsduRead(const Device& d, uint16_t index, uint8_t subindex, int64_t now, Bytes& out) {
    out.clear();
    const Param* p = FindParam(*d.profile, index);
    if (!p) return isdu::IndexNotAvailable;
    if (p->access == Access::WO) return isdu::AccessDenied;
    const Bytes whole = p->live ? p->live(d, now) : d.values.at(index);
    if (subindex == 0) {
        out = whole;
        return 0;
    }
    if (p->fields.size() < 2 || subindex > p->fields.size()) return isdu::SubindexNotAvailable;
    const size_t offset = FieldOffset(*p, subindex);
    const size_t size = p->fields[subindex - 1u].size;
    out.assign(whole.begin() + static_cast<ptrdiff_t>(offset),
               whole.begin() + static_cast<ptrdiff_t>(offset + size));
    return 0;
}

WriteResult IsduWrite(Device& d, uint16_t index, uint8_t subindex, const Bytes& data) {
    WriteResult r;
    const Param* p = FindParam(*d.profile, index);
    if (!p) return {isdu::IndexNotAvailable};
    if (p->access == Access::RO) return {isdu::AccessDenied};
    const bool record = p->fields.size() > 1;
    if (subindex != 0 && (!record || subindex > p->fields.size()))
        return {isdu::SubindexNotAvailable};

    Bytes whole;
    if (subindex != 0) {
        if ((r.error = CheckField(p->fields[subindex - 1u], data))) return r;
        whole = d.values.at(index);
        std::copy(data.begin(), data.end(),
                  whole.begin() + static_cast<ptrdiff_t>(FieldOffset(*p, subindex)));
    } else if (record) {
        const size_t total = FieldOffset(*p, p->fields.size() + 1);
        if (data.size() != total)
            return {data.size() > total ? isdu::LengthOverrun : isdu::LengthUnderrun};
        for (size_t i = 0, off = 0; i < p->fields.size(); off += p->fields[i].size, ++i) {
            const Bytes part(data.begin() + static_cast<ptrdiff_t>(off),
                             data.begin() + static_cast<ptrdiff_t>(off + p->fields[i].size));
            if ((r.error = CheckField(p->fields[i], part))) return r;
        }
        whole = data;
    } else {
        if ((r.error = CheckField(p->fields[0], data))) return r;
        whole = data;
    }
    if ((r.error = d.profile->interfere(d, index, whole))) return r;

    if (index == idx::SystemCommand) {
        r.command = whole[0];
        if (r.command == syscmd::RestoreFactory) {
            const Device fresh = MakeDevice(*d.profile);
            r.changed = fresh.values != d.values;
            d.values = fresh.values;
            Drive(d);
        }
        return r;
    }
    r.changed = d.values[index] != whole;
    d.values[index] = whole;
    Drive(d);
    return r;
}

Bytes ProcessInputs(const Device& d, int64_t now) {
    return d.profile->inputs(d, now);
}
uint8_t SioInput(const Device& d, int64_t now) {
    return d.profile->sio(d, now);
}
bool OutOfRange(const Device& d, int64_t now) {
    return d.profile->outOfRange(d, now);
}

void SetOutputs(Device& d, const Bytes& outputs) {
    d.outputs = outputs;
    Drive(d);
}

void SetOutputsValid(Device& d, bool valid) {
    d.outputsValid = valid;
    // The master command on the direct page says the same: ProcessDataOutputOperate or
    // DeviceOperate (outputs not valid).
    d.masterCommand = valid ? 0x98 : 0x99;
    Drive(d);
}

}  // namespace kestrova::sim
