// Saturation Adjust on packed rows (row y starts at y * width * 4
// components), one work item per pixel. The luma weights tell red from blue,
// so each depth has a kernel per pixel order (RGBA, then BGRA), chosen by the
// render. The launch rounds the global size up, hence the guards.
//
// Low, High and Amount pass through float on the processor too. Center and
// Spread place the knots: for values not exact in float the knots move by a
// float's rounding, and a byte colour whose double lies that close to an
// integer could truncate one level apart.

#include "prelude.inc"

// The change of saturation at measure d: five knots, flat Hermite segments
// between them (both tangents 0). The knot values pass through float.
double sa_curve(double d, float low, float high, float amount, float center, float spread) {
    const double c = center;
    const double reach = (double)spread / 2.0;
    const double left = c - reach;
    const double right = c + reach;
    const double x[5] = {0.0, 0.0 < left ? left : 0.0, c, right < 1.0 ? right : 1.0, 1.0};
    const float y[5] = {low, low, amount, high, high};
    int i = 1;
    while (i < 4 && !(x[i] > d)) ++i;
    // A segment of zero length starts at its left value.
    const double t = x[i] == x[i - 1] ? 0.0 : (d - x[i - 1]) / (x[i] - x[i - 1]);
    const double t2 = t * t;
    const double t3 = t2 * t;
    return (2.0 * t3 - 3.0 * t2 + 1.0) * (double)y[i - 1] + (3.0 * t2 - 2.0 * t3) * (double)y[i];
}

// The luma-preserving saturation matrix on the colours as stored
// (premultiplied, no division by alpha), scaled by 1 + the curve's change
// at the pixel's saturation measure. `out` is blue, green, red.
void sa_adjust(double c0, double c1, double c2, double scale, float low, float high, float amount, float center,
               float spread, double* out) {
    const double luma = 0.299 * c2 + 0.587 * c1 + 0.114 * c0;
    const double dg = luma - c1;
    const double dr = luma - c2;
    const double db = luma - c0;
    const double s = sa_curve(sqrt(dg * dg + dr * dr + db * db) / scale, low, high, amount, center, spread) + 1.0;
    const double r = 1.0 - s;
    out[2] = (r * 0.299 + s) * c2 + r * 0.587 * c1 + r * 0.114 * c0;
    out[1] = (r * 0.587 + s) * c1 + r * 0.299 * c2 + r * 0.114 * c0;
    out[0] = (r * 0.114 + s) * c0 + r * 0.299 * c2 + r * 0.587 * c1;
}

// `blue` and `red` are the storage indices of those colours.
void sa_byte(__global const uchar* src, __global uchar* dst, int i, int blue, int red, float low, float high,
             float amount, float center, float spread) {
    double v[3];
    sa_adjust(src[i + blue], src[i + 1], src[i + red], sqrt(55902.447675), low, high, amount, center, spread, v);
    const double a = src[i + 3];
    const int at[3] = {blue, 1, red};
    // Held within 0..alpha so that the result stays premultiplied.
    for (int c = 0; c < 3; ++c) dst[i + at[c]] = (uchar)(v[c] < 0.0 ? 0.0 : (v[c] > a ? a : v[c]));
    dst[i + 3] = src[i + 3];
}

void sa_float(__global const float* src, __global float* dst, int i, int blue, int red, float low, float high,
              float amount, float center, float spread) {
    double v[3];
    sa_adjust(src[i + blue], src[i + 1], src[i + red], sqrt(0.859707), low, high, amount, center, spread, v);
    // Out of range colours go out as they are.
    dst[i + blue] = (float)v[0];
    dst[i + 1] = (float)v[1];
    dst[i + red] = (float)v[2];
    dst[i + 3] = src[i + 3];
}

__kernel void k4d92e6a07(__global const uchar* src, __global uchar* dst, float low, float high, float amount,
                         float center, float spread, int width, int height) {
    const int x = get_global_id(0);
    const int y = get_global_id(1);
    if (x >= width || y >= height) return;
    sa_byte(src, dst, (y * width + x) * 4, 2, 0, low, high, amount, center, spread);
}

__kernel void k91b05d3f8(__global const uchar* src, __global uchar* dst, float low, float high, float amount,
                         float center, float spread, int width, int height) {
    const int x = get_global_id(0);
    const int y = get_global_id(1);
    if (x >= width || y >= height) return;
    sa_byte(src, dst, (y * width + x) * 4, 0, 2, low, high, amount, center, spread);
}

__kernel void kc07f81e2b(__global const float* src, __global float* dst, float low, float high, float amount,
                         float center, float spread, int width, int height) {
    const int x = get_global_id(0);
    const int y = get_global_id(1);
    if (x >= width || y >= height) return;
    sa_float(src, dst, (y * width + x) * 4, 2, 0, low, high, amount, center, spread);
}

__kernel void k3e6a0c59d(__global const float* src, __global float* dst, float low, float high, float amount,
                         float center, float spread, int width, int height) {
    const int x = get_global_id(0);
    const int y = get_global_id(1);
    if (x >= width || y >= height) return;
    sa_float(src, dst, (y * width + x) * 4, 0, 2, low, high, amount, center, spread);
}
