// How listing the ports grows with the registry: registry snapshots (XML
// and binary) of 1,000 to 100,000 entries, one port in ten entries as on a
// real machine, read for the first time (the file changed since the last
// listing) or again; and sysfs trees with 100 to 10,000 network interfaces.
// Then a real Mac's size: a 13 MB dump in the text of "ioreg -lw0" beside
// the same registry as "ioreg -a" writes it, each read anew for every
// listing (bench/ports_goals.py times whole moresc runs on both, with their
// peak memory).
// Run: build/bin/bench_ports (a Release or RelWithDebInfo build).
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <string>

#include "LargeRegistryDump.h"
#include "MoreSC.h"
#include "platform/corefoundation/CFRef.h"
#include "support/FakeSysfs.h"
#include "support/RegistrySnapshot.h"

namespace {

// English names; an Ethernet interface no rule names is an adaptor by its
// BSD name, as moresc names it.
OSStatus QuietName(io_object_t, CFDictionaryRef interfaceInfo, CFStringRef englishName, CFStringRef* nameTemplate) {
    const void* device = CFDictionaryGetValue(interfaceInfo, CFSTR("DeviceName"));
    if (englishName != nullptr) *nameTemplate = CFStringCreateCopy(nullptr, englishName);
    else if (device != nullptr) *nameTemplate = CFStringCreateWithFormat(nullptr, nullptr, CFSTR("Ethernet Adaptor (%@)"), device);
    return *nameTemplate != nullptr ? noErr : -1;
}

// Lists the ports again and again; with a snapshot given, it is changed
// before each listing so that each reads it anew.
void ListPorts(benchmark::State& state, CFIndex expected, const std::string& changedSnapshot = "") {
    MoreSCFSetPortNameCallback(QuietName);
    CFRef<CFArrayRef> first;  // reads the registry once before the timing
    MoreSCCreatePortArray(first.out());
    for (auto _ : state) {
        if (!changedSnapshot.empty()) {
            state.PauseTiming();
            std::filesystem::last_write_time(changedSnapshot, std::filesystem::last_write_time(changedSnapshot) +
                                                                  std::chrono::seconds(1));
            state.ResumeTiming();
        }
        CFRef<CFArrayRef> ports;
        if (MoreSCCreatePortArray(ports.out()) != noErr || CFArrayGetCount(ports.get()) != expected) {
            state.SkipWithError("the ports were not listed");
        }
    }
    MoreSCFSetPortNameCallback(nullptr);
    state.SetComplexityN(state.range(0));
}

void PortArrayFromSnapshot(benchmark::State& state, PropertyListFormat format, bool firstRead) {
    TempRoot root;
    RegistrySnapshot registry;
    long ports = state.range(0) / 10;
    for (long i = 0; i < ports; ++i) {
        std::string number = std::to_string(i);
        registry.AddPCIEthernet("en" + number, "SLOT-" + number, i % 2);
        // Seven entries that are not ports, with properties.
        RegistrySnapshot::Entry& bridge = registry.root().Add("IOPCI2PCIBridge", "pci-bridge");
        for (int j = 0; j < 7; ++j) {
            bridge.Add("AppleSomeDriver" + std::to_string(j)).String("IOClass", "AppleSomeDriver")
                .Number("IOGeneralInterest", j).FirmwareText("compatible", "pci106b,1234");
        }
    }
    std::string path = registry.Install(root, format);
    ListPorts(state, ports, firstRead ? path : std::string());
}

void BM_FirstPortArrayFromXMLSnapshot(benchmark::State& state) {
    PortArrayFromSnapshot(state, PropertyListFormat::XML, true);
}
void BM_FirstPortArrayFromBinarySnapshot(benchmark::State& state) {
    PortArrayFromSnapshot(state, PropertyListFormat::Binary, true);
}
void BM_PortArrayAgainFromXMLSnapshot(benchmark::State& state) {
    PortArrayFromSnapshot(state, PropertyListFormat::XML, false);
}

void BM_PortArrayFromSysfs(benchmark::State& state) {
    TempRoot root;
    FakeSysfs sys(root);
    long interfaces = state.range(0);
    for (long i = 0; i < interfaces; ++i) {
        char function[32], address[32];
        std::snprintf(function, sizeof(function), "0000:%02lx:%02lx.0", i / 32 + 1, i % 32);
        std::snprintf(address, sizeof(address), "02:00:00:00:%02lx:%02lx", (i >> 8) & 0xFF, i & 0xFF);
        sys.Device(std::string("pci0000:00/") + function, "pci");
        sys.PCISlot(std::to_string(i), std::string(function).substr(0, 10));
        sys.NetInterface("eth" + std::to_string(i), std::string("pci0000:00/") + function, address);
    }
    ListPorts(state, interfaces);
}

constexpr long kRealMacDumpBytes = 13L * 1000 * 1000;

// Lists the ports of a 13 MB text dump, or of the same registry in the
// property-list form.
void PortArrayFromRealSizedDump(benchmark::State& state, bool text) {
    TempRoot root;
    std::string path = (root.path() / "registry.txt").string();
    long bytes = large_registry_dump::Write(path, kRealMacDumpBytes);
    if (!text) {
        std::string xml = (root.path() / "registry.plist").string();
        bytes = large_registry_dump::WritePropertyListForm(path, xml);
        path = xml;
    }
    ::setenv("TARNWICK_IOREG", path.c_str(), 1);
    MoreSCFSetPortNameCallback(QuietName);
    state.counters["dump_MB"] = static_cast<double>(bytes) / 1e6;
    state.SetLabel(text ? "ioreg -lw0 text" : "ioreg -a XML");
    ListPorts(state, large_registry_dump::kPorts, path);
    ::unsetenv("TARNWICK_IOREG");
}

void BM_PortArrayFromTextDumpOfARealMacsSize(benchmark::State& state) { PortArrayFromRealSizedDump(state, true); }
void BM_PortArrayFromXMLDumpOfTheSameRegistry(benchmark::State& state) { PortArrayFromRealSizedDump(state, false); }

BENCHMARK(BM_FirstPortArrayFromXMLSnapshot)->RangeMultiplier(10)->Range(1000, 100000)
    ->Unit(benchmark::kMillisecond)->Complexity();
BENCHMARK(BM_FirstPortArrayFromBinarySnapshot)->RangeMultiplier(10)->Range(1000, 100000)
    ->Unit(benchmark::kMillisecond)->Complexity();
BENCHMARK(BM_PortArrayAgainFromXMLSnapshot)->RangeMultiplier(10)->Range(1000, 100000)
    ->Unit(benchmark::kMillisecond)->Complexity();
BENCHMARK(BM_PortArrayFromSysfs)->Arg(100)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond)->Complexity();
BENCHMARK(BM_PortArrayFromTextDumpOfARealMacsSize)->Arg(13)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PortArrayFromXMLDumpOfTheSameRegistry)->Arg(13)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
