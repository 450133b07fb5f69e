// The frame's parameter families through the host: what the descriptors
// write, what the instance classes read and set, keys and their
// interpolation, and the statuses that fetch and key errors become. The test
// effect "ondu1.test:params" runs one probe per render or press of its "Run"
// button and reports the frame's answers as "key=value" log messages.
#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>
#include <tuple>

#include "EffectTest.h"
#include "ofxParam.h"
#include "ofxParametricParam.h"
#include "ofxTalvo.h"
#include "ofxhost/Param.h"
#include "ofxhost/Status.h"

using namespace ondu1test;

namespace {

const char* const kId = "ondu1.test:params";

ofxhost::ParamValue values(const std::vector<double>& n) {
    ofxhost::ParamValue v;
    std::copy(n.begin(), n.end(), v.n.begin());
    return v;
}

class ParamEffect : public ::testing::Test {
protected:
    void SetUp() override { start(); }

    void start(ofxhost::HostConfig config = {}) {
        host = quietHost(std::move(config));
        plugin = loadEffect(host, kId, ONDU1_TEST_BUNDLE_DIR);
        instance = filterOn(*plugin, rowImage({{10, 20, 30, 255}, {40, 50, 60, 255}}, ofxhost::Depth::Byte));
    }

    ofxhost::Param& descriptor(const std::string& name) {
        ofxhost::Param* p = plugin->describeInContext("filter").params().find(name);
        if (!p) throw std::runtime_error("no descriptor " + name);
        return *p;
    }

    // Chooses the probe, then renders at `time` and returns the status,
    // with the reports of that render alone in `reports`.
    OfxStatus render(const std::string& probe, double time = 0.0) {
        instance->setValueText("Probe", probe);
        host->clearMessages();
        ofxhost::RenderOptions options;
        ofxhost::ImageBuffer output = instance->makeOutput(options);
        const OfxStatus status = instance->render(time, options, output);
        collect();
        return status;
    }

    // The same probe through a press of "Run": the instance changed action.
    OfxStatus press(const std::string& probe) {
        instance->setValueText("Probe", probe);
        host->clearMessages();
        const OfxStatus status = instance->instanceChanged(kOfxTypeParameter, "Run", kOfxChangeUserEdited, 0.0);
        collect();
        return status;
    }

    void collect() {
        reports.clear();
        for (const ofxhost::Message& m : host->messages()) {
            if (m.pluginId != kId || m.type != kOfxMessageLog) continue;
            const auto eq = m.text.find('=');
            reports[m.text.substr(0, eq)] = eq == std::string::npos ? "" : m.text.substr(eq + 1);
        }
    }

    std::vector<double> reported(const std::string& key) {
        EXPECT_TRUE(reports.count(key)) << key;
        std::vector<double> out;
        std::istringstream in(reports[key]);
        for (double v; in >> v;) out.push_back(v);
        return out;
    }

    // A numeric descriptor's default, then if `ranged` its range and display
    // range, minima before maxima, as the host holds them.
    std::vector<double> described(const std::string& name, bool ranged) {
        const ofxhost::PropertySet& p = descriptor(name).props();
        std::vector<double> out;
        for (const char* prop : {kOfxParamPropDefault, kOfxParamPropMin, kOfxParamPropMax, kOfxParamPropDisplayMin,
                                 kOfxParamPropDisplayMax}) {
            if (p.type(prop) == ofxhost::PropType::Int) {
                for (int v : p.getInts(prop)) out.push_back(v);
            } else {
                for (double v : p.getDoubles(prop)) out.push_back(v);
            }
            if (!ranged) break;
        }
        return out;
    }

