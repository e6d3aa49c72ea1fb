// Runs N steady ticks of one rig (or N Inits) with callgrind collecting only around them, so
// that instructions.sh can report instructions per tick. Outside callgrind it just runs them.
#include <valgrind/callgrind.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>

#include "TickRigs.h"

int main(int argc, char** argv) {
    using namespace kestrova;
    if (argc != 3) {
        std::fprintf(stderr, "usage: kestrova_tick_instructions RIG|Init N\n");
        return 2;
    }
    const std::string name = argv[1];
    const int n = std::atoi(argv[2]);
    try {
        const bool init = name == "Init";
        const char* rigName = init ? "DeviceInfo" : name.c_str();
        const bench::Setup* setup = nullptr;
        for (const auto& [rig, s] : bench::NamedSetups())
            if (rigName == std::string(rig)) setup = &s;
        if (!setup || n <= 0) throw std::runtime_error("unknown rig or count");
        bench::TickRig rig(*setup);
        const std::string call = headless::FunctionCallXml(setup->function);
        ui::VirtualClock& clock = rig.Services().Clock();
        for (int i = 0; i < n; ++i) {
            if (!init) {
                CALLGRIND_TOGGLE_COLLECT;
                rig.Tick();
                CALLGRIND_TOGGLE_COLLECT;
                continue;
            }
            DTMGUI gui(rig.Services());
            CALLGRIND_TOGGLE_COLLECT;
            gui.Init("bench", call, rig.Bridge());
            ui::AdvanceClock(gui, clock, clock.NowMs() + 1);
            CALLGRIND_TOGGLE_COLLECT;
            gui.PrepareToRelease();
        }
    } catch (const std::exception& e) {
        std::fprintf(stderr, "error: %s\n", e.what());
        return 1;
    }
    return 0;
}
