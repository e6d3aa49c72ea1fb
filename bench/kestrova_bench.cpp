// Timings of the main control against the simulated master without latency: Init up to the
// first page shown, and one timer tick of the General page.
#include <benchmark/benchmark.h>

#include <memory>
#include <stdexcept>

#include "HeadlessFrame.h"
#include "HeadlessServices.h"
#include "dtmgui/DTMGUI.h"
#include "sim/Simulator.h"

namespace {

using kestrova::DTMGUI;
using kestrova::headless::FunctionCallXml;
using kestrova::headless::HeadlessServices;

// The frame around one control: services on a virtual clock and the simulator on that clock.
struct Rig {
    std::shared_ptr<kestrova::sim::Simulator> sim;
    HeadlessServices services{[this] { return sim->Inventory(); }, [](const std::string&) {}};

    Rig() {
        kestrova::sim::Options options;
        options.language = 1033;
        kestrova::ui::VirtualClock* clock = &services.Clock();
        sim =
            std::make_shared<kestrova::sim::Simulator>(options, [clock] { return clock->NowMs(); });
    }
};

void InitToFirstPage(benchmark::State& state, const char* functionId, const char* page) {
    Rig rig;
    const std::string call = FunctionCallXml(functionId);
    for (auto _ : state) {
        DTMGUI gui(rig.services);
        if (!gui.Init("bench", call, rig.sim)) throw std::runtime_error("Init failed");
        if (!gui(page).Visible()) throw std::runtime_error("start page not shown");
        benchmark::DoNotOptimize(gui.CurrentPage());
        state.PauseTiming();
        gui.PrepareToRelease();
        state.ResumeTiming();
    }
}

void BM_Init_Configure(benchmark::State& state) {
    InitToFirstPage(state, "1", "UCGeneral1");
}
BENCHMARK(BM_Init_Configure)->Unit(benchmark::kMicrosecond);

void BM_Init_Expert(benchmark::State& state) {
    InitToFirstPage(state, "2", "UCGeneral1");
}
BENCHMARK(BM_Init_Expert)->Unit(benchmark::kMicrosecond);

void BM_Init_About(benchmark::State& state) {
    InitToFirstPage(state, "3", "IOLinkAbout1");
}
BENCHMARK(BM_Init_About)->Unit(benchmark::kMicrosecond);

// One tick of the General page's 300 ms timer, with the device connected; every few ticks the
// page also runs the plug check with the USB inventory, which the average includes.
void BM_GeneralPageTick(benchmark::State& state) {
    Rig rig;
    DTMGUI gui(rig.services);
    if (!gui.Init("bench", FunctionCallXml("1"), rig.sim)) throw std::runtime_error("Init failed");
    kestrova::ui::VirtualClock& clock = rig.services.Clock();
    kestrova::ui::AdvanceClock(gui, clock, clock.NowMs() + 3000);  // connected and settled
    int64_t ticks = 0;
    for (auto _ : state) ticks += kestrova::ui::AdvanceClock(gui, clock, clock.NowMs() + 300);
    if (ticks != state.iterations()) throw std::runtime_error("not one tick per 300 ms");
    gui.PrepareToRelease();
}
BENCHMARK(BM_GeneralPageTick)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
