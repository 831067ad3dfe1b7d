// Formatted strings: printf conversions plus "%@", which inserts the
// description of an object ("(null)" for nil).
//
// The format is read in two passes. The first parses every conversion and
// notes the C type of each argument it consumes (a width or precision
// given as "*" consumes an int); the second fetches the arguments in order
// with va_arg of exactly those types, which also serves positional
// conversions ("%2$d") in any order. Each conversion is then rendered by
// snprintf with a format rebuilt from its flags, width, precision and
// length modifier; "%@", "%C" and "%S" are rendered here.
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <algorithm>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "platform/corefoundation/CFStringInternal.h"

using namespace cfstring;

namespace {

// The C type an argument is fetched as.
enum class ArgType {
    None,
    Int,
    UInt,
    Long,
    ULong,
    LongLong,
    ULongLong,
    Size,
    PtrDiff,
    IntMax,
    UIntMax,
    Double,
    LongDouble,
    Pointer,  // char*, void*, CFTypeRef, UniChar*, int* (for %n)
};

struct Arg {
    ArgType type = ArgType::None;
    union {
        long long i;
        unsigned long long u;
        double d;
        long double ld;
        const void* p;
    };
    Arg() : u(0) {}
};

struct Conversion {
    std::size_t specStart = 0;   // index of the '%'
    std::size_t specEnd = 0;     // one past the conversion character
    std::string flags;
    int width = -1;              // -1: none
    int precision = -1;          // -1: none
    int widthArg = -1;           // index of the argument giving the width
    int precisionArg = -1;
    int valueArg = -1;           // index of the value argument, -1 for none
    std::string length;          // "", "hh", "h", "l", "ll", "L", "z", "t", "j"
    char16_t conv = 0;
};

bool IsDigit(char16_t c) { return c >= u'0' && c <= u'9'; }

// Reads a decimal number at fmt[i], advancing i.
int ReadNumber(const std::u16string& fmt, std::size_t& i) {
    long n = 0;
    while (i < fmt.size() && IsDigit(fmt[i])) {
        if (n < 100000000) n = n * 10 + (fmt[i] - u'0');
        ++i;
    }
    return static_cast<int>(n);
}

// Reads "N$" at fmt[i] if present: the 0-based argument index, else -1.
int ReadPosition(const std::u16string& fmt, std::size_t& i) {
    std::size_t j = i;
    if (j < fmt.size() && IsDigit(fmt[j]) && fmt[j] != u'0') {
        int n = ReadNumber(fmt, j);
        if (j < fmt.size() && fmt[j] == u'$') {
            i = j + 1;
            return n - 1;
        }
    }
    return -1;
}

ArgType IntegerType(const std::string& length, bool isSigned) {
    if (length == "l") return isSigned ? ArgType::Long : ArgType::ULong;
    if (length == "ll" || length == "q") return isSigned ? ArgType::LongLong : ArgType::ULongLong;
    if (length == "z") return ArgType::Size;
    if (length == "t") return ArgType::PtrDiff;
    if (length == "j") return isSigned ? ArgType::IntMax : ArgType::UIntMax;
    return isSigned ? ArgType::Int : ArgType::UInt;  // hh and h arrive promoted to int
}

// The type of the value a conversion consumes, None for "%%" and unknown
// conversion characters.
ArgType ValueType(char16_t conv, const std::string& length) {
    switch (conv) {
    case u'd': case u'i':
        return IntegerType(length, true);
    case u'u': case u'o': case u'x': case u'X':
        return IntegerType(length, false);
    case u'c': case u'C':
        return length == "l" ? ArgType::UInt : ArgType::Int;
    case u'f': case u'F': case u'e': case u'E': case u'g': case u'G': case u'a': case u'A':
        return length == "L" ? ArgType::LongDouble : ArgType::Double;
    case u's': case u'S': case u'p': case u'@': case u'n':
        return ArgType::Pointer;
    default:
        return ArgType::None;
    }
}

void Fetch(Arg& arg, va_list& ap) {
    switch (arg.type) {
    case ArgType::None: break;
    case ArgType::Int: arg.i = va_arg(ap, int); break;
    case ArgType::UInt: arg.u = va_arg(ap, unsigned int); break;
    case ArgType::Long: arg.i = va_arg(ap, long); break;
    case ArgType::ULong: arg.u = va_arg(ap, unsigned long); break;
    case ArgType::LongLong: arg.i = va_arg(ap, long long); break;
    case ArgType::ULongLong: arg.u = va_arg(ap, unsigned long long); break;
    case ArgType::Size: arg.u = va_arg(ap, std::size_t); break;
    case ArgType::PtrDiff: arg.i = va_arg(ap, std::ptrdiff_t); break;
    case ArgType::IntMax: arg.i = va_arg(ap, std::intmax_t); break;
    case ArgType::UIntMax: arg.u = va_arg(ap, std::uintmax_t); break;
    case ArgType::Double: arg.d = va_arg(ap, double); break;
    case ArgType::LongDouble: arg.ld = va_arg(ap, long double); break;
    case ArgType::Pointer: arg.p = va_arg(ap, const void*); break;
    }
}

template <class T>
std::string Printf(const std::string& format, T value) {
    char small[128];
    int n = std::snprintf(small, sizeof small, format.c_str(), value);
    if (n < 0) return std::string();
    if (static_cast<std::size_t>(n) < sizeof small) return std::string(small, static_cast<std::size_t>(n));
    std::string big(static_cast<std::size_t>(n) + 1, '\0');
    std::snprintf(big.data(), big.size(), format.c_str(), value);
    big.resize(static_cast<std::size_t>(n));
    return big;
}

// Bytes from snprintf as text: UTF-8 where valid, Latin-1 otherwise.
void AppendBytes(std::u16string& out, const std::string& bytes) {
    std::u16string text;
    if (!Decode(reinterpret_cast<const UInt8*>(bytes.data()), bytes.size(), kCFStringEncodingUTF8, false, text))
        Decode(reinterpret_cast<const UInt8*>(bytes.data()), bytes.size(), kCFStringEncodingISOLatin1, false, text);
    out += text;
}

// Applies precision (a maximum length) and width (padding with spaces,
// on the right with the '-' flag) to text rendered here.
void AppendPadded(std::u16string& out, std::u16string text, const Conversion& c) {
    if (c.precision >= 0 && text.size() > static_cast<std::size_t>(c.precision))
        text.resize(static_cast<std::size_t>(c.precision));
    std::size_t pad = c.width > 0 && static_cast<std::size_t>(c.width) > text.size()
                          ? static_cast<std::size_t>(c.width) - text.size()
                          : 0;
    bool left = c.flags.find('-') != std::string::npos;
    if (!left) out.append(pad, u' ');
    out += text;
    if (left) out.append(pad, u' ');
}

// The printf format for one conversion, with width and precision resolved.
std::string NarrowSpec(const Conversion& c, const char* length) {
    std::string printfFormat("%");
    printfFormat += c.flags;
    if (c.width >= 0) printfFormat += std::to_string(c.width);
    if (c.precision >= 0) printfFormat.append(".").append(std::to_string(c.precision));
    printfFormat += length;
    printfFormat += static_cast<char>(c.conv);
    return printfFormat;
}

void Render(std::u16string& out, const Conversion& c, const Arg& v) {
    switch (c.conv) {
    case u'@': {
        std::u16string text = u"(null)";
        if (v.p != nil) {
            CFStringRef description = CFCopyDescription(v.p);
            if (description != nil) {
                text = Checked(description, "CFStringCreateWithFormat").units();
                CFRelease(description);
            }
        }
        AppendPadded(out, std::move(text), c);
        return;
    }
    case u'S': {
        // A NUL-terminated array of UTF-16 code units.
        std::u16string text = u"(null)";
        if (v.p != nil) text = reinterpret_cast<const char16_t*>(v.p);
        AppendPadded(out, std::move(text), c);
        return;
    }
    case u'C': {
        AppendPadded(out, std::u16string(1, static_cast<char16_t>(v.i)), c);
        return;
    }
    case u'c':
        if (c.length == "l") {  // a wide character: a Unicode code point
            std::u16string text;
            char32_t cp = static_cast<char32_t>(v.u);
            if (cp >= 0x10000 && cp <= 0x10FFFF) {
                cp -= 0x10000;
                text.push_back(static_cast<char16_t>(0xD800 + (cp >> 10)));
                text.push_back(static_cast<char16_t>(0xDC00 + (cp & 0x3FF)));
            } else {
                text.push_back(static_cast<char16_t>(cp));
            }
            AppendPadded(out, std::move(text), c);
            return;
        }
        AppendBytes(out, Printf(NarrowSpec(c, ""), static_cast<int>(v.i)));
        return;
    case u's': {
        if (v.p == nil) {
            AppendPadded(out, u"(null)", c);
            return;
        }
        AppendBytes(out, Printf(NarrowSpec(c, ""), static_cast<const char*>(v.p)));
        return;
    }
    case u'p':
        AppendBytes(out, Printf(NarrowSpec(c, ""), v.p));
        return;
    case u'n':
        return;  // writing back the count is not supported; nothing is stored
    default:
        break;
    }
    const std::string& len = c.length;
    switch (v.type) {
    case ArgType::Int: {
        const char* l = len == "hh" ? "hh" : (len == "h" ? "h" : "");
        AppendBytes(out, Printf(NarrowSpec(c, l), static_cast<int>(v.i)));
        return;
    }
    case ArgType::UInt: {
        const char* l = len == "hh" ? "hh" : (len == "h" ? "h" : "");
        AppendBytes(out, Printf(NarrowSpec(c, l), static_cast<unsigned int>(v.u)));
        return;
    }
    case ArgType::Long: AppendBytes(out, Printf(NarrowSpec(c, "l"), static_cast<long>(v.i))); return;
    case ArgType::ULong: AppendBytes(out, Printf(NarrowSpec(c, "l"), static_cast<unsigned long>(v.u))); return;
    case ArgType::LongLong: AppendBytes(out, Printf(NarrowSpec(c, "ll"), static_cast<long long>(v.i))); return;
    case ArgType::ULongLong:
        AppendBytes(out, Printf(NarrowSpec(c, "ll"), static_cast<unsigned long long>(v.u)));
        return;
    case ArgType::Size: AppendBytes(out, Printf(NarrowSpec(c, "z"), static_cast<std::size_t>(v.u))); return;
    case ArgType::PtrDiff: AppendBytes(out, Printf(NarrowSpec(c, "t"), static_cast<std::ptrdiff_t>(v.i))); return;
    case ArgType::IntMax: AppendBytes(out, Printf(NarrowSpec(c, "j"), static_cast<std::intmax_t>(v.i))); return;
    case ArgType::UIntMax: AppendBytes(out, Printf(NarrowSpec(c, "j"), static_cast<std::uintmax_t>(v.u))); return;
    case ArgType::Double: AppendBytes(out, Printf(NarrowSpec(c, ""), v.d)); return;
    case ArgType::LongDouble: AppendBytes(out, Printf(NarrowSpec(c, "L"), v.ld)); return;
    default: return;
    }
}

// Parses the conversion starting at fmt[i] == '%'; next is the running
// index of the next sequential argument. False for a malformed or unknown
// conversion, which is then copied as literal text.
bool Parse(const std::u16string& fmt, std::size_t i, int& next, Conversion& c, std::vector<ArgType>& types) {
    // Argument uses are committed only once the whole conversion parses.
    std::vector<std::pair<int, ArgType>> uses;
    int counter = next;
    auto use = [&](int index, ArgType type) { uses.emplace_back(index, type); };
    c.specStart = i++;
    int position = ReadPosition(fmt, i);
    while (i < fmt.size() && fmt[i] != 0 && fmt[i] < 0x80 && std::strchr("-+ #0'", static_cast<char>(fmt[i])) != nullptr) {
        if (fmt[i] != u'\'') c.flags.push_back(static_cast<char>(fmt[i]));
        ++i;
    }
    if (i < fmt.size() && fmt[i] == u'*') {
        ++i;
        int p = ReadPosition(fmt, i);
        c.widthArg = p >= 0 ? p : counter++;
        use(c.widthArg, ArgType::Int);
    } else if (i < fmt.size() && IsDigit(fmt[i])) {
        c.width = ReadNumber(fmt, i);
    }
    if (i < fmt.size() && fmt[i] == u'.') {
        ++i;
        if (i < fmt.size() && fmt[i] == u'*') {
            ++i;
            int p = ReadPosition(fmt, i);
            c.precisionArg = p >= 0 ? p : counter++;
            use(c.precisionArg, ArgType::Int);
        } else {
            c.precision = ReadNumber(fmt, i);  // "." alone means 0
        }
    }
    static const char* const kLengths[] = {"hh", "ll", "h", "l", "q", "L", "z", "t", "j"};
    for (const char* l : kLengths) {
        std::size_t n = std::strlen(l);
        bool match = i + n <= fmt.size();
        for (std::size_t k = 0; match && k < n; ++k) match = fmt[i + k] == static_cast<char16_t>(l[k]);
        if (match) {
            c.length = l;
            i += n;
            break;
        }
    }
    if (i >= fmt.size()) return false;
    c.conv = fmt[i++];
    c.specEnd = i;
    if (c.conv != u'%') {
        ArgType type = ValueType(c.conv, c.length);
        if (type == ArgType::None) return false;
        c.valueArg = position >= 0 ? position : counter++;
        use(c.valueArg, type);
    }
    for (auto [index, type] : uses) {
        if (index >= static_cast<int>(types.size())) types.resize(static_cast<std::size_t>(index) + 1, ArgType::None);
        types[static_cast<std::size_t>(index)] = type;
    }
    next = counter;
    return true;
}

}  // namespace

