#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <vector>

#include "QzDib.h"
#include "qz_test_image.h"
#include "QzGaussian.h"
#include "QzGaussianVector.h"

namespace {

using qztest::Image;

template <typename T>
HRESULT blur(Image<T>& dst, const Image<T>& src, double hr, double vr) {
    return QzDibGaussianBlur(dst.px.data(), &dst.bounds, dst.stride(), nullptr, src.px.data(), &src.bounds,
                             src.stride(), nullptr, hr, vr, Image<T>::bpp);
}

TEST(GaussianCoefficients, RadiusZeroMeetsTheFloor) {
    EXPECT_NEAR(qz::gaussianSigma(0.0), 0.45058, 1e-4);
    EXPECT_EQ(qz::gaussianSigma(-3.0), qz::gaussianSigma(3.0));
    const auto floor = qz::gaussianCoefficients(0.6);
    const auto zero = qz::gaussianCoefficients(qz::gaussianSigma(0.0));
    EXPECT_EQ(std::memcmp(&floor, &zero, sizeof floor), 0) << "sigma below 0.6 counts as 0.6";
}

// The edge terms are the filter's steady state, so a flat image stays flat
// at every radius, edges included. Note: the fitted recursion's gain is
// not exactly 1 (about 1.0015 per pass at the narrowest kernel), so a flat
// byte image may come out one level higher.
TEST(QzDibGaussianBlur, ConstantImageStaysConstantAtAnyRadius) {
    for (double radius : {0.0, 2.0, 20.0, 200.0, 5000.0}) {
        Image<uint8_t> src(9, 5, 200), dst(9, 5, 0);
        ASSERT_EQ(blur(dst, src, radius, radius), S_OK);
        const uint8_t first = dst.px[0];
        EXPECT_NEAR(first, 200, 1) << "radius " << radius;
        for (uint8_t v : dst.px) ASSERT_EQ(v, first) << "radius " << radius;

        Image<float> fsrc(9, 5, 0.75f), fdst(9, 5, 0.0f);
        ASSERT_EQ(blur(fdst, fsrc, radius, radius), S_OK);
        for (float v : fdst.px) ASSERT_NEAR(v, fdst.px[0], 1e-6f) << "radius " << radius;
        EXPECT_NEAR(fdst.px[0], 0.75f, 0.75f * 0.006f) << "radius " << radius;
    }
}

TEST(QzDibGaussianBlur, RadiusZeroStillSmooths) {
    Image<uint8_t> src(9, 9, 0), dst(9, 9, 0);
    for (int c = 0; c < 4; ++c) src.at(4, 4, c) = 255;
    ASSERT_EQ(blur(dst, src, 0.0, 0.0), S_OK);
    EXPECT_LT(dst.at(4, 4, 0), 255);
    EXPECT_GT(dst.at(4, 5, 3), 0) << "alpha is blurred like colour";
}

TEST(QzDibGaussianBlur, ImpulseSpreadsSymmetricallyAndKeepsItsMass) {
    Image<float> src(41, 1, 0.0f), dst(41, 1, 0.0f);
    src.at(20, 0, 1) = 1.0f;
    ASSERT_EQ(blur(dst, src, 5.0, 0.0), S_OK);
    double mass = 0;
    for (int x = 0; x < 41; ++x) mass += dst.at(x, 0, 1);
    EXPECT_NEAR(mass, 1.0, 1e-2);
    for (int k = 1; k < 8; ++k) EXPECT_NEAR(dst.at(20 - k, 0, 1), dst.at(20 + k, 0, 1), 1e-4) << k;
    EXPECT_EQ(dst.at(20, 0, 0), 0.0f) << "channels do not mix";
}

TEST(QzDibGaussianBlur, OnePixelWideAndInPlace) {
    Image<uint8_t> img(1, 6, 0);
    for (int y = 0; y < 6; ++y)
        for (int c = 0; c < 4; ++c) img.at(0, y, c) = static_cast<uint8_t>(y * 40);
    ASSERT_EQ(blur(img, img, 3.0, 1.0), S_OK);
    for (int y = 1; y < 6; ++y) EXPECT_GE(img.at(0, y, 2), img.at(0, y - 1, 2)) << "a ramp stays monotonic";
}

TEST(QzDibGaussianBlur, RectanglesAndStatuses) {
    Image<uint8_t> src(8, 8, 100), dst(8, 8, 7);
    EXPECT_EQ(QzDibGaussianBlur(dst.px.data(), nullptr, dst.stride(), nullptr, src.px.data(), &src.bounds, src.stride(),
                                nullptr, 1, 1, 4),
              E_POINTER);
    const RECT outside{8, 0, 10, 2};
    EXPECT_EQ(QzDibGaussianBlur(dst.px.data(), &dst.bounds, dst.stride(), &outside, src.px.data(), &src.bounds,
                                src.stride(), &outside, 1, 1, 4),
              S_OK);
    const RECT inner{2, 2, 5, 6};
    ASSERT_EQ(QzDibGaussianBlur(dst.px.data(), &dst.bounds, dst.stride(), &inner, src.px.data(), &src.bounds,
                                src.stride(), &inner, 1, 1, 4),
              S_OK);
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 8; ++x) {
            const bool inside = x >= 2 && x < 5 && y >= 2 && y < 6;
            ASSERT_EQ(dst.at(x, y, 0), inside ? 100 : 7) << x << "," << y;
        }
}

