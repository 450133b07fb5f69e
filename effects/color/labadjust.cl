// LAB Adjust on packed rows (row y starts at y * width * 4 components), one
// work item per pixel; the launch rounds the global size up, hence the
// guards. The change comes as lightness factor, a and b offsets (the
// sliders times 100), the invert flag and the chroma factor (1 minus the
// desaturation), as the processor prepares them.
//
// L*a*b* depends on which component is red, so there is a kernel per storage
// order as well as per depth; `blueAt` is the storage index of blue (2 in
// RGBA, 0 in BGRA) and red sits opposite.
//
// The conversions are the library's, in double precision, step for step.
// The curves use pow, whose OpenCL form may round the last bit of a double
// otherwise than the C library's: the float results can then differ by an
// ulp (up to 3e-8 seen over all byte colours and random over-range floats
// on PoCL), well inside 1e-6; the bytes matched on every one of the 2^24
// opaque colours.

#include "prelude.inc"

// A hair under 1/255, as the byte conversion scales.
#define LAB_BYTE_SCALE 0.00392156862745098
// The top of the lightness range when inverting, in place of 100.
#define LAB_INVERT_TOP 95.5806655883789

typedef struct {
    double L, a, b;
} lab_t;

double srgb_decode(double c) { return c > 0.04045 ? pow((c + 0.055) / 1.055, 2.4) : c / 12.92; }
double srgb_encode(double c) { return c > 0.0031308 ? pow(c, 0.4166666666666667) * 1.055 - 0.055 : c * 12.92; }

// The forward slope is the f32 value of 7.787 widened, the inverse divides
// by the double 7.787.
double lab_forward(double t) {
    return t > 0.008856 ? pow(t, 0.3333333333333333) : t * 7.7870001792907715 + 0.13793103448275862;
}

double lab_inverse(double t) {
    const double cube = pow(t, 3.0);
    return cube > 0.008856 ? cube : (t - 0.13793103448275862) / 7.787;
}

// From sRGB through XYZ with the printed D65 white.
lab_t to_lab(double r, double g, double b) {
    r = srgb_decode(r);
    g = srgb_decode(g);
    b = srgb_decode(b);
    double x = 0.4124 * r + 0.3576 * g + 0.1805 * b;
    const double y = 0.2126 * r + 0.7152 * g + 0.0722 * b;
    double z = 0.0193 * r + 0.1192 * g + 0.9505 * b;
    x /= 0.95047;
    z /= 1.08883;
    const double fx = lab_forward(x), fy = lab_forward(y), fz = lab_forward(z);
    lab_t lab;
    lab.L = 116.0 * fy - 16.0;
    lab.a = 500.0 * (fx - fy);
    lab.b = 200.0 * (fy - fz);
    return lab;
}

// Back to sRGB, with the white point's f32 figures.
void from_lab(lab_t lab, double* r, double* g, double* b) {
    const double fy = (lab.L + 16.0) / 116.0;
    const double fx = lab.a / 500.0 + fy;
    const double fz = fy - lab.b / 200.0;
    const double x = lab_inverse(fx) * 0.950469970703125;
    const double y = lab_inverse(fy);
    const double z = lab_inverse(fz) * 1.0888299942016602;
    *r = srgb_encode(3.2406 * x - 1.5372 * y - 0.4986 * z);
    *g = srgb_encode(1.8758 * y - 0.9689 * x + 0.0415 * z);
    *b = srgb_encode(0.0557 * x - 0.204 * y + 1.057 * z);
}

lab_t lab_change(lab_t lab, float lightness, float aOffset, float bOffset, int invert, float chroma) {
    lab.L = (invert ? LAB_INVERT_TOP - lab.L : lab.L) * lightness;
    lab.a = (lab.a + aOffset) * chroma;
    lab.b = (lab.b + bOffset) * chroma;
    return lab;
}

