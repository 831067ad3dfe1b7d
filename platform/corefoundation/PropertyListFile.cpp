#include "platform/corefoundation/PropertyListFile.h"

#include "platform/corefoundation/BinaryPropertyList.h"
#include "platform/corefoundation/CFRef.h"
#include "platform/corefoundation/XMLPropertyList.h"

namespace {

const char kBinaryMagic[] = "bplist00";
const std::size_t kBinaryMagicLength = sizeof kBinaryMagic - 1;

const char* TypeName(CFTypeRef value) {
    CFTypeID type = CFGetTypeID(value);
    if (type == CFArrayGetTypeID()) return "array";
    if (type == CFStringGetTypeID()) return "string";
    if (type == CFNumberGetTypeID()) return "number";
    if (type == CFBooleanGetTypeID()) return "boolean";
    if (type == CFDataGetTypeID()) return "data";
    return "unknown";
}

}  // namespace

CFMutableDictionaryRef PropertyListCreateFromFileBytes(const std::string& bytes, PropertyListFormat* format,
                                                       std::string* fault) {
    if (bytes.empty()) {
        *fault = "empty file";
        return nil;
    }
    bool binary = bytes.compare(0, kBinaryMagicLength, kBinaryMagic) == 0;
    CFRef<CFPropertyListRef> root(binary ? BinaryPropertyListCreate(bytes, fault) : XMLPropertyListCreate(bytes, fault));
    if (!root) return nil;
    if (CFGetTypeID(root.get()) != CFDictionaryGetTypeID()) {
        *fault = std::string("root is not a dictionary but ") + TypeName(root.get());
        return nil;
    }
    *format = binary ? PropertyListFormat::Binary : PropertyListFormat::XML;
    return static_cast<CFMutableDictionaryRef>(const_cast<void*>(root.release()));
}

bool PropertyListEncodeFileBytes(CFPropertyListRef root, PropertyListFormat format, std::string* bytes,
                                 std::string* fault) {
    if (format == PropertyListFormat::Binary) return BinaryPropertyListEncode(root, bytes, fault);
    return XMLPropertyListEncode(root, bytes, fault);
}
