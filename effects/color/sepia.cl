// Sepia on packed rows (row y starts at y * width * 4 components), one work
// item per pixel. `color` is the tint as red, green, blue (its last lane is
// unused); each depth has a kernel per pixel order (RGBA, then BGRA), chosen
// by the render, that puts the tint on the right components and sums the
// float grey blue first. The launch rounds the global size up, hence the
// guards.
//
// Byte results are exact for a falloff that is exact in float (0.25, 0.5,
// ...). For others, such as 0.1, the processor's tint weight per grey level
// truncates base - level * falloff on its double, which can land exactly on
// an integer where the float's value falls just short: that level's weight,
// and so the colour, can then be one level apart. Likewise a strength less
// than a float's width above 2/3 narrows onto the edge and takes the middle
// zone's mix where the processor takes the full grey. The float results hold
// to far below 1e-6.

#include "prelude.inc"

// The processor's zone edges are the doubles nearest 1/3 and 2/3, with an
// edge itself in the lower zone. The kernel sees the strength as a float:
// compared with the floats nearest 1/3 and 2/3, a strength of exactly 1/3
// or 2/3 narrows onto its edge and stays in the lower zone, as on the
// processor.
#define SEPIA_DESATURATE_ONLY 0
#define SEPIA_PARTIAL_GREY 1
#define SEPIA_FULL_GREY 2
#define SEPIA_EDGE_LOW 0.3333333333333333
#define SEPIA_EDGE_HIGH 0.6666666666666666

int sepia_zone(float strength) {
    if (strength <= (float)SEPIA_EDGE_LOW) return SEPIA_DESATURATE_ONLY;
    if (strength <= (float)SEPIA_EDGE_HIGH) return SEPIA_PARTIAL_GREY;
    return SEPIA_FULL_GREY;
}

double sepia_clamp_unit(double v) {
    return v > 0.0 ? (v < 1.0 ? v : 1.0) : 0.0;
}

// `blue` and `red` are the storage indices of those colours. Bytes work on
// the premultiplied values as stored, then the colours are held to alpha.
void sepia_byte(__global const uchar* src, __global uchar* dst, int i, int blue, int red, float4 color, float strength,
                float falloff) {
    const int zone = sepia_zone(strength);
    const double q = (double)strength * 1.5;
    const double r = ((double)strength - SEPIA_EDGE_LOW) * 1.5;
    const int a = src[i + 3];
    const int g = (src[i] + src[i + 1] + src[i + 2]) / 3;
    int tint[3];
    tint[blue] = qz_trunc_d((double)color.z * 255.0) & 0xFF;
    tint[1] = qz_trunc_d((double)color.y * 255.0) & 0xFF;
    tint[red] = qz_trunc_d((double)color.x * 255.0) & 0xFF;
    // The mix weight of 256, and the tint weight of this grey level: where
    // the falloff acts. In the middle zone the level's low byte is taken
    // unclamped; it stays within 0..0.5 there.
    const int mix = zone == SEPIA_DESATURATE_ONLY ? qz_trunc_d(q * 255.0) : qz_trunc_d(sepia_clamp_unit(q) * 255.0);
    const int base =
        zone == SEPIA_PARTIAL_GREY ? qz_trunc_d(r * 255.0) & 0xFF : qz_trunc_d(sepia_clamp_unit(r) * 255.0);
    const double level = (double)base - (double)g * (double)falloff;
    const int weight = (int)(uchar)(level < 0.0 ? 0.0 : (255.0 < level ? 255.0 : level));
    for (int c = 0; c < 3; ++c) {
        const int v = src[i + c];
        int out;
        if (zone == SEPIA_DESATURATE_ONLY) {
            out = qz_mix_byte(v, g, mix);
        } else if (zone == SEPIA_PARTIAL_GREY) {
            out = qz_mix_byte(qz_mix_byte(v, g, mix), tint[c], weight);
        } else {
            out = qz_mix_byte(g, tint[c], weight);
        }
        const uchar o = (uchar)out;
        dst[i + c] = o > a ? (uchar)a : o;
    }
    dst[i + 3] = (uchar)a;
}

// Floats under the alpha rule: no colour without alpha, unpremultiplied
// around the change below full alpha, alpha at or above 1 written as exactly
// 1. Each result is rounded to float before the re-premultiplication.
void sepia_float(__global const float* src, __global float* dst, int i, int blue, int red, float4 color,
                 float strength, float falloff) {
    const float a = src[i + 3];
    // The processor compares with 1e-6 in double: for a float that is
    // alpha <= 1e-6f, the literal rounding down.
    if (a <= 1e-6f) {
        for (int c = 0; c < 4; ++c) dst[i + c] = 0.0f;
        return;
    }
    const int zone = sepia_zone(strength);
    const double q = (double)strength * 1.5;
    const double r = ((double)strength - SEPIA_EDGE_LOW) * 1.5;
    double tint[3];
    tint[blue] = color.z;
    tint[1] = color.y;
    tint[red] = color.x;
    const bool partialAlpha = a < 1.0f;
    float u[3];
    for (int c = 0; c < 3; ++c) u[c] = partialAlpha ? src[i + c] / a : src[i + c];
    const double g = ((double)u[blue] + (double)u[1] + (double)u[red]) / 3.0;
    double t = 0.0;
    if (zone != SEPIA_DESATURATE_ONLY) t = sepia_clamp_unit(sepia_clamp_unit(g) * -(double)falloff + r);
    for (int c = 0; c < 3; ++c) {
        const double uc = u[c];
        double v;
        if (zone == SEPIA_DESATURATE_ONLY) {
            v = (g - uc) * q + uc;
        } else if (zone == SEPIA_PARTIAL_GREY) {
            const double partial = (g - uc) * q + uc;
            v = (tint[c] - partial) * t + partial;
        } else {
            v = (tint[c] - g) * t + g;
        }
        dst[i + c] = partialAlpha ? (float)v * a : (float)v;
    }
    dst[i + 3] = partialAlpha ? a : 1.0f;
}

__kernel void k58d1e0c7a(__global const uchar* src, __global uchar* dst, float4 color, float strength, float falloff,
                         int width, int height) {
    const int x = get_global_id(0);
    const int y = get_global_id(1);
    if (x >= width || y >= height) return;
    sepia_byte(src, dst, (y * width + x) * 4, 2, 0, color, strength, falloff);
}

__kernel void ka2f7c3916(__global const uchar* src, __global uchar* dst, float4 color, float strength, float falloff,
                         int width, int height) {
    const int x = get_global_id(0);
    const int y = get_global_id(1);
    if (x >= width || y >= height) return;
    sepia_byte(src, dst, (y * width + x) * 4, 0, 2, color, strength, falloff);
}

__kernel void k0e4b9d28f(__global const float* src, __global float* dst, float4 color, float strength, float falloff,
                         int width, int height) {
    const int x = get_global_id(0);
    const int y = get_global_id(1);
    if (x >= width || y >= height) return;
    sepia_float(src, dst, (y * width + x) * 4, 2, 0, color, strength, falloff);
}

__kernel void k6b3a5f01c(__global const float* src, __global float* dst, float4 color, float strength, float falloff,
                         int width, int height) {
    const int x = get_global_id(0);
    const int y = get_global_id(1);
    if (x >= width || y >= height) return;
    sepia_float(src, dst, (y * width + x) * 4, 0, 2, color, strength, falloff);
}
