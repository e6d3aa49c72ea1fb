#include "tools/Discovery.h"

#include <gtest/gtest.h>

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

TEST(ProductTable, HoldsTheThreeModels) {
    ASSERT_EQ(ProductTable().size(), 3u);
    EXPECT_STREQ(FindProduct("7c31")->DisplayName, "Halver+Voss IO-Link USB Master");
    EXPECT_STREQ(FindProduct("7c31")->PartNumber, "880731");
    EXPECT_STREQ(FindProduct("7c32")->DisplayName, "Ostrel IO-Link USB Master");
    EXPECT_STREQ(FindProduct("7c32")->PartNumber, "");
    EXPECT_STREQ(FindProduct("7c33")->PartNumber, "DV-LNK-0417");
    EXPECT_EQ(FindProduct("7C31"), nullptr);  // ids are lower case
    EXPECT_EQ(FindProduct(""), nullptr);
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
    s.Plug("7c31", "COM12");
    s.Plug("7c33", "ttyUSB0");
    struct Row {
        const char* arg;
        bool present;
    };
    const Row rows[] = {
        {"7c31COM12", true},  {"7C31com12", true},   {"7c31COM1", false},
        {"7c32COM12", false}, {"7c33ttyUSB0", true}, {"7c31COM9", false},  // other vendor id
        {"7c31", false},      {"", false},
    };
    for (const Row& r : rows) EXPECT_EQ(IsMasterPresent(s, r.arg), r.present) << r.arg;
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
    struct Row {
        int16_t language;
        const char* unsupported;
    };
    for (const Row& r : {Row{9, "Vantra IO-Link USB Master (not supported)"},
                         Row{7, "Vantra IO-Link USB Master (nicht unterst\xC3\xBCtzt)"},
                         Row{0, "Vantra IO-Link USB Master (not supported)"}}) {
        HostServices s;
        AddNoise(s);
        s.Plug("7c31", "COM3");
        s.Plug("7c99", "COM5", "Vantra IO-Link USB Master");
        s.Plug("7c77", "COM8", "Other USB IO-Link Master");
        s.Plug("7c33", "COM4", "Dravik IO-Link USB Master");
        PortList list;
        bool changed = false;
        EXPECT_TRUE(ListMasters(s, r.language, list, changed));
        EXPECT_TRUE(changed);
        const std::string alt =
            std::string("Other USB IO-Link Master ") + NotSupportedText(r.language);
        EXPECT_EQ(list, (PortList{{"COM3", "IO-Link USB Master"},
                                  {"COM5", r.unsupported},
                                  {"COM8", alt},
                                  {"COM4", "Dravik IO-Link USB Master"}}));
    }
}

TEST(ListMasters, ReportsChangesOnly) {
    HostServices s;
    s.Plug("7c31", "COM3");
    PortList list;
    bool changed = false;
    ASSERT_TRUE(ListMasters(s, 9, list, changed));
    EXPECT_TRUE(changed);

    EXPECT_TRUE(ListMasters(s, 9, list, changed));
    EXPECT_FALSE(changed);

    // Same count, other master: a change.
    s.UnplugAll();
    s.Plug("7c32", "COM4");
    EXPECT_TRUE(ListMasters(s, 9, list, changed));
    EXPECT_TRUE(changed);
    EXPECT_EQ(list[0].Text, "COM4");

    // A placeholder for a missing port is always replaced.
    for (const char* mark : {"COM3(not found)", "COM3(nicht gefunden)"}) {
        list = {{mark, "H+V IO-Link USB Master"}};
        EXPECT_TRUE(ListMasters(s, 9, list, changed));
        EXPECT_TRUE(changed) << mark;
        EXPECT_EQ(list, (PortList{{"COM4", "IO-Link USB Master"}}));
    }

    // Everything gone: nothing found, and the emptied list is a change.
    s.UnplugAll();
    EXPECT_FALSE(ListMasters(s, 9, list, changed));
    EXPECT_TRUE(changed);
    EXPECT_TRUE(list.empty());
}

TEST(ListMasters, OnePortOneEntry) {
    HostServices s;
    s.Plug("7c31", "COM3");
    s.Plug("7c33", "COM3");
    PortList list;
    bool changed = false;
    ListMasters(s, 9, list, changed);
    ASSERT_EQ(list.size(), 1u);
}

TEST(FindNewMaster, FirstSupportedMasterOnly) {
    HostServices s;
    AddNoise(s);
    EXPECT_EQ(FindNewMaster(s), "");
    s.Plug("7c99", "COM5");
    EXPECT_EQ(FindNewMaster(s), "");
    s.Plug("7c33", "COM7");
    s.Plug("7c31", "COM3");
    EXPECT_EQ(FindNewMaster(s), "COM7");
}

}  // namespace
}  // namespace kestrova
