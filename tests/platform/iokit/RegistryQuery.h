// Reading the registry in tests: the services a query finds, and their
// properties, parents and classes.
#pragma once

#include <cctype>
#include <string>
#include <vector>

#include "platform/corefoundation/CFRef.h"
#include "platform/iokit/IOKitLib.h"

// The objects of one query, released when it goes.
class Services {
public:
    Services(CFMutableDictionaryRef matching, kern_return_t* status = nullptr) {
        io_iterator_t iterator = 0;
        kern_return_t result = IOServiceGetMatchingServices(kIOMasterPortDefault, matching, &iterator);
        if (status != nullptr) *status = result;
        for (io_object_t object; iterator != 0 && (object = IOIteratorNext(iterator)) != 0;) objects_.push_back(object);
        if (iterator != 0) IOObjectRelease(iterator);
    }
    explicit Services(const char* className) : Services(IOServiceMatching(className)) {}
    ~Services() {
        for (io_object_t object : objects_) IOObjectRelease(object);
    }
    Services(const Services&) = delete;
    Services& operator=(const Services&) = delete;

    std::size_t size() const { return objects_.size(); }
    io_object_t operator[](std::size_t i) const { return objects_[i]; }

private:
    std::vector<io_object_t> objects_;
};

// A value as text: a string or number as written; data as ioreg shows it,
// <"text"> for printable text ending in a zero byte, else <hex digits>.
inline std::string Text(CFTypeRef value) {
    if (value == nullptr) return "<none>";
    if (CFGetTypeID(value) == CFDataGetTypeID()) {
        CFDataRef data = static_cast<CFDataRef>(value);
        std::string bytes(reinterpret_cast<const char*>(CFDataGetBytePtr(data)),
                          static_cast<std::size_t>(CFDataGetLength(data)));
        bool text = !bytes.empty() && bytes.back() == 0;
        for (std::size_t i = 0; text && i + 1 < bytes.size(); ++i) text = std::isprint(static_cast<unsigned char>(bytes[i]));
        if (text) return "<\"" + bytes.substr(0, bytes.size() - 1) + "\">";
        std::string hex = "<";
        for (unsigned char byte : bytes) hex += "0123456789abcdef"[byte >> 4], hex += "0123456789abcdef"[byte & 15];
        return hex + ">";
    }
    CFRef<CFStringRef> description(CFCopyDescription(value));
    char text[512];
    CFStringGetCString(description.get(), text, sizeof(text), kCFStringEncodingUTF8);
    return text;
}

// A property of an entry as text.
inline std::string Property(io_object_t entry, const char* key) {
    CFRef<CFStringRef> keyString(CFStringCreateWithCString(nullptr, key, kCFStringEncodingUTF8));
    CFRef<CFTypeRef> value(IORegistryEntryCreateCFProperty(entry, keyString.get(), nullptr, 0));
    return Text(value.get());
}

inline std::string ClassOf(io_object_t entry) {
    io_name_t className = "";
    IOObjectGetClass(entry, className);
    return className;
}

// The parent of an entry, owned by the caller (0 for the root).
inline io_object_t ParentOf(io_object_t entry) {
    io_object_t parent = 0;
    IORegistryEntryGetParentEntry(entry, kIOServicePlane, &parent);
    return parent;
}
