// Making memory present before it is written.
#pragma once

#include <cstddef>

// Asks the system to back the whole pages of [data, data + size) with
// memory now, in one call, rather than one page fault at a time as they are
// first written; on a virtual machine each fault can cost as much as
// copying the page many times over. Only a hint: where the system cannot
// do it, the pages are faulted in as usual. The contents do not change.
void PrefaultPages(void* data, std::size_t size);
