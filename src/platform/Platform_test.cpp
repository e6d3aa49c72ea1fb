#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "platform/DesktopApps.h"
#include "platform/LinuxUsbInventory.h"
#include "tools/Discovery.h"
#include "tools/Vb.h"

namespace kestrova::platform {
namespace {

namespace fs = std::filesystem;

TEST(UsbInventoryShape, RecordsReadLikeThePnpInventory) {
    struct Row {
        UsbTty device;
        std::string id, name;
    };
    const Row rows[] = {
        {{"0403", "7c31", "HV0042", "IO-Link USB Master", "ttyUSB0"},
         "USB\\VID_0403&PID_7C31\\HV0042",
         "IO-Link USB Master (ttyUSB0)"},
        // No serial number: the node keeps the identifier unique.
        {{"0403", "6001", "", "FT232R USB UART", "ttyUSB3"},
         "USB\\VID_0403&PID_6001\\ttyUSB3",
         "FT232R USB UART (ttyUSB3)"},
        {{"0403", "7C33", "D1", "  ", "ttyACM1"},
         "USB\\VID_0403&PID_7C33\\D1",
         "USB Serial Port (ttyACM1)"},
    };
    for (const Row& r : rows) {
        const ui::InventoryRecord rec = ShapeInventoryRecord(r.device);
        EXPECT_EQ(rec.DeviceID, r.id);
        EXPECT_EQ(rec.Name, r.name);
    }
}

// The shaped record must be what the discovery understands: the port comes out of the name.
TEST(UsbInventoryShape, DiscoveryReadsThePortOfAShapedRecord) {
    const auto rec = ShapeInventoryRecord({"0403", "7c31", "X", "IO-Link USB Master", "ttyUSB0"});
    EXPECT_EQ(PortOfName(rec.Name), "ttyUSB0");
}

TEST(UsbInventory, EnumerationDoesNotFailOnThisHost) {
    // Whatever is plugged in here, reading the inventory answers records or raises VbError.
    try {
        for (const auto& rec : LinuxUsbInventory())
            EXPECT_EQ(rec.DeviceID.rfind("USB\\VID_", 0), 0u);
    } catch (const VbError&) {
    }
}

TEST(MimeApps, DefaultsAreReadFromTheirSectionOnly) {
    std::istringstream in(
        "[Added Associations]\n"
        "application/pdf=added.desktop;\n"
        "\n"
        "[Default Applications]\r\n"
        "# a comment\n"
        "text/plain=gedit.desktop\n"
        "Application/PDF = org.gnome.Evince.desktop;okular.desktop;\r\n"
        "[Removed Associations]\n"
        "application/pdf=removed.desktop\n");
    const auto apps = DefaultsFromMimeApps(in, "application/pdf");
    ASSERT_EQ(apps.size(), 2u);
    EXPECT_EQ(apps[0], "org.gnome.Evince.desktop");
    EXPECT_EQ(apps[1], "okular.desktop");
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
        {"[Desktop Entry]\nName=No exec\n", ""},
    };
    for (const Row& r : rows) {
        std::istringstream in(r.entry);
        EXPECT_EQ(ExecFromDesktopEntry(in), r.exec) << r.entry;
    }
}

TEST(CommandLine, QuotesGroupAndBlanksSeparate) {
    EXPECT_EQ(SplitCommandLine("evince"), std::vector<std::string>{"evince"});
    EXPECT_EQ(SplitCommandLine("\"/opt/My Viewer/view\"  --page=1"),
              (std::vector<std::string>{"/opt/My Viewer/view", "--page=1"}));
    EXPECT_EQ(SplitCommandLine("a \"b \\\"c\\\"\" \"\""),
              (std::vector<std::string>{"a", "b \"c\"", ""}));
    EXPECT_TRUE(SplitCommandLine("   ").empty());
}

class XdgFixture : public ::testing::Test {
  protected:
    void SetUp() override {
        root_ =
            fs::temp_directory_path() /
            ("kestrova_xdg_" + std::to_string(::testing::UnitTest::GetInstance()->random_seed()) +
             "_" + ::testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::remove_all(root_);
        fs::create_directories(root_ / "config");
        fs::create_directories(root_ / "home/applications");
        fs::create_directories(root_ / "usr/applications/kde4");
        dirs_.Config = {(root_ / "config").string()};
        dirs_.Data = {(root_ / "home").string(), (root_ / "usr").string()};
        dirs_.Desktops = {"kde"};
    }
    void TearDown() override { fs::remove_all(root_); }
    void Write(const fs::path& rel, const std::string& text) { std::ofstream(root_ / rel) << text; }
    fs::path root_;
    XdgDirs dirs_;
};

TEST_F(XdgFixture, UserChoiceWinsOverSystemDefaults) {
    Write("usr/applications/mimeapps.list",
          "[Default Applications]\napplication/pdf=sys.desktop\n");
    Write("config/mimeapps.list", "[Default Applications]\napplication/pdf=mine.desktop\n");
    Write("usr/applications/sys.desktop", "[Desktop Entry]\nExec=sysview %f\n");
    Write("home/applications/mine.desktop", "[Desktop Entry]\nExec=myview %U\n");
    EXPECT_EQ(DefaultApplicationFor("application/pdf", dirs_), "myview");
}

TEST_F(XdgFixture, DesktopSpecificListComesFirst) {
    Write("config/mimeapps.list", "[Default Applications]\napplication/pdf=generic.desktop\n");
    Write("config/kde-mimeapps.list",
          "[Default Applications]\napplication/pdf=kde4-okular.desktop\n");
    Write("usr/applications/generic.desktop", "[Desktop Entry]\nExec=generic %f\n");
    // A vendor-prefixed entry name is found in its vendor folder.
    Write("usr/applications/kde4/okular.desktop", "[Desktop Entry]\nExec=okular %U\n");
    EXPECT_EQ(DefaultApplicationFor("application/pdf", dirs_), "okular");
}

TEST_F(XdgFixture, MissingEntryFallsToTheNextNamedApplication) {
    Write("config/mimeapps.list",
          "[Default Applications]\napplication/pdf=uninstalled.desktop;second.desktop;\n");
    Write("usr/applications/second.desktop", "[Desktop Entry]\nExec=second %f\n");
    EXPECT_EQ(DefaultApplicationFor("application/pdf", dirs_), "second");
}

TEST_F(XdgFixture, NothingRegisteredGivesEmptyText) {
    Write("config/mimeapps.list", "[Default Applications]\ntext/plain=gedit.desktop\n");
    EXPECT_EQ(DefaultApplicationFor("application/pdf", dirs_), "");
    EXPECT_EQ(OpenCommandForExtension(".doc"), "");
}

TEST(ExecutableDirectory, IsTheFolderOfThisTest) {
    const std::string dir = ExecutableDirectory();
    ASSERT_FALSE(dir.empty());
    EXPECT_TRUE(fs::exists(fs::path(dir) / "platform_tests"));
}

TEST(StartDocument, UnknownProgramIsReportedNotThrown) {
    EXPECT_FALSE(StartDocument("", "/tmp/x.pdf"));
    EXPECT_FALSE(StartDocument("/nonexistent/kestrova-viewer", "/tmp/x.pdf"));
    EXPECT_TRUE(StartDocument("true", "/tmp/x.pdf"));
}

}  // namespace
}  // namespace kestrova::platform
