#include "tool/ProxiesValues.h"

#include "platform/corefoundation/CFRef.h"

FlagReading ReadFlag(CFDictionaryRef proxies, CFStringRef key, SInt32* value) {
    *value = 0;
    CFTypeRef stored = CFDictionaryGetValue(proxies, key);
    if (stored == nil) return FlagReading::kAbsent;
    if (CFGetTypeID(stored) != CFNumberGetTypeID()) return FlagReading::kUnreadable;
    CFNumberRef number = static_cast<CFNumberRef>(stored);
    int converted = 0;
    Boolean exact = CFNumberGetValue(number, kCFNumberIntType, &converted);
    *value = converted;
    return exact ? FlagReading::kExact : FlagReading::kUnreadable;
}

void WriteFlag(CFMutableDictionaryRef proxies, CFStringRef key, SInt32 value) {
    int stored = value;
    CFRef<CFNumberRef> number(CFNumberCreate(kCFAllocatorDefault, kCFNumberIntType, &stored));
    if (number) CFDictionarySetValue(proxies, key, number.get());
}

TextReading ReadText(CFDictionaryRef proxies, CFStringRef key, CFStringRef* text) {
    *text = nil;
    CFTypeRef stored = CFDictionaryGetValue(proxies, key);
    if (stored == nil) return TextReading::kAbsent;
    if (CFGetTypeID(stored) != CFStringGetTypeID()) return TextReading::kEmpty;
    CFStringRef string = static_cast<CFStringRef>(stored);
    if (CFStringGetLength(string) == 0) return TextReading::kEmpty;
    *text = string;
    return TextReading::kText;
}
