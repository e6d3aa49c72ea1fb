#include "platform/LinuxUsbInventory.h"

#include <libudev.h>

#include <memory>

#include "tools/Vb.h"

namespace kestrova::platform {

ui::InventoryRecord ShapeInventoryRecord(const UsbTty& device) {
    ui::InventoryRecord record;
    const std::string instance = device.Serial.empty() ? device.Node : device.Serial;
    record.DeviceID =
        "USB\\VID_" + UCase(device.VendorId) + "&PID_" + UCase(device.ProductId) + "\\" + instance;
    std::string product = Trim(device.Product);
    if (product.empty()) product = "USB Serial Port";
    record.Name = product + " (" + device.Node + ")";
    return record;
}

namespace {

struct UdevDeleter {
    void operator()(udev* u) const { udev_unref(u); }
    void operator()(udev_enumerate* e) const { udev_enumerate_unref(e); }
    void operator()(udev_device* d) const { udev_device_unref(d); }
};

std::string Attr(udev_device* device, const char* name) {
    const char* value = udev_device_get_sysattr_value(device, name);
    return value ? value : "";
}

}  // namespace

std::vector<ui::InventoryRecord> LinuxUsbInventory() {
    std::unique_ptr<udev, UdevDeleter> context(udev_new());
    if (!context) Raise(vberr::PathNotFound, "The USB device inventory (udev) is not available");
    std::unique_ptr<udev_enumerate, UdevDeleter> enumerate(udev_enumerate_new(context.get()));
    if (!enumerate) Raise(vberr::PathNotFound, "The USB device inventory (udev) is not available");
    udev_enumerate_add_match_subsystem(enumerate.get(), "tty");
    if (udev_enumerate_scan_devices(enumerate.get()) < 0)
        Raise(vberr::PathNotFound, "The USB device inventory (udev) cannot be read");

    std::vector<ui::InventoryRecord> records;
    udev_list_entry* entry = nullptr;
    udev_list_entry_foreach(entry, udev_enumerate_get_list_entry(enumerate.get())) {
        const char* path = udev_list_entry_get_name(entry);
        std::unique_ptr<udev_device, UdevDeleter> tty(
            udev_device_new_from_syspath(context.get(), path));
        if (!tty) continue;
        // The parent is owned by the child; it is not unreferenced separately.
        udev_device* usb =
            udev_device_get_parent_with_subsystem_devtype(tty.get(), "usb", "usb_device");
        if (!usb) continue;
        UsbTty device;
        device.VendorId = Attr(usb, "idVendor");
        device.ProductId = Attr(usb, "idProduct");
        if (device.VendorId.empty() || device.ProductId.empty()) continue;
        device.Serial = Attr(usb, "serial");
        device.Product = Attr(usb, "product");
        const char* name = udev_device_get_sysname(tty.get());
        device.Node = name ? name : "";
        if (device.Node.empty()) continue;
        records.push_back(ShapeInventoryRecord(device));
    }
    return records;
}

}  // namespace kestrova::platform
