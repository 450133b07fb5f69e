// Gaussian Blur on packed RGBA rows (row y starts at y * width * 4
// components): the recursive Gaussian, a row pass from the source into a
// float image `pass`, then a column pass from it into the output. One work
// item per row, then one per column; each runs the fourth-order recursion
// forward, keeping its responses in `responses` (a double per sample of the
// window), and backward, adding the two. The sums are those of the
// processor, term for term and in double; the row pass stores its result
// as float, as the processor's working image does.
//
// `g` holds the coefficients of the rows then of the columns, 25 each:
// forward numerators, denominators, backward numerators, the forward and
// the backward edge terms. `blur0..3` switch the channels by memory
// position (a switched-off channel is copied from the source), and
// `clampToAlpha` keeps byte colour within alpha. Each pass comes in three
// forms, whose switches are fixed for all four channels and for colour
// without alpha, and read from the arguments for any other set; the launch
// rounds the global size up, hence the guards.

#include "prelude.inc"
#include "recursive_gaussian.inc"

// The row pass over row y.
#define ROW_PASS(T)                                                                                             \
    void row_pass_##T(__global const T* src, __global float* pass, __global double* responses,                 \
                      __global const double* g, int width, int y, const int on[4]) {                            \
        const size_t at = (size_t)y * width * 4;                                                                \
        __global const T* x = src + at;                                                                         \
        __global double* yp = responses + at;                                                                   \
        forward_##T(x, 4, width, g, yp, on);                                                                    \
        double later[4][4];                                                                                     \
        for (int i = width - 1; i >= 0; --i)                                                                    \
            for (int c = 0; c < 4; ++c)                                                                         \
                if (on[c]) pass[at + i * 4 + c] = (float)(yp[i * 4 + c] + backward_##T(x, 4, width, i, c, g, later[c])); \
    }
ROW_PASS(uchar)
ROW_PASS(float)

// Stores a sum as the processor does: bytes round to nearest (ties to even)
// and clamp, floats narrow with no clamp.
uchar store_uchar(double v) {
    return (uchar)clamp(rint(v), 0.0, 255.0);
}
float store_float(double v) {
    return (float)v;
}

// The column pass over column x, with the coefficients of the columns.
#define COLUMN_PASS(T)                                                                                          \
    void column_pass_##T(__global const T* src, __global T* dst, __global const float* pass,                  \
                         __global double* responses, __global const double* g, int width, int height, int x,    \
                         const int on[4], int clampToAlpha) {                                                   \
        const int step = width * 4;                                                                             \
        __global const float* column = pass + x * 4;                                                            \
        __global double* yp = responses + x * 4;                                                                \
        forward_float(column, step, height, g, yp, on);                                                         \
        double later[4][4];                                                                                     \
        for (int i = height - 1; i >= 0; --i) {                                                                 \
            const size_t at = (size_t)i * step + x * 4;                                                         \
            T out[4];                                                                                           \
            for (int c = 0; c < 4; ++c)                                                                         \
                out[c] = on[c] ? store_##T(yp[i * step + c] + backward_float(column, step, height, i, c, g, later[c])) \
                               : src[at + c];                                                                   \
            if (clampToAlpha)                                                                                   \
                for (int c = 0; c < 3; ++c) out[c] = min(out[c], out[3]);                                       \
            for (int c = 0; c < 4; ++c) dst[at + c] = out[c];                                                   \
        }                                                                                                       \
    }
COLUMN_PASS(uchar)
COLUMN_PASS(float)

#define ROW_KERNEL(NAME, T, ON0, ON1, ON2, ON3)                                                                 \
    __kernel void NAME(__global const T* src, __global float* pass, __global double* responses,                \
                       __global const double* g, int blur0, int blur1, int blur2, int blur3, int clampToAlpha,  \
                       int width, int height) {                                                                 \
        const int y = get_global_id(0);                                                                         \
        if (y >= height) return;                                                                                \
        const int on[4] = {ON0, ON1, ON2, ON3};                                                                 \
        row_pass_##T(src, pass, responses, g, width, y, on);                                                    \
    }

#define COLUMN_KERNEL(NAME, T, ON0, ON1, ON2, ON3, CLAMP)                                                       \
    __kernel void NAME(__global const T* src, __global T* dst, __global const float* pass,                     \
                       __global double* responses, __global const double* g, int blur0, int blur1, int blur2,   \
                       int blur3, int clampToAlpha, int width, int height) {                                    \
        const int x = get_global_id(0);                                                                         \
        if (x >= width) return;                                                                                 \
        const int on[4] = {ON0, ON1, ON2, ON3};                                                                 \
        column_pass_##T(src, dst, pass, responses, g + 25, width, height, x, on, CLAMP);                        \
    }

// All four channels.
ROW_KERNEL(k4c1e9a7d2, uchar, 1, 1, 1, 1)
ROW_KERNEL(k9b27f0c13, float, 1, 1, 1, 1)
COLUMN_KERNEL(k2d8a61e5f, uchar, 1, 1, 1, 1, 0)
COLUMN_KERNEL(k6e0c3b9a4, float, 1, 1, 1, 1, 0)
// Colour without alpha (red, green and blue lie at 0 to 2 in either order).
ROW_KERNEL(k71f4d2c8b, uchar, 1, 1, 1, 0)
ROW_KERNEL(kc39a0e6d1, float, 1, 1, 1, 0)
COLUMN_KERNEL(k0a5e7b3c9, uchar, 1, 1, 1, 0, 1)
COLUMN_KERNEL(kd6b14f82e, float, 1, 1, 1, 0, 0)
// Any other set, the copy included.
ROW_KERNEL(k8f2c5a0d7, uchar, blur0, blur1, blur2, blur3)
ROW_KERNEL(k3e9d7c1b6, float, blur0, blur1, blur2, blur3)
COLUMN_KERNEL(kb1a08e4f3, uchar, blur0, blur1, blur2, blur3, clampToAlpha)
COLUMN_KERNEL(k5c7e2d9a0, float, blur0, blur1, blur2, blur3, clampToAlpha)
