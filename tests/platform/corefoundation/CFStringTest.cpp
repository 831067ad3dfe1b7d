// Strings: encodings and bounded conversion, UTF-16 lengths, ordering,
// searching, splitting, mutation and constant strings.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "platform/corefoundation/CFRef.h"
#include "platform/corefoundation/CoreFoundation.h"

namespace {

CFRef<CFStringRef> Str(const char* utf8) {
    return CFRef<CFStringRef>(CFStringCreateWithCString(nullptr, utf8, kCFStringEncodingUTF8));
}

std::string Text(CFStringRef s) {
    std::vector<char> buf(static_cast<std::size_t>(CFStringGetLength(s)) * 3 + 1);
    EXPECT_TRUE(CFStringGetCString(s, buf.data(), static_cast<CFIndex>(buf.size()), kCFStringEncodingUTF8));
    return buf.data();
}

std::u16string Units(CFStringRef s) {
    std::u16string out(static_cast<std::size_t>(CFStringGetLength(s)), u'\0');
    CFStringGetCharacters(s, CFRangeMake(0, CFStringGetLength(s)), reinterpret_cast<UniChar*>(out.data()));
    return out;
}

}  // namespace

TEST(CFStringEncoding, BoundedCStringNeverWritesPastTheBuffer) {
    auto s = Str("Sets");
    char buf[8];
    std::memset(buf, 'X', sizeof buf);
    // Exactly text + NUL fits.
    EXPECT_TRUE(CFStringGetCString(s.get(), buf, 5, kCFStringEncodingASCII));
    EXPECT_STREQ(buf, "Sets");
    EXPECT_EQ(buf[5], 'X');
    // One byte short: failure, and nothing beyond the given size is touched.
    std::memset(buf, 'X', sizeof buf);
    EXPECT_FALSE(CFStringGetCString(s.get(), buf, 4, kCFStringEncodingASCII));
    EXPECT_EQ(buf[4], 'X');
    EXPECT_FALSE(CFStringGetCString(s.get(), buf, 0, kCFStringEncodingASCII));

    // A character the encoding cannot hold fails; so does a multi-byte
    // UTF-8 text that fits in characters but not in bytes.
    auto accented = Str("caf\xC3\xA9");
    EXPECT_FALSE(CFStringGetCString(accented.get(), buf, sizeof buf, kCFStringEncodingASCII));
    EXPECT_FALSE(CFStringGetCString(accented.get(), buf, 5, kCFStringEncodingUTF8));
    EXPECT_TRUE(CFStringGetCString(accented.get(), buf, 6, kCFStringEncodingUTF8));
    EXPECT_STREQ(buf, "caf\xC3\xA9");
    EXPECT_TRUE(CFStringGetCString(accented.get(), buf, sizeof buf, kCFStringEncodingISOLatin1));
    EXPECT_STREQ(buf, "caf\xE9");
    EXPECT_TRUE(CFStringGetCString(accented.get(), buf, sizeof buf, kCFStringEncodingMacRoman));
    EXPECT_STREQ(buf, "caf\x8E");
}

TEST(CFStringEncoding, CreationRejectsBytesInvalidInTheEncoding) {
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
    // Every byte is a character in Latin-1 and Mac Roman.
    CFRef<CFStringRef> latin(CFStringCreateWithCString(nullptr, "caf\xE9", kCFStringEncodingISOLatin1));
    ASSERT_TRUE(latin);
    EXPECT_EQ(Text(latin.get()), "caf\xC3\xA9");
}

TEST(CFStringEncoding, NonBMPCharactersCountAsTwoCodeUnits) {
    // U+1F600 (4 UTF-8 bytes) is a surrogate pair; "é" is one unit.
    auto s = Str("a\xF0\x9F\x98\x80\xC3\xA9");
    ASSERT_TRUE(s);
    EXPECT_EQ(CFStringGetLength(s.get()), 4);
    EXPECT_EQ(Units(s.get()), (std::u16string{u'a', 0xD83D, 0xDE00, 0xE9}));
    EXPECT_EQ(Text(s.get()), "a\xF0\x9F\x98\x80\xC3\xA9");
    EXPECT_GE(CFStringGetMaximumSizeForEncoding(CFStringGetLength(s.get()), kCFStringEncodingUTF8), 7);

    // A lone surrogate has no UTF-8 form.
    UniChar lone[] = {u'x', 0xD800};
    CFRef<CFStringRef> broken(CFStringCreateWithCharacters(nullptr, lone, 2));
    char buf[16];
    EXPECT_FALSE(CFStringGetCString(broken.get(), buf, sizeof buf, kCFStringEncodingUTF8));
}

