// The IO-Link command channel: one function per text command to the business object. Each
// builds the command, sends it with SendCommand and parses the answer. Failure answers give the
// master's error number as result code; malformed answers raise (Type mismatch, Overflow,
// Subscript out of range); failing calls of the business object raise their VbError.
#pragma once

#include <array>
#include <cstdint>

#include "link/IGuiBridge.h"
#include "tools/NumberFormats.h"

namespace kestrova {

using ModeRecord = std::array<uint8_t, 19>;
using EventRecord = std::array<int32_t, 7>;

bool IolConnect(IGuiBridge& dtm);
void IolDisconnect(IGuiBridge& dtm);
int32_t IolRead(IGuiBridge& dtm, int16_t index, int16_t subindex, Values& data);
int32_t IolWrite(IGuiBridge& dtm, int16_t index, int16_t subindex, const Values& data);
int32_t IolGetMode(IGuiBridge& dtm, ModeRecord& mode);
int32_t IolTransferImage(IGuiBridge& dtm, const Values& outputs, Values& inputs, int16_t& status,
                         int16_t outputLength);
int32_t IolReadOutputImage(IGuiBridge& dtm, Values& outputs, int16_t length);
int32_t IolGetEvent(IGuiBridge& dtm, EventRecord& record);
int32_t IolSetMode(IGuiBridge& dtm, uint8_t mode, int16_t cycle);
int32_t IolChangeCycle(IGuiBridge& dtm, int16_t cycle);

}  // namespace kestrova
