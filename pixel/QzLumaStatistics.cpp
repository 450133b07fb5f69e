#include "QzLumaStatistics.h"

#include <algorithm>
#include <cmath>

#include "QzByteDivide.h"

namespace qz {

void LevelHistogram::addLevel(float level) {
    const float top = static_cast<float>(counts_.size() - 1);
    const float scaled = level > 0.0f ? std::min(level, 1.0f) * top : 0.0f;
    addBin(static_cast<int>(scaled + 0.5f));
}

std::optional<float> LevelHistogram::lowLevel(double tail) const {
    if (total_ == 0) return std::nullopt;
    const double needed = tail * static_cast<double>(total_);
    uint64_t running = 0;
    for (size_t i = 0; i < counts_.size(); ++i) {
        running += counts_[i];
        if (running > 0 && static_cast<double>(running) >= needed) return levelOf(i);
    }
    return levelOf(counts_.size() - 1);
}

std::optional<float> LevelHistogram::highLevel(double tail) const {
    if (total_ == 0) return std::nullopt;
    const double needed = tail * static_cast<double>(total_);
    uint64_t running = 0;
    for (size_t i = counts_.size(); i-- > 0;) {
        running += counts_[i];
        if (running > 0 && static_cast<double>(running) >= needed) return levelOf(i);
    }
    return levelOf(0);
}

namespace {

constexpr float kAlphaFloor = 1e-6f;

// The storage indexes of red and blue; green is 1 and alpha 3 in both orders.
struct ChannelOrder {
    int red;
    int blue;
};

ChannelOrder channelOrder(bool bgra) { return bgra ? ChannelOrder{2, 0} : ChannelOrder{0, 2}; }

// Calls visit(level) with the integer luma 0..255 of each visible byte pixel.
template <class Visit>
void forEachByteLuma(const RawView& view, bool bgra, Visit visit) {
    const ChannelOrder order = channelOrder(bgra);
    const qz::ByteDivider divider;
    const auto* base = static_cast<const unsigned char*>(view.base);
    for (int y = view.bounds.top; y < view.bounds.bottom; ++y) {
        const unsigned char* p =
            base + static_cast<intptr_t>(y) * view.stride + static_cast<intptr_t>(view.bounds.left) * 4;
        for (int x = view.bounds.left; x < view.bounds.right; ++x, p += 4) {
            const uint32_t a = p[3];
            if (a == 0) continue;
            uint32_t r = p[order.red], g = p[1], b = p[order.blue];
            if (a != 255) {
                r = std::min<uint32_t>(255, divider.divide(r * 255, a));
                g = std::min<uint32_t>(255, divider.divide(g * 255, a));
                b = std::min<uint32_t>(255, divider.divide(b * 255, a));
            }
            visit(static_cast<int>((299 * r + 587 * g + 114 * b + 500) / 1000));
        }
    }
}

// Calls visit(luma) with the luma of each visible float pixel.
template <class Visit>
void forEachFloatLuma(const RawView& view, bool bgra, Visit visit) {
    const ChannelOrder order = channelOrder(bgra);
    const auto* base = static_cast<const unsigned char*>(view.base);
    for (int y = view.bounds.top; y < view.bounds.bottom; ++y) {
        const auto* p = reinterpret_cast<const float*>(base + static_cast<intptr_t>(y) * view.stride +
                                                       static_cast<intptr_t>(view.bounds.left) * 16);
        for (int x = view.bounds.left; x < view.bounds.right; ++x, p += 4) {
            const float a = p[3];
            if (!(a > kAlphaFloor)) continue;
            const float luma = 0.299f * p[order.red] + 0.587f * p[1] + 0.114f * p[order.blue];
            visit(a < 1.0f ? luma / a : luma);
        }
    }
}

bool holdsBytes(const RawView& view) { return view.base && view.bytesPerPixel == 4; }
bool holdsFloats(const RawView& view) { return view.base && view.bytesPerPixel == 16; }

}  // namespace

LevelHistogram lumaHistogram(const RawView& view, bool bgra) {
    if (holdsFloats(view)) {
        LevelHistogram histogram(kFloatLevels);
        forEachFloatLuma(view, bgra, [&](float luma) { histogram.addLevel(luma); });
        return histogram;
    }
    LevelHistogram histogram(kByteLevels);
    if (holdsBytes(view)) forEachByteLuma(view, bgra, [&](int level) { histogram.addBin(level); });
    return histogram;
}

std::optional<LevelRange> lumaExtremes(const RawView& view, bool bgra) {
    if (holdsBytes(view)) {
        // The byte levels are the histogram's own bins: its ends are exact.
        return lumaPercentiles(view, bgra, 0.0);
    }
    if (!holdsFloats(view)) return std::nullopt;
    bool seen = false;
    LevelRange range{0.0f, 0.0f};
    forEachFloatLuma(view, bgra, [&](float luma) {
        if (std::isnan(luma)) return;
        if (!seen) {
            range = {luma, luma};
            seen = true;
        }
        range.low = std::min(range.low, luma);
        range.high = std::max(range.high, luma);
    });
    if (!seen) return std::nullopt;
    return range;
}

std::optional<LevelRange> lumaPercentiles(const RawView& view, bool bgra, double tail) {
    const LevelHistogram histogram = lumaHistogram(view, bgra);
    const std::optional<float> low = histogram.lowLevel(tail);
    const std::optional<float> high = histogram.highLevel(tail);
    if (!low || !high) return std::nullopt;
    return LevelRange{*low, *high};
}

}  // namespace qz
