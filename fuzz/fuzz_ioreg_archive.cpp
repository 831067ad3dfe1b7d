// libFuzzer target: the reader of IORegistryExplorer save files, keyed
// archives in the binary property-list format (UIDs included). Every input
// is read as a binary file.
#include <cstddef>
#include <cstdint>

#include "FuzzRegistry.h"
#include "platform/corefoundation/BinaryPropertyList.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string bytes("bplist00");
    if (size >= 8 && std::string(reinterpret_cast<const char*>(data), 8) == bytes) bytes.clear();
    bytes.append(reinterpret_cast<const char*>(data), size);
    std::string fault;
    CFRef<CFPropertyListRef> archive(BinaryPropertyListCreate(bytes, &fault, true));
    if (!archive) return 0;
    if (CFGetTypeID(archive.get()) != CFDictionaryGetTypeID()) return 0;
    CheckRegistry(IORegistryCreateFromArchive(static_cast<CFDictionaryRef>(archive.get()), &fault), fault);
    return 0;
}
