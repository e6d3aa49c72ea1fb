// Cost of one timer tick of the expert pages against the simulated master: the device
// information page in steady IO-Link mode, the IO-Link data page with automatic update (events,
// state, process image) and the parameter page carrying out one parameter read per tick.
#include <benchmark/benchmark.h>

#include <memory>

#include "link/ClsGUI.h"
#include "link/EventCatalogue.h"
#include "link/IOLinkComm.h"
#include "pages/common/testing/PageRig.h"
#include "pages/deviceinfo/UCDeviceInfo.h"
#include "pages/iolinkdata/IOLinkData.h"
#include "pages/iolinkparam/IOLinkParam.h"
#include "sim/Simulator.h"

namespace {

using namespace kestrova;

// A page bound to a simulated master whose device is up in IO-Link mode.
template <class P>
struct Bench {
    explicit Bench(const char* profile) {
        sim::Options options;
        options.profile = profile;
        options.language = 1033;
        simulator =
            std::make_shared<sim::Simulator>(options, [this] { return services.Clock.NowMs(); });
        gui.SetDtm(simulator);
        IolInitEventTable(gui);
        gui.GetLanguage();
        IolConnect(*simulator);
        page.SetVisible(false);
        page.SetVisible(true);
        page.RefreshContents(&gui);
        Run(3000);
    }
    void Run(int64_t ms) { ui::AdvanceClock(page, services.Clock, services.Clock.NowMs() + ms); }

    testing::RecordingServices services;
    std::shared_ptr<sim::Simulator> simulator;
    ClsGUI gui;
    P page{services};
};

void BM_DeviceInfoTick(benchmark::State& state) {
    Bench<UCDeviceInfo> b("sensor");
    for (auto _ : state) b.Run(UCDeviceInfo::kInterval);
}
BENCHMARK(BM_DeviceInfoTick);

void BM_DataPageTick(benchmark::State& state) {
    Bench<IOLinkData> b("sensor");
    for (auto _ : state) b.Run(IOLinkData::kInterval);
    benchmark::DoNotOptimize(b.page.ProcessData()("TextInputs").Text());
}
BENCHMARK(BM_DataPageTick);

void BM_DataPageTickWithEvents(benchmark::State& state) {
    Bench<IOLinkData> b("sensor");
    for (auto _ : state) {
        state.PauseTiming();
        for (int i = 0; i < IOLinkData::kEventsPerTick; ++i)
            b.simulator->Control("event 16656 4 48 192");
        state.ResumeTiming();
        b.Run(IOLinkData::kInterval);
    }
}
BENCHMARK(BM_DataPageTickWithEvents);

void BM_ParameterReadTick(benchmark::State& state) {
    Bench<IOLinkParam> b("sensor");
    auto& panel = b.page.Parameter();
    panel("TextRdIndex").UserType("16");
    panel("TextRdSubIndex").UserType("0");
    for (auto _ : state) {
        panel("Command1").UserClick();
        b.Run(IOLinkParam::kAtOnce);
    }
}
BENCHMARK(BM_ParameterReadTick);

}  // namespace

BENCHMARK_MAIN();