namespace {

// The common case of a path joined from strings ("/%@/%@"): one-byte text
// and "%@" conversions of one-byte strings, joined without the general
// machinery. nil when the format or an argument is anything else.
CFStringRef JoinStrings(const __CFString::View& format, va_list arguments) {
    if (format.wide) return nil;
    const UInt8* text = format.narrow();
    for (std::size_t i = 0; i < format.length; ++i) {
        if (text[i] != '%') continue;
        if (i + 1 == format.length || text[i + 1] != '@') return nil;
        ++i;
    }
    // Joined on the stack when it fits, as paths do.
    UInt8 onStack[256];
    std::string onHeap;
    UInt8* out = onStack;
    std::size_t capacity = sizeof onStack, length = 0;
    auto append = [&](const UInt8* bytes, std::size_t count) {
        if (length + count > capacity) {
            onHeap.resize(std::max(2 * capacity, length + count));
            if (out == onStack) std::memcpy(onHeap.data(), onStack, length);
            out = reinterpret_cast<UInt8*>(onHeap.data());
            capacity = onHeap.size();
        }
        std::memcpy(out + length, bytes, count);
        length += count;
    };
    va_list ap;
    va_copy(ap, arguments);
    bool plain = true;
    for (std::size_t i = 0; plain && i < format.length;) {
        std::size_t literal = i;
        while (i < format.length && text[i] != '%') ++i;
        append(text + literal, i - literal);
        if (i == format.length) break;
        i += 2;
        const void* value = va_arg(ap, const void*);
        plain = value != nil && CFGetTypeID(value) == CFStringGetTypeID();
        if (!plain) break;
        __CFString::View piece = static_cast<CFStringRef>(value)->view();
        plain = !piece.wide;
        if (plain) append(piece.narrow(), piece.length);
    }
    va_end(ap);
    return plain ? MakeNarrow(out, length) : nil;
}

}  // namespace

