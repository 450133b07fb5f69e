// A filter with one parameter of every kind, for the frame's parameter tests
// through the host. Its instance runs the probe chosen in "Probe" when
// rendered or when "Run" is pressed, and reports the frame's answers as log
// messages "key=value" (numbers at full precision, separated by blanks). An
// exception that a probe meets is reported as "error=<what>" and leaves the
// action, so that the host sees the frame's status for it.
#include <array>
#include <cstdio>
#include <initializer_list>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "EffectSkeleton.h"

namespace {

const OFX::EffectDeclaration kParams{
    "ondu1.test:params", "ONDU1 Test Params", "ONDU1 Test", OFX::eContextFilter, 0, nullptr};

// The probes, the options of "Probe". "KeyTimes" ends one index past the
// last key of "Gain", "Keys" deletes a key at a time without one,
// "SetBadChoice" sets an index past the options.
const std::vector<std::string> kProbes = {"None",     "DoubleOfInt", "DoubleThenInt", "Unknown",
                                          "KeyTimes", "Values",      "Keys",          "Kinds",
                                          "Reads",    "SetValues",   "SetBadChoice",  "Parametric"};

std::string num(double value) {
    char text[40];
    std::snprintf(text, sizeof text, "%.17g", value);
    return text;
}

template <typename Values>
std::string list(const Values& values) {
    std::string text;
    for (auto v : values) text += (text.empty() ? "" : " ") + num(static_cast<double>(v));
    return text;
}

template <typename... T>
std::string nums(T... values) {
    return list(std::initializer_list<double>{static_cast<double>(values)...});
}

class paramsPlugin : public OFX::ImageEffect {
public:
    explicit paramsPlugin(OfxImageEffectHandle handle) : OFX::ImageEffect(handle), probe(fetchChoiceParam("Probe")) {}

    void render(const OFX::RenderArguments& args) override { runProbe(args.time); }

    void changedParam(const OFX::InstanceChangedArgs&, const std::string& name) override {
        if (name == "Run") runProbe(0.0);
    }

    // "Curve" reports what the frame handed over; every other custom
    // parameter gets the frame's default.
    void interpolateCustomParam(const OFX::InterpolateCustomArgs& args, std::string& result) override {
        if (args.name != "Curve") return OFX::ImageEffect::interpolateCustomParam(args, result);
        result = args.value1 + ">" + args.value2 + " t=" + num(args.time) +
                 " keys=" + nums(args.keyTime1, args.keyTime2) + " amount=" + num(args.amount);
    }

private:
    void report(const std::string& key, const std::string& value) const {
        sendMessage(OFX::eMessageLog, "", key + "=" + value);
    }

    void runProbe(double time) {
        try {
            runProbe(kProbes.at(static_cast<size_t>(probe->getValueAtTime(time))));
        } catch (const std::exception& e) {
            report("error", e.what());
            throw;
        }
    }

    void runProbe(const std::string& name) {
        if (name == "DoubleOfInt") {
            fetchDoubleParam("Count");
        } else if (name == "DoubleThenInt") {
            report("double", fetchDoubleParam("Gain")->getName());
            fetchIntParam("Gain");
        } else if (name == "Unknown") {
            report("exists", nums(paramExists("NoSuchParam"), paramExists("Gain")));
            fetchDoubleParam("NoSuchParam");
        } else if (name == "KeyTimes") {
            keyTimes();
        } else if (name == "Values") {
            values();
        } else if (name == "Keys") {
            OFX::DoubleParam* gain = fetchDoubleParam("Gain");
            report("index",
                   nums(gain->getKeyIndex(0, OFX::eKeySearchNear), gain->getKeyIndex(5, OFX::eKeySearchNear),
                        gain->getKeyIndex(5, OFX::eKeySearchBackwards), gain->getKeyIndex(5, OFX::eKeySearchForward),
                        gain->getKeyIndex(10, OFX::eKeySearchForward), gain->getKeyIndex(0, OFX::eKeySearchBackwards),
                        gain->getKeyIndex(10, OFX::eKeySearchNear), gain->getKeyIndex(-1, OFX::eKeySearchForward)));
            gain->deleteKeyAtTime(0);
            report("afterOne", nums(gain->getNumKeys(), gain->getKeyTime(0)));
            gain->deleteAllKeys();
            report("afterAll",
                   nums(gain->getNumKeys(), gain->getValueAtTime(0), gain->getValueAtTime(10), gain->getIsAnimating()));
            gain->deleteKeyAtTime(42);
        } else if (name == "Kinds") {
            kinds();
        } else if (name == "Reads") {
            reads();
        } else if (name == "SetValues") {
            setValues();
        } else if (name == "SetBadChoice") {
            fetchChoiceParam("Mode")->setValue(3);
        } else if (name == "Parametric") {
            parametric();
        }
    }

