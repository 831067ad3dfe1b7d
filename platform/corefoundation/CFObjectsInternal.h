// Helpers shared by the runtime and the number, boolean, data, array,
// dictionary and property-list sources: fixed type IDs, the fatal-misuse
// report, and the pieces of the nested description of containers.
#pragma once

#include <charconv>
#include <cstdint>
#include <cstring>
#include <mutex>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "platform/corefoundation/CFRuntime.h"

namespace cfrt {

// Type IDs of the built-in types. Types registered at run time get IDs from
// kFirstRegisteredTypeID on.
enum : CFTypeID {
    kStringTypeID = 1,
    kNumberTypeID = 2,
    kBooleanTypeID = 3,
    kDataTypeID = 4,
    kArrayTypeID = 5,
    kDictionaryTypeID = 6,
    kFirstRegisteredTypeID = 16,
};

// Writes "CoreFoundation: " + message to standard error and aborts, as
// CoreFoundation halts on a misuse it cannot recover from.
[[noreturn]] void Fatal(const std::string& message);
// "CoreFoundation: attempt to mutate an immutable <typeName>", then abort.
[[noreturn]] void MutationOfImmutable(const char* typeName);

// The object behind cf, checked to be non-nil and of the given type;
// otherwise a fatal misuse naming the caller.
const __CFRuntimeBase* CheckedObject(CFTypeRef cf, CFTypeID typeID, const char* caller);

// A new immutable string (owned by the caller) holding UTF-8 text.
CFStringRef MakeString(const std::string& utf8);
// The text of a string as UTF-8 ("" for nil).
std::string StringText(CFStringRef string);

// A description callback as arrays and dictionaries carry them.
typedef CFStringRef (*DescriptionFunction)(const void* value);

// Appends the description of one element of a container to out. Nested
// arrays and dictionaries described through CFCopyDescription are laid out
// over several lines, indented one level per depth; describe nil means the
// element is not an object and is shown by its address.
void AppendElementDescription(std::string& out, const void* value, DescriptionFunction describe, int depth);
// Appends the indentation of one line at the given depth.
void AppendIndent(std::string& out, int depth);

// The nested layout of a container, written at the given depth (the
// opening bracket goes where out currently ends).
void AppendArrayDescription(std::string& out, CFArrayRef array, int depth);
void AppendDictionaryDescription(std::string& out, CFDictionaryRef dict, int depth);

// Adds key and value to a mutable dictionary without looking for the key
// first: the caller knows it is not there (a reader whose keys are unique
// by identity, say). Retains both through the dictionary's callbacks.
void DictionaryAddNewKey(CFMutableDictionaryRef dict, const void* key, const void* value);
// The same, taking over the caller's claims on key and value rather than
// retaining them (for a dictionary with the standard callbacks, which
// release them in the end).
void DictionaryAdoptNewKey(CFMutableDictionaryRef dict, const void* key, const void* value);

// Whether the dictionary tells its keys apart by value (CFEqual), as the
// standard callbacks do, so that its keys are all unequal.
bool DictionaryComparesKeysByValue(CFDictionaryRef dict);

// The value for a key given as one-byte text (Latin-1 code units), in a
// dictionary with the standard key callbacks, without making a string for
// the key. *searched is false when the dictionary has other callbacks, and
// then the caller must look the key up as a string.
const void* DictionaryGetValueForText(CFDictionaryRef dict, const UInt8* text, std::size_t length, bool* searched);
// The same, also handing out the dictionary's own key object for the text
// (borrowed, as the value is) when there is one.
const void* DictionaryGetEntryForText(CFDictionaryRef dict, const UInt8* text, std::size_t length, bool* searched,
                                      const void** key);

// One shared copy of each distinct set of container callbacks (nil stands
// for all-empty ones), so that a container holds a pointer rather than its
// own copy; copies live as long as the process.
template <class CallBacks>
const CallBacks* InternCallBacks(const CallBacks* callBacks) {
    static const CallBacks kNone{};
    if (callBacks == nullptr) return &kNone;
    static std::mutex lock;
    static auto* known = new std::vector<const CallBacks*>();
    std::lock_guard<std::mutex> guard(lock);
    for (const CallBacks* k : *known) {
        if (k == callBacks || std::memcmp(k, callBacks, sizeof(CallBacks)) == 0) return k;
    }
    known->push_back(new CallBacks(*callBacks));
    return known->back();
}

// Hash mixing for value hashes.
inline CFHashCode MixHash(CFHashCode h) {
    h ^= h >> 33;
    h *= 0xff51afd7ed558ccdULL;
    h ^= h >> 33;
    return h;
}

// A hash of bytes taken eight at a time, for texts from a key to a whole
// store file; *ascii, when given, tells whether every byte is ASCII.
inline std::uint64_t HashBytes(const void* data, std::size_t size, bool* ascii = nullptr) {
    const unsigned char* bytes = static_cast<const unsigned char*>(data);
    std::uint64_t hash = 0x9E3779B97F4A7C15ULL ^ size, bits = 0;
    auto mix = [&](std::uint64_t word) {
        bits |= word;
        hash = (((hash << 29) | (hash >> 35)) ^ word) * 0xBF58476D1CE4E5B9ULL;
    };
    std::size_t at = 0;
    for (; at + 8 <= size; at += 8) {
        std::uint64_t word;
        std::memcpy(&word, bytes + at, 8);
        mix(word);
    }
    std::uint64_t tail = 0;
    if (size > at) std::memcpy(&tail, bytes + at, size - at);
    mix(tail);
    if (ascii != nullptr) *ascii = (bits & 0x8080808080808080ULL) == 0;
    return MixHash(hash);
}

// The magnitude written by an integer's digits (the sign taken off),
// decimal or hexadecimal after "0x", as property lists and ioreg write
// them; false unless the whole text is one number of at most 64 bits.
inline bool ParseMagnitude(std::string_view digits, std::uint64_t* magnitude) {
    int base = 10;
    if (digits.size() > 2 && digits[0] == '0' && (digits[1] == 'x' || digits[1] == 'X')) {
        base = 16;
        digits.remove_prefix(2);
    }
    *magnitude = 0;
    auto [stop, error] = std::from_chars(digits.data(), digits.data() + digits.size(), *magnitude, base);
    return !digits.empty() && error == std::errc() && stop == digits.data() + digits.size();
}

}  // namespace cfrt
