// Key-value tables. Entries live in a vector in insertion order, so every
// enumeration is deterministic. A small dictionary is searched entry by
// entry; past a handful of entries an open-addressing index of entry
// numbers makes lookups, insertions and removals constant time on average.
// A removed entry leaves a tombstone in the vector, and the vector is
// compacted once tombstones make up half of it, which keeps long runs of
// removals linear.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "platform/corefoundation/CFObjectsInternal.h"
#include "platform/corefoundation/CFStringInternal.h"

namespace {

const void* RetainObject(CFAllocatorRef, const void* value) { return CFRetain(value); }
void ReleaseObject(CFAllocatorRef, const void* value) { CFRelease(value); }
const void* CopyStringKey(CFAllocatorRef, const void* value) {
    return CFStringCreateCopy(kCFAllocatorDefault, static_cast<CFStringRef>(value));
}

}  // namespace

const CFDictionaryKeyCallBacks kCFTypeDictionaryKeyCallBacks = {0,       RetainObject, ReleaseObject, CFCopyDescription,
                                                                CFEqual, CFHash};
const CFDictionaryKeyCallBacks kCFCopyStringDictionaryKeyCallBacks = {
    0, CopyStringKey, ReleaseObject, CFCopyDescription, CFEqual, CFHash};
const CFDictionaryValueCallBacks kCFTypeDictionaryValueCallBacks = {0, RetainObject, ReleaseObject,
                                                                    CFCopyDescription, CFEqual};

namespace {

// The shared copy of a dictionary's callbacks. The standard ones, which
// nearly every dictionary has, are constants: found once, not searched for
// at every dictionary made.
const CFDictionaryKeyCallBacks* SharedKeyCallBacks(const CFDictionaryKeyCallBacks* callBacks) {
    if (callBacks == &kCFTypeDictionaryKeyCallBacks) {
        static const CFDictionaryKeyCallBacks* standard = cfrt::InternCallBacks(callBacks);
        return standard;
    }
    return cfrt::InternCallBacks(callBacks);
}

const CFDictionaryValueCallBacks* SharedValueCallBacks(const CFDictionaryValueCallBacks* callBacks) {
    if (callBacks == &kCFTypeDictionaryValueCallBacks) {
        static const CFDictionaryValueCallBacks* standard = cfrt::InternCallBacks(callBacks);
        return standard;
    }
    return cfrt::InternCallBacks(callBacks);
}

}  // namespace

struct __CFDictionary : __CFRuntimeBase {
    struct Entry {
        const void* key;
        const void* value;
        bool live() const { return key != &kRemoved; }
    };
    // The key of a removed entry.
    static const char kRemoved;
    // Up to this many entries a lookup compares keys one by one; a store's
    // dictionaries are mostly this small and need no hash index at all.
    static constexpr std::size_t kLinearLimit = 8;
    // Slots of the hash index: empty, or the index of an entry plus one.
    static constexpr UInt32 kEmptySlot = 0;
    static constexpr UInt32 kDeletedSlot = UINT32_MAX;

    __CFDictionary(const CFDictionaryKeyCallBacks* keyCallBacks, const CFDictionaryValueCallBacks* valueCallBacks,
                   bool isMutable)
        : __CFRuntimeBase(cfrt::kDictionaryTypeID),
          mutable_(isMutable),
          keyCallBacks_(SharedKeyCallBacks(keyCallBacks)),
          valueCallBacks_(SharedValueCallBacks(valueCallBacks)) {}

    ~__CFDictionary() override {
        for (const Entry& entry : entries_) {
            if (!entry.live()) continue;
            releaseKey(entry.key);
            releaseValue(entry.value);
        }
    }

    bool equal(const __CFRuntimeBase* other) const override {
        const __CFDictionary& that = *static_cast<const __CFDictionary*>(other);
        if (count() != that.count()) return false;
        for (const Entry& entry : entries_) {
            if (!entry.live()) continue;
            const Entry* match = that.find(entry.key);
            if (match == nil || !equalValues(entry.value, match->value)) return false;
        }
        return true;
    }
    CFHashCode hash() const override { return count(); }
    CFStringRef copyDescription() const override {
        std::string text;
        cfrt::AppendDictionaryDescription(text, this, 0);
        return cfrt::MakeString(text);
    }

