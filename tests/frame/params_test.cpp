// The frame's parameter families through the host: what the descriptors
// write, what the instance classes read and set, keys and their
// interpolation, and the statuses that fetch and key errors become. The test
// effect "ondu1.test:params" runs one probe per render or press of its "Run"
// button and reports the frame's answers as "key=value" log messages.
#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>

#include "EffectTest.h"
#include "ofxParam.h"
#include "ofxParametricParam.h"
#include "ofxTalvo.h"
#include "ofxhost/Param.h"
#include "ofxhost/Status.h"

using namespace ondu1test;

namespace {

const char* const kId = "ondu1.test:params";

std::vector<double> numbers(const std::string& text) {
    std::vector<double> out;
    std::istringstream in(text);
    for (double v; in >> v;) out.push_back(v);
    return out;
}

ofxhost::ParamValue values(std::initializer_list<double> n) {
    ofxhost::ParamValue v;
    int i = 0;
    for (double x : n) v.n[i++] = x;
    return v;
}

ofxhost::ParamValue text(const std::string& s) {
    ofxhost::ParamValue v;
    v.s = s;
    return v;
}

class ParamEffect : public ::testing::Test {
protected:
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
        order.clear();
        for (const ofxhost::Message& m : host->messages()) {
            if (m.pluginId != kId || m.type != kOfxMessageLog) continue;
            const auto eq = m.text.find('=');
            const std::string key = m.text.substr(0, eq);
            reports[key] = eq == std::string::npos ? "" : m.text.substr(eq + 1);
            order.push_back(key);
        }
    }

    std::vector<double> reported(const std::string& key) {
        EXPECT_TRUE(reports.count(key)) << key;
        return numbers(reports[key]);
    }

    std::shared_ptr<ofxhost::Host> host;
    std::shared_ptr<ofxhost::Plugin> plugin;
    std::unique_ptr<ofxhost::Instance> instance;
    std::map<std::string, std::string> reports;
    std::vector<std::string> order;
};

using V = std::vector<double>;
using S = std::vector<std::string>;

// Description: what each descriptor class writes, read back by the host.

