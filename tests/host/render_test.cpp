// Rendering through the host: every depth, order and row layout, the thread
// pool seen from the plug-in, generators and transitions, animated sequences,
// identity, refusals and aborts, and an analysis run from a pressed button.
#include <gtest/gtest.h>

#include <cmath>

#include "HostTestSupport.h"
#include "ofxTalvo.h"
#include "ofxhost/Instance.h"
#include "ofxhost/Memory.h"
#include "ofxhost/Renderer.h"
#include "ofxhost/Status.h"
#include "ofxhost/Suites.h"

using namespace ofxhost;

namespace {

struct Variant {
    Depth depth;
    PixelOrder order;
    Layout layout;
};

std::string name(const Variant& v) {
    return std::string(depthName(v.depth)) + "/" + orderName(v.order) + "/pad" + std::to_string(v.layout.rowPadding) +
           (v.layout.negativeRowBytes ? "/neg" : "");
}

const Variant kVariants[] = {
    {Depth::Byte, PixelOrder::RGBA, {}},         {Depth::Byte, PixelOrder::BGRA, {}},
    {Depth::Float, PixelOrder::RGBA, {}},        {Depth::Float, PixelOrder::BGRA, {}},
    {Depth::Byte, PixelOrder::BGRA, {20, true}}, {Depth::Float, PixelOrder::RGBA, {16, false}},
    {Depth::Float, PixelOrder::BGRA, {0, true}},
};

class RenderTest : public ::testing::Test {
protected:
    std::unique_ptr<Instance> tint() {
        plugin = hosttest::loadTestPlugin(host, "ondu1.test:tint");
        auto inst = plugin->createInstance("filter");
        inst->setProjectSize(9, 5);
        inst->connect("Source", source);
        return inst;
    }
    std::shared_ptr<Host> host = hosttest::quietHost(3u);
    std::shared_ptr<Plugin> plugin;
    std::shared_ptr<const ImageBuffer> source =
        std::make_shared<const ImageBuffer>(ImageBuffer::testFrame(9, 5, Depth::Byte, PixelOrder::RGBA, 5));
};

TEST_F(RenderTest, TintInEveryDepthOrderAndLayout) {
    auto inst = tint();
    inst->setValueText("Gain", "0.5");
    inst->setValueText("Tint", "1,0.5,0.25,1");
    inst->setValueText("Offset", "10");
    for (const Variant& v : kVariants) {
        RenderOptions o;
        o.depth = v.depth;
        o.order = v.order;
        o.layout = v.layout;
        ImageBuffer out = inst->makeOutput(o);
        ASSERT_EQ(inst->render(0.0, o, out), kOfxStatOK) << name(v);
        EXPECT_EQ(out.rowBytes() < 0, v.layout.negativeRowBytes);
        const double tintOf[3] = {1, 0.5, 0.25};
        for (int y = 0; y < 5; ++y)
            for (int x = 0; x < 9; ++x)
                for (int c = 0; c < 4; ++c) {
                    const float in = source->byteAt(x, y, c) / 255.0f;
                    const float want = c == 3 ? in : float(in * 0.5 * tintOf[c] + 10 / 255.0);
                    if (v.depth == Depth::Float)
                        ASSERT_EQ(out.floatAt(x, y, c), want) << name(v) << " " << x << "," << y << "," << c;
                    else
                        ASSERT_EQ(out.byteAt(x, y, c), std::lround(std::min(want, 1.0f) * 255.0f)) << name(v);
                }
    }
    EXPECT_EQ(inst->liveImageCount(), 0u);
}

TEST_F(RenderTest, RenderWindowLimitsTheWrittenPixels) {
    auto inst = tint();
    RenderOptions o;
    o.window = RectI{2, 1, 5, 3};
    ImageBuffer out = inst->makeOutput(o);
    ASSERT_EQ(inst->render(0.0, o, out), kOfxStatOK);
    EXPECT_EQ(out.byteAt(2, 1, 3), source->byteAt(2, 1, 3));
    EXPECT_EQ(out.byteAt(4, 2, 0), source->byteAt(4, 2, 0));
    EXPECT_EQ(out.byteAt(5, 2, 3), 0);
    EXPECT_EQ(out.byteAt(1, 1, 3), 0);
    o.window = RectI{0, 0, 10, 5};
    EXPECT_THROW(inst->render(0.0, o, out), Error);
    RenderOptions f;
    f.depth = Depth::Float;
    EXPECT_THROW(inst->render(0.0, f, out), Error);  // the output is byte
}

TEST_F(RenderTest, PluginSeesRealThreadsWithIndexes) {
    auto inst = tint();
    inst->setValueText("Mode", "Thread index");
    inst->setProjectSize(4, 9);
    inst->connect("Source", std::make_shared<const ImageBuffer>(4, 9, Depth::Byte, PixelOrder::RGBA));
    RenderOptions o;
    ImageBuffer out = inst->makeOutput(o);
    ASSERT_EQ(inst->render(0.0, o, out), kOfxStatOK);
    // Tint leaves frame threading to the host: 9 rows in 3 tiles of 3 rows,
    // each split again by the plug-in over the 3 threads, one row each.
    for (int y = 0; y < 9; ++y) {
        EXPECT_EQ(out.byteAt(0, y, 0), y % 3) << y;
        EXPECT_EQ(out.byteAt(3, y, 1), 3) << y;
        EXPECT_EQ(out.byteAt(1, y, 2), 1) << "multiThreadIndex disagrees on row " << y;
    }
    // Two threads for the last tile (rows 6-8): row 6 on index 0, rows 7-8 on 1.
    inst->setValueText("Threads", "2");
    ASSERT_EQ(inst->render(0.0, o, out), kOfxStatOK);
    EXPECT_EQ(out.byteAt(0, 7, 0), 1);
    EXPECT_EQ(out.byteAt(0, 8, 0), 1);
    EXPECT_EQ(out.byteAt(0, 8, 1), 2);
}

TEST_F(RenderTest, RefusalComesBackWithAMessageAndNoLeaks) {
    auto inst = tint();
    inst->setValueText("Gain", "3.9");
    const std::size_t blocks = memory::liveBlocks();
    RenderOptions o;
    ImageBuffer out = inst->makeOutput(o);
    EXPECT_EQ(inst->render(0.0, o, out), kOfxStatFailed);
    const auto messages = host->messages();
    ASSERT_FALSE(messages.empty());
    EXPECT_EQ(messages.back().type, kOfxMessageError);
    EXPECT_EQ(messages.back().text, "gain 3.9 is too high");
    EXPECT_EQ(inst->liveImageCount(), 0u);
    EXPECT_EQ(memory::liveBlocks(), blocks);
}

TEST_F(RenderTest, MissingInputFrameFailsTheRender) {
    auto inst = tint();
    inst->connect("Source", [](double) { return std::shared_ptr<const ImageBuffer>(); });
    RenderOptions o;
    ImageBuffer out = inst->makeOutput(o);
    EXPECT_EQ(inst->render(0.0, o, out), kOfxStatFailed);
    inst->connect("Source", [](double) -> std::shared_ptr<const ImageBuffer> { throw Error("in.png", "gone"); });
    EXPECT_THROW(inst->render(0.0, o, out), Error);
}

TEST_F(RenderTest, RenderScaleShrinksImagesAndIsPassedOn) {
    auto inst = tint();
    RenderOptions o;
    o.renderScale = 0.5;
    ImageBuffer out = inst->makeOutput(o);
    EXPECT_EQ(out.width(), 5);  // 9 * 0.5 rounds to 5
    EXPECT_EQ(out.height(), 3);
    ASSERT_EQ(inst->render(0.0, o, out), kOfxStatOK);
    EXPECT_EQ(out.byteAt(1, 1, 3), source->byteAt(2, 2, 3));  // nearest pixel of the full frame
}

TEST_F(RenderTest, ConcurrentRendersOfOneInstance) {
    auto inst = tint();
    inst->setValueText("Gain", "0.25");
    std::vector<std::thread> threads;
    std::atomic<int> bad{0};
    for (int t = 0; t < 3; ++t)
        threads.emplace_back([&, t] {
            RenderOptions o;
            for (int k = 0; k < 20; ++k) {
                ImageBuffer out = inst->makeOutput(o);
                if (inst->render(double(t * 100 + k), o, out) != kOfxStatOK)
                    ++bad;
                else if (out.byteAt(4, 4, 3) != source->byteAt(4, 4, 3))
                    ++bad;
            }
        });
    for (auto& th : threads) th.join();
    EXPECT_EQ(bad, 0);
}

TEST_F(RenderTest, ImageSuiteMisuseAndAbort) {
    auto inst = tint();
    const auto* fx = static_cast<const OfxImageEffectSuiteV1*>(host->fetchSuite(kOfxImageEffectSuite, 1));
    OfxImageClipHandle clip = nullptr;
    ASSERT_EQ(fx->clipGetHandle(inst->handle(), "Output", &clip, nullptr), kOfxStatOK);
    OfxPropertySetHandle img = nullptr;
    // The output has an image only during a render.
    EXPECT_EQ(fx->clipGetImage(clip, 0.0, nullptr, &img), kOfxStatFailed);
    EXPECT_EQ(fx->clipGetHandle(inst->handle(), "Nope", &clip, nullptr), kOfxStatErrUnknown);
    EXPECT_EQ(fx->clipReleaseImage(inst->props().handle()), kOfxStatErrBadHandle);
    EXPECT_EQ(fx->clipReleaseImage(nullptr), kOfxStatErrBadHandle);
    EXPECT_EQ(fx->clipDefine(inst->handle(), "Late", nullptr), kOfxStatErrBadHandle);
    EXPECT_EQ(fx->getPropertySet(reinterpret_cast<OfxImageEffectHandle>(&clip), &img), kOfxStatErrBadHandle);
    OfxRectD rod{};
    ASSERT_EQ(fx->clipGetHandle(inst->handle(), "Source", &clip, nullptr), kOfxStatOK);
    EXPECT_EQ(fx->clipGetRegionOfDefinition(clip, 0.0, &rod), kOfxStatOK);
    EXPECT_EQ(rod.x2, 9.0);
    EXPECT_EQ(rod.y2, 5.0);
    // Input images can be fetched outside a render; each must be released once.
    ASSERT_EQ(fx->clipGetImage(clip, 0.0, nullptr, &img), kOfxStatOK);
    EXPECT_EQ(inst->liveImageCount(), 1u);
    EXPECT_EQ(fx->clipReleaseImage(img), kOfxStatOK);
    EXPECT_EQ(fx->clipReleaseImage(img), kOfxStatErrBadHandle);
    OfxImageMemoryHandle mem = nullptr;
    void* p = nullptr;
    ASSERT_EQ(fx->imageMemoryAlloc(inst->handle(), 100, &mem), kOfxStatOK);
    EXPECT_EQ(fx->imageMemoryLock(mem, &p), kOfxStatOK);
    EXPECT_NE(p, nullptr);
    EXPECT_EQ(fx->imageMemoryUnlock(mem), kOfxStatOK);
    EXPECT_EQ(fx->imageMemoryFree(mem), kOfxStatOK);
    EXPECT_EQ(fx->imageMemoryLock(mem, &p), kOfxStatErrBadHandle);
    EXPECT_EQ(fx->abort(inst->handle()), 0);
    inst->setAbort(true);
    EXPECT_EQ(fx->abort(inst->handle()), 1);
    EXPECT_EQ(fx->abort(nullptr), 0);
}

// The test plug-in's Measure button: Gain's keys become the red of Source at
// each frame of the clip's range, in the format of the renders to come.
TEST_F(RenderTest, AnalysisInInstanceChangedReadsTheRangeAndRewritesKeys) {
    auto inst = tint();
    const auto frameAt = [](double t) { return hosttest::solidFloat(2, 1, PixelOrder::RGBA, float(0.1 * t)); };
    inst->connect("Source", [&](double t) { return std::make_shared<const ImageBuffer>(frameAt(t)); });
    inst->setFrameRange(1, 3);
    inst->setValueText("Gain", "3", 7.0);
    RenderOptions options;
    options.depth = Depth::Float;
    inst->setRenderOptions(options);

    std::vector<std::string> events;
    inst->watchProgress([&](const ProgressEvent& e) {
        events.push_back(e.kind == ProgressEvent::Kind::Update ? std::to_string(e.progress) : e.label);
        return true;
    });
    const auto gainAt = [&](double t) { return inst->value("Gain", t).n[0]; };

    inst->press("Measure", 1.0);
    EXPECT_EQ(events, (std::vector<std::string>{"Measuring", "0.333333", "0.666667", "1.000000", ""}));
    EXPECT_EQ(inst->liveImageCount(), 0u);
    EXPECT_EQ(inst->param("Gain").keyTimes(), (std::vector<double>{1, 2, 3})) << "the key at 7 is gone";
    EXPECT_EQ(gainAt(3.0), double(0.3f));
    const auto blocks = inst->params().editBlocks();
    ASSERT_EQ(blocks.size(), 1u);
    EXPECT_EQ(blocks[0].label, "Measure");
    EXPECT_EQ(blocks[0].changed, std::vector<std::string>{"Gain"});

    // The next render uses the written key.
    ImageBuffer out = inst->makeOutput(options);
    ASSERT_EQ(inst->render(2.0, options, out), kOfxStatOK);
    EXPECT_EQ(out.floatAt(1, 0, 0), float(frameAt(2).floatAt(1, 0, 0) * gainAt(2.0)));

    // For byte renders the analysis reads bytes; the abort flag cancels its
    // progress at the first update.
    options.depth = Depth::Byte;
    inst->setRenderOptions(options);
    inst->setAbort(true);
    inst->press("Measure", 1.0);
    inst->setAbort(false);
    EXPECT_EQ(inst->param("Gain").keyTimes(), (std::vector<double>{1}));
    EXPECT_EQ(gainAt(1.0), frameAt(1).converted(Depth::Byte, PixelOrder::RGBA).byteAt(0, 0, 0) / 255.0f);

    // Unbalanced ends are refused.
    EXPECT_EQ(suites::progressV1()->progressEndProgress(inst->handle()), kOfxStatFailed);
    EXPECT_EQ(suites::parameter()->paramEditEnd(inst->params().handle()), kOfxStatFailed);
}

TEST(RenderJobs, GeneratorSequenceWithAnimatedParameter) {
    auto host = hosttest::quietHost();
    auto plugin = hosttest::loadTestPlugin(host, "ondu1.test:ramp");
    RenderJob job;
    job.size = std::pair{3, 2};
    job.options.depth = Depth::Float;
    job.depthGiven = true;
    job.times = {1, 2, 3, 4, 5};
    job.settings = {parseSetting("Level=0@1"), parseSetting("Level=1@3"), parseSetting("Color=0.5,1,0,1")};
    const RenderResult r = runRenderJob(*plugin, job);
    EXPECT_EQ(r.context, kOfxImageEffectContextGenerator);
    ASSERT_EQ(r.frames.size(), 5u);
    const float levels[5] = {0, 0.5f, 1, 1, 1};
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(r.frames[i].floatAt(2, 1, 0), 0.5f * levels[i]) << i;
        EXPECT_EQ(r.frames[i].floatAt(0, 0, 1), levels[i]) << i;
    }
}

