// What both registry-dump fuzz targets check of one registry: reading
// never crashes, hangs or leaks, a refusal says why, and a registry that
// was read is one tree whose every entry can be matched and named.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include "platform/iokit/IORegistry.h"

inline void Check(bool holds, const char* what) {
    if (holds) return;
    std::fprintf(stderr, "%s\n", what);
    std::abort();
}

inline void CheckRegistry(const std::shared_ptr<IORegistry>& registry, const std::string& fault) {
    if (!registry) {
        Check(!fault.empty(), "a refused dump has no fault");
        return;
    }
    IORegistryNotes notes;
    registry->Finish(&notes);
    Check(registry->size() > 0 && registry->entry(0).parent == IORegistry::kNoParent, "a registry without its root");
    Check(registry->DepthFirstOrder().size() == registry->size(), "an entry out of the tree");
    for (std::size_t index = 1; index < registry->size(); ++index) {
        const IORegistryEntry& entry = registry->entry(index);
        Check(entry.parent < index, "an entry before its parent");
        bool port = registry->ConformsTo(index, "IOEthernetInterface") || registry->ConformsTo(index, "IOSerialBSDClient");
        Check(!port || !entry.matchable || entry.properties, "a port without properties");
        Check(registry->PathOf(index).compare(0, 11, "IOService:/") == 0, "a path outside the plane");
    }
}
