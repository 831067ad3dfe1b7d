// Hooks for tests of the file calls (FileCalls.h); not for use by the
// library. A test numbers the calls made from a starting point and makes
// one of them fail, as a full or failing disk, a signal or a crash would.
#pragma once

#include <vector>

enum class FileCall { kOpen, kRead, kWrite, kSync, kRename, kUnlink };

struct FileCallFault {
    // The number of the call that fails, counting from 1; 0 for none.
    long at = 0;
    // What it does instead: fails with this errno (EINTR: the call is made
    // again, as after a signal); kShortTransfer: a read or write moves
    // only half the bytes asked for (other calls go through); kCrash: the
    // process ends there (_exit(kCrashExitStatus)), as if it were killed.
    int error = 0;
};
enum : int { kShortTransfer = -1, kCrash = -2, kCrashExitStatus = 75 };

// Starts counting (and recording) the calls, with the fault given.
void FileCallsWatchForTesting(FileCallFault fault);
// Stops watching; returns the calls made since the start, in order.
std::vector<FileCall> FileCallsStopForTesting();