CFStringRef CFStringCreateWithFormatAndArguments(CFAllocatorRef, CFDictionaryRef, CFStringRef format,
                                                 va_list arguments) {
    const __CFString& formatString = Checked(format, "CFStringCreateWithFormatAndArguments");
    if (CFStringRef joined = JoinStrings(formatString.view(), arguments)) return joined;
    const std::u16string fmt = formatString.units();

    // Pass 1: the conversions and the types of the arguments they take.
    std::vector<Conversion> conversions;
    std::vector<ArgType> types;
    int next = 0;
    for (std::size_t i = 0; i < fmt.size();) {
        if (fmt[i] != u'%') {
            ++i;
            continue;
        }
        Conversion c;
        if (Parse(fmt, i, next, c, types)) {
            i = c.specEnd;
            conversions.push_back(std::move(c));
        } else {
            ++i;  // copied as text: it consumes nothing
        }
    }

    // Pass 2: fetch the arguments in order. An index no conversion names
    // (a gap between positions) is taken as an int.
    std::vector<Arg> args(types.size());
    va_list ap;
    va_copy(ap, arguments);
    for (std::size_t k = 0; k < types.size(); ++k) {
        args[k].type = types[k] == ArgType::None ? ArgType::Int : types[k];
        Fetch(args[k], ap);
    }
    va_end(ap);

    // Render: literal text between conversions, then each conversion.
    std::u16string out;
    out.reserve(fmt.size() + 16 * conversions.size());
    std::size_t literalStart = 0;
    for (Conversion& c : conversions) {
        out.append(fmt, literalStart, c.specStart - literalStart);
        literalStart = c.specEnd;
        if (c.conv == u'%') {
            out.push_back(u'%');
            continue;
        }
        if (c.widthArg >= 0) {
            long w = static_cast<long>(args[static_cast<std::size_t>(c.widthArg)].i);
            if (w < 0) {  // a negative width asks for left adjustment
                c.flags.push_back('-');
                w = -w;
            }
            c.width = static_cast<int>(w > 100000000 ? 100000000 : w);
        }
        if (c.precisionArg >= 0) {
            long p = static_cast<long>(args[static_cast<std::size_t>(c.precisionArg)].i);
            c.precision = p < 0 ? -1 : static_cast<int>(p > 100000000 ? 100000000 : p);
        }
        Render(out, c, args[static_cast<std::size_t>(c.valueArg)]);
    }
    out.append(fmt, literalStart, std::u16string::npos);
    return Make(out);
}

CFStringRef CFStringCreateWithFormat(CFAllocatorRef alloc, CFDictionaryRef formatOptions, CFStringRef format, ...) {
    va_list arguments;
    va_start(arguments, format);
    CFStringRef result = CFStringCreateWithFormatAndArguments(alloc, formatOptions, format, arguments);
    va_end(arguments);
    return result;
}
