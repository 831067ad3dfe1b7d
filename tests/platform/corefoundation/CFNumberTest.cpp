// Numbers: reading back through every C type, lossy reads, value equality
// across the integer and floating representations, and descriptions.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "platform/corefoundation/CFRef.h"
#include "platform/corefoundation/CoreFoundation.h"

namespace {

template <class T>
CFRef<CFNumberRef> Num(CFNumberType type, T value) {
    return CFRef<CFNumberRef>(CFNumberCreate(nullptr, type, &value));
}

std::string Describe(CFTypeRef cf) {
    CFRef<CFStringRef> d(CFCopyDescription(cf));
    std::vector<char> buf(static_cast<std::size_t>(CFStringGetLength(d.get())) * 3 + 1);
    EXPECT_TRUE(CFStringGetCString(d.get(), buf.data(), static_cast<CFIndex>(buf.size()), kCFStringEncodingUTF8));
    return buf.data();
}

}  // namespace

TEST(CFNumber, ReadsEachCTypeItNames) {
    // kCFNumberLongType is the host's long: a value beyond 32 bits survives.
    long big = 1L << 40;
    auto n = Num(kCFNumberLongType, big);
    long back = 0;
    EXPECT_TRUE(CFNumberGetValue(n.get(), kCFNumberLongType, &back));
    EXPECT_EQ(back, big);
    EXPECT_EQ(CFNumberGetType(n.get()), kCFNumberSInt64Type);

    // Narrow signed types keep their sign.
    auto small = Num(kCFNumberSInt8Type, SInt8(-3));
    int asInt = 0;
    EXPECT_TRUE(CFNumberGetValue(small.get(), kCFNumberIntType, &asInt));
    EXPECT_EQ(asInt, -3);

    auto f = Num(kCFNumberFloat32Type, 0.25f);
    EXPECT_TRUE(CFNumberIsFloatType(f.get()));
    EXPECT_EQ(CFNumberGetType(f.get()), kCFNumberFloat64Type);
    double d = 0;
    EXPECT_TRUE(CFNumberGetValue(f.get(), kCFNumberDoubleType, &d));
    EXPECT_EQ(d, 0.25);

    EXPECT_EQ(CFNumberCreate(nullptr, kCFNumberIntType, nullptr), nullptr);
}

TEST(CFNumber, LossyReadsReportFalseAndStoreTheTruncatedValue) {
    auto half = Num(kCFNumberDoubleType, 1.5);
    SInt32 i32 = 0;
    EXPECT_FALSE(CFNumberGetValue(half.get(), kCFNumberSInt32Type, &i32));
    EXPECT_EQ(i32, 1);
    auto negative = Num(kCFNumberDoubleType, -2.75);
    SInt64 i64 = 0;
    EXPECT_FALSE(CFNumberGetValue(negative.get(), kCFNumberSInt64Type, &i64));
    EXPECT_EQ(i64, -2);

    auto wide = Num(kCFNumberSInt64Type, SInt64(1) << 40);
    int asInt = 7;
    EXPECT_FALSE(CFNumberGetValue(wide.get(), kCFNumberIntType, &asInt));
    EXPECT_FALSE(CFNumberGetValue(wide.get(), kCFNumberSInt32Type, &i32));
    EXPECT_TRUE(CFNumberGetValue(wide.get(), kCFNumberSInt64Type, &i64));
    EXPECT_EQ(i64, SInt64(1) << 40);

    // A whole double reads as an integer exactly; an integer reads as a
    // double exactly only while the double can hold it.
    auto whole = Num(kCFNumberDoubleType, 3.0);
    EXPECT_TRUE(CFNumberGetValue(whole.get(), kCFNumberSInt32Type, &i32));
    EXPECT_EQ(i32, 3);
    double d = 0;
    EXPECT_TRUE(CFNumberGetValue(wide.get(), kCFNumberDoubleType, &d));
    EXPECT_EQ(d, 1099511627776.0);
    auto odd = Num(kCFNumberSInt64Type, (SInt64(1) << 53) + 1);
    EXPECT_FALSE(CFNumberGetValue(odd.get(), kCFNumberDoubleType, &d));

    // Out of range saturates rather than wrapping into nonsense.
    auto huge = Num(kCFNumberDoubleType, 1e30);
    EXPECT_FALSE(CFNumberGetValue(huge.get(), kCFNumberSInt64Type, &i64));
    EXPECT_EQ(i64, INT64_MAX);
    SInt8 i8 = 0;
    EXPECT_FALSE(CFNumberGetValue(Num(kCFNumberIntType, 300).get(), kCFNumberSInt8Type, &i8));
    float fl = 0;
    EXPECT_FALSE(CFNumberGetValue(Num(kCFNumberDoubleType, 0.1).get(), kCFNumberFloatType, &fl));
    EXPECT_TRUE(CFNumberGetValue(Num(kCFNumberDoubleType, 0.5).get(), kCFNumberFloatType, &fl));
}

TEST(CFNumber, EqualityAndOrderCompareValuesAcrossRepresentations) {
    auto one = Num(kCFNumberIntType, 1);
    auto oneReal = Num(kCFNumberDoubleType, 1.0);
    auto oneAndHalf = Num(kCFNumberDoubleType, 1.5);
    EXPECT_TRUE(CFEqual(one.get(), oneReal.get()));
    EXPECT_EQ(CFHash(one.get()), CFHash(oneReal.get()));
    EXPECT_FALSE(CFEqual(one.get(), oneAndHalf.get()));
    EXPECT_EQ(CFNumberCompare(one.get(), oneAndHalf.get(), nullptr), kCFCompareLessThan);
    EXPECT_EQ(CFNumberCompare(oneAndHalf.get(), one.get(), nullptr), kCFCompareGreaterThan);

    // An integer just past what a double holds still orders exactly.
    auto odd = Num(kCFNumberSInt64Type, (SInt64(1) << 53) + 1);
    auto even = Num(kCFNumberDoubleType, 9007199254740992.0);
    EXPECT_EQ(CFNumberCompare(odd.get(), even.get(), nullptr), kCFCompareGreaterThan);
    EXPECT_FALSE(CFEqual(odd.get(), even.get()));

    // Equal numbers are one key in a dictionary.
    CFRef<CFMutableDictionaryRef> dict(
        CFDictionaryCreateMutable(nullptr, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
    CFDictionarySetValue(dict.get(), one.get(), CFSTR("int"));
    CFDictionarySetValue(dict.get(), oneReal.get(), CFSTR("real"));
    EXPECT_EQ(CFDictionaryGetCount(dict.get()), 1);

    EXPECT_FALSE(CFEqual(one.get(), kCFBooleanTrue));
}

TEST(CFNumber, DescriptionIsTheDecimalValue) {
    EXPECT_EQ(Describe(Num(kCFNumberIntType, -42).get()), "-42");
    EXPECT_EQ(Describe(Num(kCFNumberDoubleType, 1.5).get()), "1.5");
    EXPECT_EQ(Describe(kCFBooleanTrue), "true");
    EXPECT_EQ(Describe(kCFBooleanFalse), "false");
}
