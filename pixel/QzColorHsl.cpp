// HSL in double precision: the ordinary pair (8-bit and float) and the
// range-tolerant pair of the float colour filters.
#include <algorithm>
#include <cmath>

#include "QzDib.h"

namespace {

// Note: a hair under 1/255 (the digits stop early): some bytes (33, 132 and
// others) scale to just below their level and truncate back one lower.
// Results depend on it.
constexpr double kByteScale = 0.00392156862745098;
// Note: the division by 6 is this multiplication; the two differ in the last
// bit for some hues.
constexpr double kSixth = 0.16666666666666666;
// The f32 value of 1e-6, widened: the float pair's nudge and dead band.
constexpr double kNudge = static_cast<double>(1e-6f);

// The hue of the six sectors, k being 1 / (mx - mn). The test order is
// fixed because ties pick the earlier branch: pure red (green and blue both
// at the minimum) takes the first one and reads as hue 1.0, not 0.
double hueOf(double r, double g, double b, double mx, double mn, double k) {
    if (r == mx) {
        if (g == mn) return ((mx - b) * k + 5.0) * kSixth;
        return (1.0 - (mx - g) * k) * kSixth;
    }
    if (g == mx) {
        if (b == mn) return ((mx - r) * k + 1.0) * kSixth;
        return (3.0 - (mx - b) * k) * kSixth;
    }
    if (r == mn) return ((mx - g) * k + 3.0) * kSixth;
    return (5.0 - (mx - r) * k) * kSixth;
}

void rgbToHsl(QZHSL& out, double r, double g, double b, double a) {
    const double mx = std::max(std::max(r, g), b);
    const double mn = std::min(std::min(r, g), b);
    out.a = a;
    out.l = (mn + mx) * 0.5;
    out.h = 0.0;
    out.s = 0.0;
    if (out.l <= 0.0) return;
    const double d = mx - mn;
    out.s = d;
    if (d <= 0.0) return;
    out.s = out.l <= 0.5 ? d / (mn + mx) : d / (2.0 - mx - mn);
    out.h = hueOf(r, g, b, mx, mn, 1.0 / d);
}

// One colour in the sextant form shared by the inverse conversions.
struct Rgb {
    double r, g, b;
};

// v is the maximum, m the minimum, t the rise within the sextant. Returns
// false when the sextant is past 6, where no colour is written.
bool sextant(Rgb& out, double hue, double v, double m, double t) {
    const double sext = std::trunc(hue * 6.0);
    // Past 6 nothing is written; so too for a sextant at or below -1 (and a
    // NaN hue), which no case matches.
    if (!(sext > -1.0 && sext <= 6.0)) return false;
    const double p = t + m;
    const double q = v - t;
    switch (static_cast<int>(sext)) {
        case 0:
        case 6: out = {v, p, m}; return true;
        case 1: out = {q, v, m}; return true;
        case 2: out = {m, v, p}; return true;
        case 3: out = {m, q, v}; return true;
        case 4: out = {p, m, v}; return true;
        default: out = {v, m, q}; return true;  // sextant 5
    }
}

double fractionOf(double hue) {
    const double h6 = hue * 6.0;
    return h6 - std::trunc(h6);
}

double valueOf(double s, double l) { return l <= 0.5 ? (s + 1.0) * l : (l + s) - l * s; }

// Truncation to a byte. In-range records never leave 0..255; anything
// beyond saturates instead of wrapping.
uint8_t truncByte(double v) {
    if (!(v > 0.0)) return 0;
    if (v >= 255.0) return 255;
    return static_cast<uint8_t>(v);
}

template <typename Pixel>
void floatToHsl(QZHSL* hsl, const Pixel* p) {
    rgbToHsl(*hsl, p->r, p->g, p->b, p->a);
}

// The float inverse of the ordinary pair.
template <typename Pixel>
void hslToFloat(Pixel* out, const QZHSL* hsl) {
    const double l = hsl->l;
    const double v = valueOf(hsl->s, l);
    out->a = static_cast<float>(hsl->a);
    if (v <= 0.0) {
        out->r = out->g = out->b = 0.0f;
        return;
    }
    const double m = l + l - v;
    Rgb c;
    if (!sextant(c, hsl->h, v, m, fractionOf(hsl->h) * (v - m))) return;
    out->r = static_cast<float>(c.r);
    out->g = static_cast<float>(c.g);
    out->b = static_cast<float>(c.b);
}

}  // namespace

extern "C" void QZRGBA_To_QZHSL(QZHSL* hsl, const QZRGBA* rgba) {
    rgbToHsl(*hsl, rgba->r * kByteScale, rgba->g * kByteScale, rgba->b * kByteScale, rgba->a * kByteScale);
}

