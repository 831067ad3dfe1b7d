// libFuzzer target: the XML property-list reader (and writer, by round trip).
#include <cstddef>
#include <cstdint>

#include "FuzzRoundTrip.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    // Inputs that start like a binary file belong to the other target.
    std::string bytes(reinterpret_cast<const char*>(data), size);
    if (bytes.rfind("bplist00", 0) == 0) return 0;
    CheckRoundTrip(bytes);
    return 0;
}
