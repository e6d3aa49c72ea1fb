// The control's further interfaces, each group implemented in a file of its own.
#include "DtmGuiObject.h"
#include "InPlaceControl.h"

namespace kestrova::win {

std::vector<DtmGuiFacetMaker> DtmGuiFacets() {
    return {&InPlaceControl::Make};
}

}  // namespace kestrova::win
