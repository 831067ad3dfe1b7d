// libplist_peer FILE [RUNS]: times one in-process libplist parse of FILE
// (XML) plus one write of it back to XML, the best of RUNS (default 5),
// and prints the milliseconds. The comparison point for one "Tarnwick -e";
// built only where libplist is installed.
#include <plist/plist.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: libplist_peer FILE [RUNS]\n");
        return 2;
    }
    std::ifstream in(argv[1], std::ios::binary);
    std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    int runs = argc > 2 ? std::atoi(argv[2]) : 5;
    double best = 1e30;
    for (int run = 0; run < runs; ++run) {
        auto start = std::chrono::steady_clock::now();
        plist_t root = nullptr;
        plist_from_xml(bytes.data(), static_cast<uint32_t>(bytes.size()), &root);
        if (root == nullptr) {
            std::fprintf(stderr, "libplist_peer: %s is not an XML property list\n", argv[1]);
            return 1;
        }
        char* xml = nullptr;
        uint32_t length = 0;
        plist_to_xml(root, &xml, &length);
        std::FILE* out = std::fopen((std::string(argv[1]) + ".libplist").c_str(), "wb");
        if (out != nullptr) {
            std::fwrite(xml, 1, length, out);
            std::fclose(out);
        }
        plist_to_xml_free(xml);
        plist_free(root);
        double ms = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
        if (ms < best) best = ms;
    }
    std::remove((std::string(argv[1]) + ".libplist").c_str());
    std::printf("%.1f\n", best);
    return 0;
}
