#include "tool/MessageText.h"

#include <algorithm>

#include "platform/corefoundation/CFRef.h"

void GetCStringCut(CFTypeRef value, char* buffer, CFIndex bufferSize, CFStringEncoding encoding) {
    if (bufferSize <= 0) return;
    buffer[0] = '\0';
    if (value == nil) return;

    // A value that is not a string is named by its description.
    CFRef<CFStringRef> text = CFGetTypeID(value) == CFStringGetTypeID()
                                  ? CFRef<CFStringRef>::Retain(static_cast<CFStringRef>(value))
                                  : CFRef<CFStringRef>(CFCopyDescription(value));
    if (!text) return;
    if (CFStringGetCString(text.get(), buffer, bufferSize, encoding)) return;

    // Every UTF-16 unit takes at least one byte in the encodings used here,
    // so no leading part longer than bufferSize - 1 units can fit; try the
    // longest candidates first and stop at the first that converts.
    CFIndex length = std::min(CFStringGetLength(text.get()), bufferSize - 1);
    for (; length > 0; --length) {
        CFRef<CFStringRef> head(CFStringCreateWithSubstring(kCFAllocatorDefault, text.get(), CFRangeMake(0, length)));
        if (head && CFStringGetCString(head.get(), buffer, bufferSize, encoding)) return;
    }
    buffer[0] = '\0';
}
