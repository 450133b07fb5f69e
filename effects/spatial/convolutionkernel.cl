// Convolution Kernel on packed RGBA rows (row y starts at y * width * 4
// components), one work item per pixel. The nine weights come ready
// (rotated, normalised, scaled) row by row; the neighbours of a pixel on
// the window's edge repeat the edge. Each colour is the single-precision sum
// from 0, row by row, of weight times sample, plus the offset; alpha is the
// source's. Byte and float images get a kernel each. The launch rounds the
// global size up, hence the guards.

#include "prelude.inc"

// The offsets of the nine pixels around (x, y), row by row.
void convolution_neighbours(int x, int y, int width, int height, int* at) {
    const int xs[3] = {max(x - 1, 0), x, min(x + 1, width - 1)};
    const int ys[3] = {max(y - 1, 0), y, min(y + 1, height - 1)};
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c) at[r * 3 + c] = (ys[r] * width + xs[c]) * 4;
}

__kernel void k7c1f3a8d2(__global const uchar* src, __global uchar* dst, float w0, float w1, float w2, float w3,
                         float w4, float w5, float w6, float w7, float w8, float byteOffset, float floatOffset,
                         int width, int height) {
    const int x = get_global_id(0);
    const int y = get_global_id(1);
    if (x >= width || y >= height) return;
    const int i = (y * width + x) * 4;
    int at[9];
    convolution_neighbours(x, y, width, height, at);
    const float w[9] = {w0, w1, w2, w3, w4, w5, w6, w7, w8};
    for (int c = 0; c < 3; ++c) {
        float sum = 0.0f;
        for (int n = 0; n < 9; ++n) sum += w[n] * (float)src[at[n] + c];
        const float v = sum + byteOffset;
        // Held to 0..255 (a NaN to 0), then truncated.
        const float held = v > 0.0f ? (v < 255.0f ? v : 255.0f) : 0.0f;
        dst[i + c] = (uchar)(int)held;
    }
    dst[i + 3] = src[i + 3];
}

__kernel void k9ad06b54e(__global const float* src, __global float* dst, float w0, float w1, float w2, float w3,
                         float w4, float w5, float w6, float w7, float w8, float byteOffset, float floatOffset,
                         int width, int height) {
    const int x = get_global_id(0);
    const int y = get_global_id(1);
    if (x >= width || y >= height) return;
    const int i = (y * width + x) * 4;
    int at[9];
    convolution_neighbours(x, y, width, height, at);
    const float w[9] = {w0, w1, w2, w3, w4, w5, w6, w7, w8};
    for (int c = 0; c < 3; ++c) {
        float sum = 0.0f;
        for (int n = 0; n < 9; ++n) sum += w[n] * src[at[n] + c];
        // No clamp on floats.
        dst[i + c] = sum + floatOffset;
    }
    dst[i + 3] = src[i + 3];
}
