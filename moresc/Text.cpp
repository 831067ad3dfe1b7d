#include "moresc/Text.h"

#include <vector>

#include "moresc/Outcome.h"

std::string TextOf(CFTypeRef value) {
    if (value == nil || CFGetTypeID(value) != CFStringGetTypeID()) return "";
    CFStringRef string = static_cast<CFStringRef>(value);
    CFIndex size = CFStringGetMaximumSizeForEncoding(CFStringGetLength(string), kCFStringEncodingUTF8) + 1;
    std::vector<char> buffer(static_cast<std::size_t>(size));
    if (!CFStringGetCString(string, buffer.data(), size, kCFStringEncodingUTF8)) return "";
    return buffer.data();
}

CFStringRef CreateStringFromText(const std::string& text) {
    return CFStringCreateWithBytes(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(text.data()),
                                   static_cast<CFIndex>(text.size()), kCFStringEncodingUTF8, false);
}

std::string Quoted(const std::string& text) { return "\"" + text + "\""; }

CFRef<CFStringRef> NameArgument(Outcome* outcome, const std::string& text) {
    CFRef<CFStringRef> name;
    if (text.empty()) {
        outcome->FailUsage("a name cannot be empty");
    } else {
        name.reset(CreateStringFromText(text));
        if (!name) outcome->FailUsage(Quoted(text) + " is not valid UTF-8");
    }
    return name;
}
