// The session's process-wide state, visible to the layer's own files so
// that their checks can name it; nothing outside the layer touches it.
#pragma once

#include "platform/systemconfiguration/SCPreferences.h"

extern SCPreferencesRef gPrefsRef;
extern SInt32 gPrefsOpenCount;
extern Boolean gPrefsLocked;
extern Boolean gPrefsDirty;
extern CFStringRef gClientName;
