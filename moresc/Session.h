// The one outermost preferences session of a subcommand: the look-ups and
// the change read one copy of the store and save it once, at the end.
#pragma once

#include <optional>

#include "moresc/Outcome.h"

class Session {
public:
    enum Access {
        kRead,
        // Takes the store's lock for the whole subcommand, without waiting:
        // a store that another program has locked is a failure at once.
        kChange,
    };

    // Opens the session; a failed open becomes the outcome's failure.
    Session(Outcome* outcome, Access access);
    // Closes the session. The library's operations ask for the save
    // themselves, and only when they succeed, so this close never asks: a
    // subcommand that failed before changing anything saves nothing. A
    // failed save becomes the outcome's failure.
    ~Session();

    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

private:
    Outcome* outcome_;
    OSStatus err_ = noErr;
    std::optional<MoreSCSessionScope> scope_;
};
