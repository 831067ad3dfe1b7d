// A small store with two sets sharing a service, for the set, service,
// entity and deletion tests, and ways to look at what was saved and applied.
//
// Set "0" (current, "Automatic") orders services 3, 1, 2; set "1" (no name)
// orders 2 and "L4", its local ID for service 4. Service 3 is inactive (its
// marker holds 0, which still counts), service 2 has an Interface entity
// without "DeviceName", and service 5 is linked from no set.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "platform/corefoundation/CFRef.h"
#include "platform/systemconfiguration/SCPreferences.h"
#include "support/CFText.h"
#include "support/StderrCapture.h"
#include "support/TempRoot.h"

// A set dictionary named name ("": no name) linking services in order;
// "L4=4" links service 4 under the set's own ID L4.
inline std::string SetXML(const std::string& name, const std::vector<std::string>& services) {
    std::string order, links;
    for (const std::string& entry : services) {
        const std::string id = entry.substr(0, entry.find('=')), target = entry.substr(entry.find('=') + 1);
        order += "<string>" + id + "</string>";
        links += "<key>" + id + "</key><dict><key>__LINK__</key><string>/NetworkServices/" + target + "</string></dict>";
    }
    return "<dict>" + (name.empty() ? "" : "<key>UserDefinedName</key><string>" + name + "</string>") +
           "<key>Network</key><dict><key>Global</key><dict><key>IPv4</key><dict><key>ServiceOrder</key><array>" + order +
           "</array></dict></dict><key>Service</key><dict>" + links + "</dict></dict></dict>\n";
}

inline const std::string kTwoSetStore = R"(<?xml version="1.0" encoding="UTF-8"?>
<plist version="1.0"><dict>
<key>CurrentSet</key><string>/Sets/0</string>
<key>NetworkServices</key><dict>
  <key>1</key><dict><key>UserDefinedName</key><string>Ethernet</string>
    <key>Interface</key><dict><key>DeviceName</key><string>en0</string></dict>
    <key>Proxies</key><dict><key>HTTPEnable</key><integer>1</integer><key>HTTPProxy</key><string>proxy</string></dict>
  </dict>
  <key>2</key><dict><key>UserDefinedName</key><string>Wi-Fi</string><key>Interface</key><dict/></dict>
  <key>3</key><dict><key>UserDefinedName</key><string>Bridge</string><key>__INACTIVE__</key><integer>0</integer>
    <key>IPv4</key><dict><key>ConfigMethod</key><string>DHCP</string></dict></dict>
  <key>4</key><dict><key>UserDefinedName</key><string>Modem</string></dict>
  <key>5</key><dict><key>UserDefinedName</key><string>Orphan</string></dict>
</dict>
<key>Sets</key><dict><key>0</key>)" + SetXML("Automatic", {"3", "1", "2"}) + "<key>1</key>" + SetXML("", {"2", "L4=4"}) +
                                     "</dict>\n</dict></plist>\n";

// Replaces the one occurrence of from in text.
inline std::string Edited(std::string text, const std::string& from, const std::string& to) {
    size_t at = text.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    return at == std::string::npos ? text : text.replace(at, from.size(), to);
}

class StoreTest : public testing::Test {
protected:
    void SetUp() override { root_.writeStore(kTwoSetStore); }

    std::string FileText() const { return TempRoot::ReadFile(root_.storePath()); }

    // Whether a save was applied: the running system's copy exists.
    bool Applied() const {
        return std::filesystem::exists(root_.path() / "var/run/SystemConfiguration/preferences.plist");
    }

    // The dictionary at path in the store as saved on disk, or nil.
    CFRef<CFDictionaryRef> Saved(const std::string& path) const {
        CFRef<SCPreferencesRef> prefs(SCPreferencesCreate(nullptr, CFSTR("test"), nullptr));
        CFRef<CFStringRef> cfPath(CFStringCreateWithCString(nullptr, path.c_str(), kCFStringEncodingUTF8));
        return CFRef<CFDictionaryRef>::Retain(prefs ? SCPreferencesPathGetValue(prefs.get(), cfPath.get()) : nullptr);
    }

    TempRoot root_;
};
