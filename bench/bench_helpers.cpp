// How applying a store (which publishes the live state) and listing the
// DHCP services from the live state grow with the number of services.
// Run: build/bin/bench_helpers (a Release or RelWithDebInfo build).
#include <benchmark/benchmark.h>

#include "LargeStore.h"
#include "MoreSC.h"
#include "platform/corefoundation/CFRef.h"
#include "support/TempRoot.h"

namespace {

void BM_ApplyStore(benchmark::State& state) {
    TempRoot root;
    root.writeStore(LargeStoreXML(static_cast<int>(state.range(0))));
    CFRef<SCPreferencesRef> prefs(SCPreferencesCreate(nullptr, CFSTR("bench"), nullptr));
    for (auto _ : state) {
        if (!prefs || !SCPreferencesApplyChanges(prefs.get())) state.SkipWithError("the apply failed");
    }
    state.SetComplexityN(state.range(0));
}

// range(1): 0 lists from the store on disk (nothing applied yet), 1 from
// the published state.
void BM_ListActiveDHCPServices(benchmark::State& state) {
    TempRoot root;
    root.writeStore(LargeStoreXML(static_cast<int>(state.range(0))));
    CFRef<SCPreferencesRef> prefs(SCPreferencesCreate(nullptr, CFSTR("bench"), nullptr));
    if (state.range(1) != 0 && (!prefs || !SCPreferencesApplyChanges(prefs.get()))) state.SkipWithError("no apply");
    for (auto _ : state) {
        CFRef<CFArrayRef> services;
        if (MoreSCCreateActiveDHCPServicesArray(services.out()) != noErr) state.SkipWithError("the listing failed");
        benchmark::DoNotOptimize(services.get());
    }
    state.SetComplexityN(state.range(0));
}

BENCHMARK(BM_ApplyStore)->Arg(100)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond)->Complexity();
BENCHMARK(BM_ListActiveDHCPServices)
    ->ArgsProduct({{100, 1000, 10000}, {0, 1}})
    ->Unit(benchmark::kMillisecond)
    ->Complexity();

}  // namespace

BENCHMARK_MAIN();
