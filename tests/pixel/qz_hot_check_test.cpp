#include <gtest/gtest.h>

#include "QzDib.h"

namespace {

QZDIBPIXEL px(float b, float g, float r, float a = 1.0f) { return QZDIBPIXEL{b, g, r, a}; }

TEST(HotCheck, GreyAtTheLimitIsNotHotAndTheStandardsDiffer) {
    // This grey encodes to 1.2162162f exactly, and the YIQ rows then give
    // luma equal to the NTSC limit and chroma of exactly zero: equality of
    // the squares is not hot.
    const float c = 1.4905004501342773f;
    const QZDIBPIXEL grey = px(c, c, c);
    EXPECT_EQ(HotCheckNTSCYIQ(&grey), 0);
    const QZDIBPIXEL black = px(0, 0, 0);
    EXPECT_EQ(HotCheckNTSCYUV(&black), 0);
    EXPECT_EQ(HotCheckPALYUV(&black), 0);

    // Yellow (red and green full) is hot everywhere; pure blue nowhere.
    const QZDIBPIXEL yellow = px(0, 1, 1), blue = px(1, 0, 0);
    EXPECT_NE(HotCheckNTSCYUV(&yellow), 0);
    EXPECT_NE(HotCheckNTSCYIQ(&yellow), 0);
    EXPECT_NE(HotCheckPALYUV(&yellow), 0);
    EXPECT_EQ(HotCheckNTSCYUV(&blue), 0);
    // PAL's 1.2 is stricter than NTSC's 1.2162162.
    const QZDIBPIXEL paleYellow = px(0.2f, 1, 1);
    EXPECT_EQ(HotCheckNTSCYUV(&paleYellow), 0);
    EXPECT_NE(HotCheckPALYUV(&paleYellow), 0);
    // The 0.144 blue weight of the YUV luma makes this pixel hot; with 0.114
    // (or through YIQ) it is not.
    const QZDIBPIXEL azure = px(1, 0.75f, 0);
    EXPECT_NE(HotCheckNTSCYUV(&azure), 0);
    EXPECT_EQ(HotCheckNTSCYIQ(&azure), 0);
}

TEST(HotCheck, ReturningFormsPullHotPixelsInAndLeaveLegalOnes) {
    struct Case {
        int32_t (*pull)(QZDIBPIXEL*);
        int32_t (*check)(const QZDIBPIXEL*);
        QZDIBPIXEL in;
        float b, g, r;
        int32_t hot = 1;
    };
    const Case cases[] = {
        {HotCheckNTSCYUVReturn, HotCheckNTSCYUV, px(1, 0, 0), 1.0f, 0.0f, 0.0f, 0},
        {HotCheckNTSCYUVReturn, HotCheckNTSCYUV, px(0, 1, 1), 0.13009794056415558f, 0.9136983752250671f,
         0.9136982560157776f},
        {HotCheckNTSCYIQReturn, HotCheckNTSCYIQ, px(0, 1, 1), 0.1300981044769287f, 0.9136978983879089f,
         0.913698136806488f},
        {HotCheckPALYUVReturn, HotCheckPALYUV, px(0, 1, 1), 0.14646880328655243f, 0.907755434513092f,
         0.9077553153038025f},
        {HotCheckNTSCYUVReturn, HotCheckNTSCYUV, px(1, 0.75f, 0), 0.9717463254928589f, 0.7526042461395264f,
         0.023121120408177376f},
        {HotCheckPALYUVReturn, HotCheckPALYUV, px(1, 0.75f, 0), 0.9559834599494934f, 0.7437410950660706f,
         0.026597900316119194f},
    };
    for (const Case& c : cases) {
        QZDIBPIXEL p = c.in;
        p.a = 0.6f;
        EXPECT_EQ(c.pull(&p), c.hot);
        EXPECT_FLOAT_EQ(p.b, c.b);
        EXPECT_FLOAT_EQ(p.g, c.g);
        EXPECT_FLOAT_EQ(p.r, c.r);
        EXPECT_EQ(p.a, 0.6f) << "alpha is carried through";
        EXPECT_EQ(c.check(&p), 0) << "pulled in, the pixel is legal";
    }
}

TEST(HotCheck, PulledPixelsAreClampedToTheUnitRange) {
    QZDIBPIXEL p = px(-0.5f, 3.0f, 3.0f);
    ASSERT_EQ(HotCheckNTSCYUVReturn(&p), 1);
    for (float c : {p.b, p.g, p.r}) {
        EXPECT_GE(c, 0.0f);
        EXPECT_LE(c, 1.0f);
    }
}

}  // namespace
