#include "plist/MoreCFQ.h"

#include "platform/corefoundation/CFRef.h"
#include "platform/coreservices/MoreAssert.h"
#include "plist/CFQTyped.h"
#include "plist/MoreCFQInternal.h"
#include "plist/PointerBuffer.h"

// Key paths: element i of a path is looked up in the dictionary reached by
// elements 0..i-1. An empty path names no value; it is refused as a bad
// argument after the precondition report.

OSStatus CFQDictionaryGetValueAtPath(CFDictionaryRef dict, const void* path[], CFIndex pathElementCount,
                                     const void** result) {
    MoreAssertQ(dict != nil);
    MoreAssertQ(path != nil);
    MoreAssertQ(pathElementCount > 0);
    MoreAssertQ(result != nil);
    MoreAssertQ(*result == nil);

    OSStatus err = noErr;
    if (pathElementCount <= 0) err = paramErr;

    CFDictionaryRef current = dict;
    for (CFIndex i = 0; err == noErr && i < pathElementCount; i++) {
        const void* value = nil;
        if (!CFDictionaryGetValueIfPresent(current, path[i], &value)) {
            err = kCFQKeyNotFoundErr;
        } else if (i == pathElementCount - 1) {
            *result = value;
        } else {
            // Only a dictionary leads further down.
            current = CFQCast<CFDictionaryRef>(value);
            if (current == nil) err = kCFQDataErr;
        }
    }

    MoreAssertQ((err == noErr) == (*result != nil));
    return err;
}

OSStatus CFQMutableDictionaryGetParentForPath(CFMutableDictionaryRef dict, const void* path[],
                                              CFIndex pathElementCount, CFMutableDictionaryRef* result) {
    MoreAssertQ(dict != nil);
    MoreAssertQ(path != nil);
    MoreAssertQ(pathElementCount > 0);
    MoreAssertQ(result != nil);
    MoreAssertQ(*result == nil);

    OSStatus err = noErr;
    if (pathElementCount <= 0) err = paramErr;

    // Every dictionary on the way down is replaced by a fresh mutable copy,
    // even one that is already mutable: nested dictionaries handed out by
    // the preferences store may be shared and must not be edited in place.
    CFMutableDictionaryRef current = dict;
    for (CFIndex i = 0; err == noErr && i < pathElementCount - 1; i++) {
        const void* child = nil;
        if (!CFDictionaryGetValueIfPresent(current, path[i], &child)) err = kCFQKeyNotFoundErr;
        CFDictionaryRef childDict = CFQCast<CFDictionaryRef>(child);
        if (err == noErr && childDict == nil) err = kCFQDataErr;
        CFRef<CFMutableDictionaryRef> childCopy;
        if (err == noErr) childCopy = CFQDictionaryCreateMutableCopy(childDict, &err);
        CFMutableDictionaryRef mutableChild = childCopy.get();
        // The parent must hold the copy before our reference goes.
        if (err == noErr) CFDictionarySetValue(current, path[i], mutableChild);
        if (err == noErr) MoreAssertQ(CFGetRetainCount(mutableChild) >= 2);
        if (err == noErr) current = mutableChild;
    }
    if (err == noErr) *result = current;

    MoreAssertQ((err == noErr) == (*result != nil));
    return err;
}

OSStatus CFQDictionarySetValueAtPath(CFMutableDictionaryRef dict, const void* path[], CFIndex pathElementCount,
                                     const void* value) {
    MoreAssertQ(dict != nil);
    MoreAssertQ(path != nil);
    MoreAssertQ(pathElementCount > 0);

    CFMutableDictionaryRef parent = nil;
    OSStatus err = CFQMutableDictionaryGetParentForPath(dict, path, pathElementCount, &parent);
    if (err == noErr) CFDictionarySetValue(parent, path[pathElementCount - 1], value);
    return err;
}

OSStatus CFQDictionaryRemoveValueAtPath(CFMutableDictionaryRef dict, const void* path[], CFIndex pathElementCount) {
    MoreAssertQ(dict != nil);
    MoreAssertQ(path != nil);
    MoreAssertQ(pathElementCount > 0);

    CFMutableDictionaryRef parent = nil;
    OSStatus err = CFQMutableDictionaryGetParentForPath(dict, path, pathElementCount, &parent);
    if (err == noErr && !CFDictionaryContainsKey(parent, path[pathElementCount - 1])) err = kCFQKeyNotFoundErr;
    if (err == noErr) CFDictionaryRemoveValue(parent, path[pathElementCount - 1]);
    return err;
}

OSStatus PathArrayHelper(CFArrayRef path, const void*** pathElements) {
    MoreAssertQ(path != nil);
    MoreAssertQ(pathElements != nil);
    MoreAssertQ(*pathElements == nil);

    OSStatus err = noErr;
    CFIndex pathElementCount = CFArrayGetCount(path);
    MoreAssertQ(pathElementCount > 0);

    PointerBuffer elements = AllocatePointerBuffer(pathElementCount);
    if (!elements) err = memFullErr;
    if (err == noErr) {
        CFArrayGetValues(path, CFRangeMake(0, pathElementCount), elements.get());
        *pathElements = elements.release();
    }
    return err;
}

// The array forms copy the keys into a counted array, run the counted form
// on it and free the copy whatever happened.

OSStatus CFQDictionaryGetValueAtPathArray(CFDictionaryRef dict, CFArrayRef path, const void** result) {
    MoreAssertQ(path != nil);

    const void** pathElements = nil;
    OSStatus err = PathArrayHelper(path, &pathElements);
    PointerBuffer holder(pathElements);
    if (err == noErr) err = CFQDictionaryGetValueAtPath(dict, holder.get(), CFArrayGetCount(path), result);
    return err;
}

OSStatus CFQDictionarySetValueAtPathArray(CFMutableDictionaryRef dict, CFArrayRef path, const void* value) {
    MoreAssertQ(path != nil);

    const void** pathElements = nil;
    OSStatus err = PathArrayHelper(path, &pathElements);
    PointerBuffer holder(pathElements);
    if (err == noErr) err = CFQDictionarySetValueAtPath(dict, holder.get(), CFArrayGetCount(path), value);
    return err;
}

OSStatus CFQDictionaryRemoveValueAtPathArray(CFMutableDictionaryRef dict, CFArrayRef path) {
    MoreAssertQ(path != nil);

    const void** pathElements = nil;
    OSStatus err = PathArrayHelper(path, &pathElements);
    PointerBuffer holder(pathElements);
    if (err == noErr) err = CFQDictionaryRemoveValueAtPath(dict, holder.get(), CFArrayGetCount(path));
    return err;
}
