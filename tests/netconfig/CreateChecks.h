// Ports, a store and checks shared by the tests that create and duplicate
// sets and services.
#pragma once

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "netconfig/MoreSCSession.h"
#include "netconfig/StoreFixture.h"

using PortEntries = std::vector<std::pair<std::string, std::string>>;

// A port dictionary as the port scanner describes a port.
inline CFRef<CFDictionaryRef> Port(const PortEntries& entries) {
    CFRef<CFMutableDictionaryRef> port(
        CFDictionaryCreateMutable(nullptr, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
    for (const auto& [key, value] : entries) {
        CFRef<CFStringRef> cfKey(CFStringCreateWithCString(nullptr, key.c_str(), kCFStringEncodingUTF8));
        CFRef<CFStringRef> cfValue(CFStringCreateWithCString(nullptr, value.c_str(), kCFStringEncodingUTF8));
        CFDictionarySetValue(port.get(), cfKey.get(), cfValue.get());
    }
    return CFRef<CFDictionaryRef>(port.release());
}

inline const PortEntries kEthernetPort = {{"UserDefinedName", "Built-in Ethernet"}, {"Hardware", "Ethernet"},
                                          {"Type", "Ethernet"}, {"DeviceName", "en0"},
                                          {"MACAddress", "00:0a:95:9d:68:16"}};
inline const PortEntries kAirPortPort = {{"UserDefinedName", "AirPort"}, {"Hardware", "AirPort"},
                                         {"Type", "Ethernet"}, {"DeviceName", "en1"},
                                         {"MACAddress", "00:0d:93:4e:5f:60"}};
inline const PortEntries kModemPort = {{"UserDefinedName", "Internal Modem"}, {"Hardware", "Modem"},
                                       {"Type", "PPP"}, {"SubType", "PPPSerial"}, {"DeviceName", "modem"},
                                       {"HardwareVariant", "Internal"}};

// Set "0" (current, "Home") links services 1 and 2 in that order; no
// service is left unlinked, so a rolled-back change leaves nothing to
// collect.
inline const char kHomeStore[] = R"(<?xml version="1.0" encoding="UTF-8"?>
<plist version="1.0"><dict>
<key>CurrentSet</key><string>/Sets/0</string>
<key>NetworkServices</key><dict>
  <key>1</key><dict><key>UserDefinedName</key><string>Ethernet</string>
    <key>Proxies</key><dict><key>ExceptionsList</key><array><string>*.local</string></array></dict></dict>
  <key>2</key><dict><key>UserDefinedName</key><string>Modem</string></dict>
</dict>
<key>Sets</key><dict>
  <key>0</key><dict><key>UserDefinedName</key><string>Home</string><key>Network</key><dict>
    <key>Global</key><dict><key>IPv4</key><dict><key>ServiceOrder</key>
      <array><string>1</string><string>2</string></array></dict></dict>
    <key>Service</key><dict>
      <key>1</key><dict><key>__LINK__</key><string>/NetworkServices/1</string></dict>
      <key>2</key><dict><key>__LINK__</key><string>/NetworkServices/2</string></dict>
    </dict></dict></dict>
</dict>
</dict></plist>
)";

// text with its first occurrence of from replaced by to.
inline std::string Replaced(std::string text, const std::string& from, const std::string& to) {
    std::size_t at = text.find(from);
    if (at != std::string::npos) text.replace(at, from.size(), to);
    return text;
}

inline CFTypeRef ValueAt(CFDictionaryRef dict, const char* key) {
    CFRef<CFStringRef> cfKey(CFStringCreateWithCString(nullptr, key, kCFStringEncodingUTF8));
    return dict != nullptr ? CFDictionaryGetValue(dict, cfKey.get()) : nullptr;
}

inline std::string StringAt(CFDictionaryRef dict, const char* key) { return Text(ValueAt(dict, key)); }

// The number under key, or -999 when there is none.
inline long NumberAt(CFDictionaryRef dict, const char* key) {
    long number = -999;
    CFTypeRef value = ValueAt(dict, key);
    if (value != nullptr && CFGetTypeID(value) == CFNumberGetTypeID()) {
        CFNumberGetValue(static_cast<CFNumberRef>(value), kCFNumberLongType, &number);
    }
    return number;
}

inline std::vector<std::string> SortedKeys(CFDictionaryRef dict) {
    std::vector<const void*> keys(static_cast<std::size_t>(CFDictionaryGetCount(dict)));
    CFDictionaryGetKeysAndValues(dict, keys.data(), nullptr);
    std::vector<std::string> texts;
    for (const void* key : keys) texts.push_back(Text(key));
    std::sort(texts.begin(), texts.end());
    return texts;
}

// Expects every entry of before in after, unchanged, except under skipKey.
inline void ExpectKept(CFDictionaryRef before, CFDictionaryRef after, CFStringRef skipKey = nullptr) {
    ASSERT_TRUE(before != nullptr && after != nullptr);
    std::vector<const void*> keys(static_cast<std::size_t>(CFDictionaryGetCount(before)));
    CFDictionaryGetKeysAndValues(before, keys.data(), nullptr);
    for (const void* key : keys) {
        if (skipKey != nullptr && CFEqual(key, skipKey)) continue;
        const void* kept = CFDictionaryGetValue(after, key);
        EXPECT_TRUE(kept != nullptr && CFEqual(CFDictionaryGetValue(before, key), kept)) << Text(key);
    }
}

// Runs op inside an outer session that asks to save, so that anything a
// failed operation leaves behind in the session reaches the file.
template <class Operation>
OSStatus InSavingSession(Operation op) {
    OSStatus outer = MoreSCOpen(false, false);
    OSStatus err = op();
    MoreSCClose(&outer, true);
    return err;
}
