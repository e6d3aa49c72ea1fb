#include "tools/Discovery.h"

#include "dtmgui/testing/HostRig.h"

namespace kestrova {
namespace {

using testing::HostServices;

// Other USB serial adapters of the same chip maker and unrelated ports around the masters.
void AddNoise(HostServices& s) {
    s.Inventory.push_back({"USB\\VID_0403&PID_6001\\A50285BI", "USB Serial Port (COM1)"});
    s.Inventory.push_back({"ACPI\\PNP0501\\0", "Communications Port (COM2)"});
    s.Inventory.push_back({"USB\\VID_1A2C&PID_7C31\\X", "IO-Link USB Master (COM9)"});
    s.Inventory.push_back({"USB\\VID_0403&PID_7C31\\NONAME", ""});
    s.Inventory.push_back({"USB\\VID_0403&PID_7C31\\BROKEN", "IO-Link USB Master (COM"});
}

TEST(PortOfName, CutsThePortOutOfTheName) {
    EXPECT_EQ(PortOfName("IO-Link USB Master (COM3)"), "COM3");
    EXPECT_EQ(PortOfName("IO-Link USB Master ( COM12 )"), "");  // "(COM" must be whole
    EXPECT_EQ(PortOfName("IO-Link USB Master (COM12 )"), "COM12");
    EXPECT_EQ(PortOfName("IO-Link USB Master (ttyUSB0)"), "ttyUSB0");
    EXPECT_EQ(PortOfName("IO-Link USB Master (COM3"), "");
    EXPECT_EQ(PortOfName(""), "");
}

TEST(IsMasterPresent, MatchesModelAndPort) {
    HostServices s;
    AddNoise(s);
    s.Plug("7c99", "COM5");  // an unknown model is never a new master
    EXPECT_EQ(FindNewMaster(s), "");
    s.Plug("7c33", "ttyUSB0");
    s.Plug("7c31", "COM12");
    EXPECT_EQ(FindNewMaster(s), "ttyUSB0");
    // COM9 is on an adapter of another vendor.
    const std::pair<const char*, bool> rows[] = {
        {"7c31COM12", true},   {"7C31com12", true}, {"7c31COM1", false}, {"7c32COM12", false},
        {"7c33ttyUSB0", true}, {"7c31COM9", false}, {"7c31", false},     {"", false}};
    for (const auto& [arg, present] : rows) EXPECT_EQ(IsMasterPresent(s, arg), present) << arg;
}

TEST(IsMasterPresent, FailingInventoryFindsNothing) {
    HostServices s;
    s.Plug("7c31", "COM3");
    s.InventoryFails = true;
    EXPECT_FALSE(IsMasterPresent(s, "7c31COM3"));
    EXPECT_EQ(FindNewMaster(s), "");
    PortList list;
    bool changed = true;
    EXPECT_FALSE(ListMasters(s, 9, list, changed));
    EXPECT_FALSE(changed);
}

TEST(ListMasters, ListsSupportedAndMarksUnknownModels) {
    const std::string en = "(not supported)", de = "(nicht unterst\xC3\xBCtzt)";
    for (const auto& [language, mark] : {std::pair{9, en}, std::pair{7, de}, std::pair{0, en}}) {
        HostServices s;
        AddNoise(s);
        s.Plug("7c31", "COM3");
        s.Plug("7c99", "COM5", "Vantra IO-Link USB Master");
        s.Plug("7c77", "COM8", "Other USB IO-Link Master");
        s.Plug("7c33", "COM4", "Dravik IO-Link USB Master");
        s.Plug("7c33", "COM4", "Second claim on COM4");  // one entry per port
        PortList list;
        bool changed = false;
        EXPECT_TRUE(ListMasters(s, static_cast<int16_t>(language), list, changed));
        EXPECT_TRUE(changed);
        EXPECT_EQ(list, (PortList{{"COM3", "IO-Link USB Master"},
                                  {"COM5", "Vantra IO-Link USB Master " + mark},
                                  {"COM8", "Other USB IO-Link Master " + mark},
                                  {"COM4", "Dravik IO-Link USB Master"}}));
        // With a master of an unknown model every read is a change.
        EXPECT_TRUE(ListMasters(s, static_cast<int16_t>(language), list, changed));
        EXPECT_TRUE(changed);
    }
}

TEST(ListMasters, ReportsChangesOnly) {
    HostServices s;
    s.Plug("7c31", "COM3");
    PortList list;
    bool changed = false;
    auto read = [&] { return ListMasters(s, 9, list, changed); };
    EXPECT_TRUE(read() && changed);
    EXPECT_TRUE(read() && !changed);
    // Same count, other master: a change.
    s.Inventory.clear();
    s.Plug("7c32", "COM4");
    EXPECT_TRUE(read() && changed);
    EXPECT_EQ(list, (PortList{{"COM4", "IO-Link USB Master"}}));
    // A placeholder for a missing port is always replaced.
    for (const char* mark : {"COM3(not found)", "COM3(nicht gefunden)"}) {
        list = {{mark, "H+V IO-Link USB Master"}};
        EXPECT_TRUE(read() && changed) << mark;
        EXPECT_EQ(list, (PortList{{"COM4", "IO-Link USB Master"}}));
    }
    // Everything gone: nothing found, and the emptied list is a change.
    s.Inventory.clear();
    EXPECT_FALSE(read());
    EXPECT_TRUE(changed && list.empty());
}

}  // namespace
}  // namespace kestrova
