// The subcommand on the network ports of the machine: list them.

#include <cstdio>
#include <string>

#include "MoreSC.h"
#include "moresc/Json.h"
#include "moresc/Outcome.h"
#include "moresc/Ports.h"
#include "moresc/Subcommands.h"

namespace {

// One port of the list: name, hardware, device and MAC address (none
// when the port has none).
nlohmann::json PortEntry(CFDictionaryRef port) {
    return {{"name", JsonStringOrNull(CFDictionaryGetValue(port, kSCPropUserDefinedName))},
            {"hardware", JsonStringOrNull(CFDictionaryGetValue(port, kSCPropNetInterfaceHardware))},
            {"device", JsonStringOrNull(CFDictionaryGetValue(port, kSCPropNetInterfaceDeviceName))},
            {"mac", JsonStringOrNull(CFDictionaryGetValue(port, kSCPropMACAddress))}};
}

// One block of the text: a line a field ("-" for a MAC address the port
// does not have), then an empty line.
std::string PortBlock(const nlohmann::json& port) {
    auto field = [&port](const char* key) { return port[key].is_null() ? "" : FieldText(port[key]); };
    std::string mac = field("mac");
    return "name: " + field("name") + "\nhardware: " + field("hardware") + "\ndevice: " + field("device") +
           "\nmac: " + (mac.empty() ? "-" : mac) + "\n\n";
}

}  // namespace

int ListPorts(const Invocation& invocation) {
    Outcome outcome(invocation.subcommand->name);
    CFRef<CFArrayRef> ports = CopyPorts(&outcome);
    nlohmann::json list = nlohmann::json::array();
    std::string blocks;
    CFIndex count = outcome.ok() ? CFArrayGetCount(ports.get()) : 0;
    for (CFIndex index = 0; index < count; ++index) {
        list.push_back(PortEntry(static_cast<CFDictionaryRef>(CFArrayGetValueAtIndex(ports.get(), index))));
        blocks += PortBlock(list.back());
    }
    if (outcome.ok()) std::fputs((invocation.json ? JsonDocument(list) : blocks).c_str(), stdout);
    return outcome.Finish();
}
