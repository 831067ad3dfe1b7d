// AppleTalk across the services of a set: is it on anywhere, and switching
// it on or off everywhere. Both open the preferences session themselves.
#pragma once

#include "platform/corefoundation/CoreFoundation.h"

// *active becomes true when some active service of the set (nil: the
// current set) has an active "AppleTalk" entity, false otherwise. The
// first error stops the search and is returned; a service without an
// "AppleTalk" entity is such an error. *active is set to false first. A nil
// active is reported and refused with paramErr.
OSStatus MoreSCIsAppleTalkActive(CFStringRef setID, Boolean* active);

// Switches the "AppleTalk" entity of every service of the set (nil: the
// current set), active or not, to active; services without the entity are
// passed over. Saves and applies only when an entity changed. The first
// failed write stops the walk and is returned.
OSStatus MoreSCSetAppleTalkActive(CFStringRef setID, Boolean active);
