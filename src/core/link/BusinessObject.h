// What a host holds of its business object: the object the control calls, and what the frame
// asks of it itself (the USB inventory, and control lines when it is a simulated master).
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "link/IGuiBridge.h"
#include "ui/Services.h"

namespace kestrova {

struct BusinessObject {
    std::shared_ptr<IGuiBridge> Dtm;
    std::function<std::vector<ui::InventoryRecord>()> Inventory;
    // "plug 7c32 COM4"; throws std::invalid_argument when refused. Empty when the business
    // object takes no control lines.
    std::function<std::string(std::string_view)> Control;
};

}  // namespace kestrova