extern "C" void QZHSL_To_QZRGBA(QZRGBA* rgba, const QZHSL* hsl) {
    const double l = hsl->l;
    const double v = valueOf(hsl->s, l);
    rgba->a = truncByte(hsl->a * 255.0);
    if (v <= 0.0) {
        rgba->r = rgba->g = rgba->b = 0;
        return;
    }
    const double m = l + l - v;
    // Note: the 8-bit path computes the rise as ((v - m) / v) * v * f, not
    // f * (v - m) as the float path does; the two differ in the last bit.
    const double t = ((v - m) / v) * v * fractionOf(hsl->h);
    Rgb c;
    if (!sextant(c, hsl->h, v, m, t)) return;
    rgba->r = truncByte(c.r * 255.0);
    rgba->g = truncByte(c.g * 255.0);
    rgba->b = truncByte(c.b * 255.0);
}

extern "C" void QZRGBAFLOAT_To_QZHSL(QZHSL* hsl, const QZRGBAFLOAT* rgba) { floatToHsl(hsl, rgba); }
extern "C" void QZHSL_To_QZRGBAFLOAT(QZRGBAFLOAT* rgba, const QZHSL* hsl) { hslToFloat(rgba, hsl); }
extern "C" void QZDIBPIXEL_To_QZHSL(QZHSL* hsl, const QZDIBPIXEL* pixel) { floatToHsl(hsl, pixel); }
extern "C" void QZHSL_To_QZDIBPIXEL(QZDIBPIXEL* pixel, const QZHSL* hsl) { hslToFloat(pixel, hsl); }

// Over- and under-range pixels must keep apart from their in-range
// neighbours and come back unchanged, so lightness outside 0..1 is carried
// by a negated saturation, and sums of maximum and minimum that sit right at
// 2 or 0 (where the saturation would divide by nothing) are nudged off by
// the f32 epsilon of 1e-6 in the working copies.
extern "C" void QZDIBPIXEL_To_QZHSL_Float(QZHSL* hsl, const QZDIBPIXEL* pixel) {
    double r = pixel->r, g = pixel->g, b = pixel->b;
    double mx = std::max(std::max(r, g), b);
    double mn = std::min(std::min(r, g), b);

    // Note: the open and half-open bounds are as the filters were tuned,
    // 2 - e and 2 + e spelt with their rounding.
    double s = mn + mx;
    bool moved = false;
    if (s > 1.9999990000000025 && s < 2.0) {
        mx -= kNudge;
        moved = true;
    } else if (s >= 2.0 && s < 2.0000009999999975) {
        mx += kNudge;
        moved = true;
    }
    if (moved) {
        if (r > g && r > b)
            r = mx;
        else if (g > b)
            g = mx;
        else
            b = mx;
    }

    s = mn + mx;
    moved = false;
    if (s > -kNudge && s < 0.0) {
        mn -= kNudge;
        moved = true;
    } else if (s >= 0.0 && s < kNudge) {
        mn += kNudge;
        moved = true;
    }
    if (moved) {
        if (g > r && b > r)
            r = mn;
        else if (b > g)
            g = mn;
        else
            b = mn;
    }

    const double d = mx - mn;
    hsl->a = pixel->a;
    hsl->l = (mn + mx) * 0.5;
    hsl->s = d;
    hsl->h = 0.0;
    if (-kNudge <= d && d < kNudge) return;
    double sat = hsl->l <= 0.5 ? d / (mn + mx) : d / (2.0 - mx - mn);
    if (hsl->l < 0.0 || hsl->l > 1.0) sat = -sat;
    hsl->s = sat;
    hsl->h = hueOf(r, g, b, mx, mn, 1.0 / d);
}

extern "C" void QZHSL_To_QZDIBPIXEL_Float(QZDIBPIXEL* pixel, QZHSL* hsl) {
    const double l = hsl->l;
    double s = hsl->s;
    double v;
    if (l <= 0.5) {
        if (l < 0.0) s = -s;
        v = (s + 1.0) * l;
    } else {
        if (l > 1.0) s = -s;
        v = l + s - l * s;
    }
    hsl->s = s;
    pixel->a = static_cast<float>(hsl->a);
    // No test of v here: an under-range maximum is a colour like any other.
    const double m = l + l - v;
    Rgb c;
    if (!sextant(c, hsl->h, v, m, fractionOf(hsl->h) * (v - m))) return;
    pixel->r = static_cast<float>(c.r);
    pixel->g = static_cast<float>(c.g);
    pixel->b = static_cast<float>(c.b);
}
