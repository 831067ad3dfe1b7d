// Typed access to property-list values, for the library's own code: a
// value is taken as a string, number, boolean, data, array or dictionary
// only after its type has been checked, so that a store holding a value of
// an unexpected type is read as if the value were absent instead of being
// handed to a function made for another type. Results are borrowed.
#pragma once

#include "platform/corefoundation/CoreFoundation.h"

// The type ID of each property-list reference type. Mutable types have no
// entry: nothing in a value tells whether it may be changed.
template <class T>
struct CFQTypeTraits;
template <>
struct CFQTypeTraits<CFStringRef> {
    static CFTypeID TypeID() { return CFStringGetTypeID(); }
};
template <>
struct CFQTypeTraits<CFNumberRef> {
    static CFTypeID TypeID() { return CFNumberGetTypeID(); }
};
template <>
struct CFQTypeTraits<CFBooleanRef> {
    static CFTypeID TypeID() { return CFBooleanGetTypeID(); }
};
template <>
struct CFQTypeTraits<CFDataRef> {
    static CFTypeID TypeID() { return CFDataGetTypeID(); }
};
template <>
struct CFQTypeTraits<CFArrayRef> {
    static CFTypeID TypeID() { return CFArrayGetTypeID(); }
};
template <>
struct CFQTypeTraits<CFDictionaryRef> {
    static CFTypeID TypeID() { return CFDictionaryGetTypeID(); }
};

// value as a T, or nil when value is nil or of another type.
template <class T>
T CFQCast(CFTypeRef value) {
    if (value == nil || CFGetTypeID(value) != CFQTypeTraits<T>::TypeID()) return nil;
    return static_cast<T>(value);
}

// The value under key in dict as a T, or nil when it is missing or of
// another type.
template <class T>
T CFQGetTyped(CFDictionaryRef dict, const void* key) {
    return CFQCast<T>(CFDictionaryGetValue(dict, key));
}