TEST_F(ParamEffect, NumericDescriptorsWriteDefaultsRangesAndSteps) {
    start();
    ofxhost::PropertySet& count = descriptor("Count").props();
    EXPECT_EQ(count.getString(kOfxParamPropType), kOfxParamTypeInteger);
    EXPECT_EQ(count.getStrings(kOfxPropLabel), S{"Count"});
    EXPECT_EQ(count.getString(kOfxPropShortLabel), "Cnt");
    EXPECT_EQ(count.getString(kOfxPropLongLabel), "Number of things");
    EXPECT_EQ(count.getString(kOfxParamPropScriptName), "count");
    EXPECT_EQ(count.getString(kOfxParamPropHint), "How many");
    EXPECT_EQ(count.getInts(kOfxParamPropDefault), std::vector<int>{3});
    EXPECT_EQ(count.getInts(kOfxParamPropMin), std::vector<int>{0});
    EXPECT_EQ(count.getInts(kOfxParamPropMax), std::vector<int>{10});
    EXPECT_EQ(count.getInts(kOfxParamPropDisplayMin), std::vector<int>{1});
    EXPECT_EQ(count.getInts(kOfxParamPropDisplayMax), std::vector<int>{8});
    EXPECT_EQ(count.getString(kOfxParamPropCacheInvalidation), kOfxParamInvalidateAll);

    // Ranges of the vector kinds are given minima first, then maxima.
    ofxhost::PropertySet& offset = descriptor("Offset").props();
    EXPECT_EQ(offset.getInts(kOfxParamPropDefault), (std::vector<int>{1, 2}));
    EXPECT_EQ(offset.getInts(kOfxParamPropMin), (std::vector<int>{-5, -6}));
    EXPECT_EQ(offset.getInts(kOfxParamPropMax), (std::vector<int>{5, 6}));
    EXPECT_EQ(offset.getInts(kOfxParamPropDisplayMin), (std::vector<int>{-3, -4}));
    EXPECT_EQ(offset.getInts(kOfxParamPropDisplayMax), (std::vector<int>{3, 4}));
    EXPECT_EQ(offset.getStrings(kOfxParamPropDimensionLabel), (S{"u", "v"}));
    ofxhost::PropertySet& cells = descriptor("Cells").props();
    EXPECT_EQ(cells.getInts(kOfxParamPropDefault), (std::vector<int>{1, 2, 3}));
    EXPECT_EQ(cells.getInts(kOfxParamPropMin), (std::vector<int>{-1, -2, -3}));
    EXPECT_EQ(cells.getInts(kOfxParamPropMax), (std::vector<int>{11, 12, 13}));
    EXPECT_EQ(cells.getInts(kOfxParamPropDisplayMin), (std::vector<int>{0, 1, 2}));
    EXPECT_EQ(cells.getInts(kOfxParamPropDisplayMax), (std::vector<int>{7, 8, 9}));
    EXPECT_EQ(cells.getStrings(kOfxParamPropDimensionLabel), (S{"i", "j", "k"}));

    // The program's own double type goes to the host as its own string; a
    // host that takes it keeps it, and the description goes on.
    ofxhost::PropertySet& gain = descriptor("Gain").props();
    EXPECT_EQ(gain.getString(kOfxParamPropType), kOfxParamTypeDouble);
    EXPECT_EQ(gain.getDoubles(kOfxParamPropDefault), V{0.5});
    EXPECT_EQ(gain.getDoubles(kOfxParamPropMin), V{0.0});
    EXPECT_EQ(gain.getDoubles(kOfxParamPropMax), V{2.0});
    EXPECT_EQ(gain.getDoubles(kOfxParamPropDisplayMin), V{0.0});
    EXPECT_EQ(gain.getDoubles(kOfxParamPropDisplayMax), V{1.0});
    EXPECT_EQ(gain.getDouble(kOfxParamPropIncrement), 0.05);
    EXPECT_EQ(gain.getInt(kOfxParamPropDigits), 3);
    EXPECT_EQ(gain.getString(kOfxParamPropDoubleType), "OfxParamDoubleTypeLog");
    EXPECT_EQ(gain.getInt(kOfxParamPropAnimates), 1);
    EXPECT_EQ(gain.getString(kOfxParamPropCacheInvalidation), kOfxParamInvalidateValueChangeToEnd);

    ofxhost::PropertySet& center = descriptor("Center").props();
    EXPECT_EQ(center.getDoubles(kOfxParamPropDefault), (V{0.25, 0.75}));
    EXPECT_EQ(center.getDoubles(kOfxParamPropMin), (V{-1.0, -2.0}));
    EXPECT_EQ(center.getDoubles(kOfxParamPropMax), (V{1.0, 2.0}));
    EXPECT_EQ(center.getDoubles(kOfxParamPropDisplayMin), (V{-0.5, -1.5}));
    EXPECT_EQ(center.getDoubles(kOfxParamPropDisplayMax), (V{0.5, 1.5}));
    EXPECT_EQ(center.getString(kOfxParamPropDoubleType), kOfxParamDoubleTypeNormalisedXY);
    EXPECT_EQ(center.getString(kOfxParamPropDefaultCoordinateSystem), kOfxParamCoordinatesNormalised);
    EXPECT_EQ(center.getStrings(kOfxParamPropDimensionLabel), (S{"h", "w"}));
    ofxhost::PropertySet& position = descriptor("Position").props();
    EXPECT_EQ(position.getDoubles(kOfxParamPropDefault), (V{1.5, 2.5, 3.5}));
    EXPECT_EQ(position.getDoubles(kOfxParamPropMin), (V{-10, -20, -30}));
    EXPECT_EQ(position.getDoubles(kOfxParamPropMax), (V{10, 20, 30}));
    EXPECT_EQ(position.getDoubles(kOfxParamPropDisplayMin), (V{-1, -2, -3}));
    EXPECT_EQ(position.getDoubles(kOfxParamPropDisplayMax), (V{1, 2, 3}));
    EXPECT_EQ(position.getString(kOfxParamPropDoubleType), kOfxParamDoubleTypeScale);

    EXPECT_EQ(descriptor("Tint").props().getDoubles(kOfxParamPropDefault), (V{0.1, 0.2, 0.3}));
    EXPECT_EQ(descriptor("Fill").props().getDoubles(kOfxParamPropDefault), (V{0.4, 0.5, 0.6, 0.7}));
}

