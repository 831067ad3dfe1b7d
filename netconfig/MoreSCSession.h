// The preferences session: one process-wide handle to the network
// preferences store, opened and closed in nested pairs. Only the outermost
// close saves (commits and applies), and only when some close inside the
// session asked to save without an error.
//
// Every operation of the library opens the session on entry and closes it
// on exit, so a caller that wraps a sequence of operations in its own
// MoreSCOpen ... MoreSCClose gets one consistent store and one save. Single
// threaded: the session is process-wide state without a guard. Statuses of
// the store are passed on as they are; a platform call that fails without
// leaving a status gives 1001 (kSCStatusFailed). Failed checks are reported
// as "MoreAssertQ failure: <condition>" on standard error and never stop
// the program.
#pragma once

#include "platform/corefoundation/CoreFoundation.h"
#include "platform/systemconfiguration/SCPreferences.h"

// Enters the session, opening the store on the outermost call (under the
// client name, "MoreSCF" by default), and takes the store's cross-process
// lock when lockThePrefs is set, waiting for it when waitForLock is set
// (which needs lockThePrefs). The session is counted even when the open
// fails: the caller must still call MoreSCClose, handing it the error.
// Returns the store's status (3002 when the lock is held elsewhere).
OSStatus MoreSCOpen(Boolean lockThePrefs, Boolean waitForLock);
// Leaves the session. *err (err not nil) carries the caller's status in; a
// close with commit and *err == noErr marks the session to be saved. The
// outermost close saves and applies a marked session, unlocks, and drops
// the store; a failed save reaches *err only when it held noErr.
void MoreSCClose(OSStatus* err, Boolean commit);
// The open session's store, borrowed. Only valid inside a session whose
// open succeeded.
SCPreferencesRef MoreSCGetSCPreferencesRef(void);

// Sets the name the next outermost open uses (nil: "MoreSCF"); the name is
// retained. Always noErr.
OSStatus MoreSCSetClient(CFStringRef clientName);
// The name set by MoreSCSetClient, borrowed, or nil.
CFStringRef MoreSCGetClient(void);

// noErr when success is true; otherwise the store's last status (SCError),
// or 1001 when it left none.
OSStatus MoreSCErrorBoolean(Boolean success);
// MoreSCErrorBoolean(value != nil), for calls that return an object or nil.
OSStatus MoreSCError(const void* value);
// The store's status as an OSStatus: the same number.
OSStatus MoreSCToOSStatus(SInt32 scStatus);
