// Checks for built entities: a whole entity compared as a map of key to
// value text, so that every key and every value is checked at once.
#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "entities/MoreSCCreateEntity.h"
#include "platform/corefoundation/CFRef.h"
#include "platform/corefoundation/CoreFoundation.h"
#include "support/CFText.h"
#include "support/StderrCapture.h"

// A value as text: strings as they are, numbers in decimal, data in hex
// between angle brackets, arrays between square brackets.
inline std::string Show(CFTypeRef value) {
    CFTypeID type = CFGetTypeID(value);
    std::string text;
    if (type == CFNumberGetTypeID()) {
        long number = 0;
        CFNumberGetValue(static_cast<CFNumberRef>(value), kCFNumberLongType, &number);
        return std::to_string(number);
    }
    if (type == CFDataGetTypeID()) {
        auto data = static_cast<CFDataRef>(value);
        char byte[3];
        for (CFIndex i = 0; i < CFDataGetLength(data); i++) {
            std::snprintf(byte, sizeof byte, "%02x", CFDataGetBytePtr(data)[i]);
            text += byte;
        }
        return "<" + text + ">";
    }
    if (type != CFArrayGetTypeID()) return Text(value);
    for (const std::string& item : Texts(static_cast<CFArrayRef>(value))) text += (text.empty() ? "" : ",") + item;
    return "[" + text + "]";
}

using Contents = std::map<std::string, std::string>;

inline Contents ContentsOf(CFDictionaryRef dict) {
    std::vector<const void*> keys(static_cast<size_t>(CFDictionaryGetCount(dict))), values(keys.size());
    CFDictionaryGetKeysAndValues(dict, keys.data(), values.data());
    Contents contents;
    for (size_t i = 0; i < keys.size(); i++) contents[Text(keys[i])] = Show(values[i]);
    return contents;
}

// A build of a digest by an entity's own builder, or by protocol name
// through a builder that takes one.
using Build = std::function<OSStatus(CFDictionaryRef*)>;
template <class Digest>
Build By(OSStatus (*builder)(const Digest*, CFDictionaryRef*), Digest digest) {
    return [=](CFDictionaryRef* entity) { return builder(&digest, entity); };
}
template <class Digest>
Build By(CFStringRef protocol, Digest digest,
         OSStatus (*builder)(CFStringRef, const void*, CFDictionaryRef*) = MoreSCCreateEntity) {
    return [=](CFDictionaryRef* entity) { return builder(protocol, &digest, entity); };
}

// One build of an entity: its status, what it must contain (nothing when
// refused) and what it reports on standard error.
struct BuildRow {
    const char* what;
    Build build;
    Contents contents;
    std::string reports = "";
    OSStatus status = noErr;
};

inline void ExpectBuilds(const std::vector<BuildRow>& rows) {
    for (const BuildRow& row : rows) {
        SCOPED_TRACE(row.what);
        CFRef<CFDictionaryRef> entity;
        StderrCapture reports;
        ASSERT_EQ(row.build(entity.out()), row.status);
        EXPECT_EQ(reports.text(), row.reports);
        EXPECT_EQ(entity.get() == nullptr, row.status != noErr);
        EXPECT_EQ(entity ? ContentsOf(entity.get()) : Contents(), row.contents);
    }
}