TEST_F(ParamEffect, ChoiceTextCustomAndLayoutDescriptorsWriteTheirProperties) {
    start();
    ofxhost::PropertySet& enabled = descriptor("Enabled").props();
    EXPECT_EQ(enabled.getString(kOfxParamPropType), kOfxParamTypeBoolean);
    EXPECT_EQ(enabled.getInts(kOfxParamPropDefault), std::vector<int>{1});
    EXPECT_EQ(enabled.getString("OfxParamPropBooleanMode"), "OfxParamBooleanIsReadOnlyMarker");

    // Options in order; a hint only where one was given, at its option's index.
    ofxhost::PropertySet& mode = descriptor("Mode").props();
    EXPECT_EQ(mode.getStrings(kOfxParamPropChoiceOption), (S{"First", "Second", "Third"}));
    EXPECT_EQ(mode.getStrings(kOfxParamPropChoiceOptionHint), (S{"the first way", "", "the third way"}));
    EXPECT_EQ(mode.getInt(kOfxParamPropDefault), 1);
    EXPECT_EQ(descriptor("Probe").props().dimension(kOfxParamPropChoiceOption), 14);
    EXPECT_EQ(descriptor("Probe").props().getInt(kOfxParamPropAnimates), 0);

    ofxhost::PropertySet& title = descriptor("Title").props();
    EXPECT_EQ(title.getString(kOfxParamPropDefault), "hello");
    EXPECT_EQ(title.getString(kOfxParamPropStringMode), kOfxParamStringIsMultiLine);

    // The interpolation callback is registered only where it was asked for.
    EXPECT_EQ(descriptor("Curve").props().getString(kOfxParamPropDefault), "c0");
    EXPECT_NE(descriptor("Curve").props().getPointer(kOfxParamPropCustomInterpCallbackV1), nullptr);
    EXPECT_NE(descriptor("Memo").props().getPointer(kOfxParamPropCustomInterpCallbackV1), nullptr);
    EXPECT_EQ(descriptor("Stepped").props().getPointer(kOfxParamPropCustomInterpCallbackV1), nullptr);

    ofxhost::PropertySet& advanced = descriptor("Advanced").props();
    EXPECT_EQ(advanced.getString(kOfxParamPropType), kOfxParamTypeGroup);
    EXPECT_EQ(advanced.getInt(kOfxParamPropGroupOpen), 0);
    EXPECT_EQ(advanced.getString(kOfxPropLongLabel), "Advanced settings");
    EXPECT_EQ(descriptor("Detail").props().getString(kOfxParamPropParent), "Advanced");
    EXPECT_EQ(descriptor("Detail").props().getInt(kOfxParamPropSecret), 1);
    EXPECT_EQ(descriptor("Count").props().getString(kOfxParamPropParent), "");
    EXPECT_EQ(descriptor("Run").props().getString(kOfxParamPropType), kOfxParamTypePushButton);
    EXPECT_EQ(descriptor("Run").props().getString(kOfxPropLongLabel), "Run the probe");

    // The page lists its children in order, the skip entries by their names.
    ofxhost::PropertySet& page = descriptor("Controls").props();
    EXPECT_EQ(page.getString(kOfxParamPropType), kOfxParamTypePage);
    EXPECT_EQ(page.getStrings(kOfxParamPropPageChild),
              (S{"Count", kOfxParamPageSkipRow, "Gain", kOfxParamPageSkipColumn, "Advanced", "Run", "Curves"}));

    // Definition order is kept, one host parameter per name.
    S names;
    for (const auto& p : plugin->describeInContext("filter").params().all()) names.push_back(p->name());
    EXPECT_EQ(names, (S{"Probe", "Count", "Offset", "Cells", "Gain", "Center", "Position", "Tint", "Fill", "Enabled",
                        "Mode", "Title", "Curve", "Memo", "Stepped", "Advanced", "Detail", "Run", "Curves",
                        "Controls"}));
}

