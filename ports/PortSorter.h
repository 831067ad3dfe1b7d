// The order of port dictionaries, internal to the port scanner.
#pragma once

#include "platform/corefoundation/CoreFoundation.h"

// Compares two port dictionaries: by "SortOrder", smaller first, then by
// "UserDefinedName" in the localised order. A CFComparatorFunction;
// context is not used.
CFComparisonResult PortSorter(const void* lhs, const void* rhs, void* context);

// A port dictionary's "SortOrder"; 100 (after every kind of port) when it
// has none.
SInt32 SortOrder(CFDictionaryRef portDict);
