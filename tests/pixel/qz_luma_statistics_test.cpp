#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <vector>

#include "QzLumaStatistics.h"

namespace {

// One row of RGBA pixels as the raw view of an image.
template <class T>
qz::RawView rowView(std::vector<T>& pixels) {
    const int width = static_cast<int>(pixels.size() / 4);
    qz::RawView view;
    view.base = pixels.data();
    view.bounds = RECT{0, 0, width, 1};
    view.bytesPerPixel = static_cast<int32_t>(4 * sizeof(T));
    view.stride = width * view.bytesPerPixel;
    return view;
}

TEST(LevelHistogram, TailsCountFromEachEndAndNeverCross) {
    qz::LevelHistogram histogram(256);
    EXPECT_FALSE(histogram.lowLevel(0.0).has_value());
    for (int bin : {10, 20, 20, 30, 250}) histogram.addBin(bin);
    EXPECT_EQ(histogram.lowLevel(0.0), 10 / 255.0f);
    EXPECT_EQ(histogram.highLevel(0.0), 250 / 255.0f);
    // 0.3 of five pixels is 1.5: two pixels from each end are needed.
    EXPECT_EQ(histogram.lowLevel(0.3), 20 / 255.0f);
    EXPECT_EQ(histogram.highLevel(0.3), 30 / 255.0f);
    // Half from each end meets at the median.
    EXPECT_EQ(histogram.lowLevel(0.5), 20 / 255.0f);
    EXPECT_EQ(histogram.highLevel(0.5), 20 / 255.0f);

    // Levels round to the nearest bin; outside 0..1 and NaN go to the ends.
    qz::LevelHistogram levels(4096);
    for (float level : {-1.0f, NAN, 2.0f, 0.25f}) levels.addLevel(level);
    EXPECT_EQ(levels.count(0), 2u);
    EXPECT_EQ(levels.count(4095), 1u);
    EXPECT_EQ(levels.count(1024), 1u);
}

TEST(LumaStatistics, BytesUnpremultiplyInTheirOrderAndSkipTransparentPixels) {
    std::vector<uint8_t> pixels{
        200, 0,   0,   255,  // (299 * 200 + 500) / 1000 = 60 as red, 23 as blue
        100, 100, 100, 128,  // unpremultiplied 100 * 255 / 128 = 199
        255, 255, 255, 0,    // shows nothing
        0,   200, 0,   255,  // green: 117 in both orders
    };
    const qz::RawView view = rowView(pixels);
    const qz::LevelHistogram histogram = qz::lumaHistogram(view, false);
    EXPECT_EQ(histogram.total(), 3u);
    EXPECT_EQ(histogram.count(60), 1u);
    EXPECT_EQ(histogram.count(199), 1u);
    EXPECT_EQ(histogram.count(117), 1u);

    const auto rgba = qz::lumaExtremes(view, false);
    ASSERT_TRUE(rgba.has_value());
    EXPECT_EQ(rgba->low, 60 / 255.0f);
    EXPECT_EQ(rgba->high, 199 / 255.0f);
    const auto bgra = qz::lumaPercentiles(view, true, 0.0);
    ASSERT_TRUE(bgra.has_value());
    EXPECT_EQ(bgra->low, 23 / 255.0f);
    EXPECT_EQ(bgra->high, 199 / 255.0f);

    std::vector<uint8_t> clear{9, 9, 9, 0};
    EXPECT_FALSE(qz::lumaExtremes(rowView(clear), false).has_value());
}

TEST(LumaStatistics, FloatsKeepExactExtremesAndClampInTheHistogram) {
    std::vector<float> pixels{
        0.5f,  0.5f,  0.5f,  0.5f,   // unpremultiplied: 1
        2.0f,  2.0f,  2.0f,  1.0f,   // above 1, kept by the extremes
        0.25f, 0.25f, 0.25f, 2.0f,   // alpha above 1: the colour as it is
        9.0f,  9.0f,  9.0f,  1e-6f,  // no alpha: not counted
    };
    const qz::RawView view = rowView(pixels);
    const auto extremes = qz::lumaExtremes(view, false);
    ASSERT_TRUE(extremes.has_value());
    EXPECT_FLOAT_EQ(extremes->low, 0.25f);
    EXPECT_FLOAT_EQ(extremes->high, 2.0f);
    // In the histogram 0.25 is bin round(0.25 * 4095) = 1024, and 2 the top.
    const auto percentiles = qz::lumaPercentiles(view, false, 0.0);
    ASSERT_TRUE(percentiles.has_value());
    EXPECT_EQ(percentiles->low, 1024 / 4095.0f);
    EXPECT_EQ(percentiles->high, 1.0f);

    // A view of another pixel size counts nothing.
    qz::RawView other = view;
    other.bytesPerPixel = 8;
    EXPECT_FALSE(qz::lumaExtremes(other, false).has_value());
    EXPECT_EQ(qz::lumaHistogram(other, false).total(), 0u);
}

}  // namespace
