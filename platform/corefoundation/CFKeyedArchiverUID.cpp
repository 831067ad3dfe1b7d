#include "platform/corefoundation/CFKeyedArchiverUID.h"

#include <string>

#include "platform/corefoundation/CFObjectsInternal.h"

struct __CFKeyedArchiverUID : __CFRuntimeBase {
    explicit __CFKeyedArchiverUID(uint32_t value) : __CFRuntimeBase(_CFKeyedArchiverUIDGetTypeID()), value_(value) {}

    bool equal(const __CFRuntimeBase* other) const override {
        return value_ == static_cast<const __CFKeyedArchiverUID*>(other)->value_;
    }
    CFHashCode hash() const override { return value_; }
    CFStringRef copyDescription() const override {
        return cfrt::MakeString("<CFKeyedArchiverUID>{value = " + std::to_string(value_) + "}");
    }

    uint32_t value_;
};

CFTypeID _CFKeyedArchiverUIDGetTypeID(void) {
    static const CFTypeID typeID = _CFRuntimeRegisterClass("CFKeyedArchiverUID");
    return typeID;
}

CFKeyedArchiverUIDRef _CFKeyedArchiverUIDCreate(CFAllocatorRef, uint32_t value) {
    return new __CFKeyedArchiverUID(value);
}

uint32_t _CFKeyedArchiverUIDGetValue(CFKeyedArchiverUIDRef uid) {
    return static_cast<const __CFKeyedArchiverUID*>(
               cfrt::CheckedObject(uid, _CFKeyedArchiverUIDGetTypeID(), "_CFKeyedArchiverUIDGetValue"))
        ->value_;
}
