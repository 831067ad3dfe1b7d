#include "plist/MoreCFQ.h"

#include "platform/corefoundation/CFRef.h"
#include "platform/coreservices/MoreAssert.h"
#include "plist/CFQTyped.h"
#include "plist/PointerBuffer.h"

namespace {

// Calls visit(key, value) for every entry of dict in enumeration order. When
// the key buffer cannot be had the entries are skipped without a word: a
// walk has no way to report failure.
template <class Visit>
void ForEachEntry(CFDictionaryRef dict, Visit visit) {
    CFIndex count = CFDictionaryGetCount(dict);
    PointerBuffer keys = AllocatePointerBuffer(count);
    if (!keys) return;
    CFDictionaryGetKeysAndValues(dict, keys.get(), nil);
    for (CFIndex i = 0; i < count; i++) visit(keys[i], CFDictionaryGetValue(dict, keys[i]));
}

}  // namespace

void CFQPropertyListDeepApplyFunction(CFPropertyListRef propList, CFQPropertyListDeepApplierFunction func,
                                      void* context) {
    MoreAssertQ(propList != nil);
    MoreAssertQ(func != nil);

    // Pre-order: the node first, then its children; keys are not visited.
    func(propList, context);
    if (CFDictionaryRef dict = CFQCast<CFDictionaryRef>(propList)) {
        ForEachEntry(dict, [&](const void*, const void* value) {
            CFQPropertyListDeepApplyFunction(value, func, context);
        });
    } else if (CFArrayRef array = CFQCast<CFArrayRef>(propList)) {
        CFIndex count = CFArrayGetCount(array);
        for (CFIndex i = 0; i < count; i++) {
            CFQPropertyListDeepApplyFunction(CFArrayGetValueAtIndex(array, i), func, context);
        }
    }
}

void CFQPropertyListShallowApplyFunction(CFPropertyListRef propList, CFQPropertyListShallowApplierFunction func,
                                         void* context) {
    MoreAssertQ(propList != nil);
    MoreAssertQ(func != nil);

    if (CFDictionaryRef dict = CFQCast<CFDictionaryRef>(propList)) {
        ForEachEntry(dict, [&](const void* key, const void* value) { func(key, value, context); });
    } else if (CFArrayRef array = CFQCast<CFArrayRef>(propList)) {
        // An array's "keys" are its indices, as numbers of the host's long kind.
        CFIndex count = CFArrayGetCount(array);
        for (CFIndex i = 0; i < count; i++) {
            long index = i;
            CFRef<CFNumberRef> indexNumber(CFNumberCreate(nil, kCFNumberLongType, &index));
            if (indexNumber) func(indexNumber.get(), CFArrayGetValueAtIndex(array, i), context);
        }
    } else {
        MoreAssertQ(false);
    }
}

Boolean CFQPropertyListIsLeaf(CFTypeRef typeRef) {
    return CFQCast<CFDictionaryRef>(typeRef) == nil && CFQCast<CFArrayRef>(typeRef) == nil;
}
