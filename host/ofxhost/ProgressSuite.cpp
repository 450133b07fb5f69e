#include <algorithm>
#include <cstdio>
#include <string>

#include "ofxhost/Effect.h"
#include "ofxhost/Host.h"
#include "ofxhost/Instance.h"
#include "ofxhost/Plugin.h"
#include "ofxhost/SuiteGuard.h"
#include "ofxhost/Suites.h"

// A plug-in's own progress (an analysis, say): kept by its instance, which
// passes it to a watcher and answers a cancel, and drawn as a bar on stderr
// when the host shows progress (on a terminal).
namespace ofxhost::suites {

namespace {

Instance* instanceOf(void* handle) {
    EffectObject* e = EffectObject::fromHandle(static_cast<const void*>(handle));
    return e ? e->asInstance() : nullptr;
}

bool showing(const Instance& i) { return i.plugin().host().config().showProgress; }

OfxStatus start(void* handle, const char* label, const char*) {
    return guarded([&] {
        Instance* i = instanceOf(handle);
        if (!i) return kOfxStatErrBadHandle;
        const OfxStatus s = i->progressStart(label ? label : "");
        if (s == kOfxStatOK && showing(*i))
            std::fprintf(stderr, "%s: %s\n", i->plugin().id().c_str(), label ? label : "");
        return s;
    });
}

OfxStatus startV1(void* handle, const char* label) { return start(handle, label, nullptr); }

OfxStatus update(void* handle, double progress) {
    return guarded([&] {
        Instance* i = instanceOf(handle);
        if (!i) return kOfxStatErrBadHandle;
        const OfxStatus s = i->progressUpdate(progress);
        if (s != kOfxStatFailed && showing(*i)) {
            const int percent = int(std::clamp(progress, 0.0, 1.0) * 100.0 + 0.5);
            const int filled = percent * 30 / 100;
            std::fprintf(stderr, "\r[%s%s] %3d%%", std::string(filled, '#').c_str(),
                         std::string(30 - filled, '.').c_str(), percent);
            std::fflush(stderr);
        }
        return s;
    });
}

OfxStatus end(void* handle) {
    return guarded([&] {
        Instance* i = instanceOf(handle);
        if (!i) return kOfxStatErrBadHandle;
        const OfxStatus s = i->progressEnd();
        if (s == kOfxStatOK && showing(*i)) std::fputs("\n", stderr);
        return s;
    });
}

}  // namespace

const OfxProgressSuiteV1* progressV1() {
    static const OfxProgressSuiteV1 suite{startV1, update, end};
    return &suite;
}

const OfxProgressSuiteV2* progressV2() {
    static const OfxProgressSuiteV2 suite{start, update, end};
    return &suite;
}

}  // namespace ofxhost::suites
