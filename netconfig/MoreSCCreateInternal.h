// The steps from which new and duplicated sets and services are made: new
// IDs, copies of services, links, and entities built from digests.
// Internal to the layer. All but LargestNumericKey need an open session.
// Out-slots must hold nil on entry; on success they hold a string the
// caller owns, on failure they stay nil.
#pragma once

#include "platform/corefoundation/CoreFoundation.h"

// Dictionary applier over the keys of a parent of sets or services; context
// points at an SInt32 running maximum. A key counts when it is a string of
// at most 15 ASCII characters that starts with a decimal digit and parses
// whole as a signed 32-bit decimal number; a count greater than the running
// maximum replaces it. Every other key is passed over.
void LargestNumericKey(const void* key, const void* value, void* context);

// Hands out new IDs under one root key ("Sets" or "NetworkServices"). The
// first ID is one more than the largest numeric key there (see
// LargestNumericKey), counted from -2147483648, so a parent without numeric
// keys gives -2147483647. The parent is scanned once per allocator: later
// IDs follow the last one handed out, which is what a fresh scan would give
// as long as nothing else adds keys under the parent in between. An ID
// that is already a key of the parent (only the negative IDs of a parent
// without numeric keys can be) is stepped over, so nothing is overwritten.
class SeIDAllocator {
public:
    explicit SeIDAllocator(CFStringRef parentKey) : parentKey_(parentKey) {}

    // Reserves the next ID by storing an empty dictionary at
    // /<parent key>/<ID>; *newSeID receives the ID and *newSePath the path.
    // A parent that does not exist yet counts as empty (the store creates
    // it with the first reservation). Fails, leaving both slots nil, when
    // the parent cannot be read, is not a dictionary, holds "__LINK__", has
    // the key 2147483647, or the store refuses the reservation: the status
    // is the store's, or 1001; -4960 when a path cannot be made.
    OSStatus Allocate(CFStringRef* newSeID, CFStringRef* newSePath);

private:
    CFStringRef parentKey_;
    bool scanned_ = false;
    SInt32 largest_ = 0;
};

// One allocation with a fresh allocator: the largest numeric key under
// parentKey plus one, reserved in the store.
OSStatus MakeNewSeAndCopyIDAndPath(CFStringRef parentKey, CFStringRef* newSeID, CFStringRef* newSePath);

// Copies the service stored as /NetworkServices/<serviceID> (which need not
// belong to any particular set) under a new service ID: every entity, the
// name and any "__INACTIVE__" marker, all as fresh mutable objects. The
// copy is linked from no set. On failure *newServiceID stays nil and a
// reserved node may be left under "NetworkServices" for the collection of
// unreferenced services. The second form takes its ID from allocator, for
// callers that copy many services in a row.
OSStatus DuplicateService(CFStringRef serviceID, CFStringRef* newServiceID);
OSStatus DuplicateService(CFStringRef serviceID, SeIDAllocator* allocator, CFStringRef* newServiceID);

// Adds to servicesDict, under serviceID, the link {"__LINK__" =
// /NetworkServices/<serviceID>}. An entry already there is left as it was.
OSStatus AddServiceLinkToDict(CFStringRef serviceID, CFMutableDictionaryRef servicesDict);

// Links serviceID into the set (nil: the current set) and appends it to the
// end of the set's service order.
OSStatus AddServiceToSet(CFStringRef setID, CFStringRef serviceID);

// Builds the entity entityKey from digest (the digest record of that name)
// and adds it to the service, or with AddGlobalEntityToSet to the set's
// global entities ("IPv4" or "NetInfo"). An entity already there is -50.
OSStatus AddEntityToService(CFStringRef setID, CFStringRef serviceID, CFStringRef entityKey, const void* digest);
OSStatus AddGlobalEntityToSet(CFStringRef setID, CFStringRef entityKey, const void* digest);
