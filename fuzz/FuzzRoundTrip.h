// What both fuzz targets check of one input: reading never crashes, hangs
// or leaks, and a tree that was read, written and read again is the same
// tree.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>

#include "platform/corefoundation/CFRef.h"
#include "platform/corefoundation/PropertyListFile.h"

inline void CheckRoundTrip(const std::string& bytes) {
    PropertyListFormat format = PropertyListFormat::XML;
    std::string fault;
    CFRef<CFMutableDictionaryRef> tree(PropertyListCreateFromFileBytes(bytes, &format, &fault));
    if (!tree) {
        if (fault.empty()) {
            std::fputs("a refused input has no fault\n", stderr);
            std::abort();
        }
        return;
    }
    std::string written;
    // XML cannot carry every string; such a tree is refused, not written.
    if (!PropertyListEncodeFileBytes(tree.get(), format, &written, &fault)) return;
    PropertyListFormat again = format;
    CFRef<CFMutableDictionaryRef> reread(PropertyListCreateFromFileBytes(written, &again, &fault));
    if (!reread || again != format || !CFEqual(tree.get(), reread.get())) {
        std::fprintf(stderr, "the tree changed on a round trip: %s\n", fault.c_str());
        std::abort();
    }
}
