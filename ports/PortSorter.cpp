#include "ports/PortSorter.h"

#include "platform/coreservices/MoreAssert.h"
#include "platform/systemconfiguration/SCSchemaDefinitions.h"
#include "ports/PortKeys.h"

namespace {

bool IsDictionary(CFTypeRef value) { return value != nil && CFGetTypeID(value) == CFDictionaryGetTypeID(); }

// The port's name, or nil when it has none.
CFStringRef NameOf(CFDictionaryRef portDict) {
    const void* name = IsDictionary(portDict) ? CFDictionaryGetValue(portDict, kSCPropUserDefinedName) : nil;
    return (name != nil && CFGetTypeID(name) == CFStringGetTypeID()) ? static_cast<CFStringRef>(name) : nil;
}

}  // namespace

SInt32 SortOrder(CFDictionaryRef portDict) {
    MoreAssertQ(portDict != nil);

    long sortOrder = 100;
    const void* value = IsDictionary(portDict) ? CFDictionaryGetValue(portDict, kPortSortOrderKey) : nil;
    if (value != nil && CFGetTypeID(value) == CFNumberGetTypeID()) {
        CFNumberGetValue(static_cast<CFNumberRef>(value), kCFNumberLongType, &sortOrder);
    }
    return static_cast<SInt32>(sortOrder);
}

CFComparisonResult PortSorter(const void* lhs, const void* rhs, void* /*context*/) {
    MoreAssertQ(lhs != nil);
    MoreAssertQ(rhs != nil);
    CFDictionaryRef lhsDict = static_cast<CFDictionaryRef>(lhs);
    CFDictionaryRef rhsDict = static_cast<CFDictionaryRef>(rhs);
    if (lhsDict != nil) MoreAssertQ(CFGetTypeID(lhsDict) == CFDictionaryGetTypeID());
    if (rhsDict != nil) MoreAssertQ(CFGetTypeID(rhsDict) == CFDictionaryGetTypeID());

    SInt32 lhsOrder = SortOrder(lhsDict);
    SInt32 rhsOrder = SortOrder(rhsDict);
    if (lhsOrder != rhsOrder) return (lhsOrder < rhsOrder) ? kCFCompareLessThan : kCFCompareGreaterThan;

    // Equal kinds go by name; a port without a name goes after those with one.
    CFStringRef lhsName = NameOf(lhsDict);
    CFStringRef rhsName = NameOf(rhsDict);
    if (lhsName == nil || rhsName == nil) {
        if (lhsName == rhsName) return kCFCompareEqualTo;
        return (lhsName == nil) ? kCFCompareGreaterThan : kCFCompareLessThan;
    }
    return CFStringCompare(lhsName, rhsName, kCFCompareLocalized);
}
