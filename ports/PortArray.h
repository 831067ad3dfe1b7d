// Collecting port dictionaries from registry queries, internal to the port
// scanner.
#pragma once

#include "ports/PortDictionaries.h"

// Appends to result a named port dictionary for every service matching
// deviceMatchDict that deviceToDict describes, in registry order. Takes
// over the caller's reference to deviceMatchDict, as the registry query
// does. Stops at the first failure (of the query, a dictionary, a fill
// procedure or a name) and returns it; what was appended stays.
OSStatus AddMatchingDevicesToArray(mach_port_t masterPort, CFDictionaryRef deviceMatchDict,
                                   DeviceToDictProc deviceToDict, void* refCon, CFMutableArrayRef result);
