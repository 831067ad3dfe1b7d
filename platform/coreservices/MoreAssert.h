// Assertion reports of the library. A failed check writes one line,
// "MoreAssertQ failure: " followed by the condition as written in the
// source, through DebugStr; it never stops the program, never changes a
// result and never sets an error code.
#pragma once

// Reports text as one line on standard error, through DebugStr when it fits
// in a Pascal string (255 bytes), whole otherwise.
void MoreAssertReport(const char* text);

#define MoreAssertQ(condition)                                                      \
    do {                                                                            \
        if (!(condition)) MoreAssertReport("MoreAssertQ failure: " #condition);     \
    } while (0)

#define MoreAssert(condition)                                                       \
    do {                                                                            \
        if (!(condition)) MoreAssertReport("MoreAssert failure: " #condition);      \
    } while (0)
