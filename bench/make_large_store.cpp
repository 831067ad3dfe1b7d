// make_large_store ROOT COUNT: writes a preferences store of COUNT services
// under the root directory ROOT, for timing the tool on large stores.
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "LargeStore.h"

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: make_large_store ROOT COUNT\n");
        return 2;
    }
    int count = std::atoi(argv[2]);
    if (count < 0) {
        std::fprintf(stderr, "make_large_store: COUNT must not be negative\n");
        return 2;
    }
    std::filesystem::path folder = std::filesystem::path(argv[1]) / "Library/Preferences/SystemConfiguration";
    std::filesystem::create_directories(folder);
    std::ofstream out(folder / "preferences.plist", std::ios::binary);
    out << LargeStoreXML(count);
    return out ? 0 : 1;
}
