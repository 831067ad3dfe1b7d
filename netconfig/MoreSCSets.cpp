#include "netconfig/MoreSCSets.h"

#include "netconfig/MoreSCPaths.h"
#include "netconfig/MoreSCSession.h"
#include "netconfig/MoreSCSessionState.h"
#include "platform/corefoundation/CFRef.h"
#include "platform/coreservices/MoreAssert.h"
#include "platform/systemconfiguration/SCPreferences.h"
#include "platform/systemconfiguration/SCSchemaDefinitions.h"
#include "plist/MoreCFQ.h"

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

    CFRef<CFStringRef> currentSetID;
    OSStatus err = MoreSCOpen(false, false);
    if (err == noErr) {
        CFStringRef setPath =
            static_cast<CFStringRef>(SCPreferencesGetValue(MoreSCGetSCPreferencesRef(), kSCPrefCurrentSet));
        err = MoreSCError(setPath);
        MoreAssertQ((err != noErr) || (CFGetTypeID(setPath) == CFStringGetTypeID()));
        if (err == noErr && CFGetTypeID(setPath) != CFStringGetTypeID()) err = kSCStatusNoKey;

        // "/Sets/0" -> "0".
        if (err == noErr) err = CopySeIDFromSePath(setPath, currentSetID.out());
    }
    MoreSCClose(&err, false);

    if (err == noErr) *setID = currentSetID.release();
    return err;
}

OSStatus MoreSCSetCurrentSet(CFStringRef setID) {
    MoreAssertQ(setID != nil);

    // The set's existence is not checked: any ID is stored as /Sets/<ID>.
    CFRef<CFStringRef> setPath;
    OSStatus err = MoreSCOpen(false, false);
    if (err == noErr) err = CreateSetPathWithSetID(setID, setPath.out());
    if (err == noErr) {
        err = MoreSCErrorBoolean(SCPreferencesSetValue(MoreSCGetSCPreferencesRef(), kSCPrefCurrentSet, setPath.get()));
    }
    MoreSCClose(&err, true);
    return err;
}

OSStatus MoreSCCopySetsDict(CFDictionaryRef* setsDict) {
    MoreAssertQ(setsDict != nil);
    MoreAssertQ(*setsDict == nil);

    // The store's own dictionary, shared: callers must not change it.
    CFRef<CFDictionaryRef> sets;
    OSStatus err = MoreSCOpen(false, false);
    if (err == noErr) {
        sets = CFRef<CFDictionaryRef>::Retain(
            static_cast<CFDictionaryRef>(SCPreferencesGetValue(MoreSCGetSCPreferencesRef(), kSCPrefSets)));
        err = MoreSCError(sets.get());
    }
    // The check names the out-parameter, so it is shown the value before
    // the type decides the status; the slot is settled below.
    if (err == noErr) *setsDict = sets.get();
    MoreAssertQ((err != noErr) || (CFGetTypeID(*setsDict) == CFDictionaryGetTypeID()));
    if (err == noErr && CFGetTypeID(sets.get()) != CFDictionaryGetTypeID()) err = kSCStatusNoKey;
    MoreSCClose(&err, false);

    *setsDict = (err == noErr) ? sets.release() : nil;
    MoreAssertQ((err == noErr) == (*setsDict != nil));
    return err;
}

OSStatus MoreSCSetSetsDict(CFDictionaryRef setsDict) {
    MoreAssertQ(setsDict != nil);

    // Replaces every set at once.
    OSStatus err = MoreSCOpen(false, false);
    if (err == noErr) {
        err = MoreSCErrorBoolean(SCPreferencesSetValue(MoreSCGetSCPreferencesRef(), kSCPrefSets, setsDict));
    }
    MoreSCClose(&err, true);
    return err;
}

