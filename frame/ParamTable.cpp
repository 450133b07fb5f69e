#include "ParamTable.h"

namespace OFX {

namespace {

// The steps every row takes: its labels, its script name where it has one,
// and its group. A row that leaves its label or script name out takes its
// identifier; an empty script name writes none.
void nameAndPlace(ParamDescriptor& param, ParamSetDescriptor& desc, const char* label, const char* scriptName,
                  const GroupRow* group) {
    const char* shown = label ? label : param.getName().c_str();
    param.setLabels(shown, shown, shown);
    const char* script = scriptName ? scriptName : param.getName().c_str();
    if (*script) param.setScriptName(script);
    if (group) param.setParent(*static_cast<GroupParamDescriptor*>(desc.getParamDescriptor(group->name)));
}

}  // namespace

void GroupRow::define(ParamSetDescriptor& desc) const {
    GroupParamDescriptor* param = desc.defineGroupParam(name);
    nameAndPlace(*param, desc, label, "", group);
    if (!open) param->setOpen(false);
}
void GroupRow::fetch(ParamSet& params) const { params.fetchGroupParam(name); }

void PageRow::define(ParamSetDescriptor& desc) const {
    const char* shown = label ? label : name;
    desc.definePageParam(name)->setLabels(shown, shown, shown);
}
void PageRow::fetch(ParamSet& params) const { params.fetchPageParam(name); }

void DoubleRow::define(ParamSetDescriptor& desc) const {
    DoubleParamDescriptor* param = desc.defineDoubleParam(name);
    nameAndPlace(*param, desc, label, scriptName, group);
    param->setDefault(defaultValue);
    param->setRange(min, max);
    param->setIncrement(increment);
    if (digits) param->setDigits(digits);
    const bool ownDisplay = displayMin != 0.0 || displayMax != 0.0;
    param->setDisplayRange(ownDisplay ? displayMin : min, ownDisplay ? displayMax : max);
    param->setAnimates(animates);
    if (doubleType != eDoubleTypePlain) param->setDoubleType(doubleType);
}
void DoubleRow::fetch(ParamSet& params) const { params.fetchDoubleParam(name); }
double DoubleRow::value(ParamSet& params, double time) const { return param(params).getValueAtTime(time); }
DoubleParam& DoubleRow::param(ParamSet& params) const { return *params.fetchDoubleParam(name); }

void Double2DRow::define(ParamSetDescriptor& desc) const {
    Double2DParamDescriptor* param = desc.defineDouble2DParam(name);
    nameAndPlace(*param, desc, label, scriptName, group);
    param->setDefault(defaultValue[0], defaultValue[1]);
    param->setRange(min[0], min[1], max[0], max[1]);
    param->setIncrement(increment);
    param->setDisplayRange(min[0], min[1], max[0], max[1]);
    param->setAnimates(animates);
    if (doubleType != eDoubleTypePlain) param->setDoubleType(doubleType);
    if (coordinates != eCoordinatesCanonical) param->setDefaultCoordinateSystem(coordinates);
}
void Double2DRow::fetch(ParamSet& params) const { params.fetchDouble2DParam(name); }
std::array<double, 2> Double2DRow::value(ParamSet& params, double time) const {
    std::array<double, 2> v{};
    params.fetchDouble2DParam(name)->getValueAtTime(time, v[0], v[1]);
    return v;
}

void IntRow::define(ParamSetDescriptor& desc) const {
    IntParamDescriptor* param = desc.defineIntParam(name);
    nameAndPlace(*param, desc, label, scriptName, group);
    param->setDefault(defaultValue);
    param->setRange(min, max);
    const bool ownDisplay = displayMin != 0 || displayMax != 0;
    param->setDisplayRange(ownDisplay ? displayMin : min, ownDisplay ? displayMax : max);
    param->setAnimates(animates);
}
void IntRow::fetch(ParamSet& params) const { params.fetchIntParam(name); }
int IntRow::value(ParamSet& params, double time) const { return params.fetchIntParam(name)->getValueAtTime(time); }

void Int2DRow::define(ParamSetDescriptor& desc) const {
    Int2DParamDescriptor* param = desc.defineInt2DParam(name);
    nameAndPlace(*param, desc, label, scriptName, group);
    param->setDefault(defaultValue[0], defaultValue[1]);
    param->setRange(min[0], min[1], max[0], max[1]);
    param->setDisplayRange(min[0], min[1], max[0], max[1]);
    param->setAnimates(animates);
}
void Int2DRow::fetch(ParamSet& params) const { params.fetchInt2DParam(name); }
std::array<int, 2> Int2DRow::value(ParamSet& params, double time) const {
    std::array<int, 2> v{};
    params.fetchInt2DParam(name)->getValueAtTime(time, v[0], v[1]);
    return v;
}

void BooleanRow::define(ParamSetDescriptor& desc) const {
    BooleanParamDescriptor* param = desc.defineBooleanParam(name);
    nameAndPlace(*param, desc, label, scriptName, group);
    param->setDefault(defaultValue);
    param->setAnimates(animates);
}
void BooleanRow::fetch(ParamSet& params) const { params.fetchBooleanParam(name); }
bool BooleanRow::value(ParamSet& params, double time) const { return param(params).getValueAtTime(time); }
BooleanParam& BooleanRow::param(ParamSet& params) const { return *params.fetchBooleanParam(name); }

void ChoiceRow::define(ParamSetDescriptor& desc) const {
    ChoiceParamDescriptor* param = desc.defineChoiceParam(name);
    nameAndPlace(*param, desc, label, scriptName, group);
    for (const char* option : options) {
        if (!option) break;
        param->appendOption(option);
    }
    param->setDefault(defaultValue);
    param->setAnimates(animates);
}
void ChoiceRow::fetch(ParamSet& params) const { params.fetchChoiceParam(name); }
int ChoiceRow::value(ParamSet& params, double time) const {
    return params.fetchChoiceParam(name)->getValueAtTime(time);
}

void RGBRow::define(ParamSetDescriptor& desc) const {
    RGBParamDescriptor* param = desc.defineRGBParam(name);
    nameAndPlace(*param, desc, label, scriptName, group);
    param->setDefault(defaultValue[0], defaultValue[1], defaultValue[2]);
    param->setAnimates(animates);
}
void RGBRow::fetch(ParamSet& params) const { params.fetchRGBParam(name); }
std::array<double, 3> RGBRow::value(ParamSet& params, double time) const {
    std::array<double, 3> v{};
    params.fetchRGBParam(name)->getValueAtTime(time, v[0], v[1], v[2]);
    return v;
}

void RGBARow::define(ParamSetDescriptor& desc) const {
    RGBAParamDescriptor* param = desc.defineRGBAParam(name);
    nameAndPlace(*param, desc, label, scriptName, group);
    param->setDefault(defaultValue[0], defaultValue[1], defaultValue[2], defaultValue[3]);
    param->setAnimates(animates);
}
void RGBARow::fetch(ParamSet& params) const { params.fetchRGBAParam(name); }
std::array<double, 4> RGBARow::value(ParamSet& params, double time) const {
    std::array<double, 4> v{};
    params.fetchRGBAParam(name)->getValueAtTime(time, v[0], v[1], v[2], v[3]);
    return v;
}

void StringRow::define(ParamSetDescriptor& desc) const {
    StringParamDescriptor* param = desc.defineStringParam(name);
    nameAndPlace(*param, desc, label, scriptName, group);
    param->setDefault(defaultValue);
    if (stringType != eStringTypeSingleLine) param->setStringType(stringType);
    param->setAnimates(animates);
}
void StringRow::fetch(ParamSet& params) const { params.fetchStringParam(name); }
std::string StringRow::value(ParamSet& params, double time) const {
    return params.fetchStringParam(name)->getValueAtTime(time);
}

void CustomRow::define(ParamSetDescriptor& desc) const {
    CustomParamDescriptor* param = desc.defineCustomParam(name);
    nameAndPlace(*param, desc, label, scriptName, group);
    param->setDefault(defaultValue);
    if (interpolates) param->setCustomInterpolation(true);
    param->setAnimates(animates);
}
void CustomRow::fetch(ParamSet& params) const { params.fetchCustomParam(name); }
std::string CustomRow::value(ParamSet& params, double time) const {
    return params.fetchCustomParam(name)->getValueAtTime(time);
}

void PushButtonRow::define(ParamSetDescriptor& desc) const {
    PushButtonParamDescriptor* param = desc.definePushButtonParam(name);
    nameAndPlace(*param, desc, label, scriptName, group);
}
void PushButtonRow::fetch(ParamSet& params) const { params.fetchPushButtonParam(name); }

}  // namespace OFX
