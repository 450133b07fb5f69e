// Small helpers shared by the spatial effect tests.
#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "EffectTest.h"
#include "OpenCLParity.h"
#include "ofxImageEffect.h"

namespace spatialtest {

using ofxhost::Depth;
using ofxhost::ImageBuffer;
using ofxhost::PixelOrder;

// A parameter value as the effect reads it (no conversion of the text form).
inline ofxhost::ParamValue number(double v) {
    ofxhost::ParamValue value;
    value.n[0] = v;
    return value;
}

inline int clampIndex(int i, int n) { return std::min(std::max(i, 0), n - 1); }

// Channel c of a pixel as a float whatever the depth; bytes are stored truncated.
inline float channel(const ImageBuffer& im, int x, int y, int c) {
    return im.depth() == Depth::Byte ? static_cast<float>(im.byteAt(x, y, c)) : im.floatAt(x, y, c);
}
inline void setChannel(ImageBuffer& im, int x, int y, int c, float v) {
    if (im.depth() == Depth::Byte)
        im.setByte(x, y, c, static_cast<std::uint8_t>(v));
    else
        im.setFloat(x, y, c, v);
}

// Channel c of cell i (row by row) of the 3 x 3 around (x, y), edges repeated.
inline float around(const ImageBuffer& im, int x, int y, int i, int c) {
    return channel(im, clampIndex(x + i % 3 - 1, im.width()), clampIndex(y + i / 3 - 1, im.height()), c);
}

// Noise in every channel: bytes of any value (colour above alpha too), floats
// from below 0 to above 1, alpha from 0 to a little above 1.
inline ImageBuffer noise(int width, int height, Depth depth, std::uint32_t seed) {
    ImageBuffer image(width, height, depth, PixelOrder::RGBA);
    std::mt19937 random(seed);
    std::uniform_real_distribution<float> colour(-0.5f, 1.5f), alpha(0.0f, 1.2f);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            for (int c = 0; c < 4; ++c) {
                if (depth == Depth::Byte)
                    image.setByte(x, y, c, static_cast<std::uint8_t>(random() & 0xFF));
                else
                    image.setFloat(x, y, c, c == 3 ? alpha(random) : colour(random));
            }
    return image;
}

// The w x h part of `src` from (x0, y0), as RGBA of the same depth.
inline ImageBuffer crop(const ImageBuffer& src, int x0, int y0, int w, int h) {
    ImageBuffer out(w, h, src.depth(), PixelOrder::RGBA);
    for (int i = 0; i < w * h * 4; ++i)
        setChannel(out, i / 4 % w, i / 4 / w, i % 4, channel(src, i / 4 % w + x0, i / 4 / w + y0, i % 4));
    return out;
}

// Renders frame 0 with the options; fails the test on a status other than OK.
inline ImageBuffer renderWith(ofxhost::Instance& inst, const ofxhost::RenderOptions& options) {
    auto out = inst.makeOutput(options);
    EXPECT_EQ(inst.render(0.0, options, out), kOfxStatOK);
    return out;
}

// A render of the window alone, the rest of the output poisoned.
inline ImageBuffer renderWindow(ofxhost::Instance& inst, ofxhost::RectI window, Depth depth) {
    ofxhost::RenderOptions options;
    options.depth = depth;
    options.window = window;
    options.poison = true;
    return renderWith(inst, options);
}

// At half render scale: renders the instance as it is (an identity: the
// host's scaled source, `width` wide), applies `set`, and expects the render
// to be `reference` of that source: a kernel in pixels of the render.
inline void expectHalfScale(ofxhost::Instance& inst, int width, const std::function<void(ofxhost::Instance&)>& set,
                            const std::function<ImageBuffer(const ImageBuffer&)>& reference) {
    ofxhost::RenderOptions options;
    options.renderScale = 0.5;
    options.poison = true;
    const auto scaled = renderWith(inst, options).converted(Depth::Byte, PixelOrder::RGBA);
    ASSERT_EQ(scaled.width(), width);
    set(inst);
    EXPECT_EQ(ondu1test::firstDifference(renderWith(inst, options), reference(scaled)), "");
}

// The effect loaded into a quiet host with the given number of threads.
inline std::shared_ptr<ofxhost::Plugin> loadWithThreads(const std::string& id, unsigned threads) {
    ofxhost::HostConfig config;
    config.threads = threads;
    return ondu1test::loadEffect(ondu1test::quietHost(config), id);
}

// One picture whether 1 or 16 threads split the rows, in both depths.
inline void expectThreadsAgree(const std::string& id, const ImageBuffer& source,
                               const std::function<void(ofxhost::Instance&)>& set, PixelOrder order) {
    auto single = loadWithThreads(id, 1), several = loadWithThreads(id, 16);
    for (Depth depth : {Depth::Byte, Depth::Float}) {
        auto a = ondu1test::filterOn(*single, source), b = ondu1test::filterOn(*several, source);
        set(*a);
        set(*b);
        EXPECT_EQ(ondu1test::firstDifference(ondu1test::renderVariant(*b, {depth, order}),
                                             ondu1test::renderVariant(*a, {depth, order})),
                  "")
            << ofxhost::depthName(depth);
    }
}

inline void expectOnePictureInBothDepths(ofxhost::Instance& inst, const std::string& what) {
    ondu1test::expectOnePicture(inst, Depth::Byte, what);
    ondu1test::expectOnePicture(inst, Depth::Float, what);
}

// Expects `want` at (x0, y0) of `out`, pixel by pixel.
inline void expectWindow(const ImageBuffer& out, const ImageBuffer& want, int x0, int y0) {
    for (int y = 0; y < want.height(); ++y)
        for (int x = 0; x < want.width(); ++x)
            ASSERT_EQ(ondu1test::pixelAt(out, x + x0, y + y0), ondu1test::pixelAt(want, x, y)) << x << "," << y;
}

// The parity cases on the 37 x 19 edge frame (no multiple of a work-group shape).
inline void expectParityOnEdgeFrame(const std::vector<ondu1test::ParityCase>& cases, const ondu1test::Variant& v) {
    if (!ondu1test::openCLDevice()) GTEST_SKIP() << ondu1test::kNoOpenCL;
    ondu1test::expectParityCases(
        cases, [&](ofxhost::Plugin& p) { return ondu1test::filterOn(p, ondu1test::edgeFrame(37, 19, v)); }, v);
}

}  // namespace spatialtest
