// Deep copies of property-list trees.
#include <vector>

#include "platform/corefoundation/CFObjectsInternal.h"
#include "platform/corefoundation/CFRef.h"

namespace {

struct CopyOptions {
    bool mutableContainers;
    bool mutableLeaves;
};

CFTypeRef DeepCopy(CFTypeRef node, CopyOptions options);

// Dictionary keys are always copied immutable, so a copied tree never holds
// a key that could change under its hash.
CFTypeRef CopyArray(CFArrayRef source, CopyOptions options) {
    CFIndex count = CFArrayGetCount(source);
    CFRef<CFMutableArrayRef> copy(CFArrayCreateMutable(kCFAllocatorDefault, count, &kCFTypeArrayCallBacks));
    for (CFIndex i = 0; i < count; ++i) {
        CFRef<CFTypeRef> element(DeepCopy(CFArrayGetValueAtIndex(source, i), options));
        if (!element) return nil;
        CFArrayAppendValue(copy.get(), element.get());
    }
    if (options.mutableContainers) return copy.release();
    return CFArrayCreateCopy(kCFAllocatorDefault, copy.get());
}

CFTypeRef CopyDictionary(CFDictionaryRef source, CopyOptions options) {
    CFIndex count = CFDictionaryGetCount(source);
    // The few entries of most dictionaries are gathered on the stack.
    const std::size_t kOnStack = 16;
    const void* keysOnStack[2 * kOnStack];
    std::vector<const void*> onHeap;
    const void** keys = keysOnStack;
    if (static_cast<std::size_t>(count) > kOnStack) {
        onHeap.resize(2 * static_cast<std::size_t>(count));
        keys = onHeap.data();
    }
    const void** values = keys + count;
    CFDictionaryGetKeysAndValues(source, keys, values);
    CFRef<CFMutableDictionaryRef> copy(CFDictionaryCreateMutable(kCFAllocatorDefault, count, &kCFTypeDictionaryKeyCallBacks,
                                                                 &kCFTypeDictionaryValueCallBacks));
    // Keys that differ by value in the source differ in the copy too, and
    // need no search as they are added.
    bool distinct = cfrt::DictionaryComparesKeysByValue(source);
    const CopyOptions keyOptions{false, false};
    for (CFIndex i = 0; i < count; ++i) {
        CFRef<CFTypeRef> key(DeepCopy(keys[i], keyOptions));
        CFRef<CFTypeRef> value(DeepCopy(values[i], options));
        if (!key || !value) return nil;
        if (distinct) cfrt::DictionaryAddNewKey(copy.get(), key.get(), value.get());
        else CFDictionarySetValue(copy.get(), key.get(), value.get());
    }
    if (options.mutableContainers) return copy.release();
    return CFDictionaryCreateCopy(kCFAllocatorDefault, copy.get());
}

CFTypeRef DeepCopy(CFTypeRef node, CopyOptions options) {
    if (node == nil) return nil;
    CFTypeID type = CFGetTypeID(node);
    if (type == CFStringGetTypeID()) {
        CFStringRef string = static_cast<CFStringRef>(node);
        if (options.mutableLeaves) return CFStringCreateMutableCopy(kCFAllocatorDefault, 0, string);
        return CFStringCreateCopy(kCFAllocatorDefault, string);
    }
    if (type == CFDataGetTypeID()) {
        CFDataRef data = static_cast<CFDataRef>(node);
        if (!options.mutableLeaves) return CFDataCreate(kCFAllocatorDefault, CFDataGetBytePtr(data), CFDataGetLength(data));
        CFMutableDataRef copy = CFDataCreateMutable(kCFAllocatorDefault, 0);
        CFDataAppendBytes(copy, CFDataGetBytePtr(data), CFDataGetLength(data));
        return copy;
    }
    // Numbers and booleans cannot change: the copy shares them.
    if (type == CFNumberGetTypeID() || type == CFBooleanGetTypeID()) return CFRetain(node);
    if (type == CFArrayGetTypeID()) return CopyArray(static_cast<CFArrayRef>(node), options);
    if (type == CFDictionaryGetTypeID()) return CopyDictionary(static_cast<CFDictionaryRef>(node), options);
    return nil;
}

}  // namespace

CFPropertyListRef CFPropertyListCreateDeepCopy(CFAllocatorRef, CFPropertyListRef propertyList,
                                               CFOptionFlags mutabilityOption) {
    CopyOptions options{mutabilityOption != kCFPropertyListImmutable,
                        mutabilityOption == kCFPropertyListMutableContainersAndLeaves};
    return DeepCopy(propertyList, options);
}
