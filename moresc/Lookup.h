// Finding sets and services by what the user typed: an ID, or else a
// user-visible name. An ID wins over a name; a name that several sets (or
// services of one set) share is refused with the list of their IDs.
//
// What the library would only report as a broken check (a store without a
// current set, a set without a service order) is checked here first and
// said in words. All of these need an open session. On failure the
// outcome says why and the result is nil.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "MoreSC.h"
#include "moresc/Outcome.h"

// A set or service and its name (nil when it has none).
struct NamedEntry {
    CFRef<CFStringRef> id;
    CFRef<CFStringRef> name;
};

// The IDs of every set: an empty array when the store has no "Sets" at
// all.
CFRef<CFArrayRef> CopyAllSetIDs(Outcome* outcome);

// The ID of the current set, checked to be a set of the store. Without a
// current set: nil, and a failure only when required.
CFRef<CFStringRef> CopyCurrentSetID(Outcome* outcome, bool required);

// The ID of the set that given names.
CFRef<CFStringRef> LookUpSet(Outcome* outcome, const std::string& given);

// The set a service subcommand works in: the one --set names, or nil (the
// current set) when there was no --set; either is checked to have a
// service order that lists services it links. Check outcome->ok() for failure.
CFRef<CFStringRef> LookUpSetOption(Outcome* outcome, const std::optional<std::string>& given);

// Checks every set as LookUpSetOption checks the one it finds, and that
// each links exactly the services its order lists. Deleting a set or a
// service ends with the collection of the services no set links, which
// reads every set; adding a service writes both halves of its set (and a
// failed addition is rolled back by a deletion).
void CheckEverySetWhole(Outcome* outcome);

// The IDs of the services of setID (nil: the current set) in service
// order, the set checked to have one.
CFRef<CFArrayRef> CopyServiceIDs(Outcome* outcome, CFStringRef setID);

// The ID of the service of setID (nil: the current set) that given names.
CFRef<CFStringRef> LookUpService(Outcome* outcome, CFStringRef setID, const std::string& given);

// Every set, or every service of setID (nil: the current set) in service
// order, with its name.
std::vector<NamedEntry> NamedSets(Outcome* outcome);
std::vector<NamedEntry> NamedServices(Outcome* outcome, CFStringRef setID);

// "the current set" or "set <ID>", for messages.
std::string SetDescription(CFStringRef setID);
