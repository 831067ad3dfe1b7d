// Temporary buffers of object pointers, taken from malloc and handed back
// to free on every path out of the function that uses them.
#pragma once

#include <cstdlib>
#include <memory>

#include "platform/corefoundation/CoreFoundation.h"

struct FreeDeleter {
    void operator()(void* p) const noexcept { std::free(p); }
};

using PointerBuffer = std::unique_ptr<const void*[], FreeDeleter>;

// A buffer of count pointers, or an empty holder when malloc fails. An empty
// request still gets one slot, so that nil always means "out of memory".
inline PointerBuffer AllocatePointerBuffer(CFIndex count) {
    std::size_t slots = count > 0 ? static_cast<std::size_t>(count) : 1;
    return PointerBuffer(static_cast<const void**>(std::malloc(slots * sizeof(const void*))));
}
