// Property-list utilities: null-tolerant retain and release, container
// constructors that fill an empty out-slot, the number setter, key-path
// access deep inside nested dictionaries, and tree walks.
//
// Out-slots must hold nil on entry; on success they hold the result (owned
// by the caller for the Create functions, borrowed for the Get functions),
// on failure they stay nil.
#pragma once

#include "platform/corefoundation/CoreFoundation.h"

enum : OSStatus {
    kCFQKeyNotFoundErr = 5400,      // a key of the path is not present at its level
    kCFQDataErr = 5401,             // a value on the way down is null or not a dictionary
};

CFTypeRef CFQRetain(CFTypeRef cf);
void CFQRelease(CFTypeRef cf);

OSStatus CFQDictionaryCreateMutable(CFMutableDictionaryRef* result);
OSStatus CFQArrayCreateMutable(CFMutableArrayRef* result);
OSStatus CFQArrayCreateWithDictionaryKeys(CFDictionaryRef dict, CFArrayRef* result);
OSStatus CFQArrayCreateWithDictionaryValues(CFDictionaryRef dict, CFArrayRef* result);
OSStatus CFQDictionaryCreateWithArrayOfKeysAndValues(CFArrayRef keys, CFArrayRef values, CFDictionaryRef* result);
OSStatus CFQDictionarySetNumber(CFMutableDictionaryRef dict, const void* key, SInt32 value);

OSStatus CFQDictionaryGetValueAtPath(CFDictionaryRef dict, const void* path[], CFIndex pathElementCount,
                                     const void** result);
OSStatus CFQDictionaryGetValueAtPathArray(CFDictionaryRef dict, CFArrayRef path, const void** result);
OSStatus CFQMutableDictionaryGetParentForPath(CFMutableDictionaryRef dict, const void* path[],
                                              CFIndex pathElementCount, CFMutableDictionaryRef* result);
OSStatus CFQDictionarySetValueAtPath(CFMutableDictionaryRef dict, const void* path[], CFIndex pathElementCount,
                                     const void* value);
OSStatus CFQDictionarySetValueAtPathArray(CFMutableDictionaryRef dict, CFArrayRef path, const void* value);
OSStatus CFQDictionaryRemoveValueAtPath(CFMutableDictionaryRef dict, const void* path[], CFIndex pathElementCount);
OSStatus CFQDictionaryRemoveValueAtPathArray(CFMutableDictionaryRef dict, CFArrayRef path);

typedef void (*CFQPropertyListDeepApplierFunction)(CFTypeRef node, void* context);
typedef void (*CFQPropertyListShallowApplierFunction)(CFTypeRef key, CFTypeRef node, void* context);

void CFQPropertyListDeepApplyFunction(CFPropertyListRef propList, CFQPropertyListDeepApplierFunction func,
                                      void* context);
void CFQPropertyListShallowApplyFunction(CFPropertyListRef propList, CFQPropertyListShallowApplierFunction func,
                                         void* context);
Boolean CFQPropertyListIsLeaf(CFTypeRef typeRef);

// Copies the elements of path into a newly allocated counted array, which
// the caller frees with free().
OSStatus PathArrayHelper(CFArrayRef path, const void*** pathElements);
