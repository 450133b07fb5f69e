// The render sequence a host owes a plug-in, shown with the render cases
// bundle (plug-ins written as other vendors write them): clip preferences,
// identity, regions of definition and interest, the render window and the
// images handed over; optional inputs left empty; what cannot render here;
// host frame threading within the plug-in's thread safety; the poison fill.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <set>
#include <sstream>
#include <thread>

#include "HostTestSupport.h"
#include "cli/Cli.h"
#include "ofxhost/ImageIO.h"
#include "ofxhost/Instance.h"
#include "ofxhost/Renderer.h"
#include "ofxhost/Status.h"

using namespace ofxhost;

namespace {

const std::string& kCases = hosttest::kRenderCases;

std::shared_ptr<Plugin> loadCase(const std::shared_ptr<Host>& host, const std::string& name) {
    return hosttest::loadTestPlugin(host, "ondu1.cases:" + name, kCases);
}

// The texts of the plug-in's log messages with this id, oldest first.
std::vector<std::string> said(const Host& host, const std::string& id) {
    std::vector<std::string> out;
    for (const Message& m : host.messages())
        if (m.id == id) out.push_back(m.text);
    return out;
}

std::string rect(const RectI& r) {
    return std::to_string(r.x1) + " " + std::to_string(r.y1) + " " + std::to_string(r.x2) + " " + std::to_string(r.y2);
}

bool inside(const RectI& r, int x, int y) { return x >= r.x1 && x < r.x2 && y >= r.y1 && y < r.y2; }

// Every channel of every pixel: the source's inside `copied`, zero elsewhere.
std::string expectCopiedWithin(const ImageBuffer& out, const ImageBuffer& source, const RectI& copied) {
    for (int y = 0; y < out.height(); ++y)
        for (int x = 0; x < out.width(); ++x)
            for (int c = 0; c < 4; ++c) {
                const std::uint8_t want = inside(copied, x, y) ? source.byteAt(x, y, c) : 0;
                if (out.byteAt(x, y, c) != want)
                    return "pixel " + std::to_string(x) + "," + std::to_string(y) + " channel " + std::to_string(c);
            }
    return "";
}

class CropSequence : public ::testing::Test {
protected:
    void SetUp() override {
        inst = plugin->createInstance("filter");
        inst->setProjectSize(10, 8);
        inst->connect("Source", source);
        inst->setValueText("Bottom Left", "2,1");
        inst->setValueText("Top Right", "7,5");
        host->clearMessages();
    }
    std::shared_ptr<Host> host = hosttest::quietHost(3u);
    std::shared_ptr<Plugin> plugin = loadCase(host, "crop");
    std::shared_ptr<const ImageBuffer> source =
        std::make_shared<const ImageBuffer>(ImageBuffer::testFrame(10, 8, Depth::Byte, PixelOrder::RGBA, 4));
    std::unique_ptr<Instance> inst;
};

// The crop defines 2,1 to 7,5 and asks Source for what it renders: that is
// all it is asked to render, all it is handed, and all that is written.
TEST_F(CropSequence, RendersItsRegionOfDefinitionFromItsRegionOfInterest) {
    RenderOptions o;
    ImageBuffer out = inst->makeOutput(o);
    RenderPlan plan;
    ASSERT_EQ(inst->render(0.0, o, out, &plan), kOfxStatOK);
    EXPECT_EQ(said(*host, "window"), std::vector<std::string>{"2 1 7 5"});
    EXPECT_EQ(said(*host, "Source"), std::vector<std::string>{"2 1 7 5"});
    EXPECT_EQ(rect(plan.definedPixels), "2 1 7 5");
    EXPECT_EQ(plan.regionOfDefinition.x2, 7.0);
    EXPECT_EQ(expectCopiedWithin(out, *source, RectI{2, 1, 7, 5}), "");
    EXPECT_EQ(inst->liveImageCount(), 0u);

    // A requested window cuts it further; a rectangle reaching past Source
    // is held to Source's region.
    host->clearMessages();
    o.window = RectI{0, 0, 4, 3};
    ImageBuffer part = inst->makeOutput(o);
    ASSERT_EQ(inst->render(0.0, o, part), kOfxStatOK);
    EXPECT_EQ(said(*host, "window"), std::vector<std::string>{"2 1 4 3"});
    EXPECT_EQ(said(*host, "Source"), std::vector<std::string>{"2 1 4 3"});
    EXPECT_EQ(expectCopiedWithin(part, *source, RectI{2, 1, 4, 3}), "");
    inst->setValueText("Top Right", "50,50");
    o.window.reset();
    ASSERT_EQ(inst->render(0.0, o, out, &plan), kOfxStatOK);
    EXPECT_EQ(rect(plan.window), "2 1 10 8");
}

// At half scale the canonical rectangle covers pixels 1,0 to 4,3 (every
// pixel it touches) of the 5x4 frame.
TEST_F(CropSequence, RegionsFollowTheRenderScale) {
    RenderOptions o;
    o.renderScale = 0.5;
    ImageBuffer out = inst->makeOutput(o);
    ASSERT_EQ(inst->render(0.0, o, out), kOfxStatOK);
    EXPECT_EQ(said(*host, "window"), std::vector<std::string>{"1 0 4 3"});
    EXPECT_EQ(said(*host, "Source"), std::vector<std::string>{"1 0 4 3"});
    EXPECT_EQ(out.byteAt(0, 0, 3), 0);
    EXPECT_EQ(out.byteAt(1, 0, 3), source->resized(5, 4).byteAt(1, 0, 3));
}

// As ofxrender renders it: a fresh frame, zero outside the crop.
TEST_F(CropSequence, OfxrenderFramesAreZeroOutsideTheCrop) {
    RenderJob job;
    job.inputs = {{"", "", source}};
    job.settings = {parseSetting("Bottom Left=3,2"), parseSetting("Top Right=9,4")};
    const RenderResult r = runRenderJob(*plugin, job);
    ASSERT_EQ(r.frames.size(), 1u);
    EXPECT_EQ(expectCopiedWithin(r.frames[0], *source, RectI{3, 2, 9, 4}), "");
}

// Clip preferences are asked once per instance and again after a change;
// what this host supports of the answer is taken up, a depth for Source is
// not (one depth per render here).
TEST_F(CropSequence, ClipPreferencesOnceAndAfterChanges) {
    RenderOptions o;
    ImageBuffer out = inst->makeOutput(o);
    ASSERT_EQ(inst->render(0.0, o, out), kOfxStatOK);
    ASSERT_EQ(inst->render(1.0, o, out), kOfxStatOK);
    EXPECT_EQ(said(*host, "prefs").size(), 1u);
    const ClipPreferences taken = inst->clipPreferencesTaken();
    EXPECT_EQ(taken.asked, 1);
    EXPECT_EQ(taken.premultiplication, kOfxImageUnPreMultiplied);
    EXPECT_TRUE(taken.frameVarying);
    EXPECT_EQ(inst->clip("Output")->props().getString(kOfxImageEffectPropPreMultiplication), kOfxImageUnPreMultiplied);
    EXPECT_EQ(inst->clip("Source")->props().getString(kOfxImageEffectPropPixelDepth), kOfxBitDepthByte);
    inst->setValueText("Top Right", "8,5");
    ASSERT_EQ(inst->render(0.0, o, out), kOfxStatOK);
    EXPECT_EQ(inst->clipPreferencesTaken().asked, 2);
    // Another depth is another set of defaults: asked again.
    o.depth = Depth::Float;
    ImageBuffer floats = inst->makeOutput(o);
    ASSERT_EQ(inst->render(0.0, o, floats), kOfxStatOK);
    EXPECT_EQ(inst->clipPreferencesTaken().asked, 3);
}

// Without tiles the plug-in gets Source whole and renders its whole region;
// the host keeps only the requested window of it.
TEST(CropUntiled, GetsWholeImagesAndTheHostKeepsTheWindow) {
    auto host = hosttest::quietHost(3u);
    auto plugin = loadCase(host, "cropUntiled");
    auto source = std::make_shared<const ImageBuffer>(ImageBuffer::testFrame(10, 8, Depth::Byte, PixelOrder::BGRA, 6));
    auto inst = plugin->createInstance("filter");
    inst->setProjectSize(10, 8);
    inst->connect("Source", source);
    inst->setValueText("Bottom Left", "2,1");
    inst->setValueText("Top Right", "7,5");
    RenderOptions o;
    o.order = PixelOrder::BGRA;
    o.window = RectI{0, 0, 4, 3};
    ImageBuffer out = inst->makeOutput(o);
    ASSERT_EQ(inst->render(0.0, o, out), kOfxStatOK);
    EXPECT_EQ(said(*host, "window"), std::vector<std::string>{"2 1 7 5"});
    EXPECT_EQ(said(*host, "Source"), std::vector<std::string>{"0 0 10 8"});
    EXPECT_EQ(expectCopiedWithin(out, *source, RectI{2, 1, 4, 3}), "");
}

// Identity still copies the identity clip, over the requested window only,
// and never calls render (a Gain of 3.9 would fail it).
TEST(Identity, CopiesTheClipOverTheWindowWithoutRendering) {
    auto host = hosttest::quietHost();
    auto plugin = hosttest::loadTestPlugin(host, "ondu1.test:tint");
    auto source = std::make_shared<const ImageBuffer>(ImageBuffer::testFrame(6, 4, Depth::Byte, PixelOrder::RGBA, 2));
    auto inst = plugin->createInstance("filter");
    inst->setProjectSize(6, 4);
    inst->connect("Source", source);
    inst->setValueText("Mode", "Copy");
    inst->setValueText("Gain", "3.9");
    RenderOptions o;
    o.window = RectI{1, 1, 4, 3};
    ImageBuffer out = inst->makeOutput(o);
    RenderPlan plan;
    ASSERT_EQ(inst->render(0.0, o, out, &plan), kOfxStatOK);
    EXPECT_EQ(plan.identityClip, "Source");
    EXPECT_TRUE(plan.tiles.empty());
    EXPECT_EQ(expectCopiedWithin(out, *source, RectI{1, 1, 4, 3}), "");
    o.checkIdentity = false;
    EXPECT_EQ(inst->render(0.0, o, out), kOfxStatFailed);
}

// Two optional inputs, one given: the other reads as not connected, with no
// components or depth, no image and an empty region; the plug-in (which
// trusts the components) renders instead of crashing. Both given: the sum.
TEST(OptionalClips, AnInputNotGivenLooksLikeNothing) {
    auto host = hosttest::quietHost(2u);
    auto plugin = loadCase(host, "merge");
    RenderJob job;
    job.options.depth = Depth::Float;
    job.inputs = {{"", "", std::make_shared<const ImageBuffer>(hosttest::solidFloat(4, 3, PixelOrder::RGBA, 0.25f))}};
    RenderResult r = runRenderJob(*plugin, job);
    EXPECT_EQ(r.frames.at(0).floatAt(3, 2, 1), 0.25f);
    EXPECT_EQ(said(*host, "A"), std::vector<std::string>{"connected 1"});
    EXPECT_EQ(said(*host, "B"), std::vector<std::string>{"connected 0"});

    job.inputs.push_back(
        {"B", "", std::make_shared<const ImageBuffer>(hosttest::solidFloat(4, 3, PixelOrder::RGBA, 0.5f))});
    r = runRenderJob(*plugin, job);
    EXPECT_EQ(r.frames.at(0).floatAt(0, 0, 3), 0.75f);

    // The clip itself, through the suite.
    auto inst = plugin->createInstance("general");
    inst->connect("A", job.inputs[0].image);
    RenderOptions o;
    o.depth = Depth::Float;
    inst->setRenderOptions(o);
    const auto& b = inst->clip("B")->props();
    EXPECT_EQ(b.getInt(kOfxImageClipPropConnected), 0);
    EXPECT_EQ(b.getString(kOfxImageEffectPropComponents), kOfxImageComponentNone);
    EXPECT_EQ(b.getString(kOfxImageEffectPropPixelDepth), kOfxBitDepthNone);
    EXPECT_EQ(inst->clip("A")->props().getString(kOfxImageEffectPropComponents), kOfxImageComponentRGBA);
    const auto* fx = static_cast<const OfxImageEffectSuiteV1*>(host->fetchSuite(kOfxImageEffectSuite, 1));
    OfxImageClipHandle clip = nullptr;
    ASSERT_EQ(fx->clipGetHandle(inst->handle(), "B", &clip, nullptr), kOfxStatOK);
    auto image = reinterpret_cast<OfxPropertySetHandle>(&clip);  // anything but null
    EXPECT_EQ(fx->clipGetImage(clip, 0.0, nullptr, &image), kOfxStatFailed);
    EXPECT_EQ(image, nullptr);
    OfxRectD rod{1, 1, 1, 1};
    EXPECT_EQ(fx->clipGetRegionOfDefinition(clip, 0.0, &rod), kOfxStatOK);
    EXPECT_TRUE(rod.x1 == 0 && rod.y1 == 0 && rod.x2 == 0 && rod.y2 == 0);
    // Connected later, it has pictures; disconnected, none again.
    inst->connect("B", job.inputs[1].image);
    EXPECT_EQ(b.getString(kOfxImageEffectPropComponents), kOfxImageComponentRGBA);
    inst->disconnect("B");
    EXPECT_EQ(b.getString(kOfxImageEffectPropComponents), kOfxImageComponentNone);
}

hosttest::CliRun runCases(std::vector<std::string> args) { return hosttest::runOfxrender(std::move(args), kCases); }

std::string jobError(Plugin& plugin, const RenderJob& job) {
    try {
        runRenderJob(plugin, job);
    } catch (const Error& e) {
        return e.what_part() + ": " + e.why();
    }
    return "(rendered)";
}

// What a plug-in cannot do here is an error before or after its render,
// never a frame of zeros.
TEST(Refusals, WhatCannotRenderHereIsAnError) {
    auto host = hosttest::quietHost(2u);
    RenderJob job;
    job.inputs = {{"", "", std::make_shared<const ImageBuffer>(4, 4, Depth::Byte, PixelOrder::RGBA)}};
    auto gpuOnly = loadCase(host, "gpuOnly");
    EXPECT_EQ(jobError(*gpuOnly, job),
              "ondu1.cases:gpuOnly: does not render on the CPU (\"OfxImageEffectPropCPURenderSupported\" is "
              "\"false\") and no GPU render was asked for (--opencl)");
    EXPECT_TRUE(said(*host, "window").empty()) << "refused before rendering";
    EXPECT_EQ(jobError(*loadCase(host, "noOutput"), job),
              "ondu1.cases:noOutput: has no \"Output\" clip in the filter context, so there is nothing to render into");
    EXPECT_EQ(jobError(*loadCase(host, "lazy"), job),
              "ondu1.cases:lazy: render action at time 0.000000 returned kOfxStatOK without fetching the output image");

    // ofxrender: one line, status 1, and no file.
    hosttest::CliRun r = runCases({"bench", "ondu1.cases:gpuOnly", "--size", "4x4", "--repeat", "1"});
    hosttest::expectOneLineError(r, "ondu1.cases:gpuOnly", "does not render on the CPU");
    if (!imageFilesSupported()) return;
    hosttest::TempDir dir;
    writeImage(dir.file("in.tif"), ImageBuffer::testFrame(4, 4, Depth::Byte, PixelOrder::RGBA, 1));
    for (const char* name : {"ondu1.cases:noOutput", "ondu1.cases:lazy", "ondu1.cases:gpuOnly"}) {
        r = runCases({"render", name, "-i", dir.file("in.tif"), "-o", dir.file("out.tif")});
        hosttest::expectOneLineError(r, name);
        EXPECT_EQ(dir.entries(), std::vector<std::string>{"in.tif"}) << name;
    }
}

struct Tile {
    RectI window;
    std::string thread;
    int instanceMost = 0, pluginMost = 0;
};

std::vector<Tile> tiles(const Host& host) {
    std::vector<Tile> out;
    for (const std::string& text : said(host, "tile")) {
        std::istringstream in(text);
        Tile t;
        std::string word;
        in >> t.window.x1 >> t.window.y1 >> t.window.x2 >> t.window.y2 >> word >> t.thread >> word >> t.instanceMost >>
            word >> t.pluginMost;
        out.push_back(t);
    }
    std::sort(out.begin(), out.end(), [](const Tile& a, const Tile& b) { return a.window.y1 < b.window.y1; });
    return out;
}

// The windows cover the frame's rows exactly once, full width.
std::string tileTheFrame(const std::vector<Tile>& ts, int width, int height) {
    int y = 0;
    for (const Tile& t : ts) {
        if (t.window.x1 != 0 || t.window.x2 != width) return "width of " + rect(t.window);
        if (t.window.y1 != y || t.window.y2 <= y)
            return "rows of " + rect(t.window) + " after row " + std::to_string(y);
        y = t.window.y2;
    }
    return y == height ? "" : "rows end at " + std::to_string(y);
}

class HostFrameThreading : public ::testing::Test {
protected:
    std::unique_ptr<Instance> instanceOf(Plugin& plugin) {
        auto inst = plugin.createInstance("filter");
        inst->setProjectSize(16, 10);
        inst->connect("Source", std::make_shared<const ImageBuffer>(16, 10, Depth::Float, PixelOrder::RGBA));
        return inst;
    }
    std::shared_ptr<Host> host = hosttest::quietHost(4u);
    RenderOptions options = [] {
        RenderOptions o;
        o.depth = Depth::Float;
        return o;
    }();
};

TEST_F(HostFrameThreading, FullySafeTilesRunSideBySide) {
    auto inst = instanceOf(*loadCase(host, "tilesSafe"));
    ImageBuffer out = inst->makeOutput(options);
    RenderPlan plan;
    ASSERT_EQ(inst->render(0.0, options, out, &plan), kOfxStatOK);
    const auto ts = tiles(*host);
    ASSERT_EQ(ts.size(), 4u);
    EXPECT_EQ(tileTheFrame(ts, 16, 10), "");
    EXPECT_EQ(plan.tiles.size(), 4u);
    std::set<std::string> threads;
    for (const Tile& t : ts) threads.insert(t.thread);
    EXPECT_GT(threads.size(), 1u);
    // Every pixel written once by some tile.
    for (int y = 0; y < 10; ++y)
        for (int x = 0; x < 16; ++x) ASSERT_NE(out.floatAt(x, y, 0), 0.0f) << x << "," << y;
}

TEST_F(HostFrameThreading, InstanceSafeTilesOneAfterAnotherPerInstance) {
    auto inst = instanceOf(*loadCase(host, "tilesInstance"));
    std::vector<std::thread> callers;
    for (int k = 0; k < 2; ++k)
        callers.emplace_back([&] {
            ImageBuffer out = inst->makeOutput(options);
            inst->render(0.0, options, out);
        });
    for (auto& t : callers) t.join();
    const auto ts = tiles(*host);
    ASSERT_EQ(ts.size(), 8u);
    for (const Tile& t : ts) EXPECT_EQ(t.instanceMost, 1) << "two calls of one instance at once";
}

TEST_F(HostFrameThreading, UnsafeRendersOneCallOfThePluginAtATime) {
    auto plugin = loadCase(host, "tilesUnsafe");
    auto a = instanceOf(*plugin);
    auto b = instanceOf(*plugin);
    std::vector<std::thread> callers;
    for (Instance* inst : {a.get(), b.get()})
        callers.emplace_back([&, inst] {
            ImageBuffer out = inst->makeOutput(options);
            inst->render(0.0, options, out);
        });
    for (auto& t : callers) t.join();
    const auto ts = tiles(*host);
    ASSERT_EQ(ts.size(), 8u);
    for (const Tile& t : ts) EXPECT_EQ(t.pluginMost, 1) << "two calls of the plug-in at once";
}

// A plug-in that leaves alpha unwritten: the poison shows there, as NaN in
// floats and as the chosen bytes, which two renders tell apart; colour and
// what lies outside the window are untouched by it.
TEST(Poison, ShowsWhatThePluginLeavesUnwritten) {
    auto host = hosttest::quietHost(2u);
    auto plugin = loadCase(host, "noAlpha");
    auto inst = plugin->createInstance("filter");
    inst->setProjectSize(5, 3);
    const ImageBuffer frame = ImageBuffer::testFrame(5, 3, Depth::Float, PixelOrder::BGRA, 3);
    inst->connect("Source", std::make_shared<const ImageBuffer>(frame.clone()));
    RenderOptions o;
    o.depth = Depth::Float;
    o.order = PixelOrder::BGRA;
    o.window = RectI{1, 0, 5, 2};
    ImageBuffer plain = inst->makeOutput(o);
    ASSERT_EQ(inst->render(0.0, o, plain), kOfxStatOK);
    EXPECT_EQ(plain.floatAt(2, 1, 3), 0.0f);
    o.poison = true;
    ImageBuffer poisoned = inst->makeOutput(o);
    ASSERT_EQ(inst->render(0.0, o, poisoned), kOfxStatOK);
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 5; ++x) {
            const bool w = inside(*o.window, x, y);
            EXPECT_EQ(std::isnan(poisoned.floatAt(x, y, 3)), w) << x << "," << y;
            EXPECT_EQ(poisoned.floatAt(x, y, 0), w ? frame.floatAt(x, y, 0) : 0.0f) << x << "," << y;
        }

    o.depth = Depth::Byte;
    o.order = PixelOrder::RGBA;
    o.poisonBytes = {1, 2, 3, 4};
    ImageBuffer first = inst->makeOutput(o);
    ASSERT_EQ(inst->render(0.0, o, first), kOfxStatOK);
    o.poisonBytes = {5, 6, 7, 8};
    ImageBuffer second = inst->makeOutput(o);
    ASSERT_EQ(inst->render(0.0, o, second), kOfxStatOK);
    EXPECT_EQ(first.byteAt(3, 1, 3), 4);
    EXPECT_EQ(second.byteAt(3, 1, 3), 8);
    EXPECT_EQ(first.byteAt(3, 1, 0), second.byteAt(3, 1, 0)) << "colour is the plug-in's";
    EXPECT_EQ(first.byteAt(0, 1, 3), 0) << "outside the window";
}

}  // namespace