    std::shared_ptr<ofxhost::Host> host;
    std::shared_ptr<ofxhost::Plugin> plugin;
    std::unique_ptr<ofxhost::Instance> instance;
    std::map<std::string, std::string> reports;
};

using V = std::vector<double>;
using S = std::vector<std::string>;

// Description: what each descriptor class writes, as the host holds it and
// as the instance classes read it back.

TEST_F(ParamEffect, NumericDescriptionsReadBackInTheHostAndTheInstance) {
    ASSERT_EQ(render("Reads"), kOfxStatOK);
    // The default, then for the ranged kinds the range and the display range.
    const std::vector<std::tuple<std::string, bool, V>> numbers = {
        {"Count", true, {3, 0, 10, 1, 8}},
        {"Offset", true, {1, 2, -5, -6, 5, 6, -3, -4, 3, 4}},
        {"Cells", true, {1, 2, 3, -1, -2, -3, 11, 12, 13, 0, 1, 2, 7, 8, 9}},
        {"Gain", true, {0.5, 0, 2, 0, 1}},
        {"Center", true, {0.25, 0.75, -1, -2, 1, 2, -0.5, -1.5, 0.5, 1.5}},
        {"Position", true, {1.5, 2.5, 3.5, -10, -20, -30, 10, 20, 30, -1, -2, -3, 1, 2, 3}},
        {"Tint", false, {0.1, 0.2, 0.3}},
        {"Fill", false, {0.4, 0.5, 0.6, 0.7}},
        {"Enabled", false, {1}},
        {"Mode", false, {1}},
    };
    for (const auto& [name, ranged, want] : numbers) {
        EXPECT_EQ(described(name, ranged), want) << name;
        EXPECT_EQ(reported(name), want) << name;
    }
    EXPECT_EQ(descriptor("Offset").props().getStrings(kOfxParamPropDimensionLabel), (S{"u", "v"}));
    EXPECT_EQ(descriptor("Cells").props().getStrings(kOfxParamPropDimensionLabel), (S{"i", "j", "k"}));
    EXPECT_EQ(descriptor("Center").props().getStrings(kOfxParamPropDimensionLabel), (S{"h", "w"}));

    // The program's own log type goes to the host as its own string, which
    // this host keeps, and reads back as itself, the last of the enumeration.
    ofxhost::PropertySet& gain = descriptor("Gain").props();
    EXPECT_EQ(gain.getDouble(kOfxParamPropIncrement), 0.05);
    EXPECT_EQ(gain.getInt(kOfxParamPropDigits), 3);
    EXPECT_EQ(gain.getString(kOfxParamPropDoubleType), "OfxParamDoubleTypeLog");
    EXPECT_EQ(gain.getString(kOfxParamPropCacheInvalidation), kOfxParamInvalidateValueChangeToEnd);
    // increment, digits, double type, invalidation
    EXPECT_EQ(reported("Gain.steps"), (V{0.05, 3, 19, 1}));
    ofxhost::PropertySet& center = descriptor("Center").props();
    EXPECT_EQ(center.getString(kOfxParamPropDoubleType), kOfxParamDoubleTypeNormalisedXY);
    EXPECT_EQ(center.getString(kOfxParamPropDefaultCoordinateSystem), kOfxParamCoordinatesNormalised);
    EXPECT_EQ(descriptor("Position").props().getString(kOfxParamPropDoubleType), kOfxParamDoubleTypeScale);
    EXPECT_EQ(reported("doubleTypes"), (V{15, 2}));
}

TEST_F(ParamEffect, TextsFlagsOptionsAndLayoutReadBack) {
    ofxhost::PropertySet& count = descriptor("Count").props();
    EXPECT_EQ(count.getStrings(kOfxPropLabel), S{"Count"});
    EXPECT_EQ(count.getString(kOfxPropShortLabel), "Cnt");
    EXPECT_EQ(count.getString(kOfxPropLongLabel), "Number of things");
    EXPECT_EQ(count.getString(kOfxParamPropScriptName), "count");
    EXPECT_EQ(count.getString(kOfxParamPropHint), "How many");
    EXPECT_EQ(count.getString(kOfxParamPropCacheInvalidation), kOfxParamInvalidateAll);
    EXPECT_EQ(descriptor("Probe").props().getInt(kOfxParamPropAnimates), 0);
    EXPECT_EQ(descriptor("Enabled").props().getString("OfxParamPropBooleanMode"), "OfxParamBooleanIsReadOnlyMarker");

    // Options in order; a hint only where one was given, at its option's index.
    ofxhost::PropertySet& mode = descriptor("Mode").props();
    EXPECT_EQ(mode.getStrings(kOfxParamPropChoiceOption), (S{"First", "Second", "Third"}));
    EXPECT_EQ(mode.getStrings(kOfxParamPropChoiceOptionHint), (S{"the first way", "", "the third way"}));

    EXPECT_EQ(descriptor("Title").props().getString(kOfxParamPropDefault), "hello");
    EXPECT_EQ(descriptor("Title").props().getString(kOfxParamPropStringMode), kOfxParamStringIsMultiLine);
    EXPECT_EQ(descriptor("Curve").props().getString(kOfxParamPropDefault), "c0");
    // The interpolation callback is registered only where it was asked for.
    EXPECT_NE(descriptor("Curve").props().getPointer(kOfxParamPropCustomInterpCallbackV1), nullptr);
    EXPECT_NE(descriptor("Memo").props().getPointer(kOfxParamPropCustomInterpCallbackV1), nullptr);
    EXPECT_EQ(descriptor("Stepped").props().getPointer(kOfxParamPropCustomInterpCallbackV1), nullptr);

    EXPECT_EQ(descriptor("Advanced").props().getInt(kOfxParamPropGroupOpen), 0);
    EXPECT_EQ(descriptor("Detail").props().getString(kOfxParamPropParent), "Advanced");
    EXPECT_EQ(descriptor("Detail").props().getInt(kOfxParamPropSecret), 1);

    // The page lists its children in order, the skip entries by their names.
    EXPECT_EQ(descriptor("Controls").props().getStrings(kOfxParamPropPageChild),
              (S{"Count", kOfxParamPageSkipRow, "Gain", kOfxParamPageSkipColumn, "Advanced", "Run", "Curves"}));
    // Definition order is kept, one host parameter per name.
    S names;
    for (const auto& p : plugin->describeInContext("filter").params().all()) names.push_back(p->name());
    EXPECT_EQ(names, (S{"Probe",   "Count",    "Offset",  "Cells", "Gain",   "Center",  "Position",
                        "Tint",    "Fill",     "Enabled", "Mode",  "Title",  "Curve",   "Memo",
                        "Stepped", "Advanced", "Detail",  "Run",   "Curves", "Controls"}));

    ASSERT_EQ(render("Reads"), kOfxStatOK);
    EXPECT_EQ(reports["Count.texts"], "Count|Cnt|Number of things|count|How many");
    // secret, enabled, animates, persistent, evaluate on change, invalidation
    EXPECT_EQ(reported("Count.flags"), (V{0, 1, 1, 1, 1, 2}));
    EXPECT_EQ(reports["Mode.options"], "First|Second|Third");
    EXPECT_EQ(reports["texts"], "hello|c0");
    EXPECT_EQ(reported("openSecret"), (V{0, 1}));
}

TEST_F(ParamEffect, ParametricDescriptorWritesCurvesThroughTheParametricSuite) {
    ofxhost::Param& curves = descriptor("Curves");
    EXPECT_EQ(curves.props().getInt(kOfxParamPropParametricDimension), 3);
    EXPECT_EQ(curves.props().getDoubles(kOfxParamPropParametricRange), (V{0.0, 1.0}));
    EXPECT_EQ(curves.props().getStrings(kOfxParamPropDimensionLabel), (S{"red", "green", "blue"}));
    // The colour of curve 1 sits at indices 3 to 5.
    EXPECT_EQ(curves.props().getDoubles(kOfxParamPropParametricUIColour), (V{0, 0, 0, 0.0, 1.0, 0.0}));
    ofxhost::Param::Curve c;
    ASSERT_EQ(curves.curve(0, c), kOfxStatOK);
    EXPECT_EQ(c, (ofxhost::Param::Curve{{0.0, 0.0}, {1.0, 0.5}}));
    ASSERT_EQ(curves.curve(2, c), kOfxStatOK);
    EXPECT_EQ(c, (ofxhost::Param::Curve{{0.5, 0.5}}));

    // The instance reads and edits the curves it was described with.
    EXPECT_EQ(render("Parametric"), kOfxStatOK);
    EXPECT_EQ(reported("curves"), (V{3, 0, 1}));
    EXPECT_EQ(reported("points"), (V{2, 0, 1}));
    EXPECT_EQ(reported("point0.1"), (V{1.0, 0.5}));
    EXPECT_EQ(reported("added"), (V{1, 0.25}));
    EXPECT_EQ(reported("cleared"), V{0});
    // Positions 0.25 and 0.5 on curve 0, asked in that order.
    EXPECT_EQ(reported("value0"), (V{0.125, 0.25}));
}

TEST_F(ParamEffect, HostWithoutOptionalSuitesStillDescribesAndRuns) {
    // The module counts loads across hosts: each host lets go of it before
    // the next loads it.
    instance.reset();
    plugin.reset();
    ofxhost::HostConfig config;
    config.withheldSuites = {kOfxParametricParameterSuite, "OfxTimeLineSuite", "OfxProgressSuite"};
    start(config);
    EXPECT_EQ(plugin->describeInContext("filter").params().find("Curves"), nullptr);
    EXPECT_EQ(render("Kinds"), kOfxStatOK);

    // The parameter suite itself is not optional: the load fails.
    instance.reset();
    plugin.reset();
    ofxhost::HostConfig bare;
    bare.withheldSuites = {kOfxParameterSuite};
    auto noParams = quietHost(bare);
    EXPECT_THROW(loadEffect(noParams, kId, ONDU1_TEST_BUNDLE_DIR), ofxhost::Error);
}

// Fetch errors and the statuses they become.

class LoggedParamEffect : public ParamEffect {
protected:
    void SetUp() override {
        log_ = std::filesystem::temp_directory_path() / ("ondu1-params-" + std::to_string(::getpid()) + ".log");
        std::filesystem::remove(log_);
        ::setenv("ONDU1_LOG", log_.c_str(), 1);
        start();
    }
    void TearDown() override {
        instance.reset();
        plugin.reset();
        ::unsetenv("ONDU1_LOG");
        std::filesystem::remove(log_);
    }
    int count(const std::string& line) const {
        std::ifstream in(log_);
        const std::string text{std::istreambuf_iterator<char>(in), {}};
        int n = 0;
        for (size_t at = text.find(line); at != std::string::npos; at = text.find(line, at + 1)) ++n;
        return n;
    }
    std::filesystem::path log_;
};

TEST_F(LoggedParamEffect, WrongTypeFetchesFailTheRenderAndUnknownNamesCarryTheirStatus) {
    // An integer asked for as a double: the host's type decides.
    EXPECT_EQ(render("DoubleOfInt"), kOfxStatFailed);
    EXPECT_EQ(reports["error"], "parameter 'Count' is of another type");
    EXPECT_EQ(count("ERROR : Parameter exists but is of the wrong type"), 1);

    // A double kept from the first fetch, asked for again as an integer: the
    // kept object decides, without asking the host.
    EXPECT_EQ(render("DoubleThenInt"), kOfxStatFailed);
    EXPECT_EQ(reports["double"], "Gain");
    EXPECT_EQ(reports["error"], "parameter 'Gain' was fetched before as another type");
    EXPECT_EQ(count("ERROR : Fetching param and attempting to return the wrong type"), 1);
    EXPECT_EQ(count("ERROR : Parameter exists but is of the wrong type"), 1);
    // The kept double is still served.
    EXPECT_EQ(render("Values", 0), kOfxStatOK);

    // A name the host does not know: its status comes through as it is.
    EXPECT_EQ(render("Unknown"), kOfxStatErrUnknown);
    EXPECT_EQ(reported("exists"), (V{0, 1}));
    EXPECT_EQ(reports["error"], "kOfxStatErrUnknown");

    // The same through the instance changed action: "Count" is kept as the
    // integer that "Values" fetched, so now the kept object decides.
    press("DoubleOfInt");
    EXPECT_EQ(reports["error"], "parameter 'Count' was fetched before as another type");
    EXPECT_EQ(count("ERROR : Fetching param and attempting to return the wrong type"), 2);
    EXPECT_EQ(press("None"), kOfxStatReplyDefault);
}

TEST_F(ParamEffect, KindsOfFetchedParametersFollowTheHostsTypeStrings) {
    ASSERT_EQ(render("Kinds"), kOfxStatOK);
    const std::map<std::string, double> kinds = {
        {"Probe", 10},   {"Count", 1}, {"Offset", 2},    {"Cells", 3},   {"Gain", 4},  {"Center", 5},
        {"Position", 6}, {"Tint", 7},  {"Fill", 8},      {"Enabled", 9}, {"Mode", 10}, {"Title", 11},
        {"Curve", 12},   {"Memo", 12}, {"Advanced", 14}, {"Detail", 4},  {"Run", 16},  {"Controls", 15},
    };
    for (const auto& [name, kind] : kinds) EXPECT_EQ(reported("kind." + name), (V{kind, kind})) << name;
    EXPECT_EQ(reported("kind.Curves"), V{17});
    EXPECT_EQ(reported("sameObject"), V{1});
    EXPECT_EQ(reports["parent.Detail"], "Advanced");
    EXPECT_EQ(reports["parent.Count"], "none");
}

// Keys: counting, times, searches, deletion, interpolation.

TEST_F(ParamEffect, KeyTimesSearchesAndDeletionsFollowTheKeysAndFailPastThem) {
    const std::string outOfRange = "ValueParam::getKeyTime key index out of range";
    // Without keys, where index 0 is already past the end, then with two
    // keys set latest first: one index past the last key fails the render.
    for (const V& times : {V{}, V{0, 10}}) {
        EXPECT_EQ(render("KeyTimes"), kOfxStatFailed);
        EXPECT_EQ(reported("keys"), V{static_cast<double>(times.size())});
        EXPECT_EQ(reported("times"), times);
        EXPECT_EQ(reports["negative"], outOfRange);
        EXPECT_EQ(reports["error"], outOfRange);
        EXPECT_EQ(reports.count("past"), 0u);
        instance->setValue("Gain", values({1.25}), 10.0);
        instance->setValue("Gain", values({0.25}), 0.0);
    }

    // The last deletion names a time without a key: the host's bad index
    // comes back as the render's status.
    EXPECT_EQ(render("Keys"), kOfxStatErrBadIndex);
    // near 0, near 5, before 5, after 5, after 10, before 0, near 10, after -1
    EXPECT_EQ(reported("index"), (V{0, -1, 0, 1, -1, -1, 1, 0}));
    EXPECT_EQ(reported("afterOne"), (V{1, 10}));
    EXPECT_EQ(reported("afterAll"), (V{0, 1.25, 1.25, 0}));
    EXPECT_EQ(reports["error"], "kOfxStatErrBadIndex");
    EXPECT_TRUE(instance->param("Gain").keyTimes().empty());
}

TEST_F(ParamEffect, ValuesBetweenKeysAreReadAtTheirTimesForEveryKind) {
    for (const auto& [name, first, last] : std::vector<std::tuple<std::string, V, V>>{{"Gain", {0.25}, {1.25}},
                                                                                      {"Count", {2}, {8}},
                                                                                      {"Offset", {0, 0}, {4, -6}},
                                                                                      {"Center", {0, 0}, {1, -2}},
                                                                                      {"Enabled", {1}, {0}},
                                                                                      {"Mode", {0}, {2}}}) {
        instance->setValue(name, values(first), 0.0);
        instance->setValue(name, values(last), 10.0);
    }
    for (const auto& [name, first, last] : std::vector<std::tuple<std::string, std::string, std::string>>{
             {"Title", "a", "b"}, {"Curve", "x", "y"}, {"Memo", "first", "second"}, {"Stepped", "p", "q"}}) {
        instance->setValueText(name, first, 0.0);
        instance->setValueText(name, last, 10.0);
    }
    instance->setValue("Fill", values({0.9, 0.8, 0.7, 0.6}));
    instance->setTime(5.0);

    ASSERT_EQ(render("Values", 5.0), kOfxStatOK) << reports["error"];
    // Held before the first key and after the last, linear between.
    EXPECT_EQ(reported("gain"), (V{0.25, 0.25, 0.75, 1.25, 1.25}));
    EXPECT_EQ(reported("gainNow"), V{0.75});
    EXPECT_EQ(reported("slope"), (V{0.1, 0.0}));
    EXPECT_EQ(reported("area"), (V{7.5, -7.5, 12.5}));
    EXPECT_EQ(reported("count"), (V{2, 5}));
    EXPECT_EQ(reported("offset"), (V{2, -3}));
    EXPECT_EQ(reported("cells"), (V{1, 2, 3}));
    EXPECT_EQ(reported("center"), (V{0.5, -1}));
    EXPECT_EQ(reported("centerSlope"), (V{0.1, -0.2}));
    EXPECT_EQ(reported("position"), (V{1.5, 2.5, 3.5}));
    EXPECT_EQ(reported("positionArea"), (V{3, 5, 7}));
    EXPECT_EQ(reported("tint"), (V{0.1, 0.2, 0.3}));
    EXPECT_EQ(reported("fill"), (V{0.9, 0.8, 0.7, 0.6}));
    // Booleans, choices and strings step.
    EXPECT_EQ(reported("enabled"), (V{1, 0}));
    EXPECT_EQ(reported("mode"), (V{0, 2}));
    EXPECT_EQ(reports["title"], "a");
    // Custom values between keys come from the effect through the frame's
    // interpolation entry; the frame's default keeps the first key's text,
    // up to the next key.
    EXPECT_EQ(reports["curve"], "x>y t=2.5 keys=0 10 amount=0.25");
    EXPECT_EQ(reports["memo"], "first");
    EXPECT_EQ(reports["stepped"], "p");
    EXPECT_EQ(instance->value("Curve", 10.0).s, "y");
    EXPECT_EQ(instance->value("Memo", 9.999).s, "first");
}

TEST_F(ParamEffect, CustomInterpolationEntryTakesEitherHandleAndNeedsEveryArgument) {
    ASSERT_EQ(plugin->host().properties().getInt(kOfxParamHostPropSupportsCustomAnimation), 1);
    auto* entry = reinterpret_cast<OfxCustomParamInterpFuncV1*>(
        descriptor("Curve").props().getPointer(kOfxParamPropCustomInterpCallbackV1));
    ASSERT_NE(entry, nullptr);
    auto arguments = [](const std::string& name, bool withAmount) {
        ofxhost::PropertySet in(true);
        in.defineDouble(kOfxPropTime, {3.0});
        in.defineString(kOfxPropName, {name});
        in.defineString(kOfxParamPropCustomValue, {"from", "to"});
        in.defineDouble(kOfxParamPropInterpolationTime, {2.0, 6.0});
        if (withAmount) in.defineDouble(kOfxParamPropInterpolationAmount, {0.25});
        return in;
    };
    ofxhost::PropertySet out(true);
    out.defineString(kOfxParamPropCustomValue, {""});
    // As a standard host calls it, with the instance's parameter set, and as
    // this host does, with the effect handle.
    const OfxParamSetHandle params = instance->params().handle();
    for (OfxParamSetHandle set : {params, reinterpret_cast<OfxParamSetHandle>(instance->handle())}) {
        out.setString(kOfxParamPropCustomValue, "");
        EXPECT_EQ(entry(set, arguments("Curve", true).handle(), out.handle()), kOfxStatOK);
        EXPECT_EQ(out.getString(kOfxParamPropCustomValue), "from>to t=3 keys=2 6 amount=0.25");
    }
    EXPECT_EQ(entry(params, arguments("Memo", true).handle(), out.handle()), kOfxStatOK);
    EXPECT_EQ(out.getString(kOfxParamPropCustomValue), "from");
    // Without the amount: a property the host lacks.
    EXPECT_EQ(entry(params, arguments("Curve", false).handle(), out.handle()), kOfxStatErrMissingHostFeature);
}

// Values set by the effect.

TEST_F(ParamEffect, ValuesSetByTheEffectInAnEditBlockReachTheHostForEveryKind) {
    EXPECT_EQ(press("SetValues"), kOfxStatReplyDefault);
    EXPECT_EQ(reports.count("error"), 0u) << reports["error"];
    const std::vector<std::pair<std::string, V>> set = {{"Count", {7}},
                                                        {"Offset", {3, -4}},
                                                        {"Cells", {4, 5, 6}},
                                                        {"Detail", {0.375}},
                                                        {"Center", {0.125, 0.875}},
                                                        {"Position", {7.5, 8.5, 9.5}},
                                                        {"Tint", {0.75, 0.5, 0.25}},
                                                        {"Fill", {0.125, 0.25, 0.375, 0.5}},
                                                        {"Enabled", {0}},
                                                        {"Mode", {2}}};
    for (const auto& [name, want] : set) EXPECT_EQ(instance->value(name, 0), values(want)) << name;
    EXPECT_EQ(instance->param("Gain").keyTimes(), (V{10, 20}));
    EXPECT_EQ(instance->value("Gain", 15).n[0], 1.5);
    EXPECT_EQ(instance->value("Title", 0).s, "set by the effect");
    EXPECT_EQ(instance->value("Curve", 0).s, "custom text");
    EXPECT_EQ(reported("Mode.count"), V{4});
    EXPECT_EQ(instance->param("Mode").props().getStrings(kOfxParamPropChoiceOption),
              (S{"First", "Second", "Third", "Fourth"}));
    ofxhost::PropertySet& detail = instance->param("Detail").props();
    EXPECT_EQ(detail.getInt(kOfxParamPropSecret), 0);
    EXPECT_EQ(detail.getInt(kOfxParamPropEnabled), 0);
    EXPECT_EQ(detail.getString(kOfxPropLabel), "D");
    EXPECT_EQ(detail.getString(kOfxPropShortLabel), "d");
    EXPECT_EQ(detail.getString(kOfxPropLongLabel), "Detail long");
}

TEST_F(ParamEffect, ValueRefusedByTheHostComesBackAsItsStatus) {
    // Index 3 of three options: the host refuses it in a render and in a press.
    EXPECT_EQ(render("SetBadChoice"), kOfxStatErrValue);
    EXPECT_EQ(reports["error"], "kOfxStatErrValue");
    press("SetBadChoice");
    EXPECT_EQ(reports["error"], "kOfxStatErrValue");
    EXPECT_EQ(instance->value("Mode", 0), values({1}));
}

}  // namespace
