// The debugger-message routine: writes a length-prefixed (Pascal) string to
// standard error as one line. It never stops the program.
#pragma once

#include "platform/corefoundation/MacTypes.h"

void DebugStr(ConstStr255Param debuggerMsg);
