#include "plist/MoreCFQ.h"

#include "platform/corefoundation/CFRef.h"
#include "platform/coreservices/MoreAssert.h"
#include "plist/PointerBuffer.h"

namespace {

bool IsDictionary(CFTypeRef node) { return CFGetTypeID(node) == CFDictionaryGetTypeID(); }
bool IsArray(CFTypeRef node) { return CFGetTypeID(node) == CFArrayGetTypeID(); }

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
    if (IsDictionary(propList)) {
        ForEachEntry(static_cast<CFDictionaryRef>(propList), [&](const void*, const void* value) {
            CFQPropertyListDeepApplyFunction(value, func, context);
        });
    } else if (IsArray(propList)) {
        CFArrayRef array = static_cast<CFArrayRef>(propList);
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

    if (IsDictionary(propList)) {
        ForEachEntry(static_cast<CFDictionaryRef>(propList),
                     [&](const void* key, const void* value) { func(key, value, context); });
    } else if (IsArray(propList)) {
        // An array's "keys" are its indices, as numbers of the host's long kind.
        CFArrayRef array = static_cast<CFArrayRef>(propList);
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
    return !(IsDictionary(typeRef) || IsArray(typeRef));
}
