// The network ports of the machine, as the subcommands that list them or
// make services for them see them.
#pragma once

#include <string>

#include "MoreSC.h"
#include "moresc/Outcome.h"

// Installs the port name callback of moresc, which keeps the scanner's
// English names (without a callback every listing would warn on standard
// error) and names an Ethernet interface that no rule fits as an adaptor
// by its BSD name. Call it once, before any subcommand runs.
void InstallPortNameCallback();

// The port array (MoreSCCreatePortArray); nil, with the outcome recording
// the status, when the ports cannot be listed.
CFRef<CFArrayRef> CopyPorts(Outcome* outcome);

// The text of the string under key in port; "" when there is none.
std::string PortText(CFDictionaryRef port, CFStringRef key);

// The port of ports whose "DeviceName" is device (borrowed from ports);
// nil when there is none.
CFDictionaryRef FindPortByDevice(CFArrayRef ports, const std::string& device);

// The first port of ports whose "Hardware" is "Modem" (borrowed); nil when
// there is none.
CFDictionaryRef FindFirstModemPort(CFArrayRef ports);

// Whether port is a modem port ("Hardware" "Modem").
bool IsModemPort(CFDictionaryRef port);
