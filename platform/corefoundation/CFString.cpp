// Strings: the object, creation, access, conversion to and from bytes in
// the supported encodings, mutation, lower-casing, splitting, and the
// table of constant strings that CFSTR hands out.
#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "platform/corefoundation/CFStringInternal.h"

namespace cfstring {

// ---------------------------------------------------------------------------
// Misuse

void Fail(const char* message) {
    std::fprintf(stderr, "CoreFoundation: %s\n", message);
    std::fflush(stderr);
    std::abort();
}

const __CFString& Checked(CFStringRef ref, const char* caller) {
    // Look at the type through the common base first: the object behind a
    // wrongly typed reference is not a string and must not be used as one.
    const auto* base = static_cast<const __CFRuntimeBase*>(static_cast<const void*>(ref));
    if (base == nil || base->typeID_ != CFStringGetTypeID()) {
        std::fprintf(stderr, "CoreFoundation: %s: argument is not a string\n", caller);
        std::fflush(stderr);
        std::abort();
    }
    return *ref;
}

__CFMutableString& CheckedMutable(CFMutableStringRef ref, const char* caller) {
    Checked(ref, caller);
    if (!ref->mutable_) Fail("attempt to mutate an immutable string");
    return *static_cast<__CFMutableString*>(ref);
}

void CheckRange(CFRange range, CFIndex length, const char* caller) {
    if (range.location < 0 || range.length < 0 || range.location > length || range.length > length - range.location) {
        std::fprintf(stderr, "CoreFoundation: %s: range {%ld, %ld} out of bounds (length %ld)\n", caller,
                     range.location, range.length, length);
        std::fflush(stderr);
        std::abort();
    }
}

namespace {

// An immutable string with room for count code units of the given width
// after the object.
__CFString* Allocate(std::size_t count, bool wide) {
    if (count > UINT32_MAX) Fail("string too long");
    std::size_t bytes = count * (wide ? sizeof(char16_t) : 1);
    struct Immutable final : __CFString {
        Immutable() : __CFString(false) {}
    };
    __CFString* str = new (__CFString::ExtraBytes{bytes}) Immutable();
    str->wide_ = wide;
    str->length_ = static_cast<UInt32>(count);
    return str;
}

UInt8* NarrowStorage(__CFString* str) { return reinterpret_cast<UInt8*>(str) + sizeof(__CFString); }
char16_t* WideStorage(__CFString* str) {
    return reinterpret_cast<char16_t*>(reinterpret_cast<UInt8*>(str) + sizeof(__CFString));
}

}  // namespace

__CFString* Make(std::u16string_view text) {
    bool narrow = true;
    for (char16_t c : text) narrow = narrow && c < 0x100;
    __CFString* str = Allocate(text.size(), !narrow);
    if (narrow) {
        UInt8* out = NarrowStorage(str);
        for (std::size_t i = 0; i < text.size(); ++i) out[i] = static_cast<UInt8>(text[i]);
    } else if (!text.empty()) {
        std::memcpy(WideStorage(str), text.data(), text.size() * sizeof(char16_t));
    }
    return str;
}

__CFMutableString* MakeMutable(std::u16string text) { return new __CFMutableString(std::move(text)); }

__CFString* MakeNarrow(const UInt8* bytes, std::size_t count) {
    __CFString* str = Allocate(count, false);
    if (count > 0) std::memcpy(NarrowStorage(str), bytes, count);
    return str;
}

__CFString* MakeFromUTF8(const UInt8* bytes, std::size_t count) {
    // Plain ASCII, by far the most common text, is copied as it is.
    std::size_t i = 0;
    while (i < count && bytes[i] < 0x80) ++i;
    if (i == count) return MakeNarrow(bytes, count);
    std::u16string text;
    text.reserve(count);
    if (!Decode(bytes, count, kCFStringEncodingUTF8, false, text)) return nil;
    return Make(text);
}

int CompareUnits(const __CFString::View& a, const __CFString::View& b) {
    std::size_t n = a.length < b.length ? a.length : b.length;
    if (!a.wide && !b.wide) {
        int order = n > 0 ? std::memcmp(a.data, b.data, n) : 0;
        if (order != 0) return order < 0 ? -1 : 1;
    } else {
        for (std::size_t i = 0; i < n; ++i) {
            char16_t x = a[i], y = b[i];
            if (x != y) return x < y ? -1 : 1;
        }
    }
    return a.length < b.length ? -1 : (a.length > b.length ? 1 : 0);
}

// ---------------------------------------------------------------------------
// Encodings

namespace {

// Unicode values of the Mac Roman bytes 0x80 to 0xFF (the low half is ASCII).
constexpr char16_t kMacRomanHigh[128] = {
    0x00C4, 0x00C5, 0x00C7, 0x00C9, 0x00D1, 0x00D6, 0x00DC, 0x00E1,  // 0x80
    0x00E0, 0x00E2, 0x00E4, 0x00E3, 0x00E5, 0x00E7, 0x00E9, 0x00E8,  // 0x88
    0x00EA, 0x00EB, 0x00ED, 0x00EC, 0x00EE, 0x00EF, 0x00F1, 0x00F3,  // 0x90
    0x00F2, 0x00F4, 0x00F6, 0x00F5, 0x00FA, 0x00F9, 0x00FB, 0x00FC,  // 0x98
    0x2020, 0x00B0, 0x00A2, 0x00A3, 0x00A7, 0x2022, 0x00B6, 0x00DF,  // 0xA0
    0x00AE, 0x00A9, 0x2122, 0x00B4, 0x00A8, 0x2260, 0x00C6, 0x00D8,  // 0xA8
    0x221E, 0x00B1, 0x2264, 0x2265, 0x00A5, 0x00B5, 0x2202, 0x2211,  // 0xB0
    0x220F, 0x03C0, 0x222B, 0x00AA, 0x00BA, 0x03A9, 0x00E6, 0x00F8,  // 0xB8
    0x00BF, 0x00A1, 0x00AC, 0x221A, 0x0192, 0x2248, 0x2206, 0x00AB,  // 0xC0
    0x00BB, 0x2026, 0x00A0, 0x00C0, 0x00C3, 0x00D5, 0x0152, 0x0153,  // 0xC8
    0x2013, 0x2014, 0x201C, 0x201D, 0x2018, 0x2019, 0x00F7, 0x25CA,  // 0xD0
    0x00FF, 0x0178, 0x2044, 0x20AC, 0x2039, 0x203A, 0xFB01, 0xFB02,  // 0xD8
    0x2021, 0x00B7, 0x201A, 0x201E, 0x2030, 0x00C2, 0x00CA, 0x00C1,  // 0xE0
    0x00CB, 0x00C8, 0x00CD, 0x00CE, 0x00CF, 0x00CC, 0x00D3, 0x00D4,  // 0xE8
    0xF8FF, 0x00D2, 0x00DA, 0x00DB, 0x00D9, 0x0131, 0x02C6, 0x02DC,  // 0xF0
    0x00AF, 0x02D8, 0x02D9, 0x02DA, 0x00B8, 0x02DD, 0x02DB, 0x02C7,  // 0xF8
};

// Unicode value to Mac Roman byte, for the high half.
const std::unordered_map<char16_t, char>& MacRomanReverse() {
    static const auto* table = [] {
        auto* map = new std::unordered_map<char16_t, char>();
        for (int i = 0; i < 128; ++i) (*map)[kMacRomanHigh[i]] = static_cast<char>(0x80 + i);
        return map;
    }();
    return *table;
}

void AppendCodePoint(std::u16string& out, char32_t cp) {
    if (cp < 0x10000) {
        out.push_back(static_cast<char16_t>(cp));
    } else {
        cp -= 0x10000;
        out.push_back(static_cast<char16_t>(0xD800 + (cp >> 10)));
        out.push_back(static_cast<char16_t>(0xDC00 + (cp & 0x3FF)));
    }
}

// Strict UTF-8: no overlong forms, no surrogates, nothing above U+10FFFF.
bool DecodeUTF8(const UInt8* bytes, std::size_t count, std::u16string& out) {
    std::size_t i = 0;
    while (i < count) {
        UInt8 b = bytes[i];
        if (b < 0x80) {
            out.push_back(b);
            ++i;
            continue;
        }
        int extra;
        char32_t cp, min;
        if ((b & 0xE0) == 0xC0) extra = 1, cp = b & 0x1F, min = 0x80;
        else if ((b & 0xF0) == 0xE0) extra = 2, cp = b & 0x0F, min = 0x800;
        else if ((b & 0xF8) == 0xF0) extra = 3, cp = b & 0x07, min = 0x10000;
        else return false;
        if (count - i <= static_cast<std::size_t>(extra)) return false;
        for (int k = 1; k <= extra; ++k) {
            UInt8 c = bytes[i + k];
            if ((c & 0xC0) != 0x80) return false;
            cp = (cp << 6) | (c & 0x3F);
        }
        if (cp < min || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) return false;
        AppendCodePoint(out, cp);
        i += extra + 1;
    }
    return true;
}

bool DecodeUTF16(const UInt8* bytes, std::size_t count, bool bigEndian, std::u16string& out) {
    if (count % 2 != 0) return false;
    for (std::size_t i = 0; i < count; i += 2) {
        char16_t unit = bigEndian ? static_cast<char16_t>((bytes[i] << 8) | bytes[i + 1])
                                  : static_cast<char16_t>((bytes[i + 1] << 8) | bytes[i]);
        out.push_back(unit);
    }
    return true;
}

constexpr bool kHostIsBigEndian = std::endian::native == std::endian::big;

}  // namespace

bool Decode(const UInt8* bytes, std::size_t count, CFStringEncoding encoding, bool isExternalRepresentation,
            std::u16string& out) {
    out.clear();
    switch (encoding) {
    case kCFStringEncodingASCII:
        for (std::size_t i = 0; i < count; ++i) {
            if (bytes[i] >= 0x80) return false;
            out.push_back(bytes[i]);
        }
        return true;
    case kCFStringEncodingISOLatin1:
        for (std::size_t i = 0; i < count; ++i) out.push_back(bytes[i]);
        return true;
    case kCFStringEncodingMacRoman:
        for (std::size_t i = 0; i < count; ++i)
            out.push_back(bytes[i] < 0x80 ? char16_t(bytes[i]) : kMacRomanHigh[bytes[i] - 0x80]);
        return true;
    case kCFStringEncodingUTF8:
        // An external representation may start with a byte-order mark,
        // which is not part of the text.
        if (isExternalRepresentation && count >= 3 && bytes[0] == 0xEF && bytes[1] == 0xBB && bytes[2] == 0xBF) {
            bytes += 3;
            count -= 3;
        }
        return DecodeUTF8(bytes, count, out);
    case kCFStringEncodingUnicode: {
        // A byte-order mark decides the order and is dropped; without one an
        // external representation is big-endian, internal bytes are in host
        // order.
        bool bigEndian = isExternalRepresentation || kHostIsBigEndian;
        if (count >= 2 && bytes[0] == 0xFE && bytes[1] == 0xFF) {
            bigEndian = true;
            bytes += 2;
            count -= 2;
        } else if (count >= 2 && bytes[0] == 0xFF && bytes[1] == 0xFE) {
            bigEndian = false;
            bytes += 2;
            count -= 2;
        }
        return DecodeUTF16(bytes, count, bigEndian, out);
    }
    case kCFStringEncodingUTF16BE:
        return DecodeUTF16(bytes, count, true, out);
    case kCFStringEncodingUTF16LE:
        return DecodeUTF16(bytes, count, false, out);
    default:
        return false;
    }
}

bool Encode(const __CFString::View& text, CFStringEncoding encoding, std::string& out) {
    if (text.wide) return Encode(std::u16string_view(text.units(), text.length), encoding, out);
    // A narrow text is Latin-1: ASCII passes unchanged into every encoding.
    const UInt8* bytes = text.narrow();
    std::size_t ascii = 0;
    while (ascii < text.length && bytes[ascii] < 0x80) ++ascii;
    if (ascii == text.length || encoding == kCFStringEncodingISOLatin1) {
        out.assign(reinterpret_cast<const char*>(bytes), text.length);
        return true;
    }
    std::u16string wide(bytes, bytes + text.length);
    return Encode(std::u16string_view(wide), encoding, out);
}

bool Encode(std::u16string_view text, CFStringEncoding encoding, std::string& out) {
    out.clear();
    out.reserve(text.size());
    switch (encoding) {
    case kCFStringEncodingASCII:
        for (char16_t c : text) {
            if (c >= 0x80) return false;
            out.push_back(static_cast<char>(c));
        }
        return true;
    case kCFStringEncodingISOLatin1:
        for (char16_t c : text) {
            if (c >= 0x100) return false;
            out.push_back(static_cast<char>(c));
        }
        return true;
    case kCFStringEncodingMacRoman: {
        const auto& reverse = MacRomanReverse();
        for (char16_t c : text) {
            if (c < 0x80) {
                out.push_back(static_cast<char>(c));
                continue;
            }
            auto found = reverse.find(c);
            if (found == reverse.end()) return false;
            out.push_back(found->second);
        }
        return true;
    }
    case kCFStringEncodingUTF8:
        for (std::size_t i = 0; i < text.size(); ++i) {
            char32_t cp = text[i];
            if (cp >= 0xD800 && cp <= 0xDBFF && i + 1 < text.size() && text[i + 1] >= 0xDC00 && text[i + 1] <= 0xDFFF) {
                cp = 0x10000 + ((cp - 0xD800) << 10) + (text[i + 1] - 0xDC00);
                ++i;
            } else if (cp >= 0xD800 && cp <= 0xDFFF) {
                return false;  // an unpaired surrogate is no character
            }
            if (cp < 0x80) {
                out.push_back(static_cast<char>(cp));
            } else if (cp < 0x800) {
                out.push_back(static_cast<char>(0xC0 | (cp >> 6)));
                out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
            } else if (cp < 0x10000) {
                out.push_back(static_cast<char>(0xE0 | (cp >> 12)));
                out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
                out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
            } else {
                out.push_back(static_cast<char>(0xF0 | (cp >> 18)));
                out.push_back(static_cast<char>(0x80 | ((cp >> 12) & 0x3F)));
                out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
                out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
            }
        }
        return true;
    default:
        return false;
    }
}

// ---------------------------------------------------------------------------
// Lower case

char16_t Lower(char16_t c) {
    if (c < 0x80) return (c >= u'A' && c <= u'Z') ? char16_t(c + 32) : c;
    if (c >= 0xC0 && c <= 0xDE && c != 0xD7) return char16_t(c + 32);
    if (c < 0x100) return c;
    // Latin Extended-A: upper and lower case alternate in pairs.
    if (c == 0x130) return u'i';  // capital I with dot above
    if ((c >= 0x100 && c <= 0x137) || (c >= 0x14A && c <= 0x177)) return (c % 2 == 0) ? char16_t(c + 1) : c;
    if ((c >= 0x139 && c <= 0x148) || (c >= 0x179 && c <= 0x17E)) return (c % 2 == 1) ? char16_t(c + 1) : c;
    if (c == 0x178) return 0xFF;
    // Latin Extended-B: the regular runs of pairs.
    if ((c >= 0x1CD && c <= 0x1DC)) return (c % 2 == 1) ? char16_t(c + 1) : c;
    if ((c >= 0x1DE && c <= 0x1EF) || (c >= 0x1F8 && c <= 0x233)) return (c % 2 == 0) ? char16_t(c + 1) : c;
    // Greek.
    if (c == 0x386) return 0x3AC;
    if (c >= 0x388 && c <= 0x38A) return char16_t(c + 37);
    if (c == 0x38C) return 0x3CC;
    if (c == 0x38E || c == 0x38F) return char16_t(c + 63);
    if (c >= 0x391 && c <= 0x3AB && c != 0x3A2) return char16_t(c + 32);
    // Cyrillic.
    if (c >= 0x400 && c <= 0x40F) return char16_t(c + 80);
    if (c >= 0x410 && c <= 0x42F) return char16_t(c + 32);
    if ((c >= 0x460 && c <= 0x481) || (c >= 0x48A && c <= 0x4BF) || (c >= 0x4D0 && c <= 0x52F))
        return (c % 2 == 0) ? char16_t(c + 1) : c;
    if (c == 0x4C0) return 0x4CF;
    if (c >= 0x4C1 && c <= 0x4CE) return (c % 2 == 1) ? char16_t(c + 1) : c;
    // Armenian.
    if (c >= 0x531 && c <= 0x556) return char16_t(c + 48);
    // Latin Extended Additional (Vietnamese and others): pairs.
    if (c >= 0x1E00 && c <= 0x1EFF && !(c >= 0x1E96 && c <= 0x1E9F)) return (c % 2 == 0) ? char16_t(c + 1) : c;
    // Full-width Latin capitals.
    if (c >= 0xFF21 && c <= 0xFF3A) return char16_t(c + 32);
    return c;
}

}  // namespace cfstring

