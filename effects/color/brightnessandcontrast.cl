// Brightness and Contrast on packed rows (row y starts at y * width * 4
// components), one work item per pixel. The three colours get the same
// treatment, so one kernel per depth serves both pixel orders. The launch
// rounds the global size up, hence the guards.
//
// `values` holds brightness, contrast and contrast centre as the processor's
// floats, and in its last lane which steps run (1 the lift, 2 the spread,
// both summed): the effect decides that on the parameters' doubles, so that
// a value close to the 1e-6 threshold cannot flip it in the narrowing.

#include "prelude.inc"

#define BC_LIFT 1
#define BC_SPREAD 2

// The spread factor: a reciprocal above 0, 1 + C below. The byte table and
// the float path each have their own top (1.0000001 and 1.000001).
float bc_factor(float contrast, float top) {
    return contrast > 0.0f ? 1.0f / (top - contrast) : contrast + 1.0f;
}

// One entry of the processor's byte table: both steps at once on the level,
// clamped to 0..255 and truncated.
uchar bc_level(int level, float b, float p, float k) {
    float v = (((float)level / 255.0f + b - p) * k + p) * 255.0f;
    v = v < 0.0f ? 0.0f : (255.0f < v ? 255.0f : v);
    return (uchar)v;
}

__kernel void k7c3e0b95d(__global const uchar* src, __global uchar* dst, int width, int height, float4 values) {
    const int x = get_global_id(0);
    const int y = get_global_id(1);
    if (x >= width || y >= height) return;
    const int i = (y * width + x) * 4;
    const int steps = (int)values.w;
    if (steps == 0) {
        for (int c = 0; c < 4; ++c) dst[i + c] = src[i + c];
        return;
    }
    const float k = bc_factor(values.y, 1.0000001f);
    const uchar a = src[i + 3];
    // Held to alpha so that the colour stays premultiplied.
    for (int c = 0; c < 3; ++c) dst[i + c] = min(bc_level(src[i + c], values.x, values.z, k), a);
    dst[i + 3] = a;
}

// One step on a float pixel under the alpha rule: no colour without alpha,
// unpremultiplied around the formula below full alpha, alpha at or above 1
// written as exactly 1. No clamp.
void bc_step(float* px, int spread, float b, float p, float k) {
    const float a = px[3];
    if (!(a > 1e-6f)) {
        for (int c = 0; c < 4; ++c) px[c] = 0.0f;
        return;
    }
    const bool partial = a < 1.0f;
    for (int c = 0; c < 3; ++c) {
        const float u = partial ? px[c] / a : px[c];
        const float v = spread ? (u - p) * k + p : u + b;
        px[c] = partial ? v * a : v;
    }
    if (!partial) px[3] = 1.0f;
}

__kernel void ke18a4f2c6(__global const float* src, __global float* dst, int width, int height, float4 values) {
    const int x = get_global_id(0);
    const int y = get_global_id(1);
    if (x >= width || y >= height) return;
    const int i = (y * width + x) * 4;
    const int steps = (int)values.w;
    float px[4];
    for (int c = 0; c < 4; ++c) px[c] = src[i + c];
    // The spread reads the lifted pixel, premultiplied again, as the
    // processor's second pass reads its first.
    if (steps & BC_LIFT) bc_step(px, 0, values.x, values.z, 0.0f);
    if (steps & BC_SPREAD) bc_step(px, 1, values.x, values.z, bc_factor(values.y, 1.000001f));
    for (int c = 0; c < 4; ++c) dst[i + c] = px[c];
}
