// make_large_registry_dump TEXT XML BYTES: writes a registry dump of about
// BYTES in the text of "ioreg -lw0" to TEXT, and the same registry as
// "ioreg -a" writes it to XML, for timing the port listing on a real Mac's
// size.
#include <cstdio>
#include <cstdlib>

#include "LargeRegistryDump.h"

int main(int argc, char** argv) {
    long bytes = argc == 4 ? std::atol(argv[3]) : 0;
    if (bytes <= 0) {
        std::fprintf(stderr, "usage: make_large_registry_dump TEXT XML BYTES\n");
        return 2;
    }
    large_registry_dump::Write(argv[1], bytes);
    return large_registry_dump::WritePropertyListForm(argv[1], argv[2]) > 0 ? 0 : 1;
}