TEST_F(ParamEffect, ParametricDescriptorWritesCurvesThroughTheParametricSuite) {
    start();
    ofxhost::Param& curves = descriptor("Curves");
    EXPECT_EQ(curves.props().getString(kOfxParamPropType), kOfxParamTypeParametric);
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
    ofxhost::HostConfig config;
    config.withheldSuites = {kOfxParametricParameterSuite, "OfxTimeLineSuite", "OfxProgressSuite"};
    start(config);
    EXPECT_EQ(plugin->describeInContext("filter").params().find("Curves"), nullptr);
    EXPECT_EQ(descriptor("Controls").props().getStrings(kOfxParamPropPageChild),
              (S{"Count", kOfxParamPageSkipRow, "Gain", kOfxParamPageSkipColumn, "Advanced", "Run"}));
    EXPECT_EQ(descriptor("Gain").props().getString(kOfxParamPropDoubleType), "OfxParamDoubleTypeLog");
    EXPECT_EQ(render("Kinds"), kOfxStatOK);
    EXPECT_EQ(reports.count("kind.Curves"), 0u);
    EXPECT_EQ(reported("kind.Gain"), (V{4, 4}));

    // The parameter suite itself is not optional: the load fails. The module
    // counts loads across hosts, so the first host lets go of it first.
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
    }
    void TearDown() override {
        instance.reset();
        plugin.reset();
        ::unsetenv("ONDU1_LOG");
        std::filesystem::remove(log_);
    }
    int count(const std::string& line) const {
        std::ifstream in(log_);
        std::stringstream all;
        all << in.rdbuf();
        const std::string text = all.str();
        int n = 0;
        for (size_t at = text.find(line); at != std::string::npos; at = text.find(line, at + 1)) ++n;
        return n;
    }
    std::filesystem::path log_;
};

TEST_F(LoggedParamEffect, WrongTypeFetchesFailTheRenderAndUnknownNamesCarryTheirStatus) {
    start();
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
    start();
    ASSERT_EQ(render("Kinds"), kOfxStatOK);
    const std::map<std::string, double> kinds = {
        {"Probe", 10}, {"Count", 1}, {"Offset", 2}, {"Cells", 3},    {"Gain", 4},      {"Center", 5},
        {"Position", 6}, {"Tint", 7}, {"Fill", 8},   {"Enabled", 9}, {"Mode", 10},     {"Title", 11},
        {"Curve", 12},   {"Memo", 12}, {"Advanced", 14}, {"Detail", 4}, {"Run", 16}, {"Controls", 15},
    };
    for (const auto& [name, kind] : kinds) EXPECT_EQ(reported("kind." + name), (V{kind, kind})) << name;
    EXPECT_EQ(reported("kind.Curves"), V{17});
    EXPECT_EQ(reported("sameObject"), V{1});
    EXPECT_EQ(reports["parent.Detail"], "Advanced");
    EXPECT_EQ(reports["parent.Count"], "none");
}

// The instance classes' reads of the description.

