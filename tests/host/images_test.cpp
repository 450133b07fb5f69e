// Host-owned images: OFX row addressing with padded and negative row bytes,
// exact conversions, the test frame, and (with OpenImageIO) files.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <fstream>

#include "HostTestSupport.h"
#include "ofxhost/Image.h"
#include "ofxhost/ImageIO.h"
#include "ofxhost/Status.h"

using namespace ofxhost;

namespace {

TEST(ImageBuffer, RowsFollowOfxAddressingInEveryLayout) {
    for (Layout layout : {Layout{}, Layout{12, false}, Layout{0, true}, Layout{8, true}}) {
        ImageBuffer img(RectI{-2, 3, 5, 7}, Depth::Float, PixelOrder::RGBA, layout);
        const std::ptrdiff_t packed = 7 * 16;
        EXPECT_EQ(std::abs(img.rowBytes()), packed + layout.rowPadding);
        EXPECT_EQ(img.rowBytes() < 0, layout.negativeRowBytes);
        // Pixel (x, y) is at data + (y - y1) * rowBytes + (x - x1) * 16.
        auto* base = static_cast<std::byte*>(img.data());
        EXPECT_EQ(img.pixelAddress(4, 6), base + 3 * img.rowBytes() + 6 * 16);
        EXPECT_EQ(img.pixelAddress(5, 6), nullptr);
        EXPECT_EQ(img.pixelAddress(-2, 7), nullptr);
        EXPECT_EQ(img.pixelAddress(-3, 3), nullptr);
        img.setFloat(-2, 3, 0, 1.5f);
        img.setFloat(4, 6, 3, -2.0f);
        EXPECT_EQ(img.floatAt(-2, 3, 0), 1.5f);
        EXPECT_EQ(img.floatAt(4, 6, 3), -2.0f);
    }
}

TEST(ImageBuffer, MisuseThrows) {
    EXPECT_THROW(ImageBuffer(4, 4, Depth::Byte, PixelOrder::RGBA, Layout{3, false}), Error);
    EXPECT_THROW(ImageBuffer(-1, 4, Depth::Byte, PixelOrder::RGBA), Error);
    ImageBuffer b(2, 2, Depth::Byte, PixelOrder::RGBA);
    EXPECT_THROW(b.floatAt(0, 0, 0), Error);
    EXPECT_THROW(b.byteAt(2, 0, 0), Error);
    EXPECT_THROW(b.byteAt(0, 0, 4), Error);
}

TEST(ImageBuffer, BgraStoresBlueFirst) {
    ImageBuffer img(1, 1, Depth::Byte, PixelOrder::BGRA);
    img.setByte(0, 0, 0, 10);  // red
    img.setByte(0, 0, 2, 30);  // blue
    img.setByte(0, 0, 3, 40);
    const auto* p = static_cast<const std::uint8_t*>(img.data());
    EXPECT_EQ(p[0], 30);
    EXPECT_EQ(p[2], 10);
    EXPECT_EQ(p[3], 40);
}

TEST(ImageBuffer, ConversionsAreExact) {
    ImageBuffer bytes(256, 1, Depth::Byte, PixelOrder::RGBA);
    for (int x = 0; x < 256; ++x)
        for (int c = 0; c < 4; ++c) bytes.setByte(x, 0, c, std::uint8_t(x));
    // Byte -> float -> byte is the identity, whatever the order and layout.
    const ImageBuffer f = bytes.converted(Depth::Float, PixelOrder::BGRA, Layout{16, true});
    EXPECT_EQ(f.floatAt(255, 0, 2), 1.0f);
    EXPECT_EQ(f.floatAt(51, 0, 0), 51 / 255.0f);
    const ImageBuffer back = f.converted(Depth::Byte, PixelOrder::RGBA);
    EXPECT_TRUE(back.samePixels(bytes));
    // Float -> byte clamps and rounds to nearest.
    ImageBuffer odd(4, 1, Depth::Float, PixelOrder::RGBA);
    odd.setFloat(0, 0, 0, -0.5f);
    odd.setFloat(1, 0, 0, 2.0f);
    odd.setFloat(2, 0, 0, 0.5f / 255.0f + 1e-6f);
    odd.setFloat(3, 0, 0, std::nanf(""));
    const ImageBuffer ob = odd.converted(Depth::Byte, PixelOrder::RGBA);
    EXPECT_EQ(ob.byteAt(0, 0, 0), 0);
    EXPECT_EQ(ob.byteAt(1, 0, 0), 255);
    EXPECT_EQ(ob.byteAt(2, 0, 0), 1);
    EXPECT_EQ(ob.byteAt(3, 0, 0), 0);
    // Float to float keeps every bit, negative zero and all.
    odd.setFloat(0, 0, 1, -0.0f);
    EXPECT_TRUE(std::signbit(odd.clone().floatAt(0, 0, 1)));
}

TEST(ImageBuffer, TestFrameIsPremultipliedAndDeterministic) {
    const ImageBuffer a = ImageBuffer::testFrame(64, 32, Depth::Byte, PixelOrder::BGRA, 7);
    const ImageBuffer b = ImageBuffer::testFrame(64, 32, Depth::Byte, PixelOrder::BGRA, 7);
    const ImageBuffer c = ImageBuffer::testFrame(64, 32, Depth::Byte, PixelOrder::BGRA, 8);
    EXPECT_TRUE(a.samePixels(b));
    EXPECT_FALSE(a.samePixels(c));
    int distinct = 0;
    for (int y = 0; y < 32; ++y)
        for (int x = 0; x < 64; ++x) {
            for (int ch = 0; ch < 3; ++ch) EXPECT_LE(a.byteAt(x, y, ch), a.byteAt(x, y, 3));
            distinct += a.byteAt(x, y, 0) != a.byteAt(0, 0, 0);
        }
    EXPECT_GT(distinct, 1000);
    const ImageBuffer f = ImageBuffer::testFrame(64, 32, Depth::Float, PixelOrder::RGBA, 7);
    EXPECT_EQ(f.floatAt(10, 10, 1), a.byteAt(10, 10, 1) / 255.0f);
}

TEST(ImageBuffer, ResizePicksNearestPixels) {
    ImageBuffer img(4, 2, Depth::Byte, PixelOrder::RGBA);
    for (int x = 0; x < 4; ++x) img.setByte(x, 1, 0, std::uint8_t(10 * x));
    // Each output pixel takes the source pixel under its centre: output x 0
    // of 2 has its centre at source x 1.0, output y 0 of 1 at source y 1.0.
    const ImageBuffer half = img.resized(2, 1);
    EXPECT_EQ(half.width(), 2);
    EXPECT_EQ(half.byteAt(0, 0, 0), 10);
    EXPECT_EQ(half.byteAt(1, 0, 0), 30);
    const ImageBuffer up = img.resized(8, 4);
    EXPECT_EQ(up.byteAt(7, 3, 0), 30);
    EXPECT_EQ(up.byteAt(2, 3, 0), 10);
    EXPECT_EQ(up.byteAt(2, 1, 0), 0);
}

class ImageFiles : public ::testing::Test {
protected:
    void SetUp() override {
        if (!imageFilesSupported()) GTEST_SKIP() << "built without OpenImageIO";
    }
    hosttest::TempDir dir;
};

TEST_F(ImageFiles, TiffAndExrRoundTripBitExact) {
    // Values no 8-bit file could hold, straight alpha, negative and above one.
    ImageBuffer f = ImageBuffer::testFrame(17, 9, Depth::Float, PixelOrder::RGBA, 3);
    f.setFloat(0, 0, 0, -0.125f);
    f.setFloat(1, 0, 1, 3.0e7f);
    f.setFloat(2, 0, 0, 0.9f);
    f.setFloat(2, 0, 3, 0.1f);
    for (const char* name : {"f.tif", "f.exr"}) {
        writeImage(dir.file(name), f);
        EXPECT_EQ(fileDepth(dir.file(name)), Depth::Float);
        const ImageBuffer back = readImage(dir.file(name), Depth::Float, PixelOrder::BGRA);
        EXPECT_TRUE(back.samePixels(f)) << name;
    }
    const ImageBuffer b = ImageBuffer::testFrame(17, 9, Depth::Byte, PixelOrder::BGRA, 4);
    writeImage(dir.file("b.tif"), b);
    EXPECT_EQ(fileDepth(dir.file("b.tif")), Depth::Byte);
    EXPECT_TRUE(readImage(dir.file("b.tif"), Depth::Byte).samePixels(b));
}

TEST_F(ImageFiles, FilesStoreTheTopRowFirst) {
    // OFX's top row (y = 1) must be the file's first: a binary PPM shows it.
    ImageBuffer marked(2, 2, Depth::Byte, PixelOrder::RGBA);
    marked.setByte(0, 1, 0, 200);
    marked.setByte(1, 0, 1, 100);
    writeImage(dir.file("m.ppm"), marked);
    std::ifstream raw(dir.file("m.ppm"), std::ios::binary);
    std::string magic, maxval;
    int w = 0, h = 0;
    raw >> magic >> w >> h >> maxval;
    raw.get();
    unsigned char px[12] = {};
    raw.read(reinterpret_cast<char*>(px), sizeof px);
    EXPECT_EQ(magic, "P6");
    EXPECT_EQ(px[0], 200);      // first pixel of the file: (0, top)
    EXPECT_EQ(px[6 + 4], 100);  // last pixel of the file: (1, bottom), green
}

TEST_F(ImageFiles, PngIsStraightAlphaOnDisk) {
    ImageBuffer img(1, 1, Depth::Byte, PixelOrder::RGBA);
    img.setByte(0, 0, 0, 64);  // premultiplied: 128 at alpha 128
    img.setByte(0, 0, 3, 128);
    writeImage(dir.file("p.png"), img);
    const ImageBuffer back = readImage(dir.file("p.png"), Depth::Byte);
    EXPECT_NEAR(back.byteAt(0, 0, 0), 64, 1);
    EXPECT_EQ(back.byteAt(0, 0, 3), 128);
    EXPECT_EQ(fileDepth(dir.file("p.png")), Depth::Byte);
}

TEST_F(ImageFiles, FailuresLeaveNoFileBehind) {
    const ImageBuffer img(2, 2, Depth::Byte, PixelOrder::RGBA);
    EXPECT_THROW(writeImage(dir.file("x.unknownformat"), img), Error);
    EXPECT_THROW(writeImage(dir.file("nodir/x.png"), img), Error);
    EXPECT_THROW(readImage(dir.file("missing.exr"), Depth::Float), Error);
    std::ofstream(dir.file("junk.png")) << "not a png";
    EXPECT_THROW(readImage(dir.file("junk.png"), Depth::Byte), Error);
    {
        PendingImage pending(dir.file("pending.tif"), img);
        EXPECT_EQ(dir.entries().size(), 2u);  // junk.png and the hidden temporary
    }
    EXPECT_EQ(dir.entries(), std::vector<std::string>{"junk.png"});
}

}  // namespace
