// Hooks for tests of the preferences store; not for use by the library.
#pragma once

#include "platform/posix/AtomicFile.h"

// Makes the next commit end the process after writing afterBytes bytes of
// its temporary file, as if the process died there; the exit status is
// kAtomicFileInterruptedExitStatus. Call it in a forked child.
void SCPreferencesInterruptNextCommitForTesting(long afterBytes);
