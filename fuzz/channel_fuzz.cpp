// The command channel, the device proxy and the binding against a business object whose every
// answer comes from the input. Lines starting with '@' pick the operations (below) with their
// arguments; the other lines are the answers (FuzzBridge.h). Without '@' lines every operation
// runs once, in table order.
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "FuzzBridge.h"
#include "device/ClsDevice.h"
#include "link/ClsGUI.h"
#include "link/EventCatalogue.h"
#include "link/IOLinkComm.h"

namespace kestrova::fuzz {
namespace {

struct Session {
    std::shared_ptr<FuzzBridge> bridge = std::make_shared<FuzzBridge>();
    ClsGUI gui;
    ClsDevice& device = gui.Device;
    std::string_view args;  // the rest of the '@' line

    int16_t Int16() { return static_cast<int16_t>(Number(Word(args), INT16_MIN, INT16_MAX)); }
    Values Bytes() {
        Values v;
        for (std::string_view w = Word(args); !w.empty() && v.size() < 300; w = Word(args))
            v.push_back(static_cast<int32_t>(Number(w, INT32_MIN, INT32_MAX)));
        return v;
    }
};

using Op = void (*)(Session&);
struct Operation {
    const char* name;
    Op run;
};

const Operation kOperations[] = {
    // The channel, one function per command.
    {"connect", [](Session& s) { IolConnect(*s.bridge); }},
    {"disconnect", [](Session& s) { IolDisconnect(*s.bridge); }},
    {"read",
     [](Session& s) {
         Values data;
         const int16_t i = s.Int16(), sub = s.Int16();
         IolRead(*s.bridge, i, sub, data);
     }},
    {"write",
     [](Session& s) {
         const int16_t i = s.Int16(), sub = s.Int16();
         IolWrite(*s.bridge, i, sub, s.Bytes());
     }},
    {"getmode",
     [](Session& s) {
         ModeRecord mode{};
         IolGetMode(*s.bridge, mode);
     }},
    {"transfer",
     [](Session& s) {
         Values inputs;
         int16_t status = 0;
         const int16_t length = s.Int16();
         IolTransferImage(*s.bridge, s.Bytes(), inputs, status, length);
     }},
    {"outputimage",
     [](Session& s) {
         Values outputs;
         IolReadOutputImage(*s.bridge, outputs, s.Int16());
     }},
    {"getevent",
     [](Session& s) {
         EventRecord record{};
         IolGetEvent(*s.bridge, record);
     }},
    {"setmode",
     [](Session& s) {
         const auto mode = static_cast<uint8_t>(s.Int16());
         IolSetMode(*s.bridge, mode, s.Int16());
     }},
    {"changecycle", [](Session& s) { IolChangeCycle(*s.bridge, s.Int16()); }},
    // The binding: connection state, date, version and language items.
    {"online", [](Session& s) { s.gui.CheckOnlineState(); }},
    {"bind", [](Session& s) { s.gui.SetDtm(s.bridge); }},
    {"language", [](Session& s) { s.gui.GetLanguage(); }},
    {"state", [](Session& s) { s.device.SetSensorState(s.Int16()); }},
    // The device proxy: identification, lengths, process image, events, parameters.
    {"names",
     [](Session& s) {
         s.device.VendorName();
         s.device.DeviceName();
         s.device.FunctionName();
     }},
    {"info",
     [](Session& s) {
         s.device.ActualCycleTime();
         s.device.MinCycleTime();
         s.device.Revision();
         s.device.SIOSupport();
         s.device.CurrentBaudrate();
         for (bool hex : {false, true}) {
             s.device.VendorID(hex);
             s.device.DeviceID(hex);
             s.device.FunctionID(hex);
         }
     }},
    {"lengths",
     [](Session& s) {
         s.device.ByteInputLength();
         s.device.ByteOutputLength();
     }},
    {"exchange", [](Session& s) { s.device.ExchangeProcessImage(); }},
    {"readimage", [](Session& s) { s.device.ReadProcessImage(); }},
    {"readoutputs", [](Session& s) { s.device.ReadProcessOutputs(); }},
    {"setoutputs", [](Session& s) { s.device.SetOutputs(s.Bytes()); }},
    {"valid", [](Session& s) { s.device.SetOutputsValid(s.Int16() != 0); }},
    {"fallback", [](Session& s) { s.device.SetFallback(); }},
    {"iolink", [](Session& s) { s.device.SetModeIOLink(s.Int16()); }},
    {"target",
     [](Session& s) { s.device.TargetCycleTimer(static_cast<double>(s.Int16()) / 10.0); }},
    {"readparam",
     [](Session& s) {
         Values data;
         const int16_t i = s.Int16(), sub = s.Int16();
         s.device.ReadParameter(i, sub, data);
     }},
    {"writeparam",
     [](Session& s) {
         const int16_t i = s.Int16(), sub = s.Int16();
         s.device.WriteParameter(i, sub, s.Bytes());
     }},
    {"events",
     [](Session& s) {
         // The event texts as the event panel shows them, for every event held.
         for (int n = 0; n < 8 && s.device.UpdateEvents(); ++n) {
         }
         for (int16_t p = 1; p <= s.device.EventCount && p <= ClsDevice::kMaxEvents; ++p) {
             const ClsEvent& e = s.device.GetEvent(p);
             for (int kind = 1; kind <= 6; ++kind) IolErrorText(kind, e.Code, e.Type, s.gui);
             IolErrorText(3, e.Mode, 0, s.gui);
         }
     }},
    {"trace",
     [](Session& s) {
         s.device.Traceon();
         s.device.ByteInputLength();
         s.device.ReadTrace(true);
     }},
};

}  // namespace
}  // namespace kestrova::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace kestrova::fuzz;
    Session s;
    std::vector<std::string> ops;
    for (std::string& line : Lines(data, size)) {
        if (!line.empty() && line.front() == '@')
            ops.push_back(line.substr(1));
        else
            s.bridge->Give(std::move(line));
    }
    kestrova::IolInitEventTable(s.gui);
    s.gui.Dtm = s.bridge;
    s.device.SetDtm(s.bridge);
    auto run = [&](const Operation& op, std::string_view args) {
        s.args = args;
        Check(
            op.name, [&] { op.run(s); }, s.bridge.get());
    };
    if (ops.empty()) {
        for (const Operation& op : kOperations) run(op, "");
        return 0;
    }
    for (const std::string& line : ops) {
        std::string_view rest = line;
        const std::string_view name = Word(rest);
        for (const Operation& op : kOperations)
            if (name == op.name) run(op, rest);
    }
    return 0;
}
