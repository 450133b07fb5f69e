// Parameters: definition, values through the suite's variadic calls,
// keyframes and their interpolation, derivative and integral.
#include <gtest/gtest.h>

#include <limits>

#include "HostTestSupport.h"
#include "ofxhost/Param.h"
#include "ofxhost/Suites.h"
#include "ofxTalvo.h"

using namespace ofxhost;

namespace {

class ParamTest : public hosttest::ParamSetTest {
protected:
    static ParamValue num(double a, double b = 0, double c = 0, double d = 0) {
        ParamValue v;
        v.n = {a, b, c, d};
        return v;
    }
    const OfxParameterSuiteV1* suite = suites::parameter();
};

TEST_F(ParamTest, DefineRefusesUnknownTypesAndTakenNames) {
    define(kOfxParamTypeDouble, "A");
    EXPECT_EQ(set.define(kOfxParamTypeDouble, "A", nullptr), kOfxStatErrExists);
    EXPECT_EQ(set.define("OfxParamTypeNoSuch", "B", nullptr), kOfxStatErrUnknown);
    OfxPropertySetHandle props = nullptr;
    EXPECT_EQ(suite->paramDefine(set.handle(), kOfxParamTypeImage, "Img", &props), kOfxStatOK);
    EXPECT_NE(props, nullptr);
    OfxParamHandle h = nullptr;
    EXPECT_EQ(suite->paramGetHandle(set.handle(), "Nope", &h, nullptr), kOfxStatErrUnknown);
    EXPECT_EQ(suite->paramGetHandle(reinterpret_cast<OfxParamSetHandle>(&time), "A", &h, nullptr),
              kOfxStatErrBadHandle);
}

TEST_F(ParamTest, VariadicValuesOfEachShape) {
    Param& i2 = define(kOfxParamTypeInteger2D, "I2");
    Param& rgba = define(kOfxParamTypeRGBA, "C");
    Param& str = define(kOfxParamTypeString, "S");
    Param& b = define(kOfxParamTypeBoolean, "B");
    ASSERT_EQ(suite->paramSetValue(i2.handle(), 3, -4), kOfxStatOK);
    ASSERT_EQ(suite->paramSetValue(rgba.handle(), 0.1, 0.2, 0.3, 0.4), kOfxStatOK);
    ASSERT_EQ(suite->paramSetValue(str.handle(), "text"), kOfxStatOK);
    ASSERT_EQ(suite->paramSetValue(b.handle(), 5), kOfxStatOK);
    int x = 0, y = 0, on = 0;
    double c[4] = {};
    const char* s = nullptr;
    ASSERT_EQ(suite->paramGetValue(i2.handle(), &x, &y), kOfxStatOK);
    EXPECT_EQ(x, 3);
    EXPECT_EQ(y, -4);
    ASSERT_EQ(suite->paramGetValue(rgba.handle(), &c[0], &c[1], &c[2], &c[3]), kOfxStatOK);
    EXPECT_EQ(c[3], 0.4);
    ASSERT_EQ(suite->paramGetValue(str.handle(), &s), kOfxStatOK);
    EXPECT_STREQ(s, "text");
    ASSERT_EQ(suite->paramGetValue(b.handle(), &on), kOfxStatOK);
    EXPECT_EQ(on, 1);  // booleans are 0 or 1
    EXPECT_EQ(suite->paramGetValue(rgba.handle(), &c[0], &c[1], nullptr, &c[3]), kOfxStatErrValue);
    Param& page = define(kOfxParamTypePage, "Page");
    EXPECT_EQ(suite->paramGetValue(page.handle(), &x), kOfxStatErrUnsupported);
    EXPECT_EQ(suite->paramGetValue(reinterpret_cast<OfxParamHandle>(&x), &x), kOfxStatErrBadHandle);
}

TEST_F(ParamTest, NumbersClampToRangeAndChoicesMustExist) {
    Param& d = define(kOfxParamTypeDouble, "D");
    d.props().setDouble(kOfxParamPropMin, 0.0);
    d.props().setDouble(kOfxParamPropMax, 1.0);
    ASSERT_EQ(suite->paramSetValue(d.handle(), 7.5), kOfxStatOK);
    EXPECT_EQ(d.valueAt(0).n[0], 1.0);
    Param& i = define(kOfxParamTypeInteger, "I");
    i.props().setInt(kOfxParamPropMin, -3);
    ASSERT_EQ(suite->paramSetValue(i.handle(), -10), kOfxStatOK);
    EXPECT_EQ(i.valueAt(0).n[0], -3);
    Param& c = define(kOfxParamTypeChoice, "C");
    c.props().setStrings(kOfxParamPropChoiceOption, {"a", "b"});
    EXPECT_EQ(suite->paramSetValue(c.handle(), 1), kOfxStatOK);
    EXPECT_EQ(suite->paramSetValue(c.handle(), 2), kOfxStatErrValue);
    EXPECT_EQ(suite->paramSetValue(c.handle(), -1), kOfxStatErrValue);
    EXPECT_EQ(c.valueAt(0).n[0], 1);
    EXPECT_EQ(suite->paramSetValue(d.handle(), std::numeric_limits<double>::quiet_NaN()), kOfxStatErrValue);
}

TEST_F(ParamTest, LinearKeyframesHoldOutsideTheKeys) {
    Param& d = define(kOfxParamTypeDouble2D, "D");
    ASSERT_EQ(suite->paramSetValueAtTime(d.handle(), 10.0, 0.0, 100.0), kOfxStatOK);
    ASSERT_EQ(suite->paramSetValueAtTime(d.handle(), 20.0, 1.0, 0.0), kOfxStatOK);
    double x = 0, y = 0;
    ASSERT_EQ(suite->paramGetValueAtTime(d.handle(), 12.5, &x, &y), kOfxStatOK);
    EXPECT_EQ(x, 0.25);
    EXPECT_EQ(y, 75.0);
    suite->paramGetValueAtTime(d.handle(), 5.0, &x, &y);
    EXPECT_EQ(x, 0.0);
    suite->paramGetValueAtTime(d.handle(), 99.0, &x, &y);
    EXPECT_EQ(x, 1.0);
    EXPECT_EQ(d.props().getInt(kOfxParamPropIsAnimating), 1);
    // paramGetValue reads at the effect's current time.
    time = 15.0;
    suite->paramGetValue(d.handle(), &x, &y);
    EXPECT_EQ(x, 0.5);
}

TEST_F(ParamTest, IntegersRoundWhileBooleansStringsAndCustomsStep) {
    Param& i = define(kOfxParamTypeInteger, "I");
    i.setValueAtTime(0, num(0));
    i.setValueAtTime(4, num(3));
    EXPECT_EQ(i.valueAt(1).n[0], 1);  // 0.75 rounds to 1
    EXPECT_EQ(i.valueAt(2).n[0], 2);  // 1.5 rounds away from zero
    Param& b = define(kOfxParamTypeBoolean, "B");
    b.setValueAtTime(0, num(0));
    b.setValueAtTime(10, num(1));
    EXPECT_EQ(b.valueAt(9.99).n[0], 0);
    EXPECT_EQ(b.valueAt(10).n[0], 1);
    // Strings, and custom parameters without an interpolation callback.
    for (const char* type : {kOfxParamTypeString, kOfxParamTypeCustom}) {
        Param& s = define(type, type);
        ParamValue one, two;
        one.s = "one";
        two.s = "two";
        s.setValueAtTime(1, one);
        s.setValueAtTime(3, two);
        EXPECT_EQ(s.valueAt(2.9).s, "one") << type;
        EXPECT_EQ(s.valueAt(3).s, "two") << type;
    }
}

TEST_F(ParamTest, SetValueOnAnAnimatedParameterKeysTheCurrentTime) {
    Param& d = define(kOfxParamTypeDouble, "D");
    d.setValueAtTime(0, num(0));
    d.setValueAtTime(10, num(10));
    time = 5;
    ASSERT_EQ(d.setValue(num(50)), kOfxStatOK);
    EXPECT_EQ(d.keyTimes(), (std::vector<double>{0, 5, 10}));
    EXPECT_EQ(d.valueAt(2.5).n[0], 25);
    Param& still = define(kOfxParamTypeDouble, "Still");
    still.props().setInt(kOfxParamPropAnimates, 0);
    EXPECT_EQ(still.setValueAtTime(1, num(1)), kOfxStatFailed);
}

TEST_F(ParamTest, KeyIndexesAndDeletion) {
    Param& d = define(kOfxParamTypeDouble, "D");
    for (double t : {2.0, 4.0, 6.0}) d.setValueAtTime(t, num(t));
    OfxParamHandle h = d.handle();
    unsigned n = 0;
    suite->paramGetNumKeys(h, &n);
    EXPECT_EQ(n, 3u);
    double t = 0;
    EXPECT_EQ(suite->paramGetKeyTime(h, 2, &t), kOfxStatOK);
    EXPECT_EQ(t, 6.0);
    EXPECT_EQ(suite->paramGetKeyTime(h, 3, &t), kOfxStatErrBadIndex);
    int index = -1;
    EXPECT_EQ(suite->paramGetKeyIndex(h, 4.0, 0, &index), kOfxStatOK);
    EXPECT_EQ(index, 1);
    EXPECT_EQ(suite->paramGetKeyIndex(h, 4.5, 0, &index), kOfxStatFailed);
    EXPECT_EQ(suite->paramGetKeyIndex(h, 4.0, -1, &index), kOfxStatOK);
    EXPECT_EQ(index, 0);
    EXPECT_EQ(suite->paramGetKeyIndex(h, 4.0, 1, &index), kOfxStatOK);
    EXPECT_EQ(index, 2);
    EXPECT_EQ(suite->paramGetKeyIndex(h, 6.0, 1, &index), kOfxStatFailed);
    EXPECT_EQ(suite->paramGetKeyIndex(h, 2.0, -1, &index), kOfxStatFailed);
    // The keyframe extension keeps an interpolation name with each key.
    const OfxTalvoKeyframeSuiteV1* keyframe = suites::keyframe();
    int interpolation = -1;
    EXPECT_EQ(keyframe->paramGetKeyframeInterpolation(h, 4.0, &interpolation), kOfxStatOK);
    EXPECT_EQ(interpolation, kOfxTalvoInterpolationUnknown);
    EXPECT_EQ(keyframe->paramSetKeyframeInterpolation(h, 4.0, kOfxTalvoInterpolationHold), kOfxStatOK);
    EXPECT_EQ(keyframe->paramGetKeyframeInterpolation(h, 4.0, &interpolation), kOfxStatOK);
    EXPECT_EQ(interpolation, kOfxTalvoInterpolationHold);
    EXPECT_EQ(keyframe->paramSetKeyframeInterpolation(h, 4.5, kOfxTalvoInterpolationHold), kOfxStatErrBadIndex);
    EXPECT_EQ(keyframe->paramSetKeyframeInterpolation(h, 4.0, 9), kOfxStatErrValue);
    EXPECT_EQ(keyframe->paramSetKeyframeInterpolation(nullptr, 4.0, 1), kOfxStatErrBadHandle);
    EXPECT_EQ(keyframe->paramGetKeyframeInterpolation(h, 4.0, nullptr), kOfxStatErrValue);
    EXPECT_EQ(suite->paramDeleteKey(h, 3.0), kOfxStatErrBadIndex);
    EXPECT_EQ(suite->paramDeleteKey(h, 4.0), kOfxStatOK);
    d.setValueAtTime(4.0, num(4.0));
    EXPECT_EQ(keyframe->paramGetKeyframeInterpolation(h, 4.0, &interpolation), kOfxStatOK);
    EXPECT_EQ(interpolation, kOfxTalvoInterpolationUnknown) << "a new key starts afresh";
    EXPECT_EQ(suite->paramDeleteKey(h, 4.0), kOfxStatOK);
    EXPECT_EQ(d.valueAt(4.0).n[0], 4.0);  // now between 2 and 6
    EXPECT_EQ(suite->paramDeleteAllKeys(h), kOfxStatOK);
    suite->paramGetNumKeys(h, &n);
    EXPECT_EQ(n, 0u);
    EXPECT_EQ(d.props().getInt(kOfxParamPropIsAnimating), 0);
}

TEST_F(ParamTest, DerivativeAndIntegralOfAPiecewiseLinearCurve) {
    Param& d = define(kOfxParamTypeDouble, "D");
    d.setValueAtTime(0, num(0));
    d.setValueAtTime(2, num(4));
    d.setValueAtTime(4, num(4));
    double v = 0;
    ASSERT_EQ(suite->paramGetDerivative(d.handle(), 1.0, &v), kOfxStatOK);
    EXPECT_EQ(v, 2.0);
    suite->paramGetDerivative(d.handle(), 3.0, &v);
    EXPECT_EQ(v, 0.0);
    suite->paramGetDerivative(d.handle(), -1.0, &v);
    EXPECT_EQ(v, 0.0);
    // 0..2 is a triangle of area 4, 2..4 a rectangle of 8, 4..5 holds 4.
    ASSERT_EQ(suite->paramGetIntegral(d.handle(), 0.0, 5.0, &v), kOfxStatOK);
    EXPECT_EQ(v, 16.0);
    suite->paramGetIntegral(d.handle(), 5.0, 0.0, &v);
    EXPECT_EQ(v, -16.0);
    suite->paramGetIntegral(d.handle(), 1.0, 1.0, &v);
    EXPECT_EQ(v, 0.0);
    Param& i = define(kOfxParamTypeInteger, "I");
    int iv = 0;
    EXPECT_EQ(suite->paramGetDerivative(i.handle(), 0.0, &iv), kOfxStatErrUnsupported);
}

TEST_F(ParamTest, CopyShiftsKeysWithinARange) {
    Param& from = define(kOfxParamTypeDouble, "From");
    Param& to = define(kOfxParamTypeDouble, "To");
    Param& other = define(kOfxParamTypeInteger, "Other");
    from.setValueAtTime(1, num(1));
    from.setValueAtTime(5, num(5));
    const OfxRangeD range{0, 2};
    ASSERT_EQ(suite->paramCopy(to.handle(), from.handle(), 10.0, &range), kOfxStatOK);
    EXPECT_EQ(to.keyTimes(), std::vector<double>{11.0});
    EXPECT_EQ(suite->paramCopy(other.handle(), from.handle(), 0.0, nullptr), kOfxStatErrValue);
}

TEST_F(ParamTest, ParametricCurvesAreLinearAndValidated) {
    Param& p = define(kOfxParamTypeParametric, "P");
    p.props().setInt(kOfxParamPropParametricDimension, 2);
    const OfxParametricParameterSuiteV1* ps = suites::parametric();
    ASSERT_EQ(ps->parametricParamAddControlPoint(p.handle(), 1, 0, 1.0, 10.0, false), kOfxStatOK);
    ASSERT_EQ(ps->parametricParamAddControlPoint(p.handle(), 1, 0, 0.0, 0.0, false), kOfxStatOK);
    int n = 0;
    ps->parametricParamGetNControlPoints(p.handle(), 1, 0, &n);
    EXPECT_EQ(n, 2);
    double key = -1, value = -1, y = -1;
    ASSERT_EQ(ps->parametricParamGetNthControlPoint(p.handle(), 1, 0, 0, &key, &value), kOfxStatOK);
    EXPECT_EQ(key, 0.0);  // kept sorted by position
    ps->parametricParamGetValue(p.handle(), 1, 0, 0.25, &y);
    EXPECT_EQ(y, 2.5);
    ps->parametricParamGetValue(p.handle(), 1, 0, 3.0, &y);
    EXPECT_EQ(y, 10.0);
    EXPECT_EQ(ps->parametricParamGetValue(p.handle(), 2, 0, 0.5, &y), kOfxStatErrBadIndex);
    EXPECT_EQ(ps->parametricParamDeleteControlPoint(p.handle(), 1, 5), kOfxStatErrBadIndex);
    Param& d = define(kOfxParamTypeDouble, "D");
    EXPECT_EQ(ps->parametricParamGetValue(d.handle(), 0, 0, 0.5, &y), kOfxStatErrBadHandle);
}

TEST_F(ParamTest, PagesListParametersAndTheirGroups) {
    define(kOfxParamTypeGroup, "G");
    Param& inner = define(kOfxParamTypeDouble, "Inner");
    inner.props().setString(kOfxParamPropParent, "G");
    Param& loose = define(kOfxParamTypeDouble, "Loose");
    Param& page = define(kOfxParamTypePage, "Main");
    page.props().setStrings(kOfxParamPropPageChild, {"G"});
    EXPECT_EQ(set.pageOf(inner), "Main");
    EXPECT_EQ(set.pageOf(loose), "");
    inner.props().setString(kOfxParamPropScriptName, "inner_script");
    EXPECT_EQ(set.findByNameOrScriptName("inner_script"), &inner);
}

}  // namespace
