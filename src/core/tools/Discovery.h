// USB master discovery: which IO-Link USB masters the operating system's device inventory shows,
// on which serial port each is, and the table of supported master models.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "ui/Services.h"

namespace kestrova {

// One supported master model. Brand fields are empty for the maker's own master.
struct ProductInfo {
    const char* PnpId;         // product id as the inventory writes it ("PID_7C31")
    const char* ShortId;       // lower-case product id ("7c31")
    const char* DisplayName;   // "Halver+Voss IO-Link USB Master"
    const char* PartNumber;    // empty when the model has none
    const char* ManualGerman;  // data sheet file in the manual folder, empty when found otherwise
    const char* ManualEnglish;
    const char* RightsLine;  // years and rights holder
    const char* ServicePhone;
    const char* WebAddress;
    int Logo;       // element of the header logo array shown for it
    int SmallLogo;  // element of the small right-hand logo array, 0 for none
};

// The supported models, first OEM brand first.
const std::vector<ProductInfo>& ProductTable();
// The model with this short id (exact, lower case), or null.
const ProductInfo* FindProduct(std::string_view shortId);

inline constexpr const char* kVendorIdFragment = "VID_0403";
inline constexpr const char* kGenericMasterName = "IO-Link USB Master";
inline constexpr const char* kGenericMasterNameAlt = "USB IO-Link Master";

// Marks put on combo entries: a known port whose master is missing, a master of an unknown model.
std::string NotFoundText(int16_t language);
std::string NotSupportedText(int16_t language);

// One port entry: the text shown in the port list (the port name) and the master's description.
struct PortEntry {
    std::string Text;
    std::string Description;
    bool operator==(const PortEntry&) const = default;
};
using PortList = std::vector<PortEntry>;

// The port named in an inventory name: the text in the parentheses that start with "(COM" (or
// "(tty" for Linux device nodes), trimmed; empty when the name carries none.
std::string PortOfName(std::string_view name);

// Whether a supported master with the product id (first four characters) is present on the port
// (the rest), e.g. "7c31COM3". A failing inventory read finds nothing.
bool IsMasterPresent(ui::Services& services, std::string_view idAndPort);

// Reads the masters present: supported models under their description, masters of unknown
// models with the not-supported mark. When the result differs from list (other entries, another
// count, or list holds a not-found placeholder) or holds a master of an unknown model, list is
// replaced and changed set; otherwise list stays and changed is cleared. Answers whether any
// master was found.
bool ListMasters(ui::Services& services, int16_t language, PortList& list, bool& changed);

// The port of the first supported master present, or empty text: a master to adopt when the
// one in use is gone.
std::string FindNewMaster(ui::Services& services);

}  // namespace kestrova
