// The typed parameters' values. The parameter suite's value functions are
// variadic, so nothing checks the argument types but these helpers: a get
// passes one pointer per dimension to int, double or char*, a set passes the
// values themselves as int, double or const char*. A bool or a float passed
// on would be read by the host as another type.
#include <concepts>

#include "ParamSuite.h"
#include "Params.h"

namespace OFX {
namespace {

using Private::parametricSuite;
using Private::paramSuite;
using Private::requireFunction;

template <typename T>
concept Readable = std::same_as<T, int> || std::same_as<T, double> || std::same_as<T, char*>;

template <typename T>
concept Writable = std::same_as<T, int> || std::same_as<T, double> || std::same_as<T, const char*>;

template <Readable... Out>
void getValues(OfxParamHandle handle, Out*... out) {
    auto get = requireFunction(paramSuite().paramGetValue, "paramGetValue");
    throwSuiteStatusException(get(handle, out...));
}

template <Readable... Out>
void getValuesAtTime(OfxParamHandle handle, OfxTime time, Out*... out) {
    auto get = requireFunction(paramSuite().paramGetValueAtTime, "paramGetValueAtTime");
    throwSuiteStatusException(get(handle, time, out...));
}

template <Writable... In>
void setValues(OfxParamHandle handle, In... in) {
    auto set = requireFunction(paramSuite().paramSetValue, "paramSetValue");
    throwSuiteStatusException(set(handle, in...));
}

template <Writable... In>
void setValuesAtTime(OfxParamHandle handle, OfxTime time, In... in) {
    auto set = requireFunction(paramSuite().paramSetValueAtTime, "paramSetValueAtTime");
    throwSuiteStatusException(set(handle, time, in...));
}

template <std::same_as<double>... Out>
void getDerivatives(OfxParamHandle handle, OfxTime time, Out*... out) {
    auto get = requireFunction(paramSuite().paramGetDerivative, "paramGetDerivative");
    throwSuiteStatusException(get(handle, time, out...));
}

template <std::same_as<double>... Out>
void getIntegrals(OfxParamHandle handle, OfxTime time1, OfxTime time2, Out*... out) {
    auto get = requireFunction(paramSuite().paramGetIntegral, "paramGetIntegral");
    throwSuiteStatusException(get(handle, time1, time2, out...));
}

// The host keeps the text; it is copied before any other call can move it.
std::string copyText(const char* text) { return text ? std::string(text) : std::string(); }

std::string getText(OfxParamHandle handle) {
    char* text = nullptr;
    getValues(handle, &text);
    return copyText(text);
}

std::string getTextAtTime(OfxParamHandle handle, OfxTime time) {
    char* text = nullptr;
    getValuesAtTime(handle, time, &text);
    return copyText(text);
}

// Reads indices 0, 1, ... of one property into the outputs, in order.
template <typename... Out>
void readInts(const PropertySet& props, const char* name, Out&... out) {
    int index = 0;
    ((out = props.propGetInt(name, index++)), ...);
}

template <typename... Out>
void readDoubles(const PropertySet& props, const char* name, Out&... out) {
    int index = 0;
    ((out = props.propGetDouble(name, index++)), ...);
}

}  // namespace

// Integers

IntParam::IntParam(ParamSet& owner, std::string name, OfxParamHandle handle, OfxPropertySetHandle props)
    : ValueParam(owner, std::move(name), kType, handle, props) {}

int IntParam::getValue() const {
    int value = 0;
    getValues(getHandle(), &value);
    return value;
}

int IntParam::getValueAtTime(double time) const {
    int value = 0;
    getValuesAtTime(getHandle(), time, &value);
    return value;
}

void IntParam::setValue(int value) { setValues(getHandle(), value); }

void IntParam::setValueAtTime(double time, int value) { setValuesAtTime(getHandle(), time, value); }

int IntParam::getDefault() const { return getPropertySet().propGetInt(kOfxParamPropDefault); }

void IntParam::getRange(int& min, int& max) const {
    readInts(getPropertySet(), kOfxParamPropMin, min);
    readInts(getPropertySet(), kOfxParamPropMax, max);
}

void IntParam::getDisplayRange(int& min, int& max) const {
    readInts(getPropertySet(), kOfxParamPropDisplayMin, min);
    readInts(getPropertySet(), kOfxParamPropDisplayMax, max);
}

Int2DParam::Int2DParam(ParamSet& owner, std::string name, OfxParamHandle handle, OfxPropertySetHandle props)
    : ValueParam(owner, std::move(name), kType, handle, props) {}

void Int2DParam::getValue(int& x, int& y) const { getValues(getHandle(), &x, &y); }

void Int2DParam::getValueAtTime(double time, int& x, int& y) const { getValuesAtTime(getHandle(), time, &x, &y); }

void Int2DParam::setValue(int x, int y) { setValues(getHandle(), x, y); }

void Int2DParam::setValueAtTime(double time, int x, int y) { setValuesAtTime(getHandle(), time, x, y); }

void Int2DParam::getDefault(int& x, int& y) const { readInts(getPropertySet(), kOfxParamPropDefault, x, y); }

void Int2DParam::getRange(int& minX, int& minY, int& maxX, int& maxY) const {
    readInts(getPropertySet(), kOfxParamPropMin, minX, minY);
    readInts(getPropertySet(), kOfxParamPropMax, maxX, maxY);
}

void Int2DParam::getDisplayRange(int& minX, int& minY, int& maxX, int& maxY) const {
    readInts(getPropertySet(), kOfxParamPropDisplayMin, minX, minY);
    readInts(getPropertySet(), kOfxParamPropDisplayMax, maxX, maxY);
}

Int3DParam::Int3DParam(ParamSet& owner, std::string name, OfxParamHandle handle, OfxPropertySetHandle props)
    : ValueParam(owner, std::move(name), kType, handle, props) {}

void Int3DParam::getValue(int& x, int& y, int& z) const { getValues(getHandle(), &x, &y, &z); }

void Int3DParam::getValueAtTime(double time, int& x, int& y, int& z) const {
    getValuesAtTime(getHandle(), time, &x, &y, &z);
}

void Int3DParam::setValue(int x, int y, int z) { setValues(getHandle(), x, y, z); }

void Int3DParam::setValueAtTime(double time, int x, int y, int z) { setValuesAtTime(getHandle(), time, x, y, z); }

void Int3DParam::getDefault(int& x, int& y, int& z) const { readInts(getPropertySet(), kOfxParamPropDefault, x, y, z); }

void Int3DParam::getRange(int& minX, int& minY, int& minZ, int& maxX, int& maxY, int& maxZ) const {
    readInts(getPropertySet(), kOfxParamPropMin, minX, minY, minZ);
    readInts(getPropertySet(), kOfxParamPropMax, maxX, maxY, maxZ);
}

void Int3DParam::getDisplayRange(int& minX, int& minY, int& minZ, int& maxX, int& maxY, int& maxZ) const {
    readInts(getPropertySet(), kOfxParamPropDisplayMin, minX, minY, minZ);
    readInts(getPropertySet(), kOfxParamPropDisplayMax, maxX, maxY, maxZ);
}

// Doubles

double BaseDoubleParam::getIncrement() const { return getPropertySet().propGetDouble(kOfxParamPropIncrement); }

int BaseDoubleParam::getDigits() const { return getPropertySet().propGetInt(kOfxParamPropDigits); }

ParamDoubleTypeEnum BaseDoubleParam::getDoubleType() const {
    return mapDoubleTypeStringToEnum(getPropertySet().propGetString(kOfxParamPropDoubleType));
}

DoubleParam::DoubleParam(ParamSet& owner, std::string name, OfxParamHandle handle, OfxPropertySetHandle props)
    : BaseDoubleParam(owner, std::move(name), kType, handle, props) {}

double DoubleParam::getValue() const {
    double value = 0;
    getValues(getHandle(), &value);
    return value;
}

double DoubleParam::getValueAtTime(double time) const {
    double value = 0;
    getValuesAtTime(getHandle(), time, &value);
    return value;
}

void DoubleParam::setValue(double value) { setValues(getHandle(), value); }

void DoubleParam::setValueAtTime(double time, double value) { setValuesAtTime(getHandle(), time, value); }

double DoubleParam::getDefault() const { return getPropertySet().propGetDouble(kOfxParamPropDefault); }

void DoubleParam::getRange(double& min, double& max) const {
    readDoubles(getPropertySet(), kOfxParamPropMin, min);
    readDoubles(getPropertySet(), kOfxParamPropMax, max);
}

void DoubleParam::getDisplayRange(double& min, double& max) const {
    readDoubles(getPropertySet(), kOfxParamPropDisplayMin, min);
    readDoubles(getPropertySet(), kOfxParamPropDisplayMax, max);
}

double DoubleParam::getDerivative(double time) const {
    double value = 0;
    getDerivatives(getHandle(), time, &value);
    return value;
}

double DoubleParam::getIntegral(double time1, double time2) const {
    double value = 0;
    getIntegrals(getHandle(), time1, time2, &value);
    return value;
}

Double2DParam::Double2DParam(ParamSet& owner, std::string name, OfxParamHandle handle, OfxPropertySetHandle props)
    : BaseDoubleParam(owner, std::move(name), kType, handle, props) {}

void Double2DParam::getValue(double& x, double& y) const { getValues(getHandle(), &x, &y); }

void Double2DParam::getValueAtTime(double time, double& x, double& y) const {
    getValuesAtTime(getHandle(), time, &x, &y);
}

void Double2DParam::setValue(double x, double y) { setValues(getHandle(), x, y); }

void Double2DParam::setValueAtTime(double time, double x, double y) { setValuesAtTime(getHandle(), time, x, y); }

void Double2DParam::getDefault(double& x, double& y) const {
    readDoubles(getPropertySet(), kOfxParamPropDefault, x, y);
}

void Double2DParam::getRange(double& minX, double& minY, double& maxX, double& maxY) const {
    readDoubles(getPropertySet(), kOfxParamPropMin, minX, minY);
    readDoubles(getPropertySet(), kOfxParamPropMax, maxX, maxY);
}

void Double2DParam::getDisplayRange(double& minX, double& minY, double& maxX, double& maxY) const {
    readDoubles(getPropertySet(), kOfxParamPropDisplayMin, minX, minY);
    readDoubles(getPropertySet(), kOfxParamPropDisplayMax, maxX, maxY);
}

void Double2DParam::getDerivative(double time, double& x, double& y) const {
    getDerivatives(getHandle(), time, &x, &y);
}

void Double2DParam::getIntegral(double time1, double time2, double& x, double& y) const {
    getIntegrals(getHandle(), time1, time2, &x, &y);
}

Double3DParam::Double3DParam(ParamSet& owner, std::string name, OfxParamHandle handle, OfxPropertySetHandle props)
    : BaseDoubleParam(owner, std::move(name), kType, handle, props) {}

void Double3DParam::getValue(double& x, double& y, double& z) const { getValues(getHandle(), &x, &y, &z); }

void Double3DParam::getValueAtTime(double time, double& x, double& y, double& z) const {
    getValuesAtTime(getHandle(), time, &x, &y, &z);
}

void Double3DParam::setValue(double x, double y, double z) { setValues(getHandle(), x, y, z); }

void Double3DParam::setValueAtTime(double time, double x, double y, double z) {
    setValuesAtTime(getHandle(), time, x, y, z);
}

void Double3DParam::getDefault(double& x, double& y, double& z) const {
    readDoubles(getPropertySet(), kOfxParamPropDefault, x, y, z);
}

void Double3DParam::getRange(double& minX, double& minY, double& minZ, double& maxX, double& maxY, double& maxZ) const {
    readDoubles(getPropertySet(), kOfxParamPropMin, minX, minY, minZ);
    readDoubles(getPropertySet(), kOfxParamPropMax, maxX, maxY, maxZ);
}

void Double3DParam::getDisplayRange(double& minX, double& minY, double& minZ, double& maxX, double& maxY,
                                    double& maxZ) const {
    readDoubles(getPropertySet(), kOfxParamPropDisplayMin, minX, minY, minZ);
    readDoubles(getPropertySet(), kOfxParamPropDisplayMax, maxX, maxY, maxZ);
}

void Double3DParam::getDerivative(double time, double& x, double& y, double& z) const {
    getDerivatives(getHandle(), time, &x, &y, &z);
}

void Double3DParam::getIntegral(double time1, double time2, double& x, double& y, double& z) const {
    getIntegrals(getHandle(), time1, time2, &x, &y, &z);
}

// Colours

RGBParam::RGBParam(ParamSet& owner, std::string name, OfxParamHandle handle, OfxPropertySetHandle props)
    : ValueParam(owner, std::move(name), kType, handle, props) {}

void RGBParam::getValue(double& r, double& g, double& b) const { getValues(getHandle(), &r, &g, &b); }

void RGBParam::getValueAtTime(double time, double& r, double& g, double& b) const {
    getValuesAtTime(getHandle(), time, &r, &g, &b);
}

void RGBParam::setValue(double r, double g, double b) { setValues(getHandle(), r, g, b); }

void RGBParam::setValueAtTime(double time, double r, double g, double b) {
    setValuesAtTime(getHandle(), time, r, g, b);
}

void RGBParam::getDefault(double& r, double& g, double& b) const {
    readDoubles(getPropertySet(), kOfxParamPropDefault, r, g, b);
}

RGBAParam::RGBAParam(ParamSet& owner, std::string name, OfxParamHandle handle, OfxPropertySetHandle props)
    : ValueParam(owner, std::move(name), kType, handle, props) {}

void RGBAParam::getValue(double& r, double& g, double& b, double& a) const { getValues(getHandle(), &r, &g, &b, &a); }

void RGBAParam::getValueAtTime(double time, double& r, double& g, double& b, double& a) const {
    getValuesAtTime(getHandle(), time, &r, &g, &b, &a);
}

void RGBAParam::setValue(double r, double g, double b, double a) { setValues(getHandle(), r, g, b, a); }

void RGBAParam::setValueAtTime(double time, double r, double g, double b, double a) {
    setValuesAtTime(getHandle(), time, r, g, b, a);
}

void RGBAParam::getDefault(double& r, double& g, double& b, double& a) const {
    readDoubles(getPropertySet(), kOfxParamPropDefault, r, g, b, a);
}

// Boolean and choice travel as int.

BooleanParam::BooleanParam(ParamSet& owner, std::string name, OfxParamHandle handle, OfxPropertySetHandle props)
    : ValueParam(owner, std::move(name), kType, handle, props) {}

bool BooleanParam::getValue() const {
    int value = 0;
    getValues(getHandle(), &value);
    return value != 0;
}

bool BooleanParam::getValueAtTime(double time) const {
    int value = 0;
    getValuesAtTime(getHandle(), time, &value);
    return value != 0;
}

void BooleanParam::setValue(bool value) { setValues(getHandle(), static_cast<int>(value)); }

void BooleanParam::setValueAtTime(double time, bool value) {
    setValuesAtTime(getHandle(), time, static_cast<int>(value));
}

bool BooleanParam::getDefault() const { return getPropertySet().propGetInt(kOfxParamPropDefault) != 0; }

ChoiceParam::ChoiceParam(ParamSet& owner, std::string name, OfxParamHandle handle, OfxPropertySetHandle props)
    : ValueParam(owner, std::move(name), kType, handle, props) {}

int ChoiceParam::getValue() const {
    int index = 0;
    getValues(getHandle(), &index);
    return index;
}

int ChoiceParam::getValueAtTime(double time) const {
    int index = 0;
    getValuesAtTime(getHandle(), time, &index);
    return index;
}

void ChoiceParam::setValue(int index) { setValues(getHandle(), index); }

void ChoiceParam::setValueAtTime(double time, int index) { setValuesAtTime(getHandle(), time, index); }

int ChoiceParam::getDefault() const { return getPropertySet().propGetInt(kOfxParamPropDefault); }

int ChoiceParam::getOptionCount() const { return getPropertySet().propGetDimension(kOfxParamPropChoiceOption); }

std::string ChoiceParam::getOption(int index) const {
    return getPropertySet().propGetString(kOfxParamPropChoiceOption, index);
}

void ChoiceParam::appendOption(const std::string& label) {
    getPropertySet().propSetString(kOfxParamPropChoiceOption, label, getOptionCount());
}

void ChoiceParam::resetOptions() { getPropertySet().propReset(kOfxParamPropChoiceOption); }

// Text

StringParam::StringParam(ParamSet& owner, std::string name, OfxParamHandle handle, OfxPropertySetHandle props)
    : ValueParam(owner, std::move(name), kType, handle, props) {}

std::string StringParam::getValue() const { return getText(getHandle()); }

std::string StringParam::getValueAtTime(double time) const { return getTextAtTime(getHandle(), time); }

void StringParam::setValue(const std::string& value) { setValues(getHandle(), value.c_str()); }

void StringParam::setValueAtTime(double time, const std::string& value) {
    setValuesAtTime(getHandle(), time, value.c_str());
}

std::string StringParam::getDefault() const { return getPropertySet().propGetString(kOfxParamPropDefault); }

CustomParam::CustomParam(ParamSet& owner, std::string name, OfxParamHandle handle, OfxPropertySetHandle props)
    : ValueParam(owner, std::move(name), kType, handle, props) {}

std::string CustomParam::getValue() const { return getText(getHandle()); }

std::string CustomParam::getValueAtTime(double time) const { return getTextAtTime(getHandle(), time); }

void CustomParam::setValue(const std::string& value) { setValues(getHandle(), value.c_str()); }

void CustomParam::setValueAtTime(double time, const std::string& value) {
    setValuesAtTime(getHandle(), time, value.c_str());
}

std::string CustomParam::getDefault() const { return getPropertySet().propGetString(kOfxParamPropDefault); }

// Kinds without a value

ImageParam::ImageParam(ParamSet& owner, std::string name, OfxParamHandle handle, OfxPropertySetHandle props)
    : Param(owner, std::move(name), kType, handle, props) {}

GroupParam::GroupParam(ParamSet& owner, std::string name, OfxParamHandle handle, OfxPropertySetHandle props)
    : Param(owner, std::move(name), kType, handle, props) {}

bool GroupParam::getIsOpen() const { return getPropertySet().propGetInt(kOfxParamPropGroupOpen) != 0; }

PageParam::PageParam(ParamSet& owner, std::string name, OfxParamHandle handle, OfxPropertySetHandle props)
    : Param(owner, std::move(name), kType, handle, props) {}

PushButtonParam::PushButtonParam(ParamSet& owner, std::string name, OfxParamHandle handle, OfxPropertySetHandle props)
    : Param(owner, std::move(name), kType, handle, props) {}

// Parametric

ParametricParam::ParametricParam(ParamSet& owner, std::string name, OfxParamHandle handle, OfxPropertySetHandle props)
    : ValueParam(owner, std::move(name), kType, handle, props) {}

int ParametricParam::getCurveCount() const { return getPropertySet().propGetInt(kOfxParamPropParametricDimension); }

void ParametricParam::getRange(double& min, double& max) const {
    readDoubles(getPropertySet(), kOfxParamPropParametricRange, min, max);
}

double ParametricParam::getValue(int curve, double time, double position) const {
    double value = 0;
    auto get = requireFunction(parametricSuite().parametricParamGetValue, "parametricParamGetValue");
    throwSuiteStatusException(get(getHandle(), curve, time, position, &value));
    return value;
}

int ParametricParam::getNControlPoints(int curve, double time) const {
    int count = 0;
    auto get = requireFunction(parametricSuite().parametricParamGetNControlPoints, "parametricParamGetNControlPoints");
    throwSuiteStatusException(get(getHandle(), curve, time, &count));
    return count;
}

void ParametricParam::getNthControlPoint(int curve, double time, int nth, double& position, double& value) const {
    auto get =
        requireFunction(parametricSuite().parametricParamGetNthControlPoint, "parametricParamGetNthControlPoint");
    throwSuiteStatusException(get(getHandle(), curve, time, nth, &position, &value));
}

void ParametricParam::setNthControlPoint(int curve, double time, int nth, double position, double value, bool addKey) {
    auto set =
        requireFunction(parametricSuite().parametricParamSetNthControlPoint, "parametricParamSetNthControlPoint");
    throwSuiteStatusException(set(getHandle(), curve, time, nth, position, value, addKey));
}

void ParametricParam::addControlPoint(int curve, double time, double position, double value, bool addKey) {
    auto add = requireFunction(parametricSuite().parametricParamAddControlPoint, "parametricParamAddControlPoint");
    throwSuiteStatusException(add(getHandle(), curve, time, position, value, addKey));
}

void ParametricParam::deleteControlPoint(int curve, int nth) {
    auto remove =
        requireFunction(parametricSuite().parametricParamDeleteControlPoint, "parametricParamDeleteControlPoint");
    throwSuiteStatusException(remove(getHandle(), curve, nth));
}

void ParametricParam::deleteControlPoints(int curve) {
    auto remove = requireFunction(parametricSuite().parametricParamDeleteAllControlPoints,
                                  "parametricParamDeleteAllControlPoints");
    throwSuiteStatusException(remove(getHandle(), curve));
}

}  // namespace OFX
