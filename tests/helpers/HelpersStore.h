// A store for the helper tests, and ways to look at what was saved and
// what the live state holds.
//
// Sets, in the store's order: "0" Home (current), "1" Office, "2" Home (no
// services), "3" Lab. Set 0 orders E, W, X, M, D: E (Ethernet, AppleTalk on,
// DHCP), W (AppleTalk off, Manual), X (inactive service, AppleTalk on,
// DHCP), M (modem: no AppleTalk, PPP), D (DHCP). Set 1 orders O (AppleTalk
// off) then M. Set 3 orders X then W.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/corefoundation/CFRef.h"
#include "platform/systemconfiguration/SCDynamicStoreTesting.h"
#include "platform/systemconfiguration/SCPreferences.h"
#include "support/TempRoot.h"

inline const char kHelpersStore[] = R"(<?xml version="1.0" encoding="UTF-8"?>
<plist version="1.0"><dict>
<key>CurrentSet</key><string>/Sets/0</string>
<key>NetworkServices</key><dict>
  <key>E</key><dict><key>UserDefinedName</key><string>Ethernet</string>
    <key>AppleTalk</key><dict><key>ConfigMethod</key><string>Node</string></dict>
    <key>IPv4</key><dict><key>ConfigMethod</key><string>DHCP</string></dict></dict>
  <key>W</key><dict><key>UserDefinedName</key><string>Wi-Fi</string>
    <key>AppleTalk</key><dict><key>ConfigMethod</key><string>Node</string><key>__INACTIVE__</key><integer>1</integer></dict>
    <key>IPv4</key><dict><key>ConfigMethod</key><string>Manual</string></dict></dict>
  <key>X</key><dict><key>UserDefinedName</key><string>Spare</string><key>__INACTIVE__</key><integer>1</integer>
    <key>AppleTalk</key><dict><key>ConfigMethod</key><string>Node</string></dict>
    <key>IPv4</key><dict><key>ConfigMethod</key><string>DHCP</string></dict></dict>
  <key>M</key><dict><key>UserDefinedName</key><string>Modem</string>
    <key>IPv4</key><dict><key>ConfigMethod</key><string>PPP</string></dict></dict>
  <key>D</key><dict><key>UserDefinedName</key><string>Dock</string>
    <key>IPv4</key><dict><key>ConfigMethod</key><string>DHCP</string></dict></dict>
  <key>O</key><dict><key>UserDefinedName</key><string>Office LAN</string>
    <key>AppleTalk</key><dict><key>__INACTIVE__</key><integer>1</integer></dict></dict>
</dict>
<key>Sets</key><dict>
  <key>0</key><dict><key>UserDefinedName</key><string>Home</string><key>Network</key><dict>
    <key>Global</key><dict><key>IPv4</key><dict><key>ServiceOrder</key>
      <array><string>E</string><string>W</string><string>X</string><string>M</string><string>D</string></array></dict></dict>
    <key>Service</key><dict>
      <key>E</key><dict><key>__LINK__</key><string>/NetworkServices/E</string></dict>
      <key>W</key><dict><key>__LINK__</key><string>/NetworkServices/W</string></dict>
      <key>X</key><dict><key>__LINK__</key><string>/NetworkServices/X</string></dict>
      <key>M</key><dict><key>__LINK__</key><string>/NetworkServices/M</string></dict>
      <key>D</key><dict><key>__LINK__</key><string>/NetworkServices/D</string></dict>
    </dict></dict></dict>
  <key>1</key><dict><key>UserDefinedName</key><string>Office</string><key>Network</key><dict>
    <key>Global</key><dict><key>IPv4</key><dict><key>ServiceOrder</key>
      <array><string>O</string><string>M</string></array></dict></dict>
    <key>Service</key><dict>
      <key>O</key><dict><key>__LINK__</key><string>/NetworkServices/O</string></dict>
      <key>M</key><dict><key>__LINK__</key><string>/NetworkServices/M</string></dict>
    </dict></dict></dict>
  <key>2</key><dict><key>UserDefinedName</key><string>Home</string><key>Network</key><dict>
    <key>Global</key><dict><key>IPv4</key><dict><key>ServiceOrder</key><array/></dict></dict>
    <key>Service</key><dict/></dict></dict>
  <key>3</key><dict><key>UserDefinedName</key><string>Lab</string><key>Network</key><dict>
    <key>Global</key><dict><key>IPv4</key><dict><key>ServiceOrder</key>
      <array><string>X</string><string>W</string></array></dict></dict>
    <key>Service</key><dict>
      <key>X</key><dict><key>__LINK__</key><string>/NetworkServices/X</string></dict>
      <key>W</key><dict><key>__LINK__</key><string>/NetworkServices/W</string></dict>
    </dict></dict></dict>
</dict>
</dict></plist>
)";

inline std::string Text(CFTypeRef string) {
    char buffer[256];
    if (string == nullptr) return "(nil)";
    if (CFGetTypeID(string) != CFStringGetTypeID()) return "(not a string)";
    return CFStringGetCString(static_cast<CFStringRef>(string), buffer, sizeof buffer, kCFStringEncodingUTF8)
               ? buffer
               : "(unreadable)";
}

inline std::vector<std::string> Texts(CFArrayRef array) {
    std::vector<std::string> texts;
    for (CFIndex i = 0; array != nullptr && i < CFArrayGetCount(array); i++) {
        texts.push_back(Text(CFArrayGetValueAtIndex(array, i)));
    }
    return texts;
}

class HelpersTest : public testing::Test {
protected:
    void SetUp() override { root_.writeStore(kHelpersStore); }

    std::string FileText() const { return TempRoot::ReadFile(root_.storePath()); }

    // The dictionary at path in the store as saved on disk, or nil.
    CFRef<CFDictionaryRef> Saved(const char* path) const {
        CFRef<SCPreferencesRef> prefs(SCPreferencesCreate(nullptr, CFSTR("test"), nullptr));
        CFRef<CFStringRef> cfPath(CFStringCreateWithCString(nullptr, path, kCFStringEncodingUTF8));
        if (!prefs) return CFRef<CFDictionaryRef>();
        return CFRef<CFDictionaryRef>::Retain(SCPreferencesPathGetValue(prefs.get(), cfPath.get()));
    }

    // Whether the entity at path is saved and carries no inactive marker.
    bool SavedActive(const char* path) const {
        CFRef<CFDictionaryRef> entity = Saved(path);
        return entity && !CFDictionaryContainsKey(entity.get(), CFSTR("__INACTIVE__"));
    }

    // The number of applies published so far.
    SInt64 Generation() const {
        CFRef<SCDynamicStoreRef> store(SCDynamicStoreCreate(nullptr, CFSTR("test"), nullptr, nullptr));
        return store ? SCDynamicStoreGetGenerationForTesting(store.get()) : -1;
    }

    TempRoot root_;
};
