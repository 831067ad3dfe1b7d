// libFuzzer target: the reader of registry dumps in the text of "ioreg -l".
#include <cstddef>
#include <cstdint>

#include "FuzzRegistry.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string text(reinterpret_cast<const char*>(data), size);
    std::string fault;
    IORegistryNotes notes;
    CheckRegistry(IORegistryCreateFromText(text, &fault, &notes), fault);
    return 0;
}
