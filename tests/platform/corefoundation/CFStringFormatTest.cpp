// Formatted strings as the library makes them: "%@" inserts a string's
// text, arguments of different sizes are taken in order, and numbered
// arguments in any order. Conversions the library never uses are not
// checked.
#include <gtest/gtest.h>

#include <string>

#include "platform/corefoundation/CFRef.h"
#include "platform/corefoundation/CoreFoundation.h"
#include "support/CFText.h"

namespace {

template <class... Args>
std::string Format(CFStringRef format, Args... args) {
    return Text(CFRef<CFStringRef>(CFStringCreateWithFormat(nullptr, nullptr, format, args...)).get());
}

}  // namespace

TEST(CFStringFormat, ObjectsAndNumbersInOrder) {
    EXPECT_EQ(Format(CFSTR("/%@/%@"), CFSTR("Sets"), CFSTR("0")), "/Sets/0");
    EXPECT_EQ(Format(CFSTR("%@/%i"), CFSTR("/NetworkServices"), 2147483647), "/NetworkServices/2147483647");
    EXPECT_EQ(Format(CFSTR("[%@]"), static_cast<CFTypeRef>(nullptr)), "[(null)]");
    CFRef<CFMutableStringRef> name(CFStringCreateMutableCopy(nullptr, 0, CFSTR("Built-in")));
    CFStringReplace(name.get(), CFRangeMake(8, 0), CFSTR(" Ethernet"));
    EXPECT_EQ(Format(CFSTR("%@ %ld"), name.get(), -1L), "Built-in Ethernet -1");
    // A wrong argument size for any one conversion would shift all that follow.
    EXPECT_EQ(Format(CFSTR("%i %@ %ld %@"), -1, CFSTR("two"), 1L << 40, CFSTR("four")), "-1 two 1099511627776 four");
    // Numbered arguments, as port names put them in another order.
    EXPECT_EQ(Format(CFSTR("%3$@, %1$@ %2$@"), CFSTR("a"), CFSTR("b"), CFSTR("c")), "c, a b");
}
