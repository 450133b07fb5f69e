// The instance side of parameters: one class per parameter kind, each a thin
// typed view of one parameter of a live effect, and the set that fetches and
// owns them. Nothing is cached: every read goes to the host, so a render
// sees the value at its own time and a change made in the host's panel is
// seen at once.
//
// Failures: a failing status of a suite call throws through
// throwSuiteStatusException; a suite function the host left null throws
// Exception::Suite(kOfxStatErrUnsupported) naming the function; a parameter
// fetched as another kind than its own throws Exception::TypeRequest.
#pragma once

#include <map>
#include <memory>
#include <string>

#include "ParamTypes.h"
#include "PropertySet.h"
#include "ofxCore.h"
#include "ofxParam.h"

namespace OFX {

class ParamSet;
class GroupParam;

// What the host hands an effect's interpolateCustomParam: the two keys
// around `time`, their texts, and how far between them `time` lies.
struct InterpolateCustomArgs {
    double time;
    std::string value1, value2;
    double keyTime1, keyTime2;
    double amount;
    std::string name;
};

namespace Private {
// The interpolation callback that custom parameters register, of the
// standard's OfxCustomParamInterpFuncV1 type; defined with the action
// dispatch.
OfxStatus customParamInterpolationV1Entry(OfxParamSetHandle instance, OfxPropertySetHandle inArgs,
                                          OfxPropertySetHandle outArgs);
}  // namespace Private

// What every parameter of a live effect offers: names, labels, visibility.
class Param {
public:
    Param(ParamSet& owner, std::string name, ParamTypeEnum type, OfxParamHandle handle, OfxPropertySetHandle props);
    virtual ~Param() = default;
    Param(const Param&) = delete;
    Param& operator=(const Param&) = delete;

    const std::string& getName() const { return name_; }
    ParamTypeEnum getType() const { return type_; }
    OfxParamHandle getHandle() const { return handle_; }
    PropertySet& getPropertySet() { return props_; }
    const PropertySet& getPropertySet() const { return props_; }

    std::string getLabel() const;
    void getLabels(std::string& label, std::string& shortLabel, std::string& longLabel) const;
    void setLabels(const std::string& label, const std::string& shortLabel, const std::string& longLabel);
    std::string getHint() const;
    void setHint(const std::string& hint);
    std::string getScriptName() const;
    bool getIsSecret() const;
    void setIsSecret(bool secret);
    bool getIsEnable() const;
    void setEnabled(bool enabled);
    // The group that holds the parameter, or null at the top level.
    GroupParam* getParent() const;

private:
    ParamSet* owner_;
    std::string name_;
    ParamTypeEnum type_;
    OfxParamHandle handle_;
    PropertySet props_;
};

// Parameters with a value that the host may animate with keys.
class ValueParam : public Param {
public:
    using Param::Param;

    bool getIsAnimating() const;
    bool getIsAutoKeying() const;
    bool getIsPersistant() const;
    bool getEvaluateOnChange() const;
    bool getCanAnimate() const;
    ParamInvalidateEnum getCacheInvalidation() const;

