#include "plist/MoreCFQ.h"

// Retain and release that accept nil, so that clean-up code can release
// whatever a failed step left without testing it first.

CFTypeRef CFQRetain(CFTypeRef cf) {
    if (cf != nil) CFRetain(cf);
    return cf;
}

void CFQRelease(CFTypeRef cf) {
    if (cf != nil) CFRelease(cf);
}
