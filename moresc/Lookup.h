// Finding sets and services by what the user typed: an ID, or else a
// user-visible name. An ID wins over a name; a name that several sets (or
// services of one set) share is refused with the list of their IDs.
//
// Both need an open session. On failure the outcome says why and the result
// is nil.
#pragma once

#include <optional>
#include <string>

#include "MoreSC.h"
#include "moresc/Outcome.h"

// The IDs of every set: an empty array when the store has no "Sets" at
// all, as a missing store has none.
CFRef<CFArrayRef> CopyAllSetIDs(Outcome* outcome);

// The ID of the set that given names.
CFRef<CFStringRef> LookUpSet(Outcome* outcome, const std::string& given);

// The ID of the service of setID (nil: the current set) that given names.
CFRef<CFStringRef> LookUpService(Outcome* outcome, CFStringRef setID, const std::string& given);

// The set a service subcommand works in: the one --set names, or nil (the
// current set) when there was no --set. Check outcome->ok() for failure.
CFRef<CFStringRef> LookUpSetOption(Outcome* outcome, const std::optional<std::string>& given);
