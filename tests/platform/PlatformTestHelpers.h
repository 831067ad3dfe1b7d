// Small helpers shared by the platform stand-ins' tests: dictionaries made
// in one call, line counts of reports, and registry queries whose objects
// are released when the query goes.
#pragma once

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

#include "platform/corefoundation/CFRef.h"
#include "platform/corefoundation/CoreFoundation.h"
#include "platform/iokit/IOKitLib.h"

// An empty mutable dictionary that retains its keys and values.
inline CFRef<CFMutableDictionaryRef> NewDict() {
    return CFRef<CFMutableDictionaryRef>(
        CFDictionaryCreateMutable(nullptr, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
}

// A mutable dictionary holding one value.
inline CFRef<CFMutableDictionaryRef> DictOf(CFStringRef key, CFTypeRef value) {
    auto dict = NewDict();
    CFDictionarySetValue(dict.get(), key, value);
    return dict;
}

inline std::size_t Lines(const std::string& text) {
    return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
}

// The objects a registry query finds, released when it goes; the registry
// is read from the dump at TARNWICK_IOREG when one is given.
struct Services : std::vector<io_object_t> {
    explicit Services(CFMutableDictionaryRef matching, kern_return_t* status = nullptr) {
        io_iterator_t iterator = 0;
        kern_return_t result = IOServiceGetMatchingServices(kIOMasterPortDefault, matching, &iterator);
        if (status != nullptr) *status = result;
        for (io_object_t object; iterator != 0 && (object = IOIteratorNext(iterator)) != 0;) push_back(object);
        if (iterator != 0) IOObjectRelease(iterator);
    }
    explicit Services(const char* className, kern_return_t* status = nullptr)
        : Services(IOServiceMatching(className), status) {}
    ~Services() {
        for (io_object_t object : *this) IOObjectRelease(object);
    }
    // What `text` makes of each object, the first `count` ones.
    std::vector<std::string> Each(std::string (*text)(io_object_t), std::size_t count) const {
        std::vector<std::string> texts;
        for (std::size_t i = 0; i < count && i < size(); ++i) texts.push_back(text((*this)[i]));
        return texts;
    }
};

// While it lives, the registry is read from the dump at path.
struct RegistryDumpAt {
    explicit RegistryDumpAt(const std::string& path) { ::setenv("TARNWICK_IOREG", path.c_str(), 1); }
    ~RegistryDumpAt() { ::unsetenv("TARNWICK_IOREG"); }
};