    std::size_t count() const { return entries_.size() - removed_; }

    const Entry* find(const void* key) const {
        if (index_.empty()) {
            for (const Entry& entry : entries_) {
                if (entry.live() && equalKeys(entry.key, key)) return &entry;
            }
            return nil;
        }
        std::size_t mask = index_.size() - 1;
        for (std::size_t slot = hashKey(key) & mask;; slot = (slot + 1) & mask) {
            UInt32 at = index_[slot];
            if (at == kEmptySlot) return nil;
            if (at != kDeletedSlot && equalKeys(entries_[at - 1].key, key)) return &entries_[at - 1];
        }
    }

    void reserve(std::size_t count) { entries_.reserve(count); }

    // Adds an entry for a key that is not there; adopt takes over the
    // caller's claims on key and value instead of retaining them.
    void add(const void* key, const void* value, bool adopt = false) {
        const void* ownKey = key;
        const void* ownValue = value;
        if (!adopt) {
            if (keyCallBacks_->retain != nil) ownKey = keyCallBacks_->retain(kCFAllocatorDefault, key);
            ownValue = retainValue(value);
        }
        entries_.push_back(Entry{ownKey, ownValue});
        if (!index_.empty()) {
            if (2 * entries_.size() > index_.size()) rebuildIndex();
            else insertIntoIndex(entries_.size() - 1);
        } else if (count() > kLinearLimit) {
            rebuildIndex();
        }
    }

    // The key keeps its place; the new value is retained before the old one
    // is released, in case they are the same object.
    void replace(const Entry* entry, const void* value) {
        Entry& slot = const_cast<Entry&>(*entry);
        const void* ownValue = retainValue(value);
        const void* old = slot.value;
        slot.value = ownValue;
        releaseValue(old);
    }

    void remove(const void* key) {
        const Entry* found = find(key);
        if (found == nil) return;
        std::size_t at = static_cast<std::size_t>(found - entries_.data());
        Entry removed = entries_[at];
        if (!index_.empty()) {
            std::size_t mask = index_.size() - 1;
            std::size_t slot = hashKey(removed.key) & mask;
            while (index_[slot] != at + 1) slot = (slot + 1) & mask;
            index_[slot] = kDeletedSlot;
        }
        entries_[at] = Entry{&kRemoved, nil};
        ++removed_;
        compactIfSparse();
        releaseKey(removed.key);
        releaseValue(removed.value);
    }

    // Squeezes out removed entries once they make up half the storage,
    // keeping the order of the live ones, so long runs of removals stay
    // linear.
    void compactIfSparse() {
        if (removed_ < 16 && removed_ < entries_.size()) return;
        if (2 * removed_ < entries_.size()) return;
        std::erase_if(entries_, [](const Entry& entry) { return !entry.live(); });
        removed_ = 0;
        if (count() > kLinearLimit) rebuildIndex();
        else index_.clear();
    }

    void rebuildIndex() {
        std::size_t size = 16;
        while (size < 2 * entries_.size() + 2) size *= 2;
        index_.assign(size, kEmptySlot);
        for (std::size_t i = 0; i < entries_.size(); ++i) {
            if (entries_[i].live()) insertIntoIndex(i);
        }
    }
    void insertIntoIndex(std::size_t at) {
        if (at + 1 >= kDeletedSlot) cfrt::Fatal("CFDictionary: too many entries");
        std::size_t mask = index_.size() - 1;
        std::size_t slot = hashKey(entries_[at].key) & mask;
        while (index_[slot] != kEmptySlot) slot = (slot + 1) & mask;
        index_[slot] = static_cast<UInt32>(at + 1);
    }

