// The one outermost preferences session of a subcommand: the look-ups and
// the change read one copy of the store and save it once, at the end.
#pragma once

#include <optional>
#include <string>

#include "moresc/Outcome.h"

class Session {
public:
    enum Access {
        kRead,
        // Takes the store's lock for the whole subcommand. A store that
        // another program has locked is waited for, up to the wait set by
        // SetStoreOptions; then the session fails with kSCStatusPrefsBusy.
        kChange,
    };

    // Opens the session; a failed open becomes the outcome's failure. A
    // root without a store fails at once, with "no preferences store at
    // <path>", unless the session changes the store and SetStoreOptions
    // allowed it to make a new one.
    Session(Outcome* outcome, Access access);
    // Closes the session. The library's operations ask for the save
    // themselves, and only when they succeed, so this close never asks. A
    // changing subcommand that failed first discards the changes its
    // session holds, so that nothing is saved. A failed save becomes the
    // outcome's failure.
    ~Session();

    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    // How the sessions of this run treat a missing store (createStore: a
    // changing subcommand makes a new one) and another program's lock (how
    // long to wait for it). Set once, from the command line.
    static void SetStoreOptions(bool createStore, int waitSeconds);

private:
    Outcome* outcome_;
    OSStatus err_ = noErr;
    std::optional<MoreSCSessionScope> scope_;
    bool discardOnFailure_ = false;
};

// The path of the preferences store: the default store under
// TARNWICK_ROOT, as the library opens it.
std::string StorePath();
