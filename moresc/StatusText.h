// What a library status means, in words, for the failure messages.
#pragma once

#include <string>

#include "MoreSC.h"

// "-50 (paramErr): bad argument: ..." for a status of the table in
// StatusTable.def; "<code>: unknown status" for any other.
std::string DescribeStatus(OSStatus status);