TEST(QzDibGaussianBlur, ByteSourceIntoFloats) {
    Image<uint8_t> src(5, 3, 255);
    Image<float> dst(5, 3, -1.0f);
    ASSERT_EQ(QzDibGaussianBlur_Float(dst.px.data(), &dst.bounds, dst.stride(), nullptr, src.px.data(), &src.bounds,
                                      src.stride(), nullptr, 2, 2, 4),
              S_OK);
    for (float v : dst.px) ASSERT_NEAR(v, 255.0f, 0.5f) << "the 0 to 255 scale, in float";
}

TEST(QzDibGaussianChannelBlur, OtherChannelsStay) {
    Image<uint8_t> src(7, 7, 0), dst(7, 7, 9);
    for (int c = 0; c < 4; ++c) src.at(3, 3, c) = 255;
    ASSERT_EQ(QzDibGaussianChannelBlur(dst.px.data(), &dst.bounds, dst.stride(), nullptr, src.px.data(), &src.bounds,
                                       src.stride(), nullptr, 1, 1, QzChannelAlpha, 4),
              S_OK);
    Image<uint8_t> full(7, 7, 0);
    ASSERT_EQ(blur(full, src, 1, 1), S_OK);
    for (int y = 0; y < 7; ++y)
        for (int x = 0; x < 7; ++x) {
            ASSERT_EQ(dst.at(x, y, 3), full.at(x, y, 3)) << "the one channel matches the four-channel blur";
            ASSERT_EQ(dst.at(x, y, 0), 9);
        }

    Image<float> fsrc(4, 4, 0.5f), fdst(4, 4, 2.0f);
    ASSERT_EQ(QzDibGaussianChannelToChannelBlur(fdst.px.data(), &fdst.bounds, fdst.stride(), nullptr, QzChannelRed,
                                                fsrc.px.data(), &fsrc.bounds, fsrc.stride(), nullptr, QzChannelBlue, 3,
                                                3, 16),
              S_OK);
    EXPECT_NEAR(fdst.at(1, 1, 2), 0.5f, 1e-3f);
    EXPECT_EQ(fdst.at(1, 1, 0), 2.0f);
}

// Runs the plain form while it lives, where the vector one would be chosen.
struct PlainForm {
    PlainForm() { qz::gaussianPlainOnly = true; }
    ~PlainForm() { qz::gaussianPlainOnly = false; }
};

// Deterministic noise, so that a failure names the same pixels every run.
struct Noise {
    uint32_t state = 12345;
    uint32_t next() { return state = state * 1664525u + 1013904223u; }
};

template <typename T>
HRESULT blurFloat(Image<float>& dst, const Image<T>& src, double hr, double vr) {
    return QzDibGaussianBlur_Float(dst.px.data(), &dst.bounds, dst.stride(), nullptr, src.px.data(), &src.bounds,
                                   src.stride(), nullptr, hr, vr, Image<T>::bpp);
}

