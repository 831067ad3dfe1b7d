#include "platform/coreservices/Gestalt.h"

#include <gtest/gtest.h>

#include "support/SystemVersion.h"

namespace {

const char* const kVersionFile = "/System/Library/CoreServices/SystemVersion.plist";

}  // namespace

TEST(Gestalt, SystemVersionIsBinaryCodedWithCappedDigits) {
    TempRoot root;
    const std::pair<const char*, SInt32> cases[] = {
        {"10.4.11", 0x1049}, {"10.2", 0x1020}, {"10.1.5", 0x1015}, {"10.15.7", 0x1097}, {"11.2.3", 0x1123},
    };
    for (const auto& [text, expected] : cases) {
        InstallSystemVersion(root, text);
        SInt32 version = 0;
        EXPECT_EQ(noErr, Gestalt(gestaltSystemVersion, &version)) << text;
        EXPECT_EQ(expected, version) << text;
    }
}

TEST(Gestalt, FailsWithoutAReadableVersion) {
    TempRoot root;
    SInt32 version = 7;
    EXPECT_EQ(gestaltUndefSelectorErr, Gestalt(gestaltSystemVersion, &version));
    root.write(kVersionFile, "not a property list");
    EXPECT_EQ(gestaltUndefSelectorErr, Gestalt(gestaltSystemVersion, &version));
    InstallSystemVersion(root, "unknown");
    EXPECT_EQ(gestaltUndefSelectorErr, Gestalt(gestaltSystemVersion, &version));
    EXPECT_EQ(7, version);

    InstallSystemVersion(root, "10.3");
    EXPECT_EQ(gestaltUndefSelectorErr, Gestalt(0x71756b61 /* an unknown selector */, &version));
}