    void keyTimes() {
        OFX::DoubleParam* gain = fetchDoubleParam("Gain");
        const int count = gain->getNumKeys();
        std::vector<double> times;
        for (int i = 0; i < count; ++i) times.push_back(gain->getKeyTime(i));
        report("keys", num(count));
        report("times", list(times));
        try {
            gain->getKeyTime(-1);
            report("negative", "none");
        } catch (const std::out_of_range& e) {
            report("negative", e.what());
        }
        gain->getKeyTime(count);
        report("past", "none");
    }

    void values() {
        OFX::DoubleParam* gain = fetchDoubleParam("Gain");
        report("gain", nums(gain->getValueAtTime(-5), gain->getValueAtTime(0), gain->getValueAtTime(5),
                            gain->getValueAtTime(10), gain->getValueAtTime(15)));
        report("gainNow", num(gain->getValue()));
        report("slope", nums(gain->getDerivative(5), gain->getDerivative(-5)));
        report("area", nums(gain->getIntegral(0, 10), gain->getIntegral(10, 0), gain->getIntegral(10, 20)));
        report("count", nums(fetchIntParam("Count")->getValueAtTime(0), fetchIntParam("Count")->getValueAtTime(5)));
        int x = 0, y = 0, z = 0;
        fetchInt2DParam("Offset")->getValueAtTime(5, x, y);
        report("offset", nums(x, y));
        fetchInt3DParam("Cells")->getValueAtTime(5, x, y, z);
        report("cells", nums(x, y, z));
        double a = 0, b = 0, c = 0, d = 0;
        fetchDouble2DParam("Center")->getValueAtTime(5, a, b);
        report("center", nums(a, b));
        fetchDouble2DParam("Center")->getDerivative(5, a, b);
        report("centerSlope", nums(a, b));
        fetchDouble3DParam("Position")->getValueAtTime(5, a, b, c);
        report("position", nums(a, b, c));
        fetchDouble3DParam("Position")->getIntegral(0, 2, a, b, c);
        report("positionArea", nums(a, b, c));
        fetchRGBParam("Tint")->getValueAtTime(5, a, b, c);
        report("tint", nums(a, b, c));
        fetchRGBAParam("Fill")->getValueAtTime(5, a, b, c, d);
        report("fill", nums(a, b, c, d));
        report("enabled",
               nums(fetchBooleanParam("Enabled")->getValueAtTime(5), fetchBooleanParam("Enabled")->getValueAtTime(10)));
        report("mode", nums(fetchChoiceParam("Mode")->getValueAtTime(5), fetchChoiceParam("Mode")->getValueAtTime(10)));
        report("title", fetchStringParam("Title")->getValueAtTime(5));
        report("curve", fetchCustomParam("Curve")->getValueAtTime(2.5));
        report("memo", fetchCustomParam("Memo")->getValueAtTime(5));
        report("stepped", fetchCustomParam("Stepped")->getValueAtTime(5));
    }