TEST_F(ParamEffect, InstanceClassesReadTheDescribedProperties) {
    start();
    ASSERT_EQ(render("Reads"), kOfxStatOK);
    EXPECT_EQ(reports["Count.labels"], "Count|Cnt|Number of things");
    EXPECT_EQ(reports["Count.script"], "count");
    EXPECT_EQ(reports["Count.hint"], "How many");
    EXPECT_EQ(reported("Count.default"), V{3});
    EXPECT_EQ(reported("Count.ranges"), (V{0, 10, 1, 8}));
    // secret, enabled, animates, persistent, evaluate on change, invalidation
    EXPECT_EQ(reported("Count.flags"), (V{0, 1, 1, 1, 1, 2}));
    EXPECT_EQ(reported("Offset.default"), (V{1, 2}));
    EXPECT_EQ(reported("Offset.range"), (V{-5, -6, 5, 6}));
    EXPECT_EQ(reported("Offset.display"), (V{-3, -4, 3, 4}));
    EXPECT_EQ(reported("Cells.default"), (V{1, 2, 3}));
    EXPECT_EQ(reported("Cells.range"), (V{-1, -2, -3, 11, 12, 13}));
    EXPECT_EQ(reported("Cells.display"), (V{0, 1, 2, 7, 8, 9}));
    EXPECT_EQ(reported("Gain.default"), V{0.5});
    EXPECT_EQ(reported("Gain.ranges"), (V{0, 2, 0, 1}));
    // The program's log type reads back as itself, the last of the enumeration.
    EXPECT_EQ(reported("Gain.steps"), (V{0.05, 3, 19}));
    EXPECT_EQ(reported("Gain.invalidation"), V{1});
    EXPECT_EQ(reported("Center.default"), (V{0.25, 0.75}));
    EXPECT_EQ(reported("Center.range"), (V{-1, -2, 1, 2}));
    EXPECT_EQ(reported("Center.display"), (V{-0.5, -1.5, 0.5, 1.5}));
    EXPECT_EQ(reported("Center.type"), V{15});
    EXPECT_EQ(reported("Position.default"), (V{1.5, 2.5, 3.5}));
    EXPECT_EQ(reported("Position.range"), (V{-10, -20, -30, 10, 20, 30}));
    EXPECT_EQ(reported("Position.display"), (V{-1, -2, -3, 1, 2, 3}));
    EXPECT_EQ(reported("Position.type"), V{2});
    EXPECT_EQ(reported("Tint.default"), (V{0.1, 0.2, 0.3}));
    EXPECT_EQ(reported("Fill.default"), (V{0.4, 0.5, 0.6, 0.7}));
    EXPECT_EQ(reported("Enabled.default"), V{1});
    EXPECT_EQ(reported("Mode.default"), V{1});
    EXPECT_EQ(reports["Mode.options"], "First|Second|Third");
    EXPECT_EQ(reports["Title.default"], "hello");
    EXPECT_EQ(reports["Curve.default"], "c0");
    EXPECT_EQ(reported("Advanced.open"), V{0});
    EXPECT_EQ(reported("Detail.secret"), V{1});
}

// Keys: counting, times, searches, deletion, interpolation.

TEST_F(ParamEffect, KeyTimeOnePastTheLastKeyThrowsAndFailsTheRender) {
    start();
    // No keys: index 0 is already past the end.
    EXPECT_EQ(render("KeyTimes"), kOfxStatFailed);
    EXPECT_EQ(reported("keys"), V{0});
    EXPECT_EQ(reports["negative"], "ValueParam::getKeyTime key index out of range");
    EXPECT_EQ(reports["error"], "ValueParam::getKeyTime key index out of range");
    EXPECT_EQ(reports.count("past"), 0u);

    instance->setValue("Gain", values({0.25}), 10.0);
    instance->setValue("Gain", values({1.25}), 0.0);
    EXPECT_EQ(render("KeyTimes"), kOfxStatFailed);
    EXPECT_EQ(reported("keys"), V{2});
    EXPECT_EQ(reported("times"), (V{0, 10}));
    EXPECT_EQ(reports["error"], "ValueParam::getKeyTime key index out of range");
    EXPECT_EQ(reports.count("past"), 0u);
}

