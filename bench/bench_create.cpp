// How creating and duplicating grow with the size of the store: copying a
// set with all its services, and adding one service to a large set.
// Run: build/bin/bench_create (a Release or RelWithDebInfo build).
#include <benchmark/benchmark.h>

#include "LargeStore.h"
#include "MoreSC.h"
#include "platform/corefoundation/CFRef.h"
#include "support/TempRoot.h"

namespace {

const CFStringRef kLargeStoreSetID = CFSTR("5E7A0000-0000-4000-8000-000000000001");

// One whole operation per iteration: load, duplicate the set (a new ID and
// a copy for every service), save and apply.
void BM_DuplicateSet(benchmark::State& state) {
    TempRoot root;
    const std::string store = LargeStoreXML(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        state.PauseTiming();
        root.writeStore(store);
        state.ResumeTiming();
        if (MoreSCDuplicateSet(kLargeStoreSetID, CFSTR("Copy"), nullptr) != noErr) {
            state.SkipWithError("the duplication failed");
        }
    }
    state.SetComplexityN(state.range(0));
}

// Load, add one Ethernet service at the end of the set, save and apply.
void BM_NewService(benchmark::State& state) {
    TempRoot root;
    const std::string store = LargeStoreXML(static_cast<int>(state.range(0)));
    const void* keys[] = {CFSTR("UserDefinedName"), CFSTR("Hardware"), CFSTR("Type"), CFSTR("DeviceName"),
                          CFSTR("MACAddress")};
    const void* values[] = {CFSTR("Ethernet"), CFSTR("Ethernet"), CFSTR("Ethernet"), CFSTR("en9"),
                            CFSTR("00:0a:95:9d:68:16")};
    CFRef<CFDictionaryRef> port(CFDictionaryCreate(nullptr, keys, values, 5, &kCFTypeDictionaryKeyCallBacks,
                                                   &kCFTypeDictionaryValueCallBacks));
    for (auto _ : state) {
        state.PauseTiming();
        root.writeStore(store);
        state.ResumeTiming();
        if (MoreSCNewService(kLargeStoreSetID, port.get(), nullptr) != noErr) {
            state.SkipWithError("the new service failed");
        }
    }
    state.SetComplexityN(state.range(0));
}

BENCHMARK(BM_DuplicateSet)->Arg(100)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond)->Complexity();
BENCHMARK(BM_NewService)->Arg(100)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond)->Complexity();

}  // namespace

BENCHMARK_MAIN();
