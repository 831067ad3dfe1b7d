// Strings: encodings and bounded conversion, ordering and mutation.
// Searching and splitting are reached through the URL commands and the
// store paths, UTF-16 through binary property lists.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "platform/corefoundation/CFRef.h"
#include "platform/corefoundation/CoreFoundation.h"
#include "support/CFText.h"

// A conversion that does not fit, or meets a character the encoding lacks,
// fails and never writes past the given size.
TEST(CFString, BoundedConversionNeverWritesPastTheBuffer) {
    const struct { const char* text; CFIndex size; CFStringEncoding encoding; const char* result; } rows[] = {  // result nil: it fails
        {"Sets", 5, kCFStringEncodingASCII, "Sets"},
        {"Sets", 4, kCFStringEncodingASCII, nullptr},
        {"Sets", 0, kCFStringEncodingASCII, nullptr},
        {"caf\xC3\xA9", 8, kCFStringEncodingASCII, nullptr},
        {"caf\xC3\xA9", 5, kCFStringEncodingUTF8, nullptr},  // fits in characters, not in bytes
        {"caf\xC3\xA9", 6, kCFStringEncodingUTF8, "caf\xC3\xA9"},
        {"caf\xC3\xA9", 8, kCFStringEncodingISOLatin1, "caf\xE9"},
        {"caf\xC3\xA9", 8, kCFStringEncodingMacRoman, "caf\x8E"},
    };
    for (const auto& row : rows) {
        char buffer[9];
        std::memset(buffer, 'X', sizeof buffer);
        EXPECT_EQ(CFStringGetCString(String(row.text).get(), buffer, row.size, row.encoding), row.result != nullptr)
            << row.text << " in " << row.size;
        if (row.result != nullptr) {
            EXPECT_STREQ(buffer, row.result);
        }
        EXPECT_EQ(buffer[row.size], 'X') << row.text << " in " << row.size;
    }
}

TEST(CFString, CreationRejectsBytesInvalidInTheEncoding) {
    EXPECT_EQ(CFStringCreateWithCString(nullptr, "caf\xE9", kCFStringEncodingASCII), nullptr);
    const char* malformed[] = {
        "\x80",              // continuation byte without a lead
        "\xC3",              // truncated sequence
        "\xC0\x80",          // overlong NUL
        "\xE0\x80\xAF",      // overlong '/'
        "\xED\xA0\x80",      // encoded surrogate
        "\xF4\x90\x80\x80",  // beyond U+10FFFF
        "\xC3\x28",          // lead byte followed by ASCII
    };
    for (const char* bytes : malformed)
        EXPECT_EQ(CFStringCreateWithCString(nullptr, bytes, kCFStringEncodingUTF8), nullptr) << bytes;
    CFRef<CFStringRef> latin(CFStringCreateWithCString(nullptr, "caf\xE9", kCFStringEncodingISOLatin1));
    EXPECT_EQ(Text(latin.get()), "caf\xC3\xA9");
}

TEST(CFString, ComparisonOptions) {
    const struct { const char* a; const char* b; CFStringCompareFlags options; CFComparisonResult result; } rows[] = {
        {"B", "a", 0, kCFCompareLessThan},
        {"B", "a", kCFCompareCaseInsensitive, kCFCompareGreaterThan},
        {"ÉCOLE Ÿ", "école ÿ", kCFCompareCaseInsensitive, kCFCompareEqualTo},
        {"ΣΟΦΙΑ", "σοφια", kCFCompareCaseInsensitive, kCFCompareEqualTo},
        {"file2", "file10", kCFCompareNumerically, kCFCompareLessThan},
        {"n99999999999999999999999", "n100000000000000000000000", kCFCompareNumerically, kCFCompareLessThan},
        {"apple", "Banana", kCFCompareLocalized, kCFCompareLessThan},
    };
    // Each order is antisymmetric: the swapped pair compares the other way.
    for (const auto& row : rows) {
        EXPECT_EQ(CFStringCompare(String(row.a).get(), String(row.b).get(), row.options), row.result) << row.a << " " << row.b;
        EXPECT_EQ(CFStringCompare(String(row.b).get(), String(row.a).get(), row.options), -row.result) << row.b << " " << row.a;
    }

    EXPECT_NE(CFStringCompare(CFSTR("a"), CFSTR("A"), kCFCompareLocalized), kCFCompareEqualTo);
}

TEST(CFString, MutationAndSnapshots) {
    CFRef<CFMutableStringRef> m(CFStringCreateMutableCopy(nullptr, 0, CFSTR("ab")));
    CFRef<CFStringRef> copy(CFStringCreateCopy(nullptr, m.get()));
    CFStringReplace(m.get(), CFRangeMake(1, 0), CFSTR("XYZ"));
    EXPECT_EQ(Text(m.get()), "aXYZb");
    EXPECT_EQ(Text(copy.get()), "ab");  // a copy is a snapshot

    CFRef<CFMutableStringRef> low(CFStringCreateMutableCopy(nullptr, 0, CFSTR("AirPort ÀÉÎÕÜ ŁŽŸ ΑΩ ЖЯ 1-2")));
    CFStringLowercase(low.get(), nullptr);
    EXPECT_EQ(Text(low.get()), "airport àéîõü łžÿ αω жя 1-2");
}
