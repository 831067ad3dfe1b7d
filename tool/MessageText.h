// Text of property-list values for the fixed-size fields of the tool's
// messages.
#pragma once

#include "platform/corefoundation/CoreFoundation.h"

// Copies the text of value into buffer (bufferSize bytes, NUL included) in
// the given encoding. When the whole text does not fit, or cannot be
// represented in the encoding, the longest leading part that can is copied
// instead. A value that is not a string gives its description.
void GetCStringCut(CFTypeRef value, char* buffer, CFIndex bufferSize, CFStringEncoding encoding);
