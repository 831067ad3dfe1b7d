// RegistryObject: the one owner of a registry object (an entry or an
// iterator), released when the holder goes. A release the registry refuses
// is reported and otherwise ignored.
#pragma once

#include <utility>

#include "platform/coreservices/MoreAssert.h"
#include "platform/iokit/IOKitLib.h"

class RegistryObject {
public:
    RegistryObject() noexcept = default;
    explicit RegistryObject(io_object_t object) noexcept : object_(object) {}
    RegistryObject(const RegistryObject&) = delete;
    RegistryObject& operator=(const RegistryObject&) = delete;
    ~RegistryObject() { reset(); }

    io_object_t get() const noexcept { return object_; }

    // Releases what it holds and takes over object.
    void reset(io_object_t object = IO_OBJECT_NULL) noexcept {
        io_object_t old = std::exchange(object_, object);
        if (old != IO_OBJECT_NULL) {
            kern_return_t junk = IOObjectRelease(old);
            MoreAssertQ(junk == 0);
        }
    }

    // The slot to pass as the out-parameter of a call that hands out an
    // object; emptied first.
    io_object_t* out() noexcept {
        reset();
        return &object_;
    }

private:
    io_object_t object_ = IO_OBJECT_NULL;
};
