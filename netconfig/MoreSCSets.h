// Sets (network locations): the current set, the dictionary of all sets,
// set IDs and set names.
//
// Every operation opens the preferences session on entry and closes it on
// exit (see MoreSCSession.h), so it may be called inside or outside a
// session of the caller's; the writers ask the outermost close to save.
// Out-parameters must hold nil on entry; on success they receive a
// reference the caller owns and releases, on failure they stay nil. A
// missing "CurrentSet", "Sets" or set gives the store's status (1004 for a
// missing key, or 1001); -4960 when an object cannot be made. Failed checks
// of the arguments are reported on standard error and the call goes on.
#pragma once

#include "platform/corefoundation/CoreFoundation.h"

// The ID of the current set ("0" for a "CurrentSet" of /Sets/0).
OSStatus MoreSCCopyCurrentSet(CFStringRef* setID);
// Makes setID (not nil) the current set. Its existence is not checked.
OSStatus MoreSCSetCurrentSet(CFStringRef setID);
// The whole "Sets" dictionary: the store's own, not to be changed.
OSStatus MoreSCCopySetsDict(CFDictionaryRef* setsDict);
// Replaces every set at once with setsDict (not nil).
OSStatus MoreSCSetSetsDict(CFDictionaryRef setsDict);
// The set IDs in the store's order. When indexOfCurrentSet is not nil it
// receives the current set's position; it is left alone when the current
// set is not among them, and the call fails without a current set.
OSStatus MoreSCCopySetIDs(CFArrayRef* setIDs, CFIndex* indexOfCurrentSet);
// The set's "UserDefinedName"; -4960 for a set without one.
OSStatus MoreSCCopyUserVisibleNameOfSet(CFStringRef setID, CFStringRef* userVisibleName);
// Sets the set's "UserDefinedName"; a missing set fails and is not created.
OSStatus MoreSCRenameSet(CFStringRef setID, CFStringRef newSetUserVisibleName);
