#include "platform/coreservices/DebugStr.h"

#include <string>
#include <unistd.h>

#include "platform/coreservices/MoreAssert.h"

namespace {

// One write per report, so that reports from several processes sharing a
// terminal never interleave within a line.
void WriteLine(const char* text, std::size_t length) {
    std::string line(text, length);
    line.push_back('\n');
    const char* p = line.data();
    std::size_t left = line.size();
    while (left > 0) {
        ssize_t written = ::write(STDERR_FILENO, p, left);
        if (written <= 0) return;
        p += written;
        left -= static_cast<std::size_t>(written);
    }
}

}  // namespace

void DebugStr(ConstStr255Param debuggerMsg) {
    if (debuggerMsg == nullptr) return;
    WriteLine(reinterpret_cast<const char*>(debuggerMsg + 1), debuggerMsg[0]);
}

void MoreAssertReport(const char* text) {
    std::string message(text);
    if (message.size() > 255) {
        WriteLine(message.data(), message.size());
        return;
    }
    Str255 pascal;
    pascal[0] = static_cast<unsigned char>(message.size());
    message.copy(reinterpret_cast<char*>(pascal + 1), message.size());
    DebugStr(pascal);
}
