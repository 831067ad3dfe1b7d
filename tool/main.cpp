// Tarnwick: switches the web-proxy settings of the network services of the
// current location between proxy auto-configuration (PAC) and a manual
// HTTP proxy.
//
//   Tarnwick [ -defpu ] [ url ]
//
// The exit status is always 0; the outcome is in the lines printed.

#include <cstdio>
#include <cstring>

#include "platform/corefoundation/CFRef.h"
#include "tool/PACCommands.h"

namespace {

// The usage text, written in its twelve pieces. The -f and -u lines say
// "enable HTTP Proxy" although both switch it off; the text has always read
// so and is kept as it is.
void DumpUsage() {
    std::fprintf(stderr, "Tarnwick 1.0 - Utility for PAC on SystemConfiguration.\n\n");
    std::fprintf(stderr, "Usage : Tarnwick [ -defpu ] [ url ]\n\n");
    std::fprintf(stderr, "   The options are as follows:\n\n");
    std::fprintf(stderr, "   -d   disable PAC, and enable HTTP Proxy.\n");
    std::fprintf(stderr, "   -e   enable PAC, and disable HTTP Proxy.\n");
    std::fprintf(stderr, "   -p   print PAC settings.\n");
    std::fprintf(stderr, "   -f   force PAC URL with url specified in arguments,\n");
    std::fprintf(stderr, "        enable PAC, and enable HTTP Proxy.\n");
    std::fprintf(stderr, "   -u   update PAC URL with url specified in arguments,\n");
    std::fprintf(stderr, "        enable PAC, and enable HTTP Proxy.\n");
    std::fprintf(stderr, "        If the different file url already exists,\n");
    std::fprintf(stderr, "        dont replace it.\n");
}

// -f and -u: the HTTP proxy is switched off (and saved) first, then the URL
// command runs in a session of its own. A URL that is not ASCII cannot be
// stored; the tool then shows the usage text and changes nothing more.
void RunURLCommand(const char* urlArgument, void (*command)(CFStringRef url)) {
    SetEnabledProxy(0);
    CFRef<CFStringRef> url(CFStringCreateWithCString(kCFAllocatorDefault, urlArgument, kCFStringEncodingASCII));
    if (url) {
        command(url.get());
    } else {
        DumpUsage();
    }
}

}  // namespace

int main(int argc, char* argv[]) {
    // Bad usage before any option is recognised leaves standard output alone.
    if (argc == 1) {
        DumpUsage();
        return 0;
    }
    const char* option = argv[1];
    if (option[0] != '-' || std::strlen(option) != 2) {
        DumpUsage();
        return 0;
    }

    switch (option[1]) {
        case 'd':
            SetEnabledProxy(1);
            SetEnabledPAC(0);
            break;
        case 'e':
            SetEnabledProxy(0);
            SetEnabledPAC(1);
            break;
        case 'p':
            PrintCurrentPAC();
            break;
        case 'f':
            if (argc == 3) RunURLCommand(argv[2], SetCurrentPAC);
            else DumpUsage();
            break;
        case 'u':
            if (argc == 3) RunURLCommand(argv[2], UpdateCurrentPAC);
            else DumpUsage();
            break;
        default:
            DumpUsage();
            break;
    }
    std::fflush(stdout);
    return 0;
}
