// Internal helpers of the property-list utilities, for the library's own
// files and tests.
#pragma once

#include "platform/corefoundation/CFRef.h"
#include "platform/corefoundation/CoreFoundation.h"

// Copies the elements of path into a newly allocated counted array, which
// the caller frees with free(). -108 when it cannot be allocated.
OSStatus PathArrayHelper(CFArrayRef path, const void*** pathElements);

// A mutable copy (of unlimited capacity) of dict or array. *err receives
// noErr, or -4960 with a nil result when the copy cannot be made.
CFRef<CFMutableDictionaryRef> CFQDictionaryCreateMutableCopy(CFDictionaryRef dict, OSStatus* err);
CFRef<CFMutableArrayRef> CFQArrayCreateMutableCopy(CFArrayRef array, OSStatus* err);
