#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>

#include "platform/DesktopApps.h"
#include "platform/LinuxUsbInventory.h"
#include "tools/Discovery.h"
#include "tools/Vb.h"

namespace kestrova::platform {
namespace {

namespace fs = std::filesystem;

// The shaped record must be what the discovery understands: the port comes out of the name.
TEST(UsbInventory, RecordsReadLikeThePnpInventory) {
    struct Row {
        UsbTty device;
        std::string id, name;
    };
    const Row rows[] = {{{"0403", "7c31", "HV0042", "IO-Link USB Master", "ttyUSB0"},
                         "USB\\VID_0403&PID_7C31\\HV0042",
                         "IO-Link USB Master (ttyUSB0)"},
                        // No serial number: the node keeps the identifier unique.
                        {{"0403", "6001", "", "FT232R USB UART", "ttyUSB3"},
                         "USB\\VID_0403&PID_6001\\ttyUSB3",
                         "FT232R USB UART (ttyUSB3)"},
                        {{"0403", "7C33", "D1", "  ", "ttyACM1"},
                         "USB\\VID_0403&PID_7C33\\D1",
                         "USB Serial Port (ttyACM1)"}};
    for (const Row& r : rows) {
        const ui::InventoryRecord rec = ShapeInventoryRecord(r.device);
        EXPECT_EQ(rec.DeviceID, r.id);
        EXPECT_EQ(rec.Name, r.name);
        EXPECT_EQ(PortOfName(rec.Name), r.device.Node);
    }
    // Whatever is plugged in here, reading the inventory answers records or raises VbError.
    try {
        for (const auto& rec : LinuxUsbInventory())
            EXPECT_EQ(rec.DeviceID.rfind("USB\\VID_", 0), 0u);
    } catch (const VbError&) {
    }
}

TEST(MimeApps, DefaultsAreReadFromTheirSectionOnly) {
    std::istringstream in(
        "[Added Associations]\napplication/pdf=added.desktop;\n\n[Default Applications]\r\n"
        "# a comment\ntext/plain=gedit.desktop\n"
        "Application/PDF = org.gnome.Evince.desktop;okular.desktop;\r\n"
        "[Removed Associations]\napplication/pdf=removed.desktop\n");
    EXPECT_EQ(DefaultsFromMimeApps(in, "application/pdf"),
              (std::vector<std::string>{"org.gnome.Evince.desktop", "okular.desktop"}));
}

TEST(DesktopEntry, ExecLosesFieldCodes) {
    struct Row {
        const char* entry;
        const char* exec;
    };
    const Row rows[] = {
        {"[Desktop Entry]\nName=Evince\nExec=evince %U\n", "evince"},
        {"[Desktop Entry]\nExec=okular --icon %i %f --caption %c\n", "okular --icon --caption"},
        {"[Desktop Entry]\nExec=\"/opt/My Viewer/view\" --page=1 %F\n",
         "\"/opt/My Viewer/view\" --page=1"},
        {"[Desktop Entry]\nExec=pdfview --zoom=100%% %u\n", "pdfview --zoom=100%"},
        {"[Desktop Entry]\nExec=flatpak run --file-forwarding org.x.Viewer @@u %U @@\n",
         "flatpak run --file-forwarding org.x.Viewer"},
        // Actions have Exec lines of their own; the main group's counts.
        {"[Desktop Action new]\nExec=other\n[Desktop Entry]\nExec=main %f\n", "main"},
        {"[Desktop Entry]\nExec=gone %f\nHidden=true\n", ""},
        {"[Desktop Entry]\nName=No exec\n", ""}};
    for (const Row& r : rows) {
        std::istringstream in(r.entry);
        EXPECT_EQ(ExecFromDesktopEntry(in), r.exec) << r.entry;
    }
}

TEST(DesktopEntry, DefaultApplicationByPrecedence) {
    const fs::path root = fs::temp_directory_path() / ("kestrova_xdg_" + std::to_string(getpid()));
    fs::remove_all(root);
    const XdgDirs dirs{
        {(root / "config").string()}, {(root / "home").string(), (root / "usr").string()}, {"kde"}};
    const std::string pdf = "[Default Applications]\napplication/pdf=", sys = "usr/applications/";
    const std::string entry = "[Desktop Entry]\nExec=";
    // Each step adds a choice that takes precedence over the ones before.
    const std::pair<std::map<std::string, std::string>, const char*> steps[] = {
        {{{sys + "mimeapps.list", "[Default Applications]\ntext/plain=gedit.desktop\n"}}, ""},
        {{{sys + "mimeapps.list", pdf + "sys.desktop\n"}, {sys + "sys.desktop", entry + "sys %f"}},
         "sys"},
        // The user's list wins; an entry that is not installed falls to the next one named.
        {{{"config/mimeapps.list", pdf + "gone.desktop;mine.desktop\n"},
          {"home/applications/mine.desktop", entry + "mine %U"}},
         "mine"},
        // The desktop's own list comes first; a vendor-prefixed entry lives in its vendor folder.
        {{{"config/kde-mimeapps.list", pdf + "kde4-okular.desktop\n"},
          {sys + "kde4/okular.desktop", entry + "okular %U"}},
         "okular"}};
    for (const auto& [files, exec] : steps) {
        for (const auto& [name, text] : files) {
            fs::create_directories((root / name).parent_path());
            std::ofstream(root / name) << text;
        }
        EXPECT_EQ(DefaultApplicationFor("application/pdf", dirs), exec);
    }
    fs::remove_all(root);
    EXPECT_EQ(OpenCommandForExtension(".doc"), "");
}

TEST(Programs, FoundAndStartedWithoutAShell) {
    // Blanks separate, quotes group, a backslash in quotes escapes.
    EXPECT_EQ(SplitCommandLine("\"/opt/My Viewer/view\"  --page=1"),
              (std::vector<std::string>{"/opt/My Viewer/view", "--page=1"}));
    EXPECT_EQ(SplitCommandLine("a \"b \\\"c\\\"\" \"\""),
              (std::vector<std::string>{"a", "b \"c\"", ""}));
    EXPECT_TRUE(SplitCommandLine("   ").empty());
    EXPECT_FALSE(StartDocument("", "/tmp/x.pdf"));
    EXPECT_FALSE(StartDocument("/nonexistent/kestrova-viewer", "/tmp/x.pdf"));
    EXPECT_TRUE(StartDocument("true", "/tmp/x.pdf"));
}

}  // namespace
}  // namespace kestrova::platform
