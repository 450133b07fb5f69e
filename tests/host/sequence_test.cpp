// The render sequence a host owes a plug-in, shown with the render cases
// bundle (plug-ins written as other vendors write them): clip preferences,
// identity, regions of definition and interest, the render window and the
// images handed over; optional inputs left empty; what cannot render here;
// host frame threading within the plug-in's thread safety; the poison fill.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <optional>
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

// A filter instance of a w x h project with source on Source.
std::unique_ptr<Instance> filterOn(Plugin& plugin, std::shared_ptr<const ImageBuffer> source) {
    auto inst = plugin.createInstance("filter");
    inst->setProjectSize(source->width(), source->height());
    inst->connect("Source", std::move(source));
    return inst;
}

// A frame rendered at time 0, which must succeed.
ImageBuffer rendered(Instance& inst, const RenderOptions& o, RenderPlan* plan = nullptr) {
    ImageBuffer out = inst.makeOutput(o);
    EXPECT_EQ(inst.render(0.0, o, out, plan), kOfxStatOK);
    return out;
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
            for (int c = 0; c < 4; ++c)
                if (out.byteAt(x, y, c) != (inside(copied, x, y) ? source.byteAt(x, y, c) : 0))
                    return "pixel " + std::to_string(x) + "," + std::to_string(y) + " channel " + std::to_string(c);
    return "";
}

std::shared_ptr<const ImageBuffer> frame(int w, int h, Depth d, PixelOrder order, int seed) {
    return std::make_shared<const ImageBuffer>(ImageBuffer::testFrame(w, h, d, order, seed));
}

// The crop of 2,1 to 7,5 asks Source for what it renders: that is all it is
// asked to render, all it is handed, and all that is written. A requested
// window cuts it further; at half scale the canonical rectangle covers
// pixels 1,0 to 4,3 (every pixel it touches) of the 5x4 frame. Without
// tiles the plug-in gets Source whole and renders its whole region; the
// host keeps only the window.
TEST(Crop, RendersItsRegionOfDefinitionFromItsRegionOfInterest) {
    struct Case {
        const char* plugin;
        PixelOrder order;
        double scale;
        std::optional<RectI> window;
        const char *renders, *handed;
        RectI copied;
    } const cases[] = {
        {"crop", PixelOrder::RGBA, 1, std::nullopt, "2 1 7 5", "2 1 7 5", {2, 1, 7, 5}},
        {"crop", PixelOrder::RGBA, 1, RectI{0, 0, 4, 3}, "2 1 4 3", "2 1 4 3", {2, 1, 4, 3}},
        {"crop", PixelOrder::RGBA, 0.5, std::nullopt, "1 0 4 3", "1 0 4 3", {1, 0, 4, 3}},
        {"cropUntiled", PixelOrder::BGRA, 1, RectI{0, 0, 4, 3}, "2 1 7 5", "0 0 10 8", {2, 1, 4, 3}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.plugin) + " scale " + std::to_string(c.scale) + (c.window ? " window" : ""));
        auto host = hosttest::quietHost(3u);
        auto source = frame(10, 8, Depth::Byte, c.order, 4);
        auto inst = filterOn(*loadCase(host, c.plugin), source);
        inst->setValueText("Bottom Left", "2,1");
        inst->setValueText("Top Right", "7,5");
        host->clearMessages();
        RenderOptions o;
        o.order = c.order;
        o.renderScale = c.scale;
        o.window = c.window;
        RenderPlan plan;
        const ImageBuffer out = rendered(*inst, o, &plan);
        EXPECT_EQ(said(*host, "window"), std::vector<std::string>{c.renders});
        EXPECT_EQ(said(*host, "Source"), std::vector<std::string>{c.handed});
        EXPECT_EQ(expectCopiedWithin(out, c.scale == 1 ? source->clone() : source->resized(5, 4), c.copied), "");
        EXPECT_EQ(inst->liveImageCount(), 0u);
        if (c.scale != 1 || c.window) continue;
        EXPECT_EQ(rect(plan.definedPixels), "2 1 7 5");
        EXPECT_EQ(plan.regionOfDefinition.x2, 7.0);
        // A rectangle reaching past Source is held to Source's region.
        inst->setValueText("Top Right", "50,50");
        rendered(*inst, o, &plan);
        EXPECT_EQ(rect(plan.window), "2 1 10 8");
    }
}

// As ofxrender renders it: a fresh frame, zero outside the crop.
TEST(Crop, OfxrenderFramesAreZeroOutsideTheCrop) {
    auto host = hosttest::quietHost(3u);
    auto source = frame(10, 8, Depth::Byte, PixelOrder::RGBA, 4);
    RenderJob job;
    job.inputs = {{"", "", source}};
    job.settings = {parseSetting("Bottom Left=3,2"), parseSetting("Top Right=9,4")};
    const RenderResult r = runRenderJob(*loadCase(host, "crop"), job);
    ASSERT_EQ(r.frames.size(), 1u);
    EXPECT_EQ(expectCopiedWithin(r.frames[0], *source, RectI{3, 2, 9, 4}), "");
}

