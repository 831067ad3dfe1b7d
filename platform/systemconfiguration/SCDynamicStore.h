// The live state store, with SystemConfiguration's names and semantics: a
// table of keys (strings such as "Setup:/Network/Service/<ID>/IPv4") and
// their property-list values, as the configuration daemon publishes them.
//
// The "Setup:" domain holds the configuration last applied
// (SCPreferencesApplyChanges on the system's preferences store), which is
// published at $TARNWICK_ROOT/var/run/SystemConfiguration/preferences.plist
// together with a generation number that every apply raises by one. Before
// the first apply it holds the preferences store as it is on disk, as the
// daemon publishes it when it starts (generation 0); without a store file it
// is empty. Of the current set it holds one key
// "Setup:/Network/Service/<service ID>/<entity>" for every entity that is
// not inactive of every active service the set links (the service ID being
// the service's key under "NetworkServices"), and one key
// "Setup:/Network/Global/<entity>" for every global entity of the set that
// is not inactive.
//
// Every call reads the state as it is at that moment: a handle sees each
// apply as soon as it is published, and never half of one. A state that
// cannot be read makes the call fail with the platform's status
// (kSCStatusAccessError, or kSCStatusFailed for a corrupt file, or one that
// is not a regular file or is larger than kSCPreferencesMaxFileSize, which
// are not read at all) after one line on standard error naming the file
// and the fault.
//
// Every call leaves its status for SCError().
#pragma once

#include "platform/corefoundation/CoreFoundation.h"
#include "platform/systemconfiguration/SCPreferences.h"

typedef const struct __SCDynamicStore* SCDynamicStoreRef;

struct SCDynamicStoreContext {
    CFIndex version;
    void* info;
    const void* (*retain)(const void* info);
    void (*release)(const void* info);
    CFStringRef (*copyDescription)(const void* info);
};

typedef void (*SCDynamicStoreCallBack)(SCDynamicStoreRef store, CFArrayRef changedKeys, void* info);

#define kSCDynamicStoreDomainSetup CFSTR("Setup:")
#define kSCDynamicStoreDomainState CFSTR("State:")

CFTypeID SCDynamicStoreGetTypeID(void);

// A handle on the live state for the client called name (nil is allowed).
// Change notifications are not
// delivered: callout and context are accepted and ignored. Returns an owned
// handle (release it with CFRelease), or nil when the state cannot be read.
SCDynamicStoreRef SCDynamicStoreCreate(CFAllocatorRef allocator, CFStringRef name, SCDynamicStoreCallBack callout,
                                       SCDynamicStoreContext* context);

// The key "<domain>/Network/Service/<serviceID>/<entity>", or
// "<domain>/Network/Service/<serviceID>" when entity is nil. The parts are
// inserted as they are, so a regular expression may stand for any of them.
// Returns an owned string, or nil (kSCStatusInvalidArgument) when domain or
// serviceID is nil.
CFStringRef SCDynamicStoreKeyCreateNetworkServiceEntity(CFAllocatorRef allocator, CFStringRef domain,
                                                        CFStringRef serviceID, CFStringRef entity);

// The keys that pattern, a POSIX extended regular expression, matches as a
// whole (it is anchored at both ends), in sorted order (by Unicode code
// point). Returns an owned array, empty when nothing matches; nil with
// kSCStatusInvalidArgument (and one line on standard error) for a pattern
// that is not a valid expression, or with the state's status when the state
// cannot be read.
CFArrayRef SCDynamicStoreCopyKeyList(SCDynamicStoreRef store, CFStringRef pattern);

// The value at key, owned by the caller and immutable; nil with
// kSCStatusNoKey when there is no such key, or with the state's status when
// the state cannot be read.
CFPropertyListRef SCDynamicStoreCopyValue(SCDynamicStoreRef store, CFStringRef key);
