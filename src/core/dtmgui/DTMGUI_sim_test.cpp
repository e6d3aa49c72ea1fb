// The main control and its General and About pages against the simulated master.
#include <gtest/gtest.h>

#include <algorithm>

#include "dtmgui/DTMGUI.h"
#include "dtmgui/testing/HostRig.h"
#include "sim/Simulator.h"

namespace kestrova {
namespace {

class SimServices : public testing::HostServices {
  public:
    std::vector<ui::InventoryRecord> UsbInventory() override {
        return Sim ? Sim->Inventory() : Inventory;
    }
    sim::Simulator* Sim = nullptr;
};

class DtmguiSimTest : public ::testing::Test {
  protected:
    void Open(int functionId, sim::Options options = {}) {
        options.language = options.language ? options.language : 1033;
        sim = std::make_shared<sim::Simulator>(options, [this] { return services.Clock.NowMs(); });
        services.Sim = sim.get();
        control = std::make_unique<DTMGUI>(services);
        ASSERT_TRUE(control->Init(
            "inv-1",
            "<FDT xmlns=\"x-schema:DTMFunctionCallSchema.xml\"><FunctionCall functionId=\"" +
                std::to_string(functionId) + "\"/></FDT>",
            sim));
    }
    void Run(int64_t ms) {
        ui::AdvanceClock(*control, services.Clock, services.Clock.NowMs() + ms);
    }
    ui::Control& C(const char* path) {
        ui::Control* c = control->Resolve(path);
        if (!c) throw std::runtime_error(std::string("no control ") + path);
        return *c;
    }
    std::string Status() { return C("StatusBar1").Panels()[0].Text; }
    bool Logged(const std::string& line) {
        const auto& log = sim->Log();
        return std::find(log.begin(), log.end(), line) != log.end();
    }

    SimServices services;
    std::shared_ptr<sim::Simulator> sim;
    std::unique_ptr<DTMGUI> control;
};

TEST_F(DtmguiSimTest, ConfigureShowsTheConnectedMaster) {
    Open(1);
    Run(3000);
    EXPECT_EQ(C("LabelInterface").Caption(), "Interface: Halver+Voss IO-Link USB Master");
    EXPECT_TRUE(C("ImageLogo(1)").Visible());
    EXPECT_EQ(C("UCGeneral1.CBComPorts").Text(), "COM3");
    EXPECT_EQ(C("UCGeneral1.Label14").Caption(), "880731");
    EXPECT_FALSE(C("UCGeneral1.Label13").Caption().empty());
    EXPECT_EQ(Status(), "Connected");
    EXPECT_EQ(C("StatusBar1").Panels()[0].Picture, "lamp_on");
    EXPECT_EQ(C("UCGeneral1.ShapeConnected").FillColor(), 65280u);
    EXPECT_FALSE(C("UCGeneral1.CBComPorts").Enabled());
    EXPECT_EQ(C("TreeMenu").Nodes()[0].Text, "General");
    EXPECT_TRUE(Logged("FUNCID_CONFIGURE ausgew\xC3\xA4hlt"));
}

TEST_F(DtmguiSimTest, UnplugAndReplugAnotherMaster) {
    Open(1);
    Run(3000);
    sim->Control("unplug");
    Run(3000);
    EXPECT_NE(Status(), "Connected");
    EXPECT_EQ(C("LabelInterface").Caption(), "Interface: USB device not connected");
    EXPECT_EQ(C("UCGeneral1.CBComPorts").Text(), "COM3(not found)");
    EXPECT_EQ(control->Gui().ProductId, "");
    sim->Control("plug 7c33 COM4");
    Run(5000);
    EXPECT_EQ(C("LabelInterface").Caption(), "Interface: Dravik IO-Link USB Master");
    EXPECT_EQ(control->Gui().ProductId, "7c33");
}

TEST_F(DtmguiSimTest, AboutOnlyShowsVendorOfTheMaster) {
    sim::Options o;
    o.product = "7c33";
    Open(3, o);
    Run(2000);
    EXPECT_EQ(C("TreeMenu").Nodes().size(), 1u);
    EXPECT_EQ(C("IOLinkAbout1.LabelUrl").Caption(), "URL: https://www.dravik.example");
    EXPECT_EQ(C("LabelInterface").Caption(), "Interface: Dravik IO-Link USB Master");
    EXPECT_TRUE(control->PrepareToRelease());
}

}  // namespace
}  // namespace kestrova
