#include "netconfig/MoreSCSession.h"

#include "netconfig/MoreSCSessionState.h"
#include "platform/coreservices/MoreAssert.h"
#include "plist/MoreCFQ.h"

// The session's state. Every store operation of the layer runs between a
// MoreSCOpen and a MoreSCClose; the count lets them nest so that a compound
// operation reads and writes one store and saves it once, at its end.
SCPreferencesRef gPrefsRef = nil;
SInt32 gPrefsOpenCount = 0;
Boolean gPrefsLocked = false;
Boolean gPrefsDirty = false;
CFStringRef gClientName = nil;

namespace {

// The checks that hold on entry to and exit from both open and close.
void CheckSessionState() {
    MoreAssertQ(gPrefsOpenCount >= 0);
    MoreAssertQ(!gPrefsDirty || (gPrefsOpenCount != 0));
    MoreAssertQ(!gPrefsLocked || (gPrefsOpenCount != 0));
    MoreAssertQ(!gPrefsDirty || (gPrefsRef != nil));
    MoreAssertQ(!gPrefsLocked || (gPrefsRef != nil));
}

}  // namespace

OSStatus MoreSCOpen(Boolean lockThePrefs, Boolean waitForLock) {
    MoreAssertQ(!waitForLock || lockThePrefs);
    CheckSessionState();
    MoreAssertQ((gPrefsOpenCount == 0) == (gPrefsRef == nil));

    OSStatus err = noErr;
    if (gPrefsOpenCount == 0) {
        CFStringRef name = (gClientName != nil) ? gClientName : CFSTR("MoreSCF");
        gPrefsRef = SCPreferencesCreate(nil, name, nil);
        err = MoreSCError(gPrefsRef);
    }
    // A nested open may lock a session its outer open left unlocked; the
    // lock then lasts until the outermost close, and a session that holds
    // it already is not locked again. A session that never got its store
    // (a failed first open) has nothing to lock.
    if (err == noErr && lockThePrefs && !gPrefsLocked) {
        err = MoreSCErrorBoolean(gPrefsRef != nil && SCPreferencesLock(gPrefsRef, waitForLock));
        gPrefsLocked = (err == noErr);
    }
    // Counted even on failure: the caller still owes the matching close.
    gPrefsOpenCount += 1;

    CheckSessionState();
    MoreAssertQ(((gPrefsOpenCount == 1) && (err != noErr) && (gPrefsRef == nil)) || (gPrefsRef != nil));
    return err;
}

void MoreSCClose(OSStatus* err, Boolean commit) {
    MoreAssertQ(err != nil);
    MoreAssertQ(gPrefsOpenCount > 0);
    CheckSessionState();
    MoreAssertQ(((gPrefsOpenCount == 1) && (*err != noErr) && (gPrefsRef == nil)) || (gPrefsRef != nil));

    // Dirtiness is sticky: once a close has asked to save without an error,
    // the outermost close saves whatever its own caller says.
    if (commit) gPrefsDirty = gPrefsDirty || (*err == noErr);
    gPrefsOpenCount -= 1;

    if (gPrefsOpenCount == 0) {
        if (gPrefsDirty) {
            OSStatus status = MoreSCErrorBoolean(gPrefsRef != nil && SCPreferencesCommitChanges(gPrefsRef));
            if (status == noErr) status = MoreSCErrorBoolean(SCPreferencesApplyChanges(gPrefsRef));
            // The caller's own error, if any, wins over the save's.
            if (*err == noErr) *err = status;
            gPrefsDirty = false;
        }
        if (gPrefsLocked) {
            Boolean junkBool = SCPreferencesUnlock(gPrefsRef);
            MoreAssertQ(junkBool);
            gPrefsLocked = false;
        }
        CFQRelease(gPrefsRef);
        gPrefsRef = nil;
    }

    CheckSessionState();
    MoreAssertQ((gPrefsOpenCount == 0) == (gPrefsRef == nil));
}

SCPreferencesRef MoreSCGetSCPreferencesRef(void) {
    MoreAssertQ(gPrefsOpenCount >= 0);
    MoreAssertQ(gPrefsRef != nil);
    return gPrefsRef;
}

OSStatus MoreSCSetClient(CFStringRef clientName) {
    // Release first, then retain: the name takes effect at the next
    // outermost open.
    CFQRelease(gClientName);
    CFQRetain(clientName);
    gClientName = clientName;
    return noErr;
}

CFStringRef MoreSCGetClient(void) { return gClientName; }

OSStatus MoreSCErrorBoolean(Boolean success) {
    if (success) return noErr;
    // A platform call that failed without leaving a status still failed.
    OSStatus err = SCError();
    if (err == noErr) err = kSCStatusFailed;
    return err;
}

OSStatus MoreSCError(const void* value) { return MoreSCErrorBoolean(value != nil); }

OSStatus MoreSCToOSStatus(SInt32 scStatus) { return scStatus; }
