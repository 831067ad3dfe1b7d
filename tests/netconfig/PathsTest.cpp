#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "netconfig/MoreSCPaths.h"
#include "netconfig/MoreSCSession.h"
#include "platform/corefoundation/CFRef.h"
#include "support/StderrCapture.h"
#include "support/TempRoot.h"

namespace {

// Set 0 is current. It links service 3 under its own ID and service 3 again
// under the local ID "L1"; "5" is an entry that is not a link; service 12
// exists but no set links to it.
const char kStore[] = R"(<?xml version="1.0" encoding="UTF-8"?>
<plist version="1.0"><dict>
<key>CurrentSet</key><string>/Sets/0</string>
<key>NetworkServices</key><dict>
  <key>3</key><dict><key>UserDefinedName</key><string>Ethernet</string><key>Proxies</key><dict/></dict>
  <key>12</key><dict><key>UserDefinedName</key><string>Orphan</string></dict>
</dict>
<key>Sets</key><dict><key>0</key><dict><key>Network</key><dict>
  <key>Global</key><dict/>
  <key>Service</key><dict>
    <key>3</key><dict><key>__LINK__</key><string>/NetworkServices/3</string></dict>
    <key>L1</key><dict><key>__LINK__</key><string>/NetworkServices/3</string></dict>
    <key>5</key><dict><key>UserDefinedName</key><string>not a link</string></dict>
  </dict>
</dict></dict></dict>
</dict></plist>
)";

std::string Text(CFStringRef string) {
    if (string == nil) return "(nil)";
    char buffer[256];
    return CFStringGetCString(string, buffer, sizeof(buffer), kCFStringEncodingUTF8) ? buffer : "(unreadable)";
}

using PathCopier = std::function<OSStatus(CFStringRef*)>;

struct PathRow {
    const char* what;
    PathCopier copy;
    OSStatus status;
    const char* path;
    const char* report = "";
};

// Runs each row with a fresh out-parameter and checks status, path and what
// was reported.
void ExpectPaths(const std::vector<PathRow>& rows) {
    for (const PathRow& row : rows) {
        SCOPED_TRACE(row.what);
        CFRef<CFStringRef> path;
        StderrCapture reports;
        EXPECT_EQ(row.copy(path.out()), row.status);
        EXPECT_EQ(Text(path.get()), row.path);
        EXPECT_EQ(reports.text(), row.report);
    }
}

TEST(PathStrings, IDIsTheThirdComponentOfAPath) {
    const char* report = "MoreAssertQ failure: CFArrayGetCount(sePathComponents) == 3\n";
    auto id = [](CFStringRef path) { return [path](CFStringRef* id) { return CopySeIDFromSePath(path, id); }; };
    ExpectPaths({
        {"service", id(CFSTR("/NetworkServices/12")), noErr, "12"},
        {"set", id(CFSTR("/Sets/0")), noErr, "0"},
        {"empty ID", id(CFSTR("/Sets/")), noErr, ""},
        {"too short", id(CFSTR("/Sets")), coreFoundationUnknownErr, "(nil)", report},
        {"too long", id(CFSTR("/Sets/0/Network")), noErr, "0", report},  // the third component all the same
    });
}

class Paths : public testing::Test {
protected:
    void Open(const char* storeText) {
        root_.writeStore(storeText);
        ASSERT_EQ(MoreSCOpen(false, false), noErr);
        open_ = true;
    }
    void TearDown() override {
        if (!open_) return;
        OSStatus err = noErr;
        MoreSCClose(&err, false);
        EXPECT_EQ(err, noErr);
    }

    TempRoot root_;
    bool open_ = false;
};

TEST_F(Paths, SetsAndServicesAreReachedThroughTheSetsLinks) {
    Open(kStore);
    auto entity = [](CFStringRef setID, CFStringRef serviceID, CFStringRef protocol) {
        return [=](CFStringRef* path) {
            return protocol == nil ? CopyResolvedServicePath(setID, serviceID, path)
                                   : CopyEntityPath(setID, serviceID, protocol, path);
        };
    };
    ExpectPaths({
        // No set 7 exists; its paths are made all the same.
        {"set 7", [](CFStringRef* p) { return CopySetPath(CFSTR("7"), p); }, noErr, "/Sets/7"},
        {"current globals", [](CFStringRef* p) { return CopySetGlobalsPath(nil, p); }, noErr, "/Sets/0/Network/Global"},
        {"services of 7", [](CFStringRef* p) { return CopySetServicesPath(CFSTR("7"), p); }, noErr,
         "/Sets/7/Network/Service"},
        {"linked", entity(CFSTR("0"), CFSTR("3"), nil), noErr, "/NetworkServices/3"},
        {"local ID", entity(nil, CFSTR("L1"), CFSTR("Proxies")), noErr, "/NetworkServices/3/Proxies"},
        // A nil service means the set's globals, whether or not the set exists.
        {"globals", entity(CFSTR("9"), nil, nil), noErr, "/Sets/9/Network/Global"},
        {"global entity", entity(CFSTR("9"), nil, CFSTR("IPv4")), noErr, "/Sets/9/Network/Global/IPv4"},
        // Not linked from the set, not a link, or no such set: unreachable.
        {"not linked", entity(CFSTR("0"), CFSTR("12"), nil), kSCStatusNoKey, "(nil)"},
        {"not a link", entity(nil, CFSTR("5"), nil), kSCStatusNoKey, "(nil)"},
        {"no set", entity(CFSTR("9"), CFSTR("3"), CFSTR("Proxies")), kSCStatusNoKey, "(nil)"},
    });
}

TEST_F(Paths, WithoutACurrentSetThereIsNoDefaultSet) {
    Open(R"(<?xml version="1.0" encoding="UTF-8"?>
<plist version="1.0"><dict><key>Sets</key><dict/></dict></plist>
)");
    ExpectPaths({
        {"set", [](CFStringRef* p) { return CopySetPath(nil, p); }, kSCStatusNoKey, "(nil)"},
        {"entity", [](CFStringRef* p) { return CopyEntityPath(nil, CFSTR("3"), CFSTR("Proxies"), p); },
         kSCStatusNoKey, "(nil)"},
    });
}

}  // namespace
