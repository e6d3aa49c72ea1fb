// The core's device proxy, binding and discovery running against the simulated master: what
// the control reads must be what the simulated device is.
#include <gtest/gtest.h>

#include <memory>

#include "Simulator.h"
#include "device/ClsDevice.h"
#include "link/ClsGUI.h"
#include "link/EventCatalogue.h"
#include "link/IOLinkComm.h"
#include "tools/Discovery.h"
#include "tools/NumberFormats.h"
#include "tools/Vb.h"
#include "ui/Control.h"
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

class Contract : public ::testing::Test {
  protected:
    void Bind(Options options = {}) {
        if (options.language == 0) options.language = 1033;
        sim = std::make_shared<Simulator>(options);
        gui = std::make_unique<ClsGUI>();
        gui->SetDtm(sim);
        IolInitEventTable(*gui);
        gui->GetLanguage();
    }
    // As the control starts: connect, or mark the connect pending.
    void Start() {
        if (!IolConnect(*sim)) gui->ConnectPending = true;
    }
    int16_t Check() {
        gui->CheckOnlineState();
        return gui->ConnectionStateCode;
    }
    void Advance(int ms) { sim->Control("advance " + std::to_string(ms)); }
    void Found() {
        Start();
        ASSERT_EQ(Check(), LOST);
        Advance(200);
        ASSERT_EQ(Check(), FOUND);
    }
    ClsDevice& Dev() { return gui->Device; }

    std::shared_ptr<Simulator> sim;
    std::unique_ptr<ClsGUI> gui;
};

TEST_F(Contract, BindingReadsDateVersionAndLanguage) {
    Bind({.language = 1031});
    EXPECT_EQ(gui->Language, kGerman);
    EXPECT_EQ(gui->GetUILabel("Date"), "18.11.2024");
    EXPECT_EQ(gui->GetUILabel("Version"), "1.4.2");
    sim->SetItem("Language", "1033");
    EXPECT_EQ(gui->GetLanguage(), kEnglish);
    EXPECT_EQ(gui->GetUILabel("Date"), "2024/11/18");
    gui->LogEvent("FUNCID_EXPERT ausgewählt");
    EXPECT_EQ(sim->Log().back(), "FUNCID_EXPERT ausgewählt");
}

TEST_F(Contract, ConnectGoesThroughConnectingToFound) {
    Bind();
    EXPECT_EQ(Check(), OFFLINE);
    EXPECT_FALSE(gui->DtmConnected);
    Start();
    EXPECT_FALSE(gui->ConnectPending);
    EXPECT_EQ(Check(), LOST);
    EXPECT_TRUE(gui->DtmConnected);
    EXPECT_EQ(Dev().VendorName(), "");  // nothing to read while connecting
    Advance(200);
    EXPECT_EQ(Check(), FOUND);
    EXPECT_EQ(Dev().SensorState, FOUND);
}

TEST_F(Contract, IdentificationOfEveryProfile) {
    const struct {
        const char* profile;
        const char *vendor, *device, *function;
        const char *vendorId, *vendorHex, *deviceHex, *functionHex, *revision, *baud;
        int16_t inLength;
        bool inBytes;
        int16_t outLength;
        bool outBytes;
        int16_t byteIn, byteOut;
        bool sio;
        double minCycle;
    } rows[] = {
        {"sensor", "Tarnwick Sensorik GmbH", "ODL-3000", "Laser distance sensor 30...3000 mm",
         "2607", "0x0A2F", "0x00D2A1", "0x0000", "1.0625.1", "230400", 4, true, 0, false, 4, 0,
         true, 2.3},
        {"actuator", "Brelmoor Automation AG", "DOM-16", "Digital output module, 16 outputs 0.5 A",
         "2871", "0x0B37", "0x020310", "0x0001", "1.0625.1", "230400", 2, true, 2, true, 2, 2,
         false, 1.0},
        {"valve", "Brelmoor Automation AG", "VT-9", "Valve terminal, 9 valves", "2871", "0x0B37",
         "0x020901", "0x0000", "1.0625.1", "38400", 10, false, 9, false, 2, 2, false, 8.0},
        {"legacy", "not supported", "not supported", "not supported", "1111", "0x0457", "0x000451",
         "0x0000", "1", "4800", 2, true, 0, false, 2, 0, true, 20.0},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.profile);
        Bind({.profile = r.profile});
        Found();
        EXPECT_EQ(Dev().VendorName(), r.vendor);
        EXPECT_EQ(Dev().DeviceName(), r.device);
        EXPECT_EQ(Dev().FunctionName(), r.function);
        EXPECT_EQ(Dev().VendorID(false), r.vendorId);
        EXPECT_EQ(Dev().VendorID(true), r.vendorHex);
        EXPECT_EQ(Dev().DeviceID(true), r.deviceHex);
        EXPECT_EQ(Dev().FunctionID(true), r.functionHex);
        EXPECT_EQ(Dev().Revision().substr(0, std::string(r.revision).size()), r.revision);
        EXPECT_EQ(Dev().CurrentBaudrate(), r.baud);
        int16_t length = -1;
        bool bytes = false;
        Dev().InLength(length, bytes);
        EXPECT_EQ(length, r.inLength);
        EXPECT_EQ(bytes, r.inBytes);
        Dev().OutLength(length, bytes);
        EXPECT_EQ(length, r.outLength);
        EXPECT_EQ(bytes, r.outBytes);
        EXPECT_EQ(Dev().ByteInputLength(), r.byteIn);
        EXPECT_EQ(Dev().ByteOutputLength(), r.byteOut);
        EXPECT_EQ(Dev().SIOSupport(), r.sio);
        EXPECT_DOUBLE_EQ(Dev().MinCycleTime(), r.minCycle);
        EXPECT_EQ(Dev().ActualCycleTime(), EncodeCycleTime(r.minCycle));
    }
}

