#include "platform/coreservices/Gestalt.h"

#include <cctype>
#include <fstream>
#include <iterator>
#include <string>

#include "platform/corefoundation/CFRef.h"
#include "platform/corefoundation/PropertyListFile.h"
#include "platform/posix/RootPath.h"

namespace {

// Reads "ProductVersion" from the system's version file; empty when the
// file is missing, is not a property list, or holds no such string.
std::string ReadProductVersion() {
    std::ifstream in(TarnwickRootPath("/System/Library/CoreServices/SystemVersion.plist"), std::ios::binary);
    if (!in) return {};
    std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());

    PropertyListFormat format;
    std::string fault;
    CFRef<CFMutableDictionaryRef> root(PropertyListCreateFromFileBytes(bytes, &format, &fault));
    if (!root) return {};
    const void* value = CFDictionaryGetValue(root.get(), CFSTR("ProductVersion"));
    if (value == nullptr || CFGetTypeID(value) != CFStringGetTypeID()) return {};

    char text[64];
    if (!CFStringGetCString(static_cast<CFStringRef>(value), text, sizeof(text), kCFStringEncodingUTF8)) return {};
    return text;
}

// Reads a decimal field at *cursor; false if there is none.
bool ReadField(const char*& cursor, long* value) {
    if (!std::isdigit(static_cast<unsigned char>(*cursor))) return false;
    long v = 0;
    while (std::isdigit(static_cast<unsigned char>(*cursor))) {
        if (v < 1000) v = v * 10 + (*cursor - '0');
        ++cursor;
    }
    *value = v;
    return true;
}

// "10.4.11" -> 0x1049: the major release as two BCD digits in the high byte
// (capped at 99), then one digit each for the minor and bug-fix releases,
// capped at 9. Missing fields count as 0.
bool EncodeSystemVersion(const std::string& text, SInt32* encoded) {
    const char* cursor = text.c_str();
    long major = 0, minor = 0, bugFix = 0;
    if (!ReadField(cursor, &major)) return false;
    if (*cursor == '.') {
        ++cursor;
        if (ReadField(cursor, &minor) && *cursor == '.') {
            ++cursor;
            ReadField(cursor, &bugFix);
        }
    }
    if (major > 99) major = 99;
    if (minor > 9) minor = 9;
    if (bugFix > 9) bugFix = 9;
    *encoded = static_cast<SInt32>(((major / 10) << 12) | ((major % 10) << 8) | (minor << 4) | bugFix);
    return true;
}

}  // namespace

OSErr Gestalt(OSType selector, SInt32* response) {
    if (selector != gestaltSystemVersion || response == nullptr) return gestaltUndefSelectorErr;
    SInt32 version = 0;
    if (!EncodeSystemVersion(ReadProductVersion(), &version)) return gestaltUndefSelectorErr;
    *response = version;
    return noErr;
}
