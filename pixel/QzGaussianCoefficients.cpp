#include <cmath>

#include "QzGaussian.h"

namespace qz {

double gaussianSigma(double radius) {
    const double r = std::fabs(radius) + 1.5;
    // Note: the constant inside the logarithm is 1/255, the smallest step of
    // an 8-bit sample.
    return std::sqrt(-(r * r) / (2.0 * std::log(0.00392156862745098)));
}

GaussianCoefficients gaussianCoefficients(double sigma) {
    // A narrower kernel would no longer be a Gaussian on a pixel grid.
    if (sigma < 0.6) sigma = 0.6;
    const double n = 2.50662827463 * sigma;
    // Note: the constants are the single-precision values of the published
    // fit, widened; they define the results.
    const double a0 = -1.7829999923706055 / sigma;
    const double a1 = -1.7230000495910645 / sigma;
    const double b0 = 0.6317999958992004 / sigma;
    const double b1 = 1.996999979019165 / sigma;
    const double c0 = 1.680299997329712 / n;
    const double c1 = 3.734999895095825 / n;
    const double c2 = -0.6802999973297119 / n;
    const double c3 = -0.259799987077713 / n;
    const double e0 = std::exp(a0), e1 = std::exp(a1);
    const double cb0 = std::cos(b0), sb0 = std::sin(b0), cb1 = std::cos(b1), sb1 = std::sin(b1);

    GaussianCoefficients g{};
    g.np[0] = c2 + c0;
    g.np[1] = e0 * (c1 * sb0 - (2 * c2 + c0) * cb0) + e1 * (c3 * sb1 - (2 * c0 + c2) * cb1);
    g.np[2] = 2 * std::exp(a0 + a1) * ((c0 + c2) * cb1 * cb0 - cb1 * c1 * sb0 - cb0 * c3 * sb1) +
              std::exp(2 * a0) * c2 + std::exp(2 * a1) * c0;
    g.np[3] = std::exp(a1 * 2 + a0) * (c1 * sb0 - c0 * cb0) + std::exp(a0 * 2 + a1) * (c3 * sb1 - c2 * cb1);
    g.np[4] = 0;
    g.dp[0] = 0;
    g.dp[1] = -2 * e1 * cb1 - 2 * e0 * cb0;
    g.dp[2] = 4 * cb1 * cb0 * std::exp(a0 + a1) + std::exp(2 * a1) + std::exp(2 * a0);
    g.dp[3] = -2 * cb0 * std::exp(2 * a1 + a0) - 2 * cb1 * std::exp(2 * a0 + a1);
    g.dp[4] = std::exp(2 * a0 + 2 * a1);
    g.nm[0] = 0;
    for (int i = 1; i <= 4; ++i) g.nm[i] = g.np[i] - g.np[0] * g.dp[i];

    // The steady-state gains: what a line of constant samples converges to,
    // so that the edge terms continue the edge sample for ever.
    const double d = 1 + g.dp[0] + g.dp[1] + g.dp[2] + g.dp[3] + g.dp[4];
    double a = 1, b = 1;
    if (std::fabs(d) > 1e-17) {
        a = (g.np[0] + g.np[1] + g.np[2] + g.np[3] + g.np[4]) / d;
        b = (g.nm[0] + g.nm[1] + g.nm[2] + g.nm[3] + g.nm[4]) / d;
    }
    for (int i = 0; i < 5; ++i) {
        g.bp[i] = g.dp[i] * a;
        g.bm[i] = g.dp[i] * b;
    }
    return g;
}

}  // namespace qz
