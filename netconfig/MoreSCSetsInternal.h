// Internal to the layer and its tests: the one-key edit of a dictionary in
// the store that renaming a set and writing a service order share.
#pragma once

#include "platform/corefoundation/CoreFoundation.h"

// Sets dictKey to newValue in a copy of the existing dictionary at dictPath
// and writes the copy back whole. The node must exist: a missing one gives
// the store's status and nothing is created. -4960 when the copy cannot be
// made. Needs an open session.
OSStatus PreferencesPathSetProperty(CFStringRef dictPath, CFStringRef dictKey, CFTypeRef newValue);
