// Suite functions are called from C: no exception may leave them. Every
// entry point runs its body through guarded(), which maps what escapes.
#pragma once

#include <new>

#include "ofxCore.h"

namespace ofxhost {

template <class F>
OfxStatus guarded(F&& body) noexcept {
    try {
        return body();
    } catch (const std::bad_alloc&) {
        return kOfxStatErrMemory;
    } catch (...) {
        return kOfxStatFailed;
    }
}

// The body of most suite functions: find the object behind a handle
// (kOfxStatErrBadHandle when there is none) and run fn on it, guarded.
template <class T, class H, class F>
OfxStatus onHandle(H handle, F&& fn) noexcept {
    return guarded([&]() -> OfxStatus {
        T* object = T::fromHandle(handle);
        return object ? fn(*object) : kOfxStatErrBadHandle;
    });
}

// Hands a value to the caller through an output argument, which must be
// given.
template <class V>
OfxStatus giveOut(V* out, V value) {
    if (!out) return kOfxStatErrValue;
    *out = value;
    return kOfxStatOK;
}

}  // namespace ofxhost
