#include "ofxhost/Param.h"
#include "ofxhost/SuiteGuard.h"
#include "ofxhost/Suites.h"

// Parametric parameters hold one set of curves for all times: the host
// reports no parametric animation, so the time arguments are not used.
namespace ofxhost::suites {

namespace {

template <class F>
OfxStatus withCurve(OfxParamHandle h, int curveIndex, F&& f) {
    return guarded([&] {
        Param* p = Param::fromHandle(h);
        if (!p || p->type().kind != ValueKind::Parametric) return kOfxStatErrBadHandle;
        Param::Curve c;
        if (OfxStatus s = p->curve(curveIndex, c); s != kOfxStatOK) return s;
        return f(*p, c);
    });
}

OfxStatus getValue(OfxParamHandle h, int curve, OfxTime, double x, double* out) {
    return withCurve(h, curve, [&](Param& p, Param::Curve&) {
        if (!out) return kOfxStatErrValue;
        return p.curveValue(curve, x, *out);
    });
}

OfxStatus getCount(OfxParamHandle h, int curve, double, int* out) {
    return withCurve(h, curve, [&](Param&, Param::Curve& c) {
        if (!out) return kOfxStatErrValue;
        *out = static_cast<int>(c.size());
        return kOfxStatOK;
    });
}

OfxStatus getNth(OfxParamHandle h, int curve, double, int nth, double* key, double* value) {
    return withCurve(h, curve, [&](Param&, Param::Curve& c) {
        if (nth < 0 || nth >= int(c.size())) return kOfxStatErrBadIndex;
        if (!key || !value) return kOfxStatErrValue;
        *key = c[nth].first;
        *value = c[nth].second;
        return kOfxStatOK;
    });
}

OfxStatus setNth(OfxParamHandle h, int curve, double, int nth, double key, double value, bool) {
    return withCurve(h, curve, [&](Param& p, Param::Curve& c) {
        if (nth < 0 || nth >= int(c.size())) return kOfxStatErrBadIndex;
        c[nth] = {key, value};
        return p.setCurve(curve, std::move(c));
    });
}

OfxStatus add(OfxParamHandle h, int curve, double, double key, double value, bool) {
    return withCurve(h, curve, [&](Param& p, Param::Curve& c) {
        c.emplace_back(key, value);
        return p.setCurve(curve, std::move(c));
    });
}

OfxStatus remove(OfxParamHandle h, int curve, int nth) {
    return withCurve(h, curve, [&](Param& p, Param::Curve& c) {
        if (nth < 0 || nth >= int(c.size())) return kOfxStatErrBadIndex;
        c.erase(c.begin() + nth);
        return p.setCurve(curve, std::move(c));
    });
}

OfxStatus removeAll(OfxParamHandle h, int curve) {
    return withCurve(h, curve, [&](Param& p, Param::Curve&) { return p.setCurve(curve, {}); });
}

}  // namespace

const OfxParametricParameterSuiteV1* parametric() {
    static const OfxParametricParameterSuiteV1 suite{getValue, getCount, getNth, setNth, add, remove, removeAll};
    return &suite;
}

}  // namespace ofxhost::suites
