// How loading, saving and walking a store grow with its number of services.
// Run: build/bin/bench_store (a Release or RelWithDebInfo build).
#include <benchmark/benchmark.h>

#include "LargeStore.h"
#include "MoreSC.h"
#include "platform/corefoundation/CFRef.h"
#include "support/TempRoot.h"

namespace {

void BM_LoadStore(benchmark::State& state) {
    TempRoot root;
    root.writeStore(LargeStoreXML(static_cast<int>(state.range(0))));
    for (auto _ : state) {
        CFRef<SCPreferencesRef> prefs(SCPreferencesCreate(nullptr, CFSTR("bench"), nullptr));
        if (!prefs) state.SkipWithError("the store did not load");
        benchmark::DoNotOptimize(prefs.get());
    }
    state.SetComplexityN(state.range(0));
}

void BM_LoadChangeAndSaveStore(benchmark::State& state) {
    TempRoot root;
    root.writeStore(LargeStoreXML(static_cast<int>(state.range(0))));
    long generation = 0;
    for (auto _ : state) {
        CFRef<SCPreferencesRef> prefs(SCPreferencesCreate(nullptr, CFSTR("bench"), nullptr));
        CFRef<CFStringRef> name(CFStringCreateWithFormat(nullptr, nullptr, CFSTR("Run %ld"), ++generation));
        if (!prefs || !SCPreferencesSetValue(prefs.get(), CFSTR("Model"), name.get()) ||
            !SCPreferencesCommitChanges(prefs.get())) {
            state.SkipWithError("the store was not saved");
        }
    }
    state.SetComplexityN(state.range(0));
}

// The work of one switching command in-process: every active service's
// "Proxies" entity is read, changed and written back, then saved once.
void BM_SwitchProxyOnEveryService(benchmark::State& state) {
    TempRoot root;
    const std::string store = LargeStoreXML(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        state.PauseTiming();
        root.writeStore(store);
        state.ResumeTiming();

        OSStatus err = noErr;
        {
            MoreSCSessionScope session(&err, true);
            CFRef<CFArrayRef> serviceIDs;
            if (err == noErr) err = MoreSCCopyServiceIDs(nullptr, serviceIDs.out(), nullptr);
            CFIndex count = (err == noErr) ? CFArrayGetCount(serviceIDs.get()) : 0;
            for (CFIndex i = 0; i < count; ++i) {
                CFStringRef serviceID = static_cast<CFStringRef>(CFArrayGetValueAtIndex(serviceIDs.get(), i));
                Boolean active = false;
                CFRef<CFMutableDictionaryRef> proxies;
                err = MoreSCIsServiceActive(nullptr, serviceID, &active);
                if (err != noErr || !active) continue;
                err = MoreSCCopyEntityMutable(nullptr, serviceID, CFSTR("Proxies"), proxies.out());
                if (err != noErr) continue;
                err = CFQDictionarySetNumber(proxies.get(), CFSTR("HTTPEnable"), 0);
                if (err == noErr) err = MoreSCSetEntity(nullptr, serviceID, CFSTR("Proxies"), proxies.get());
            }
        }
        if (err != noErr) state.SkipWithError("the walk failed");
    }
    state.SetComplexityN(state.range(0));
}

BENCHMARK(BM_LoadStore)->Arg(100)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond)->Complexity();
BENCHMARK(BM_LoadChangeAndSaveStore)->Arg(100)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond)->Complexity();
BENCHMARK(BM_SwitchProxyOnEveryService)->Arg(100)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond)->Complexity();

}  // namespace

BENCHMARK_MAIN();