using namespace cfstring;

// ---------------------------------------------------------------------------
// The object

std::u16string __CFString::units() const {
    View text = view();
    if (text.wide) return std::u16string(text.units(), text.length);
    return std::u16string(text.narrow(), text.narrow() + text.length);
}

bool __CFString::equal(const __CFRuntimeBase* other) const {
    View a = view(), b = static_cast<const __CFString*>(other)->view();
    if (a.length != b.length) return false;
    if (a.wide == b.wide) return a.length == 0 || std::memcmp(a.data, b.data, a.length * (a.wide ? 2 : 1)) == 0;
    return CompareUnits(a, b) == 0;
}

CFHashCode __CFString::hash() const {
    // FNV-1a over the code units: equal texts hash alike, whatever their
    // width or mutability.
    View text = view();
    std::uint64_t h = 1469598103934665603ULL;
    for (std::size_t i = 0; i < text.length; ++i) {
        h ^= text[i];
        h *= 1099511628211ULL;
    }
    return static_cast<CFHashCode>(h);
}

CFStringRef __CFString::copyDescription() const {
    // An immutable string describes itself; a mutable one gives a snapshot
    // that later edits cannot change.
    if (!mutable_) return static_cast<CFStringRef>(CFRetain(this));
    return Make(units());
}

