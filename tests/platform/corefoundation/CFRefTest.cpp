// The reference holder: a slot handed out for a second fill stops the
// process, and a holder of a mutable type moves into one of its immutable
// type without a copy or a second retain.
#include <gtest/gtest.h>

#include <type_traits>

#include "platform/corefoundation/CFRef.h"
#include "platform/corefoundation/CoreFoundation.h"

namespace {

static_assert(std::is_constructible_v<CFRef<CFDictionaryRef>, CFRef<CFMutableDictionaryRef>&&>);
static_assert(std::is_constructible_v<CFRef<CFTypeRef>, CFRef<CFStringRef>&&>);
static_assert(!std::is_constructible_v<CFRef<CFMutableDictionaryRef>, CFRef<CFDictionaryRef>&&>);
static_assert(!std::is_constructible_v<CFRef<CFArrayRef>, CFRef<CFMutableDictionaryRef>&&>);
static_assert(!std::is_constructible_v<CFRef<CFDictionaryRef>, const CFRef<CFMutableDictionaryRef>&>);

CFMutableArrayRef NewArray() { return CFArrayCreateMutable(nullptr, 0, &kCFTypeArrayCallBacks); }

TEST(CFRefTest, OutOfAHolderThatStillHoldsAReferenceStops) {
    CFRef<CFMutableArrayRef> held(NewArray());
    EXPECT_DEATH(held.out(), "CoreFoundation: CFRef::out\\(\\) called on a holder that still holds a reference");

    // Emptied first, the slot may be filled again.
    held.reset();
    *held.out() = NewArray();
    EXPECT_EQ(CFArrayGetCount(held.get()), 0);
}

TEST(CFRefTest, MutableMovesIntoImmutableKeepingTheOneReference) {
    CFRef<CFMutableArrayRef> mutableArray(NewArray());
    CFArrayAppendValue(mutableArray.get(), CFSTR("x"));
    CFMutableArrayRef object = mutableArray.get();

    CFRef<CFArrayRef> constructed(std::move(mutableArray));
    EXPECT_EQ(mutableArray.get(), nullptr);
    EXPECT_EQ(constructed.get(), object);
    EXPECT_EQ(CFGetRetainCount(object), 1);

    CFRef<CFTypeRef> assigned(CFSTR("old"));
    assigned = std::move(constructed);
    EXPECT_EQ(constructed.get(), nullptr);
    EXPECT_EQ(assigned.get(), object);
    EXPECT_EQ(CFGetRetainCount(object), 1);
}

}  // namespace
