#include "platform/iokit/IORegistry.h"

#include <utility>

std::size_t IORegistry::AddEntry(std::size_t parent, std::string className, CFRef<CFMutableDictionaryRef> properties) {
    std::size_t index = entries_.size();
    entries_.push_back(IORegistryEntry{std::move(className), std::move(properties), parent, {}});
    if (parent != kNoParent) entries_[parent].children.push_back(index);
    return index;
}

std::vector<std::size_t> IORegistry::DepthFirstOrder() const {
    std::vector<std::size_t> order;
    if (entries_.empty()) return order;
    order.reserve(entries_.size());
    // An explicit stack, so that a deep tree cannot exhaust the call stack.
    std::vector<std::size_t> pending{0};
    while (!pending.empty()) {
        std::size_t index = pending.back();
        pending.pop_back();
        order.push_back(index);
        const std::vector<std::size_t>& children = entries_[index].children;
        for (auto child = children.rbegin(); child != children.rend(); ++child) pending.push_back(*child);
    }
    return order;
}
