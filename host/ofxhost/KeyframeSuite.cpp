#include "ofxhost/Param.h"
#include "ofxhost/SuiteGuard.h"
#include "ofxhost/Suites.h"

// The keyframe extension: the interpolation name of a parameter's key, which
// effects set when they take over the keys of an older form.
namespace ofxhost::suites {

namespace {

OfxStatus setKeyframeInterpolation(OfxParamHandle param, OfxTime time, int interpolation) {
    if (interpolation < kOfxTalvoInterpolationUnknown || interpolation > kOfxTalvoInterpolationSplit)
        return kOfxStatErrValue;
    return onHandle<Param>(param, [&](Param& p) { return p.setKeyInterpolation(time, interpolation); });
}

OfxStatus getKeyframeInterpolation(OfxParamHandle param, OfxTime time, int* interpolation) {
    if (!interpolation) return kOfxStatErrValue;
    return onHandle<Param>(param, [&](Param& p) { return p.keyInterpolation(time, *interpolation); });
}

}  // namespace

const OfxTalvoKeyframeSuiteV1* keyframe() {
    static const OfxTalvoKeyframeSuiteV1 suite{setKeyframeInterpolation, getKeyframeInterpolation};
    return &suite;
}

}  // namespace ofxhost::suites
