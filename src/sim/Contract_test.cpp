// The core's device proxy, binding and discovery running against the simulated master: what
// the control reads must be what the simulated device is.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

#include "SimTestSupport.h"
#include "device/ClsDevice.h"
#include "link/ClsGUI.h"
#include "link/IOLinkComm.h"
#include "tools/Discovery.h"
#include "tools/NumberFormats.h"
#include "tools/Vb.h"
#include "ui/Services.h"

namespace kestrova::sim {
namespace {

// A host whose inventory is the simulator's.
class SimServices : public ui::Services {
  public:
    explicit SimServices(const Simulator& sim) : sim_(sim) {}
    int MsgBox(const std::string&, int, const std::string&) override {
        return ui::msgbox::AnswerOk;
    }
    std::string ShowSave(const std::string&, const std::string&) override { return {}; }
    std::string OpenCommand(const std::string&) override { return {}; }
    bool StartDocument(const std::string&, const std::string&) override { return false; }
    std::string ProgramDirectory() override { return "."; }
    std::vector<ui::InventoryRecord> UsbInventory() override { return sim_.Inventory(); }
    ui::Clock& GetClock() override { return clock_; }

  private:
    const Simulator& sim_;
    ui::VirtualClock clock_;
};

class Contract : public testing::SimTest {
  protected:
    void Bind(Options options = {}) {
        Make(options);
        gui = std::make_unique<ClsGUI>();
        gui->SetDtm(sim);
    }
    // As the control starts: connect, or mark the connect pending.
    void Start() {
        if (!IolConnect(*sim)) gui->ConnectPending = true;
    }
    int16_t Check() {
        gui->CheckOnlineState();
        return gui->ConnectionStateCode;
    }
    // Connecting, then the device found.
    void Found() {
        Start();
        ASSERT_EQ(Check(), LOST);
        sim->Control("advance 200");
        ASSERT_EQ(Check(), FOUND);
    }
    ClsDevice& Dev() { return gui->Device; }

