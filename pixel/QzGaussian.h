// The recursive Gaussian's coefficients and its line filter (not exported).
//
// A fourth-order recursive filter (Deriche's form with cosine and sine
// terms) run forward and backward over each line: nine multiplications per
// sample and direction whatever the radius, which is why effects can blur
// with radii as large as the frame.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace qz {

struct GaussianCoefficients {
    double np[5];  // forward numerators
    double dp[5];  // denominators, both directions
    double nm[5];  // backward numerators
    double bp[5];  // forward edge terms
    double bm[5];  // backward edge terms
};

// The standard deviation for a radius: the Gaussian falls to 1/255 at
// |radius| + 1.5.
double gaussianSigma(double radius);

GaussianCoefficients gaussianCoefficients(double sigma);

// The 25 coefficients in the order the effects' OpenCL kernels read them:
// forward numerators, denominators, backward numerators, the two edge terms.
inline void packGaussianCoefficients(double* out, const GaussianCoefficients& g) {
    for (int i = 0; i < 5; ++i) {
        out[i] = g.np[i];
        out[5 + i] = g.dp[i];
        out[10 + i] = g.nm[i];
        out[15 + i] = g.bp[i];
        out[20 + i] = g.bm[i];
    }
}

// Keeps denormal numbers out of the recursion.
inline double flushTiny(double v) { return std::fabs(v) < 1e-17 ? 0.0 : v; }

// Filters one line of n samples of C interleaved channels, sample i of
// channel c at x[i * step + c]. Writes the forward and backward responses
// into yp and ym (n * C each, channel-interleaved); the result of sample i
// is yp + ym. The edges behave as if the first and last samples repeated
// for ever, so nothing outside the line is read.
//
// The vector form (QzGaussianVector.cpp) repeats these sums term for term
// and in the same order, which is what keeps the two forms' results equal:
// a change here is a change there. It leaves out only the terms of the two
// zero numerators (np[4], nm[0]), and only on finite samples, where they
// cannot change a bit; a change to the coefficients that makes them
// non-zero turns that off by itself.
template <int C, typename T>
void gaussianLine(const T* x, std::ptrdiff_t step, int n, const GaussianCoefficients& g, double* yp, double* ym) {
    const auto in = [&](int i, int c) { return static_cast<double>(x[i * step + c]); };
    // Near an edge fewer than four earlier samples exist; the edge terms
    // stand in for the missing ones. The k = 0 term has dp[0] = 0 and so no
    // feedback. The sums run in k order, in the interior as at the edges.
    const auto forward = [&](int i, int c, int t) {
        double s = g.np[0] * in(i, c);
        for (int k = 1; k <= t; ++k) s += g.np[k] * in(i - k, c) - g.dp[k] * yp[(i - k) * C + c];
        for (int k = t + 1; k <= 4; ++k) s += (g.np[k] - g.bp[k]) * in(0, c);
        yp[i * C + c] = flushTiny(s);
    };
    const auto backward = [&](int i, int c, int t) {
        double s = g.nm[0] * in(i, c);
        for (int k = 1; k <= t; ++k) s += g.nm[k] * in(i + k, c) - g.dp[k] * ym[(i + k) * C + c];
        for (int k = t + 1; k <= 4; ++k) s += (g.nm[k] - g.bm[k]) * in(n - 1, c);
        ym[i * C + c] = flushTiny(s);
    };
    const int head = std::min(n, 4);
    for (int i = 0; i < head; ++i)
        for (int c = 0; c < C; ++c) forward(i, c, i);
    for (int i = head; i < n; ++i)
        for (int c = 0; c < C; ++c) forward(i, c, 4);
    const int tail = std::max(n - 4, 0);
    for (int i = n - 1; i >= tail; --i)
        for (int c = 0; c < C; ++c) backward(i, c, n - 1 - i);
    for (int i = tail - 1; i >= 0; --i)
        for (int c = 0; c < C; ++c) backward(i, c, 4);
}

}  // namespace qz
