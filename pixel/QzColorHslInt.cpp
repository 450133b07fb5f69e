// The integer HSL model of the colour dialogs: hue, saturation and
// lightness each 0 to 240, all arithmetic in integers with truncating
// division. The colour pickers store these words, so their exact values,
// quirks included, are what the user sees.
#include <algorithm>

#include "QzDib.h"

namespace {

constexpr int32_t kMax = 240;

int32_t byteAt(uint32_t word, int shift) { return static_cast<int32_t>((word >> shift) & 0xFF); }

// One channel from its hue position h in the double-hexcone; a and b are
// the low and high levels.
int32_t hueToLevel(int32_t a, int32_t b, uint32_t h) {
    // Only the wrap test sees the hue as unsigned: a position below zero
    // has wrapped to a huge value, stays above 160 and gives the low level,
    // which is where adding 240 would have put it too.
    if (h >= kMax) h -= kMax;
    if (h >= 160) return a;
    const auto hs = static_cast<int32_t>(h);
    if (hs < 40) return a + ((b - a) * hs + 20) / 40;
    if (hs < 120) return b;
    // Note: (b - a) * 160 - h, not (b - a) * (160 - h): the falling edge
    // overshoots and the stored words depend on it.
    return a + ((b - a) * 160 - hs + 20) / 40;
}

}  // namespace

extern "C" uint32_t QzRGBtoHSL(uint32_t rgbWord) {
    const int32_t r = byteAt(rgbWord, 0), g = byteAt(rgbWord, 8), b = byteAt(rgbWord, 16);
    const int32_t mx = std::max(std::max(r, g), b);
    const int32_t mn = std::min(std::min(r, g), b);
    const int32_t sum = mx + mn;
    const int32_t l = (sum * kMax + 256) >> 9;
    const int32_t d = mx - mn;
    int32_t h = 160, s = 0;
    if (d != 0) {
        // Note: 512, not 510 (twice the byte maximum): light colours come out
        // a little less saturated, and the stored words depend on it.
        const int32_t den = l < 121 ? sum : 512 - sum;
        s = (d * kMax + (den >> 1)) / den;
        const int32_t half = d >> 1;
        const int32_t rd = ((mx - r) * kMax / 6 + half) / d;
        const int32_t gd = ((mx - g) * kMax / 6 + half) / d;
        const int32_t bd = ((mx - b) * kMax / 6 + half) / d;
        if (r == mx)
            h = bd - gd;
        else if (g == mx)
            h = rd - bd + 80;
        else
            h = gd - rd + 160;
        if (h < 0) h += kMax;
        if (h > kMax) h -= kMax;
    }
    return static_cast<uint32_t>(h) | static_cast<uint32_t>(s) << 8 | static_cast<uint32_t>(l) << 16;
}

extern "C" uint32_t QzHSLtoRGB(uint32_t hslWord) {
    const int32_t h = byteAt(hslWord, 0), s = byteAt(hslWord, 8), l = byteAt(hslWord, 16);
    int32_t r, g, b;
    if (s == 0) {
        r = g = b = l * 255 / kMax;
    } else {
        const int32_t t2 = l > 120 ? l + s - (l * s + 120) / kMax : ((s + kMax) * l + 120) / kMax;
        const int32_t t1 = 2 * l - t2;
        const auto level = [&](uint32_t pos) { return (hueToLevel(t1, t2, pos) * 255 + 120) / kMax; };
        r = level(static_cast<uint32_t>(h) + 80);
        g = level(static_cast<uint32_t>(h));
        b = level(static_cast<uint32_t>(h) - 80);
    }
    // Each channel keeps its low byte, as the lanes of a colour word do.
    return (static_cast<uint32_t>(r) & 0xFF) | (static_cast<uint32_t>(g) & 0xFF) << 8 |
           (static_cast<uint32_t>(b) & 0xFF) << 16;
}
