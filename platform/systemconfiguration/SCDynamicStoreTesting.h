// Hooks for tests of the live state store; not for use by the library.
#pragma once

#include "platform/systemconfiguration/SCDynamicStore.h"

// Calls observer(context) after every apply of this process that published
// a new state, once the state is in place (nil: no observer).
typedef void (*SCDynamicStorePublishObserver)(void* context);
void SCDynamicStoreSetPublishObserverForTesting(SCDynamicStorePublishObserver observer, void* context);

// The generation of the state that store's last call read: 0 before any
// apply, then one more with every apply.
SInt64 SCDynamicStoreGetGenerationForTesting(SCDynamicStoreRef store);
