// The string object behind CFStringRef and the helpers its three source
// files share. Every length, index and range of the public interface counts
// UTF-16 code units.
//
// An immutable string is one allocation: the object, then its text. A text
// whose characters all lie below U+0100 is kept one byte a character
// (Latin-1), any other text as UTF-16; the two forms of the same text are
// equal and hash alike. A mutable string keeps a growable UTF-16 text.
#pragma once

#include <string>
#include <string_view>

#include "platform/corefoundation/CFRuntime.h"

struct __CFString : __CFRuntimeBase {
    // The text of any string, narrow (one byte a code unit) or wide.
    struct View {
        const void* data;
        std::size_t length;
        bool wide;

        char16_t operator[](std::size_t i) const {
            return wide ? static_cast<const char16_t*>(data)[i] : static_cast<const UInt8*>(data)[i];
        }
        const UInt8* narrow() const { return static_cast<const UInt8*>(data); }
        const char16_t* units() const { return static_cast<const char16_t*>(data); }
    };

    View view() const;
    // A copy of the text as UTF-16.
    std::u16string units() const;
    std::size_t length() const { return view().length; }

    bool equal(const __CFRuntimeBase* other) const override;
    CFHashCode hash() const override;
    CFStringRef copyDescription() const override;

    // Immutable strings are allocated with room for their text after the
    // object; see cfstring::MakeNarrow and cfstring::Make.
    struct ExtraBytes {
        std::size_t count;
    };
    static void* operator new(std::size_t size) { return ::operator new(size); }
    static void* operator new(std::size_t size, ExtraBytes extra) { return ::operator new(size + extra.count); }
    static void operator delete(void* block) { ::operator delete(block); }
    static void operator delete(void* block, ExtraBytes) { ::operator delete(block); }

    bool mutable_ = false;
    bool wide_ = false;
    UInt32 length_ = 0;  // of an immutable string's text

protected:
    explicit __CFString(bool isMutable) : __CFRuntimeBase(CFStringGetTypeID()), mutable_(isMutable) {}
};

struct __CFMutableString final : __CFString {
    explicit __CFMutableString(std::u16string text) : __CFString(true), text_(std::move(text)) { wide_ = true; }
    std::u16string text_;
};

inline __CFString::View __CFString::view() const {
    if (mutable_) {
        const std::u16string& text = static_cast<const __CFMutableString*>(this)->text_;
        return View{text.data(), text.size(), true};
    }
    return View{reinterpret_cast<const UInt8*>(this) + sizeof(__CFString), length_, wide_};
}

namespace cfstring {

// A new immutable string (retain count 1) holding text; narrow when it fits.
__CFString* Make(std::u16string_view text);
// A new mutable string holding text.
__CFMutableString* MakeMutable(std::u16string text);
// A new immutable string of Latin-1 bytes (which include ASCII).
__CFString* MakeNarrow(const UInt8* bytes, std::size_t count);
// A new immutable string from UTF-8 bytes, or nil when they are not valid
// UTF-8. U+0000 is a character like any other.
__CFString* MakeFromUTF8(const UInt8* bytes, std::size_t count);

// The string behind ref; a nil reference or an object of another type is a
// programming error that halts the process with a message naming caller.
const __CFString& Checked(CFStringRef ref, const char* caller);
// The same for a string about to change: an immutable string halts too.
__CFMutableString& CheckedMutable(CFMutableStringRef ref, const char* caller);

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
bool Encode(std::u16string_view text, CFStringEncoding encoding, std::string& out);
// The same for a string's text, without copying a narrow text to UTF-16.
bool Encode(const __CFString::View& text, CFStringEncoding encoding, std::string& out);

// Orders two texts by their UTF-16 code units.
int CompareUnits(const __CFString::View& a, const __CFString::View& b);

// The lower-case form of one UTF-16 code unit (Latin, Greek, Cyrillic,
// Armenian and full-width Latin letters; everything else maps to itself).
char16_t Lower(char16_t c);

}  // namespace cfstring