// ---------------------------------------------------------------------------
// Constant strings

CFStringRef __CFStringMakeConstantString(const char* cStr) {
    // One immortal object per text. The table and its strings live as long
    // as the process, so constants stay valid during static destruction.
    static std::mutex lock;
    static auto* table = new std::unordered_map<std::string, __CFString*>();
    std::lock_guard<std::mutex> guard(lock);
    std::string key = cStr != nil ? cStr : "";
    auto found = table->find(key);
    if (found != table->end()) return found->second;
    std::u16string text;
    if (!Decode(reinterpret_cast<const UInt8*>(key.data()), key.size(), kCFStringEncodingUTF8, false, text))
        Decode(reinterpret_cast<const UInt8*>(key.data()), key.size(), kCFStringEncodingMacRoman, false, text);
    __CFString* str = Make(text);
    str->immortal_ = true;
    table->emplace(std::move(key), str);
    return str;
}

// ---------------------------------------------------------------------------
// Creation

CFStringRef CFStringCreateWithCString(CFAllocatorRef, const char* cStr, CFStringEncoding encoding) {
    if (cStr == nil) return nil;
    std::size_t count = std::strlen(cStr);
    if (encoding == kCFStringEncodingUTF8) return MakeFromUTF8(reinterpret_cast<const UInt8*>(cStr), count);
    std::u16string text;
    if (!Decode(reinterpret_cast<const UInt8*>(cStr), count, encoding, false, text)) return nil;
    return Make(text);
}