    void kinds() {
        for (const char* name :
             {"Probe", "Count", "Offset", "Cells", "Gain", "Center", "Position", "Tint", "Fill", "Enabled", "Mode",
              "Title", "Curve", "Memo", "Advanced", "Detail", "Run", "Controls"}) {
            report(std::string("kind.") + name, nums(getParam(name)->getType(), getParamType(name)));
        }
        if (paramExists("Curves")) report("kind.Curves", num(getParam("Curves")->getType()));
        report("sameObject", num(getParam("Gain") == fetchDoubleParam("Gain")));
        OFX::GroupParam* parent = fetchDoubleParam("Detail")->getParent();
        report("parent.Detail", parent ? parent->getName() : "none");
        report("parent.Count", fetchIntParam("Count")->getParent() ? "some" : "none");
    }

    // A numeric parameter's default, range and display range as its class
    // reads them, minima before maxima.
    template <typename T, size_t N, class Param>
    void reportNumbers(const std::string& name, Param* param) {
        std::array<T, 5 * N> v{};
        [&]<size_t... I>(std::index_sequence<I...>) {
            if constexpr (N == 1)
                v[0] = param->getDefault();
            else
                param->getDefault(v[I]...);
            param->getRange(v[N + I]..., v[2 * N + I]...);
            param->getDisplayRange(v[3 * N + I]..., v[4 * N + I]...);
        }
        (std::make_index_sequence<N>{});
        report(name, list(v));
    }

    void reads() {
        OFX::IntParam* count = fetchIntParam("Count");
        std::string label, shortLabel, longLabel;
        count->getLabels(label, shortLabel, longLabel);
        report("Count.texts",
               label + "|" + shortLabel + "|" + longLabel + "|" + count->getScriptName() + "|" + count->getHint());
        report("Count.flags",
               nums(count->getIsSecret(), count->getIsEnable(), count->getCanAnimate(), count->getIsPersistant(),
                    count->getEvaluateOnChange(), count->getCacheInvalidation()));
        reportNumbers<int, 1>("Count", count);
        reportNumbers<int, 2>("Offset", fetchInt2DParam("Offset"));
        reportNumbers<int, 3>("Cells", fetchInt3DParam("Cells"));
        reportNumbers<double, 1>("Gain", fetchDoubleParam("Gain"));
        reportNumbers<double, 2>("Center", fetchDouble2DParam("Center"));
        reportNumbers<double, 3>("Position", fetchDouble3DParam("Position"));

        OFX::DoubleParam* gain = fetchDoubleParam("Gain");
        report("Gain.steps",
               nums(gain->getIncrement(), gain->getDigits(), gain->getDoubleType(), gain->getCacheInvalidation()));
        report("doubleTypes",
               nums(fetchDouble2DParam("Center")->getDoubleType(), fetchDouble3DParam("Position")->getDoubleType()));
        double r = 0, g = 0, b = 0, a = 0;
        fetchRGBParam("Tint")->getDefault(r, g, b);
        report("Tint", nums(r, g, b));
        fetchRGBAParam("Fill")->getDefault(r, g, b, a);
        report("Fill", nums(r, g, b, a));
        report("Enabled", num(fetchBooleanParam("Enabled")->getDefault()));
        OFX::ChoiceParam* mode = fetchChoiceParam("Mode");
        report("Mode", num(mode->getDefault()));
        std::string options;
        for (int i = 0; i < mode->getOptionCount(); ++i) options += (i ? "|" : "") + mode->getOption(i);
        report("Mode.options", options);
        report("texts", fetchStringParam("Title")->getDefault() + "|" + fetchCustomParam("Curve")->getDefault());
        report("openSecret", nums(fetchGroupParam("Advanced")->getIsOpen(), fetchDoubleParam("Detail")->getIsSecret()));
    }

