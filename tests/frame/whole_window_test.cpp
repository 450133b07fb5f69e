// Effects whose work cannot be split by rows get the whole render window in
// one call, on one thread, whatever the number of the host's threads. Seen
// through Gaussian Blur, whose column pass needs every row of the window.
#include <gtest/gtest.h>

#include "EffectTest.h"

using namespace ondu1test;
using ofxhost::Depth;
using ofxhost::PixelOrder;

namespace {

// A parameter value as the effect reads it (no conversion of the text form).
ofxhost::ParamValue number(double v) {
    ofxhost::ParamValue value;
    value.n[0] = v;
    return value;
}

const char* const kGaussian = "talvo.effects:gaussianblur";

// A dark picture with one lit row: a vertical blur over the whole window
// carries its light to every row, while one split into bands would leave
// the bands without the row dark.
ofxhost::ImageBuffer litRow(int width, int height, int row) {
    ofxhost::ImageBuffer image(width, height, Depth::Float, PixelOrder::RGBA);
    for (int x = 0; x < width; ++x)
        for (int c = 0; c < 4; ++c) image.setFloat(x, row, c, 1.0f);
    return image;
}

ofxhost::ImageBuffer render(unsigned threads, const ofxhost::ImageBuffer& source,
                            std::optional<ofxhost::RectI> window = {}, bool abort = false) {
    ofxhost::HostConfig config;
    config.threads = threads;
    auto instance = filterOn(*loadEffect(quietHost(config), kGaussian), source);
    instance->setValue("HorizontalRange", number(0.0));
    instance->setValue("VerticalRange", number(0.5));
    instance->setAbort(abort);
    ofxhost::RenderOptions options;
    options.depth = Depth::Float;
    options.window = window;
    auto output = instance->makeOutput(options);
    EXPECT_EQ(instance->render(0.0, options, output), kOfxStatOK);
    return output;
}

TEST(WholeWindow, OneCallWhateverTheThreads) {
    const auto source = litRow(4, 24, 2);
    const auto one = render(1, source);
    // The filter rings a little: far rows may go just below 0, never stay 0.
    for (int y = 0; y < 24; ++y) EXPECT_NE(one.floatAt(1, y, 3), 0.0f) << "row " << y << " is reached";
    for (unsigned threads : {2u, 3u, 8u, 30u})
        EXPECT_EQ(firstDifference(render(threads, source), one), "") << threads << " threads";
}

// The call's window is the render window, with its own edges: a render of
// part of the picture equals a render of that part alone, and nothing
// outside it is written.
TEST(WholeWindow, TheWindowIsTheRenderWindow) {
    const auto source = ofxhost::ImageBuffer::testFrame(10, 30, Depth::Float, PixelOrder::RGBA, 4);
    const ofxhost::RectI window{2, 6, 9, 27};
    const auto part = render(4, source, window);
    ofxhost::ImageBuffer crop(7, 21, Depth::Float, PixelOrder::RGBA);
    for (int y = 0; y < 21; ++y)
        for (int x = 0; x < 7; ++x)
            for (int c = 0; c < 4; ++c) crop.setFloat(x, y, c, source.floatAt(x + 2, y + 6, c));
    const auto alone = render(1, crop);
    for (int y = 0; y < 30; ++y) {
        for (int x = 0; x < 10; ++x) {
            const bool inside = x >= 2 && x < 9 && y >= 6 && y < 27;
            for (int c = 0; c < 4; ++c)
                ASSERT_EQ(part.floatAt(x, y, c), inside ? alone.floatAt(x - 2, y - 6, c) : 0.0f) << x << "," << y;
        }
    }
}

// The host's abort reaches the one call: the effect stops before writing.
TEST(WholeWindow, AbortReachesTheCall) {
    const auto out = render(3, litRow(4, 12, 5), {}, true);
    for (int y = 0; y < 12; ++y) EXPECT_EQ(out.floatAt(0, y, 3), 0.0f) << y;
}

}  // namespace
