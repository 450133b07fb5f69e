#include "ofxhost/Instance.h"
#include "ofxhost/SuiteGuard.h"
#include "ofxhost/Suites.h"

// The time line of a command-line render: the instance's frame range, and
// the time of the frame being rendered. A plug-in may move it (gotoTime);
// the next render moves it back to its own frame.
namespace ofxhost::suites {

namespace {

Instance* instanceOf(void* handle) {
    EffectObject* e = EffectObject::fromHandle(static_cast<const void*>(handle));
    return e ? e->asInstance() : nullptr;
}

OfxStatus getTime(void* handle, double* time) {
    Instance* i = instanceOf(handle);
    if (!i) return kOfxStatErrBadHandle;
    if (!time) return kOfxStatErrValue;
    *time = i->currentTime();
    return kOfxStatOK;
}

OfxStatus gotoTime(void* handle, double time) {
    Instance* i = instanceOf(handle);
    if (!i) return kOfxStatErrBadHandle;
    i->setTime(time);
    return kOfxStatOK;
}

OfxStatus getTimeBounds(void* handle, double* first, double* last) {
    return guarded([&] {
        Instance* i = instanceOf(handle);
        if (!i) return kOfxStatErrBadHandle;
        if (!first || !last) return kOfxStatErrValue;
        const auto range = i->timeBounds();
        *first = range.first;
        *last = range.second;
        return kOfxStatOK;
    });
}

}  // namespace

const OfxTimeLineSuiteV1* timeLine() {
    static const OfxTimeLineSuiteV1 suite{getTime, gotoTime, getTimeBounds};
    return &suite;
}

}  // namespace ofxhost::suites
