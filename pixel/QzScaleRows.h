// What the bi-linear and bi-cubic scalers share (not exported): the checks
// of their arguments, the tables of source taps of each axis and the loops
// that resample with them.
//
// Geometry, in 1/16384 pixel on each axis of a prepared job. The destination
// pixels written are those that meet the destination rectangle; pixel X
// covers `cover` units of it, 16384 inside and less on a fractional edge.
// - A down-scaled axis (step above 16384) takes the exact area average:
//   the destination pixels' spans map onto consecutive source spans of
//   exactly `step` units, anchored so that the destination rectangle's edge
//   meets the source rectangle's, and cut to the source rectangle. A source
//   pixel counts with the units of it inside the span at 1/16384 each; the
//   sum is scaled by 16384 / step.
// - Any other axis samples: the pixel's centre maps to srcLeft + (centre -
//   dstLeft) * step / 16384, less half a pixel so that whole positions are
//   pixel centres, clamped to the pixels that meet the source rectangle.
//   The kernel's neighbours are clamped to those pixels too, so nothing
//   outside the rectangle is read.
// - A destination pixel covered in part is laid over what it held, as
//   premultiplied colour: d = r * c + d * (1 - c) with c its coverage, so
//   that fractional edges anti-alias. On a down-scaled axis the area sum
//   already carries its share of c; elsewhere the weights are scaled by it.
#pragma once

#include <cstdint>
#include <vector>

#include "QzDib.h"

namespace qz {

constexpr int32_t kScaleOne = QZ_SUBPIXEL_ONE;

// One axis of a prepared job, in units.
struct ScaleAxis {
    int64_t dLo, dHi;  // the destination rectangle
    int64_t sLo, sHi;  // the source rectangle
    int64_t step;      // source units per destination pixel

    int32_t firstPixel() const { return static_cast<int32_t>(sLo >> 14); }
    int32_t lastPixel() const { return static_cast<int32_t>((sHi - 1) >> 14); }
    int32_t firstDst() const { return static_cast<int32_t>(dLo >> 14); }
    int32_t endDst() const { return static_cast<int32_t>((dHi + kScaleOne - 1) >> 14); }
    bool downScaled() const { return step > kScaleOne; }
    // The units of destination pixel x inside the rectangle.
    int32_t cover(int32_t x) const;
    // The sampling position of destination pixel x, clamped as above.
    int64_t samplePosition(int32_t x) const;
};

ScaleAxis horizontalAxis(const QzSubpixelParam& p);
ScaleAxis verticalAxis(const QzSubpixelParam& p);

// Interpolation weights of `size` taps starting `origin` pixels from the one
// at or left of the sample, at the fraction t (0 to 1) beyond that pixel.
struct ScaleKernel {
    int32_t size;
    int32_t origin;
    void (*weights)(double t, double* out);
};

// The source pixels that each destination pixel of one axis reads: `count`
// consecutive pixels from `src`, with weights from `weightAt`, and the share
// of the pixel that the weights carry: its coverage, or on a down-scaled
// axis its source span over the step, so that a constant stays constant
// across a fractional edge.
struct AxisTaps {
    struct Tap {
        int32_t src;
        int32_t count;
        int32_t weightAt;
        double share;
    };
    int32_t first = 0;  // the first destination pixel
    std::vector<Tap> taps;
    std::vector<double> weights;
    // step / 16384 on a down-scaled axis, whose sum is divided by it; 1
    // elsewhere.
    double span = 1.0;
};

AxisTaps areaTaps(const ScaleAxis& axis);
AxisTaps kernelTaps(const ScaleAxis& axis, const ScaleKernel& kernel);
// Area taps on a down-scaled axis, the kernel's elsewhere.
AxisTaps axisTaps(const ScaleAxis& axis, const ScaleKernel& kernel);

// Resamples a prepared job through the two tables, summing in double.
// Bytes round to nearest (roundBiased: halves go up) and clamp to 0..255;
// floats are stored unclamped.
void resample(const QzSubpixelParam& p, int32_t bytesPerPixel, const AxisTaps& x, const AxisTaps& y);

// A prepared job by each kernel; E_OUTOFMEMORY when the tables cannot be
// built, before anything is written.
HRESULT scaleBilinear(const QzSubpixelParam& p, int32_t bytesPerPixel);
HRESULT scaleBiCubic(const QzSubpixelParam& p, int32_t bytesPerPixel);

using ScaleRun = HRESULT (*)(const QzSubpixelParam&, int32_t);

// The exported forms: argument checks, the preparation, then `run`. The
// whole-pixel form shifts its rectangles into units first and copies rows
// when both steps are 16384.
HRESULT scaleSubPixel(ScaleRun run, void* dst, const SIZE* dstSize, int32_t dstStride, const RECT* dstRect,
                      const void* src, const SIZE* srcSize, int32_t srcStride, const RECT* srcRect,
                      int32_t bytesPerPixel);
HRESULT scaleWholePixels(ScaleRun run, void* dst, const SIZE* dstSize, int32_t dstStride, const RECT* dstRect,
                         const void* src, const SIZE* srcSize, int32_t srcStride, const RECT* srcRect,
                         int32_t bytesPerPixel);

}  // namespace qz
