// Real Macs end to end: the registry dumps of three Macs, each in the form
// it was captured in and as "ioreg -a" writes it, listed by "moresc ports"
// and made into a set by "moresc new-set" on a real store. The expected
// ports follow the naming rules: a Mac with Thunderbolt lists its bridges
// as adaptors by their BSD names.
#include <gtest/gtest.h>

#include "support/ProgramHarness.h"

namespace {

struct Port {
    std::string name, hardware, device, mac;
};

struct Machine {
    std::vector<const char*> files;
    std::vector<Port> ports;
};

const Machine kMachines[] = {
    {{"PowerMac6,1-ioreg-l.txt", "PowerMac6,1-ioreg-a.plist"},
     {{"Internal Modem", "Modem", "modem", "-"},
      {"Built-in Ethernet", "Ethernet", "en0", "00:0a:95:6b:3d:ba"},
      {"PCI Ethernet Slot B", "Ethernet", "en1", "00:11:24:9a:1c:f0"}}},
    {{"MacPro5,1-ioreg-lw0.txt", "MacPro5,1-ioreg-a.plist"},
     {{"bluetooth-modem-port", "Modem", "Bluetooth-Modem", "-"},
      {"bluetooth-pda-sync-port", "Modem", "Bluetooth-PDA-Sync", "-"},
      {"Built-in Ethernet", "Ethernet", "en0", "3c:07:54:7d:44:a2"},
      {"PCI Ethernet Slot AirPort, Port 2", "Ethernet", "en2", "28:37:37:0a:8b:e7"},
      {"PCI Ethernet Slot unknown, Port 2", "Ethernet", "en1", "3c:07:54:7d:57:31"}}},
    {{"iMac14,2.ioreg", "iMac14,2-ioreg-a.plist"},
     {{"bluetooth-modem-port", "Modem", "Bluetooth-Modem", "-"},
      {"bluetooth-incoming-port-port", "Modem", "Bluetooth-Incoming-Port", "-"},
      {"Built-in Ethernet", "Ethernet", "en0", "10:dd:b1:ea:91:fa"},
      {"PCI Ethernet Slot unknown, Port 2", "Ethernet", "en1", "c8:e0:eb:2c:72:fd"},
      {"Ethernet Adaptor (en3)", "Ethernet", "en3", "32:00:1b:9d:60:01"},
      {"Ethernet Adaptor (en4)", "Ethernet", "en4", "32:00:1b:9d:60:00"}}},
};

// IDs of a store keyed by UUIDs count up from here.
constexpr long kFirstID = -2147483647;

}  // namespace

TEST(MorescRealMacs, PortsAndNewSetFromEveryFormOfThreeMacs) {
    for (const Machine& machine : kMachines) {
        std::string listing, services;
        for (std::size_t i = 0; i < machine.ports.size(); ++i) {
            const Port& port = machine.ports[i];
            listing += "name: " + port.name + "\nhardware: " + port.hardware + "\ndevice: " + port.device +
                       "\nmac: " + port.mac + "\n\n";
            services += std::to_string(kFirstID + static_cast<long>(i)) + "\tactive\t" + port.device + "\t" +
                        port.name + "\n";
        }
        for (const char* file : machine.files) {
            TempRoot root;
            root.installStore("imac-ethernet-pac.plist");
            std::string dump = std::string(TARNWICK_REGISTRIES_DIR) + "/" + file;
            ::setenv("TARNWICK_IOREG", dump.c_str(), 1);
            ProgramRun ports = RunMoresc(root, {"ports"});
            ProgramRun newSet = RunMoresc(root, {"new-set", "Lab"});
            ProgramRun listed = RunMoresc(root, {"services", "Lab"});
            ::unsetenv("TARNWICK_IOREG");

            EXPECT_EQ(0, ports.exitStatus) << file << ": " << ports.err;
            EXPECT_EQ(listing, ports.out) << file;
            EXPECT_EQ("", ports.err + newSet.err + listed.err) << file;
            EXPECT_EQ(std::to_string(kFirstID) + "\n", newSet.out) << file;
            EXPECT_EQ(services, listed.out) << file;
        }
    }
}
