// One level of the preferences session held for the extent of a block: the
// one way into the session for the library's operations and for programs,
// so that every exit path, error paths included, closes what it opened.
#pragma once

#include "netconfig/MoreSCSession.h"
#include "platform/systemconfiguration/SCPreferences.h"

// Opens the session on construction and closes it on destruction with the
// running status and the commit flag. The status is the caller's variable:
// the open's result goes into it unless it already holds an error (the
// first error wins), and the close may store the save's status into it.
// Read the status after the scope's block has ended:
//
//     OSStatus err = noErr;
//     {
//         MoreSCSessionScope session(&err, true);
//         if (err == noErr) err = FirstStep();
//         if (err == noErr) err = SecondStep();
//     }
//     return err;
class MoreSCSessionScope {
public:
    // What the scope does after an open that failed: close the session, as
    // every library operation must; or leave it open and counted, as a
    // command that simply ends after a failed open does.
    enum FailedOpen { kCloseFailedOpen, kLeaveFailedOpen };

    MoreSCSessionScope(OSStatus* err, Boolean commit, Boolean lockThePrefs = false, Boolean waitForLock = false,
                       FailedOpen failedOpen = kCloseFailedOpen)
        : err_(err), commit_(commit) {
        OSStatus openErr = MoreSCOpen(lockThePrefs, waitForLock);
        close_ = openErr == noErr || failedOpen == kCloseFailedOpen;
        if (*err_ == noErr) *err_ = openErr;
    }
    ~MoreSCSessionScope() {
        if (close_) MoreSCClose(err_, commit_);
    }

    MoreSCSessionScope(const MoreSCSessionScope&) = delete;
    MoreSCSessionScope& operator=(const MoreSCSessionScope&) = delete;

    // Decides late whether the close asks to save (for a walk that learns
    // only at its end whether it changed anything).
    void SetCommit(Boolean commit) { commit_ = commit; }

    // The session's store; only valid while the open succeeded.
    SCPreferencesRef Prefs() const { return MoreSCGetSCPreferencesRef(); }

private:
    OSStatus* err_;
    Boolean commit_;
    bool close_;
};
