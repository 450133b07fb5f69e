// Property sets through the published suite: values, dimensions, and the
// status of every kind of misuse.
#include <gtest/gtest.h>

#include <cstring>
#include <thread>
#include <vector>

#include "ofxhost/Property.h"
#include "ofxhost/Status.h"
#include "ofxhost/Suites.h"

using namespace ofxhost;

namespace {

class PropertySuiteTest : public ::testing::Test {
protected:
    void SetUp() override {
        set.defineInt("I", {1, 2});
        set.defineDouble("D", {0.5});
        set.defineString("S", {"a", "b", "c"});
        set.definePointer("P", {nullptr});
        set.defineString("V", {}, true);
    }
    const OfxPropertySuiteV1* suite = suites::property();
    PropertySet set;
};

TEST_F(PropertySuiteTest, ReadsAndWritesEveryType) {
    OfxPropertySetHandle h = set.handle();
    double d = 0;
    char* s = nullptr;
    void* p = nullptr;
    EXPECT_EQ(suite->propSetDouble(h, "D", 0, -2.25), kOfxStatOK);
    EXPECT_EQ(suite->propGetDouble(h, "D", 0, &d), kOfxStatOK);
    EXPECT_EQ(d, -2.25);
    EXPECT_EQ(suite->propSetPointer(h, "P", 0, &d), kOfxStatOK);
    EXPECT_EQ(suite->propGetPointer(h, "P", 0, &p), kOfxStatOK);
    EXPECT_EQ(p, &d);
    // One element past the first, then the whole property.
    EXPECT_EQ(suite->propSetString(h, "S", 2, "zz"), kOfxStatOK);
    EXPECT_EQ(suite->propGetString(h, "S", 2, &s), kOfxStatOK);
    EXPECT_STREQ(s, "zz");
    char* strings[3] = {};
    EXPECT_EQ(suite->propGetStringN(h, "S", 3, strings), kOfxStatOK);
    EXPECT_STREQ(strings[0], "a");
    EXPECT_STREQ(strings[2], "zz");
    const int two[2] = {-5, 9};
    int i = 0;
    EXPECT_EQ(suite->propSetIntN(h, "I", 2, two), kOfxStatOK);
    EXPECT_EQ(suite->propGetInt(h, "I", 1, &i), kOfxStatOK);
    EXPECT_EQ(i, 9);
    EXPECT_EQ(set.getInts("I"), (std::vector<int>{-5, 9}));
}

TEST_F(PropertySuiteTest, PublishedErrorStatuses) {
    OfxPropertySetHandle h = set.handle();
    int i = 0;
    double d = 0;
    // Unknown name.
    EXPECT_EQ(suite->propGetInt(h, "Nope", 0, &i), kOfxStatErrUnknown);
    EXPECT_EQ(suite->propSetInt(h, "Nope", 0, 1), kOfxStatErrUnknown);
    EXPECT_EQ(suite->propReset(h, "Nope"), kOfxStatErrUnknown);
    EXPECT_EQ(suite->propGetDimension(h, "Nope", &i), kOfxStatErrUnknown);
    // Wrong type, both ways.
    EXPECT_EQ(suite->propGetDouble(h, "I", 0, &d), kOfxStatErrValue);
    EXPECT_EQ(suite->propSetInt(h, "D", 0, 1), kOfxStatErrValue);
    EXPECT_EQ(suite->propSetString(h, "P", 0, "x"), kOfxStatErrValue);
    // Indexes: negative, and at or past a fixed dimension.
    EXPECT_EQ(suite->propGetInt(h, "I", -1, &i), kOfxStatErrBadIndex);
    EXPECT_EQ(suite->propGetInt(h, "I", 2, &i), kOfxStatErrBadIndex);
    EXPECT_EQ(suite->propSetInt(h, "I", 2, 1), kOfxStatErrBadIndex);
    int three[3] = {};
    EXPECT_EQ(suite->propGetIntN(h, "I", 3, three), kOfxStatErrBadIndex);
    EXPECT_EQ(suite->propSetIntN(h, "I", 3, three), kOfxStatErrBadIndex);
    EXPECT_EQ(suite->propSetIntN(h, "I", -1, three), kOfxStatErrBadIndex);
    // Null outputs and null strings are values the host cannot use.
    EXPECT_EQ(suite->propGetInt(h, "I", 0, nullptr), kOfxStatErrValue);
    EXPECT_EQ(suite->propSetString(h, "S", 0, nullptr), kOfxStatErrValue);
}

TEST_F(PropertySuiteTest, BadHandlesAreRefusedNotFollowed) {
    int i = 0;
    alignas(16) unsigned char garbage[64];
    std::memset(garbage, 0xAB, sizeof garbage);
    const auto bogus = reinterpret_cast<OfxPropertySetHandle>(garbage);
    EXPECT_EQ(suite->propGetInt(nullptr, "I", 0, &i), kOfxStatErrBadHandle);
    EXPECT_EQ(suite->propGetInt(bogus, "I", 0, &i), kOfxStatErrBadHandle);
    EXPECT_EQ(suite->propSetInt(bogus, "I", 0, 1), kOfxStatErrBadHandle);
    EXPECT_EQ(suite->propReset(bogus, "I"), kOfxStatErrBadHandle);
    OfxPropertySetHandle stale;
    {
        PropertySet gone;
        gone.defineInt("I", {1});
        stale = gone.handle();
    }
    EXPECT_EQ(suite->propGetInt(stale, "I", 0, &i), kOfxStatErrBadHandle);
}

TEST_F(PropertySuiteTest, VariableDimensionGrowsAndShrinks) {
    OfxPropertySetHandle h = set.handle();
    int n = -1;
    EXPECT_EQ(suite->propGetDimension(h, "V", &n), kOfxStatOK);
    EXPECT_EQ(n, 0);
    EXPECT_EQ(suite->propSetString(h, "V", 2, "third"), kOfxStatOK);
    EXPECT_EQ(suite->propGetDimension(h, "V", &n), kOfxStatOK);
    EXPECT_EQ(n, 3);
    EXPECT_EQ(set.getString("V", 0), "");
    const char* one[] = {"only"};
    EXPECT_EQ(suite->propSetStringN(h, "V", 1, one), kOfxStatOK);
    EXPECT_EQ(set.getStrings("V"), std::vector<std::string>{"only"});
    EXPECT_EQ(suite->propSetString(h, "V", PropertySet::kMaxValues, "x"), kOfxStatErrBadIndex);
}

TEST_F(PropertySuiteTest, ResetRestoresDefaults) {
    set.setInts("I", {8, 9});
    set.setStrings("V", {"x", "y"});
    EXPECT_EQ(suite->propReset(set.handle(), "I"), kOfxStatOK);
    EXPECT_EQ(suite->propReset(set.handle(), "V"), kOfxStatOK);
    EXPECT_EQ(set.getInts("I"), (std::vector<int>{1, 2}));
    EXPECT_EQ(set.dimension("V"), 0);
}

TEST_F(PropertySuiteTest, OnlyExtensibleSetsTakeNewNames) {
    EXPECT_EQ(suite->propSetInt(set.handle(), "Vendor", 0, 3), kOfxStatErrUnknown);
    PropertySet open(true);
    EXPECT_EQ(suite->propSetInt(open.handle(), "Vendor", 1, 3), kOfxStatOK);
    EXPECT_EQ(open.getInts("Vendor"), (std::vector<int>{0, 3}));
    // Once created, the vendor property keeps its type.
    EXPECT_EQ(suite->propSetString(open.handle(), "Vendor", 0, "x"), kOfxStatErrValue);
}

TEST(PropertySet, HostSideAccessThrowsWithTheStatus) {
    PropertySet set;
    set.defineInt("I", {1});
    try {
        set.getDouble("I");
        FAIL() << "no throw";
    } catch (const Error& e) {
        EXPECT_EQ(e.status(), kOfxStatErrValue);
        EXPECT_EQ(e.what_part(), "I");
    }
    EXPECT_THROW(set.getInt("I", 1), Error);
    EXPECT_THROW(set.getInt("missing"), Error);
}

TEST(PropertySet, CopyIsDeepAndHasItsOwnHandle) {
    PropertySet a;
    a.defineString("S", {"x"});
    PropertySet b(a);
    b.setString("S", "y");
    EXPECT_EQ(a.getString("S"), "x");
    EXPECT_NE(a.handle(), b.handle());
    EXPECT_EQ(PropertySet::fromHandle(b.handle()), &b);
}

TEST(PropertySet, ConcurrentWritersAndReadersStayConsistent) {
    PropertySet set;
    set.defineDouble("D", {0.0, 0.0});
    const OfxPropertySuiteV1* suite = suites::property();
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&, t] {
            for (int k = 0; k < 2000; ++k) {
                const double pair[2] = {double(t), double(t)};
                EXPECT_EQ(suite->propSetDoubleN(set.handle(), "D", 2, pair), kOfxStatOK);
                double back[2];
                EXPECT_EQ(suite->propGetDoubleN(set.handle(), "D", 2, back), kOfxStatOK);
                // Each write is whole: both values always come from one writer.
                EXPECT_EQ(back[0], back[1]);
            }
        });
    for (auto& th : threads) th.join();
}

TEST(Status, NamesArePublishedSymbols) {
    EXPECT_EQ(statusName(kOfxStatOK), "kOfxStatOK");
    EXPECT_EQ(statusName(kOfxStatReplyDefault), "kOfxStatReplyDefault");
    EXPECT_EQ(statusName(1000), "kOfxStatErrImageFormat");
    EXPECT_EQ(statusName(77), "status 77");
}

}  // namespace
