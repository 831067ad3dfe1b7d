#include <gtest/gtest.h>

#include <string>

#include "netconfig/MoreSCPathsInternal.h"
#include "netconfig/MoreSCSession.h"
#include "platform/corefoundation/CFRef.h"
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

TEST(PathStrings, IDIsTheThirdComponentOfAPath) {
    struct Case {
        CFStringRef path;
        const char* id;
    } cases[] = {{CFSTR("/NetworkServices/12"), "12"}, {CFSTR("/Sets/0"), "0"}, {CFSTR("/Sets/"), ""}};
    for (const Case& c : cases) {
        CFRef<CFStringRef> id;
        EXPECT_EQ(CopySeIDFromSePath(c.path, id.out()), noErr);
        EXPECT_EQ(Text(id.get()), c.id);
    }

    // Too short: reported, and no ID.
    CFRef<CFStringRef> id;
    testing::internal::CaptureStderr();
    EXPECT_EQ(CopySeIDFromSePath(CFSTR("/Sets"), id.out()), coreFoundationUnknownErr);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "MoreAssertQ failure: CFArrayGetCount(sePathComponents) == 3\n");
    EXPECT_EQ(id.get(), nullptr);

    // Too long: reported, and the third component still taken.
    testing::internal::CaptureStderr();
    EXPECT_EQ(CopySeIDFromSePath(CFSTR("/Sets/0/Network"), id.out()), noErr);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "MoreAssertQ failure: CFArrayGetCount(sePathComponents) == 3\n");
    EXPECT_EQ(Text(id.get()), "0");
}

TEST_F(Paths, SetPathsComeFromTheIDOrTheCurrentSet) {
    Open(kStore);
    CFRef<CFStringRef> path;
    // No set 7 exists; its path is made all the same.
    EXPECT_EQ(CopySetPath(CFSTR("7"), path.out()), noErr);
    EXPECT_EQ(Text(path.get()), "/Sets/7");
    path.reset();
    EXPECT_EQ(CopySetGlobalsPath(nil, path.out()), noErr);
    EXPECT_EQ(Text(path.get()), "/Sets/0/Network/Global");
    path.reset();
    EXPECT_EQ(CopySetServicesPath(CFSTR("7"), path.out()), noErr);
    EXPECT_EQ(Text(path.get()), "/Sets/7/Network/Service");
}

TEST_F(Paths, WithoutACurrentSetThereIsNoDefaultSet) {
    Open(R"(<?xml version="1.0" encoding="UTF-8"?>
<plist version="1.0"><dict><key>Sets</key><dict/></dict></plist>
)");
    CFRef<CFStringRef> path;
    EXPECT_EQ(CopySetPath(nil, path.out()), kSCStatusNoKey);
    EXPECT_EQ(path.get(), nullptr);
    EXPECT_EQ(CopyEntityPath(nil, CFSTR("3"), CFSTR("Proxies"), path.out()), kSCStatusNoKey);
    EXPECT_EQ(path.get(), nullptr);
}

TEST_F(Paths, ServicesAreReachedThroughTheSetsLinks) {
    Open(kStore);
    CFRef<CFStringRef> path;
    EXPECT_EQ(CopyResolvedServicePath(CFSTR("0"), CFSTR("3"), path.out()), noErr);
    EXPECT_EQ(Text(path.get()), "/NetworkServices/3");
    path.reset();
    EXPECT_EQ(CopyEntityPath(nil, CFSTR("L1"), CFSTR("Proxies"), path.out()), noErr);
    EXPECT_EQ(Text(path.get()), "/NetworkServices/3/Proxies");

    // A nil service means the set's globals, whether or not the set exists.
    path.reset();
    EXPECT_EQ(CopyResolvedServicePath(CFSTR("9"), nil, path.out()), noErr);
    EXPECT_EQ(Text(path.get()), "/Sets/9/Network/Global");
    path.reset();
    EXPECT_EQ(CopyEntityPath(CFSTR("9"), nil, CFSTR("IPv4"), path.out()), noErr);
    EXPECT_EQ(Text(path.get()), "/Sets/9/Network/Global/IPv4");

    // Not linked from the set, not a link, or no such set: unreachable.
    testing::internal::CaptureStderr();
    path.reset();
    EXPECT_EQ(CopyResolvedServicePath(CFSTR("0"), CFSTR("12"), path.out()), kSCStatusNoKey);
    EXPECT_EQ(path.get(), nullptr);
    EXPECT_EQ(CopyResolvedServicePath(nil, CFSTR("5"), path.out()), kSCStatusNoKey);
    EXPECT_EQ(path.get(), nullptr);
    EXPECT_EQ(CopyEntityPath(CFSTR("9"), CFSTR("3"), CFSTR("Proxies"), path.out()), kSCStatusNoKey);
    EXPECT_EQ(path.get(), nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

}  // namespace
