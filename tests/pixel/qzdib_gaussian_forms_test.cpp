// Every form of the recursive Gaussian, fast against plain, to the bit: the
// four-channel blur on bytes and floats, bytes into floats, in place, and
// the one-channel blurs, over windows of awkward sizes inside larger images
// with padded and bottom-up rows, at radii from none to past the image. The
// plain form is itself held against the filter written out from its
// definition, sample by sample.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <thread>
#include <vector>

#include "QzDib.h"
#include "QzGaussian.h"
#include "QzGaussianVector.h"

namespace {

// Deterministic noise, so that a failure names the same pixels every run.
struct Noise {
    uint32_t state;
    explicit Noise(uint32_t seed) : state(seed) {}
    uint32_t next() { return state = state * 1664525u + 1013904223u; }
};

// An image of imageW x imageH pixels of four T, rows of strideElements
// elements, top-down or bottom-up in memory, with a window in it.
template <typename T>
struct View {
    int32_t imageW, imageH, strideElements;
    bool bottomUp;
    RECT window;
    std::vector<T> mem;

    View(int32_t w, int32_t h, int32_t padPixels, bool up, RECT win)
        : imageW(w),
          imageH(h),
          strideElements((w + padPixels) * 4),
          bottomUp(up),
          window(win),
          mem(size_t(strideElements) * h) {}

