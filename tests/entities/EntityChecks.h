// Readers for checking built entities: keys in enumeration order, numbers
// and strings by key.
#pragma once

#include <string>
#include <vector>

#include "platform/corefoundation/CFRef.h"
#include "platform/corefoundation/CoreFoundation.h"

inline std::string Text(CFTypeRef value) {
    if (value == nullptr || CFGetTypeID(value) != CFStringGetTypeID()) return "<not a string>";
    char buffer[1024];
    if (!CFStringGetCString(static_cast<CFStringRef>(value), buffer, sizeof(buffer), kCFStringEncodingUTF8)) {
        return "<unconvertible>";
    }
    return buffer;
}

inline std::vector<std::string> Keys(CFDictionaryRef dict) {
    std::vector<const void*> keys(static_cast<size_t>(CFDictionaryGetCount(dict)));
    CFDictionaryGetKeysAndValues(dict, keys.data(), nullptr);
    std::vector<std::string> names;
    for (const void* key : keys) names.push_back(Text(key));
    return names;
}

inline std::string StringAt(CFDictionaryRef dict, const char* key) {
    CFRef<CFStringRef> name(CFStringCreateWithCString(nullptr, key, kCFStringEncodingUTF8));
    return Text(CFDictionaryGetValue(dict, name.get()));
}

// The number under key, or -999999 when there is none (or not a number).
inline long NumberAt(CFDictionaryRef dict, const char* key) {
    CFRef<CFStringRef> name(CFStringCreateWithCString(nullptr, key, kCFStringEncodingUTF8));
    const void* value = CFDictionaryGetValue(dict, name.get());
    long number = -999999;
    if (value != nullptr && CFGetTypeID(value) == CFNumberGetTypeID()) {
        CFNumberGetValue(static_cast<CFNumberRef>(value), kCFNumberLongType, &number);
    }
    return number;
}

inline std::vector<std::string> Strings(CFArrayRef array) {
    std::vector<std::string> texts;
    for (CFIndex i = 0; i < CFArrayGetCount(array); i++) texts.push_back(Text(CFArrayGetValueAtIndex(array, i)));
    return texts;
}

inline CFTypeRef ValueAt(CFDictionaryRef dict, const char* key) {
    CFRef<CFStringRef> name(CFStringCreateWithCString(nullptr, key, kCFStringEncodingUTF8));
    return CFDictionaryGetValue(dict, name.get());
}
