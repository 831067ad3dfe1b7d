#include <cstdio>

#include "platform/systemconfiguration/SCSchemaDefinitions.h"
#include "tool/MessageText.h"
#include "tool/PACCommands.h"
#include "tool/ProxiesValues.h"
#include "tool/ServiceWalk.h"

namespace {

// "None" means the key is missing, "N/A" that it is there but unusable.
void PrintEnable(CFDictionaryRef proxies, const char* label) {
    SInt32 enable = 0;
    switch (ReadFlag(proxies, kSCPropNetProxiesProxyAutoConfigEnable, &enable)) {
        case FlagReading::kAbsent: std::printf("PACEnable : None - %s\n", label); break;
        case FlagReading::kExact: std::printf("PACEnable : %d - %s\n", static_cast<int>(enable), label); break;
        case FlagReading::kUnreadable: std::printf("PACEnable : N/A - %s\n", label); break;
    }
}

void PrintURL(CFDictionaryRef proxies, const char* label) {
    CFStringRef url = nil;
    switch (ReadText(proxies, kSCPropNetProxiesProxyAutoConfigURLString, &url)) {
        case TextReading::kAbsent: std::printf("PACURL : None - %s\n", label); break;
        case TextReading::kEmpty: std::printf("PACURL : N/A - %s\n", label); break;
        case TextReading::kText: {
            // A URL longer than the field, or with characters outside ASCII,
            // is shown cut to its longest leading part that fits.
            char text[255];
            GetCStringCut(url, text, sizeof(text), kCFStringEncodingASCII);
            std::printf("PACURL : %s - %s\n", text, label);
            break;
        }
    }
}

}  // namespace

void PrintCurrentPAC(void) {
    WalkActiveProxies([](CFDictionaryRef proxies, const ServiceLabel& label) {
        PrintEnable(proxies, label.c_str());
        PrintURL(proxies, label.c_str());
    });
}