TEST(RenderJobs, TransitionSweepsFromZeroToOne) {
    auto host = hosttest::quietHost();
    auto plugin = hosttest::loadTestPlugin(host, "ondu1.test:mix");
    RenderJob job;
    job.inputs = {{"", "", std::make_shared<const ImageBuffer>(hosttest::solidFloat(2, 2, PixelOrder::BGRA, 0.0f))},
                  {"", "", std::make_shared<const ImageBuffer>(hosttest::solidFloat(2, 2, PixelOrder::BGRA, 1.0f))}};
    job.options.order = PixelOrder::BGRA;
    job.times = {10, 11, 12, 13, 14};
    const RenderResult r = runRenderJob(*plugin, job);
    EXPECT_EQ(r.context, kOfxImageEffectContextTransition);
    EXPECT_EQ(r.depth, Depth::Float);  // from the in-memory inputs
    for (int i = 0; i < 5; ++i) EXPECT_EQ(r.frames[i].floatAt(1, 1, 2), i * 0.25f) << i;
    job.settings = {parseSetting("Transition=0.75")};
    EXPECT_EQ(runRenderJob(*plugin, job).frames[0].floatAt(0, 0, 0), 0.75f);
}

TEST(RenderJobs, IdentityCopiesTheSource) {
    auto host = hosttest::quietHost();
    auto plugin = hosttest::loadTestPlugin(host, "ondu1.test:tint");
    auto frame = std::make_shared<const ImageBuffer>(ImageBuffer::testFrame(6, 4, Depth::Byte, PixelOrder::RGBA, 9));
    RenderJob job;
    job.inputs = {{"", "", frame}};
    job.settings = {parseSetting("Mode=Copy"), parseSetting("Gain=3.9")};
    // Gain 3.9 would make the render fail: an identity never renders.
    const RenderResult r = runRenderJob(*plugin, job);
    EXPECT_TRUE(r.frames[0].samePixels(*frame));
    job.checkIdentity = false;
    EXPECT_THROW(runRenderJob(*plugin, job), Error);
}

TEST(RenderJobs, MistakesInTheJob) {
    auto host = hosttest::quietHost();
    auto plugin = hosttest::loadTestPlugin(host, "ondu1.test:tint");
    auto frame = std::make_shared<const ImageBuffer>(2, 2, Depth::Byte, PixelOrder::RGBA);
    RenderJob job;
    job.inputs = {{"", "", frame}, {"", "", frame}};
    job.context = "filter";
    EXPECT_THROW(runRenderJob(*plugin, job), Error);  // one input too many
    job.inputs = {{"Source", "", frame}, {"Source", "", frame}};
    EXPECT_THROW(runRenderJob(*plugin, job), Error);
    job.inputs = {{"", "", frame}};
    job.context = "paint";
    EXPECT_THROW(runRenderJob(*plugin, job), Error);
    job.context = "general";
    EXPECT_NO_THROW(runRenderJob(*plugin, job));
}

}  // namespace
