// Reference-counted property-list objects with CoreFoundation's names and
// semantics: strings (UTF-16 code units), numbers, booleans, data, arrays
// and dictionaries (mutable and immutable), reference counting, equality,
// hashing and deep copies.
//
// Dictionaries compare keys by value (CFEqual/CFHash when created with the
// standard callbacks) and enumerate their entries in insertion order, so
// every walk over a dictionary is deterministic.
//
// Mutating an immutable object is a programming error: it is reported on
// standard error and the process aborts, as CoreFoundation halts.
#pragma once

#include <cstdarg>
#include <cstddef>

#include "platform/corefoundation/MacTypes.h"

// ---------------------------------------------------------------------------
// Base types

typedef const void* CFTypeRef;
typedef unsigned long CFTypeID;
typedef unsigned long CFOptionFlags;
typedef unsigned long CFHashCode;
typedef long CFIndex;

typedef const struct __CFAllocator* CFAllocatorRef;
#define kCFAllocatorDefault ((CFAllocatorRef) nullptr)

typedef const struct __CFString* CFStringRef;
typedef struct __CFString* CFMutableStringRef;
typedef const struct __CFNumber* CFNumberRef;
typedef const struct __CFBoolean* CFBooleanRef;
typedef const struct __CFData* CFDataRef;
typedef struct __CFData* CFMutableDataRef;
typedef const struct __CFArray* CFArrayRef;
typedef struct __CFArray* CFMutableArrayRef;
typedef const struct __CFDictionary* CFDictionaryRef;
typedef struct __CFDictionary* CFMutableDictionaryRef;
typedef CFTypeRef CFPropertyListRef;
typedef const struct __CFLocale* CFLocaleRef;

struct CFRange {
    CFIndex location;
    CFIndex length;
};
inline CFRange CFRangeMake(CFIndex location, CFIndex length) { return CFRange{location, length}; }

enum : CFIndex { kCFNotFound = -1 };

typedef CFIndex CFComparisonResult;
enum : CFIndex {
    kCFCompareLessThan = -1,
    kCFCompareEqualTo = 0,
    kCFCompareGreaterThan = 1,
};
typedef CFComparisonResult (*CFComparatorFunction)(const void* val1, const void* val2, void* context);

// ---------------------------------------------------------------------------
// Every object

CFTypeRef CFRetain(CFTypeRef cf);
void CFRelease(CFTypeRef cf);
CFIndex CFGetRetainCount(CFTypeRef cf);
CFTypeID CFGetTypeID(CFTypeRef cf);
Boolean CFEqual(CFTypeRef cf1, CFTypeRef cf2);
CFHashCode CFHash(CFTypeRef cf);
// A human-readable text of the object: a string's own text, a number's
// value, "true"/"false", and a nested description for containers.
CFStringRef CFCopyDescription(CFTypeRef cf);

CFTypeID CFStringGetTypeID(void);
CFTypeID CFNumberGetTypeID(void);
CFTypeID CFBooleanGetTypeID(void);
CFTypeID CFDataGetTypeID(void);
CFTypeID CFArrayGetTypeID(void);
CFTypeID CFDictionaryGetTypeID(void);

// ---------------------------------------------------------------------------
// Strings

typedef UInt32 CFStringEncoding;
enum : CFStringEncoding {
    kCFStringEncodingMacRoman = 0,
    kCFStringEncodingISOLatin1 = 0x0201,
    kCFStringEncodingASCII = 0x0600,
    kCFStringEncodingUnicode = 0x0100,
    kCFStringEncodingUTF8 = 0x08000100,
    kCFStringEncodingUTF16BE = 0x10000100,
    kCFStringEncodingUTF16LE = 0x14000100,
};

typedef CFOptionFlags CFStringCompareFlags;
enum : CFOptionFlags {
    kCFCompareCaseInsensitive = 1,
    kCFCompareBackwards = 4,
    kCFCompareAnchored = 8,
    kCFCompareNonliteral = 16,
    kCFCompareLocalized = 32,
    kCFCompareNumerically = 64,
};

