// The PAC commands of the tool. Each one is a complete walk over the active
// services of the current set, in its own preferences session, and prints
// one outcome per service on standard output. None returns a status: the
// outcome is in the lines printed.
#pragma once

#include "platform/corefoundation/CoreFoundation.h"

// Prints "PACEnable : " and "PACURL : " lines for every active service that
// has a "Proxies" entity. Never writes the store.
void PrintCurrentPAC(void);

// Switch "ProxyAutoConfigEnable" (PAC) or "HTTPEnable" (HTTP proxy) to
// enable on every active service where a PAC URL or proxy host is set.
void SetEnabledPAC(SInt32 enable);
void SetEnabledProxy(SInt32 enable);

// Puts url as the PAC URL on every active service and switches PAC on.
void SetCurrentPAC(CFStringRef url);
// Like SetCurrentPAC, but replaces an existing URL only when it names the
// same file as url (see HasSameSuffix).
void UpdateCurrentPAC(CFStringRef url);

// Whether newURL ends with the last "/" of existingURL and everything after
// it; false when existingURL has no "/".
bool HasSameSuffix(CFStringRef existingURL, CFStringRef newURL);