TEST_F(Contract, RevisionTextsKeepTheirOddForm) {
    Bind();
    Found();
    EXPECT_EQ(Dev().Revision(), Str(17 / 16.0) + ".1");
    Bind({.profile = "legacy"});
    Found();
    EXPECT_EQ(Dev().Revision(), "1.0");
}

TEST_F(Contract, ProcessImageOfTheSensor) {
    Bind();
    Found();
    sim->Control("measure 1000");
    ASSERT_EQ(Dev().ReadProcessImage(), 0);
    EXPECT_EQ(Values(Dev().ProcessInputs.begin(), Dev().ProcessInputs.begin() + 4),
              (Values{3, 232, 80, 1}));
    EXPECT_EQ(Dev().ActualStatus, 0);
    ASSERT_EQ(Dev().ReadProcessOutputs(), 0);
    EXPECT_EQ(FormatBytes(Dev().ProcessInputs, kHex, "0x").substr(0, 19), "0x03 0xE8 0x50 0x01");
}

TEST_F(Contract, OutputsOfTheActuatorOnlyCountWhenValid) {
    Bind({.profile = "actuator"});
    Found();
    Dev().SetOutputs({0x12, 0x34});
    ASSERT_EQ(Dev().ExchangeProcessImage(), 0);
    EXPECT_EQ(Dev().ProcessInputs[0], 0);  // not valid yet
    ASSERT_EQ(Dev().SetOutputsValid(true), 0);
    ASSERT_EQ(Dev().ExchangeProcessImage(), 0);
    EXPECT_EQ(Dev().ProcessInputs[0], 0x12);
    EXPECT_EQ(Dev().ProcessInputs[1], 0x34);
    Dev().SetOutputs({0, 0});
    ASSERT_EQ(Dev().ReadProcessOutputs(), 0);  // what the master holds
    EXPECT_EQ(Dev().ProcessOutputs[0], 0x12);
    EXPECT_EQ(Dev().ProcessOutputs[1], 0x34);
    ASSERT_EQ(Dev().SetOutputsValid(false), 0);
    ASSERT_EQ(Dev().ReadProcessImage(), 0);
    EXPECT_EQ(Dev().ProcessInputs[0], 0);
}

TEST_F(Contract, NineOutputBitsTravelAsTwoBytes) {
    Bind({.profile = "valve"});
    Found();
    ASSERT_EQ(Dev().SetOutputsValid(true), 0);
    Dev().SetOutputs({0x01, 0x0F});
    ASSERT_EQ(Dev().ExchangeProcessImage(), 0);
    EXPECT_EQ(Dev().ProcessInputs[0], 0x03);  // valve 9 and the pressure bit
    EXPECT_EQ(Dev().ProcessInputs[1], 0x0F);
    ASSERT_EQ(Dev().ReadProcessOutputs(), 0);
    EXPECT_EQ(Dev().ProcessOutputs[0], 0x01);
    EXPECT_EQ(Dev().ProcessOutputs[1], 0x0F);
}

