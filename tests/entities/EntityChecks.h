// Checks for built entities: a whole entity compared as a map of key to
// value text, so that every key and every value is checked at once.
#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "platform/corefoundation/CFRef.h"
#include "platform/corefoundation/CoreFoundation.h"
#include "support/CFText.h"
#include "support/StderrCapture.h"

// A value as text: strings as they are, numbers in decimal, data in hex
// between angle brackets, arrays between square brackets.
inline std::string Show(CFTypeRef value) {
    CFTypeID type = CFGetTypeID(value);
    if (type == CFNumberGetTypeID()) {
        long number = 0;
        CFNumberGetValue(static_cast<CFNumberRef>(value), kCFNumberLongType, &number);
        return std::to_string(number);
    }
    if (type == CFDataGetTypeID()) {
        std::string hex = "<";
        auto data = static_cast<CFDataRef>(value);
        for (CFIndex i = 0; i < CFDataGetLength(data); i++) {
            char byte[3];
            std::snprintf(byte, sizeof byte, "%02x", CFDataGetBytePtr(data)[i]);
            hex += byte;
        }
        return hex + ">";
    }
    if (type == CFArrayGetTypeID()) {
        std::string list = "[";
        for (const std::string& item : Texts(static_cast<CFArrayRef>(value))) list += (list.size() > 1 ? "," : "") + item;
        return list + "]";
    }
    return Text(value);
}

using Contents = std::map<std::string, std::string>;

inline Contents ContentsOf(CFDictionaryRef dict) {
    Contents contents;
    std::vector<const void*> keys(static_cast<size_t>(CFDictionaryGetCount(dict)));
    std::vector<const void*> values(keys.size());
    CFDictionaryGetKeysAndValues(dict, keys.data(), values.data());
    for (size_t i = 0; i < keys.size(); i++) contents[Text(keys[i])] = Show(values[i]);
    return contents;
}

// One build of an entity: what it must contain and report on standard error.
struct BuildRow {
    const char* what;
    std::function<OSStatus(CFDictionaryRef*)> build;
    Contents contents;
    std::string reports = "";
};

inline void ExpectBuilds(const std::vector<BuildRow>& rows) {
    for (const BuildRow& row : rows) {
        SCOPED_TRACE(row.what);
        CFRef<CFDictionaryRef> entity;
        StderrCapture reports;
        ASSERT_EQ(row.build(entity.out()), noErr);
        EXPECT_EQ(reports.text(), row.reports);
        EXPECT_EQ(ContentsOf(entity.get()), row.contents);
    }
}
