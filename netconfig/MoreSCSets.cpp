#include "netconfig/MoreSCSets.h"

#include "netconfig/MoreSCPathsInternal.h"
#include "netconfig/MoreSCSession.h"
#include "netconfig/MoreSCSessionScope.h"
#include "netconfig/MoreSCSessionState.h"
#include "netconfig/MoreSCSetsInternal.h"
#include "platform/corefoundation/CFRef.h"
#include "platform/coreservices/MoreAssert.h"
#include "platform/systemconfiguration/SCPreferences.h"
#include "platform/systemconfiguration/SCSchemaDefinitions.h"
#include "plist/CFQTyped.h"
#include "plist/MoreCFQ.h"
#include "plist/MoreCFQInternal.h"

// Sets live under the root key "Sets" (set ID -> set dictionary); the root
// key "CurrentSet" holds the current set's path, such as /Sets/0, not its
// ID. Reads see the session's copy of the store, writes made earlier in the
// same session included; writes reach the disk at the outermost close.
//
// A root value of the wrong type (a "CurrentSet" that is no string, a
// "Sets" that is no dictionary) is reported and then treated as absent, as
// the store itself treats a path that ends at something other than a
// dictionary: going on with it would hand a string operation a number.

OSStatus MoreSCCopyCurrentSet(CFStringRef* setID) {
    MoreAssertQ(setID != nil);
    MoreAssertQ(*setID == nil);

    OSStatus err = noErr;
    CFRef<CFStringRef> currentSetID;
    {
        MoreSCSessionScope session(&err, false);
        CFTypeRef setPath = nil;
        if (err == noErr) err = GetRootValue(kSCPrefCurrentSet, &setPath);
        MoreAssertQ((err != noErr) || (CFGetTypeID(setPath) == CFStringGetTypeID()));
        CFStringRef currentSetPath = CFQCast<CFStringRef>(setPath);
        if (err == noErr && currentSetPath == nil) err = kSCStatusNoKey;
        // "/Sets/0" -> "0".
        if (err == noErr) err = CopySeIDFromSePath(currentSetPath, currentSetID.out());
    }

    if (err == noErr) *setID = currentSetID.release();
    return err;
}

OSStatus MoreSCSetCurrentSet(CFStringRef setID) {
    MoreAssertQ(setID != nil);

    // The set's existence is not checked: any ID is stored as /Sets/<ID>.
    OSStatus err = noErr;
    {
        MoreSCSessionScope session(&err, true);
        CFRef<CFStringRef> setPath;
        if (err == noErr) err = CreateSetPathWithSetID(setID, setPath.out());
        if (err == noErr) err = SetRootValue(kSCPrefCurrentSet, setPath.get());
    }
    return err;
}

OSStatus MoreSCCopySetsDict(CFDictionaryRef* setsDict) {
    MoreAssertQ(setsDict != nil);
    MoreAssertQ(*setsDict == nil);

    // The store's own dictionary, shared: callers must not change it.
    OSStatus err = noErr;
    CFRef<CFDictionaryRef> sets;
    {
        MoreSCSessionScope session(&err, false);
        CFTypeRef value = nil;
        if (err == noErr) err = GetRootValue(kSCPrefSets, &value);
        // The check names the out-parameter, so it is shown the value before
        // the type decides the status; the slot is settled below.
        if (err == noErr) *setsDict = static_cast<CFDictionaryRef>(value);
        MoreAssertQ((err != noErr) || (CFGetTypeID(*setsDict) == CFDictionaryGetTypeID()));
        if (err == noErr) sets = CFRef<CFDictionaryRef>::Retain(CFQCast<CFDictionaryRef>(value));
        if (err == noErr && !sets) err = kSCStatusNoKey;
    }

    *setsDict = (err == noErr) ? sets.release() : nil;
    MoreAssertQ((err == noErr) == (*setsDict != nil));
    return err;
}

OSStatus MoreSCSetSetsDict(CFDictionaryRef setsDict) {
    MoreAssertQ(setsDict != nil);

    // Replaces every set at once.
    OSStatus err = noErr;
    {
        MoreSCSessionScope session(&err, true);
        if (err == noErr) err = SetRootValue(kSCPrefSets, setsDict);
    }
    return err;
}