// A constant string: never released, equal to any string with the same text.
// Each use looks its text up once and keeps the result.
CFStringRef __CFStringMakeConstantString(const char* cStr);
#define CFSTR(cStr)                                                                      \
    ([]() -> CFStringRef {                                                               \
        static const CFStringRef __constantString = __CFStringMakeConstantString("" cStr ""); \
        return __constantString;                                                         \
    }())

CFStringRef CFStringCreateWithCString(CFAllocatorRef alloc, const char* cStr, CFStringEncoding encoding);
CFStringRef CFStringCreateWithBytes(CFAllocatorRef alloc, const UInt8* bytes, CFIndex numBytes,
                                    CFStringEncoding encoding, Boolean isExternalRepresentation);
CFStringRef CFStringCreateWithCharacters(CFAllocatorRef alloc, const UniChar* chars, CFIndex numChars);
CFStringRef CFStringCreateCopy(CFAllocatorRef alloc, CFStringRef theString);
CFStringRef CFStringCreateWithSubstring(CFAllocatorRef alloc, CFStringRef str, CFRange range);
// Formats like printf; "%@" inserts the description of an object (a
// string's text). formatOptions is ignored and may be nil.
CFStringRef CFStringCreateWithFormat(CFAllocatorRef alloc, CFDictionaryRef formatOptions, CFStringRef format, ...);
CFStringRef CFStringCreateWithFormatAndArguments(CFAllocatorRef alloc, CFDictionaryRef formatOptions,
                                                 CFStringRef format, va_list arguments);
CFMutableStringRef CFStringCreateMutableCopy(CFAllocatorRef alloc, CFIndex maxLength, CFStringRef theString);
CFArrayRef CFStringCreateArrayBySeparatingStrings(CFAllocatorRef alloc, CFStringRef theString,
                                                  CFStringRef separatorString);

// Length in UTF-16 code units.
CFIndex CFStringGetLength(CFStringRef theString);
UniChar CFStringGetCharacterAtIndex(CFStringRef theString, CFIndex idx);
void CFStringGetCharacters(CFStringRef theString, CFRange range, UniChar* buffer);
// Copies the text, NUL-terminated, into buffer. Fails (returns false) when
// the text does not fit in bufferSize bytes with its NUL or cannot be
// represented in the encoding; never writes past bufferSize.
Boolean CFStringGetCString(CFStringRef theString, char* buffer, CFIndex bufferSize, CFStringEncoding encoding);
CFIndex CFStringGetMaximumSizeForEncoding(CFIndex length, CFStringEncoding encoding);

CFComparisonResult CFStringCompare(CFStringRef theString1, CFStringRef theString2, CFStringCompareFlags compareOptions);
CFRange CFStringFind(CFStringRef theString, CFStringRef stringToFind, CFStringCompareFlags compareOptions);
Boolean CFStringHasPrefix(CFStringRef theString, CFStringRef prefix);
Boolean CFStringHasSuffix(CFStringRef theString, CFStringRef suffix);

void CFStringReplace(CFMutableStringRef theString, CFRange range, CFStringRef replacement);
void CFStringLowercase(CFMutableStringRef theString, CFLocaleRef locale);

// ---------------------------------------------------------------------------
// Numbers

typedef CFIndex CFNumberType;
enum : CFIndex {
    kCFNumberSInt8Type = 1,
    kCFNumberSInt16Type = 2,
    kCFNumberSInt32Type = 3,
    kCFNumberSInt64Type = 4,
    kCFNumberFloat32Type = 5,
    kCFNumberFloat64Type = 6,
    kCFNumberCharType = 7,
    kCFNumberShortType = 8,
    kCFNumberIntType = 9,
    kCFNumberLongType = 10,  // the C type long of this host
    kCFNumberLongLongType = 11,
    kCFNumberFloatType = 12,
    kCFNumberDoubleType = 13,
    kCFNumberCFIndexType = 14,
    kCFNumberMaxType = 16,
};

