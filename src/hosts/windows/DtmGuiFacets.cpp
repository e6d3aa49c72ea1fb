// The control's further interfaces, each group implemented in a file of its own.
#include "DtmGuiObject.h"

namespace kestrova::win {

std::vector<DtmGuiFacetMaker> DtmGuiFacets() {
    return {};
}

}  // namespace kestrova::win
