#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "Image.h"
#include "RawView.h"

namespace {

TEST(ImageAddress, BoundsAreHalfOpen) {
    std::vector<uint8_t> pixels(4 * 3 * 2);
    const OfxRectI bounds{10, 20, 13, 22};
    OFX::Image image(pixels.data(), 12, 1.0, bounds, bounds);
    EXPECT_EQ(image.getPixelAddress(10, 20), pixels.data());
    EXPECT_EQ(image.getPixelAddress(12, 21), pixels.data() + 12 + 8);
    EXPECT_EQ(image.getPixelAddress(13, 20), nullptr);
    EXPECT_EQ(image.getPixelAddress(9, 20), nullptr);
    EXPECT_EQ(image.getPixelAddress(10, 22), nullptr);
    EXPECT_EQ(image.getPixelAddress(10, 19), nullptr);
}

TEST(ImageAddress, NegativeRowBytesWalkUpward) {
    std::vector<uint8_t> pixels(4 * 2 * 3);
    uint8_t* bottomRow = pixels.data() + 2 * 8;
    OFX::Image image(bottomRow, -8, 1.0, {0, 0, 2, 3}, {0, 0, 2, 3});
    EXPECT_EQ(image.getPixelAddress(0, 0), bottomRow);
    EXPECT_EQ(image.getPixelAddress(1, 2), pixels.data() + 4);
}

TEST(ImageAddress, BitmapImagesAreOpaqueBytes) {
    uint8_t pixel[4] = {};
    OFX::Image image(pixel, 4, 2.0, {0, 0, 1, 1}, {0, 0, 1, 1});
    EXPECT_EQ(image.getPixelDepth(), OFX::eBitDepthUByte);
    EXPECT_EQ(image.getPixelComponents(), OFX::ePixelComponentRGBA);
    EXPECT_EQ(image.getPreMultiplication(), OFX::eImageOpaque);
    EXPECT_EQ(image.getUniqueIdentifier(), "0");
    EXPECT_EQ(image.getPixelAspectRatio(), 2.0);
    EXPECT_EQ(image.getRenderScale().x, 1.0);
}

TEST(RawView, AnchorsAtTheOriginSoWindowsAddressAnyBounds) {
    std::vector<uint8_t> pixels(4 * 4 * 2);
    const OfxRectI bounds{100, 50, 104, 52};
    OFX::Image image(pixels.data(), 16, 1.0, bounds, bounds);
    const OFX::RawView view = OFX::rawView(&image);
    EXPECT_EQ(view.bounds.left, 100);
    EXPECT_EQ(view.bounds.bottom, 52);
    uint8_t* base = static_cast<uint8_t*>(view.base);
    EXPECT_EQ(base + 51 * 16 + 102 * 4, image.getPixelAddress(102, 51));
}

TEST(RawView, ClipsWindowsToTheImage) {
    std::vector<uint8_t> pixels(16);
    OFX::Image image(pixels.data(), 8, 1.0, {0, 0, 2, 2}, {0, 0, 2, 2});
    const OfxRectI inside = OFX::clipToImage({-5, 1, 9, 9}, &image);
    EXPECT_EQ(inside.x1, 0);
    EXPECT_EQ(inside.y1, 1);
    EXPECT_EQ(inside.x2, 2);
    EXPECT_EQ(inside.y2, 2);
    const OfxRectI outside = OFX::clipToImage({5, 5, 9, 9}, &image);
    EXPECT_EQ(outside.x2 - outside.x1, 0);
    EXPECT_FALSE(OFX::hasPixels(&image, 16)) << "a float processor must not write into a byte image";
    EXPECT_TRUE(OFX::hasPixels(&image, 4));
}

}  // namespace