CFNumberRef CFNumberCreate(CFAllocatorRef alloc, CFNumberType theType, const void* valuePtr);
Boolean CFNumberIsFloatType(CFNumberRef number);
// Stores the value converted to theType. Returns false when the conversion
// loses information (a fraction, or a value out of the type's range); the
// stored value is then the truncated one.
Boolean CFNumberGetValue(CFNumberRef number, CFNumberType theType, void* valuePtr);

// ---------------------------------------------------------------------------
// Booleans

extern const CFBooleanRef kCFBooleanTrue;
extern const CFBooleanRef kCFBooleanFalse;
Boolean CFBooleanGetValue(CFBooleanRef boolean);

// ---------------------------------------------------------------------------
// Data

CFDataRef CFDataCreate(CFAllocatorRef alloc, const UInt8* bytes, CFIndex length);
CFMutableDataRef CFDataCreateMutable(CFAllocatorRef alloc, CFIndex capacity);
CFIndex CFDataGetLength(CFDataRef theData);
const UInt8* CFDataGetBytePtr(CFDataRef theData);
void CFDataAppendBytes(CFMutableDataRef theData, const UInt8* bytes, CFIndex length);

// ---------------------------------------------------------------------------
// Arrays

typedef const void* (*CFArrayRetainCallBack)(CFAllocatorRef allocator, const void* value);
typedef void (*CFArrayReleaseCallBack)(CFAllocatorRef allocator, const void* value);
typedef CFStringRef (*CFArrayCopyDescriptionCallBack)(const void* value);
typedef Boolean (*CFArrayEqualCallBack)(const void* value1, const void* value2);
struct CFArrayCallBacks {
    CFIndex version;
    CFArrayRetainCallBack retain;
    CFArrayReleaseCallBack release;
    CFArrayCopyDescriptionCallBack copyDescription;
    CFArrayEqualCallBack equal;
};
// Retains its values and compares them with CFEqual.
extern const CFArrayCallBacks kCFTypeArrayCallBacks;
typedef void (*CFArrayApplierFunction)(const void* value, void* context);

// callBacks nil: values are not retained and are compared by identity.
CFArrayRef CFArrayCreate(CFAllocatorRef alloc, const void** values, CFIndex numValues,
                         const CFArrayCallBacks* callBacks);
CFArrayRef CFArrayCreateCopy(CFAllocatorRef alloc, CFArrayRef theArray);
CFMutableArrayRef CFArrayCreateMutable(CFAllocatorRef alloc, CFIndex capacity, const CFArrayCallBacks* callBacks);
CFMutableArrayRef CFArrayCreateMutableCopy(CFAllocatorRef alloc, CFIndex capacity, CFArrayRef theArray);

CFIndex CFArrayGetCount(CFArrayRef theArray);
const void* CFArrayGetValueAtIndex(CFArrayRef theArray, CFIndex idx);
void CFArrayGetValues(CFArrayRef theArray, CFRange range, const void** values);
Boolean CFArrayContainsValue(CFArrayRef theArray, CFRange range, const void* value);
CFIndex CFArrayGetFirstIndexOfValue(CFArrayRef theArray, CFRange range, const void* value);
// Binary search of a sorted range: the index of a value equal to value, or
// of the place where it would be inserted (which may be range.location +
// range.length).
CFIndex CFArrayBSearchValues(CFArrayRef theArray, CFRange range, const void* value, CFComparatorFunction comparator,
                             void* context);

void CFArrayAppendValue(CFMutableArrayRef theArray, const void* value);
void CFArrayRemoveValueAtIndex(CFMutableArrayRef theArray, CFIndex idx);
// Stable sort of the range.
void CFArraySortValues(CFMutableArrayRef theArray, CFRange range, CFComparatorFunction comparator, void* context);

// ---------------------------------------------------------------------------
// Dictionaries

