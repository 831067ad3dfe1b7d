// The object runtime beneath CoreFoundation.h: every object starts with
// this base, which carries its reference count and type. Types defined
// outside the property-list model (the preferences store, for one) derive
// from it too, so that CFRetain, CFRelease, CFGetTypeID and CFEqual work on
// them.
#pragma once

#include "platform/corefoundation/CoreFoundation.h"

struct __CFRuntimeBase {
    explicit __CFRuntimeBase(CFTypeID typeID) : typeID_(static_cast<UInt32>(typeID)) {}
    virtual ~__CFRuntimeBase() = default;
    __CFRuntimeBase(const __CFRuntimeBase&) = delete;
    __CFRuntimeBase& operator=(const __CFRuntimeBase&) = delete;

    // Value equality with another object of the same type ID.
    virtual bool equal(const __CFRuntimeBase* other) const { return this == other; }
    virtual CFHashCode hash() const { return reinterpret_cast<CFHashCode>(this); }
    // An owned description string (see CFCopyDescription).
    virtual CFStringRef copyDescription() const;

    // Kept small: every value of a store carries this header. Types derived
    // from it may place their own small fields in its tail padding.
    UInt32 typeID_;
    SInt32 retainCount_ = 1;
    bool immortal_ = false;  // constants: retain and release do nothing
};

// Hands out a fresh type ID for a type defined outside this runtime.
CFTypeID _CFRuntimeRegisterClass(const char* className);

// The runtime base of an object, or nil.
inline const __CFRuntimeBase* _CFRuntimeBase(CFTypeRef cf) { return static_cast<const __CFRuntimeBase*>(cf); }
