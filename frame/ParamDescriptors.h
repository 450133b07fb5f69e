// The describing side of parameters: one class per parameter kind, each a
// thin writer of the kind's properties during describeInContext, and the set
// that defines and owns them for one effect and context. The setters go
// straight to the host and keep nothing.
//
// Setters of the program's own properties (and of the program's own values
// of standard properties) do not throw when the host does not know them, so
// the bundle still describes itself on a host that knows only the published
// standard. Everything else fails through the property exceptions.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "ParamTypes.h"
#include "PropertySet.h"
#include "ofxCore.h"
#include "ofxParam.h"
#include "ofxPixels.h"

namespace OFX {

class GroupParamDescriptor;

// What every kind describes: names, labels, placement and the host's
// handling of changes.
class ParamDescriptor {
public:
    ParamDescriptor(std::string name, ParamTypeEnum type, OfxPropertySetHandle props);
    virtual ~ParamDescriptor() = default;
    ParamDescriptor(const ParamDescriptor&) = delete;
    ParamDescriptor& operator=(const ParamDescriptor&) = delete;

    const std::string& getName() const { return name_; }
    ParamTypeEnum getType() const { return type_; }
    PropertySet& getPropertySet() { return props_; }

    void setLabels(const std::string& label, const std::string& shortLabel, const std::string& longLabel);
    void setScriptName(const std::string& scriptName);
    void setHint(const std::string& hint);
    void setIsSecret(bool secret);
    void setEnabled(bool enabled);
    void setParent(const GroupParamDescriptor& group);
    void setIsPersistant(bool persistant);
    void setEvaluateOnChange(bool evaluate);
    void setCacheInvalidation(ParamInvalidateEnum invalidation);

