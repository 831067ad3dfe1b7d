// Names that stay unique: a set's name among the sets of the store, a
// service's among the services of its set. Lookups by name fail on a
// name that several share, so a subcommand refuses to make one, unless
// the user asks for it (--allow-duplicate).
//
// All need an open session. On failure the outcome says why.
#pragma once

#include "MoreSC.h"
#include "moresc/Outcome.h"

// Refuses name when a set other than exceptSetID (nil: any set) has it.
void CheckSetNameFree(Outcome* outcome, CFStringRef name, CFStringRef exceptSetID);

// Refuses name when a service of setID (nil: the current set) other than
// exceptServiceID has it.
void CheckServiceNameFree(Outcome* outcome, CFStringRef setID, CFStringRef name, CFStringRef exceptServiceID);

// The name for a copy of a set or service called name, free among the
// sets, or among the services of setID: "<name> copy", or else
// "<name> copy 2", "<name> copy 3" and so on.
CFRef<CFStringRef> CopyFreeSetName(Outcome* outcome, CFStringRef name);
CFRef<CFStringRef> CopyFreeServiceName(Outcome* outcome, CFStringRef setID, CFStringRef name);