OSStatus MoreSCCopySetIDs(CFArrayRef* setIDs, CFIndex* indexOfCurrentSet) {
    MoreAssertQ(setIDs != nil);
    MoreAssertQ(*setIDs == nil);

    OSStatus err = noErr;
    CFRef<CFArrayRef> ids;
    CFIndex foundIndex = kCFNotFound;
    {
        MoreSCSessionScope session(&err, false);
        CFRef<CFDictionaryRef> setsDict;
        CFRef<CFStringRef> currentSetID;
        if (err == noErr) err = MoreSCCopySetsDict(setsDict.out());
        // The sets dictionary's own order: no sorting, the current set not
        // moved to the front.
        if (err == noErr) err = CFQArrayCreateWithDictionaryKeys(setsDict.get(), ids.out());
        // Only a caller that asks for the index needs a current set. Set IDs
        // are unique, so at most one position matches.
        if (err == noErr && indexOfCurrentSet != nil) err = MoreSCCopyCurrentSet(currentSetID.out());
        if (err == noErr && indexOfCurrentSet != nil) {
            foundIndex = CFArrayGetFirstIndexOfValue(ids.get(), CFRangeMake(0, CFDictionaryGetCount(setsDict.get())),
                                                     currentSetID.get());
        }
    }

    if (err == noErr) *setIDs = ids.release();
    // The caller's index is left alone unless the current set was found by
    // a call that succeeded.
    if (err == noErr && indexOfCurrentSet != nil && foundIndex != kCFNotFound) *indexOfCurrentSet = foundIndex;

    MoreAssertQ((err == noErr) == (*setIDs != nil));
    return err;
}

OSStatus MoreSCCopyUserVisibleNameOfSet(CFStringRef setID, CFStringRef* userVisibleName) {
    MoreAssertQ(setID != nil);
    MoreAssertQ(userVisibleName != nil);
    MoreAssertQ(*userVisibleName == nil);

    OSStatus err = noErr;
    CFRef<CFStringRef> name;
    {
        MoreSCSessionScope session(&err, false);
        CFRef<CFStringRef> setPath;
        CFDictionaryRef setDict = nil;
        if (err == noErr) err = CopySetPath(setID, setPath.out());
        if (err == noErr) err = GetPathValue(setPath.get(), &setDict);
        MoreAssertQ((err != noErr) || (CFGetTypeID(setDict) == CFDictionaryGetTypeID()));
        // A set that exists but has no name is told apart from a missing
        // set by the code: -4960 rather than the store's status. The name's
        // type is checked after the session, as the caller receives it.
        if (err == noErr) {
            name = CFRef<CFStringRef>::Retain(
                static_cast<CFStringRef>(CFDictionaryGetValue(setDict, kSCPropUserDefinedName)));
        }
        if (err == noErr && !name) err = coreFoundationUnknownErr;
    }

    if (err == noErr) *userVisibleName = name.release();
    MoreAssertQ((err != noErr) || (CFGetTypeID(*userVisibleName) == CFStringGetTypeID()));
    MoreAssertQ((err == noErr) == (*userVisibleName != nil));
    return err;
}

OSStatus MoreSCRenameSet(CFStringRef setID, CFStringRef newSetUserVisibleName) {
    MoreAssertQ(setID != nil);
    MoreAssertQ(newSetUserVisibleName != nil);

    OSStatus err = noErr;
    {
        MoreSCSessionScope session(&err, true);
        CFRef<CFStringRef> setPath;
        if (err == noErr) err = CopySetPath(setID, setPath.out());
        // Edits the existing set dictionary; a missing set is not created.
        if (err == noErr) {
            err = PreferencesPathSetProperty(setPath.get(), kSCPropUserDefinedName, newSetUserVisibleName);
        }
    }
    return err;
}

OSStatus PreferencesPathSetProperty(CFStringRef dictPath, CFStringRef dictKey, CFTypeRef newValue) {
    MoreAssertQ(dictPath != nil);
    MoreAssertQ(dictKey != nil);
    MoreAssertQ(newValue != nil);
    MoreAssertQ(gPrefsOpenCount > 0 && gPrefsRef != nil);

    // Reads the dictionary, changes one key of a copy, writes the copy back
    // whole. The node must already exist.
    CFDictionaryRef dict = nil;
    CFRef<CFMutableDictionaryRef> newDict;
    OSStatus err = GetPathValue(dictPath, &dict);
    MoreAssertQ((err != noErr) || (CFGetTypeID(dict) == CFDictionaryGetTypeID()));
    if (err == noErr) newDict = CFQDictionaryCreateMutableCopy(dict, &err);
    if (err == noErr) CFDictionarySetValue(newDict.get(), dictKey, newValue);
    if (err == noErr) err = SetPathValue(dictPath, newDict.get());
    return err;
}