TEST_F(ParamEffect, KeySearchesAndDeletionsFollowTheKeys) {
    start();
    instance->setValue("Gain", values({0.25}), 0.0);
    instance->setValue("Gain", values({1.25}), 10.0);
    ASSERT_EQ(render("KeyIndex"), kOfxStatOK);
    // near 0, near 5, before 5, after 5, after 10, before 0, near 10, after -1
    EXPECT_EQ(reported("index"), (V{0, -1, 0, 1, -1, -1, 1, 0}));

    // The last deletion names a key that is not there: the host's bad index
    // comes back as the render's status.
    instance->setTime(0.0);
    EXPECT_EQ(render("DeleteKeys"), kOfxStatErrBadIndex);
    EXPECT_EQ(reported("afterOne"), (V{1, 10}));
    EXPECT_EQ(reported("afterAll"), (V{0, 1.25, 1.25, 0}));
    EXPECT_EQ(reports["error"], "kOfxStatErrBadIndex");
    EXPECT_TRUE(instance->param("Gain").keyTimes().empty());
}

TEST_F(ParamEffect, ValuesBetweenKeysAreReadAtTheirTimesForEveryKind) {
    start();
    instance->setValue("Gain", values({0.25}), 0.0);
    instance->setValue("Gain", values({1.25}), 10.0);
    instance->setValue("Count", values({2}), 0.0);
    instance->setValue("Count", values({8}), 10.0);
    instance->setValue("Offset", values({0, 0}), 0.0);
    instance->setValue("Offset", values({4, -6}), 10.0);
    instance->setValue("Center", values({0, 0}), 0.0);
    instance->setValue("Center", values({1, -2}), 10.0);
    instance->setValue("Fill", values({0.9, 0.8, 0.7, 0.6}));
    instance->setValue("Enabled", values({1}), 0.0);
    instance->setValue("Enabled", values({0}), 10.0);
    instance->setValue("Mode", values({0}), 0.0);
    instance->setValue("Mode", values({2}), 10.0);
    instance->setValue("Title", text("a"), 0.0);
    instance->setValue("Title", text("b"), 10.0);
    instance->setValue("Curve", text("x"), 0.0);
    instance->setValue("Curve", text("y"), 10.0);
    instance->setValue("Memo", text("first"), 0.0);
    instance->setValue("Memo", text("second"), 10.0);
    instance->setValue("Stepped", text("p"), 0.0);
    instance->setValue("Stepped", text("q"), 10.0);
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
    // interpolation entry; the frame's default keeps the first key's text.
    EXPECT_EQ(reports["curve"], "x>y t=2.5 keys=0 10 amount=0.25");
    EXPECT_EQ(reports["memo"], "first");
    EXPECT_EQ(reports["stepped"], "p");
}

