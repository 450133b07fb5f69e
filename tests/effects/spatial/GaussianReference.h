// A reference for the effects built on the recursive Gaussian, written in
// the tests from the published filter, not from the pixel core's code, and
// the render helpers the blur tests share.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <vector>

#include "EffectTest.h"

namespace gaussref {

// The recursive Gaussian written out from the published fourth-order
// (Deriche) form, as a plain double reference: coefficients for a radius,
// one line forward and backward with the edge samples repeated for ever,
// rows into a float image, then columns.
struct Coefficients {
    double np[5], dp[5], nm[5], bp[5], bm[5];
};

inline Coefficients coefficientsFor(double radius) {
    const double r = std::fabs(radius) + 1.5;
    // The Gaussian falls to 1/255 at r.
    double sigma = std::sqrt(-(r * r) / (2 * std::log(0.00392156862745098)));
    sigma = std::max(sigma, 0.6);
    const double n = 2.50662827463 * sigma;
    const double a0 = double(-1.783f) / sigma, a1 = double(-1.723f) / sigma;
    const double b0 = double(0.6318f) / sigma, b1 = double(1.997f) / sigma;
    const double c0 = double(1.6803f) / n, c1 = double(3.735f) / n, c2 = double(-0.6803f) / n,
                 c3 = double(-0.2598f) / n;
    Coefficients g{};
    g.np[0] = c2 + c0;
    g.np[1] = std::exp(a0) * (c1 * std::sin(b0) - (2 * c2 + c0) * std::cos(b0)) +
              std::exp(a1) * (c3 * std::sin(b1) - (2 * c0 + c2) * std::cos(b1));
    g.np[2] = 2 * std::exp(a0 + a1) *
                  ((c0 + c2) * std::cos(b1) * std::cos(b0) - std::cos(b1) * c1 * std::sin(b0) -
                   std::cos(b0) * c3 * std::sin(b1)) +
              std::exp(2 * a0) * c2 + std::exp(2 * a1) * c0;
    g.np[3] = std::exp(a1 * 2 + a0) * (c1 * std::sin(b0) - c0 * std::cos(b0)) +
              std::exp(a0 * 2 + a1) * (c3 * std::sin(b1) - c2 * std::cos(b1));
    g.dp[1] = -2 * std::exp(a1) * std::cos(b1) - 2 * std::exp(a0) * std::cos(b0);
    g.dp[2] = 4 * std::cos(b1) * std::cos(b0) * std::exp(a0 + a1) + std::exp(2 * a1) + std::exp(2 * a0);
    g.dp[3] = -2 * std::cos(b0) * std::exp(2 * a1 + a0) - 2 * std::cos(b1) * std::exp(2 * a0 + a1);
    g.dp[4] = std::exp(2 * a0 + 2 * a1);
    for (int i = 1; i <= 4; ++i) g.nm[i] = g.np[i] - g.np[0] * g.dp[i];
    const double d = 1 + g.dp[1] + g.dp[2] + g.dp[3] + g.dp[4];
    const double a = (g.np[0] + g.np[1] + g.np[2] + g.np[3]) / d;
    const double b = (g.nm[1] + g.nm[2] + g.nm[3] + g.nm[4]) / d;
    for (int i = 0; i < 5; ++i) {
        g.bp[i] = g.dp[i] * a;
        g.bm[i] = g.dp[i] * b;
    }
    return g;
}

inline double tiny(double v) { return std::fabs(v) < 1e-17 ? 0.0 : v; }

inline std::vector<double> filterLine(const std::vector<double>& x, const Coefficients& g) {
    const int n = static_cast<int>(x.size());
    std::vector<double> yp(n), ym(n), out(n);
    for (int i = 0; i < n; ++i) {
        const int t = std::min(i, 4);
        double s = g.np[0] * x[i];
        for (int k = 1; k <= t; ++k) s += g.np[k] * x[i - k] - g.dp[k] * yp[i - k];
        for (int k = t + 1; k <= 4; ++k) s += (g.np[k] - g.bp[k]) * x[0];
        yp[i] = tiny(s);
    }
    for (int i = n - 1; i >= 0; --i) {
        const int t = std::min(n - 1 - i, 4);
        double s = g.nm[0] * x[i];
        for (int k = 1; k <= t; ++k) s += g.nm[k] * x[i + k] - g.dp[k] * ym[i + k];
        for (int k = t + 1; k <= 4; ++k) s += (g.nm[k] - g.bm[k]) * x[n - 1];
        ym[i] = tiny(s);
    }
    for (int i = 0; i < n; ++i) out[i] = yp[i] + ym[i];
    return out;
}

// A parameter value as the effect reads it (no conversion of the text form).
inline ofxhost::ParamValue number(double v) {
    ofxhost::ParamValue value;
    value.n[0] = v;
    return value;
}

// The blur of the channels switched on (red, green, blue, alpha), the
// others copied; rows into a float image, then columns; bytes round to
// nearest (ties to even) and clamp, and when not all four are blurred byte
// colour is kept within alpha.
inline ofxhost::ImageBuffer blurred(const ofxhost::ImageBuffer& src, double hRadius, double vRadius,
                                    std::array<bool, 4> on = {true, true, true, true}) {
    using ofxhost::Depth;
    const int w = src.width(), h = src.height();
    const bool bytes = src.depth() == Depth::Byte;
    ofxhost::ImageBuffer out = src.clone();
    const Coefficients gh = coefficientsFor(hRadius), gv = coefficientsFor(vRadius);
    for (int c = 0; c < 4; ++c) {
        if (!on[c]) continue;
        std::vector<float> pass(static_cast<std::size_t>(w) * h);
        for (int y = 0; y < h; ++y) {
            std::vector<double> line(w);
            for (int x = 0; x < w; ++x) line[x] = ondu1test::pixelAt(src, x, y)[c];
            const auto f = filterLine(line, gh);
            for (int x = 0; x < w; ++x) pass[y * w + x] = static_cast<float>(f[x]);
        }
        for (int x = 0; x < w; ++x) {
            std::vector<double> line(h);
            for (int y = 0; y < h; ++y) line[y] = pass[y * w + x];
            const auto f = filterLine(line, gv);
            for (int y = 0; y < h; ++y) {
                if (bytes)
                    out.setByte(x, y, c, static_cast<uint8_t>(std::clamp(std::nearbyint(f[y]), 0.0, 255.0)));
                else
                    out.setFloat(x, y, c, static_cast<float>(f[y]));
            }
        }
    }
    if (bytes && !(on[0] && on[1] && on[2] && on[3]))
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x)
                for (int c = 0; c < 3; ++c) out.setByte(x, y, c, std::min(out.byteAt(x, y, c), out.byteAt(x, y, 3)));
    return out;
}

