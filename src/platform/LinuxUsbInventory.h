// The USB inventory of a Linux host: serial (tty) devices behind USB, shaped as the inventory
// records the discovery reads ("USB\VID_0403&PID_7C31\<serial>", "<product> (ttyUSB0)").
#pragma once

#include <string>
#include <vector>

#include "ui/Services.h"

namespace kestrova::platform {

// What udev tells about one tty device and its USB parent.
struct UsbTty {
    std::string VendorId;   // "0403" (idVendor)
    std::string ProductId;  // "7c31" (idProduct)
    std::string Serial;     // may be empty
    std::string Product;    // product string, may be empty
    std::string Node;       // device node name ("ttyUSB0")
};

// The record for one device. Ids are written in upper case as the Windows inventory writes
// them; a device without serial number gets its node name instead, a device without product
// string the generic text "USB Serial Port".
ui::InventoryRecord ShapeInventoryRecord(const UsbTty& device);

// Enumerates the tty devices with a USB parent. Raises VbError when udev cannot be used.
std::vector<ui::InventoryRecord> LinuxUsbInventory();

}  // namespace kestrova::platform
