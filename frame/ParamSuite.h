// How the parameter classes reach the host's parameter suites. Private to the
// parameter files.
#pragma once

#include <string>

#include "Core.h"
#include "Suites.h"

namespace OFX::Private {

// The parameter suite as fetched at load. Outside load and unload there is
// none, and a call is then an unsupported request rather than a jump
// through null.
const OfxParameterSuiteV1& paramSuite();

// The parametric suite, optional: a host without it cannot take control
// points, which is an unsupported request.
const OfxParametricParameterSuiteV1& parametricSuite();

// The handle of a named parameter of a set; a name the host does not know
// fails through the status.
OfxParamHandle paramHandle(OfxParamSetHandle paramSet, const std::string& name);

// A suite function the host left null would be a call to address zero; the
// caller gets the defined failure, naming the function, instead.
template <typename Function>
Function requireFunction(Function function, const char* name) {
    if (!function) throw Exception::Suite(kOfxStatErrUnsupported, name);
    return function;
}

}  // namespace OFX::Private
