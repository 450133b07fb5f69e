// Channel Blend on packed rows (row y starts at y * width * 4 components),
// one work item per pixel; the launch rounds the global size up, hence the
// guards.
//
// Arguments after the two buffers: the four groups' terms, group by group
// in the order of the channels they write (red, green, blue, alpha), each as
// the weights of red, green, blue and alpha and then the offset (20 values,
// already normalised by the processor where asked), then width and height.
// Red and blue sit at other storage indices in each pixel order, so each
// depth has a kernel per order; `redAt` is the storage index of red (0 in
// RGBA, 2 in BGRA) and blue sits opposite.
//
// The terms reach us narrowed to single precision while the processor holds
// doubles: weights that a float holds exactly give identical results; others
// can differ by the narrowing (about 6e-8 of each term).

#include "prelude.inc"

double blend_of(const double* c, const double* w) {
    return c[0] * w[0] + c[1] * w[1] + c[2] * w[2] + c[3] * w[3] + w[4];
}

// On the pixel in colour order (red, green, blue, alpha). Alpha first, held
// to 0..top; each colour then to 0..alpha, where a NaN falls to the alpha
// side (neither comparison holds). `top` is the full scale: 255 for bytes,
// which also scales the offsets, 1 for floats.
void blend_pixel(const double* c, double top, const float* t, double* out) {
    double w[4][5];
    for (int g = 0; g < 4; ++g) {
        for (int k = 0; k < 5; ++k) w[g][k] = t[g * 5 + k];
        w[g][4] = w[g][4] * top;
    }
    const double av = blend_of(c, w[3]);
    const double a = av < 0.0 ? 0.0 : (av <= top ? av : top);
    for (int g = 0; g < 3; ++g) {
        const double v = blend_of(c, w[g]);
        out[g] = v < 0.0 ? 0.0 : (v <= a ? v : a);
    }
    out[3] = a;
}

#define CB_TERMS                                                                                                     \
    float r0, float r1, float r2, float r3, float r4, float g0, float g1, float g2, float g3, float g4, float b0,    \
        float b1, float b2, float b3, float b4, float a0, float a1, float a2, float a3, float a4, int width, int height

#define CB_TERM_ARRAY                                                                                                \
    {r0, r1, r2, r3, r4, g0, g1, g2, g3, g4, b0, b1, b2, b3, b4, a0, a1, a2, a3, a4}

// Bytes truncate toward zero.
void cb_byte(__global const uchar* src, __global uchar* dst, const float* t, int width, int height, int redAt) {
    const int x = get_global_id(0);
    const int y = get_global_id(1);
    if (x >= width || y >= height) return;
    const int i = (y * width + x) * 4;
    const int at[4] = {redAt, 1, 2 - redAt, 3};
    double c[4];
    for (int k = 0; k < 4; ++k) c[k] = src[i + at[k]];
    double out[4];
    blend_pixel(c, 255.0, t, out);
    for (int k = 0; k < 4; ++k) dst[i + at[k]] = (uchar)out[k];
}

void cb_float(__global const float* src, __global float* dst, const float* t, int width, int height, int redAt) {
    const int x = get_global_id(0);
    const int y = get_global_id(1);
    if (x >= width || y >= height) return;
    const int i = (y * width + x) * 4;
    const int at[4] = {redAt, 1, 2 - redAt, 3};
    double c[4];
    for (int k = 0; k < 4; ++k) c[k] = src[i + at[k]];
    double out[4];
    blend_pixel(c, 1.0, t, out);
    for (int k = 0; k < 4; ++k) dst[i + at[k]] = (float)out[k];
}

// Byte RGBA, byte BGRA, float RGBA, float BGRA.
__kernel void k848d3e676(__global const uchar* src, __global uchar* dst, CB_TERMS) {
    const float t[20] = CB_TERM_ARRAY;
    cb_byte(src, dst, t, width, height, 0);
}

__kernel void k3a7c91e0d(__global const uchar* src, __global uchar* dst, CB_TERMS) {
    const float t[20] = CB_TERM_ARRAY;
    cb_byte(src, dst, t, width, height, 2);
}

__kernel void kd25d96974(__global const float* src, __global float* dst, CB_TERMS) {
    const float t[20] = CB_TERM_ARRAY;
    cb_float(src, dst, t, width, height, 0);
}

__kernel void k6e02b5f49(__global const float* src, __global float* dst, CB_TERMS) {
    const float t[20] = CB_TERM_ARRAY;
    cb_float(src, dst, t, width, height, 2);
}
