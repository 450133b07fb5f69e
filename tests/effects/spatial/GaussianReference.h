// A reference for the effects built on the recursive Gaussian, written in
// the tests from the published filter, not from the pixel core's code.
#pragma once

#include <algorithm>
#include <cmath>
#include <vector>

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

}  // namespace gaussref
