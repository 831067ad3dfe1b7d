// libFuzzer target: the binary property-list reader (and writer, by round
// trip). Every input is read as a binary file.
#include <cstddef>
#include <cstdint>

#include "FuzzRoundTrip.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string bytes("bplist00");
    if (size >= 8 && std::string(reinterpret_cast<const char*>(data), 8) == bytes) bytes.clear();
    bytes.append(reinterpret_cast<const char*>(data), size);
    CheckRoundTrip(bytes);
    return 0;
}
