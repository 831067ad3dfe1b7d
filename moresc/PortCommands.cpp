// The subcommand on the network ports of the machine: list them.

#include <cstdio>
#include <string>

#include "MoreSC.h"
#include "moresc/Outcome.h"
#include "moresc/Ports.h"
#include "moresc/Subcommands.h"

namespace {

// One block of the port list: name, hardware, device and MAC address ("-"
// when the port has none), then an empty line.
std::string PortBlock(CFDictionaryRef port) {
    std::string mac = PortText(port, kSCPropMACAddress);
    return "name: " + PortText(port, kSCPropUserDefinedName) + "\nhardware: " +
           PortText(port, kSCPropNetInterfaceHardware) + "\ndevice: " +
           PortText(port, kSCPropNetInterfaceDeviceName) + "\nmac: " + (mac.empty() ? "-" : mac) + "\n\n";
}

}  // namespace

int ListPorts(const Invocation& invocation) {
    Outcome outcome(invocation.subcommand->name);
    CFRef<CFArrayRef> ports = CopyPorts(&outcome);
    std::string blocks;
    CFIndex count = outcome.ok() ? CFArrayGetCount(ports.get()) : 0;
    for (CFIndex index = 0; index < count; ++index) {
        blocks += PortBlock(static_cast<CFDictionaryRef>(CFArrayGetValueAtIndex(ports.get(), index)));
    }
    if (outcome.ok()) std::fputs(blocks.c_str(), stdout);
    return outcome.Finish();
}
