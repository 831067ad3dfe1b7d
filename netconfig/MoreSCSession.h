// The preferences session: one process-wide handle to the network
// preferences store, opened and closed in nested pairs. Only the outermost
// close saves (commits and applies), and only when some close inside the
// session asked to save without an error.
#pragma once

#include "platform/corefoundation/CoreFoundation.h"
#include "platform/systemconfiguration/SCPreferences.h"

OSStatus MoreSCOpen(Boolean lockThePrefs, Boolean waitForLock);
void MoreSCClose(OSStatus* err, Boolean commit);
SCPreferencesRef MoreSCGetSCPreferencesRef(void);

OSStatus MoreSCSetClient(CFStringRef clientName);
CFStringRef MoreSCGetClient(void);

OSStatus MoreSCErrorBoolean(Boolean success);
OSStatus MoreSCError(const void* value);
OSStatus MoreSCToOSStatus(SInt32 scStatus);
