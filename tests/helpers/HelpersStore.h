// A store for the helper tests, and more ways to look at what was saved.
//
// Sets in the store's order: "0" Home (current) orders E, W, X, M, D; "1"
// Office orders O, M; "2" Home has no services; "3" Lab orders X, W.
// AppleTalk: on in E and X, off in W and O, absent elsewhere. X is an
// inactive service. IPv4 methods: E, X, D DHCP; W Manual; M PPP.
#pragma once

#include "netconfig/StoreFixture.h"
#include "platform/systemconfiguration/SCDynamicStoreTesting.h"

inline std::string HelpersStoreXML(const std::string& officeName = "Office") {
    const std::string off = "<dict><key>__INACTIVE__</key><integer>1</integer></dict>";
    auto ipv4 = [](const char* method) {
        return std::string("<key>IPv4</key><dict><key>ConfigMethod</key><string>") + method + "</string></dict>";
    };
    return R"(<?xml version="1.0" encoding="UTF-8"?><plist version="1.0"><dict>
<key>CurrentSet</key><string>/Sets/0</string><key>NetworkServices</key><dict>
<key>E</key><dict><key>AppleTalk</key><dict/>)" + ipv4("DHCP") + R"(</dict>
<key>W</key><dict><key>AppleTalk</key>)" + off + ipv4("Manual") + R"(</dict>
<key>X</key><dict><key>__INACTIVE__</key><integer>1</integer><key>AppleTalk</key><dict/>)" + ipv4("DHCP") + R"(</dict>
<key>M</key><dict>)" + ipv4("PPP") + "</dict><key>D</key><dict>" + ipv4("DHCP") + R"(</dict>
<key>O</key><dict><key>AppleTalk</key>)" + off + "</dict></dict>\n<key>Sets</key><dict><key>0</key>" +
           SetXML("Home", {"E", "W", "X", "M", "D"}) + "<key>1</key>" + SetXML(officeName, {"O", "M"}) +
           "<key>2</key>" + SetXML("Home", {}) + "<key>3</key>" + SetXML("Lab", {"X", "W"}) + "</dict></dict></plist>\n";
}

class HelpersTest : public StoreTest {
protected:
    void SetUp() override { root_.writeStore(HelpersStoreXML()); }

    // Whether the entity at path is saved and carries no inactive marker.
    bool SavedActive(const std::string& path) const {
        CFRef<CFDictionaryRef> entity = Saved(path);
        return entity && !CFDictionaryContainsKey(entity.get(), CFSTR("__INACTIVE__"));
    }

    // The number of applies published so far.
    SInt64 Generation() const {
        CFRef<SCDynamicStoreRef> store(SCDynamicStoreCreate(nullptr, CFSTR("test"), nullptr, nullptr));
        return store ? SCDynamicStoreGetGenerationForTesting(store.get()) : -1;
    }
};
