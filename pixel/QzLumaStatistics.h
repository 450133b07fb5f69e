// Levels of a picture for the automatic corrections (the analysis of
// Brightness and Contrast, the automatic curves of Color Curves).
//
// A pixel's level is the BT.601 luma (0.299 R + 0.587 G + 0.114 B) of its
// unpremultiplied colour: the level the viewer sees, whatever the pixel's
// coverage. Pixels without alpha (0 in bytes, at or below 1e-6 in floats)
// show nothing and are not counted. Float alpha below 1 divides the colour,
// alpha at or above 1 leaves it as it is, as the colour filters do.
//
// Byte images have the 256 levels of their bytes: the luma of the
// unpremultiplied bytes is rounded to an integer, (299 r + 587 g + 114 b +
// 500) / 1000, so a grey byte g has exactly the level g / 255. Float images
// keep their exact luma for the extremes and are sorted into 4096 levels for
// the histogram, values outside 0..1 going to the end bins.
//
// The functions read an image through its raw view (QzRawView.h): 4 bytes per
// pixel are bytes, 16 floats; any other size counts nothing.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "QzRawView.h"

namespace qz {

inline constexpr int kByteLevels = 256;
inline constexpr int kFloatLevels = 4096;

// A count of pixels per level; bin i stands for the level i / (bins - 1).
class LevelHistogram {
public:
    explicit LevelHistogram(int bins) : counts_(static_cast<size_t>(bins), 0) {}

    int bins() const { return static_cast<int>(counts_.size()); }
    uint64_t total() const { return total_; }
    uint64_t count(int bin) const { return counts_[static_cast<size_t>(bin)]; }

    void addBin(int bin) {
        ++counts_[static_cast<size_t>(bin)];
        ++total_;
    }
    // Counts a level of 0..1; levels outside (and NaN, as 0) go to the end bins.
    void addLevel(float level);

    // The lowest level at or below which at least `tail` of the counted
    // pixels lie, and the highest at or above which as many lie: a tail of 0
    // gives the first and last occupied levels. With `tail` at most 0.5 the
    // low level never passes the high one. Empty histograms give nothing.
    std::optional<float> lowLevel(double tail) const;
    std::optional<float> highLevel(double tail) const;

private:
    float levelOf(size_t bin) const { return static_cast<float>(bin) / static_cast<float>(counts_.size() - 1); }

    std::vector<uint64_t> counts_;
    uint64_t total_ = 0;
};

struct LevelRange {
    float low;
    float high;
};

// The luma histogram of the image's visible pixels: 256 bins for bytes,
// 4096 for floats.
LevelHistogram lumaHistogram(const RawView& view, bool bgra);

// The darkest and brightest visible luma; nothing when no pixel shows.
std::optional<LevelRange> lumaExtremes(const RawView& view, bool bgra);

// The luma range once `tail` (0 to 0.5) of the visible pixels is cut off at
// each end, from the histogram; nothing when no pixel shows.
std::optional<LevelRange> lumaPercentiles(const RawView& view, bool bgra, double tail);

}  // namespace qz
