// The string object behind CFStringRef and the helpers its three source
// files share: text is held as UTF-16 code units, so every length, index
// and range of the public interface is a plain index into text_.
#pragma once

#include <string>

#include "platform/corefoundation/CFRuntime.h"

struct __CFString : __CFRuntimeBase {
    __CFString(std::u16string text, bool isMutable)
        : __CFRuntimeBase(CFStringGetTypeID()), text_(std::move(text)), mutable_(isMutable) {}

    bool equal(const __CFRuntimeBase* other) const override;
    CFHashCode hash() const override;
    CFStringRef copyDescription() const override;

    std::u16string text_;
    bool mutable_;
};

namespace cfstring {

// A new string object (retain count 1) holding text.
__CFString* Make(std::u16string text, bool isMutable = false);

// The string behind ref; a nil reference or an object of another type is a
// programming error that halts the process with a message naming caller.
const __CFString& Checked(CFStringRef ref, const char* caller);
// The same for a string about to change: an immutable string halts too.
__CFString& CheckedMutable(CFMutableStringRef ref, const char* caller);

// Halts the process after writing "CoreFoundation: " + message to standard
// error, as CoreFoundation does on a misuse it cannot recover from.
[[noreturn]] void Fail(const char* message);

// Halts unless range lies within a text of the given length.
void CheckRange(CFRange range, CFIndex length, const char* caller);

// Decodes bytes in encoding into UTF-16; false when a byte sequence is not
// valid in that encoding or the encoding is not supported.
bool Decode(const UInt8* bytes, std::size_t count, CFStringEncoding encoding, bool isExternalRepresentation,
            std::u16string& out);

// Encodes UTF-16 text in a byte encoding (ASCII, UTF-8, Mac Roman, ISO
// Latin-1); false when a character has no representation there.
bool Encode(const std::u16string& text, CFStringEncoding encoding, std::string& out);

// The text as UTF-8; unpaired surrogates become U+FFFD.
std::string ToUTF8(const std::u16string& text);

// The lower-case form of one UTF-16 code unit (Latin, Greek, Cyrillic,
// Armenian and full-width Latin letters; everything else maps to itself).
char16_t Lower(char16_t c);

}  // namespace cfstring