TEST(CFStringEncoding, UTF16BytesHonourByteOrder) {
    const UInt8 be[] = {0x00, 'h', 0x00, 'i', 0xD8, 0x3D, 0xDE, 0x00};
    const UInt8 le[] = {'h', 0x00, 'i', 0x00, 0x3D, 0xD8, 0x00, 0xDE};
    const UInt8 bom[] = {0xFF, 0xFE, 'h', 0x00, 'i', 0x00, 0x3D, 0xD8, 0x00, 0xDE};
    CFRef<CFStringRef> a(CFStringCreateWithBytes(nullptr, be, sizeof be, kCFStringEncodingUTF16BE, false));
    CFRef<CFStringRef> b(CFStringCreateWithBytes(nullptr, le, sizeof le, kCFStringEncodingUTF16LE, false));
    CFRef<CFStringRef> c(CFStringCreateWithBytes(nullptr, bom, sizeof bom, kCFStringEncodingUnicode, true));
    ASSERT_TRUE(a && b && c);
    EXPECT_EQ(Units(a.get()), (std::u16string{u'h', u'i', 0xD83D, 0xDE00}));
    EXPECT_TRUE(CFEqual(a.get(), b.get()));
    EXPECT_TRUE(CFEqual(a.get(), c.get()));  // the byte-order mark is not text
    EXPECT_EQ(CFStringCreateWithBytes(nullptr, be, 3, kCFStringEncodingUTF16BE, false), nullptr);
}

TEST(CFStringObject, ConstantsAreInternedImmortalAndEqualToCreatedStrings) {
    CFStringRef a = CFSTR("Setup:");
    EXPECT_EQ(a, CFSTR("Setup:"));
    CFIndex count = CFGetRetainCount(a);
    CFRelease(a);
    CFRelease(a);
    CFRetain(a);
    EXPECT_EQ(CFGetRetainCount(a), count);

    auto made = Str("Setup:");
    EXPECT_NE(made.get(), a);
    EXPECT_TRUE(CFEqual(made.get(), a));
    EXPECT_EQ(CFHash(made.get()), CFHash(a));
}

TEST(CFStringObject, CopiesAndDescriptionsOfMutableStringsAreSnapshots) {
    CFRef<CFMutableStringRef> m(CFStringCreateMutable(nullptr, 0));
    CFStringAppendCString(m.get(), "abc", kCFStringEncodingASCII);
    CFRef<CFStringRef> copy(CFStringCreateCopy(nullptr, m.get()));
    CFRef<CFStringRef> description(CFCopyDescription(m.get()));
    CFRef<CFStringRef> sub(CFStringCreateWithSubstring(nullptr, m.get(), CFRangeMake(1, 2)));
    CFStringAppendCString(m.get(), "def", kCFStringEncodingASCII);
    EXPECT_EQ(Text(copy.get()), "abc");
    EXPECT_EQ(Text(description.get()), "abc");
    EXPECT_EQ(Text(sub.get()), "bc");
    EXPECT_EQ(Text(m.get()), "abcdef");
    // Mutability does not take part in equality or hashing.
    auto plain = Str("abcdef");
    EXPECT_TRUE(CFEqual(plain.get(), m.get()));
    EXPECT_EQ(CFHash(plain.get()), CFHash(m.get()));
}

