// Installs a SystemVersion.plist naming the given version under a TempRoot.
#pragma once

#include <string>

#include "support/TempRoot.h"

inline void InstallSystemVersion(const TempRoot& root, const std::string& productVersion) {
    root.write("/System/Library/CoreServices/SystemVersion.plist",
               "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
               "<plist version=\"1.0\">\n<dict>\n"
               "\t<key>ProductName</key>\n\t<string>Mac OS X</string>\n"
               "\t<key>ProductVersion</key>\n\t<string>" +
                   productVersion + "</string>\n</dict>\n</plist>\n");
}
