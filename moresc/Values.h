// Checks on property-list values that come from files (a profile, an
// entity), whose types moresc cannot take for granted.
#pragma once

#include <string>

#include "MoreSC.h"

// Whether value is there and of the given type.
bool IsType(CFTypeRef value, CFTypeID type);

// Both nil, or equal.
bool SameValue(CFTypeRef one, CFTypeRef other);

// "a string", "an array", "a dictionary", ... ("nothing" for nil), for
// messages about a value of the wrong type.
std::string TypeName(CFTypeRef value);