TEST(CFStringCompare, OrdinalCaseInsensitiveAndNumeric) {
    EXPECT_EQ(CFStringCompare(CFSTR("B"), CFSTR("a"), 0), kCFCompareLessThan);
    EXPECT_EQ(CFStringCompare(CFSTR("abc"), CFSTR("abcd"), 0), kCFCompareLessThan);
    EXPECT_EQ(CFStringCompare(CFSTR("abc"), CFSTR("abc"), 0), kCFCompareEqualTo);
    EXPECT_EQ(CFStringCompare(CFSTR("B"), CFSTR("a"), kCFCompareCaseInsensitive), kCFCompareGreaterThan);
    EXPECT_EQ(CFStringCompare(CFSTR("ÉCOLE Ÿ"), CFSTR("école ÿ"), kCFCompareCaseInsensitive), kCFCompareEqualTo);
    EXPECT_EQ(CFStringCompare(CFSTR("ΣΟΦΙΑ"), CFSTR("σοφια"), kCFCompareCaseInsensitive), kCFCompareEqualTo);

    EXPECT_EQ(CFStringCompare(CFSTR("file2"), CFSTR("file10"), 0), kCFCompareGreaterThan);
    EXPECT_EQ(CFStringCompare(CFSTR("file2"), CFSTR("file10"), kCFCompareNumerically), kCFCompareLessThan);
    EXPECT_EQ(CFStringCompare(CFSTR("v1.10.3"), CFSTR("v1.9.12"), kCFCompareNumerically), kCFCompareGreaterThan);
    EXPECT_EQ(CFStringCompare(CFSTR("x007"), CFSTR("x7"), kCFCompareNumerically), kCFCompareEqualTo);
    // Runs longer than any integer type still compare by value.
    EXPECT_EQ(CFStringCompare(CFSTR("n99999999999999999999999"), CFSTR("n100000000000000000000000"),
                              kCFCompareNumerically),
              kCFCompareLessThan);

    // Comparing a range of the first string only.
    EXPECT_EQ(CFStringCompareWithOptions(CFSTR("xxSetsyy"), CFSTR("sets"), CFRangeMake(2, 4),
                                         kCFCompareCaseInsensitive),
              kCFCompareEqualTo);
}

TEST(CFStringCompare, LocalizedNumericCaseInsensitiveOrderIsConsistent) {
    const char* names[] = {"Modem 10", "modem 2", "Apple Internal 56K", "apple", "Zeta", "modem 02",
                           "MODEM 2",  "Élan",    "elan",               "Ethernet", "z", "Modem 1"};
    const CFStringCompareFlags options = kCFCompareCaseInsensitive | kCFCompareLocalized | kCFCompareNumerically;
    std::vector<CFRef<CFStringRef>> owned;
    for (const char* n : names) owned.push_back(Str(n));
    std::vector<CFStringRef> v;
    for (auto& s : owned) v.push_back(s.get());

    auto less = [&](CFStringRef a, CFStringRef b) { return CFStringCompare(a, b, options) < 0; };
    std::stable_sort(v.begin(), v.end(), less);
    // The order is a total preorder: antisymmetric and consistent with sorting.
    for (std::size_t i = 0; i < v.size(); ++i)
        for (std::size_t j = 0; j < v.size(); ++j) {
            EXPECT_EQ(CFStringCompare(v[i], v[j], options), -CFStringCompare(v[j], v[i], options));
            if (i < j) {
                EXPECT_LE(CFStringCompare(v[i], v[j], options), 0);
            }
        }

    // Without case-insensitivity a localized order still tells case apart.
    EXPECT_NE(CFStringCompare(CFSTR("a"), CFSTR("A"), kCFCompareLocalized), kCFCompareEqualTo);
    EXPECT_EQ(CFStringCompare(CFSTR("apple"), CFSTR("Banana"), kCFCompareLocalized), kCFCompareLessThan);
}

TEST(CFStringFind, ForwardBackwardAnchoredAndRanged) {
    CFStringRef path = CFSTR("/Sets/0/Network/Service/0/Network");
    CFRange r = CFStringFind(path, CFSTR("Network"), 0);
    EXPECT_EQ(r.location, 8);
    EXPECT_EQ(r.length, 7);
    EXPECT_EQ(CFStringFind(path, CFSTR("Network"), kCFCompareBackwards).location, 26);
    EXPECT_EQ(CFStringFind(path, CFSTR("network"), 0).location, kCFNotFound);
    EXPECT_EQ(CFStringFind(path, CFSTR("network"), kCFCompareCaseInsensitive).location, 8);
    EXPECT_EQ(CFStringFind(path, CFSTR("Network"), kCFCompareAnchored).location, kCFNotFound);
    EXPECT_EQ(CFStringFind(path, CFSTR("/Sets"), kCFCompareAnchored).location, 0);
    EXPECT_EQ(CFStringFind(path, CFSTR(""), 0).location, kCFNotFound);

    // The range bounds the match on both sides.
    CFRange found;
    EXPECT_FALSE(CFStringFindWithOptions(path, CFSTR("Network"), CFRangeMake(9, 20), 0, &found));
    EXPECT_TRUE(CFStringFindWithOptions(path, CFSTR("Network"), CFRangeMake(9, 24), 0, &found));
    EXPECT_EQ(found.location, 26);
    EXPECT_TRUE(CFStringFindWithOptions(path, CFSTR("Network"), CFRangeMake(0, 25), kCFCompareBackwards, &found));
    EXPECT_EQ(found.location, 8);

    EXPECT_FALSE(CFStringHasSuffix(CFSTR("/IPv4x"), CFSTR("/IPv4")));
    EXPECT_FALSE(CFStringHasPrefix(CFSTR("Set"), CFSTR("Sets")));
}