    // The program's own properties.
    void setPresetExclude(bool exclude);
    void setInteractPreferedSize(int width, int height);

private:
    std::string name_;
    ParamTypeEnum type_;
    PropertySet props_;
};

// A name with no kind and no properties: what a page lists as a skip entry.
class DummyParamDescriptor final : public ParamDescriptor {
public:
    static constexpr ParamTypeEnum kType = eDummyParam;
    explicit DummyParamDescriptor(std::string name);
};

// Kinds that hold a value the host may animate and store.
class ValueParamDescriptor : public ParamDescriptor {
public:
    using ParamDescriptor::ParamDescriptor;
    void setAnimates(bool animates);
    void setCanUndo(bool canUndo);
    // The program's own: the lightness level of a colour wheel.
    void setColorWheelLevel(int level);
};

class IntParamDescriptor final : public ValueParamDescriptor {
public:
    static constexpr ParamTypeEnum kType = eIntParam;
    IntParamDescriptor(std::string name, OfxPropertySetHandle props);
    void setDefault(int value);
    void setRange(int min, int max);
    void setDisplayRange(int min, int max);
};

class Int2DParamDescriptor final : public ValueParamDescriptor {
public:
    static constexpr ParamTypeEnum kType = eInt2DParam;
    Int2DParamDescriptor(std::string name, OfxPropertySetHandle props);
    void setDefault(int x, int y);
    void setRange(int minX, int minY, int maxX, int maxY);
    void setDisplayRange(int minX, int minY, int maxX, int maxY);
    void setDimensionLabels(const std::string& x, const std::string& y);
};

class Int3DParamDescriptor final : public ValueParamDescriptor {
public:
    static constexpr ParamTypeEnum kType = eInt3DParam;
    Int3DParamDescriptor(std::string name, OfxPropertySetHandle props);
    void setDefault(int x, int y, int z);
    void setRange(int minX, int minY, int minZ, int maxX, int maxY, int maxZ);
    void setDisplayRange(int minX, int minY, int minZ, int maxX, int maxY, int maxZ);
    void setDimensionLabels(const std::string& x, const std::string& y, const std::string& z);
};

// The double kinds share how the host steps, shows and scales them.
class BaseDoubleParamDescriptor : public ValueParamDescriptor {
public:
    using ValueParamDescriptor::ValueParamDescriptor;
    void setDoubleType(ParamDoubleTypeEnum type);
    void setDefaultCoordinateSystem(DefaultCoordinateSystem system);
    void setIncrement(double increment);
    void setDigits(int digits);
};

class DoubleParamDescriptor final : public BaseDoubleParamDescriptor {
public:
    static constexpr ParamTypeEnum kType = eDoubleParam;
    DoubleParamDescriptor(std::string name, OfxPropertySetHandle props);
    void setDefault(double value);
    void setRange(double min, double max);
    void setDisplayRange(double min, double max);
};

class Double2DParamDescriptor final : public BaseDoubleParamDescriptor {
public:
    static constexpr ParamTypeEnum kType = eDouble2DParam;
    Double2DParamDescriptor(std::string name, OfxPropertySetHandle props);
    void setDefault(double x, double y);
    void setRange(double minX, double minY, double maxX, double maxY);
    void setDisplayRange(double minX, double minY, double maxX, double maxY);
    void setDimensionLabels(const std::string& x, const std::string& y);
};

class Double3DParamDescriptor final : public BaseDoubleParamDescriptor {
public:
    static constexpr ParamTypeEnum kType = eDouble3DParam;
    Double3DParamDescriptor(std::string name, OfxPropertySetHandle props);
    void setDefault(double x, double y, double z);
    void setRange(double minX, double minY, double minZ, double maxX, double maxY, double maxZ);
    void setDisplayRange(double minX, double minY, double minZ, double maxX, double maxY, double maxZ);
    void setDimensionLabels(const std::string& x, const std::string& y, const std::string& z);
};

class RGBParamDescriptor final : public ValueParamDescriptor {
public:
    static constexpr ParamTypeEnum kType = eRGBParam;
    RGBParamDescriptor(std::string name, OfxPropertySetHandle props);
    void setDefault(double r, double g, double b);
};

class RGBAParamDescriptor final : public ValueParamDescriptor {
public:
    static constexpr ParamTypeEnum kType = eRGBAParam;
    RGBAParamDescriptor(std::string name, OfxPropertySetHandle props);
    void setDefault(double r, double g, double b, double a);
};

class BooleanParamDescriptor final : public ValueParamDescriptor {
public:
    static constexpr ParamTypeEnum kType = eBooleanParam;
    BooleanParamDescriptor(std::string name, OfxPropertySetHandle props);
    void setDefault(bool value);
    void setBooleanMode(BooleanModeEnum mode);
};

class ChoiceParamDescriptor final : public ValueParamDescriptor {
public:
    static constexpr ParamTypeEnum kType = eChoiceParam;
    ChoiceParamDescriptor(std::string name, OfxPropertySetHandle props);
    void setDefault(int index);
    // Adds an option after the last one; the hint, where given, is the
    // option's tool tip on hosts that show one.
    void appendOption(const std::string& label, const std::string& hint = {});
    int getOptionCount();
    void resetOptions();
};

class StringParamDescriptor final : public ValueParamDescriptor {
public:
    static constexpr ParamTypeEnum kType = eStringParam;
    StringParamDescriptor(std::string name, OfxPropertySetHandle props);
    void setDefault(const std::string& value);
    void setStringType(StringTypeEnum type);
    // For file paths: whether the file must exist (an input) or not (an
    // output).
    void setFilePathExists(bool exists);
};

class CustomParamDescriptor final : public ValueParamDescriptor {
public:
    static constexpr ParamTypeEnum kType = eCustomParam;
    CustomParamDescriptor(std::string name, OfxPropertySetHandle props);
    void setDefault(const std::string& value);
    // With interpolation the host asks the effect's interpolateCustomParam
    // for values between keys; without it the text steps from key to key.
    void setCustomInterpolation(bool interpolate);
    void setCustomMode(CustomModeEnum mode);
};

class ImageParamDescriptor final : public ParamDescriptor {
public:
    static constexpr ParamTypeEnum kType = eImageParam;
    ImageParamDescriptor(std::string name, OfxPropertySetHandle props);
    void setImageMode(ImageModeEnum mode);
};

class GroupParamDescriptor final : public ParamDescriptor {
public:
    static constexpr ParamTypeEnum kType = eGroupParam;
    GroupParamDescriptor(std::string name, OfxPropertySetHandle props);
    void setOpen(bool open);
    // The program's own form of setOpen.
    void setParameterExpanded(bool expanded);
};

class PageParamDescriptor final : public ParamDescriptor {
public:
    static constexpr ParamTypeEnum kType = ePageParam;
    PageParamDescriptor(std::string name, OfxPropertySetHandle props);
    // Lists the parameter after the page's children so far.
    void addChild(const ParamDescriptor& child);
    // The entries that leave a row or a column of the page empty.
    static const DummyParamDescriptor& skipRow();
    static const DummyParamDescriptor& skipColumn();
};

class PushButtonParamDescriptor final : public ParamDescriptor {
public:
    static constexpr ParamTypeEnum kType = ePushButtonParam;
    PushButtonParamDescriptor(std::string name, OfxPropertySetHandle props);
};

// A set of curves over one range. Control points are written through the
// parametric suite, which needs the parameter's handle in the describing
// set.
class ParametricParamDescriptor final : public ValueParamDescriptor {
public:
    static constexpr ParamTypeEnum kType = eParametricParam;
    ParametricParamDescriptor(std::string name, OfxPropertySetHandle props, OfxParamSetHandle paramSet);
    void setDimension(int curves);
    void setDimensionLabel(int curve, const std::string& label);
    void setUIColour(int curve, const OfxRGBColourD& colour);
    void setRange(double min, double max);
    void addControlPoint(int curve, double time, double x, double y, bool addKey);

private:
    OfxParamSetHandle paramSet_;
};

// The descriptors of one effect in one context, kept by name and in the
// order of definition. Defining a name twice with the same kind returns the
// first descriptor.
class ParamSetDescriptor {
public:
    ParamSetDescriptor() = default;
    virtual ~ParamSetDescriptor();
    ParamSetDescriptor(const ParamSetDescriptor&) = delete;
    ParamSetDescriptor& operator=(const ParamSetDescriptor&) = delete;

