// Whole-file reads and crash-safe whole-file writes.
//
// A write never leaves a half-written file under the final name: the bytes
// go to a temporary file in the same folder, are flushed to disk, and the
// temporary file is renamed over the old one; the folder is then flushed so
// the rename itself survives a crash. A reader therefore sees either the old
// contents or the new ones.
#pragma once

#include <string>

enum class FileReadResult {
    Read,     // *bytes holds the whole file
    Missing,  // no file (or folder) by that name
    Failed,   // it exists but could not be read; *error holds errno
};

FileReadResult ReadWholeFile(const std::string& path, std::string* bytes, int* error);

// Replaces the file at path with bytes, creating missing folders. The new
// file keeps the old one's permission bits, or gets 0644 when there was
// none. On failure returns false, sets *fault to what went wrong and *error
// to errno, and leaves the old file as it was.
bool WriteFileAtomically(const std::string& path, const std::string& bytes, std::string* fault, int* error);

// Makes the next WriteFileAtomically end the process (_exit with
// kAtomicFileInterruptedExitStatus) after writing afterBytes bytes of the
// temporary file, as a crash at that moment would. Used by tests, from a
// forked process.
void AtomicFileInterruptNextWriteForTesting(long afterBytes);
enum { kAtomicFileInterruptedExitStatus = 75 };