// Blurs src with both forms through run(dst, src) and expects the same
// bytes: the vector form takes every sample through the same operations
// in the same order as the plain one.
template <typename D, typename S, typename Run>
void expectFormsAgree(const Image<S>& src, D fill, Run run, const char* what) {
    Image<D> vector(src.w, src.h, fill), plain(src.w, src.h, fill);
    ASSERT_EQ(run(vector, src), S_OK);
    {
        const PlainForm force;
        ASSERT_EQ(run(plain, src), S_OK);
    }
    for (size_t i = 0; i < plain.px.size(); ++i)
        ASSERT_EQ(std::memcmp(&vector.px[i], &plain.px[i], sizeof(D)), 0)
            << what << " " << src.w << "x" << src.h << " at pixel " << i / 4 << " channel " << i % 4 << ": "
            << +vector.px[i] << " vs " << +plain.px[i];
}

// The sizes leave remainders after the vector form's groups of rows and
// blocks of columns, and lines shorter than the recursion's four taps, so
// that its edge steps and single-line groups are compared too.
TEST(QzDibGaussianBlur, VectorFormMatchesPlainFormToTheBit) {
    if (!qz::gaussianVectorSelected()) GTEST_SKIP() << "this processor has no vector form";
    struct Size {
        int32_t w, h;
    };
    struct Radii {
        double h, v;
    };
    for (const Size size : {Size{37, 23}, Size{1, 23}, Size{37, 1}, Size{3, 2}, Size{1, 1}, Size{17, 9}}) {
        Noise noise;
        Image<uint8_t> bytes(size.w, size.h, 0);
        for (auto& v : bytes.px) v = static_cast<uint8_t>(noise.next() >> 24);
        // Floats beyond 0 to 1 on both sides, and a corner of magnitudes
        // whose partials fall under the flush threshold.
        Image<float> floats(size.w, size.h, 0.0f);
        for (auto& v : floats.px) v = static_cast<float>(noise.next() >> 8) / 8388608.0f - 0.5f;
        for (int32_t y = 0; y < std::min(size.h, 5); ++y)
            for (int32_t x = 0; x < std::min(size.w, 6); ++x)
                for (int c = 0; c < 4; ++c) floats.at(x, y, c) = (x + y) % 2 ? 1e-19f : -3e-18f;
        // An inner rectangle: rows of the image longer than the lines.
        const RECT inner{std::min(3, size.w - 1), std::min(2, size.h - 1), std::max(size.w - 2, 1),
                         std::max(size.h - 1, 1)};

        for (const Radii r : {Radii{0, 0}, Radii{2.5, 7}, Radii{20, 20}, Radii{200, 3}}) {
            SCOPED_TRACE(testing::Message() << "radii " << r.h << ", " << r.v);
            const auto whole = [&](auto& d, const auto& s) { return blur(d, s, r.h, r.v); };
            expectFormsAgree(bytes, uint8_t{0}, whole, "bytes");
            expectFormsAgree(floats, 0.0f, whole, "floats");
            expectFormsAgree(
                bytes, 0.0f, [&](auto& d, const auto& s) { return blurFloat(d, s, r.h, r.v); }, "bytes to floats");
            expectFormsAgree(
                bytes, uint8_t{0},
                [&](auto& d, const auto& s) {
                    d.px = s.px;
                    return blur(d, d, r.h, r.v);
                },
                "bytes in place");
            expectFormsAgree(
                floats, 7.0f,
                [&](auto& d, const auto& s) {
                    return QzDibGaussianBlur(d.px.data(), &d.bounds, d.stride(), &inner, s.px.data(), &s.bounds,
                                             s.stride(), &inner, r.h, r.v, 16);
                },
                "floats in a rectangle");
        }
    }
}

// A NaN spreads through the recursion in both forms alike, and the flush
// keeps it rather than clearing it.
TEST(QzDibGaussianBlur, VectorFormCarriesNaNLikeThePlainForm) {
    if (!qz::gaussianVectorSelected()) GTEST_SKIP() << "this processor has no vector form";
    Image<float> src(19, 11, 0.25f);
    src.at(9, 5, 2) = std::numeric_limits<float>::quiet_NaN();
    expectFormsAgree(
        src, 0.0f, [](auto& d, const auto& s) { return blur(d, s, 3.0, 3.0); }, "floats");
    Image<float> dst(19, 11, 0.0f);
    ASSERT_EQ(blur(dst, src, 3.0, 3.0), S_OK);
    EXPECT_TRUE(std::isnan(dst.at(9, 5, 2)));
    EXPECT_FALSE(std::isnan(dst.at(9, 5, 1))) << "channels do not mix";
}

}  // namespace
