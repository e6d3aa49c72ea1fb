#include "tools/Discovery.h"

#include "tools/Vb.h"

namespace kestrova {

namespace {

// The brand data of the two OEM masters is the partners' own; the maker's master has none.
const std::vector<ProductInfo> kProducts = {
    {"PID_7C31", "7c31", "Halver+Voss IO-Link USB Master", "880731", "", "",
     "\xC2\xA9 2009-2025 Halver+Voss GmbH & Co. KG", "+49 2351 555-0731",
     "https://www.halver-voss.example", 1, 1},
    {"PID_7C32", "7c32", "Ostrel IO-Link USB Master", "", "Generic_Vantra_Master.pdf",
     "Generic_Vantra_Master.pdf", "", "", "", 0, 0},
    {"PID_7C33", "7c33", "Dravik IO-Link USB Master", "DV-LNK-0417", "ds_4417209_ger_de.pdf",
     "ds_4417209_eng_gb.pdf", "\xC2\xA9 2011-2025 Dravik Automation AG", "+49 711 555-4172",
     "https://www.dravik.example", 2, 2},
};

// Inventory records, or none when the inventory cannot be read.
std::vector<ui::InventoryRecord> ReadInventory(ui::Services& services) {
    try {
        return services.UsbInventory();
    } catch (...) {
        return {};
    }
}

size_t PortMarker(std::string_view name) {
    size_t at = name.find("(COM");
    if (at == std::string_view::npos) at = name.find("(tty");
    return at;
}

bool Contains(std::string_view text, std::string_view part) {
    return text.find(part) != std::string_view::npos;
}

// Whether an upper-cased inventory id names one of the supported models.
bool IsSupportedId(std::string_view id) {
    for (const ProductInfo& p : kProducts)
        if (Contains(id, p.PnpId)) return true;
    return false;
}

}  // namespace

const std::vector<ProductInfo>& ProductTable() {
    return kProducts;
}

const ProductInfo* FindProduct(std::string_view shortId) {
    for (const ProductInfo& p : kProducts)
        if (shortId == p.ShortId) return &p;
    return nullptr;
}

std::string NotFoundText(int16_t language) {
    return language == 7 ? "(nicht gefunden)" : "(not found)";
}

std::string NotSupportedText(int16_t language) {
    return language == 7 ? "(nicht unterst\xC3\xBCtzt)" : "(not supported)";
}

std::string PortOfName(std::string_view name) {
    const size_t open = PortMarker(name);
    if (open == std::string_view::npos) return {};
    const size_t close = name.find(')', open);
    if (close == std::string_view::npos) return {};
    return Trim(name.substr(open + 1, close - open - 1));
}

bool IsMasterPresent(ui::Services& services, std::string_view idAndPort) {
    const std::string product = "PID_" + UCase(idAndPort.substr(0, 4));
    const std::string port = UCase(idAndPort.size() > 4 ? idAndPort.substr(4) : std::string_view{});
    for (const ui::InventoryRecord& record : ReadInventory(services)) {
        const std::string id = UCase(record.DeviceID);
        if (!Contains(id, kVendorIdFragment) || !Contains(id, product)) continue;
        const std::string name = PortOfName(record.Name);
        if (!name.empty() && UCase(name) == port) return true;
    }
    return false;
}

bool ListMasters(ui::Services& services, int16_t language, PortList& list, bool& changed) {
    PortList found;
    bool unsupported = false;
    auto add = [&found](std::string port, std::string description) {
        // One entry per port: a second device claiming the same port is ignored.
        for (const PortEntry& e : found)
            if (e.Text == port) return;
        found.push_back({std::move(port), std::move(description)});
    };
    for (const ui::InventoryRecord& record : ReadInventory(services)) {
        const std::string id = UCase(record.DeviceID);
        if (!Contains(id, kVendorIdFragment)) continue;
        const size_t marker = PortMarker(record.Name);
        const std::string port = PortOfName(record.Name);
        if (marker == std::string::npos || port.empty()) continue;
        const std::string before = record.Name.substr(0, marker);
        if (IsSupportedId(id)) {
            add(port, RTrim(before));
        } else if (Contains(record.Name, kGenericMasterName) ||
                   Contains(record.Name, kGenericMasterNameAlt)) {
            add(port, before + NotSupportedText(language));
            // A master of an unknown model makes every read count as a change.
            unsupported = true;
        }
    }

    changed = unsupported || found != list;
    for (const PortEntry& e : list)
        if (Contains(e.Text, NotFoundText(9)) || Contains(e.Text, NotFoundText(7))) changed = true;
    if (changed) list = found;
    services.RenewInventory();
    return !found.empty();
}

std::string FindNewMaster(ui::Services& services) {
    for (const ui::InventoryRecord& record : ReadInventory(services)) {
        const std::string id = UCase(record.DeviceID);
        if (!Contains(id, kVendorIdFragment) || !IsSupportedId(id)) continue;
        const std::string port = PortOfName(record.Name);
        if (!port.empty()) return port;
    }
    return {};
}

}  // namespace kestrova
