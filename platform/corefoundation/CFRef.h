// CFRef<T>: the one owner of a CoreFoundation reference, patterned after
// std::unique_ptr. By default it takes over the caller's ownership claim
// (the result of a "Create" or "Copy" call); CFRef<T>::Retain() retains a
// borrowed ("Get") result instead. release() hands the claim back out.
#pragma once

#include <utility>

#include "platform/corefoundation/CoreFoundation.h"

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

    // The slot to pass as an out-parameter of a "Create"/"Copy" call: it is
    // emptied first, so it holds nil on entry as the calls require.
    T* out() noexcept {
        reset();
        return &ref_;
    }

private:
    T ref_ = nullptr;
};