// Clamp to 0..1, scale, truncate (a NaN reads as 0).
uchar lab_byte(double c) {
    if (!(c > 0.0)) return 0;
    if (c >= 1.0) return 255;
    return (uchar)(c * 255.0);
}

// Bytes: on the premultiplied values as they are; alpha stays, and the
// colour is then held to it.
void lab_bytes(__global const uchar* src, __global uchar* dst, float lightness, float aOffset, float bOffset,
               int invert, float chroma, int width, int height, int blueAt) {
    const int x = get_global_id(0);
    const int y = get_global_id(1);
    if (x >= width || y >= height) return;
    const int i = (y * width + x) * 4;
    const int redAt = 2 - blueAt;
    const uchar a = src[i + 3];
    const lab_t lab = lab_change(to_lab(src[i + redAt] * LAB_BYTE_SCALE, src[i + 1] * LAB_BYTE_SCALE,
                                        src[i + blueAt] * LAB_BYTE_SCALE),
                                 lightness, aOffset, bOffset, invert, chroma);
    double r, g, b;
    from_lab(lab, &r, &g, &b);
    dst[i + blueAt] = min(lab_byte(b), a);
    dst[i + 1] = min(lab_byte(g), a);
    dst[i + redAt] = min(lab_byte(r), a);
    dst[i + 3] = a;
}

// Floats under the alpha rule of the colour filters: no colour without
// alpha (alpha not above 1e-6 in double), unpremultiplied in float around the
// change below full alpha, and alpha at or above 1 written as exactly 1.
void lab_floats(__global const float* src, __global float* dst, float lightness, float aOffset, float bOffset,
                int invert, float chroma, int width, int height, int blueAt) {
    const int x = get_global_id(0);
    const int y = get_global_id(1);
    if (x >= width || y >= height) return;
    const int i = (y * width + x) * 4;
    const int redAt = 2 - blueAt;
    const float a = src[i + 3];
    if (!((double)a > 1e-6)) {
        for (int c = 0; c < 4; ++c) dst[i + c] = 0.0f;
        return;
    }
    const bool partial = a < 1.0f;
    float cr = src[i + redAt], cg = src[i + 1], cb = src[i + blueAt];
    if (partial) {
        cr /= a;
        cg /= a;
        cb /= a;
    }
    const lab_t lab = lab_change(to_lab(cr, cg, cb), lightness, aOffset, bOffset, invert, chroma);
    double r, g, b;
    from_lab(lab, &r, &g, &b);
    cr = (float)r;
    cg = (float)g;
    cb = (float)b;
    if (partial) {
        cr *= a;
        cg *= a;
        cb *= a;
    }
    dst[i + blueAt] = cb;
    dst[i + 1] = cg;
    dst[i + redAt] = cr;
    dst[i + 3] = partial ? a : 1.0f;
}

// Byte RGBA, byte BGRA, float RGBA, float BGRA.
__kernel void k12a8acfc4(__global const uchar* src, __global uchar* dst, float lightness, float aOffset,
                         float bOffset, int invert, float chroma, int width, int height) {
    lab_bytes(src, dst, lightness, aOffset, bOffset, invert, chroma, width, height, 2);
}

__kernel void kfcb8ef671(__global const uchar* src, __global uchar* dst, float lightness, float aOffset,
                         float bOffset, int invert, float chroma, int width, int height) {
    lab_bytes(src, dst, lightness, aOffset, bOffset, invert, chroma, width, height, 0);
}

__kernel void k0d1dbcf7c(__global const float* src, __global float* dst, float lightness, float aOffset,
                         float bOffset, int invert, float chroma, int width, int height) {
    lab_floats(src, dst, lightness, aOffset, bOffset, invert, chroma, width, height, 2);
}

__kernel void k5db2d01e8(__global const float* src, __global float* dst, float lightness, float aOffset,
                         float bOffset, int invert, float chroma, int width, int height) {
    lab_floats(src, dst, lightness, aOffset, bOffset, invert, chroma, width, height, 0);
}
