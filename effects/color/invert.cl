// Invert on packed RGBA rows (row y starts at y * width * 4 components), one
// work item per pixel. Byte and float images get a kernel each: the render
// picks by the output's depth, so neither form tests the depth per pixel.
// The launch rounds the global size up, hence the guards.

#include "prelude.inc"

__kernel void kd89ea7380(__global const uchar* src, __global uchar* dst, float blend, int width, int height) {
    const int x = get_global_id(0);
    const int y = get_global_id(1);
    if (x >= width || y >= height) return;
    const int i = (y * width + x) * 4;
    const int strength = qz_blend_strength(1.0f - blend);
    const int a = src[i + 3];
    for (int c = 0; c < 4; ++c) {
        const int s = src[i + c];
        int d = s;
        if (c < 3) {
            if (a == 255) {
                d = 255 - s;
            } else if (a == 0) {
                d = 0;
            } else {
                // Unpremultiply with a clamp, invert, re-premultiply by a
                // shift: the shift, not a division by 255, is the rounding.
                const int u = min(255, s * 255 / a);
                d = ((255 - u) * a) >> 8;
            }
        }
        dst[i + c] = (uchar)qz_mix_byte(d, s, strength);
    }
}

__kernel void k3f1c0b5e2(__global const float* src, __global float* dst, float blend, int width, int height) {
    const int x = get_global_id(0);
    const int y = get_global_id(1);
    if (x >= width || y >= height) return;
    const int i = (y * width + x) * 4;
    const float w = 1.0f - blend;
    const float a = src[i + 3];
    for (int c = 0; c < 4; ++c) {
        const float s = src[i + c];
        float d = s;
        if (c < 3) {
            if (a == 1.0f) {
                d = 1.0f - s;
            } else {
                // No clamp. The processor compares alpha with 1e-6 in double:
                // for a float that is alpha <= 1e-6f, the literal rounding down.
                const float u = a <= 1e-6f ? 0.0f : s / a;
                d = (1.0f - u) * a;
            }
        }
        dst[i + c] = (s - d) * w + d;
    }
}
