// Gamma across depths: when a copy meets float and non-float pixels with
// two different display gammas, the values go through a power curve.
#include <cmath>

#include "QzXchg.h"

namespace qz::xchg {
namespace {

constexpr std::array<float, 256> makeByteToFloat() {
    std::array<float, 256> t{};
    for (int i = 0; i < 256; ++i) t[i] = static_cast<float>(i) * 0.003921569f;
    return t;
}

}  // namespace

// Note: the scale is the float 0.003921569f, not an exact 1 / 255; byte to
// float results carry it. The table is made by the compiler, so there is no
// first use to race on between threads.
constinit const std::array<float, 256> kByteToFloat = makeByteToFloat();

double normalisedGamma(double gamma) {
    // 0 stands for the video default 1 / 0.45.
    if (gamma == 0.0) gamma = 2.2222222222222223;
    if (!(gamma >= 0.5)) return 0.5;
    return gamma > 4.0 ? 4.0 : gamma;
}

bool curveApplies(double dstGamma, double srcGamma) {
    const double ratio = normalisedGamma(dstGamma) / normalisedGamma(srcGamma);
    return ratio < 0.999 || ratio > 1.001;
}

double curveExponent(double dstGamma, double srcGamma) {
    // A value v encoded for gamma gs stands for light v^gs; re-encoded for
    // gd it is v^(gs / gd).
    return normalisedGamma(srcGamma) / normalisedGamma(dstGamma);
}

void fillCurve(float* table, int32_t n, double exponent) {
    const double last = static_cast<double>(n - 1);
    for (int32_t i = 0; i < n; ++i) table[i] = static_cast<float>(std::pow(i / last, exponent));
}

float curveAt(const float* table2049, float v) {
    const float t = (v > 0.0f ? (v < 1.0f ? v : 1.0f) : 0.0f) * 2048.0f;
    int32_t i = static_cast<int32_t>(t);
    if (i > 2047) i = 2047;
    const float f = t - static_cast<float>(i);
    return table2049[i] + (table2049[i + 1] - table2049[i]) * f;
}

}  // namespace qz::xchg
