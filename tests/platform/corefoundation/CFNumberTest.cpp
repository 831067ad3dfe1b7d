// Numbers: reading back through the C types the library uses, and lossy
// reads.
#include <gtest/gtest.h>

#include <cstdint>

#include "platform/corefoundation/CFRef.h"
#include "platform/corefoundation/CoreFoundation.h"

namespace {

template <class T>
CFRef<CFNumberRef> Num(CFNumberType type, T value) {
    return CFRef<CFNumberRef>(CFNumberCreate(nullptr, type, &value));
}

}  // namespace

// A read reports whether it was exact; an inexact one still stores a value:
// an integer keeps its low bits, as a C cast does, and a floating value is
// truncated towards zero, or saturated when out of range.
TEST(CFNumber, ReadsAreExactOrSayTheyAreNot) {
    const struct { CFRef<CFNumberRef> number; bool exactInt32; SInt32 int32; bool exactInt64; SInt64 int64; } rows[] = {
        {Num(kCFNumberSInt8Type, SInt8(-3)), true, -3, true, -3},
        {Num(kCFNumberLongType, (1L << 40) + 5), false, 5, true, (SInt64(1) << 40) + 5},
        {Num(kCFNumberDoubleType, 3.0), true, 3, true, 3},
        {Num(kCFNumberDoubleType, 1.5), false, 1, false, 1},
        {Num(kCFNumberDoubleType, -2.75), false, -2, false, -2},
        {Num(kCFNumberDoubleType, 1e30), false, INT32_MAX, false, INT64_MAX},
    };
    for (const auto& row : rows) {
        SInt32 int32 = 7;
        SInt64 int64 = 7;
        EXPECT_EQ(CFNumberGetValue(row.number.get(), kCFNumberSInt32Type, &int32), row.exactInt32) << row.int64;
        EXPECT_EQ(int32, row.int32);
        EXPECT_EQ(CFNumberGetValue(row.number.get(), kCFNumberSInt64Type, &int64), row.exactInt64) << row.int64;
        EXPECT_EQ(int64, row.int64);
    }
    double d = 0;
    EXPECT_TRUE(CFNumberGetValue(Num(kCFNumberFloat32Type, 0.25f).get(), kCFNumberDoubleType, &d));
    EXPECT_EQ(d, 0.25);
    EXPECT_FALSE(CFNumberGetValue(Num(kCFNumberSInt64Type, (SInt64(1) << 53) + 1).get(), kCFNumberDoubleType, &d));
}
