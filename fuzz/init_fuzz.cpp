// Init with an arbitrary function-call text, a second of timer ticks, the release and a second
// Init, as a frame may do. The input up to a line "%%" is the function-call text; the lines after
// it are the business object's answers (FuzzBridge.h). Init and PrepareToRelease must never
// raise, nor may the ticks of the page Init showed.
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "FuzzHost.h"
#include "HeadlessServices.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace kestrova;
    using namespace kestrova::fuzz;
    std::string_view text(reinterpret_cast<const char*>(data), size);
    auto bridge = std::make_shared<FuzzBridge>();
    if (const size_t split = text.find("\n%%\n"); split != std::string_view::npos) {
        const std::string_view answers = text.substr(split + 4);
        for (std::string& line :
             Lines(reinterpret_cast<const uint8_t*>(answers.data()), answers.size()))
            bridge->Give(std::move(line));
        text = text.substr(0, split);
    }
    headless::HeadlessServices services(
        [] {
            return std::vector<ui::InventoryRecord>{
                {"USB\\VID_0403&PID_7C31\\SNCOM3", "IO-Link USB Master (COM3)"}};
        },
        [](const std::string&) {});
    GuardedControl control(services, bridge);
    const std::string call(text);
    control.Init("inv-1", call, bridge);
    MustNotRaise("a timer tick", [&] { ui::AdvanceClock(control.Root(), services.Clock(), 1000); });
    control.PrepareToRelease();
    control.Init("inv-2", call, bridge);
    control.PrepareToRelease();
    return 0;
}