    std::size_t hashKey(const void* key) const {
        CFHashCode h = keyCallBacks_->hash != nil ? keyCallBacks_->hash(key) : reinterpret_cast<CFHashCode>(key);
        return static_cast<std::size_t>(cfrt::MixHash(h));
    }
    bool equalKeys(const void* a, const void* b) const {
        if (a == b) return true;
        if (keyCallBacks_->equal == CFEqual) {
            // Strings, the usual keys, compare here without the calls
            // through the runtime.
            const __CFRuntimeBase* x = _CFRuntimeBase(a);
            const __CFRuntimeBase* y = _CFRuntimeBase(b);
            if (x->typeID_ != y->typeID_) return false;
            if (x->typeID_ == cfrt::kStringTypeID) return static_cast<const __CFString*>(x)->__CFString::equal(y);
            return x->equal(y);
        }
        return keyCallBacks_->equal != nil && keyCallBacks_->equal(a, b);
    }

    const Entry* findText(const UInt8* text, std::size_t length) const {
        auto matches = [&](const void* key) {
            const __CFRuntimeBase* object = _CFRuntimeBase(key);
            if (object->typeID_ != cfrt::kStringTypeID) return false;
            __CFString::View view = static_cast<const __CFString*>(object)->view();
            if (view.length != length) return false;
            if (!view.wide) return length == 0 || std::memcmp(view.data, text, length) == 0;
            for (std::size_t i = 0; i < length; ++i) {
                if (view[i] != text[i]) return false;
            }
            return true;
        };
        if (index_.empty()) {
            for (const Entry& entry : entries_) {
                if (entry.live() && matches(entry.key)) return &entry;
            }
            return nil;
        }
        // The hash a string of this text has (see __CFString::hash).
        std::uint64_t h = 1469598103934665603ULL;
        for (std::size_t i = 0; i < length; ++i) h = (h ^ text[i]) * 1099511628211ULL;
        std::size_t mask = index_.size() - 1;
        for (std::size_t slot = cfrt::MixHash(static_cast<CFHashCode>(h)) & mask;; slot = (slot + 1) & mask) {
            UInt32 at = index_[slot];
            if (at == kEmptySlot) return nil;
            if (at != kDeletedSlot && matches(entries_[at - 1].key)) return &entries_[at - 1];
        }
    }
    const void* retainValue(const void* value) const {
        return valueCallBacks_->retain != nil ? valueCallBacks_->retain(kCFAllocatorDefault, value) : value;
    }
    void releaseValue(const void* value) const {
        if (valueCallBacks_->release != nil) valueCallBacks_->release(kCFAllocatorDefault, value);
    }
    void releaseKey(const void* key) const {
        if (keyCallBacks_->release != nil) keyCallBacks_->release(kCFAllocatorDefault, key);
    }
    bool equalValues(const void* a, const void* b) const {
        return a == b || (valueCallBacks_->equal != nil && valueCallBacks_->equal(a, b));
    }

    // The hash index, held apart: most dictionaries never have one, and a
    // store holds tens of thousands of them.
    class HashIndex {
    public:
        bool empty() const { return !slots_; }
        std::size_t size() const { return slots_->size(); }
        UInt32& operator[](std::size_t i) { return (*slots_)[i]; }
        UInt32 operator[](std::size_t i) const { return (*slots_)[i]; }
        void assign(std::size_t count, UInt32 value) {
            if (!slots_) slots_ = std::make_unique<std::vector<UInt32>>();
            slots_->assign(count, value);
        }
        void clear() { slots_.reset(); }

    private:
        std::unique_ptr<std::vector<UInt32>> slots_;
    };

    // The two small fields first, so that they fit in the room the base
    // object leaves at its end.
    bool mutable_;
    UInt32 removed_ = 0;
    const CFDictionaryKeyCallBacks* keyCallBacks_;
    const CFDictionaryValueCallBacks* valueCallBacks_;
    std::vector<Entry> entries_;
    HashIndex index_;  // empty while the dictionary is small
};

const char __CFDictionary::kRemoved = 0;

