// Checked casts of property-list values: a value of another type, or none,
// reads as nil.
#include <gtest/gtest.h>

#include "platform/corefoundation/CFRef.h"
#include "plist/CFQTyped.h"
#include "plist/MoreCFQ.h"

namespace {

TEST(CFQTypedTest, EachTypeIsTakenOnlyAsItself) {
    int one = 1;
    CFRef<CFNumberRef> number(CFNumberCreate(nil, kCFNumberIntType, &one));
    CFRef<CFDataRef> data(CFDataCreate(nil, nullptr, 0));
    CFRef<CFArrayRef> array(CFArrayCreate(nil, nullptr, 0, &kCFTypeArrayCallBacks));
    CFRef<CFMutableDictionaryRef> dict;
    ASSERT_EQ(CFQDictionaryCreateMutable(dict.out()), noErr);
    CFTypeRef values[] = {CFSTR("text"), number.get(), kCFBooleanTrue, data.get(), array.get(), dict.get()};

    for (int i = 0; i < 6; i++) {
        SCOPED_TRACE(i);
        EXPECT_EQ(CFQCast<CFStringRef>(values[i]) != nil, i == 0);
        EXPECT_EQ(CFQCast<CFNumberRef>(values[i]) != nil, i == 1);
        EXPECT_EQ(CFQCast<CFBooleanRef>(values[i]) != nil, i == 2);
        EXPECT_EQ(CFQCast<CFDataRef>(values[i]) != nil, i == 3);
        EXPECT_EQ(CFQCast<CFArrayRef>(values[i]) != nil, i == 4);
        EXPECT_EQ(CFQCast<CFDictionaryRef>(values[i]) != nil, i == 5);
    }
    EXPECT_EQ(CFQCast<CFStringRef>(nil), nil);

    CFDictionarySetValue(dict.get(), CFSTR("name"), CFSTR("Ethernet"));
    CFDictionarySetValue(dict.get(), CFSTR("flag"), number.get());
    EXPECT_TRUE(CFEqual(CFQGetTyped<CFStringRef>(dict.get(), CFSTR("name")), CFSTR("Ethernet")));
    EXPECT_EQ(CFQGetTyped<CFStringRef>(dict.get(), CFSTR("flag")), nil);
    EXPECT_EQ(CFQGetTyped<CFNumberRef>(dict.get(), CFSTR("flag")), number.get());
    EXPECT_EQ(CFQGetTyped<CFStringRef>(dict.get(), CFSTR("missing")), nil);
}

}  // namespace
