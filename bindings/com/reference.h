// A counted reference to a COM object, given back when it goes.
#pragma once

#include <windows.h>

#include <unknwn.h>

#include <memory>

namespace quorvanti::com {

struct ReferenceRelease {
    void operator()(IUnknown* object) const { object->Release(); }
};
template <typename Interface>
using Reference = std::unique_ptr<Interface, ReferenceRelease>;

// Null when the object does not have the interface.
template <typename Interface>
Reference<Interface> queried(IUnknown* object, REFIID id) {
    void* found = nullptr;
    object->QueryInterface(id, &found);
    return Reference<Interface>(static_cast<Interface*>(found));
}

}  // namespace quorvanti::com
