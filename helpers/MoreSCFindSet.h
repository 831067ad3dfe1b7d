// Finding a set (network location) by the name the user sees.
#pragma once

#include "platform/corefoundation/CoreFoundation.h"

// The ID of the first set, in the store's order of sets, whose
// "UserDefinedName" equals userVisibleName exactly. *setID must be nil on
// entry; it receives the ID, which the caller releases, or stays nil when
// no set has that name (still noErr). An error reading a set's name before
// a match ends the search with that error (a set without a name is -4960).
// Opens no session of its own: wrap it in one to read the store once. A nil
// userVisibleName or setID is reported and refused with paramErr.
OSStatus MoreSCFindSetByUserVisibleNameAndCopyID(CFStringRef userVisibleName, CFStringRef* setID);
