// The two halves of the live state store meet here: the preferences store's
// apply publishes the "Setup:" domain, and store handles read it back.
//
// The published state is one binary property list, written atomically:
// { "Generation" = <integer>, "Keys" = { <key> = <value>, ... } }. Publishers
// take the lock file beside it, so that generations follow one another
// without gaps or repeats even when several processes apply at once.
#pragma once

#include <string>

#include "platform/corefoundation/CoreFoundation.h"

// The file a store reads and an apply writes, and the preferences store
// whose applies are published (the system's default store).
std::string SCDynamicStorePublishedFile();
std::string SCDynamicStoreSystemPreferencesFile();

// The keys and values of the "Setup:" domain for a preferences tree: the
// current set's active services' active entities and its global entities.
// Values are the tree's own dictionaries, retained, not copied. Returns an
// owned dictionary (empty when the tree has no usable current set).
CFMutableDictionaryRef SCDynamicStoreCreateSetupKeys(CFDictionaryRef preferences);

// Reads a published state from the bytes of its file. On success *keys
// receives an owned dictionary; on failure returns false with *fault set.
bool SCDynamicStoreParsePublished(const std::string& bytes, SInt64* generation, CFDictionaryRef* keys,
                                  std::string* fault);

// Publishes the "Setup:" domain derived from preferences, the committed tree
// of the store file preferencesFile, with the next generation number. Only
// the system's store is published: for any other file this does nothing.
// Returns kSCStatusOK, or a status after one line on standard error; a
// published state that cannot be read is left as it is.
int SCDynamicStorePublishPreferences(const std::string& preferencesFile, CFDictionaryRef preferences);
