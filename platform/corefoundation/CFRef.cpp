#include "platform/corefoundation/CFRef.h"

#include "platform/corefoundation/CFObjectsInternal.h"

void cfref::Misuse(const char* what) { cfrt::Fatal(what); }
