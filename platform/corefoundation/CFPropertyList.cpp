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
    std::vector<const void*> keys(static_cast<std::size_t>(count));
    std::vector<const void*> values(static_cast<std::size_t>(count));
    CFDictionaryGetKeysAndValues(source, keys.data(), values.data());
    CFRef<CFMutableDictionaryRef> copy(CFDictionaryCreateMutable(kCFAllocatorDefault, count, &kCFTypeDictionaryKeyCallBacks,
                                                                 &kCFTypeDictionaryValueCallBacks));
    const CopyOptions keyOptions{false, false};
    for (std::size_t i = 0; i < keys.size(); ++i) {
        CFRef<CFTypeRef> key(DeepCopy(keys[i], keyOptions));
        CFRef<CFTypeRef> value(DeepCopy(values[i], options));
        if (!key || !value) return nil;
        CFDictionarySetValue(copy.get(), key.get(), value.get());
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