TEST_F(ParamEffect, CustomInterpolationGoesThroughTheFramesEntry) {
    start();
    ASSERT_EQ(plugin->host().properties().getInt(kOfxParamHostPropSupportsCustomAnimation), 1);
    instance->setValueText("Curve", "x", 0.0);
    instance->setValueText("Curve", "y", 10.0);
    instance->setValueText("Memo", "first", 0.0);
    instance->setValueText("Memo", "second", 10.0);
    EXPECT_EQ(instance->value("Curve", 7.5).s, "x>y t=7.5 keys=0 10 amount=0.75");
    EXPECT_EQ(instance->value("Curve", 10.0).s, "y");
    EXPECT_EQ(instance->value("Memo", 5.0).s, "first");
    EXPECT_EQ(instance->value("Memo", 9.999).s, "first");

    // Called as a standard host calls it: with the instance's parameter set
    // or, as our host does, with the effect handle.
    auto* entry = reinterpret_cast<OfxCustomParamInterpFuncV1*>(
        descriptor("Curve").props().getPointer(kOfxParamPropCustomInterpCallbackV1));
    ASSERT_NE(entry, nullptr);
    ofxhost::PropertySet in(true), out(true);
    in.defineDouble(kOfxPropTime, {3.0});
    in.defineString(kOfxPropName, {"Curve"});
    in.defineString(kOfxParamPropCustomValue, {"from", "to"});
    in.defineDouble(kOfxParamPropInterpolationTime, {2.0, 6.0});
    in.defineDouble(kOfxParamPropInterpolationAmount, {0.25});
    out.defineString(kOfxParamPropCustomValue, {""});
    EXPECT_EQ(entry(instance->params().handle(), in.handle(), out.handle()), kOfxStatOK);
    EXPECT_EQ(out.getString(kOfxParamPropCustomValue), "from>to t=3 keys=2 6 amount=0.25");
    out.setString(kOfxParamPropCustomValue, "");
    EXPECT_EQ(entry(reinterpret_cast<OfxParamSetHandle>(instance->handle()), in.handle(), out.handle()), kOfxStatOK);
    EXPECT_EQ(out.getString(kOfxParamPropCustomValue), "from>to t=3 keys=2 6 amount=0.25");

    in.setString(kOfxPropName, "Memo");
    EXPECT_EQ(entry(instance->params().handle(), in.handle(), out.handle()), kOfxStatOK);
    EXPECT_EQ(out.getString(kOfxParamPropCustomValue), "from");

    // Arguments without the amount: a property the host lacks.
    ofxhost::PropertySet partial(true);
    partial.defineDouble(kOfxPropTime, {3.0});
    partial.defineString(kOfxPropName, {"Curve"});
    partial.defineString(kOfxParamPropCustomValue, {"from", "to"});
    partial.defineDouble(kOfxParamPropInterpolationTime, {2.0, 6.0});
    EXPECT_EQ(entry(instance->params().handle(), partial.handle(), out.handle()), kOfxStatErrMissingHostFeature);
}

// Values set by the effect.

TEST_F(ParamEffect, ValuesSetByTheEffectReachTheHostForEveryKind) {
    start();
    EXPECT_EQ(press("SetValues"), kOfxStatReplyDefault);
    EXPECT_EQ(reports.count("error"), 0u) << reports["error"];
    EXPECT_EQ(instance->value("Count", 0), values({7}));
    EXPECT_EQ(instance->value("Offset", 0), values({3, -4}));
    EXPECT_EQ(instance->value("Cells", 0), values({4, 5, 6}));
    EXPECT_EQ(instance->param("Gain").keyTimes(), (V{10, 20}));
    EXPECT_EQ(instance->value("Gain", 15).n[0], 1.5);
    EXPECT_EQ(instance->value("Detail", 0), values({0.375}));
    EXPECT_EQ(instance->value("Center", 0), values({0.125, 0.875}));
    EXPECT_EQ(instance->value("Position", 0), values({7.5, 8.5, 9.5}));
    EXPECT_EQ(instance->value("Tint", 0), values({0.75, 0.5, 0.25}));
    EXPECT_EQ(instance->value("Fill", 0), values({0.125, 0.25, 0.375, 0.5}));
    EXPECT_EQ(instance->value("Enabled", 0), values({0}));
    EXPECT_EQ(instance->value("Mode", 0), values({2}));
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

    // An edit block around a set.
    EXPECT_EQ(render("EditBlock"), kOfxStatOK);
    EXPECT_EQ(instance->value("Count", 0), values({4}));
}

TEST_F(ParamEffect, ValueRefusedByTheHostComesBackAsItsStatus) {
    start();
    // Index 3 of three options: the host refuses the value.
    EXPECT_EQ(render("SetBadChoice"), kOfxStatErrValue);
    EXPECT_EQ(reports["error"], "kOfxStatErrValue");
    EXPECT_EQ(instance->value("Mode", 0), values({1}));
    press("SetBadChoice");
    EXPECT_EQ(reports["error"], "kOfxStatErrValue");
    EXPECT_EQ(instance->value("Mode", 0), values({1}));
}

}  // namespace
