// Formatted strings: every printf conversion must agree with the C
// library's own rendering, arguments of mixed sizes must be taken in
// order, and "%@" inserts object descriptions.
#include <gtest/gtest.h>

#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "platform/corefoundation/CFRef.h"
#include "platform/corefoundation/CoreFoundation.h"

namespace {

std::string Text(CFStringRef s) {
    std::vector<char> buf(static_cast<std::size_t>(CFStringGetLength(s)) * 3 + 1);
    EXPECT_TRUE(CFStringGetCString(s, buf.data(), static_cast<CFIndex>(buf.size()), kCFStringEncodingUTF8));
    return buf.data();
}

// Formats with CFStringCreateWithFormat and with vsnprintf, which must agree
// for everything but "%@".
template <class... Args>
void ExpectLikePrintf(const char* format, Args... args) {
    CFRef<CFStringRef> f(CFStringCreateWithCString(nullptr, format, kCFStringEncodingUTF8));
    CFRef<CFStringRef> got(CFStringCreateWithFormat(nullptr, nullptr, f.get(), args...));
    ASSERT_TRUE(got) << format;
    char expected[512];
    std::snprintf(expected, sizeof expected, format, args...);
    EXPECT_EQ(Text(got.get()), expected) << format;
}

CFStringRef FormatV(CFStringRef format, ...) {
    va_list ap;
    va_start(ap, format);
    CFStringRef s = CFStringCreateWithFormatAndArguments(nullptr, nullptr, format, ap);
    va_end(ap);
    return s;
}

}  // namespace

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"

TEST(CFStringFormat, IntegerConversionsWithFlagsWidthPrecisionAndLength) {
    ExpectLikePrintf("%d %i %u", -42, 7, 3000000000u);
    ExpectLikePrintf("%x %X %o %#x %#o", 0xBEEFu, 0xBEEFu, 8u, 255u, 8u);
    ExpectLikePrintf("%2.2x:%02x:%02X", 0x0Au, 0x5u, 0xABu);
    ExpectLikePrintf("[%-4d] [%4d] [%+d] [% d] [%05d] [%.3d]", 7, 7, 7, 7, -7, 7);
    ExpectLikePrintf("%ld %lu %lx", -1234567890123L, 18446744073709551615UL, 0xFFFFFFFFFFUL);
    ExpectLikePrintf("%lld %llu", -9223372036854775807LL - 1, 18446744073709551615ULL);
    ExpectLikePrintf("%hd %hu %hhd %hhu", 70000, 70000, 300, 300);  // truncated to short and char
    ExpectLikePrintf("%zd %zu %td %jd", static_cast<std::ptrdiff_t>(-5), static_cast<std::size_t>(5),
                     static_cast<std::ptrdiff_t>(-6), static_cast<std::intmax_t>(-7));
    ExpectLikePrintf("%*d|%-*d|%.*d", 6, 42, 6, 42, 4, 42);
    ExpectLikePrintf("%*d|", -6, 42);  // negative width from the argument: left-adjusted
}

TEST(CFStringFormat, FloatingTextCharacterAndPointerConversions) {
    ExpectLikePrintf("%f %.2f %10.3f %-10.1f|", 3.14159, 2.0 / 3.0, -1.5, 1e3);
    ExpectLikePrintf("%g %g %e %E %.3e", 0.0001, 1e20, 12345.678, 0.5, 6.02214076e23);
    ExpectLikePrintf("%Lf %a", 1.25L, 1.0);
    ExpectLikePrintf("[%5s] [%-5s] [%.2s] [%s]", "ab", "ab", "abcdef", "");
    ExpectLikePrintf("%c%c%c %5c", 'o', 'k', '!', 'x');
    int local = 0;
    ExpectLikePrintf("%p", static_cast<void*>(&local));
    ExpectLikePrintf("100%% %d%%", 5);
}

TEST(CFStringFormat, MixedArgumentSizesAreTakenInOrder) {
    // A wrong va_arg type for any one conversion shifts all that follow.
    ExpectLikePrintf("%hhd %lld %f %s %ld %c %Lg %zu %d", 1, 2LL, 3.5, "four", 5L, '6', 7.25L,
                     static_cast<std::size_t>(8), 9);
    CFRef<CFStringRef> s(CFStringCreateWithFormat(nullptr, nullptr, CFSTR("%d %@ %f %@ %lld"), 1, CFSTR("two"), 3.0,
                                                  CFSTR("four"), 5LL));
    EXPECT_EQ(Text(s.get()), "1 two 3.000000 four 5");
    CFRef<CFStringRef> v(FormatV(CFSTR("%s=%ld"), "HTTPEnable", 1L));
    EXPECT_EQ(Text(v.get()), "HTTPEnable=1");
}

TEST(CFStringFormat, ObjectsPositionsAndText) {
    CFRef<CFStringRef> path(
        CFStringCreateWithFormat(nullptr, nullptr, CFSTR("/%@/%@/%@"), CFSTR("Sets"), CFSTR("0"), CFSTR("Network")));
    EXPECT_EQ(Text(path.get()), "/Sets/0/Network");
    CFRef<CFStringRef> nil_(CFStringCreateWithFormat(nullptr, nullptr, CFSTR("[%@]"), static_cast<CFTypeRef>(nullptr)));
    EXPECT_EQ(Text(nil_.get()), "[(null)]");
    CFRef<CFStringRef> padded(
        CFStringCreateWithFormat(nullptr, nullptr, CFSTR("[%6@][%-6@][%.2@]"), CFSTR("en0"), CFSTR("en1"), CFSTR("ppp0")));
    EXPECT_EQ(Text(padded.get()), "[   en0][en1   ][pp]");

    // A mutable string is described by its current text.
    CFRef<CFMutableStringRef> m(CFStringCreateMutableCopy(nullptr, 0, CFSTR("Built-in")));
    CFStringAppend(m.get(), CFSTR(" Ethernet"));
    CFRef<CFStringRef> desc(CFStringCreateWithFormat(nullptr, nullptr, CFSTR("%@"), m.get()));
    EXPECT_EQ(Text(desc.get()), "Built-in Ethernet");

    // Positional arguments, of different sizes, in any order.
    CFRef<CFStringRef> pos(
        CFStringCreateWithFormat(nullptr, nullptr, CFSTR("%2$@ %1$lld %3$d %2$@"), 10LL, CFSTR("x"), 3));
    EXPECT_EQ(Text(pos.get()), "x 10 3 x");

    // Non-ASCII in the format and in "%s" (UTF-8) and "%S" (UTF-16).
    const UniChar wide[] = {0x00C9, u't', 0x00E9, 0};
    CFRef<CFStringRef> text(CFStringCreateWithFormat(nullptr, nullptr, CFSTR("Modem \xE2\x80\x94 %s %S"),
                                                     "caf\xC3\xA9", wide));
    EXPECT_EQ(Text(text.get()), "Modem \xE2\x80\x94 caf\xC3\xA9 \xC3\x89t\xC3\xA9");

    // An unknown conversion is kept as text and takes no argument.
    CFRef<CFStringRef> odd(CFStringCreateWithFormat(nullptr, nullptr, CFSTR("%k %d %"), 4));
    EXPECT_EQ(Text(odd.get()), "%k 4 %");
}

#pragma GCC diagnostic pop
