// The frame of the subcommands that work on one service: a session, the set
// of --set (or the current set), the service that the first argument
// names, then the subcommand's own step.
#pragma once

#include <functional>

#include "MoreSC.h"
#include "moresc/Outcome.h"
#include "moresc/Session.h"
#include "moresc/Subcommands.h"

// Returns the status of the library operation named by the caller.
using ServiceStep = std::function<OSStatus(CFStringRef setID, CFStringRef serviceID)>;

// Runs step inside one session of the given access; its status is checked
// as that of operation. The outcome holds the first failure, the session's
// closing save included, when this returns.
void RunOnService(Outcome* outcome, const Invocation& invocation, Session::Access access, const char* operation,
                  const ServiceStep& step);