CFStringRef CFStringCreateWithBytes(CFAllocatorRef, const UInt8* bytes, CFIndex numBytes, CFStringEncoding encoding,
                                    Boolean isExternalRepresentation) {
    if (numBytes < 0 || (bytes == nil && numBytes > 0)) return nil;
    if (encoding == kCFStringEncodingUTF8 && !isExternalRepresentation)
        return MakeFromUTF8(bytes, static_cast<std::size_t>(numBytes));
    std::u16string text;
    if (!Decode(bytes, static_cast<std::size_t>(numBytes), encoding, isExternalRepresentation, text)) return nil;
    return Make(text);
}

CFStringRef CFStringCreateWithCharacters(CFAllocatorRef, const UniChar* chars, CFIndex numChars) {
    if (numChars < 0 || (chars == nil && numChars > 0)) return nil;
    if (numChars == 0) return Make(std::u16string_view());
    return Make(std::u16string_view(reinterpret_cast<const char16_t*>(chars), static_cast<std::size_t>(numChars)));
}

CFStringRef CFStringCreateCopy(CFAllocatorRef, CFStringRef theString) {
    const __CFString& str = Checked(theString, "CFStringCreateCopy");
    // An immutable string cannot change, so it is its own copy.
    if (!str.mutable_) return static_cast<CFStringRef>(CFRetain(theString));
    return Make(str.units());
}

