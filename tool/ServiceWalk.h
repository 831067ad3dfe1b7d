// The walk that every PAC command makes: in one unlocked preferences
// session, visit the services of the current set in "ServiceOrder" order,
// pass over inactive services and services without a "Proxies" entity, and
// hand each remaining service's "Proxies" entity to the command. Services
// are visited once each, so the walk is linear in their number.
//
// The session is closed with the walk's running status (the result of the
// last library call: activity test, entity copy or write) and with the
// changed mark, set by the first successful write. Every successful write
// marks the session dirty on its own, so the closing save covers all of
// them even when the last service failed.
#pragma once

#include <functional>

#include "platform/corefoundation/CoreFoundation.h"

// Names a service in messages: its service ID in UTF-8, at most 254 bytes.
class ServiceLabel {
public:
    explicit ServiceLabel(CFTypeRef serviceID);
    const char* c_str() const { return text_; }

private:
    char text_[255];
};

// One service as an editing command sees it: a mutable copy of its
// "Proxies" entity, which the command changes and then writes back.
class ProxiesEdit {
public:
    ProxiesEdit(CFStringRef serviceID, CFMutableDictionaryRef proxies, const ServiceLabel& label, OSStatus& err,
                Boolean& changed)
        : serviceID_(serviceID), proxies_(proxies), label_(label), err_(err), changed_(changed) {}

    CFMutableDictionaryRef proxies() const { return proxies_; }

    // Prints one message about this service; format takes the label for its
    // only "%s".
    void Say(const char* format) const;

    // Writes the entity back to the service. On success prints okFormat
    // with the label and marks the walk changed; on failure prints the
    // failure line with the status. The status becomes the walk's running
    // status either way.
    void Write(const char* okFormat);

private:
    CFStringRef serviceID_;
    CFMutableDictionaryRef proxies_;
    const ServiceLabel& label_;
    OSStatus& err_;
    Boolean& changed_;
};

// Read-only walk: visit gets an immutable copy of each entity. Closes the
// session without asking to save.
void WalkActiveProxies(const std::function<void(CFDictionaryRef proxies, const ServiceLabel& label)>& visit);

// Editing walk: edit gets a mutable copy of each entity.
void EditActiveProxies(const std::function<void(ProxiesEdit& edit)>& edit);
