#include "plist/MoreCFQ.h"

#include "platform/corefoundation/CFRef.h"
#include "platform/coreservices/MoreAssert.h"
#include "plist/MoreCFQInternal.h"
#include "plist/PointerBuffer.h"

OSStatus CFQDictionaryCreateMutable(CFMutableDictionaryRef* result) {
    MoreAssertQ(result != nil);
    MoreAssertQ(*result == nil);

    OSStatus err = noErr;
    *result = CFDictionaryCreateMutable(nil, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks);
    if (*result == nil) err = coreFoundationUnknownErr;

    MoreAssertQ((err == noErr) == (*result != nil));
    return err;
}

OSStatus CFQArrayCreateMutable(CFMutableArrayRef* result) {
    MoreAssertQ(result != nil);
    MoreAssertQ(*result == nil);

    OSStatus err = noErr;
    *result = CFArrayCreateMutable(nil, 0, &kCFTypeArrayCallBacks);
    if (*result == nil) err = coreFoundationUnknownErr;

    MoreAssertQ((err == noErr) == (*result != nil));
    return err;
}

namespace {

// Builds an immutable array of either the keys or the values of dict, in
// the dictionary's enumeration order.
OSStatus CreateArrayWithDictionaryKeysOrValues(CFDictionaryRef dict, bool keys, CFArrayRef* result) {
    MoreAssertQ(dict != nil);
    MoreAssertQ(result != nil);
    MoreAssertQ(*result == nil);

    OSStatus err = noErr;
    CFIndex count = CFDictionaryGetCount(dict);
    PointerBuffer buffer = AllocatePointerBuffer(count);
    if (!buffer) err = memFullErr;
    if (err == noErr) {
        if (keys) CFDictionaryGetKeysAndValues(dict, buffer.get(), nil);
        else CFDictionaryGetKeysAndValues(dict, nil, buffer.get());
        *result = CFArrayCreate(nil, buffer.get(), count, &kCFTypeArrayCallBacks);
        if (*result == nil) err = coreFoundationUnknownErr;
    }

    MoreAssertQ((err == noErr) == (*result != nil));
    MoreAssertQ((*result == nil) || (CFDictionaryGetCount(dict) == CFArrayGetCount(*result)));
    return err;
}

}  // namespace

OSStatus CFQArrayCreateWithDictionaryKeys(CFDictionaryRef dict, CFArrayRef* result) {
    return CreateArrayWithDictionaryKeysOrValues(dict, true, result);
}

OSStatus CFQArrayCreateWithDictionaryValues(CFDictionaryRef dict, CFArrayRef* result) {
    return CreateArrayWithDictionaryKeysOrValues(dict, false, result);
}

OSStatus CFQDictionaryCreateWithArrayOfKeysAndValues(CFArrayRef keys, CFArrayRef values, CFDictionaryRef* result) {
    MoreAssertQ(keys != nil);
    MoreAssertQ(values != nil);
    MoreAssertQ(CFArrayGetCount(keys) == CFArrayGetCount(values));
    MoreAssertQ(result != nil);
    MoreAssertQ(*result == nil);

    OSStatus err = noErr;
    CFIndex count = CFArrayGetCount(keys);
    if (count != CFArrayGetCount(values)) err = paramErr;

    PointerBuffer keyBuffer;
    PointerBuffer valueBuffer;
    if (err == noErr) {
        keyBuffer = AllocatePointerBuffer(count);
        valueBuffer = AllocatePointerBuffer(count);
        if (!keyBuffer || !valueBuffer) err = memFullErr;
    }
    if (err == noErr) {
        CFArrayGetValues(keys, CFRangeMake(0, count), keyBuffer.get());
        CFArrayGetValues(values, CFRangeMake(0, count), valueBuffer.get());
        *result = CFDictionaryCreate(nil, keyBuffer.get(), valueBuffer.get(), count, &kCFTypeDictionaryKeyCallBacks,
                                     &kCFTypeDictionaryValueCallBacks);
        if (*result == nil) err = coreFoundationUnknownErr;
    }

    MoreAssertQ((err == noErr) == (*result != nil));
    return err;
}

OSStatus CFQDictionarySetNumber(CFMutableDictionaryRef dict, const void* key, SInt32 value) {
    MoreAssertQ(dict != nil);

    // Entities keep their flags and integers as numbers of the host's long
    // kind; the value goes through a long so the number reads the right width.
    OSStatus err = noErr;
    long longValue = value;
    CFRef<CFNumberRef> number(CFNumberCreate(nil, kCFNumberLongType, &longValue));
    if (!number) err = coreFoundationUnknownErr;
    if (err == noErr) CFDictionarySetValue(dict, key, number.get());
    return err;
}

CFRef<CFMutableDictionaryRef> CFQDictionaryCreateMutableCopy(CFDictionaryRef dict, OSStatus* err) {
    CFRef<CFMutableDictionaryRef> copy(CFDictionaryCreateMutableCopy(nil, 0, dict));
    *err = copy ? noErr : coreFoundationUnknownErr;
    return copy;
}

CFRef<CFMutableArrayRef> CFQArrayCreateMutableCopy(CFArrayRef array, OSStatus* err) {
    CFRef<CFMutableArrayRef> copy(CFArrayCreateMutableCopy(nil, 0, array));
    *err = copy ? noErr : coreFoundationUnknownErr;
    return copy;
}