CFStringRef CFStringCreateWithSubstring(CFAllocatorRef, CFStringRef theString, CFRange range) {
    const __CFString& str = Checked(theString, "CFStringCreateWithSubstring");
    CheckRange(range, static_cast<CFIndex>(str.length()), "CFStringCreateWithSubstring");
    return Make(std::u16string_view(str.units())
                    .substr(static_cast<std::size_t>(range.location), static_cast<std::size_t>(range.length)));
}

CFMutableStringRef CFStringCreateMutableCopy(CFAllocatorRef, CFIndex, CFStringRef theString) {
    return MakeMutable(Checked(theString, "CFStringCreateMutableCopy").units());
}

CFArrayRef CFStringCreateArrayBySeparatingStrings(CFAllocatorRef alloc, CFStringRef theString,
                                                  CFStringRef separatorString) {
    __CFString::View textView = Checked(theString, "CFStringCreateArrayBySeparatingStrings").view();
    __CFString::View separatorView = Checked(separatorString, "CFStringCreateArrayBySeparatingStrings").view();
    if (!textView.wide && !separatorView.wide && separatorView.length == 1) {
        // A one-byte text split at one character, as paths are at "/".
        std::vector<const void*> pieces;
        const UInt8* bytes = textView.narrow();
        UInt8 at = separatorView.narrow()[0];
        pieces.reserve(static_cast<std::size_t>(std::count(bytes, bytes + textView.length, at)) + 1);
        std::size_t start = 0;
        for (std::size_t i = 0; i <= textView.length; ++i) {
            if (i < textView.length && bytes[i] != at) continue;
            pieces.push_back(MakeNarrow(bytes + start, i - start));
            start = i + 1;
        }
        CFArrayRef array =
            CFArrayCreate(alloc, pieces.data(), static_cast<CFIndex>(pieces.size()), &kCFTypeArrayCallBacks);
        for (const void* piece : pieces) CFRelease(piece);  // the array holds its own claims
        return array;
    }
    const std::u16string text = Checked(theString, "CFStringCreateArrayBySeparatingStrings").units();
    const std::u16string separator = Checked(separatorString, "CFStringCreateArrayBySeparatingStrings").units();

    // Every piece between separators, empty ones included: "/Sets/0" gives
    // "", "Sets" and "0".
    std::vector<CFStringRef> pieces;
    if (separator.empty()) {
        pieces.push_back(Make(text));
    } else {
        std::u16string_view all(text);
        std::size_t start = 0;
        for (;;) {
            std::size_t at = text.find(separator, start);
            if (at == std::u16string::npos) break;
            pieces.push_back(Make(all.substr(start, at - start)));
            start = at + separator.size();
        }
        pieces.push_back(Make(all.substr(start)));
    }
    std::vector<const void*> values(pieces.begin(), pieces.end());
    CFArrayRef array = CFArrayCreate(alloc, values.data(), static_cast<CFIndex>(values.size()), &kCFTypeArrayCallBacks);
    for (CFStringRef piece : pieces) CFRelease(piece);  // the array holds its own claims
    return array;
}

