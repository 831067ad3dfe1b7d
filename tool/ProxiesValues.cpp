#include "tool/ProxiesValues.h"

#include "platform/corefoundation/CFRef.h"
#include "plist/CFQTyped.h"

FlagReading ReadFlag(CFDictionaryRef proxies, CFStringRef key, SInt32* value) {
    *value = 0;
    CFTypeRef stored = CFDictionaryGetValue(proxies, key);
    if (stored == nil) return FlagReading::kAbsent;
    CFNumberRef number = CFQCast<CFNumberRef>(stored);
    if (number == nil) return FlagReading::kUnreadable;
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
    CFStringRef string = CFQCast<CFStringRef>(stored);
    if (string == nil || CFStringGetLength(string) == 0) return TextReading::kEmpty;
    *text = string;
    return TextReading::kText;
}
