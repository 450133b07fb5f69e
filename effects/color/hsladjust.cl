// HSL Adjust on packed rows (row y starts at y * width * 4 components), one
// work item per pixel; the launch rounds the global size up, hence the
// guards. The adjustment comes as (hue to add, saturation factor, lightness
// factor, unused).
//
// Hue depends on which component is red, so there is a kernel per storage
// order as well as per depth; `blueAt` is the storage index of blue (2 in
// RGBA, 0 in BGRA) and red sits opposite.
//
// The conversions are the library's HSL pairs, in double precision, step for
// step: bytes go through the ordinary pair and truncate, floats through the
// range-tolerant pair. Only correctly rounded operations (+ - * / and trunc)
// are used, so the results are the processor's to the bit.

#include "prelude.inc"

// A hair under 1/255: some bytes scale to just below their level and
// truncate back one lower. The division by 6 is this multiplication.
#define HSL_BYTE_SCALE 0.00392156862745098
#define HSL_SIXTH 0.16666666666666666
// The f32 value of 1e-6, widened: the float pair's nudge and dead band.
#define HSL_NUDGE ((double)1e-6f)

typedef struct {
    double h, s, l, a;
} hsl_t;

// The first argument wins ties and NaNs, as the processor's max and min do
// (fmax and fmin would choose otherwise).
double hsl_max(double a, double b) { return a < b ? b : a; }
double hsl_min(double a, double b) { return b < a ? b : a; }

// The hue of the six sectors, k being 1 / (mx - mn). The test order decides
// ties: pure red reads as hue 1.0.
double hue_of(double r, double g, double b, double mx, double mn, double k) {
    if (r == mx) {
        if (g == mn) return ((mx - b) * k + 5.0) * HSL_SIXTH;
        return (1.0 - (mx - g) * k) * HSL_SIXTH;
    }
    if (g == mx) {
        if (b == mn) return ((mx - r) * k + 1.0) * HSL_SIXTH;
        return (3.0 - (mx - b) * k) * HSL_SIXTH;
    }
    if (r == mn) return ((mx - g) * k + 3.0) * HSL_SIXTH;
    return (5.0 - (mx - r) * k) * HSL_SIXTH;
}

// The ordinary forward conversion.
void rgb_to_hsl(hsl_t* out, double r, double g, double b, double a) {
    const double mx = hsl_max(hsl_max(r, g), b);
    const double mn = hsl_min(hsl_min(r, g), b);
    out->a = a;
    out->l = (mn + mx) * 0.5;
    out->h = 0.0;
    out->s = 0.0;
    if (out->l <= 0.0) return;
    const double d = mx - mn;
    out->s = d;
    if (d <= 0.0) return;
    out->s = out->l <= 0.5 ? d / (mn + mx) : d / (2.0 - mx - mn);
    out->h = hue_of(r, g, b, mx, mn, 1.0 / d);
}

// The range-tolerant forward conversion: sums of maximum and minimum right
// at 2 or 0 are nudged off in the working copies, and lightness outside 0..1
// is carried by a negated saturation.
void rgb_to_hsl_tolerant(hsl_t* out, double r, double g, double b, double a) {
    double mx = hsl_max(hsl_max(r, g), b);
    double mn = hsl_min(hsl_min(r, g), b);
    double s = mn + mx;
    bool moved = false;
    if (s > 1.9999990000000025 && s < 2.0) {
        mx -= HSL_NUDGE;
        moved = true;
    } else if (s >= 2.0 && s < 2.0000009999999975) {
        mx += HSL_NUDGE;
        moved = true;
    }
    if (moved) {
        if (r > g && r > b) r = mx;
        else if (g > b) g = mx;
        else b = mx;
    }
    s = mn + mx;
    moved = false;
    if (s > -HSL_NUDGE && s < 0.0) {
        mn -= HSL_NUDGE;
        moved = true;
    } else if (s >= 0.0 && s < HSL_NUDGE) {
        mn += HSL_NUDGE;
        moved = true;
    }
    if (moved) {
        if (g > r && b > r) r = mn;
        else if (b > g) g = mn;
        else b = mn;
    }
    const double d = mx - mn;
    out->a = a;
    out->l = (mn + mx) * 0.5;
    out->s = d;
    out->h = 0.0;
    if (-HSL_NUDGE <= d && d < HSL_NUDGE) return;
    double sat = out->l <= 0.5 ? d / (mn + mx) : d / (2.0 - mx - mn);
    if (out->l < 0.0 || out->l > 1.0) sat = -sat;
    out->s = sat;
    out->h = hue_of(r, g, b, mx, mn, 1.0 / d);
}

// The colour of hue h from maximum v, minimum m and rise t. False past the
// sixth sextant (or at or below -1, or for a NaN hue): nothing is written.
bool sextant(double* r, double* g, double* b, double h, double v, double m, double t) {
    const double sext = trunc(h * 6.0);
    if (!(sext > -1.0 && sext <= 6.0)) return false;
    const double p = t + m;
    const double q = v - t;
    switch ((int)sext) {
    case 0:
    case 6: *r = v; *g = p; *b = m; break;
    case 1: *r = q; *g = v; *b = m; break;
    case 2: *r = m; *g = v; *b = p; break;
    case 3: *r = m; *g = q; *b = v; break;
    case 4: *r = p; *g = m; *b = v; break;
    default: *r = v; *g = m; *b = q; break;
    }
    return true;
}

