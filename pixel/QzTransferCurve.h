// The named transfer curves of the colour filters (not exported). One index
// names a decoding curve, from an encoded value to linear light, and the
// encoding curve that undoes it; see the QzTransfer* values in QzColor.h.
// All in double precision; negative inputs to the power segments give NaN,
// as the power function does.
#pragma once

#include <cmath>
#include <cstdint>

#include "QzColor.h"

namespace qz {

inline bool isTransferCurve(int32_t index) { return index >= QzTransferGamma22 && index <= QzTransferPower; }

// A gamma of 0 stands for 1.
inline double powerExponent(double gamma) { return 1.0 / (gamma == 0.0 ? 1.0 : gamma); }

// Note: the exponents and thresholds are the figures the filters were
// tuned with, written out to double precision (2.2222222222222223 is
// 1 / 0.45, 0.08099999999999999 is 0.018 * 4.5); they are kept as they are.
inline double decodeTransfer(int32_t index, double x, double gamma) {
    switch (index) {
        case QzTransferGamma22: return std::pow(x, 2.2222222222222223);
        case QzTransferGamma28: return std::pow(x, 2.8);
        case QzTransferRec709:
            return x <= 0.08099999999999999 ? x / 4.5 : std::pow((x + 0.099) / 1.099, 2.2222222222222223);
        case QzTransferSMPTE240M: return x <= 0.0912 ? x * 0.25 : std::pow((x + 0.1115) / 1.1115, 2.2222222222222223);
        case QzTransferPower: return std::pow(x, powerExponent(gamma));
        default: return x;
    }
}

inline double encodeTransfer(int32_t index, double x, double gamma) {
    switch (index) {
        case QzTransferGamma22: return std::pow(x, 0.45);
        case QzTransferGamma28: return std::pow(x, 0.35714285714285715);
        case QzTransferRec709: return x <= 0.018 ? x * 4.5 : std::pow(x, 0.45) * 1.099 - 0.099;
        case QzTransferSMPTE240M: return x <= 0.0228 ? x * 4.0 : std::pow(x, 0.45) * 1.1115 - 0.1115;
        // The same exponent as decoding: the caller inverts by passing the
        // reciprocal gamma.
        case QzTransferPower: return std::pow(x, powerExponent(gamma));
        default: return x;
    }
}

}  // namespace qz
