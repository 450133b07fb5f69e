// Suite functions are called from C: no exception may leave them. Every
// entry point runs its body through guarded(), which maps what escapes.
#pragma once

#include <new>

#include "ofxCore.h"

namespace ofxhost {

template <class F>
OfxStatus guarded(F&& body) noexcept
{
    try {
        return body();
    } catch (const std::bad_alloc&) {
        return kOfxStatErrMemory;
    } catch (...) {
        return kOfxStatFailed;
    }
}

}  // namespace ofxhost