// Renders `window` of the instance's source (of the source's depth) and
// checks it against `want` applied to that window cropped out as a picture
// of its own; nothing outside the window may be written.
inline void expectWindowIsAPicture(ofxhost::Instance& inst, const ofxhost::ImageBuffer& source, ofxhost::RectI window,
                                   const std::function<ofxhost::ImageBuffer(const ofxhost::ImageBuffer&)>& want) {
    using ofxhost::Depth;
    const bool bytes = source.depth() == Depth::Byte;
    ofxhost::RenderOptions options;
    options.depth = source.depth();
    options.window = window;
    auto out = inst.makeOutput(options);
    ASSERT_EQ(inst.render(0.0, options, out), kOfxStatOK);
    const int x0 = window.x1, y0 = window.y1, cw = window.x2 - x0, ch = window.y2 - y0;
    ofxhost::ImageBuffer crop(cw, ch, source.depth(), ofxhost::PixelOrder::RGBA);
    for (int y = 0; y < ch; ++y)
        for (int x = 0; x < cw; ++x)
            for (int c = 0; c < 4; ++c) {
                if (bytes)
                    crop.setByte(x, y, c, source.byteAt(x + x0, y + y0, c));
                else
                    crop.setFloat(x, y, c, source.floatAt(x + x0, y + y0, c));
            }
    const auto w = want(crop);
    for (int y = 0; y < source.height(); ++y)
        for (int x = 0; x < source.width(); ++x) {
            const bool inside = x >= x0 && x < x0 + cw && y >= y0 && y < y0 + ch;
            for (int c = 0; c < 4; ++c) {
                const double got = bytes ? out.byteAt(x, y, c) : out.floatAt(x, y, c);
                const double exp = !inside ? 0.0 : bytes ? w.byteAt(x - x0, y - y0, c) : w.floatAt(x - x0, y - y0, c);
                ASSERT_EQ(got, exp) << x << "," << y;
            }
        }
}

// A half-scale render, which must match `want` of the half-size source.
inline void expectHalfScale(ofxhost::Instance& inst, const ofxhost::ImageBuffer& source,
                            const std::function<ofxhost::ImageBuffer(const ofxhost::ImageBuffer&)>& want) {
    ofxhost::RenderOptions options;
    options.renderScale = 0.5;
    auto half = inst.makeOutput(options);
    ASSERT_EQ(inst.render(0.0, options, half), kOfxStatOK);
    ASSERT_EQ(half.width(), source.width() / 2);
    EXPECT_EQ(ondu1test::firstDifference(half, want(source.resized(source.width() / 2, source.height() / 2))), "");
}

// The one-picture check at both depths, for each named setting in turn.
inline void expectOnePictures(ofxhost::Instance& inst,
                              std::vector<std::pair<const char*, std::function<void()>>> settings) {
    for (auto& [name, apply] : settings) {
        if (apply) apply();
        ondu1test::expectOnePicture(inst, ofxhost::Depth::Byte, name);
        ondu1test::expectOnePicture(inst, ofxhost::Depth::Float, name);
    }
}

}  // namespace gaussref