// ---------------------------------------------------------------------------
// Access

CFIndex CFStringGetLength(CFStringRef theString) {
    return static_cast<CFIndex>(Checked(theString, "CFStringGetLength").length());
}

UniChar CFStringGetCharacterAtIndex(CFStringRef theString, CFIndex idx) {
    __CFString::View text = Checked(theString, "CFStringGetCharacterAtIndex").view();
    if (idx < 0 || idx >= static_cast<CFIndex>(text.length)) Fail("CFStringGetCharacterAtIndex: index out of bounds");
    return text[static_cast<std::size_t>(idx)];
}

void CFStringGetCharacters(CFStringRef theString, CFRange range, UniChar* buffer) {
    __CFString::View text = Checked(theString, "CFStringGetCharacters").view();
    CheckRange(range, static_cast<CFIndex>(text.length), "CFStringGetCharacters");
    for (CFIndex i = 0; i < range.length; ++i) buffer[i] = text[static_cast<std::size_t>(range.location + i)];
}

Boolean CFStringGetCString(CFStringRef theString, char* buffer, CFIndex bufferSize, CFStringEncoding encoding) {
    const __CFString& str = Checked(theString, "CFStringGetCString");
    if (buffer == nil || bufferSize <= 0) return false;
    buffer[0] = '\0';
    std::string bytes;
    if (!Encode(str.view(), encoding, bytes)) return false;
    if (static_cast<CFIndex>(bytes.size()) >= bufferSize) return false;  // no room for the NUL
    std::memcpy(buffer, bytes.data(), bytes.size());
    buffer[bytes.size()] = '\0';
    return true;
}