OSStatus MoreSCCopySetIDs(CFArrayRef* setIDs, CFIndex* indexOfCurrentSet) {
    MoreAssertQ(setIDs != nil);
    MoreAssertQ(*setIDs == nil);

    CFRef<CFDictionaryRef> setsDict;
    CFRef<CFArrayRef> ids;
    CFRef<CFStringRef> currentSetID;
    CFIndex foundIndex = kCFNotFound;

    OSStatus err = MoreSCOpen(false, false);
    if (err == noErr) err = MoreSCCopySetsDict(setsDict.out());
    // The sets dictionary's own order: no sorting, the current set not
    // moved to the front.
    if (err == noErr) err = CFQArrayCreateWithDictionaryKeys(setsDict.get(), ids.out());
    // Only a caller that asks for the index needs a current set.
    if (err == noErr && indexOfCurrentSet != nil) {
        err = MoreSCCopyCurrentSet(currentSetID.out());
        if (err == noErr) {
            CFIndex setCount = CFDictionaryGetCount(setsDict.get());
            for (CFIndex setIndex = 0; setIndex < setCount; setIndex++) {
                if (CFEqual(CFArrayGetValueAtIndex(ids.get(), setIndex), currentSetID.get())) foundIndex = setIndex;
            }
        }
    }
    MoreSCClose(&err, false);

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

    CFRef<CFStringRef> setPath;
    CFRef<CFStringRef> name;
    OSStatus err = MoreSCOpen(false, false);
    if (err == noErr) err = CopySetPath(setID, setPath.out());
    if (err == noErr) {
        CFDictionaryRef setDict = SCPreferencesPathGetValue(MoreSCGetSCPreferencesRef(), setPath.get());
        err = MoreSCError(setDict);
        MoreAssertQ((err != noErr) || (CFGetTypeID(setDict) == CFDictionaryGetTypeID()));

        // A set that exists but has no name is told apart from a missing
        // set by the code: -4960 rather than the store's status.
        if (err == noErr) {
            name = CFRef<CFStringRef>::Retain(
                static_cast<CFStringRef>(CFDictionaryGetValue(setDict, kSCPropUserDefinedName)));
            if (!name) err = coreFoundationUnknownErr;
        }
    }
    MoreSCClose(&err, false);

    if (err == noErr) *userVisibleName = name.release();
    MoreAssertQ((err != noErr) || (CFGetTypeID(*userVisibleName) == CFStringGetTypeID()));
    MoreAssertQ((err == noErr) == (*userVisibleName != nil));
    return err;
}

OSStatus MoreSCRenameSet(CFStringRef setID, CFStringRef newSetUserVisibleName) {
    MoreAssertQ(setID != nil);
    MoreAssertQ(newSetUserVisibleName != nil);

    CFRef<CFStringRef> setPath;
    OSStatus err = MoreSCOpen(false, false);
    if (err == noErr) err = CopySetPath(setID, setPath.out());
    // Edits the existing set dictionary; a missing set is not created.
    if (err == noErr) err = PreferencesPathSetProperty(setPath.get(), kSCPropUserDefinedName, newSetUserVisibleName);
    MoreSCClose(&err, true);
    return err;
}

OSStatus PreferencesPathSetProperty(CFStringRef dictPath, CFStringRef dictKey, CFTypeRef newValue) {
    MoreAssertQ(dictPath != nil);
    MoreAssertQ(dictKey != nil);
    MoreAssertQ(newValue != nil);
    MoreAssertQ(gPrefsOpenCount > 0 && gPrefsRef != nil);

    // Reads the dictionary, changes one key of a copy, writes the copy back
    // whole. The node must already exist.
    CFDictionaryRef dict = SCPreferencesPathGetValue(MoreSCGetSCPreferencesRef(), dictPath);
    OSStatus err = MoreSCError(dict);
    MoreAssertQ((err != noErr) || (CFGetTypeID(dict) == CFDictionaryGetTypeID()));

    CFRef<CFMutableDictionaryRef> newDict;
    if (err == noErr) {
        newDict.reset(CFDictionaryCreateMutableCopy(nil, 0, dict));
        if (!newDict) err = coreFoundationUnknownErr;
    }
    if (err == noErr) {
        CFDictionarySetValue(newDict.get(), dictKey, newValue);
        err = MoreSCErrorBoolean(SCPreferencesPathSetValue(MoreSCGetSCPreferencesRef(), dictPath, newDict.get()));
    }
    return err;
}
