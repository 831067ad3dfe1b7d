// Sets (network locations): the current set, the dictionary of all sets,
// set IDs and set names.
#pragma once

#include "platform/corefoundation/CoreFoundation.h"

OSStatus MoreSCCopyCurrentSet(CFStringRef* setID);
OSStatus MoreSCSetCurrentSet(CFStringRef setID);
OSStatus MoreSCCopySetsDict(CFDictionaryRef* setsDict);
OSStatus MoreSCSetSetsDict(CFDictionaryRef setsDict);
OSStatus MoreSCCopySetIDs(CFArrayRef* setIDs, CFIndex* indexOfCurrentSet);
OSStatus MoreSCCopyUserVisibleNameOfSet(CFStringRef setID, CFStringRef* userVisibleName);
OSStatus MoreSCRenameSet(CFStringRef setID, CFStringRef newSetUserVisibleName);

// Internal to the layer: sets one key of the existing dictionary at
// dictPath. Needs an open session.
OSStatus PreferencesPathSetProperty(CFStringRef dictPath, CFStringRef dictKey, CFTypeRef newValue);