// Clip preferences are asked once per instance and again after a change or
// at another depth; what this host supports of the answer is taken up, a
// depth for Source is not (one depth per render here).
TEST(Crop, ClipPreferencesOnceAndAfterChanges) {
    auto host = hosttest::quietHost(3u);
    auto inst = filterOn(*loadCase(host, "crop"), frame(10, 8, Depth::Byte, PixelOrder::RGBA, 4));
    RenderOptions o;
    ImageBuffer out = rendered(*inst, o);
    ASSERT_EQ(inst->render(1.0, o, out), kOfxStatOK);
    EXPECT_EQ(said(*host, "prefs").size(), 1u);
    const ClipPreferences taken = inst->clipPreferencesTaken();
    EXPECT_EQ(taken.asked, 1);
    EXPECT_EQ(taken.premultiplication, kOfxImageUnPreMultiplied);
    EXPECT_TRUE(taken.frameVarying);
    EXPECT_EQ(inst->clip("Output")->props().getString(kOfxImageEffectPropPreMultiplication), kOfxImageUnPreMultiplied);
    EXPECT_EQ(inst->clip("Source")->props().getString(kOfxImageEffectPropPixelDepth), kOfxBitDepthByte);
    inst->setValueText("Top Right", "8,5");
    rendered(*inst, o);
    EXPECT_EQ(inst->clipPreferencesTaken().asked, 2);
    o.depth = Depth::Float;
    rendered(*inst, o);
    EXPECT_EQ(inst->clipPreferencesTaken().asked, 3);
}