    void setParamSetHandle(OfxParamSetHandle handle) { handle_ = handle; }
    OfxParamSetHandle getParamSetHandle() const { return handle_; }

    IntParamDescriptor* defineIntParam(const std::string& name);
    Int2DParamDescriptor* defineInt2DParam(const std::string& name);
    Int3DParamDescriptor* defineInt3DParam(const std::string& name);
    DoubleParamDescriptor* defineDoubleParam(const std::string& name);
    Double2DParamDescriptor* defineDouble2DParam(const std::string& name);
    Double3DParamDescriptor* defineDouble3DParam(const std::string& name);
    RGBParamDescriptor* defineRGBParam(const std::string& name);
    RGBAParamDescriptor* defineRGBAParam(const std::string& name);
    BooleanParamDescriptor* defineBooleanParam(const std::string& name);
    ChoiceParamDescriptor* defineChoiceParam(const std::string& name);
    StringParamDescriptor* defineStringParam(const std::string& name);
    CustomParamDescriptor* defineCustomParam(const std::string& name);
    ImageParamDescriptor* defineImageParam(const std::string& name);
    GroupParamDescriptor* defineGroupParam(const std::string& name);
    PageParamDescriptor* definePageParam(const std::string& name);
    PushButtonParamDescriptor* definePushButtonParam(const std::string& name);
    ParametricParamDescriptor* defineParametricParam(const std::string& name);

    // Null for a name not defined here.
    ParamDescriptor* getParamDescriptor(const std::string& name) const;
    // In the order of definition.
    const std::vector<ParamDescriptor*>& getParamDescriptors() const { return inOrder_; }

private:
    template <class Descriptor>
    Descriptor* define(const std::string& name);

    OfxParamSetHandle handle_ = nullptr;
    std::map<std::string, std::unique_ptr<ParamDescriptor>> byName_;
    std::vector<ParamDescriptor*> inOrder_;
};

}  // namespace OFX