namespace {

const __CFDictionary& Checked(CFDictionaryRef dict, const char* caller) {
    return *static_cast<const __CFDictionary*>(cfrt::CheckedObject(dict, cfrt::kDictionaryTypeID, caller));
}

__CFDictionary& CheckedMutable(CFMutableDictionaryRef dict, const char* caller) {
    __CFDictionary& d = const_cast<__CFDictionary&>(Checked(dict, caller));
    if (!d.mutable_) cfrt::MutationOfImmutable("CFDictionary");
    return d;
}

__CFDictionary* CopyOf(const __CFDictionary& source, bool isMutable) {
    __CFDictionary* dict = new __CFDictionary(source.keyCallBacks_, source.valueCallBacks_, isMutable);
    dict->reserve(source.count());
    for (const __CFDictionary::Entry& entry : source.entries_) {
        if (entry.live()) dict->add(entry.key, entry.value);
    }
    return dict;
}

}  // namespace

namespace cfrt {

void AppendDictionaryDescription(std::string& out, CFDictionaryRef theDict, int depth) {
    const __CFDictionary& dict = *theDict;
    if (dict.count() == 0) {
        out += "{}";
        return;
    }
    out += "{\n";
    for (const __CFDictionary::Entry& entry : dict.entries_) {
        if (!entry.live()) continue;
        AppendIndent(out, depth + 1);
        AppendElementDescription(out, entry.key, dict.keyCallBacks_->copyDescription, depth + 1);
        out += " = ";
        AppendElementDescription(out, entry.value, dict.valueCallBacks_->copyDescription, depth + 1);
        out += ";\n";
    }
    AppendIndent(out, depth);
    out += "}";
}

void DictionaryAddNewKey(CFMutableDictionaryRef theDict, const void* key, const void* value) {
    __CFDictionary& dict = CheckedMutable(theDict, "CFDictionaryAddValue");
    dict.add(key, value);
}

bool DictionaryComparesKeysByValue(CFDictionaryRef theDict) {
    return Checked(theDict, "CFDictionaryGetCount").keyCallBacks_->equal == CFEqual;
}

void DictionaryAdoptNewKey(CFMutableDictionaryRef theDict, const void* key, const void* value) {
    __CFDictionary& dict = CheckedMutable(theDict, "CFDictionaryAddValue");
    if (dict.keyCallBacks_->retain != RetainObject || dict.valueCallBacks_->retain != RetainObject)
        cfrt::Fatal("CFDictionary: an entry adopted by a dictionary that does not retain its entries");
    dict.add(key, value, true);
}

const void* DictionaryGetValueForText(CFDictionaryRef theDict, const UInt8* text, std::size_t length,
                                      bool* searched) {
    const void* key = nil;
    return DictionaryGetEntryForText(theDict, text, length, searched, &key);
}

const void* DictionaryGetEntryForText(CFDictionaryRef theDict, const UInt8* text, std::size_t length, bool* searched,
                                      const void** key) {
    const __CFDictionary& dict = Checked(theDict, "CFDictionaryGetValue");
    *searched = dict.keyCallBacks_->equal == CFEqual && dict.keyCallBacks_->hash == CFHash;
    *key = nil;
    if (!*searched) return nil;
    const __CFDictionary::Entry* entry = dict.findText(text, length);
    if (entry == nil) return nil;
    *key = entry->key;
    return entry->value;
}

}  // namespace cfrt

// A key given twice keeps its first place and its last value.
CFDictionaryRef CFDictionaryCreate(CFAllocatorRef, const void** keys, const void** values, CFIndex numValues,
                                   const CFDictionaryKeyCallBacks* keyCallBacks,
                                   const CFDictionaryValueCallBacks* valueCallBacks) {
    if (numValues < 0 || ((keys == nil || values == nil) && numValues > 0)) return nil;
    __CFDictionary* dict = new __CFDictionary(keyCallBacks, valueCallBacks, false);
    dict->reserve(static_cast<std::size_t>(numValues));
    for (CFIndex i = 0; i < numValues; ++i) {
        const __CFDictionary::Entry* existing = dict->find(keys[i]);
        if (existing != nil) {
            dict->replace(existing, values[i]);
        } else {
            dict->add(keys[i], values[i]);
        }
    }
    return dict;
}

