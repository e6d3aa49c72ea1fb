// The simulated IO-Link device behind the master's port: a profile (direct parameter page,
// ISDU parameter table, process data behaviour) and the state of one device built from it.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kestrova::sim {

using Bytes = std::vector<uint8_t>;

// ISDU error codes as devices answer them.
namespace isdu {
inline constexpr uint16_t IndexNotAvailable = 0x8011;
inline constexpr uint16_t SubindexNotAvailable = 0x8012;
inline constexpr uint16_t AccessDenied = 0x8023;
inline constexpr uint16_t ValueOutOfRange = 0x8030;
inline constexpr uint16_t ValueAboveLimit = 0x8031;
inline constexpr uint16_t ValueBelowLimit = 0x8032;
inline constexpr uint16_t LengthOverrun = 0x8033;
inline constexpr uint16_t LengthUnderrun = 0x8034;
inline constexpr uint16_t InterferingParameter = 0x8040;
}  // namespace isdu

// Standard ISDU indices and system commands.
namespace idx {
inline constexpr uint16_t DirectPage = 0;
inline constexpr uint16_t SystemCommand = 2;
inline constexpr uint16_t VendorName = 16;
inline constexpr uint16_t VendorText = 17;
inline constexpr uint16_t ProductName = 18;
inline constexpr uint16_t ProductId = 19;
inline constexpr uint16_t ProductText = 20;
inline constexpr uint16_t SerialNumber = 21;
inline constexpr uint16_t HardwareRevision = 22;
inline constexpr uint16_t FirmwareRevision = 23;
inline constexpr uint16_t ApplicationTag = 24;
inline constexpr uint16_t DeviceStatus = 36;
inline constexpr uint16_t ProcessDataIn = 40;
inline constexpr uint16_t ProcessDataOut = 41;
}  // namespace idx
namespace syscmd {
inline constexpr uint8_t ParamDownloadStore = 0x05;
inline constexpr uint8_t DeviceReset = 0x80;
inline constexpr uint8_t ApplicationReset = 0x81;
inline constexpr uint8_t RestoreFactory = 0x82;
}  // namespace syscmd

// Direct parameter page 1, byte positions.
namespace page {
inline constexpr int MasterCommand = 0;
inline constexpr int MasterCycle = 1;
inline constexpr int MinCycle = 2;
inline constexpr int Revision = 4;
inline constexpr int PdIn = 5;
inline constexpr int PdOut = 6;
}  // namespace page

enum class Access : uint8_t { RO, RW, WO };
enum class Type : uint8_t { UInt, Int, Text, Octets };

// One element of a parameter: a variable has one, a record one per subindex. Integers are
// big-endian of `size` bytes; texts hold up to `size` characters; octets are exactly `size`.
struct Field {
    Type type;
    uint8_t size;
    int64_t min = 0;
    int64_t max = 0;
    std::vector<int64_t> allowed = {};  // non-empty: only these values (an enumeration)
};

struct Device;
using LiveFn = Bytes (*)(const Device&, int64_t now);

struct Param {
    uint16_t index;
    const char* name;
    Access access;
    std::vector<Field> fields;
    Bytes initial = {};     // stored parameters: the factory value
    LiveFn live = nullptr;  // computed parameters: the value now
};

struct Profile {
    const char* name;
    const char* summary;
    bool present;                  // false: nothing answers on the port
    std::array<uint8_t, 16> page;  // direct parameter page 1 as the device reports it
    uint8_t baud;                  // 0 COM1, 1 COM2, 2 COM3
    std::vector<Param> params;
    Bytes (*inputs)(const Device&, int64_t now);
    uint8_t (*sio)(const Device&, int64_t now);  // switching state seen in SIO mode
    bool (*outOfRange)(const Device&, int64_t now);
    // Checks a whole new value of a parameter against the others; 0 or an ISDU error.
    uint16_t (*interfere)(const Device&, uint16_t index, const Bytes& value);
    uint16_t terminalMask;  // output bits the device drives (0: none)
    uint16_t holdParam;     // parameter choosing "hold last" for invalid outputs (0: none)
    uint16_t invertParam;   // parameter with an output inversion mask (0: none)
};

struct Device {
    const Profile* profile = nullptr;
    std::map<uint16_t, Bytes> values;  // stored parameters by index
    Bytes outputs;                     // output image as the master holds it
    bool outputsValid = false;
    uint32_t terminal = 0;              // what the outputs drive now
    std::array<uint32_t, 16> cycles{};  // switching cycles per output
    std::optional<int32_t> pinned;      // process value held still ("measure")
    uint8_t masterCommand = 0;
    uint8_t masterCycle = 0;
};

struct WriteResult {
    uint16_t error = 0;
    bool changed = false;  // a stored value changed
    int command = -1;      // system command executed
};

const std::vector<Profile>& AllProfiles();
const Profile* FindProfile(std::string_view name);
Device MakeDevice(const Profile& profile);

uint16_t IsduRead(const Device& device, uint16_t index, uint8_t subindex, int64_t now, Bytes& out);
WriteResult IsduWrite(Device& device, uint16_t index, uint8_t subindex, const Bytes& data);

Bytes ProcessInputs(const Device& device, int64_t now);
uint8_t SioInput(const Device& device, int64_t now);
bool OutOfRange(const Device& device, int64_t now);
// The master's output image and its validity; the device drives what it accepts.
void SetOutputs(Device& device, const Bytes& outputs);
void SetOutputsValid(Device& device, bool valid);

}  // namespace kestrova::sim
