// The frame of the subcommands that work on one service: a session, the set
// of --set (or the current set), the service that the first argument
// names, then the subcommand's own step.
#pragma once

#include <functional>
#include <initializer_list>

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

// The protocol entity of a service, from the service's dictionary: nil
// when the service has none, a failure when its value is not a dictionary
// (which the library would take for a broken store). Needs an open session.
CFRef<CFDictionaryRef> CopyEntityIfAny(Outcome* outcome, CFStringRef setID, CFStringRef serviceID,
                                       CFStringRef protocol);

// Changes some keys of an entity; a failure it records leaves the store as
// it was.
using EntityEdit = std::function<void(Outcome* outcome, CFMutableDictionaryRef entity)>;

// Edits the protocol entity of the service that the first argument names,
// in one session that locks the store. edit receives a copy of the entity
// (an empty dictionary when the service has none); the copy is written
// back, with MoreSCSetEntity, only when edit changed it.
void EditEntity(Outcome* outcome, const Invocation& invocation, CFStringRef protocol, const EntityEdit& edit);

// Sets each key of keys in to as from has it, and removes it from to when
// from has none: so an entity built from a digest gives exactly those keys.
void CopyKeys(CFDictionaryRef from, CFMutableDictionaryRef to, std::initializer_list<CFStringRef> keys);
