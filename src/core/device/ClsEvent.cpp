#include "device/ClsEvent.h"

#include "tools/Vb.h"

namespace kestrova {

void ClsEvent::Copy(const ClsEvent& source) {
    *this = source;
}

uint8_t ClsEvent::InstTypMode() const {
    return CByte(int64_t{Instance} + int64_t{Type} + int64_t{Mode});
}

}  // namespace kestrova
