#include <gtest/gtest.h>

#include <new>

#include "Core.h"
#include "ofxImageEffect.h"

namespace {

TEST(StatusMapping, PassingStatusesDoNotThrow) {
    for (OfxStatus s : {kOfxStatOK, kOfxStatReplyYes, kOfxStatReplyNo, kOfxStatReplyDefault})
        EXPECT_NO_THROW(OFX::throwSuiteStatusException(s)) << s;
}

TEST(StatusMapping, MemoryBecomesBadAllocAndOthersCarryTheirStatus) {
    EXPECT_THROW(OFX::throwSuiteStatusException(kOfxStatErrMemory), std::bad_alloc);
    try {
        OFX::throwSuiteStatusException(kOfxStatErrBadIndex);
        FAIL() << "no exception";
    } catch (const OFX::Exception::Suite& e) {
        EXPECT_EQ(e.status(), kOfxStatErrBadIndex);
        EXPECT_STREQ(e.what(), "kOfxStatErrBadIndex");
    }
}

TEST(StatusMapping, NamesAreTheStatusSymbols) {
    EXPECT_STREQ(OFX::mapStatusToString(kOfxStatFailed), "kOfxStatFailed");
    EXPECT_STREQ(OFX::mapStatusToString(kOfxStatReplyDefault), "kOfxStatReplyDefault");
    EXPECT_STREQ(OFX::mapStatusToString(15), "kOfxStatErrImageFormat");
    EXPECT_STREQ(OFX::mapStatusToString(-7), "UNKNOWN STATUS CODE");
}

TEST(StringMappers, UnknownTextsMapAsDocumented) {
    EXPECT_EQ(OFX::mapBitDepthStringToEnum("OfxBitDepthFloatBGR"), OFX::eBitDepthFloatBGR);
    EXPECT_EQ(OFX::mapBitDepthStringToEnum("OfxBitDepthTwelve"), OFX::eBitDepthCustom);
    EXPECT_EQ(OFX::mapPixelComponentStringToEnum("OfxImageComponentYUVA"), OFX::ePixelComponentCustom);
    EXPECT_EQ(OFX::mapContextStringToEnum(kOfxImageEffectContextTransition), OFX::eContextTransition);
    EXPECT_THROW(OFX::mapInstanceChangedReason("OfxChangeSomething"), std::invalid_argument);
    EXPECT_THROW(OFX::mapContextEnumToString(OFX::eContextNone), std::invalid_argument);
    EXPECT_THROW(OFX::mapBitDepthEnumToString(OFX::eBitDepthCustom), std::invalid_argument);
}

}  // namespace
