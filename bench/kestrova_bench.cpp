// What the user interface costs: Init up to the first filled page, one steady timer tick of
// every page with the business object replaying recorded answers (so its own cost is left out),
// and a check that no tick grows more expensive over a long session. Times are the thread's CPU
// time; every tick benchmark fails when its last ticks cost more than its first.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "TickRigs.h"

namespace {

using namespace kestrova;
using bench::ThreadNs;
using bench::TickRig;

constexpr int kBatch = 50;           // ticks per timed batch
constexpr double kMaxGrowth = 1.10;  // the last ticks may cost at most 10 % more than the first

int64_t Batch(TickRig& rig) {
    const int64_t start = ThreadNs();
    for (int i = 0; i < kBatch; ++i) rig.Tick();
    return ThreadNs() - start;
}

// Whether a long-running rig costs more per tick than a fresh one of the same setup. Batches of
// the two alternate so that both see the same machine, and the cheapest of each counts.
bool Grew(TickRig& old, TickRig& fresh, benchmark::State& state) {
    int64_t oldNs = INT64_MAX, freshNs = INT64_MAX;
    for (int round = 0; round < 40; ++round) {
        oldNs = std::min(oldNs, Batch(old));
        freshNs = std::min(freshNs, Batch(fresh));
    }
    state.counters["ns_fresh"] = static_cast<double>(freshNs) / kBatch;
    state.counters["ns_late"] = static_cast<double>(oldNs) / kBatch;
    return static_cast<double>(oldNs) > static_cast<double>(freshNs) * kMaxGrowth;
}

const bench::Setup& SetupNamed(const std::string& name) {
    for (const auto& [n, setup] : bench::NamedSetups())
        if (name == n) return setup;
    throw std::runtime_error("no rig " + name);
}

// Steady ticks, timed in batches of kBatch; afterwards the rig must cost what a fresh one does.
void BM_Tick(benchmark::State& state, std::string name) {
    TickRig rig(SetupNamed(name));
    for (auto _ : state) state.SetIterationTime(static_cast<double>(Batch(rig)) * 1e-9 / kBatch);
    TickRig fresh(SetupNamed(name));
    if (Grew(rig, fresh, state)) state.SkipWithError("the ticks grew more expensive");
}

// Init of a new control against the recorded session, up to its first tick having run; making
// and destroying the control are not timed.
void BM_Init(benchmark::State& state, std::string name) {
    TickRig rig(SetupNamed(name));
    const std::string call = headless::FunctionCallXml(SetupNamed(name).function);
    ui::VirtualClock& clock = rig.Services().Clock();
    for (auto _ : state) {
        state.PauseTiming();
        auto gui = std::make_unique<DTMGUI>(rig.Services());
        state.ResumeTiming();
        if (!gui->Init("bench", call, rig.Bridge())) throw std::runtime_error("Init failed");
        ui::AdvanceClock(*gui, clock, clock.NowMs() + 1);
        state.PauseTiming();
        gui->PrepareToRelease();
        gui.reset();
        state.ResumeTiming();
    }
}

// Tick 100,000 against tick 1,000 of a session with the simulator answering every call, master
// plugged and unplugged: the same cost within 10 %.
void BM_NoGrowth(benchmark::State& state, std::string name, bool plugged) {
    bench::Setup setup = SetupNamed(name);
    setup.replay = false;
    setup.plugged = plugged;
    for (auto _ : state) {
        TickRig late(setup), early(setup);
        for (int i = 0; i < 100'000; ++i) late.Tick();
        for (int i = 0; i < 1000; ++i) early.Tick();
        if (Grew(late, early, state)) state.SkipWithError("tick 100,000 costs more than 1,000");
    }
}

const int registered = [] {
    for (const auto& [name, setup] : bench::NamedSetups()) {
        benchmark::RegisterBenchmark(("BM_Tick/" + std::string(name)).c_str(), BM_Tick, name)
            ->UseManualTime()
            ->Iterations(4000)  // 200,000 ticks
            ->Unit(benchmark::kMicrosecond);
        if (std::string(name) == "DataWorst") continue;
        benchmark::RegisterBenchmark(("BM_Init/" + std::string(name)).c_str(), BM_Init, name)
            ->Unit(benchmark::kMicrosecond);
        for (bool plugged : {true, false})
            benchmark::RegisterBenchmark(
                ("BM_NoGrowth/" + std::string(name) + (plugged ? "/plugged" : "/unplugged"))
                    .c_str(),
                BM_NoGrowth, name, plugged)
                ->Iterations(1)
                ->Unit(benchmark::kMillisecond);
    }
    return 0;
}();

}  // namespace

BENCHMARK_MAIN();