double fraction_of(double h) {
    const double h6 = h * 6.0;
    return h6 - trunc(h6);
}

double clamp_unit(double v) { return v < 0.0 ? 0.0 : (1.0 < v ? 1.0 : v); }

// Truncation to a byte, saturating outside 0..255 (a NaN reads as 0).
uchar trunc_byte(double v) {
    if (!(v > 0.0)) return 0;
    if (v >= 255.0) return 255;
    return (uchar)v;
}

// Bytes: the hue wraps once past 1 (a sum of exactly 1 stays, and converts
// back like 0); saturation and lightness are held to 0..1. Alpha makes the
// round trip with the colour, and the colour is then held to it.
void hsl_byte(__global const uchar* src, __global uchar* dst, float4 change, int width, int height, int blueAt) {
    const int x = get_global_id(0);
    const int y = get_global_id(1);
    if (x >= width || y >= height) return;
    const int i = (y * width + x) * 4;
    const int redAt = 2 - blueAt;
    uchar r = src[i + redAt], g = src[i + 1], b = src[i + blueAt];
    hsl_t hsl;
    rgb_to_hsl(&hsl, r * HSL_BYTE_SCALE, g * HSL_BYTE_SCALE, b * HSL_BYTE_SCALE, src[i + 3] * HSL_BYTE_SCALE);
    hsl.h += change.x;
    if (hsl.h > 1.0) hsl.h -= 1.0;
    hsl.s = clamp_unit(hsl.s * change.y);
    hsl.l = clamp_unit(hsl.l * change.z);

    const double l = hsl.l;
    const double v = l <= 0.5 ? (hsl.s + 1.0) * l : (l + hsl.s) - l * hsl.s;
    const uchar a = trunc_byte(hsl.a * 255.0);
    if (v <= 0.0) {
        r = g = b = 0;
    } else {
        const double m = l + l - v;
        // The byte rise is ((v - m) / v) * v * f, not f * (v - m).
        const double t = ((v - m) / v) * v * fraction_of(hsl.h);
        double cr, cg, cb;
        if (sextant(&cr, &cg, &cb, hsl.h, v, m, t)) {
            r = trunc_byte(cr * 255.0);
            g = trunc_byte(cg * 255.0);
            b = trunc_byte(cb * 255.0);
        }
    }
    dst[i + blueAt] = min(b, a);
    dst[i + 1] = min(g, a);
    dst[i + redAt] = min(r, a);
    dst[i + 3] = a;
}

// Floats: the hue wraps by its integer part; saturation and lightness are
// unclamped, so over-range colours keep their meaning. Alpha is copied.
void hsl_float(__global const float* src, __global float* dst, float4 change, int width, int height, int blueAt) {
    const int x = get_global_id(0);
    const int y = get_global_id(1);
    if (x >= width || y >= height) return;
    const int i = (y * width + x) * 4;
    const int redAt = 2 - blueAt;
    float r = src[i + redAt], g = src[i + 1], b = src[i + blueAt];
    const float a = src[i + 3];
    hsl_t hsl;
    rgb_to_hsl_tolerant(&hsl, r, g, b, a);
    hsl.h += change.x;
    hsl.h -= trunc(hsl.h);
    hsl.s *= change.y;
    hsl.l *= change.z;

    // The range-tolerant inverse: no test of v, an under-range maximum is a
    // colour like any other.
    const double l = hsl.l;
    double s = hsl.s;
    double v;
    if (l <= 0.5) {
        if (l < 0.0) s = -s;
        v = (s + 1.0) * l;
    } else {
        if (l > 1.0) s = -s;
        v = l + s - l * s;
    }
    const double m = l + l - v;
    double cr, cg, cb;
    if (sextant(&cr, &cg, &cb, hsl.h, v, m, fraction_of(hsl.h) * (v - m))) {
        r = (float)cr;
        g = (float)cg;
        b = (float)cb;
    }
    dst[i + blueAt] = b;
    dst[i + 1] = g;
    dst[i + redAt] = r;
    dst[i + 3] = a;
}

// Byte RGBA, byte BGRA, float RGBA, float BGRA.
__kernel void k1293792e6(__global const uchar* src, __global uchar* dst, float4 change, int width, int height) {
    hsl_byte(src, dst, change, width, height, 2);
}

__kernel void kfcf345abd(__global const uchar* src, __global uchar* dst, float4 change, int width, int height) {
    hsl_byte(src, dst, change, width, height, 0);
}

__kernel void ke4d06c2af(__global const float* src, __global float* dst, float4 change, int width, int height) {
    hsl_float(src, dst, change, width, height, 2);
}

__kernel void k5e1c5563a(__global const float* src, __global float* dst, float4 change, int width, int height) {
    hsl_float(src, dst, change, width, height, 0);
}
