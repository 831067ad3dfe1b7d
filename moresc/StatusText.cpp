#include "moresc/StatusText.h"

#include <iterator>

namespace {

struct StatusEntry {
    OSStatus code;
    const char* name;
    const char* meaning;
};

const StatusEntry kStatuses[] = {
#define MORESC_STATUS(code, name, meaning) {code, name, meaning},
#include "moresc/StatusTable.def"
#undef MORESC_STATUS
};

}  // namespace

std::string DescribeStatus(OSStatus status) {
    std::string text = std::to_string(status);
    for (const StatusEntry& entry : kStatuses) {
        if (entry.code != status) continue;
        if (entry.name[0] != '\0') text += std::string(" (") + entry.name + ")";
        return text + ": " + entry.meaning;
    }
    return text + ": unknown status";
}
