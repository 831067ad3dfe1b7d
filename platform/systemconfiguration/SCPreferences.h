// The persistent network preferences store, with SystemConfiguration's names
// and semantics, backed by a property-list file on disk.
//
// The default store is $TARNWICK_ROOT/Library/Preferences/SystemConfiguration/
// preferences.plist; a non-nil prefsID names another file (absolute, or
// relative to that folder). A missing file is an empty store. A file that
// cannot be read, is not a regular file (a folder, FIFO, device or socket),
// is larger than kSCPreferencesMaxFileSize, or is not a property list whose
// root is a dictionary, makes SCPreferencesCreate fail: one line on standard
// error names the file and the fault, and the file is never written. Such a
// file is refused before any of it is read.
//
// A handle opened on the file this process last saved, unchanged since
// (same device, inode, size and modification time), takes the saved tree
// without reading the file again.
//
// Paths are "/"-separated chains of dictionary keys from the root. A
// dictionary holding "__LINK__" (a path string) stands for the node at that
// path: lookups follow links in every component, writes follow them in
// every component but the last. Values handed out by the Get calls are
// borrowed: they belong to the store and must not be changed.
//
// Every call leaves its status for SCError(): kSCStatusOK on success.
#pragma once

#include "platform/corefoundation/CoreFoundation.h"

typedef const struct __SCPreferences* SCPreferencesRef;

enum {
    kSCStatusOK = 0,
    kSCStatusFailed = 1001,
    kSCStatusInvalidArgument = 1002,
    kSCStatusAccessError = 1003,
    kSCStatusNoKey = 1004,
    kSCStatusKeyExists = 1005,
    kSCStatusLocked = 1006,
    kSCStatusNeedLock = 1007,
    kSCStatusNoStoreServer = 2002,
    kSCStatusNoPrefsSession = 3001,
    kSCStatusPrefsBusy = 3002,
    kSCStatusNoConfigFile = 3003,
    kSCStatusNoLink = 3004,
    kSCStatusStale = 3005,
    kSCStatusMaxLink = 3006,
};

// The status left by the last SystemConfiguration call of this process.
int SCError(void);

// The largest store file read, in bytes (64 MiB).
enum : unsigned long { kSCPreferencesMaxFileSize = 64UL * 1024 * 1024 };

CFTypeID SCPreferencesGetTypeID(void);

SCPreferencesRef SCPreferencesCreate(CFAllocatorRef allocator, CFStringRef name, CFStringRef prefsID);

// Takes the store's cross-process lock, waiting for it or failing at once
// with kSCStatusPrefsBusy. Fails with kSCStatusStale when the file changed
// on disk since this handle read it.
Boolean SCPreferencesLock(SCPreferencesRef prefs, Boolean wait);
Boolean SCPreferencesUnlock(SCPreferencesRef prefs);

// Writes the store to disk atomically when it differs from what was read;
// does nothing otherwise. A store whose file would be larger than
// kSCPreferencesMaxFileSize is not written (kSCStatusFailed). Under the store's lock it first removes what
// crashed saves of the store left behind (".<name>.XXXXXX" beside it). Fails with kSCStatusStale, writing nothing, when
// the file changed on disk since it was read.
Boolean SCPreferencesCommitChanges(SCPreferencesRef prefs);
// Hands the committed configuration to the running system (the live state,
// SCDynamicStore.h). Fails with kSCStatusNoStoreServer, after one line on
// standard error ("<file>: saved, but not applied: <reason>"), when the
// running system could not take it; the committed store stays as it is.
Boolean SCPreferencesApplyChanges(SCPreferencesRef prefs);

// Discards the changes not yet committed: the handle holds the store again
// as it was read or last committed. Values got before stay valid for those
// who retained them.
Boolean SCPreferencesSynchronize(SCPreferencesRef prefs);

CFPropertyListRef SCPreferencesGetValue(SCPreferencesRef prefs, CFStringRef key);
Boolean SCPreferencesSetValue(SCPreferencesRef prefs, CFStringRef key, CFPropertyListRef value);

CFDictionaryRef SCPreferencesPathGetValue(SCPreferencesRef prefs, CFStringRef path);
// Creates missing intermediate dictionaries.
Boolean SCPreferencesPathSetValue(SCPreferencesRef prefs, CFStringRef path, CFDictionaryRef value);
// Fails with kSCStatusNoKey when there is no node at path.
Boolean SCPreferencesPathRemoveValue(SCPreferencesRef prefs, CFStringRef path);
// The target path of the link at path, or nil (kSCStatusNoKey) when the
// node is missing or is not a link.
CFStringRef SCPreferencesPathGetLink(SCPreferencesRef prefs, CFStringRef path);
