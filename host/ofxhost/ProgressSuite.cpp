#include <algorithm>
#include <cstdio>
#include <string>

#include "ofxhost/Effect.h"
#include "ofxhost/Host.h"
#include "ofxhost/Plugin.h"
#include "ofxhost/SuiteGuard.h"
#include "ofxhost/Suites.h"

// A plug-in's own progress (an analysis, say): a bar on stderr when the host
// shows progress (on a terminal), nothing otherwise.
namespace ofxhost::suites {

namespace {

EffectObject* effectOf(void* handle) { return EffectObject::fromHandle(static_cast<const void*>(handle)); }

OfxStatus start(void* handle, const char* label, const char*)
{
    EffectObject* e = effectOf(handle);
    if (!e)
        return kOfxStatErrBadHandle;
    if (e->plugin().host().config().showProgress)
        std::fprintf(stderr, "%s: %s\n", e->plugin().id().c_str(), label ? label : "");
    return kOfxStatOK;
}

OfxStatus startV1(void* handle, const char* label) { return start(handle, label, nullptr); }

OfxStatus update(void* handle, double progress)
{
    EffectObject* e = effectOf(handle);
    if (!e)
        return kOfxStatErrBadHandle;
    if (e->plugin().host().config().showProgress) {
        const int percent = int(std::clamp(progress, 0.0, 1.0) * 100.0 + 0.5);
        const int filled = percent * 30 / 100;
        std::fprintf(stderr, "\r[%s%s] %3d%%", std::string(filled, '#').c_str(),
                     std::string(30 - filled, '.').c_str(), percent);
        std::fflush(stderr);
    }
    return kOfxStatOK;
}

OfxStatus end(void* handle)
{
    EffectObject* e = effectOf(handle);
    if (!e)
        return kOfxStatErrBadHandle;
    if (e->plugin().host().config().showProgress)
        std::fputs("\n", stderr);
    return kOfxStatOK;
}

}  // namespace

const OfxProgressSuiteV1* progressV1()
{
    static const OfxProgressSuiteV1 suite{startV1, update, end};
    return &suite;
}

const OfxProgressSuiteV2* progressV2()
{
    static const OfxProgressSuiteV2 suite{start, update, end};
    return &suite;
}

}  // namespace ofxhost::suites
