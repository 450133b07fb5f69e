#include "ofxhost/Property.h"
#include "ofxhost/SuiteGuard.h"
#include "ofxhost/Suites.h"

namespace ofxhost::suites {

namespace {

template <class F>
OfxStatus withSet(OfxPropertySetHandle h, const char* name, F&& f) {
    return guarded([&] {
        PropertySet* set = PropertySet::fromHandle(h);
        if (!set) return kOfxStatErrBadHandle;
        if (!name) return kOfxStatErrUnknown;
        return f(*set);
    });
}

OfxStatus setPointer(OfxPropertySetHandle h, const char* n, int i, void* v) {
    return withSet(h, n, [&](PropertySet& s) { return s.set(n, i, v); });
}
OfxStatus setString(OfxPropertySetHandle h, const char* n, int i, const char* v) {
    return withSet(h, n, [&](PropertySet& s) { return s.set(n, i, v); });
}
OfxStatus setDouble(OfxPropertySetHandle h, const char* n, int i, double v) {
    return withSet(h, n, [&](PropertySet& s) { return s.set(n, i, v); });
}
OfxStatus setInt(OfxPropertySetHandle h, const char* n, int i, int v) {
    return withSet(h, n, [&](PropertySet& s) { return s.set(n, i, v); });
}
OfxStatus setPointerN(OfxPropertySetHandle h, const char* n, int c, void* const* v) {
    return withSet(h, n, [&](PropertySet& s) { return s.setN(n, c, v); });
}
OfxStatus setStringN(OfxPropertySetHandle h, const char* n, int c, const char* const* v) {
    return withSet(h, n, [&](PropertySet& s) { return s.setN(n, c, v); });
}
OfxStatus setDoubleN(OfxPropertySetHandle h, const char* n, int c, const double* v) {
    return withSet(h, n, [&](PropertySet& s) { return s.setN(n, c, v); });
}
OfxStatus setIntN(OfxPropertySetHandle h, const char* n, int c, const int* v) {
    return withSet(h, n, [&](PropertySet& s) { return s.setN(n, c, v); });
}
OfxStatus getPointer(OfxPropertySetHandle h, const char* n, int i, void** v) {
    return withSet(h, n, [&](PropertySet& s) { return s.get(n, i, v); });
}
OfxStatus getString(OfxPropertySetHandle h, const char* n, int i, char** v) {
    return withSet(h, n, [&](PropertySet& s) { return s.get(n, i, v); });
}
OfxStatus getDouble(OfxPropertySetHandle h, const char* n, int i, double* v) {
    return withSet(h, n, [&](PropertySet& s) { return s.get(n, i, v); });
}
OfxStatus getInt(OfxPropertySetHandle h, const char* n, int i, int* v) {
    return withSet(h, n, [&](PropertySet& s) { return s.get(n, i, v); });
}
OfxStatus getPointerN(OfxPropertySetHandle h, const char* n, int c, void** v) {
    return withSet(h, n, [&](PropertySet& s) { return s.getN(n, c, v); });
}
OfxStatus getStringN(OfxPropertySetHandle h, const char* n, int c, char** v) {
    return withSet(h, n, [&](PropertySet& s) { return s.getN(n, c, v); });
}
OfxStatus getDoubleN(OfxPropertySetHandle h, const char* n, int c, double* v) {
    return withSet(h, n, [&](PropertySet& s) { return s.getN(n, c, v); });
}
OfxStatus getIntN(OfxPropertySetHandle h, const char* n, int c, int* v) {
    return withSet(h, n, [&](PropertySet& s) { return s.getN(n, c, v); });
}
OfxStatus reset(OfxPropertySetHandle h, const char* n) {
    return withSet(h, n, [&](PropertySet& s) { return s.reset(n); });
}
OfxStatus dimension(OfxPropertySetHandle h, const char* n, int* count) {
    return withSet(h, n, [&](PropertySet& s) { return s.dimension(n, count); });
}

}  // namespace

const OfxPropertySuiteV1* property() {
    static const OfxPropertySuiteV1 suite = [] {
        OfxPropertySuiteV1 s{};
        s.propSetPointer = setPointer;
        s.propSetString = setString;
        s.propSetDouble = setDouble;
        s.propSetInt = setInt;
        s.propSetPointerN = setPointerN;
        s.propSetStringN = setStringN;
        s.propSetDoubleN = setDoubleN;
        s.propSetIntN = setIntN;
        s.propGetPointer = getPointer;
        s.propGetString = getString;
        s.propGetDouble = getDouble;
        s.propGetInt = getInt;
        s.propGetPointerN = getPointerN;
        s.propGetStringN = getStringN;
        s.propGetDoubleN = getDoubleN;
        s.propGetIntN = getIntN;
        s.propReset = reset;
        s.propGetDimension = dimension;
        return s;
    }();
    return &suite;
}

}  // namespace ofxhost::suites
