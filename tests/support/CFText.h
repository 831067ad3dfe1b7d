// Property-list values as text, for expectations and failure messages.
#pragma once

#include <string>
#include <vector>

#include "platform/corefoundation/CFRef.h"
#include "platform/corefoundation/CoreFoundation.h"

// A string made from UTF-8 text.
inline CFRef<CFStringRef> String(const std::string& text) {
    return CFRef<CFStringRef>(CFStringCreateWithCString(nullptr, text.c_str(), kCFStringEncodingUTF8));
}

// A string's text in UTF-8; "(nil)", "(not a string)" or "(unreadable)"
// otherwise.
inline std::string Text(CFTypeRef value) {
    if (value == nullptr) return "(nil)";
    if (CFGetTypeID(value) != CFStringGetTypeID()) return "(not a string)";
    auto string = static_cast<CFStringRef>(value);
    std::vector<char> buffer(static_cast<size_t>(CFStringGetLength(string)) * 4 + 1);
    return CFStringGetCString(string, buffer.data(), CFIndex(buffer.size()), kCFStringEncodingUTF8) ? buffer.data()
                                                                                                    : "(unreadable)";
}

inline std::vector<std::string> Texts(CFArrayRef array) {
    std::vector<std::string> texts;
    for (CFIndex i = 0; array != nullptr && i < CFArrayGetCount(array); i++) {
        texts.push_back(Text(CFArrayGetValueAtIndex(array, i)));
    }
    return texts;
}

// The keys of a dictionary, in its enumeration order.
inline std::vector<std::string> Keys(CFDictionaryRef dict) {
    std::vector<const void*> keys(dict != nullptr ? static_cast<size_t>(CFDictionaryGetCount(dict)) : 0);
    if (dict != nullptr) CFDictionaryGetKeysAndValues(dict, keys.data(), nullptr);
    std::vector<std::string> texts;
    for (const void* key : keys) texts.push_back(Text(key));
    return texts;
}