    void setValues() {
        beginEditBlock("probe edit");
        fetchIntParam("Count")->setValue(7);
        fetchInt2DParam("Offset")->setValue(3, -4);
        fetchInt3DParam("Cells")->setValue(4, 5, 6);
        fetchDoubleParam("Gain")->setValueAtTime(10, 1.0);
        fetchDoubleParam("Gain")->setValueAtTime(20, 2.0);
        fetchDoubleParam("Detail")->setValue(0.375);
        fetchDouble2DParam("Center")->setValue(0.125, 0.875);
        fetchDouble3DParam("Position")->setValue(7.5, 8.5, 9.5);
        fetchRGBParam("Tint")->setValue(0.75, 0.5, 0.25);
        fetchRGBAParam("Fill")->setValue(0.125, 0.25, 0.375, 0.5);
        fetchBooleanParam("Enabled")->setValue(false);
        fetchChoiceParam("Mode")->setValue(2);
        fetchStringParam("Title")->setValue("set by the effect");
        fetchCustomParam("Curve")->setValue("custom text");
        // Options appended by an instance, as effects that list files do.
        fetchChoiceParam("Mode")->appendOption("Fourth");
        report("Mode.count", num(fetchChoiceParam("Mode")->getOptionCount()));
        fetchDoubleParam("Detail")->setIsSecret(false);
        fetchDoubleParam("Detail")->setEnabled(false);
        fetchDoubleParam("Detail")->setLabels("D", "d", "Detail long");
        endEditBlock();
    }

    void parametric() {
        OFX::ParametricParam* curves = fetchParametricParam("Curves");
        double min = 0, max = 0;
        curves->getRange(min, max);
        report("curves", nums(curves->getCurveCount(), min, max));
        report("points",
               nums(curves->getNControlPoints(0, 0), curves->getNControlPoints(1, 0), curves->getNControlPoints(2, 0)));
        double position = 0, value = 0;
        curves->getNthControlPoint(0, 0, 1, position, value);
        report("point0.1", nums(position, value));
        report("value0", nums(curves->getValue(0, 0, 0.25), curves->getValue(0, 0, 0.5)));
        curves->addControlPoint(1, 0, 0.5, 0.25, false);
        report("added", nums(curves->getNControlPoints(1, 0), curves->getValue(1, 0, 0.5)));
        curves->deleteControlPoints(2);
        report("cleared", num(curves->getNControlPoints(2, 0)));
    }

