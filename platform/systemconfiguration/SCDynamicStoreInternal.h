// The two halves of the live state store meet here: the preferences store's
// apply publishes the committed configuration, and store handles derive
// the "Setup:" domain from it.
//
// An apply writes the committed store in its own format (XML or binary) to
// the run-time folder, in one atomic replacement, numbered by a comment
// "<!-- generation N -->" within the first bytes: in XML after the
// declaration, in a binary list right after its 8-byte header, in room no
// object takes. Publishers take the lock file beside it (".lock" added), so
// that generations follow one another without repeats even when several
// processes apply at once; the number after the largest one is 1.
#pragma once

#include <string>

#include "platform/corefoundation/CoreFoundation.h"
#include "platform/corefoundation/PropertyListFile.h"

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

// Replaces appliedFile with bytes (a property-list file in format) numbered
// with the next generation, and removes what killed applies left beside it.
// On failure returns false with *fault set, and leaves the file as it was.
bool SCDynamicStorePublishApplied(const std::string& appliedFile, const std::string& bytes, PropertyListFormat format,
                                  std::string* fault);
