#include "platform/posix/RootPath.h"

#include <cstdlib>

std::string TarnwickRoot() {
    const char* value = std::getenv("TARNWICK_ROOT");
    std::string root = (value == nullptr || *value == '\0') ? "/" : value;
    while (!root.empty() && root.back() == '/') root.pop_back();
    return root;
}

std::string TarnwickRootPath(const std::string& macPath) {
    if (macPath.empty() || macPath.front() != '/') return TarnwickRoot() + "/" + macPath;
    return TarnwickRoot() + macPath;
}
