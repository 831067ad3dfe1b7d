// The system version as Gestalt reports it. Listing folders is tested
// through the modem-script list, which reads several batches of them.
#include "platform/coreservices/Gestalt.h"

#include <gtest/gtest.h>

#include "support/SystemVersion.h"

// Binary-coded, each digit capped at 9; no readable version is an error
// that leaves the answer alone.
TEST(Gestalt, SystemVersion) {
    TempRoot root;
    const std::pair<const char*, SInt32> rows[] = {
        {"10.4.11", 0x1049}, {"10.2", 0x1020}, {"10.1.5", 0x1015}, {"10.15.7", 0x1097}, {"11.2.3", 0x1123},
        {"unknown", 7},      {nullptr, 7},
    };
    for (const auto& [text, expected] : rows) {
        if (text != nullptr) InstallSystemVersion(root, text);
        else root.write("/System/Library/CoreServices/SystemVersion.plist", "not a property list");
        SInt32 version = 7;
        EXPECT_EQ(Gestalt(gestaltSystemVersion, &version) == noErr, expected != 7) << text;
        EXPECT_EQ(version, expected) << text;
    }
    SInt32 answer = 0;
    EXPECT_EQ(Gestalt(0x71756b61 /* an unknown selector */, &answer), gestaltUndefSelectorErr);
}
