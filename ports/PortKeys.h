// Keys and values shared by the port scanner's files.
#pragma once

#include "platform/corefoundation/CoreFoundation.h"
#include "platform/coreservices/MoreAssert.h"
#include "plist/MoreCFQ.h"

// The scanner's own failure: a port that cannot be described or named.
constexpr OSStatus kPortScannerErr = -1;

#define kPortSortOrderKey CFSTR("SortOrder")

// Writes a port's "SortOrder". A failed write is reported and ignored: the
// port then sorts with the value it had.
inline void SetSortOrder(CFMutableDictionaryRef interfaceInfo, SInt32 sortOrder) {
    OSStatus junk = CFQDictionarySetNumber(interfaceInfo, kPortSortOrderKey, sortOrder);
    MoreAssertQ(junk == 0);
}