TEST_F(Contract, ParameterErrorsReachTheCatalogueTexts) {
    Bind();
    const struct {
        bool write;
        int16_t index, subindex;
        Values data;
        int32_t result;
        const char* text;
    } rows[] = {
        {false, 999, 0, {}, 0x8011, "Application Index not available"},
        {false, 16, 1, {}, 0x8012, "Application Subindex not available"},
        {false, 2, 0, {}, 0x8023, "Application Access denied"},
        {true, 18, 0, {65}, 0x8023, "Application Access denied"},
        {true, 66, 0, {2}, 0x8030, "Application Parameter value out of range"},
        {true, 65, 0, {0, 101}, 0x8031, "Application Parameter value above limit"},
        {true, 65, 0, {0, 0}, 0x8032, "Application Parameter value below limit"},
        {true, 64, 1, {0x0B, 0xB8}, 0x8040, "Application Interfering parameter"},
        {true, 24, 0, {0x4B, 0x31}, 0, nullptr},
        {true, 64, 2, {0x0B, 0xB8}, 0, nullptr},
    };
    Values data;
    EXPECT_EQ(Dev().ReadParameter(16, 0, data), -1);  // not connected: not ready
    Found();
    for (const auto& r : rows) {
        SCOPED_TRACE(std::to_string(r.index) + "/" + std::to_string(r.subindex));
        Values got;
        const int32_t result = r.write ? Dev().WriteParameter(r.index, r.subindex, r.data)
                                       : Dev().ReadParameter(r.index, r.subindex, got);
        EXPECT_EQ(result, r.result);
        if (r.text) {
            EXPECT_EQ(IolErrorText(4, result, 0, *gui), r.text);
        }
    }
    ASSERT_EQ(Dev().ReadParameter(24, 0, data), 0);
    EXPECT_EQ(FormatBytes(data, kCharacters), "K1");
    ASSERT_EQ(Dev().ReadParameter(64, 0, data), 0);
    EXPECT_EQ(data, (Values{0, 200, 0x0B, 0xB8}));
    ASSERT_EQ(Dev().WriteParameter(24, 0, {}), 0);  // the empty tag reads as no data
    ASSERT_EQ(Dev().ReadParameter(24, 0, data), 0);
    EXPECT_TRUE(data.empty());
}

TEST_F(Contract, EventsArriveInOrderWithTheirQualifier) {
    Bind();
    Found();
    sim->Control("event 0x4210 4 48 192");
    ASSERT_EQ(Dev().WriteParameter(65, 0, {0, 20}), 0);  // parameter changed
    EXPECT_TRUE(Dev().UpdateEvents());
    EXPECT_TRUE(Dev().UpdateEvents());
    EXPECT_FALSE(Dev().UpdateEvents());
    ASSERT_EQ(Dev().EventCount, 2);
    EXPECT_EQ(Dev().GetEvent(1).Code, 0x4210);
    EXPECT_EQ(Dev().GetEvent(1).InstTypMode(), 4 + 48 + 192);
    EXPECT_EQ(IolErrorText(1, Dev().GetEvent(1).Code, 0, *gui), "excess temperature device");
    EXPECT_EQ(Dev().GetEvent(2).Code, 0x6350);
    EXPECT_EQ(Dev().GetEvent(2).Number, 1);
    EXPECT_EQ(IolErrorText(1, Dev().GetEvent(2).Code, 0, *gui), "parameter changed");
}

TEST_F(Contract, TooShortCycleMakesTheStateWrongAndFallbackDisconnects) {
    Bind();
    Found();
    ASSERT_EQ(Dev().SetModeIOLink(EncodeCycleTime(1.0)), 0);
    EXPECT_EQ(Check(), LOST);
    Advance(200);
    while (Dev().UpdateEvents()) {
    }
    EXPECT_EQ(Dev().GetEvent(Dev().EventCount).Code, 26);
    EXPECT_EQ(Check(), WRONG);
    EXPECT_EQ(IolErrorText(1, 26, 0, *gui), "Min cycle time doesn´t fit");
    ASSERT_EQ(Dev().SetFallback(), 0);
    EXPECT_EQ(Check(), OFFLINE);
    EXPECT_FALSE(gui->DtmConnected);
}

TEST_F(Contract, SioAndBackToIOLink) {
    Bind();
    Found();
    EXPECT_EQ(Dev().DeviceName(), "ODL-3000");
    sim->Control("measure 1000");  // inside the switching window
    ASSERT_EQ(Dev().SetFallback(), 0);
    EXPECT_EQ(Check(), SIO);
    EXPECT_EQ(Dev().DeviceName(), "");
    EXPECT_EQ(Dev().ByteInputLength(), 1);
    EXPECT_EQ(Dev().ByteOutputLength(), 0);
    ASSERT_EQ(Dev().ReadProcessImage(), 0);
    EXPECT_EQ(Dev().ProcessInputs[0], 1);
    sim->Control("measure 2000");
    ASSERT_EQ(Dev().ReadProcessImage(), 0);
    EXPECT_EQ(Dev().ProcessInputs[0], 0);

    // The target cycle may change in SIO; IO-Link then starts at it.
    Dev().TargetCycleTimer(10.0);
    ASSERT_EQ(Dev().SetModeIOLink(EncodeCycleTime(Dev().TargetCycleTimer())), 0);
    EXPECT_EQ(Check(), LOST);
    Advance(200);
    EXPECT_EQ(Check(), FOUND);
    EXPECT_EQ(Dev().ActualCycleTime(), 73);
    EXPECT_EQ(Dev().DeviceName(), "ODL-3000");  // read again after the state change
    EXPECT_FALSE(Dev().UpdateEvents());
}

