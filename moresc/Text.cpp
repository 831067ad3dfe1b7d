#include "moresc/Text.h"

#include <cstdio>
#include <vector>

#include "moresc/Outcome.h"

namespace {

void AppendUTF8(std::string* text, unsigned long code) {
    if (code < 0x80) {
        text->push_back(static_cast<char>(code));
    } else if (code < 0x800) {
        text->push_back(static_cast<char>(0xC0 | (code >> 6)));
        text->push_back(static_cast<char>(0x80 | (code & 0x3F)));
    } else if (code < 0x10000) {
        text->push_back(static_cast<char>(0xE0 | (code >> 12)));
        text->push_back(static_cast<char>(0x80 | ((code >> 6) & 0x3F)));
        text->push_back(static_cast<char>(0x80 | (code & 0x3F)));
    } else {
        text->push_back(static_cast<char>(0xF0 | (code >> 18)));
        text->push_back(static_cast<char>(0x80 | ((code >> 12) & 0x3F)));
        text->push_back(static_cast<char>(0x80 | ((code >> 6) & 0x3F)));
        text->push_back(static_cast<char>(0x80 | (code & 0x3F)));
    }
}

bool IsHighSurrogate(UniChar unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
bool IsLowSurrogate(UniChar unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }

}  // namespace

std::string TextOf(CFTypeRef value) {
    if (value == nil || CFGetTypeID(value) != CFStringGetTypeID()) return "";
    CFStringRef string = static_cast<CFStringRef>(value);
    CFIndex length = CFStringGetLength(string);
    std::vector<UniChar> units(static_cast<std::size_t>(length));
    if (length > 0) CFStringGetCharacters(string, CFRangeMake(0, length), units.data());
    std::string text;
    text.reserve(units.size());
    for (std::size_t i = 0; i < units.size(); ++i) {
        UniChar unit = units[i];
        if (IsHighSurrogate(unit) && i + 1 < units.size() && IsLowSurrogate(units[i + 1])) {
            AppendUTF8(&text, 0x10000 + ((static_cast<unsigned long>(unit) - 0xD800) << 10) + (units[i + 1] - 0xDC00));
            ++i;
        } else if (IsHighSurrogate(unit) || IsLowSurrogate(unit)) {
            AppendUTF8(&text, 0xFFFD);
        } else {
            AppendUTF8(&text, unit);
        }
    }
    return text;
}

std::string Escaped(const std::string& text) {
    static const char kHex[] = "0123456789abcdef";
    std::string escaped;
    escaped.reserve(text.size());
    for (char c : text) {
        unsigned char byte = static_cast<unsigned char>(c);
        switch (c) {
            case '\\': escaped += "\\\\"; break;
            case '\t': escaped += "\\t"; break;
            case '\n': escaped += "\\n"; break;
            case '\r': escaped += "\\r"; break;
            default:
                if (byte < 0x20 || byte == 0x7F) {
                    escaped += "\\x";
                    escaped += kHex[byte >> 4];
                    escaped += kHex[byte & 0xF];
                } else {
                    escaped += c;
                }
        }
    }
    return escaped;
}

CFStringRef CreateStringFromText(const std::string& text) {
    return CFStringCreateWithBytes(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(text.data()),
                                   static_cast<CFIndex>(text.size()), kCFStringEncodingUTF8, false);
}

std::string Quoted(const std::string& text) {
    // Built by appending: GCC 12 at -O3 takes "\"" + ... for an overlapping
    // copy and warns (-Wrestrict), which breaks a build with warnings as
    // errors.
    std::string quoted = "\"";
    quoted += Escaped(text);
    quoted += '"';
    return quoted;
}

int FinishWithNewID(Outcome* outcome, CFStringRef newID) {
    if (outcome->ok()) std::printf("%s\n", Escaped(TextOf(newID)).c_str());
    return outcome->Finish();
}

CFRef<CFStringRef> NameArgument(Outcome* outcome, const std::string& text) {
    CFRef<CFStringRef> name;
    if (text.empty()) {
        outcome->FailUsage("a name cannot be empty");
    } else {
        name.reset(CreateStringFromText(text));
        if (!name) outcome->FailUsage(Quoted(text) + " is not valid UTF-8");
    }
    return name;
}
