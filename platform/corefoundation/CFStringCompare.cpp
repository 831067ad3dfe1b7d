// Comparing and searching strings, and find-and-replace.
//
// Without options, strings compare by their UTF-16 code units. The options
// refine that:
// - kCFCompareCaseInsensitive folds each code unit to lower case first;
// - kCFCompareNumerically compares runs of decimal digits by their value,
//   so "file2" sorts before "file10";
// - kCFCompareLocalized orders letters without regard to case first and
//   breaks ties by code units, so distinct strings never compare equal
//   unless another option says so. The order is total, so a sort and a
//   binary search with the same options always agree.
// Searches honour kCFCompareCaseInsensitive, kCFCompareBackwards (the last
// match) and kCFCompareAnchored (only at the start, or at the end when
// searching backwards). An empty string to find is never found.
#include <algorithm>
#include <string_view>
#include <vector>

#include "platform/corefoundation/CFStringInternal.h"

using namespace cfstring;

namespace {

char16_t Fold(char16_t c) {
    if (c == 0x3C2) return 0x3C3;  // final sigma compares as sigma
    if (c == 0x17F) return u's';   // long s
    return Lower(c);
}

bool IsDigit(char16_t c) { return c >= u'0' && c <= u'9'; }

// The end of the run of digits starting at i.
std::size_t DigitRunEnd(std::u16string_view s, std::size_t i) {
    while (i < s.size() && IsDigit(s[i])) ++i;
    return i;
}

int Sign(long v) { return v < 0 ? -1 : (v > 0 ? 1 : 0); }

// Compares two digit runs by numeric value, of any length.
int CompareDigitRuns(std::u16string_view a, std::u16string_view b) {
    // Drop leading zeros but keep at least one digit.
    while (a.size() > 1 && a.front() == u'0') a.remove_prefix(1);
    while (b.size() > 1 && b.front() == u'0') b.remove_prefix(1);
    if (a.size() != b.size()) return a.size() < b.size() ? -1 : 1;
    int c = a.compare(b);
    return Sign(c);
}

int CompareText(std::u16string_view a, std::u16string_view b, CFStringCompareFlags options) {
    const bool fold = (options & (kCFCompareCaseInsensitive | kCFCompareLocalized)) != 0;
    const bool numeric = (options & kCFCompareNumerically) != 0;
    std::size_t i = 0, j = 0;
    while (i < a.size() && j < b.size()) {
        if (numeric && IsDigit(a[i]) && IsDigit(b[j])) {
            std::size_t ie = DigitRunEnd(a, i), je = DigitRunEnd(b, j);
            int c = CompareDigitRuns(a.substr(i, ie - i), b.substr(j, je - j));
            if (c != 0) return c;
            i = ie;
            j = je;
            continue;
        }
        char16_t x = fold ? Fold(a[i]) : a[i];
        char16_t y = fold ? Fold(b[j]) : b[j];
        if (x != y) return x < y ? -1 : 1;
        ++i;
        ++j;
    }
    if (i < a.size()) return 1;
    if (j < b.size()) return -1;
    // Equal under the options. A localized order that was not asked to
    // ignore case still tells "a" from "A", by code units.
    if ((options & kCFCompareLocalized) && !(options & kCFCompareCaseInsensitive)) return Sign(a.compare(b));
    return 0;
}

bool MatchesAt(std::u16string_view text, std::size_t pos, std::u16string_view needle, bool fold) {
    for (std::size_t k = 0; k < needle.size(); ++k) {
        char16_t x = text[pos + k], y = needle[k];
        if (x != y && (!fold || Fold(x) != Fold(y))) return false;
    }
    return true;
}

// Finds needle within text[range]; the range has been checked.
bool FindIn(std::u16string_view text, CFRange range, std::u16string_view needle, CFStringCompareFlags options,
            CFRange* result) {
    const std::size_t n = needle.size();
    if (n == 0 || static_cast<std::size_t>(range.length) < n) return false;
    const bool fold = (options & kCFCompareCaseInsensitive) != 0;
    const std::size_t first = static_cast<std::size_t>(range.location);
    const std::size_t last = first + static_cast<std::size_t>(range.length) - n;  // last possible start
    auto found = [&](std::size_t pos) {
        if (result != nil) *result = CFRangeMake(static_cast<CFIndex>(pos), static_cast<CFIndex>(n));
        return true;
    };
    const bool backwards = (options & kCFCompareBackwards) != 0;
    if (options & kCFCompareAnchored) {
        std::size_t pos = backwards ? last : first;
        return MatchesAt(text, pos, needle, fold) && found(pos);
    }
    if (backwards) {
        for (std::size_t pos = last + 1; pos-- > first;)
            if (MatchesAt(text, pos, needle, fold)) return found(pos);
    } else {
        for (std::size_t pos = first; pos <= last; ++pos)
            if (MatchesAt(text, pos, needle, fold)) return found(pos);
    }
    return false;
}

CFIndex Length(const __CFString& s) { return static_cast<CFIndex>(s.length()); }

}  // namespace

CFComparisonResult CFStringCompare(CFStringRef theString1, CFStringRef theString2,
                                   CFStringCompareFlags compareOptions) {
    const __CFString& a = Checked(theString1, "CFStringCompare");
    const __CFString& b = Checked(theString2, "CFStringCompare");
    if (compareOptions == 0) return cfstring::CompareUnits(a.view(), b.view());
    return CompareText(a.units(), b.units(), compareOptions);
}

CFRange CFStringFind(CFStringRef theString, CFStringRef stringToFind, CFStringCompareFlags compareOptions) {
    const __CFString& s = Checked(theString, "CFStringFind");
    const __CFString& f = Checked(stringToFind, "CFStringFind");
    CFRange result = CFRangeMake(kCFNotFound, 0);
    FindIn(s.units(), CFRangeMake(0, Length(s)), f.units(), compareOptions, &result);
    return result;
}

Boolean CFStringHasPrefix(CFStringRef theString, CFStringRef prefix) {
    const __CFString& s = Checked(theString, "CFStringHasPrefix");
    const __CFString& p = Checked(prefix, "CFStringHasPrefix");
    return FindIn(s.units(), CFRangeMake(0, Length(s)), p.units(), kCFCompareAnchored, nil);
}

Boolean CFStringHasSuffix(CFStringRef theString, CFStringRef suffix) {
    const __CFString& s = Checked(theString, "CFStringHasSuffix");
    const __CFString& p = Checked(suffix, "CFStringHasSuffix");
    return FindIn(s.units(), CFRangeMake(0, Length(s)), p.units(), kCFCompareAnchored | kCFCompareBackwards, nil);
}
