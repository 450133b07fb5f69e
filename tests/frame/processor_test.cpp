// The threaded processor through the host's real thread pool: how the render
// window's rows are split, and which steps a render window runs, reported by
// the probe effect of the test bundle.
#include <gtest/gtest.h>

#include <algorithm>

#include "EffectTest.h"

using namespace ondu1test;

namespace {

struct ProbeRun {
    std::vector<std::string> steps;  // sorted: bands are reported from several threads
    ofxhost::ImageBuffer output;
};

ProbeRun runProbe(unsigned threads, int width, int height, std::optional<ofxhost::RectI> window = {}) {
    ofxhost::HostConfig config;
    config.threads = threads;
    auto host = quietHost(config);
    auto plugin = loadEffect(host, "ondu1.test:probe", ONDU1_TEST_BUNDLE_DIR);
    auto instance =
        filterOn(*plugin, ofxhost::ImageBuffer(width, height, ofxhost::Depth::Float, ofxhost::PixelOrder::RGBA));
    ofxhost::RenderOptions options;
    options.depth = ofxhost::Depth::Float;
    options.window = window;
    ProbeRun run{{}, instance->makeOutput(options)};
    EXPECT_EQ(instance->render(0.0, options, run.output), kOfxStatOK);
    for (const auto& message : host->messages()) run.steps.push_back(message.text);
    std::sort(run.steps.begin(), run.steps.end());
    return run;
}

TEST(RowSplit, SevenRowsOverThreeThreadsGiveTwoTwoThree) {
    const ProbeRun run = runProbe(3, 2, 7);
    EXPECT_EQ(run.steps, (std::vector<std::string>{"band 0 2", "band 2 4", "band 4 7", "postProcess", "preProcess"}));
    const float expected[7][2] = {{0, 2}, {0, 2}, {2, 4}, {2, 4}, {4, 7}, {4, 7}, {4, 7}};
    for (int y = 0; y < 7; ++y) {
        for (int x = 0; x < 2; ++x) {
            EXPECT_EQ(run.output.floatAt(x, y, 0), expected[y][0]) << y;
            EXPECT_EQ(run.output.floatAt(x, y, 1), expected[y][1]) << y;
        }
    }
}

TEST(RowSplit, FewerRowsThanThreadsLeaveSomeBandsEmpty) {
    const ProbeRun run = runProbe(3, 4, 2);
    EXPECT_EQ(run.steps, (std::vector<std::string>{"band 0 0", "band 0 1", "band 1 2", "postProcess", "preProcess"}));
}

TEST(RowSplit, OneThreadRunsTheWholeWindowOnTheCallingThread) {
    const ProbeRun run = runProbe(1, 3, 5);
    EXPECT_EQ(run.steps, (std::vector<std::string>{"band 0 5", "postProcess", "preProcess"}));
}

TEST(RowSplit, TheWindowIsSplitNotTheImage) {
    const ProbeRun run = runProbe(2, 8, 10, ofxhost::RectI{1, 3, 5, 8});
    EXPECT_EQ(run.steps, (std::vector<std::string>{"band 3 5", "band 5 8", "postProcess", "preProcess"}));
    EXPECT_EQ(run.output.floatAt(0, 4, 3), 0.0f) << "outside the window nothing is written";
    EXPECT_EQ(run.output.floatAt(1, 4, 3), 1.0f);
}

// The guard of process() is deliberately narrow: only a window with no width
// but some height is skipped.
TEST(ProcessGuard, OnlyAZeroWidthWindowWithRowsIsSkipped) {
    EXPECT_EQ(runProbe(2, 4, 4, ofxhost::RectI{0, 0, 0, 0}).steps,
              (std::vector<std::string>{"band 0 0", "band 0 0", "postProcess", "preProcess"}));
    EXPECT_EQ(runProbe(2, 4, 4, ofxhost::RectI{1, 2, 3, 2}).steps,
              (std::vector<std::string>{"band 2 2", "band 2 2", "postProcess", "preProcess"}));
    EXPECT_TRUE(runProbe(2, 4, 4, ofxhost::RectI{2, 0, 2, 4}).steps.empty());
}

}  // namespace
