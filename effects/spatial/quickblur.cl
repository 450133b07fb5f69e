// Quick Blur on packed RGBA rows (row y starts at y * width * 4
// components), one work item per pixel: the 1-2-1 by 1-2-1 blur of the
// source with the window's edge pixels repeated beyond it, then the mix
// with the source at the source's weight, as the processor's blend does it.
// An amount within 1e-6 of 0 copies. The launch rounds the global size up,
// hence the guards.

#include "prelude.inc"

// The nine neighbours' offsets of (x, y), row by row, the edges repeated.
void neighbours(int x, int y, int width, int height, int at[9]) {
    const int rows[3] = {max(y - 1, 0), y, min(y + 1, height - 1)};
    const int cols[3] = {max(x - 1, 0), x, min(x + 1, width - 1)};
    for (int i = 0; i < 9; ++i) at[i] = (rows[i / 3] * width + cols[i % 3]) * 4;
}

__constant int kWeights[9] = {1, 2, 1, 2, 4, 2, 1, 2, 1};

__kernel void ka7d3e05c1(__global const uchar* src, __global uchar* dst, int copy, float sourceWeight, int width,
                         int height) {
    const int x = get_global_id(0);
    const int y = get_global_id(1);
    if (x >= width || y >= height) return;
    const int i = (y * width + x) * 4;
    if (copy) {
        for (int c = 0; c < 4; ++c) dst[i + c] = src[i + c];
        return;
    }
    int at[9];
    neighbours(x, y, width, height, at);
    const int strength = qz_blend_strength(sourceWeight);
    for (int c = 0; c < 4; ++c) {
        int sum = 0;
        for (int k = 0; k < 9; ++k) sum += kWeights[k] * src[at[k] + c];
        // Note: the weighted sum is shifted, so the blur truncates.
        dst[i + c] = (uchar)qz_mix_byte(sum >> 4, src[i + c], strength);
    }
}

__kernel void k1f6b82d4e(__global const float* src, __global float* dst, int copy, float sourceWeight, int width,
                         int height) {
    const int x = get_global_id(0);
    const int y = get_global_id(1);
    if (x >= width || y >= height) return;
    const int i = (y * width + x) * 4;
    if (copy) {
        for (int c = 0; c < 4; ++c) dst[i + c] = src[i + c];
        return;
    }
    int at[9];
    neighbours(x, y, width, height, at);
    for (int c = 0; c < 4; ++c) {
        // The sum runs row by row, left to right, from 0.
        float sum = 0.0f;
        for (int k = 0; k < 9; ++k) sum += (float)kWeights[k] * src[at[k] + c];
        const float d = sum * 0.0625f;
        dst[i + c] = (src[i + c] - d) * sourceWeight + d;
    }
}