// Identity still copies the identity clip, over the requested window only,
// and never calls render (a Gain of 3.9 would fail it).
TEST(Identity, CopiesTheClipOverTheWindowWithoutRendering) {
    auto host = hosttest::quietHost();
    auto source = frame(6, 4, Depth::Byte, PixelOrder::RGBA, 2);
    auto inst = filterOn(*hosttest::loadTestPlugin(host, "ondu1.test:tint"), source);
    inst->setValueText("Mode", "Copy");
    inst->setValueText("Gain", "3.9");
    RenderOptions o;
    o.window = RectI{1, 1, 4, 3};
    RenderPlan plan;
    ImageBuffer out = rendered(*inst, o, &plan);
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
    EXPECT_EQ(runRenderJob(*plugin, job).frames.at(0).floatAt(0, 0, 3), 0.75f);

    // The clip itself, through the suite.
    auto inst = plugin->createInstance("general");
    inst->connect("A", job.inputs[0].image);
    inst->setRenderOptions(job.options);
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

std::string jobError(Plugin& plugin, const RenderJob& job) {
    try {
        runRenderJob(plugin, job);
    } catch (const Error& e) {
        return e.what_part() + ": " + e.why();
    }
    return "(rendered)";
}

// What a plug-in cannot do here is an error before or after its render,
// never a frame of zeros; ofxrender says so in one line, status 1, no file.
TEST(Refusals, WhatCannotRenderHereIsAnError) {
    auto host = hosttest::quietHost(2u);
    RenderJob job;
    job.inputs = {{"", "", std::make_shared<const ImageBuffer>(4, 4, Depth::Byte, PixelOrder::RGBA)}};
    EXPECT_EQ(jobError(*loadCase(host, "gpuOnly"), job),
              "ondu1.cases:gpuOnly: does not render on the CPU (\"OfxImageEffectPropCPURenderSupported\" is "
              "\"false\") and no GPU render was asked for (--opencl)");
    EXPECT_TRUE(said(*host, "window").empty()) << "refused before rendering";
    EXPECT_EQ(jobError(*loadCase(host, "noOutput"), job),
              "ondu1.cases:noOutput: has no \"Output\" clip in the filter context, so there is nothing to render into");
    EXPECT_EQ(jobError(*loadCase(host, "lazy"), job),
              "ondu1.cases:lazy: render action at time 0.000000 returned kOfxStatOK without fetching the output image");

    hosttest::expectOneLineError(
        hosttest::runOfxrender({"bench", "ondu1.cases:gpuOnly", "--size", "4x4", "--repeat", "1"}, kCases),
        "ondu1.cases:gpuOnly", "does not render on the CPU");
    if (!imageFilesSupported()) return;
    hosttest::TempDir dir;
    writeImage(dir.file("in.tif"), ImageBuffer::testFrame(4, 4, Depth::Byte, PixelOrder::RGBA, 1));
    for (const char* name : {"ondu1.cases:noOutput", "ondu1.cases:lazy", "ondu1.cases:gpuOnly"}) {
        hosttest::expectOneLineError(
            hosttest::runOfxrender({"render", name, "-i", dir.file("in.tif"), "-o", dir.file("out.tif")}, kCases),
            name);
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

std::shared_ptr<const ImageBuffer> blank16x10() {
    return std::make_shared<const ImageBuffer>(16, 10, Depth::Float, PixelOrder::RGBA);
}

RenderOptions floats() {
    RenderOptions o;
    o.depth = Depth::Float;
    return o;
}

// Fully safe: tiles covering the frame's rows exactly once, full width, on
// more than one thread, every pixel written.
TEST(HostFrameThreading, FullySafeTilesRunSideBySide) {
    auto host = hosttest::quietHost(4u);
    auto inst = filterOn(*loadCase(host, "tilesSafe"), blank16x10());
    RenderPlan plan;
    const ImageBuffer out = rendered(*inst, floats(), &plan);
    const auto ts = tiles(*host);
    ASSERT_EQ(ts.size(), 4u);
    EXPECT_EQ(plan.tiles.size(), 4u);
    int row = 0;
    std::set<std::string> threads;
    for (const Tile& t : ts) {
        EXPECT_EQ(rect(t.window), "0 " + std::to_string(row) + " 16 " + std::to_string(t.window.y2));
        EXPECT_GT(t.window.y2, row);
        row = t.window.y2;
        threads.insert(t.thread);
    }
    EXPECT_EQ(row, 10);
    EXPECT_GT(threads.size(), 1u);
    for (int y = 0; y < 10; ++y)
        for (int x = 0; x < 16; ++x) ASSERT_NE(out.floatAt(x, y, 0), 0.0f) << x << "," << y;
}

// Two callers at once: instance-safe tiles one after another per instance,
// unsafe ones one call of the plug-in at a time across instances.
TEST(HostFrameThreading, SerialisedAsThePluginDeclares) {
    const struct {
        const char* plugin;
        bool twoInstances;
        int Tile::*most;
    } cases[] = {{"tilesInstance", false, &Tile::instanceMost}, {"tilesUnsafe", true, &Tile::pluginMost}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.plugin);
        auto host = hosttest::quietHost(4u);
        auto plugin = loadCase(host, c.plugin);
        auto a = filterOn(*plugin, blank16x10());
        auto b = c.twoInstances ? filterOn(*plugin, blank16x10()) : nullptr;
        std::vector<std::thread> callers;
        for (Instance* inst : {a.get(), b ? b.get() : a.get()})
            callers.emplace_back([inst] {
                ImageBuffer out = inst->makeOutput(floats());
                inst->render(0.0, floats(), out);
            });
        for (auto& t : callers) t.join();
        const auto ts = tiles(*host);
        ASSERT_EQ(ts.size(), 8u);
        for (const Tile& t : ts) EXPECT_EQ(t.*c.most, 1) << "two calls at once";
    }
}

// A plug-in that leaves alpha unwritten: the poison shows there, as NaN in
// floats and as the chosen bytes, which two renders tell apart; colour and
// what lies outside the window are untouched by it.
TEST(Poison, ShowsWhatThePluginLeavesUnwritten) {
    auto host = hosttest::quietHost(2u);
    auto source = frame(5, 3, Depth::Float, PixelOrder::BGRA, 3);
    auto inst = filterOn(*loadCase(host, "noAlpha"), std::make_shared<const ImageBuffer>(source->clone()));
    RenderOptions o = floats();
    o.order = PixelOrder::BGRA;
    o.window = RectI{1, 0, 5, 2};
    EXPECT_EQ(rendered(*inst, o).floatAt(2, 1, 3), 0.0f);
    o.poison = true;
    const ImageBuffer poisoned = rendered(*inst, o);
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 5; ++x) {
            const bool w = inside(*o.window, x, y);
            EXPECT_EQ(std::isnan(poisoned.floatAt(x, y, 3)), w) << x << "," << y;
            EXPECT_EQ(poisoned.floatAt(x, y, 0), w ? source->floatAt(x, y, 0) : 0.0f) << x << "," << y;
        }
    o.depth = Depth::Byte;
    o.order = PixelOrder::RGBA;
    o.poisonBytes = {1, 2, 3, 4};
    const ImageBuffer first = rendered(*inst, o);
    o.poisonBytes = {5, 6, 7, 8};
    const ImageBuffer second = rendered(*inst, o);
    EXPECT_EQ(first.byteAt(3, 1, 3), 4);
    EXPECT_EQ(second.byteAt(3, 1, 3), 8);
    EXPECT_EQ(first.byteAt(3, 1, 0), second.byteAt(3, 1, 0)) << "colour is the plug-in's";
    EXPECT_EQ(first.byteAt(0, 1, 3), 0) << "outside the window";
}

}  // namespace
