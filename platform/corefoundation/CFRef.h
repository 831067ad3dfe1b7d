// CFRef<T>: the one owner of a CoreFoundation reference, patterned after
// std::unique_ptr. By default it takes over the caller's ownership claim
// (the result of a "Create" or "Copy" call); CFRef<T>::Retain() retains a
// borrowed ("Get") result instead. release() hands the claim back out.
//
// A holder of a mutable type moves into a holder of its immutable type
// (CFRef<CFMutableDictionaryRef> into CFRef<CFDictionaryRef>), and any
// holder into CFRef<CFTypeRef>: the same conversions the plain references
// allow. The other direction does not compile.
#pragma once

#include <concepts>
#include <cstddef>
#include <utility>

#include "platform/corefoundation/CoreFoundation.h"

namespace cfref {

// Reports a misuse of a holder on standard error, in the form of the
// object runtime's own misuse reports, and ends the process.
[[noreturn]] void Misuse(const char* what);

}  // namespace cfref

template <class T>
class CFRef {
public:
    CFRef() noexcept = default;
    explicit CFRef(T ref) noexcept : ref_(ref) {}
    CFRef(std::nullptr_t) noexcept {}

    // Holds a borrowed reference: retains it.
    [[nodiscard]] static CFRef Retain(T ref) noexcept {
        if (ref != nullptr) CFRetain(ref);
        return CFRef(ref);
    }

    CFRef(const CFRef&) = delete;
    CFRef& operator=(const CFRef&) = delete;
    CFRef(CFRef&& other) noexcept : ref_(other.release()) {}
    CFRef& operator=(CFRef&& other) noexcept {
        if (this != &other) reset(other.release());
        return *this;
    }

    // Takes over a holder whose reference converts to T.
    template <class U>
        requires(!std::same_as<U, T> && std::convertible_to<U, T>)
    CFRef(CFRef<U>&& other) noexcept : ref_(other.release()) {}
    template <class U>
        requires(!std::same_as<U, T> && std::convertible_to<U, T>)
    CFRef& operator=(CFRef<U>&& other) noexcept {
        reset(other.release());
        return *this;
    }

    ~CFRef() { reset(); }

    T get() const noexcept { return ref_; }
    explicit operator bool() const noexcept { return ref_ != nullptr; }

    // Gives up ownership without releasing; the caller now owns the result.
    [[nodiscard]] T release() noexcept { return std::exchange(ref_, nullptr); }

    // Releases what it holds and takes over ref (already owned by the caller).
    void reset(T ref = nullptr) noexcept {
        T old = std::exchange(ref_, ref);
        if (old != nullptr) CFRelease(old);
    }

    // The slot to pass as an out-parameter of a "Create"/"Copy" call, which
    // requires it to hold nil on entry. Handing out a slot that still holds
    // a reference would lose the reference or hide a second fill of the same
    // holder, so it is a misuse that ends the process; reset() first when
    // the holder is meant to be refilled.
    T* out() noexcept {
        if (ref_ != nullptr) cfref::Misuse("CFRef::out() called on a holder that still holds a reference");
        return &ref_;
    }

private:
    T ref_ = nullptr;
};