CFDictionaryRef CFDictionaryCreateCopy(CFAllocatorRef, CFDictionaryRef theDict) {
    return CopyOf(Checked(theDict, "CFDictionaryCreateCopy"), false);
}

CFMutableDictionaryRef CFDictionaryCreateMutable(CFAllocatorRef, CFIndex capacity,
                                                 const CFDictionaryKeyCallBacks* keyCallBacks,
                                                 const CFDictionaryValueCallBacks* valueCallBacks) {
    if (capacity < 0) return nil;
    __CFDictionary* dict = new __CFDictionary(keyCallBacks, valueCallBacks, true);
    // A hint only (and not trusted past a sane size): it still grows past it.
    dict->reserve(static_cast<std::size_t>(std::min<CFIndex>(capacity, 1 << 16)));
    return dict;
}

CFMutableDictionaryRef CFDictionaryCreateMutableCopy(CFAllocatorRef, CFIndex capacity, CFDictionaryRef theDict) {
    const __CFDictionary& source = Checked(theDict, "CFDictionaryCreateMutableCopy");
    if (capacity < 0) return nil;
    return CopyOf(source, true);
}

CFIndex CFDictionaryGetCount(CFDictionaryRef theDict) {
    return static_cast<CFIndex>(Checked(theDict, "CFDictionaryGetCount").count());
}

const void* CFDictionaryGetValue(CFDictionaryRef theDict, const void* key) {
    const __CFDictionary::Entry* entry = Checked(theDict, "CFDictionaryGetValue").find(key);
    return entry != nil ? entry->value : nil;
}

Boolean CFDictionaryGetValueIfPresent(CFDictionaryRef theDict, const void* key, const void** value) {
    const __CFDictionary::Entry* entry = Checked(theDict, "CFDictionaryGetValueIfPresent").find(key);
    if (entry == nil) return false;
    if (value != nil) *value = entry->value;
    return true;
}

Boolean CFDictionaryContainsKey(CFDictionaryRef theDict, const void* key) {
    return Checked(theDict, "CFDictionaryContainsKey").find(key) != nil;
}

void CFDictionaryGetKeysAndValues(CFDictionaryRef theDict, const void** keys, const void** values) {
    const __CFDictionary& dict = Checked(theDict, "CFDictionaryGetKeysAndValues");
    std::size_t out = 0;
    for (const __CFDictionary::Entry& entry : dict.entries_) {
        if (!entry.live()) continue;
        if (keys != nil) keys[out] = entry.key;
        if (values != nil) values[out] = entry.value;
        ++out;
    }
}

void CFDictionaryApplyFunction(CFDictionaryRef theDict, CFDictionaryApplierFunction applier, void* context) {
    const __CFDictionary& dict = Checked(theDict, "CFDictionaryApplyFunction");
    if (applier == nil) return;
    for (std::size_t i = 0; i < dict.entries_.size(); ++i) {
        const __CFDictionary::Entry entry = dict.entries_[i];
        if (entry.live()) applier(entry.key, entry.value, context);
    }
}

void CFDictionaryAddValue(CFMutableDictionaryRef theDict, const void* key, const void* value) {
    __CFDictionary& dict = CheckedMutable(theDict, "CFDictionaryAddValue");
    if (dict.find(key) == nil) dict.add(key, value);
}

void CFDictionarySetValue(CFMutableDictionaryRef theDict, const void* key, const void* value) {
    __CFDictionary& dict = CheckedMutable(theDict, "CFDictionarySetValue");
    const __CFDictionary::Entry* existing = dict.find(key);
    if (existing != nil) {
        dict.replace(existing, value);
    } else {
        dict.add(key, value);
    }
}

void CFDictionaryRemoveValue(CFMutableDictionaryRef theDict, const void* key) {
    CheckedMutable(theDict, "CFDictionaryRemoveValue").remove(key);
}
