#include "platform/posix/MemoryPages.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>

#ifndef MADV_POPULATE_WRITE
#define MADV_POPULATE_WRITE 23  // Linux 5.14 and later
#endif

void PrefaultPages(void* data, std::size_t size) {
    static const std::uintptr_t kPage = static_cast<std::uintptr_t>(::sysconf(_SC_PAGESIZE));
    std::uintptr_t start = reinterpret_cast<std::uintptr_t>(data);
    std::uintptr_t from = (start + kPage - 1) & ~(kPage - 1);
    std::uintptr_t to = (start + size) & ~(kPage - 1);
    // A system without the advice refuses it, and the pages fault in later.
    if (to > from) ::madvise(reinterpret_cast<void*>(from), to - from, MADV_POPULATE_WRITE);
}