    int getNumKeys() const;
    // Throws std::out_of_range outside 0 to getNumKeys() - 1.
    double getKeyTime(int index) const;
    // The index of the key at, before or after `time`, or -1 where there is
    // none.
    int getKeyIndex(double time, KeySearchEnum search) const;
    void deleteKeyAtTime(double time);
    void deleteAllKeys();
    // Copies the other parameter's value and keys, shifted by `offset`;
    // a null range copies all of them.
    void copyFrom(const ValueParam& from, double offset, const OfxRangeD* range);
    // Sets how the host eases out of the key at `time`. Does nothing on a
    // host without the keyframe suite, which keeps its own default.
    void setKeyframeInterpolation(double time, KeyframeInterpolationEnum interpolation);
};

class IntParam final : public ValueParam {
public:
    static constexpr ParamTypeEnum kType = eIntParam;
    IntParam(ParamSet& owner, std::string name, OfxParamHandle handle, OfxPropertySetHandle props);
    int getValue() const;
    int getValueAtTime(double time) const;
    void setValue(int value);
    void setValueAtTime(double time, int value);
    int getDefault() const;
    void getRange(int& min, int& max) const;
    void getDisplayRange(int& min, int& max) const;
};

class Int2DParam final : public ValueParam {
public:
    static constexpr ParamTypeEnum kType = eInt2DParam;
    Int2DParam(ParamSet& owner, std::string name, OfxParamHandle handle, OfxPropertySetHandle props);
    void getValue(int& x, int& y) const;
    void getValueAtTime(double time, int& x, int& y) const;
    void setValue(int x, int y);
    void setValueAtTime(double time, int x, int y);
    void getDefault(int& x, int& y) const;
    void getRange(int& minX, int& minY, int& maxX, int& maxY) const;
    void getDisplayRange(int& minX, int& minY, int& maxX, int& maxY) const;
};

class Int3DParam final : public ValueParam {
public:
    static constexpr ParamTypeEnum kType = eInt3DParam;
    Int3DParam(ParamSet& owner, std::string name, OfxParamHandle handle, OfxPropertySetHandle props);
    void getValue(int& x, int& y, int& z) const;
    void getValueAtTime(double time, int& x, int& y, int& z) const;
    void setValue(int x, int y, int z);
    void setValueAtTime(double time, int x, int y, int z);
    void getDefault(int& x, int& y, int& z) const;
    void getRange(int& minX, int& minY, int& minZ, int& maxX, int& maxY, int& maxZ) const;
    void getDisplayRange(int& minX, int& minY, int& minZ, int& maxX, int& maxY, int& maxZ) const;
};

// The double kinds share how the host steps, shows and scales them.
class BaseDoubleParam : public ValueParam {
public:
    using ValueParam::ValueParam;
    double getIncrement() const;
    int getDigits() const;
    ParamDoubleTypeEnum getDoubleType() const;
};

class DoubleParam final : public BaseDoubleParam {
public:
    static constexpr ParamTypeEnum kType = eDoubleParam;
    DoubleParam(ParamSet& owner, std::string name, OfxParamHandle handle, OfxPropertySetHandle props);
    double getValue() const;
    double getValueAtTime(double time) const;
    void setValue(double value);
    void setValueAtTime(double time, double value);
    double getDefault() const;
    void getRange(double& min, double& max) const;
    void getDisplayRange(double& min, double& max) const;
    double getDerivative(double time) const;
    double getIntegral(double time1, double time2) const;
};

class Double2DParam final : public BaseDoubleParam {
public:
    static constexpr ParamTypeEnum kType = eDouble2DParam;
    Double2DParam(ParamSet& owner, std::string name, OfxParamHandle handle, OfxPropertySetHandle props);
    void getValue(double& x, double& y) const;
    void getValueAtTime(double time, double& x, double& y) const;
    void setValue(double x, double y);
    void setValueAtTime(double time, double x, double y);
    void getDefault(double& x, double& y) const;
    void getRange(double& minX, double& minY, double& maxX, double& maxY) const;
    void getDisplayRange(double& minX, double& minY, double& maxX, double& maxY) const;
    void getDerivative(double time, double& x, double& y) const;
    void getIntegral(double time1, double time2, double& x, double& y) const;
};

class Double3DParam final : public BaseDoubleParam {
public:
    static constexpr ParamTypeEnum kType = eDouble3DParam;
    Double3DParam(ParamSet& owner, std::string name, OfxParamHandle handle, OfxPropertySetHandle props);
    void getValue(double& x, double& y, double& z) const;
    void getValueAtTime(double time, double& x, double& y, double& z) const;
    void setValue(double x, double y, double z);
    void setValueAtTime(double time, double x, double y, double z);
    void getDefault(double& x, double& y, double& z) const;
    void getRange(double& minX, double& minY, double& minZ, double& maxX, double& maxY, double& maxZ) const;
    void getDisplayRange(double& minX, double& minY, double& minZ, double& maxX, double& maxY, double& maxZ) const;
    void getDerivative(double time, double& x, double& y, double& z) const;
    void getIntegral(double time1, double time2, double& x, double& y, double& z) const;
};

class RGBParam final : public ValueParam {
public:
    static constexpr ParamTypeEnum kType = eRGBParam;
    RGBParam(ParamSet& owner, std::string name, OfxParamHandle handle, OfxPropertySetHandle props);
    void getValue(double& r, double& g, double& b) const;
    void getValueAtTime(double time, double& r, double& g, double& b) const;
    void setValue(double r, double g, double b);
    void setValueAtTime(double time, double r, double g, double b);
    void getDefault(double& r, double& g, double& b) const;
};

class RGBAParam final : public ValueParam {
public:
    static constexpr ParamTypeEnum kType = eRGBAParam;
    RGBAParam(ParamSet& owner, std::string name, OfxParamHandle handle, OfxPropertySetHandle props);
    void getValue(double& r, double& g, double& b, double& a) const;
    void getValueAtTime(double time, double& r, double& g, double& b, double& a) const;
    void setValue(double r, double g, double b, double a);
    void setValueAtTime(double time, double r, double g, double b, double a);
    void getDefault(double& r, double& g, double& b, double& a) const;
};

class BooleanParam final : public ValueParam {
public:
    static constexpr ParamTypeEnum kType = eBooleanParam;
    BooleanParam(ParamSet& owner, std::string name, OfxParamHandle handle, OfxPropertySetHandle props);
    bool getValue() const;
    bool getValueAtTime(double time) const;
    void setValue(bool value);
    void setValueAtTime(double time, bool value);
    bool getDefault() const;
};

class ChoiceParam final : public ValueParam {
public:
    static constexpr ParamTypeEnum kType = eChoiceParam;
    ChoiceParam(ParamSet& owner, std::string name, OfxParamHandle handle, OfxPropertySetHandle props);
    int getValue() const;
    int getValueAtTime(double time) const;
    void setValue(int index);
    void setValueAtTime(double time, int index);
    int getDefault() const;
    int getOptionCount() const;
    std::string getOption(int index) const;
    void appendOption(const std::string& label);
    void resetOptions();
};

class StringParam final : public ValueParam {
public:
    static constexpr ParamTypeEnum kType = eStringParam;
    StringParam(ParamSet& owner, std::string name, OfxParamHandle handle, OfxPropertySetHandle props);
    std::string getValue() const;
    std::string getValueAtTime(double time) const;
    void setValue(const std::string& value);
    void setValueAtTime(double time, const std::string& value);
    std::string getDefault() const;
};

// Text that the effect alone understands; keys between are made by the
// effect's interpolateCustomParam where the descriptor asked for it.
class CustomParam final : public ValueParam {
public:
    static constexpr ParamTypeEnum kType = eCustomParam;
    CustomParam(ParamSet& owner, std::string name, OfxParamHandle handle, OfxPropertySetHandle props);
    std::string getValue() const;
    std::string getValueAtTime(double time) const;
    void setValue(const std::string& value);
    void setValueAtTime(double time, const std::string& value);
    std::string getDefault() const;
};

class ImageParam final : public Param {
public:
    static constexpr ParamTypeEnum kType = eImageParam;
    ImageParam(ParamSet& owner, std::string name, OfxParamHandle handle, OfxPropertySetHandle props);
};

class GroupParam final : public Param {
public:
    static constexpr ParamTypeEnum kType = eGroupParam;
    GroupParam(ParamSet& owner, std::string name, OfxParamHandle handle, OfxPropertySetHandle props);
    bool getIsOpen() const;
};

class PageParam final : public Param {
public:
    static constexpr ParamTypeEnum kType = ePageParam;
    PageParam(ParamSet& owner, std::string name, OfxParamHandle handle, OfxPropertySetHandle props);
};

class PushButtonParam final : public Param {
public:
    static constexpr ParamTypeEnum kType = ePushButtonParam;
    PushButtonParam(ParamSet& owner, std::string name, OfxParamHandle handle, OfxPropertySetHandle props);
};

// Curves over one range, read and edited through the parametric suite;
// a host without it makes every call an unsupported request.
class ParametricParam final : public ValueParam {
public:
    static constexpr ParamTypeEnum kType = eParametricParam;
    ParametricParam(ParamSet& owner, std::string name, OfxParamHandle handle, OfxPropertySetHandle props);
    int getCurveCount() const;
    void getRange(double& min, double& max) const;
    // The curve's value at `position` along the range, at `time`.
    double getValue(int curve, double time, double position) const;
    int getNControlPoints(int curve, double time) const;
    void getNthControlPoint(int curve, double time, int nth, double& position, double& value) const;
    void setNthControlPoint(int curve, double time, int nth, double position, double value, bool addKey);
    void addControlPoint(int curve, double time, double position, double value, bool addKey);
    void deleteControlPoint(int curve, int nth);
    void deleteControlPoints(int curve);
};

// The parameters of one live effect, fetched by name on first use and kept
// until the effect dies.
class ParamSet {
public:
    ParamSet() = default;
    virtual ~ParamSet();
    ParamSet(const ParamSet&) = delete;
    ParamSet& operator=(const ParamSet&) = delete;

