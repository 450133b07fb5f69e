// CIE L*a*b* from and to sRGB-encoded colour, in double precision, through
// XYZ with the D65 white.
#include <cmath>

#include "QzDib.h"

namespace {

constexpr double kByteScale = 0.00392156862745098;  // see QzColorHsl.cpp: a hair under 1/255

double srgbDecode(double c) { return c > 0.04045 ? std::pow((c + 0.055) / 1.055, 2.4) : c / 12.92; }
double srgbEncode(double c) { return c > 0.0031308 ? std::pow(c, 0.4166666666666667) * 1.055 - 0.055 : c * 12.92; }

// Note: the slope is the f32 value of 7.787 widened, while the inverse
// divides by the double 7.787. Both are kept.
double labForward(double t) {
    return t > 0.008856 ? std::pow(t, 0.3333333333333333) : t * 7.7870001792907715 + 0.13793103448275862;
}

double labInverse(double t) {
    const double cube = std::pow(t, 3.0);
    return cube > 0.008856 ? cube : (t - 0.13793103448275862) / 7.787;
}

void toLab(QZLAB* lab, double r, double g, double b) {
    r = srgbDecode(r);
    g = srgbDecode(g);
    b = srgbDecode(b);
    double x = 0.4124 * r + 0.3576 * g + 0.1805 * b;
    const double y = 0.2126 * r + 0.7152 * g + 0.0722 * b;
    double z = 0.0193 * r + 0.1192 * g + 0.9505 * b;
    // Note: the forward white point is the printed D65 figure; the inverse
    // uses its f32 rounding. White therefore does not map exactly to a and
    // b of 0, and L 100 does not map exactly back to white.
    x /= 0.95047;
    z /= 1.08883;
    const double fx = labForward(x), fy = labForward(y), fz = labForward(z);
    lab->L = 116.0 * fy - 16.0;
    lab->a = 500.0 * (fx - fy);
    lab->b = 200.0 * (fy - fz);
}

struct Rgb {
    double r, g, b;
};

Rgb fromLab(const QZLAB* lab) {
    const double fy = (lab->L + 16.0) / 116.0;
    const double fx = lab->a / 500.0 + fy;
    const double fz = fy - lab->b / 200.0;
    const double x = labInverse(fx) * 0.950469970703125;
    const double y = labInverse(fy);
    const double z = labInverse(fz) * 1.0888299942016602;
    // The sums keep the order in which the matrix has always been applied.
    return Rgb{srgbEncode(3.2406 * x - 1.5372 * y - 0.4986 * z), srgbEncode(1.8758 * y - 0.9689 * x + 0.0415 * z),
               srgbEncode(0.0557 * x - 0.204 * y + 1.057 * z)};
}

// Clamp to 0..1, scale, truncate (a NaN reads as 0).
uint8_t toByte(double c) {
    if (!(c > 0.0)) return 0;
    if (c >= 1.0) return 255;
    return static_cast<uint8_t>(c * 255.0);
}

}  // namespace

extern "C" void QZRGBA_To_QZLAB(QZLAB* lab, const QZRGBA* rgba) {
    toLab(lab, rgba->r * kByteScale, rgba->g * kByteScale, rgba->b * kByteScale);
}

// The float forms share one code: the conversion has no range limit of its
// own, so the range-tolerant form needs nothing more.
extern "C" void QZRGBAFLOAT_To_QZLAB(QZLAB* lab, const QZRGBAFLOAT* rgba) { toLab(lab, rgba->r, rgba->g, rgba->b); }
extern "C" void QZDIBPIXEL_To_QZLAB(QZLAB* lab, const QZDIBPIXEL* pixel) { toLab(lab, pixel->r, pixel->g, pixel->b); }
extern "C" void QZDIBPIXEL_To_QZLAB_Float(QZLAB* lab, const QZDIBPIXEL* pixel) {
    toLab(lab, pixel->r, pixel->g, pixel->b);
}

extern "C" void QZLAB_To_QZRGBA(QZRGBA* rgba, const QZLAB* lab) {
    const Rgb c = fromLab(lab);
    rgba->r = toByte(c.r);
    rgba->g = toByte(c.g);
    rgba->b = toByte(c.b);
}

extern "C" void QZLAB_To_QZDIBPIXEL_Float(QZDIBPIXEL* pixel, const QZLAB* lab) {
    const Rgb c = fromLab(lab);
    pixel->r = static_cast<float>(c.r);
    pixel->g = static_cast<float>(c.g);
    pixel->b = static_cast<float>(c.b);
}