CFIndex CFStringGetMaximumSizeForEncoding(CFIndex length, CFStringEncoding encoding) {
    switch (encoding) {
    case kCFStringEncodingASCII:
    case kCFStringEncodingISOLatin1:
    case kCFStringEncodingMacRoman:
        return length;
    case kCFStringEncodingUTF8:
        return length * 3;  // a code unit takes at most 3 bytes; a pair takes 4
    case kCFStringEncodingUnicode:
    case kCFStringEncodingUTF16BE:
    case kCFStringEncodingUTF16LE:
        return length * 2;
    default:
        return kCFNotFound;
    }
}

// ---------------------------------------------------------------------------
// Mutation

void CFStringReplace(CFMutableStringRef theString, CFRange range, CFStringRef replacement) {
    __CFMutableString& str = CheckedMutable(theString, "CFStringReplace");
    CheckRange(range, static_cast<CFIndex>(str.text_.size()), "CFStringReplace");
    std::u16string with = Checked(replacement, "CFStringReplace").units();
    str.text_.replace(static_cast<std::size_t>(range.location), static_cast<std::size_t>(range.length), with);
}

void CFStringLowercase(CFMutableStringRef theString, CFLocaleRef) {
    __CFMutableString& str = CheckedMutable(theString, "CFStringLowercase");
    for (char16_t& c : str.text_) c = Lower(c);
}
