// The inside of a preferences store handle, shared by the files that
// implement the store (the handle and its file, and the path operations).
#pragma once

#include <string>

#include "platform/corefoundation/CFRef.h"
#include "platform/corefoundation/CFRuntime.h"
#include "platform/posix/AtomicFile.h"
#include "platform/posix/FileLock.h"
#include "platform/corefoundation/PropertyListFile.h"
#include "platform/systemconfiguration/SCPreferences.h"

struct __SCPreferences : __CFRuntimeBase {
    __SCPreferences() : __CFRuntimeBase(SCPreferencesGetTypeID()) {}

    std::string name;  // the client's name, for messages
    std::string file;  // absolute path of the store file

    // The store as this handle sees it. Every dictionary and array in it is
    // mutable; one that anybody else has retained (a caller, or the saved
    // tree below) is copied before it is changed, so nothing handed out or
    // remembered ever changes under its holder.
    CFRef<CFMutableDictionaryRef> tree;

    // The store as it is on disk: the tree as read or last committed. It
    // shares every unchanged node with tree.
    CFRef<CFMutableDictionaryRef> saved;
    bool savedExists = false;  // whether there was a file at all
    FileStamp savedStamp;      // the file as read or last written
    std::size_t savedHash = 0;  // and a hash of its bytes
    // The bytes of the last commit, kept for the apply that follows it;
    // empty after a load (the bytes read are let go once parsed).
    std::string savedBytes;
    PropertyListFormat format = PropertyListFormat::XML;

    FileLock lock;
};

inline __SCPreferences* SCPreferencesInside(SCPreferencesRef prefs) { return const_cast<__SCPreferences*>(prefs); }

// Records the status that SCError() reports.
void _SCErrorSet(int status);

// The status of a file that the system refused with error (errno): an
// access error when permissions or a read-only file system forbid, a
// failure otherwise.
int StatusForFileError(int error);

// The root dictionary, made the handle's own first so that it may be
// changed.
CFMutableDictionaryRef SCPreferencesWritableRoot(__SCPreferences* prefs);

