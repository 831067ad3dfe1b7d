// Another process that takes the default preferences store's lock and holds
// it until it is let go. Every wait on it is bounded (see BoundedWait.h).
#pragma once

#include <fcntl.h>
#include <unistd.h>

#include "platform/systemconfiguration/SCPreferences.h"
#include "support/BoundedWait.h"

class StoreLockHolder {
public:
    StoreLockHolder() {
        int ready[2];
        if (::pipe2(ready, O_CLOEXEC) != 0 || ::pipe2(release_, O_CLOEXEC) != 0) return;
        pid_ = ::fork();
        if (pid_ == 0) {
            ::close(ready[0]);
            ::close(release_[1]);
            SCPreferencesRef prefs = SCPreferencesCreate(nil, CFSTR("holder"), nil);
            char byte = (prefs != nil && SCPreferencesLock(prefs, false)) ? 'L' : 'F';
            if (::write(ready[1], &byte, 1) != 1) ::_exit(2);
            // Holds the lock until the parent closes its end of the pipe.
            while (::read(release_[0], &byte, 1) > 0) {
            }
            ::_exit(SCPreferencesUnlock(prefs) ? 0 : 1);
        }
        ::close(ready[1]);
        ::close(release_[0]);
        char byte = 0;
        locked_ = pid_ > 0 && ::read(ready[0], &byte, 1) == 1 && byte == 'L';
        ::close(ready[0]);
    }
    ~StoreLockHolder() { LetGo(); }
    StoreLockHolder(const StoreLockHolder&) = delete;
    StoreLockHolder& operator=(const StoreLockHolder&) = delete;

    bool locked() const { return locked_; }

    // Lets the other process unlock and end; true when it did so cleanly.
    bool LetGo() {
        if (pid_ <= 0) return false;
        ::close(release_[1]);
        int status = 0;
        bool ended = WaitForChild(pid_, &status);
        pid_ = -1;
        return ended && WIFEXITED(status) && WEXITSTATUS(status) == 0;
    }

private:
    int release_[2] = {-1, -1};
    pid_t pid_ = -1;
    bool locked_ = false;
};
