// Keyed-archive UIDs: the object references of an archive that
// NSKeyedArchiver wrote (an index into its "$objects" array). Binary
// property lists carry them as a type of their own; they are no property-
// list value, so only readers of keyed archives ask for them.
#pragma once

#include <cstdint>

#include "platform/corefoundation/CoreFoundation.h"

typedef const struct __CFKeyedArchiverUID* CFKeyedArchiverUIDRef;

CFTypeID _CFKeyedArchiverUIDGetTypeID(void);

// A new UID holding value, owned by the caller.
CFKeyedArchiverUIDRef _CFKeyedArchiverUIDCreate(CFAllocatorRef allocator, uint32_t value);

uint32_t _CFKeyedArchiverUIDGetValue(CFKeyedArchiverUIDRef uid);