    void setParamSetHandle(OfxParamSetHandle handle) { handle_ = handle; }
    OfxParamSetHandle getParamSetHandle() const { return handle_; }

    // Whether the host knows a parameter of that name.
    bool paramExists(const std::string& name) const;
    ParamTypeEnum getParamType(const std::string& name) const;

    // The parameter as an object of its own kind.
    Param* getParam(const std::string& name);
    IntParam* fetchIntParam(const std::string& name);
    Int2DParam* fetchInt2DParam(const std::string& name);
    Int3DParam* fetchInt3DParam(const std::string& name);
    DoubleParam* fetchDoubleParam(const std::string& name);
    Double2DParam* fetchDouble2DParam(const std::string& name);
    Double3DParam* fetchDouble3DParam(const std::string& name);
    RGBParam* fetchRGBParam(const std::string& name);
    RGBAParam* fetchRGBAParam(const std::string& name);
    BooleanParam* fetchBooleanParam(const std::string& name);
    ChoiceParam* fetchChoiceParam(const std::string& name);
    StringParam* fetchStringParam(const std::string& name);
    CustomParam* fetchCustomParam(const std::string& name);
    ImageParam* fetchImageParam(const std::string& name);
    GroupParam* fetchGroupParam(const std::string& name);
    PageParam* fetchPageParam(const std::string& name);
    PushButtonParam* fetchPushButtonParam(const std::string& name);
    ParametricParam* fetchParametricParam(const std::string& name);

    // The value changes between the two become one step of the host's undo.
    void beginEditBlock(const std::string& name);
    void endEditBlock();

private:
    struct Found {
        OfxParamHandle handle;
        OfxPropertySetHandle props;
        ParamTypeEnum type;
    };

    template <class Kind>
    Kind* fetch(const std::string& name);
    template <class Kind>
    Param* make(const std::string& name, const Found& found);
    Found lookUp(const std::string& name) const;
    Param* find(const std::string& name) const;
    Param* keep(std::unique_ptr<Param> param);

    OfxParamSetHandle handle_ = nullptr;
    std::map<std::string, std::unique_ptr<Param>> params_;
};

}  // namespace OFX