    std::unique_ptr<ClsGUI> gui;
};

TEST_F(Contract, IdentificationAndProcessImageOfEveryProfile) {
    const struct {
        const char *profile, *identity;
    } rows[] = {
        {"sensor",
         "Tarnwick Sensorik GmbH|ODL-3000|Laser distance sensor 30...3000 mm|0x0A2F|"
         "0x00D2A1|0x0000|1.0625.1|230400|in 4 bytes|out 0 bits|SIO|2.3 ms"},
        {"actuator",
         "Brelmoor Automation AG|DOM-16|Digital output module, 16 outputs 0.5 A|"
         "0x0B37|0x020310|0x0001|1.0625.1|230400|in 2 bytes|out 2 bytes|-|1 ms"},
        {"valve",
         "Brelmoor Automation AG|VT-9|Valve terminal, 9 valves|0x0B37|0x020901|0x0000|"
         "1.0625.1|38400|in 10 bits|out 9 bits|-|8 ms"},
        {"legacy",
         "not supported|not supported|not supported|0x0457|0x000451|0x0000|1.0|4800|"
         "in 2 bytes|out 0 bits|SIO|20 ms"},
    };
    const auto length = [&](bool in) {
        int16_t n = -1;
        bool bytes = false;
        in ? Dev().InLength(n, bytes) : Dev().OutLength(n, bytes);
        return (in ? "in " : "out ") + std::to_string(n) + (bytes ? " bytes" : " bits");
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.profile);
        Bind({.profile = r.profile});
        Found();
        std::string identity;
        for (const std::string& part :
             {Dev().VendorName(), Dev().DeviceName(), Dev().FunctionName(), Dev().VendorID(true),
              Dev().DeviceID(true), Dev().FunctionID(true), Dev().Revision(),
              Dev().CurrentBaudrate(), length(true), length(false),
              std::string(Dev().SIOSupport() ? "SIO" : "-"), Str(Dev().MinCycleTime()) + " ms"})
            identity += (identity.empty() ? "" : "|") + part;
        EXPECT_EQ(identity, r.identity);

        // The images are as long as the page says, and ISDU index 0 is the same page.
        Values inputs;
        int16_t status = -1;
        ASSERT_EQ(IolTransferImage(*sim, {}, inputs, status, 0), 0);
        EXPECT_EQ(static_cast<int16_t>(inputs.size()), Dev().ByteInputLength());
        EXPECT_EQ(Ask("IOL::ReadOutputImage").substr(0, 6),
                  "OK:1," + std::to_string(Dev().ByteOutputLength()));
        ModeRecord mode{};
        Values page;
        ASSERT_EQ(IolGetMode(*sim, mode), 0);
        ASSERT_EQ(Dev().ReadParameter(0, 0, page), 0);
        EXPECT_TRUE(std::equal(page.begin(), page.end(), mode.begin() + 3, mode.end()));
    }
}

TEST_F(Contract, StateCodesFollowTheMasterFromPlugToFallback) {
    Bind({.product = ""});
    Start();  // no master yet: the connect waits
    EXPECT_TRUE(gui->ConnectPending);
    EXPECT_EQ(Check(), OFFLINE);
    sim->Control("plug 7c31 COM3");
    gui->SetActualDeviceIdentifier("COM3");
    EXPECT_EQ(Check(), RESETTED);  // and the pending connect goes out
    EXPECT_FALSE(gui->ConnectPending);
    EXPECT_EQ(Check(), LOST);
    sim->Control("advance 200");
    EXPECT_EQ(Check(), FOUND);

    // In SIO the one input byte is the switching state.
    sim->Control("measure 1000");  // inside the switching window
    ASSERT_EQ(Dev().SetFallback(), 0);
    EXPECT_EQ(Check(), SIO);
    EXPECT_EQ(Dev().ByteInputLength(), 1);
    EXPECT_EQ(Dev().ByteOutputLength(), 0);
    ASSERT_EQ(Dev().ExchangeProcessImage(), 0);
    EXPECT_EQ(Dev().ProcessInputs[0], 1);
    sim->Control("measure 2000");
    ASSERT_EQ(Dev().ReadProcessImage(), 0);
    EXPECT_EQ(Dev().ProcessInputs[0], 0);

    // Back to IO-Link at a cycle the device cannot keep: WRONG, and the fallback disconnects.
    ASSERT_EQ(Dev().SetModeIOLink(EncodeCycleTime(1.0)), 0);
    EXPECT_EQ(Check(), LOST);
    sim->Control("advance 200");
    while (Dev().UpdateEvents()) {
    }
    EXPECT_EQ(Check(), WRONG);
    ASSERT_EQ(Dev().SetFallback(), 0);
    EXPECT_EQ(Check(), OFFLINE);
    EXPECT_FALSE(gui->DtmConnected);
}

TEST_F(Contract, DiscoveryFindsTheMastersPlugged) {
    Bind({.product = ""});
    SimServices services(*sim);
    PortList list;
    bool changed = false;
    const auto listed = [&] {
        std::string s;
        ListMasters(services, kEnglish, list, changed);
        for (const PortEntry& e : list) s += e.Text + "=" + e.Description + ";";
        return s;
    };
    EXPECT_EQ(FindNewMaster(services), "");
    EXPECT_EQ(listed(), "");
    sim->Control("plug 7c31 COM3");
    EXPECT_EQ(FindNewMaster(services), "COM3");
    EXPECT_EQ(listed(), "COM3=IO-Link USB Master;");
    EXPECT_EQ(listed(), "COM3=IO-Link USB Master;");
    EXPECT_FALSE(changed);  // the same masters again
    // An unreadable master still has its hardware id; another model is not supported.
    for (const char* line : {"plug unreadable COM12", "plug 7C33 com6", "plug 7c3f COM5"})
        sim->Control(line);
    EXPECT_EQ(listed(),
              "COM3=IO-Link USB Master;COM12=IO-Link USB Master;COM6=IO-Link USB "
              "Master;COM5=IO-Link USB Master " +
                  NotSupportedText(kEnglish) + ";");
    EXPECT_TRUE(IsMasterPresent(services, "7c33COM6"));
    EXPECT_FALSE(IsMasterPresent(services, "7c31COM5"));   // another model on that port
    for (const ui::InventoryRecord& r : sim->Inventory())  // as the system shows them
        EXPECT_EQ(r.DeviceID, UCase(r.DeviceID));
    sim->Control("unplug COM6");
    EXPECT_FALSE(IsMasterPresent(services, "7c33COM6"));
}

// Damaged answers are caught by the core's parsing instead of turning into wrong values.
TEST_F(Contract, FaultsOfTheChannelReachTheCaller) {
    Bind();
    Found();
    sim->Control("garble text 1 IOL::GetMode");
    EXPECT_THROW(Dev().VendorID(false), VbError);

    sim->Control("garble truncate 1 IOL::TransferImage");
    EXPECT_THROW(Dev().ReadProcessImage(), VbError);
    sim->Control("garble empty 1 IOL::GetEvent");
    EXPECT_THROW(Dev().UpdateEvents(), VbError);
}

}  // namespace
}  // namespace kestrova::sim
