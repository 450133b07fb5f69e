// Unsharp Mask on packed RGBA rows (row y starts at y * width * 4
// components): the recursive Gaussian of the source, a row pass into a
// float image `pass`, then a column pass from it that stores the blur as
// the processor does and applies the mask against the source. One work
// item per row, then one per column; each runs the fourth-order recursion
// forward, keeping its responses in `responses` (a double per sample of
// the window), and backward, adding the two. The recursion runs in double:
// single-precision coefficients put the filter's poles outside the unit
// circle for radii of a few hundred pixels.
//
// `g` holds the coefficients of the rows then of the columns, 25 each
// (forward numerators, denominators, backward numerators, the forward and
// the backward edge terms), then the gain and the float threshold.
// `threshold` is the byte threshold in levels. The launch rounds the
// global size up, hence the guards.

#include "prelude.inc"
#include "recursive_gaussian.inc"

#define GAIN g[50]
#define FLOAT_THRESHOLD g[51]

#define ROW_KERNEL(NAME, T)                                                                                     \
    __kernel void NAME(__global const T* src, __global float* pass, __global double* responses,                \
                       __global const double* g, int width, int height) {                                       \
        const int y = get_global_id(0);                                                                         \
        if (y >= height) return;                                                                                \
        const size_t at = (size_t)y * width * 4;                                                                \
        __global const T* x = src + at;                                                                         \
        __global double* yp = responses + at;                                                                   \
        const int all[4] = {1, 1, 1, 1};                                                                        \
        forward_##T(x, 4, width, g, yp, all);                                                                   \
        double later[4][4];                                                                                     \
        for (int i = width - 1; i >= 0; --i)                                                                    \
            for (int c = 0; c < 4; ++c)                                                                         \
                pass[at + i * 4 + c] = (float)(yp[i * 4 + c] + backward_##T(x, 4, width, i, c, g, later[c]));  \
    }

// The mask on one sample, `s` the source and `b` the blur as the processor
// stores it: bytes clamp in double and truncate, and the comparison is
// against the blur; floats neither clamp nor round, and compare in double
// before the narrowing.
uchar unsharp_uchar(uchar s, double sum, __global const double* g, int threshold) {
    const int b = (int)clamp(rint(sum), 0.0, 255.0);
    const double v = clamp(((double)s - (double)b) * GAIN + (double)s, 0.0, 255.0);
    const int sharpened = (int)v;
    return abs(sharpened - b) > threshold ? (uchar)sharpened : s;
}
float unsharp_float(float s, double sum, __global const double* g, int threshold) {
    const float b = (float)sum;
    const double v = ((double)s - (double)b) * GAIN + (double)s;
    return fabs(v - (double)b) > FLOAT_THRESHOLD ? (float)v : s;
}

#define COLUMN_KERNEL(NAME, T)                                                                                  \
    __kernel void NAME(__global const T* src, __global T* dst, __global const float* pass,                     \
                       __global double* responses, __global const double* g, int threshold, int width,          \
                       int height) {                                                                            \
        const int x = get_global_id(0);                                                                         \
        if (x >= width) return;                                                                                 \
        const int step = width * 4;                                                                             \
        __global const float* column = pass + x * 4;                                                            \
        __global double* yp = responses + x * 4;                                                                \
        const int all[4] = {1, 1, 1, 1};                                                                        \
        forward_float(column, step, height, g + 25, yp, all);                                                   \
        double later[4][4];                                                                                     \
        for (int i = height - 1; i >= 0; --i) {                                                                 \
            const size_t at = (size_t)i * step + x * 4;                                                         \
            for (int c = 0; c < 4; ++c) {                                                                       \
                const double sum = yp[i * step + c] + backward_float(column, step, height, i, c, g + 25, later[c]); \
                dst[at + c] = unsharp_##T(src[at + c], sum, g, threshold);                                      \
            }                                                                                                   \
        }                                                                                                       \
    }

// Radii next to nothing: a copy, one work item per row.
#define COPY_KERNEL(NAME, T)                                                                                    \
    __kernel void NAME(__global const T* src, __global T* dst, int width, int height) {                        \
        const int y = get_global_id(0);                                                                         \
        if (y >= height) return;                                                                                \
        const size_t at = (size_t)y * width * 4;                                                                \
        for (int i = 0; i < width * 4; ++i) dst[at + i] = src[at + i];                                          \
    }

ROW_KERNEL(ku5a3e0c71, uchar)
ROW_KERNEL(ku9d62b4f8, float)
COLUMN_KERNEL(ku1f7c8a2e, uchar)
COLUMN_KERNEL(ku6b0d3e95, float)
COPY_KERNEL(ku3c9e1a74, uchar)
COPY_KERNEL(ku8e4f60b2, float)