    RECT bounds() const { return RECT{0, 0, imageW, imageH}; }
    // Row 0 is the last in memory when bottom-up; the stride then runs backward.
    T* bits() { return mem.data() + (bottomUp ? size_t(imageH - 1) * strideElements : 0); }
    int32_t stride() const { return (bottomUp ? -1 : 1) * strideElements * int32_t(sizeof(T)); }
    T& at(int32_t x, int32_t y, int c) {
        return bits()[static_cast<ptrdiff_t>(y) * (bottomUp ? -strideElements : strideElements) + x * 4 + c];
    }
    int32_t w() const { return window.right - window.left; }
    int32_t h() const { return window.bottom - window.top; }
};

template <typename T>
T sample(Noise& n);
template <>
uint8_t sample<uint8_t>(Noise& n) {
    return static_cast<uint8_t>(n.next() >> 24);
}
// Beyond 0 to 1 on both sides, with runs of zeros so that the recursion's
// partials decay under the flush threshold inside a line.
template <>
float sample<float>(Noise& n) {
    const uint32_t r = n.next();
    if ((r >> 28) < 3) return 0.0f;
    return static_cast<float>(r >> 8) / 4194304.0f - 1.5f;
}

template <typename T>
void fill(View<T>& v, uint32_t seed) {
    Noise n(seed);
    for (T& e : v.mem) e = sample<T>(n);
}

// Equal to the bit, but for NaNs, which need only both be NaN: the two
// forms may meet two NaNs in an addition in either order.
template <typename T>
::testing::AssertionResult sameMemory(const std::vector<T>& a, const std::vector<T>& b) {
    for (size_t i = 0; i < a.size(); ++i) {
        if constexpr (std::is_same_v<T, float>)
            if (std::isnan(a[i]) && std::isnan(b[i])) continue;
        if (std::memcmp(&a[i], &b[i], sizeof(T)) != 0)
            return ::testing::AssertionFailure() << "element " << i << " (pixel " << i / 4 << ", channel " << i % 4
                                                 << "): " << +a[i] << " vs " << +b[i];
    }
    return ::testing::AssertionSuccess();
}

// Runs the plain form while it lives, where the vector one would be chosen.
struct PlainForm {
    PlainForm() { qz::gaussianPlainOnly = true; }
    ~PlainForm() { qz::gaussianPlainOnly = false; }
};

template <typename D, typename Call>
::testing::AssertionResult formsAgree(const View<D>& start, Call call) {
    View<D> fast = start, plain = start;
    const HRESULT a = call(fast);
    HRESULT b;
    {
        const PlainForm force;
        b = call(plain);
    }
    if (a != S_OK || b != S_OK) return ::testing::AssertionFailure() << "statuses " << a << ", " << b;
    return sameMemory(fast.mem, plain.mem);
}

template <typename T>
int32_t bpp() {
    return 4 * sizeof(T);
}

// The entry points on views; src may be dst itself (in place). Bytes into
// floats take QzDibGaussianBlur_Float.
template <typename D, typename S>
HRESULT blur(View<D>& d, View<S>& s, double hr, double vr) {
    const RECT db = d.bounds(), sb = s.bounds();
    if constexpr (std::is_same_v<D, S>)
        return QzDibGaussianBlur(d.bits(), &db, d.stride(), &d.window, s.bits(), &sb, s.stride(), &s.window, hr, vr,
                                 bpp<D>());
    else
        return QzDibGaussianBlur_Float(d.bits(), &db, d.stride(), &d.window, s.bits(), &sb, s.stride(), &s.window, hr,
                                       vr, 4);
}
template <typename T>
HRESULT channelBlur(View<T>& d, View<T>& s, double hr, double vr, QzChannel c) {
    const RECT db = d.bounds(), sb = s.bounds();
    return QzDibGaussianChannelBlur(d.bits(), &db, d.stride(), &d.window, s.bits(), &sb, s.stride(), &s.window, hr, vr,
                                    c, bpp<T>());
}
template <typename T>
HRESULT channelToChannel(View<T>& d, QzChannel to, View<T>& s, QzChannel from, double hr, double vr) {
    const RECT db = d.bounds(), sb = s.bounds();
    return QzDibGaussianChannelToChannelBlur(d.bits(), &db, d.stride(), &d.window, to, s.bits(), &sb, s.stride(),
                                             &s.window, from, hr, vr, bpp<T>());
}

// Calls f(uint8_t{}) and f(float{}).
template <typename F>
void bytesAndFloats(F f) {
    f(uint8_t{});
    f(float{});
}

struct Size {
    int32_t w, h;
};

// Lines of one to three samples (shorter than the recursion's taps), odd
// lengths, lengths just past whole registers and groups of lines, and
// lengths that leave every smaller group of the vector form a remainder.
const Size kSizes[] = {{1, 1},  {2, 1},   {1, 2},  {3, 3},  {2, 5},  {5, 2},   {4, 4},  {7, 3},
                       {9, 13}, {15, 10}, {16, 9}, {43, 7}, {6, 42}, {43, 42}, {1, 30}, {30, 1}};
const double kRadii[][2] = {{0, 0}, {0.5, 0.5}, {2, 2}, {20, 20}, {200, 200}, {0, 20}, {200, 0.5}, {2, 200}};
const QzChannel kChannels[] = {QzChannelBlue, QzChannelGreen, QzChannelRed, QzChannelAlpha};

// A window at (2, 1) in an image two pixels wider on the right and three
// rows taller, with rows padded by three pixels; top-down and bottom-up.
template <typename T>
View<T> viewFor(Size s, bool bottomUp) {
    return View<T>(s.w + 4, s.h + 4, 3, bottomUp, RECT{2, 1, 2 + s.w, 1 + s.h});
}

class GaussianForms : public ::testing::Test {
protected:
    void SetUp() override {
        if (!qz::gaussianVectorSelected()) GTEST_SKIP() << "this processor has no vector form";
    }
    // Calls check(size, bottomUp, hRadius, vRadius) over every case.
    template <typename Check>
    void forEachCase(Check check) {
        for (const Size s : kSizes)
            for (const bool up : {false, true})
                for (const auto& r : kRadii) {
                    SCOPED_TRACE(::testing::Message()
                                 << s.w << "x" << s.h << (up ? " bottom-up" : "") << " radii " << r[0] << ", " << r[1]);
                    check(s, up, r[0], r[1]);
                    if (HasFatalFailure()) return;
                }
    }
};

// Into another image and in place, bytes and floats; bytes into floats
// with the destination rows the other way up.
TEST_F(GaussianForms, WholePixels) {
    forEachCase([](Size s, bool up, double hr, double vr) {
        bytesAndFloats([&](auto tag) {
            using T = decltype(tag);
            View<T> src = viewFor<T>(s, up), dst = viewFor<T>(s, up), img = viewFor<T>(s, up);
            fill(src, 11u + s.w * 7u + s.h);
            fill(dst, 99u);
            fill(img, 5u + s.w + s.h * 3u);
            EXPECT_TRUE(formsAgree(dst, [&](View<T>& d) { return blur(d, src, hr, vr); }));
            EXPECT_TRUE(formsAgree(img, [&](View<T>& d) { return blur(d, d, hr, vr); })) << "in place";
        });
        View<uint8_t> src = viewFor<uint8_t>(s, up);
        View<float> dst = viewFor<float>(s, !up);
        fill(src, 3u + s.w * s.h);
        fill(dst, 17u);
        EXPECT_TRUE(formsAgree(dst, [&](View<float>& d) { return blur(d, src, hr, vr); })) << "bytes into floats";
    });
}

// Every pair of source and destination channel, into another image and in
// place; the destination's other channels must stay as they were, which
// the comparison of the whole memory with the plain form's checks.
TEST_F(GaussianForms, OneChannel) {
    int pair = 0;
    forEachCase([&](Size s, bool up, double hr, double vr) {
        // A different pair of channels for every case, all sixteen in turn.
        const QzChannel from = kChannels[pair % 4], to = kChannels[(pair / 4) % 4];
        ++pair;
        bytesAndFloats([&](auto tag) {
            using T = decltype(tag);
            View<T> src = viewFor<T>(s, up), dst = viewFor<T>(s, up);
            fill(src, 23u + s.w + s.h);
            fill(dst, 29u);
            EXPECT_TRUE(formsAgree(dst, [&](View<T>& d) { return channelToChannel(d, to, src, from, hr, vr); }))
                << "channel " << from << " to " << to;
            EXPECT_TRUE(formsAgree(src, [&](View<T>& d) { return channelToChannel(d, to, d, from, hr, vr); }))
                << "in place, channel " << from << " to " << to;
            EXPECT_TRUE(formsAgree(dst, [&](View<T>& d) { return channelBlur(d, src, hr, vr, from); }))
                << "channel " << from;
        });
    });
}

// Infinities and NaNs, and finite samples so large that the horizontal
// pass overflows the float intermediate: lines holding them must not skip
// the zero coefficients (zero times an infinity is NaN), while the other
// lines of the same image may.
TEST_F(GaussianForms, NonFiniteSamples) {
    const float inf = std::numeric_limits<float>::infinity(), big = std::numeric_limits<float>::max();
    for (const Size s : {Size{43, 42}, Size{9, 30}, Size{30, 9}}) {
        View<float> src = viewFor<float>(s, false);
        fill(src, 7u);
        // One infinity, one NaN, and a row and a column of alternating
        // extremes, each in a different group of lines.
        src.at(src.window.left + s.w / 2, src.window.top + 1, 0) = inf;
        src.at(src.window.left + 1, src.window.top + s.h - 2, 2) = std::numeric_limits<float>::quiet_NaN();
        for (int32_t x = 0; x < s.w; ++x) src.at(src.window.left + x, src.window.top + s.h / 2, 1) = x % 2 ? big : -big;
        for (int32_t y = 0; y < s.h; ++y) src.at(src.window.left + s.w - 1, src.window.top + y, 3) = y % 2 ? -big : big;
        for (const auto& r : kRadii) {
            SCOPED_TRACE(::testing::Message() << s.w << "x" << s.h << " radii " << r[0] << ", " << r[1]);
            View<float> dst = viewFor<float>(s, false);
            EXPECT_TRUE(formsAgree(dst, [&](View<float>& d) { return blur(d, src, r[0], r[1]); }));
            for (const QzChannel c : kChannels)
                EXPECT_TRUE(formsAgree(dst, [&](View<float>& d) { return channelBlur(d, src, r[0], r[1], c); }))
                    << "channel " << c;
        }
    }
}

// Sparse impulses on zero: after each one the recursion's partials decay
// through every magnitude, down past the flush threshold, within the line.
TEST_F(GaussianForms, DecayPastTheFlushThreshold) {
    for (const Size s : {Size{64, 5}, Size{5, 64}, Size{43, 42}})
        for (const double radius : {0.0, 0.5, 2.0, 5.0}) {
            SCOPED_TRACE(::testing::Message() << s.w << "x" << s.h << " radius " << radius);
            bytesAndFloats([&](auto tag) {
                using T = decltype(tag);
                View<T> src = viewFor<T>(s, false), dst = viewFor<T>(s, false);
                Noise n(s.w * 31u + s.h);
                for (int32_t y = 0; y < s.h; ++y)
                    for (int32_t x = 0; x < s.w; ++x)
                        for (int c = 0; c < 4; ++c)
                            src.at(src.window.left + x, src.window.top + y, c) =
                                (n.next() >> 26) == 0 ? static_cast<T>(200) : T{};
                EXPECT_TRUE(formsAgree(dst, [&](View<T>& d) { return blur(d, src, radius, radius); }));
                EXPECT_TRUE(
                    formsAgree(dst, [&](View<T>& d) { return channelBlur(d, src, radius, radius, QzChannelGreen); }));
            });
        }
}

// ---- The plain form against the definition ------------------------------

// One line, written out from the definition of the recursion: forward,
// backward, each partial under 1e-17 in magnitude set to zero, the sum.
std::vector<double> defineLine(const std::vector<double>& x, const qz::GaussianCoefficients& g) {
    const int n = static_cast<int>(x.size());
    std::vector<double> yp(n), ym(n), out(n);
    for (int i = 0; i < n; ++i) {
        const int t = std::min(i, 4);
        double s = g.np[0] * x[i];
        for (int k = 1; k <= t; ++k) s += g.np[k] * x[i - k] - g.dp[k] * yp[i - k];
        for (int k = t + 1; k <= 4; ++k) s += (g.np[k] - g.bp[k]) * x[0];
        yp[i] = std::fabs(s) < 1e-17 ? 0.0 : s;
    }
    for (int i = n - 1; i >= 0; --i) {
        const int t = std::min(n - 1 - i, 4);
        double s = g.nm[0] * x[i];
        for (int k = 1; k <= t; ++k) s += g.nm[k] * x[i + k] - g.dp[k] * ym[i + k];
        for (int k = t + 1; k <= 4; ++k) s += (g.nm[k] - g.bm[k]) * x[n - 1];
        ym[i] = std::fabs(s) < 1e-17 ? 0.0 : s;
    }
    for (int i = 0; i < n; ++i) out[i] = yp[i] + ym[i];
    return out;
}

// Both passes on one channel of a window: rows into floats, then columns,
// rounded to nearest (ties to even) and clamped on bytes.
template <typename T>
void defineBlur(View<T>& dst, View<T>& src, int channel, double hr, double vr) {
    const auto gh = qz::gaussianCoefficients(qz::gaussianSigma(hr));
    const auto gv = qz::gaussianCoefficients(qz::gaussianSigma(vr));
    const int32_t w = src.w(), h = src.h();
    std::vector<float> pass(size_t(w) * h);
    for (int32_t y = 0; y < h; ++y) {
        std::vector<double> line(w);
        for (int32_t x = 0; x < w; ++x) line[x] = src.at(src.window.left + x, src.window.top + y, channel);
        const auto r = defineLine(line, gh);
        for (int32_t x = 0; x < w; ++x) pass[size_t(y) * w + x] = static_cast<float>(r[x]);
    }
    for (int32_t x = 0; x < w; ++x) {
        std::vector<double> line(h);
        for (int32_t y = 0; y < h; ++y) line[y] = pass[size_t(y) * w + x];
        const auto r = defineLine(line, gv);
        for (int32_t y = 0; y < h; ++y) {
            T& out = dst.at(dst.window.left + x, dst.window.top + y, channel);
            if constexpr (std::is_same_v<T, uint8_t>)
                out = static_cast<uint8_t>(std::clamp(std::nearbyint(r[y]), 0.0, 255.0));
            else
                out = static_cast<float>(r[y]);
        }
    }
}

TEST(GaussianDefinition, PlainFormFollowsTheRecursionToTheBit) {
    const PlainForm force;
    for (const Size s : {Size{1, 1}, Size{3, 2}, Size{5, 1}, Size{17, 9}, Size{9, 23}, Size{40, 3}, Size{3, 40}})
        for (const auto& r : kRadii)
            for (const bool sparse : {false, true}) {
                SCOPED_TRACE(::testing::Message()
                             << s.w << "x" << s.h << " radii " << r[0] << ", " << r[1] << (sparse ? " impulse" : ""));
                bytesAndFloats([&](auto tag) {
                    using T = decltype(tag);
                    View<T> src = viewFor<T>(s, false), dst = viewFor<T>(s, false);
                    fill(src, 41u);
                    fill(dst, 43u);
                    // Or one impulse on zero, so that partials decay past the
                    // flush threshold and what is left of them shows.
                    if (sparse)
                        for (int32_t y = 0; y < s.h; ++y)
                            for (int32_t x = 0; x < s.w; ++x)
                                for (int c = 0; c < 4; ++c)
                                    src.at(src.window.left + x, src.window.top + y, c) = x == 1 && y == 0 ? 200 : 0;
                    View<T> expected = dst;
                    for (int c = 0; c < 4; ++c) defineBlur(expected, src, c, r[0], r[1]);
                    ASSERT_EQ(blur(dst, src, r[0], r[1]), S_OK);
                    EXPECT_TRUE(sameMemory(dst.mem, expected.mem));
                });
            }
}

// The vector form keeps its scratch memory from call to call: what a
// larger call left in it must not reach a smaller one, and blurs of
// different images may run at once on different threads.
TEST_F(GaussianForms, ScratchIsReusedAndNotShared) {
    const auto blurOnce = [](View<uint8_t>& src, double radius) {
        View<uint8_t> dst = viewFor<uint8_t>(Size{src.w(), src.h()}, false);
        EXPECT_EQ(channelBlur(dst, src, radius, radius, QzChannelRed), S_OK);
        EXPECT_EQ(blur(dst, dst, radius, radius), S_OK);
        return dst.mem;
    };
    View<uint8_t> big = viewFor<uint8_t>(Size{301, 203}, false), small = viewFor<uint8_t>(Size{37, 29}, false);
    fill(big, 1u);
    fill(small, 2u);
    qz::gaussianReleaseScratch();
    const auto smallFresh = blurOnce(small, 3);
    const auto bigFirst = blurOnce(big, 40);
    EXPECT_TRUE(sameMemory(blurOnce(small, 3), smallFresh)) << "after a larger call";

    std::vector<uint8_t> results[4];
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&, t] {
            for (int k = 0; k < 3; ++k) results[t] = t % 2 ? blurOnce(small, 3) : blurOnce(big, 40);
        });
    for (auto& t : threads) t.join();
    for (int t = 0; t < 4; ++t) EXPECT_TRUE(sameMemory(results[t], t % 2 ? smallFresh : bigFirst)) << "thread " << t;
    qz::gaussianReleaseScratch();
}

}  // namespace
