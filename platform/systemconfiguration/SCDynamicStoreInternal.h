// The two halves of the live state store meet here: the preferences store's
// apply publishes the committed configuration, and store handles derive
// the "Setup:" domain from it.
//
// An apply writes the committed store as XML to the run-time folder, in one
// atomic replacement, with a comment after the XML declaration that numbers
// it: "<!-- generation N -->". Publishers take the lock file beside it
// (".lock" added), so that generations follow one another without repeats
// even when several processes apply at once.
#pragma once

#include <string>

#include "platform/corefoundation/CoreFoundation.h"

// The system's preferences store, and where its applies are published.
std::string SCDynamicStoreSystemPreferencesFile();
std::string SCDynamicStoreSystemAppliedFile();

// The keys and values of the "Setup:" domain for a preferences tree: the
// current set's active services' active entities and its global entities.
// Values are the tree's own dictionaries, retained, not copied. Returns an
// owned dictionary (empty when the tree has no usable current set).
CFMutableDictionaryRef SCDynamicStoreCreateSetupKeys(CFDictionaryRef preferences);

// The generation number in the bytes of a published file; 0 when it has
// none (a file written before numbering began).
SInt64 SCDynamicStoreGenerationOfBytes(const std::string& bytes);

// Replaces appliedFile with xml (a property list in XML) numbered with the
// next generation. On failure returns false with *fault set, and leaves the
// file as it was.
bool SCDynamicStorePublishApplied(const std::string& appliedFile, const std::string& xml, std::string* fault);