TEST_F(Contract, ReplugBeforeTheFirstConnectRunsThePendingConnect) {
    Bind({.product = ""});
    Start();
    EXPECT_TRUE(gui->ConnectPending);
    EXPECT_EQ(Check(), OFFLINE);
    SimServices services(*sim);
    EXPECT_EQ(FindNewMaster(services), "");

    sim->Control("plug 7c31 COM3");
    EXPECT_EQ(FindNewMaster(services), "COM3");
    EXPECT_TRUE(IsMasterPresent(services, "7c31COM3"));
    gui->SetActualDeviceIdentifier("COM3");
    EXPECT_EQ(gui->GetItem("GetProduct").substr(0, 4), "7c31");
    EXPECT_EQ(Check(), RESETTED);  // and the pending connect went out
    EXPECT_FALSE(gui->ConnectPending);
    EXPECT_EQ(Check(), LOST);
    Advance(200);
    EXPECT_EQ(Check(), FOUND);
    EXPECT_EQ(Dev().VendorName(), "Tarnwick Sensorik GmbH");
}

TEST_F(Contract, UnplugMidSessionDropsTheDevice) {
    Bind();
    Found();
    SimServices services(*sim);
    EXPECT_TRUE(IsMasterPresent(services, "7c31COM3"));
    sim->Control("unplug");
    EXPECT_FALSE(IsMasterPresent(services, "7c31COM3"));
    EXPECT_EQ(Check(), OFFLINE);
    EXPECT_FALSE(gui->DtmConnected);
    Values data;
    EXPECT_EQ(Dev().ReadParameter(16, 0, data), -1);
    EXPECT_EQ(Dev().VendorID(false), "");
    sim->Control("plug 7c31 COM3");
    EXPECT_EQ(Check(), RESETTED);  // no connect pending: it stays so
    EXPECT_EQ(Check(), RESETTED);
    gui->ConnectPending = true;
    EXPECT_EQ(Check(), RESETTED);
    EXPECT_EQ(Check(), LOST);
}

TEST_F(Contract, DiscoveryListsSupportedAndUnknownMasters) {
    Bind();
    sim->Control("plug 7c3f COM5");
    SimServices services(*sim);
    PortList list;
    bool changed = false;
    EXPECT_TRUE(ListMasters(services, kEnglish, list, changed));
    EXPECT_TRUE(changed);
    ASSERT_EQ(list.size(), 2u);
    EXPECT_EQ(list[0], (PortEntry{"COM3", "IO-Link USB Master"}));
    EXPECT_EQ(list[1].Text, "COM5");
    EXPECT_NE(list[1].Description.find(NotSupportedText(kEnglish)), std::string::npos);
    EXPECT_FALSE(IsMasterPresent(services, "7c31COM5"));  // another model on that port
    EXPECT_TRUE(ListMasters(services, kEnglish, list, changed));
    EXPECT_FALSE(changed);
}

TEST_F(Contract, FaultsOfTheChannelReachTheCaller) {
    Bind();
    Found();
    sim->Control("fail IOL::Read ERROR:32785");
    EXPECT_EQ(Dev().VendorName(), "not supported");

    sim->Control("garble text 1 IOL::GetMode");
    Dev().SetSensorState(LOST);
    Dev().SetSensorState(FOUND);
    EXPECT_THROW(Dev().VendorID(false), VbError);
    EXPECT_EQ(Dev().VendorID(false), "2607");  // the next read is sound again

    sim->Control("measure 1000");
    ASSERT_EQ(Dev().ReadProcessImage(), 0);
    sim->Control("garble truncate 1 IOL::TransferImage");
    sim->Control("measure 2000");
    EXPECT_THROW(Dev().ReadProcessImage(), VbError);
    EXPECT_EQ(Dev().ProcessInputs[0], 3);  // a broken answer leaves the image as it was
    EXPECT_EQ(Dev().ProcessInputs[1], 232);

    sim->Control("throw ConnectionState 1 -2147023174 The RPC server is unavailable");
    try {
        gui->CheckOnlineState();
        ADD_FAILURE() << "no error raised";
    } catch (const VbError& e) {
        EXPECT_EQ(e.Number(), -2147023174);
    }
    EXPECT_EQ(Check(), FOUND);

    sim->Control("fail IOL::GetEvent EMPTY:");
    EXPECT_FALSE(Dev().UpdateEvents());
    sim->Control("garble empty 1 IOL::GetEvent");
    EXPECT_THROW(Dev().UpdateEvents(), VbError);
}

}  // namespace
}  // namespace kestrova::sim
