#include "PropertySet.h"

#include <new>

#include "Core.h"
#include "Log.h"
#include "Suites.h"

namespace OFX {

bool PropertySet::throwOnUnsupported = true;
int PropertySet::logLevel = 0;

namespace {

void checkStatus(OfxStatus status, const char* name) {
    switch (status) {
        case kOfxStatOK:
        case kOfxStatReplyYes:
        case kOfxStatReplyNo:
        case kOfxStatReplyDefault: return;
        case kOfxStatErrUnknown:
        case kOfxStatErrUnsupported:
            if (PropertySet::throwOnUnsupported) throw Exception::PropertyUnknownToHost(name);
            return;
        case kOfxStatErrMemory: throw std::bad_alloc();
        case kOfxStatErrValue: throw Exception::PropertyValueIllegalToHost(name);
        default: throwSuiteStatusException(status);
    }
}

const OfxPropertySuiteV1& suite() {
    if (!Private::gPropSuite) throw Exception::Suite(kOfxStatErrUnsupported, kOfxPropertySuite);
    return *Private::gPropSuite;
}

}  // namespace

int PropertySet::propGetDimension(const char* name, bool throwOnFailure) const {
    int dimension = 0;
    OfxStatus stat = suite().propGetDimension(handle_, name, &dimension);
    Log::error(stat != kOfxStatOK, "Failed on fetching dimension for property %s, host returned status %s.", name,
               mapStatusToString(stat));
    if (throwOnFailure) checkStatus(stat, name);
    if (stat != kOfxStatOK) return 0;
    if (logLevel > 0) Log::print("Fetched dimension of property %s, returned %d.", name, dimension);
    return dimension;
}

void PropertySet::propReset(const char* name) {
    OfxStatus stat = suite().propReset(handle_, name);
    Log::error(stat != kOfxStatOK, "Failed on reseting property %s to its defaults, host returned status %s.", name,
               mapStatusToString(stat));
    checkStatus(stat, name);
    if (logLevel > 0) Log::print("Reset property %s.", name);
}

void PropertySet::propSetPointer(const char* name, void* value, int index, bool throwOnFailure) {
    OfxStatus stat = suite().propSetPointer(handle_, name, index, value);
    Log::error(stat != kOfxStatOK, "Failed on setting pointer property %s[%d] to %p, host returned status %s (%d);",
               name, index, value, mapStatusToString(stat), stat);
    if (throwOnFailure) checkStatus(stat, name);
    if (logLevel > 0) Log::print("Set pointer property %s[%d] to be %p.", name, index, value);
}

void PropertySet::propSetString(const char* name, const std::string& value, int index, bool throwOnFailure) {
    OfxStatus stat = suite().propSetString(handle_, name, index, value.c_str());
    Log::error(stat != kOfxStatOK, "Failed on setting string property %s[%d] to %s, host returned status %s (%d);",
               name, index, value.c_str(), mapStatusToString(stat), stat);
    if (throwOnFailure) checkStatus(stat, name);
    if (logLevel > 0) Log::print("Set string property %s[%d] to be %s.", name, index, value.c_str());
}

void PropertySet::propSetDouble(const char* name, double value, int index, bool throwOnFailure) {
    OfxStatus stat = suite().propSetDouble(handle_, name, index, value);
    Log::error(stat != kOfxStatOK, "Failed on setting double property %s[%d] to %lf, host returned status %s (%d);",
               name, index, value, mapStatusToString(stat), stat);
    if (throwOnFailure) checkStatus(stat, name);
    if (logLevel > 0) Log::print("Set double property %s[%d] to be %lf.", name, index, value);
}

void PropertySet::propSetInt(const char* name, int value, int index, bool throwOnFailure) {
    OfxStatus stat = suite().propSetInt(handle_, name, index, value);
    Log::error(stat != kOfxStatOK, "Failed on setting int property %s[%d] to %d, host returned status %s (%d);", name,
               index, value, mapStatusToString(stat), stat);
    if (throwOnFailure) checkStatus(stat, name);
    if (logLevel > 0) Log::print("Set int property %s[%d] to be %d.", name, index, value);
}

void PropertySet::propSetDoubleN(const char* name, const double* values, int count, bool throwOnFailure) {
    OfxStatus stat = suite().propSetDoubleN(handle_, name, count, values);
    Log::error(stat != kOfxStatOK, "Failed on setting double property %s[0..%d], host returned status %s;", name,
               count - 1, mapStatusToString(stat));
    if (throwOnFailure) checkStatus(stat, name);
    if (logLevel > 0) Log::print("Set double property %s[0..%d].", name, count - 1);
}

void* PropertySet::propGetPointer(const char* name, int index, bool throwOnFailure) const {
    void* value = nullptr;
    OfxStatus stat = suite().propGetPointer(handle_, name, index, &value);
    Log::error(stat != kOfxStatOK, "Failed on getting pointer property %s[%d], host returned status %s;", name, index,
               mapStatusToString(stat));
    if (throwOnFailure) checkStatus(stat, name);
    if (stat != kOfxStatOK) return nullptr;
    if (logLevel > 0) Log::print("Retrieved pointer property %s[%d], was given %p.", name, index, value);
    return value;
}

std::string PropertySet::propGetString(const char* name, int index, bool throwOnFailure) const {
    char* value = nullptr;
    OfxStatus stat = suite().propGetString(handle_, name, index, &value);
    Log::error(stat != kOfxStatOK, "Failed on getting string property %s[%d], host returned status %s;", name, index,
               mapStatusToString(stat));
    if (throwOnFailure) checkStatus(stat, name);
    if (stat != kOfxStatOK || !value) return {};
    if (logLevel > 0) Log::print("Retrieved string property %s, was given %s.", name, value);
    return value;
}

double PropertySet::propGetDouble(const char* name, int index, bool throwOnFailure) const {
    double value = 0.0;
    OfxStatus stat = suite().propGetDouble(handle_, name, index, &value);
    Log::error(stat != kOfxStatOK, "Failed on getting double property %s[%d], host returned status %s;", name, index,
               mapStatusToString(stat));
    if (throwOnFailure) checkStatus(stat, name);
    if (stat != kOfxStatOK) return 0.0;
    if (logLevel > 0) Log::print("Retrieved double property %s[%d], was given %lf.", name, index, value);
    return value;
}

int PropertySet::propGetInt(const char* name, int index, bool throwOnFailure) const {
    int value = 0;
    OfxStatus stat = suite().propGetInt(handle_, name, index, &value);
    Log::error(stat != kOfxStatOK, "Failed on getting int property %s[%d], host returned status %s;", name, index,
               mapStatusToString(stat));
    if (throwOnFailure) checkStatus(stat, name);
    if (stat != kOfxStatOK) return 0;
    if (logLevel > 0) Log::print("Retrieved int property %s[%d], was given %d.", name, index, value);
    return value;
}

std::vector<std::string> PropertySet::propGetString(const char* name, bool throwOnFailure) const {
    std::vector<std::string> values;
    const int n = propGetDimension(name, throwOnFailure);
    for (int i = 0; i < n; ++i) values.push_back(propGetString(name, i, throwOnFailure));
    return values;
}

}  // namespace OFX
