// Prints the ID and name of the current set of the store under
// TARNWICK_ROOT, through the installed library.
#include <cstdio>

#include "MoreSC.h"

int main() {
    CFRef<CFStringRef> setID;
    CFRef<CFStringRef> name;
    OSStatus err = MoreSCCopyCurrentSet(setID.out());
    if (err == noErr) err = MoreSCCopyUserVisibleNameOfSet(setID.get(), name.out());
    if (err != noErr) {
        std::printf("status %d\n", static_cast<int>(err));
        return 1;
    }
    char idText[256];
    char nameText[256];
    CFStringGetCString(setID.get(), idText, sizeof idText, kCFStringEncodingUTF8);
    CFStringGetCString(name.get(), nameText, sizeof nameText, kCFStringEncodingUTF8);
    std::printf("%s %s\n", idText, nameText);
    return 0;
}
