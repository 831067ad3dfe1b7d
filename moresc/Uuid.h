// Random (version 4) UUIDs, for the identities of the profiles moresc
// writes.
#pragma once

#include <optional>
#include <string>

// A fresh UUID from the system's cryptographic random source, in the form
// macOS writes them: 36 characters, upper-case hexadecimal digits in
// groups of 8-4-4-4-12. Nothing when the random source fails.
std::optional<std::string> NewRandomUUID();
