// Color Balance on packed rows (row y starts at y * width * 4 components),
// one work item per pixel; the launch rounds the global size up, hence the
// guards. The arguments are the Red, Green and Blue sliders as the processor
// holds them (already single precision), the range type and the luminosity
// flag.
//
// The formula names the components blue, green, red (c0, c1, c2) and each
// slider goes to one of them, so there is a kernel per storage order as well
// as per depth; `blueAt` is the storage index of blue (2 in RGBA, 0 in BGRA)
// and red sits opposite. Both orders thus give one picture.

#include "prelude.inc"

// How strongly a pixel of mean level L takes the shifts: 2 shadows,
// 1 midtones (grouped as 1 - 2 (2 (L - 0.5)(L - 0.5)), which decides the last
// bits), anything else highlights.
double cb_weight(int type, double level) {
    if (type == 2) return 1.0 - level * level;
    if (type == 1) return 1.0 - 2.0 * (2.0 * (level - 0.5) * (level - 0.5));
    return 1.0 - (1.0 - level) * (1.0 - level);
}

// Bytes: each slider shifts its own colour. The mean is the integer sum
// over 3, truncated; the shifts are whole levels rounded from double, the
// halves taken away are rounded on their own, and the sum is held to 0..255
// with no regard to alpha. Alpha is copied.
void cb_byte(__global const uchar* src, __global uchar* dst, float red, float green, float blue, int type,
             int preserve, int width, int height, int blueAt) {
    const int x = get_global_id(0);
    const int y = get_global_id(1);
    if (x >= width || y >= height) return;
    const int i = (y * width + x) * 4;
    const int at[3] = {blueAt, 1, 2 - blueAt};
    const float shift[3] = {blue, green, red};
    const int s[3] = {src[i + at[0]], src[i + at[1]], src[i + at[2]]};
    const double level = (double)((s[0] + s[1] + s[2]) / 3) / 255.0;
    const double w = cb_weight(type, level);
    double levels[3];
    int offset[3];
    for (int c = 0; c < 3; ++c) {
        levels[c] = shift[c] * w * 255.0;
        offset[c] = qz_round_biased(levels[c]);
    }
    if (preserve) {
        int halves[3];
        for (int c = 0; c < 3; ++c) halves[c] = qz_round_biased(levels[c] * 0.5);
        offset[0] -= halves[1] + halves[2];
        offset[1] -= halves[0] + halves[2];
        offset[2] -= halves[0] + halves[1];
    }
    for (int c = 0; c < 3; ++c) dst[i + at[c]] = (uchar)clamp(s[c] + offset[c], 0, 255);
    dst[i + 3] = src[i + 3];
}

// Floats: the Red slider shifts blue and the Blue slider red, as the float
// processor does. The mean is a float sum over 3.0f; weight and shifts run
// in double and each result is rounded once to float. No clamp; alpha is
// copied.
void cb_float(__global const float* src, __global float* dst, float red, float green, float blue, int type,
              int preserve, int width, int height, int blueAt) {
    const int x = get_global_id(0);
    const int y = get_global_id(1);
    if (x >= width || y >= height) return;
    const int i = (y * width + x) * 4;
    const int at[3] = {blueAt, 1, 2 - blueAt};
    const float shift[3] = {red, green, blue};
    const float s[3] = {src[i + at[0]], src[i + at[1]], src[i + at[2]]};
    const float level = (s[0] + s[1] + s[2]) / 3.0f;
    const double w = cb_weight(type, level);
    double offset[3];
    for (int c = 0; c < 3; ++c) offset[c] = shift[c] * w;
    if (preserve) {
        const double kept[3] = {offset[0] - offset[1] / 2 - offset[2] / 2, offset[1] - offset[0] / 2 - offset[2] / 2,
                                offset[2] - offset[0] / 2 - offset[1] / 2};
        for (int c = 0; c < 3; ++c) offset[c] = kept[c];
    }
    for (int c = 0; c < 3; ++c) dst[i + at[c]] = (float)(s[c] + offset[c]);
    dst[i + 3] = src[i + 3];
}

// Byte RGBA, byte BGRA, float RGBA, float BGRA.
__kernel void kc2da69c00(__global const uchar* src, __global uchar* dst, float red, float green, float blue, int type,
                         int preserve, int width, int height) {
    cb_byte(src, dst, red, green, blue, type, preserve, width, height, 2);
}

__kernel void k8cf90441b(__global const uchar* src, __global uchar* dst, float red, float green, float blue, int type,
                         int preserve, int width, int height) {
    cb_byte(src, dst, red, green, blue, type, preserve, width, height, 0);
}

__kernel void k0810d9ff8(__global const float* src, __global float* dst, float red, float green, float blue, int type,
                         int preserve, int width, int height) {
    cb_float(src, dst, red, green, blue, type, preserve, width, height, 2);
}

__kernel void kec0e15b08(__global const float* src, __global float* dst, float red, float green, float blue, int type,
                         int preserve, int width, int height) {
    cb_float(src, dst, red, green, blue, type, preserve, width, height, 0);
}