typedef const void* (*CFDictionaryRetainCallBack)(CFAllocatorRef allocator, const void* value);
typedef void (*CFDictionaryReleaseCallBack)(CFAllocatorRef allocator, const void* value);
typedef CFStringRef (*CFDictionaryCopyDescriptionCallBack)(const void* value);
typedef Boolean (*CFDictionaryEqualCallBack)(const void* value1, const void* value2);
typedef CFHashCode (*CFDictionaryHashCallBack)(const void* value);
struct CFDictionaryKeyCallBacks {
    CFIndex version;
    CFDictionaryRetainCallBack retain;
    CFDictionaryReleaseCallBack release;
    CFDictionaryCopyDescriptionCallBack copyDescription;
    CFDictionaryEqualCallBack equal;
    CFDictionaryHashCallBack hash;
};
struct CFDictionaryValueCallBacks {
    CFIndex version;
    CFDictionaryRetainCallBack retain;
    CFDictionaryReleaseCallBack release;
    CFDictionaryCopyDescriptionCallBack copyDescription;
    CFDictionaryEqualCallBack equal;
};
// Retain keys and values; keys compared with CFEqual and hashed with CFHash.
extern const CFDictionaryKeyCallBacks kCFTypeDictionaryKeyCallBacks;
extern const CFDictionaryKeyCallBacks kCFCopyStringDictionaryKeyCallBacks;
extern const CFDictionaryValueCallBacks kCFTypeDictionaryValueCallBacks;
typedef void (*CFDictionaryApplierFunction)(const void* key, const void* value, void* context);

// Callbacks nil: not retained, compared by identity.
CFDictionaryRef CFDictionaryCreate(CFAllocatorRef alloc, const void** keys, const void** values, CFIndex numValues,
                                   const CFDictionaryKeyCallBacks* keyCallBacks,
                                   const CFDictionaryValueCallBacks* valueCallBacks);
CFDictionaryRef CFDictionaryCreateCopy(CFAllocatorRef alloc, CFDictionaryRef theDict);
CFMutableDictionaryRef CFDictionaryCreateMutable(CFAllocatorRef alloc, CFIndex capacity,
                                                 const CFDictionaryKeyCallBacks* keyCallBacks,
                                                 const CFDictionaryValueCallBacks* valueCallBacks);
CFMutableDictionaryRef CFDictionaryCreateMutableCopy(CFAllocatorRef alloc, CFIndex capacity, CFDictionaryRef theDict);

CFIndex CFDictionaryGetCount(CFDictionaryRef theDict);
const void* CFDictionaryGetValue(CFDictionaryRef theDict, const void* key);
Boolean CFDictionaryGetValueIfPresent(CFDictionaryRef theDict, const void* key, const void** value);
Boolean CFDictionaryContainsKey(CFDictionaryRef theDict, const void* key);
// Keys and values in enumeration (insertion) order; either may be nil.
void CFDictionaryGetKeysAndValues(CFDictionaryRef theDict, const void** keys, const void** values);
void CFDictionaryApplyFunction(CFDictionaryRef theDict, CFDictionaryApplierFunction applier, void* context);

void CFDictionaryAddValue(CFMutableDictionaryRef theDict, const void* key, const void* value);      // only if absent
void CFDictionarySetValue(CFMutableDictionaryRef theDict, const void* key, const void* value);      // add or replace
void CFDictionaryRemoveValue(CFMutableDictionaryRef theDict, const void* key);

// ---------------------------------------------------------------------------
// Property lists

typedef CFOptionFlags CFPropertyListMutabilityOptions;
enum : CFOptionFlags {
    kCFPropertyListImmutable = 0,
    kCFPropertyListMutableContainers = 1,
    kCFPropertyListMutableContainersAndLeaves = 2,
};

// A copy of the whole tree; containers (and with MutableContainersAndLeaves
// strings and data too) are mutable as asked. nil if the tree holds an
// object that is not a property-list value.
CFPropertyListRef CFPropertyListCreateDeepCopy(CFAllocatorRef alloc, CFPropertyListRef propertyList,
                                               CFOptionFlags mutabilityOption);
