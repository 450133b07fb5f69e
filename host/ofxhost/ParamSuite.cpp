#include <cstdarg>
#include <map>
#include <string>

#include "ofxhost/Effect.h"
#include "ofxhost/Param.h"
#include "ofxhost/SuiteGuard.h"
#include "ofxhost/Suites.h"

namespace ofxhost::suites {

namespace {

// The parameter set behind a handle. An effect handle is taken too: custom
// interpolation callbacks receive their effect in the parameter-set slot.
ParamSet* paramSetOf(OfxParamSetHandle h) {
    if (ParamSet* s = ParamSet::fromHandle(h)) return s;
    if (EffectObject* e = EffectObject::fromHandle(static_cast<const void*>(h))) return &e->params();
    return nullptr;
}

bool isIntLike(ValueKind k) { return k == ValueKind::Int || k == ValueKind::Bool || k == ValueKind::Choice; }
bool isTextLike(ValueKind k) { return k == ValueKind::String || k == ValueKind::Custom; }

// Strings handed out stay valid until the same thread asks the same
// parameter again.
const char* keepString(const Param& p, std::string s) {
    thread_local std::map<const Param*, std::string> kept;
    std::string& slot = kept[&p];
    slot = std::move(s);
    return slot.c_str();
}

OfxStatus writeValue(const Param& p, const ParamValue& v, va_list ap) {
    const ParamType& t = p.type();
    if (isTextLike(t.kind)) {
        auto** out = va_arg(ap, const char**);
        if (!out) return kOfxStatErrValue;
        *out = keepString(p, v.s);
        return kOfxStatOK;
    }
    for (int i = 0; i < t.dims; ++i) {
        if (isIntLike(t.kind)) {
            int* out = va_arg(ap, int*);
            if (!out) return kOfxStatErrValue;
            *out = static_cast<int>(v.n[i]);
        } else {
            double* out = va_arg(ap, double*);
            if (!out) return kOfxStatErrValue;
            *out = v.n[i];
        }
    }
    return kOfxStatOK;
}

OfxStatus readValue(const Param& p, ParamValue& v, va_list ap) {
    const ParamType& t = p.type();
    if (isTextLike(t.kind)) {
        const char* s = va_arg(ap, const char*);
        if (!s) return kOfxStatErrValue;
        v.s = s;
        return kOfxStatOK;
    }
    for (int i = 0; i < t.dims; ++i) v.n[i] = isIntLike(t.kind) ? va_arg(ap, int) : va_arg(ap, double);
    return kOfxStatOK;
}

template <typename Fn>
OfxStatus onParam(OfxParamHandle h, Fn fn) {
    return onHandle<Param>(h, fn);
}

// Computes a value of the parameter and writes it into the caller's
// variable arguments.
template <typename Compute>
OfxStatus writeComputed(OfxParamHandle h, va_list ap, Compute compute) {
    return onParam(h, [&](Param& p) {
        ParamValue v;
        const OfxStatus r = compute(p, v);
        return r == kOfxStatOK ? writeValue(p, v, ap) : r;
    });
}

// Runs a change of the plug-in's and notes it in the parameter set's edit
// block when it went through.
template <typename Change>
OfxStatus noted(Param& p, Change change) {
    const OfxStatus s = change();
    if (s == kOfxStatOK) p.owner().noteEdit(p.name());
    return s;
}

// Reads a value from the caller's variable arguments and stores it.
template <typename Store>
OfxStatus storeRead(OfxParamHandle h, va_list ap, Store store) {
    return onParam(h, [&](Param& p) {
        if (!p.hasValue()) return kOfxStatErrUnsupported;
        ParamValue v;
        const OfxStatus r = readValue(p, v, ap);
        return r == kOfxStatOK ? noted(p, [&] { return store(p, v); }) : r;
    });
}

OfxStatus valueAt(Param& p, double time, ParamValue& v) {
    if (!p.hasValue()) return kOfxStatErrUnsupported;
    v = p.valueAt(time);
    return kOfxStatOK;
}

OfxStatus paramDefine(OfxParamSetHandle h, const char* type, const char* name, OfxPropertySetHandle* props) {
    return guarded([&] {
        ParamSet* set = paramSetOf(h);
        if (!set) return kOfxStatErrBadHandle;
        Param* p = nullptr;
        const OfxStatus s = set->define(type, name, &p);
        if (s == kOfxStatOK && props) *props = p->props().handle();
        return s;
    });
}

OfxStatus paramGetHandle(OfxParamSetHandle h, const char* name, OfxParamHandle* param, OfxPropertySetHandle* props) {
    return guarded([&] {
        ParamSet* set = paramSetOf(h);
        if (!set) return kOfxStatErrBadHandle;
        Param* p = name ? set->find(name) : nullptr;
        if (!p) return kOfxStatErrUnknown;
        if (param) *param = p->handle();
        if (props) *props = p->props().handle();
        return kOfxStatOK;
    });
}

OfxStatus paramSetGetPropertySet(OfxParamSetHandle h, OfxPropertySetHandle* out) {
    return guarded([&] {
        ParamSet* set = paramSetOf(h);
        if (!set) return kOfxStatErrBadHandle;
        return giveOut(out, set->props().handle());
    });
}

OfxStatus paramGetPropertySet(OfxParamHandle h, OfxPropertySetHandle* out) {
    return onParam(h, [&](Param& p) { return giveOut(out, p.props().handle()); });
}

OfxStatus paramGetValue(OfxParamHandle h, ...) {
    va_list ap;
    va_start(ap, h);
    const OfxStatus s =
        writeComputed(h, ap, [](Param& p, ParamValue& v) { return valueAt(p, p.owner().currentTime(), v); });
    va_end(ap);
    return s;
}

OfxStatus paramGetValueAtTime(OfxParamHandle h, OfxTime time, ...) {
    va_list ap;
    va_start(ap, time);
    const OfxStatus s = writeComputed(h, ap, [&](Param& p, ParamValue& v) { return valueAt(p, time, v); });
    va_end(ap);
    return s;
}

OfxStatus paramGetDerivative(OfxParamHandle h, OfxTime time, ...) {
    va_list ap;
    va_start(ap, time);
    const OfxStatus s = writeComputed(h, ap, [&](Param& p, ParamValue& v) { return p.derivative(time, v); });
    va_end(ap);
    return s;
}

OfxStatus paramGetIntegral(OfxParamHandle h, OfxTime t1, OfxTime t2, ...) {
    va_list ap;
    va_start(ap, t2);
    const OfxStatus s = writeComputed(h, ap, [&](Param& p, ParamValue& v) { return p.integral(t1, t2, v); });
    va_end(ap);
    return s;
}

OfxStatus paramSetValue(OfxParamHandle h, ...) {
    va_list ap;
    va_start(ap, h);
    const OfxStatus s = storeRead(h, ap, [](Param& p, const ParamValue& v) { return p.setValue(v); });
    va_end(ap);
    return s;
}

OfxStatus paramSetValueAtTime(OfxParamHandle h, OfxTime time, ...) {
    va_list ap;
    va_start(ap, time);
    const OfxStatus s = storeRead(h, ap, [&](Param& p, const ParamValue& v) { return p.setValueAtTime(time, v); });
    va_end(ap);
    return s;
}

OfxStatus paramGetNumKeys(OfxParamHandle h, unsigned int* n) {
    return onParam(h, [&](Param& p) { return giveOut(n, static_cast<unsigned>(p.keyTimes().size())); });
}

OfxStatus paramGetKeyTime(OfxParamHandle h, unsigned int nth, OfxTime* time) {
    return onParam(h, [&](Param& p) {
        if (!time) return kOfxStatErrValue;
        const auto keys = p.keyTimes();
        if (nth >= keys.size()) return kOfxStatErrBadIndex;
        *time = keys[nth];
        return kOfxStatOK;
    });
}

OfxStatus paramGetKeyIndex(OfxParamHandle h, OfxTime time, int direction, int* index) {
    return onParam(h, [&](Param& p) {
        if (!index) return kOfxStatErrValue;
        const auto keys = p.keyTimes();
        int found = -1;
        for (int i = 0; i < int(keys.size()); ++i) {
            if (direction == 0 && keys[i] == time)
                found = i;
            else if (direction < 0 && keys[i] < time)
                found = i;
            else if (direction > 0 && keys[i] > time && found < 0)
                found = i;
        }
        if (found < 0) return kOfxStatFailed;
        *index = found;
        return kOfxStatOK;
    });
}

OfxStatus paramDeleteKey(OfxParamHandle h, OfxTime time) {
    return onParam(h, [&](Param& p) { return noted(p, [&] { return p.deleteKey(time); }); });
}

OfxStatus paramDeleteAllKeys(OfxParamHandle h) {
    return onParam(h, [](Param& p) {
        return noted(p, [&] {
            p.deleteAllKeys();
            return kOfxStatOK;
        });
    });
}

OfxStatus paramCopy(OfxParamHandle to, OfxParamHandle from, OfxTime offset, const OfxRangeD* range) {
    return guarded([&] {
        Param* t = Param::fromHandle(to);
        Param* f = Param::fromHandle(from);
        if (!t || !f) return kOfxStatErrBadHandle;
        return noted(*t, [&] { return t->copyFrom(*f, offset, range); });
    });
}

OfxStatus paramEditBegin(OfxParamSetHandle h, const char* label) {
    return guarded([&] {
        ParamSet* set = paramSetOf(h);
        if (!set) return kOfxStatErrBadHandle;
        set->beginEdit(label ? label : "");
        return kOfxStatOK;
    });
}

OfxStatus paramEditEnd(OfxParamSetHandle h) {
    return guarded([&] {
        ParamSet* set = paramSetOf(h);
        return set ? set->endEdit() : kOfxStatErrBadHandle;
    });
}

}  // namespace

const OfxParameterSuiteV1* parameter() {
    static const OfxParameterSuiteV1 suite = [] {
        OfxParameterSuiteV1 s{};
        s.paramDefine = paramDefine;
        s.paramGetHandle = paramGetHandle;
        s.paramSetGetPropertySet = paramSetGetPropertySet;
        s.paramGetPropertySet = paramGetPropertySet;
        s.paramGetValue = paramGetValue;
        s.paramGetValueAtTime = paramGetValueAtTime;
        s.paramGetDerivative = paramGetDerivative;
        s.paramGetIntegral = paramGetIntegral;
        s.paramSetValue = paramSetValue;
        s.paramSetValueAtTime = paramSetValueAtTime;
        s.paramGetNumKeys = paramGetNumKeys;
        s.paramGetKeyTime = paramGetKeyTime;
        s.paramGetKeyIndex = paramGetKeyIndex;
        s.paramDeleteKey = paramDeleteKey;
        s.paramDeleteAllKeys = paramDeleteAllKeys;
        s.paramCopy = paramCopy;
        s.paramEditBegin = paramEditBegin;
        s.paramEditEnd = paramEditEnd;
        return s;
    }();
    return &suite;
}

}  // namespace ofxhost::suites
