#include "moresc/Values.h"

bool IsType(CFTypeRef value, CFTypeID type) { return value != nil && CFGetTypeID(value) == type; }

bool SameValue(CFTypeRef one, CFTypeRef other) {
    return one == nil || other == nil ? one == other : CFEqual(one, other);
}

std::string TypeName(CFTypeRef value) {
    if (value == nil) return "nothing";
    CFTypeID type = CFGetTypeID(value);
    if (type == CFStringGetTypeID()) return "a string";
    if (type == CFNumberGetTypeID()) return "a number";
    if (type == CFBooleanGetTypeID()) return "a boolean";
    if (type == CFDataGetTypeID()) return "data";
    if (type == CFArrayGetTypeID()) return "an array";
    if (type == CFDictionaryGetTypeID()) return "a dictionary";
    return "a value of another kind";
}