    OFX::ChoiceParam* probe;
};

void describeParams(OFX::ImageEffectDescriptor& desc) {
    OFX::ChoiceParamDescriptor* probe = desc.defineChoiceParam("Probe");
    for (const std::string& name : kProbes) probe->appendOption(name);
    probe->setAnimates(false);

    OFX::IntParamDescriptor* count = desc.defineIntParam("Count");
    count->setLabels("Count", "Cnt", "Number of things");
    count->setScriptName("count");
    count->setHint("How many");
    count->setDefault(3);
    count->setRange(0, 10);
    count->setDisplayRange(1, 8);
    count->setCacheInvalidation(OFX::eCacheInvalidateValueAll);

    OFX::Int2DParamDescriptor* offset = desc.defineInt2DParam("Offset");
    offset->setDefault(1, 2);
    offset->setRange(-5, -6, 5, 6);
    offset->setDisplayRange(-3, -4, 3, 4);
    offset->setDimensionLabels("u", "v");

    OFX::Int3DParamDescriptor* cells = desc.defineInt3DParam("Cells");
    cells->setDefault(1, 2, 3);
    cells->setRange(-1, -2, -3, 11, 12, 13);
    cells->setDisplayRange(0, 1, 2, 7, 8, 9);
    cells->setDimensionLabels("i", "j", "k");

    OFX::DoubleParamDescriptor* gain = desc.defineDoubleParam("Gain");
    gain->setDefault(0.5);
    gain->setRange(0.0, 2.0);
    gain->setDisplayRange(0.0, 1.0);
    gain->setIncrement(0.05);
    gain->setDigits(3);
    gain->setDoubleType(OFX::eDoubleTypeLog);
    gain->setCacheInvalidation(OFX::eCacheInvalidateValueChangeToEnd);

    OFX::Double2DParamDescriptor* center = desc.defineDouble2DParam("Center");
    center->setDefault(0.25, 0.75);
    center->setRange(-1.0, -2.0, 1.0, 2.0);
    center->setDisplayRange(-0.5, -1.5, 0.5, 1.5);
    center->setDoubleType(OFX::eDoubleTypeNormalisedXY);
    center->setDefaultCoordinateSystem(OFX::eCoordinatesNormalised);
    center->setDimensionLabels("h", "w");

    OFX::Double3DParamDescriptor* position = desc.defineDouble3DParam("Position");
    position->setDefault(1.5, 2.5, 3.5);
    position->setRange(-10, -20, -30, 10, 20, 30);
    position->setDisplayRange(-1, -2, -3, 1, 2, 3);
    position->setDoubleType(OFX::eDoubleTypeScale);

    desc.defineRGBParam("Tint")->setDefault(0.1, 0.2, 0.3);
    desc.defineRGBAParam("Fill")->setDefault(0.4, 0.5, 0.6, 0.7);

    OFX::BooleanParamDescriptor* enabled = desc.defineBooleanParam("Enabled");
    enabled->setDefault(true);
    enabled->setBooleanMode(OFX::eBooleanModeReadOnlyMarker);

    OFX::ChoiceParamDescriptor* mode = desc.defineChoiceParam("Mode");
    mode->appendOption("First", "the first way");
    mode->appendOption("Second");
    mode->appendOption("Third", "the third way");
    mode->setDefault(1);

    OFX::StringParamDescriptor* title = desc.defineStringParam("Title");
    title->setDefault("hello");
    title->setStringType(OFX::eStringTypeMultiLine);

    OFX::CustomParamDescriptor* curve = desc.defineCustomParam("Curve");
    curve->setDefault("c0");
    curve->setCustomInterpolation(true);
    desc.defineCustomParam("Memo")->setCustomInterpolation(true);
    desc.defineCustomParam("Stepped")->setCustomInterpolation(false);

    OFX::GroupParamDescriptor* advanced = desc.defineGroupParam("Advanced");
    advanced->setOpen(false);
    OFX::DoubleParamDescriptor* detail = desc.defineDoubleParam("Detail");
    detail->setParent(*advanced);
    detail->setIsSecret(true);

    OFX::PushButtonParamDescriptor* run = desc.definePushButtonParam("Run");

    // A host without the parametric suite cannot take control points.
    const OFX::ImageEffectHostDescription* host = OFX::getImageEffectHostDescription();
    OFX::ParametricParamDescriptor* curves = nullptr;
    if (host && host->supportsParametricParameter) {
        curves = desc.defineParametricParam("Curves");
        curves->setDimension(3);
        curves->setRange(0.0, 1.0);
        curves->setDimensionLabel(0, "red");
        curves->setDimensionLabel(1, "green");
        curves->setDimensionLabel(2, "blue");
        curves->setUIColour(1, OfxRGBColourD{0.0, 1.0, 0.0});
        curves->addControlPoint(0, 0.0, 0.0, 0.0, false);
        curves->addControlPoint(0, 0.0, 1.0, 0.5, false);
        curves->addControlPoint(2, 0.0, 0.5, 0.5, false);
    }

    // Made by hand, with skip entries, rather than by finishEffectDescription,
    // which lists every parameter.
    OFX::PageParamDescriptor* page = desc.definePageParam(OFX::kControlsPage);
    page->addChild(*count);
    page->addChild(OFX::PageParamDescriptor::skipRow());
    page->addChild(*gain);
    page->addChild(OFX::PageParamDescriptor::skipColumn());
    page->addChild(*advanced);
    page->addChild(*run);
    if (curves) page->addChild(*curves);
}

class paramsPluginFactory : public OFX::PluginFactoryHelper<paramsPluginFactory> {
public:
    paramsPluginFactory() : OFX::PluginFactoryHelper<paramsPluginFactory>("ondu1.test:params", 1, 0) {}
    void describe(OFX::ImageEffectDescriptor& desc) override { OFX::describeEffect(desc, kParams); }
    void describeInContext(OFX::ImageEffectDescriptor& desc, OFX::ContextEnum context) override {
        OFX::defineEffectClips(desc, context);
        describeParams(desc);
    }
    OFX::ImageEffect* createInstance(OfxImageEffectHandle handle, OFX::ContextEnum) override {
        return new paramsPlugin(handle);
    }
};

const OFX::FactoryRegistration<paramsPluginFactory> registration;

}  // namespace