TEST(CFStringSeparate, KeepsEmptyPiecesAtBothEnds) {
    struct Case {
        const char* text;
        std::vector<std::string> pieces;
    } cases[] = {
        {"/Sets/0", {"", "Sets", "0"}},
        {"Setup:/Network/Service/ABC/IPv4", {"Setup:", "Network", "Service", "ABC", "IPv4"}},
        {"NoSlash", {"NoSlash"}},
        {"a//b/", {"a", "", "b", ""}},
        {"", {""}},
    };
    for (const Case& c : cases) {
        auto text = Str(c.text);
        CFRef<CFArrayRef> parts(CFStringCreateArrayBySeparatingStrings(nullptr, text.get(), CFSTR("/")));
        ASSERT_TRUE(parts);
        std::vector<std::string> got;
        for (CFIndex i = 0; i < CFArrayGetCount(parts.get()); ++i)
            got.push_back(Text(static_cast<CFStringRef>(CFArrayGetValueAtIndex(parts.get(), i))));
        EXPECT_EQ(got, c.pieces) << c.text;
    }
    // A separator of several characters.
    CFRef<CFArrayRef> parts(CFStringCreateArrayBySeparatingStrings(nullptr, CFSTR("a, b,c"), CFSTR(", ")));
    EXPECT_EQ(CFArrayGetCount(parts.get()), 2);
}

TEST(CFStringMutation, AppendReplaceFindAndReplaceAndLowercase) {
    CFRef<CFMutableStringRef> m(CFStringCreateMutableCopy(nullptr, 0, CFSTR("ab")));
    CFStringAppend(m.get(), m.get());  // appending itself doubles it
    EXPECT_EQ(Text(m.get()), "abab");
    CFStringReplace(m.get(), CFRangeMake(1, 2), CFSTR("XYZ"));
    EXPECT_EQ(Text(m.get()), "aXYZb");
    CFStringAppendCString(m.get(), "\xFF", kCFStringEncodingASCII);  // invalid: adds nothing
    EXPECT_EQ(Text(m.get()), "aXYZb");

    CFRef<CFMutableStringRef> a(CFStringCreateMutableCopy(nullptr, 0, CFSTR("aaaaa")));
    EXPECT_EQ(CFStringFindAndReplace(a.get(), CFSTR("aa"), CFSTR("b"), CFRangeMake(0, 5), 0), 2);
    EXPECT_EQ(Text(a.get()), "bba");
    CFRef<CFMutableStringRef> back(CFStringCreateMutableCopy(nullptr, 0, CFSTR("aaaaa")));
    EXPECT_EQ(CFStringFindAndReplace(back.get(), CFSTR("aa"), CFSTR("b"), CFRangeMake(0, 5), kCFCompareBackwards), 2);
    EXPECT_EQ(Text(back.get()), "abb");

    CFRef<CFMutableStringRef> low(CFStringCreateMutableCopy(nullptr, 0, CFSTR("AirPort ÀÉÎÕÜ ŁŽŸ ΑΩ ЖЯ 1-2")));
    CFStringLowercase(low.get(), nullptr);
    EXPECT_EQ(Text(low.get()), "airport àéîõü łžÿ αω жя 1-2");
}

TEST(CFStringMutationDeathTest, MutatingAnImmutableStringAborts) {
    auto s = Str("fixed");
    CFMutableStringRef forced = const_cast<CFMutableStringRef>(s.get());
    EXPECT_DEATH(CFStringAppend(forced, CFSTR("x")), "CoreFoundation: attempt to mutate an immutable string");
}
