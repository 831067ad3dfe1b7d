// Property-list utilities: null-tolerant retain and release, container
// constructors that fill an empty out-slot, the number setter, key-path
// access deep inside nested dictionaries, and tree walks.
//
// Out-slots: the caller passes the address of a slot that holds nil. On
// success the slot holds the result, owned by the caller for the Create
// functions and borrowed from the container for the Get functions; on
// failure it stays nil. A nil argument where a value is required, or a slot
// that is not empty, is reported as "MoreAssertQ failure: <condition>" on
// standard error and the call goes on.
//
// Statuses: noErr; -108 (memFullErr) when a temporary buffer cannot be had;
// -50 (paramErr) for arguments that disagree; -4960
// (coreFoundationUnknownErr) when an object cannot be made; the two
// key-path codes below.
#pragma once

#include "platform/corefoundation/CoreFoundation.h"

enum : OSStatus {
    kCFQKeyNotFoundErr = 5400,      // a key of the path is not present at its level
    kCFQDataErr = 5401,             // a value on the way down is null or not a dictionary
};

// CFRetain and CFRelease that do nothing for nil. CFQRetain returns cf.
CFTypeRef CFQRetain(CFTypeRef cf);
void CFQRelease(CFTypeRef cf);

// An empty mutable dictionary (keys and values retained, compared by
// value) or array (values retained). -4960 when it cannot be made.
OSStatus CFQDictionaryCreateMutable(CFMutableDictionaryRef* result);
OSStatus CFQArrayCreateMutable(CFMutableArrayRef* result);

// An immutable array of the keys, or of the values, of dict in the
// dictionary's enumeration order. -108 or -4960 on failure.
OSStatus CFQArrayCreateWithDictionaryKeys(CFDictionaryRef dict, CFArrayRef* result);
OSStatus CFQArrayCreateWithDictionaryValues(CFDictionaryRef dict, CFArrayRef* result);

// An immutable dictionary mapping keys[i] to values[i]. -50 when the arrays
// differ in length; -108 or -4960 on failure.
OSStatus CFQDictionaryCreateWithArrayOfKeysAndValues(CFArrayRef keys, CFArrayRef values, CFDictionaryRef* result);

// Stores value under key as a number of the long kind, replacing any old
// value. -4960, with dict unchanged, when the number cannot be made.
OSStatus CFQDictionarySetNumber(CFMutableDictionaryRef dict, const void* key, SInt32 value);

// Key paths: element i of path is looked up in the dictionary reached by
// elements 0..i-1; pathElementCount must be at least 1 (-50 otherwise). A
// key missing at its level gives 5400; a value on the way down that is nil
// or not a dictionary gives 5401. The PathArray forms take the keys as an
// array (-108 when its copy cannot be had).

// The value at the end of the path, borrowed from the tree.
OSStatus CFQDictionaryGetValueAtPath(CFDictionaryRef dict, const void* path[], CFIndex pathElementCount,
                                     const void** result);
OSStatus CFQDictionaryGetValueAtPathArray(CFDictionaryRef dict, CFArrayRef path, const void** result);

// The dictionary that holds the path's last key, borrowed. Every dictionary
// on the way down is replaced in its parent by a fresh mutable copy (-4960
// when one cannot be made), so the result may be changed in place; nothing
// missing is created. With one element the result is dict itself.
OSStatus CFQMutableDictionaryGetParentForPath(CFMutableDictionaryRef dict, const void* path[],
                                              CFIndex pathElementCount, CFMutableDictionaryRef* result);

// Stores value under the path's last key, adding or replacing; nothing is
// stored when the parent cannot be reached.
OSStatus CFQDictionarySetValueAtPath(CFMutableDictionaryRef dict, const void* path[], CFIndex pathElementCount,
                                     const void* value);
OSStatus CFQDictionarySetValueAtPathArray(CFMutableDictionaryRef dict, CFArrayRef path, const void* value);

// Removes the path's last key; 5400 when it is not there.
OSStatus CFQDictionaryRemoveValueAtPath(CFMutableDictionaryRef dict, const void* path[], CFIndex pathElementCount);
OSStatus CFQDictionaryRemoveValueAtPathArray(CFMutableDictionaryRef dict, CFArrayRef path);

typedef void (*CFQPropertyListDeepApplierFunction)(CFTypeRef node, void* context);
typedef void (*CFQPropertyListShallowApplierFunction)(CFTypeRef key, CFTypeRef node, void* context);

// Calls func on propList and then, depth first, on every value below it
// (array elements in order, dictionary values in enumeration order; keys
// are not visited). propList and func must not be nil.
void CFQPropertyListDeepApplyFunction(CFPropertyListRef propList, CFQPropertyListDeepApplierFunction func,
                                      void* context);
// Calls func(key, value) for each entry of a dictionary, or func(index as a
// number, element) for each element of an array. Any other value is
// reported and not visited.
void CFQPropertyListShallowApplyFunction(CFPropertyListRef propList, CFQPropertyListShallowApplierFunction func,
                                         void* context);
// True for every value that is neither a dictionary nor an array.
Boolean CFQPropertyListIsLeaf(CFTypeRef typeRef);
