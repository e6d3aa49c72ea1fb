// One received IO-Link event: running number, code, qualifier parts and two carried values.
#pragma once

#include <cstdint>

namespace kestrova {

class ClsEvent {
  public:
    int32_t Number = 0;    // running number given by the device proxy
    int32_t Code = 0;      // event code
    int32_t Instance = 0;  // qualifier instance part (1..4)
    int32_t Type = 0;      // qualifier type part (16, 32, 48)
    int32_t Mode = 0;      // qualifier mode part (64, 128, 192)
    int32_t Value1 = 0;    // carried unchanged
    int32_t Value2 = 0;    // carried unchanged

    void Copy(const ClsEvent& source);
    // Qualifier byte: Instance + Type + Mode; above a byte raises Overflow.
    uint8_t InstTypMode() const;
};

}  // namespace kestrova
