// Bundles by other vendors (the ForeignCases test bundle): the host honours
// what they declare (depths, orders, normalised parameters, versions,
// labels) and keeps what they print off ofxrender's machine-readable output.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <sstream>

#include "HostTestSupport.h"
#include "cli/Cli.h"
#include "cli/Terminal.h"
#include "ofxhost/Describe.h"
#include "ofxhost/ImageIO.h"
#include "ofxhost/Instance.h"
#include "ofxhost/Json.h"
#include "ofxhost/ParamText.h"
#include "ofxhost/Status.h"

using namespace ofxhost;

namespace {

using hosttest::CliRun;
using hosttest::expectOneLineError;

std::shared_ptr<Plugin> loadCase(const std::shared_ptr<Host>& host, const std::string& id) {
    return hosttest::loadTestPlugin(host, "ondu1.cases:" + id, hosttest::kForeignCases);
}

CliRun run(std::vector<std::string> args) { return hosttest::runOfxrender(std::move(args), hosttest::kForeignCases); }

// A generator job of one frame kept in memory.
RenderJob generatorJob(int w, int h, Depth depth, PixelOrder order = PixelOrder::RGBA) {
    RenderJob job;
    job.size = std::make_pair(w, h);
    job.options.depth = depth;
    job.options.order = order;
    job.depthGiven = true;
    return job;
}

// ---- depths

TEST(ForeignDepths, ByteOnlyPluginRendersBytesFromFloatInputs) {
    auto host = hosttest::quietHost();
    auto plugin = loadCase(host, "byteOnly");
    auto input = std::make_shared<const ImageBuffer>(ImageBuffer::testFrame(7, 5, Depth::Float, PixelOrder::RGBA, 3));
    RenderJob job;
    job.inputs.push_back({"", "", input});  // float in: the depth would follow it
    const RenderResult r = runRenderJob(*plugin, job);
    EXPECT_EQ(r.depth, Depth::Byte);
    ASSERT_EQ(r.frames.size(), 1u);
    const ImageBuffer& out = r.frames[0];
    ASSERT_EQ(out.depth(), Depth::Byte);
    for (int y = 0; y < 5; ++y)
        for (int x = 0; x < 7; ++x)
            for (int c = 0; c < 4; ++c) {
                const long in = std::lround(std::clamp(input->floatAt(x, y, c), 0.0f, 1.0f) * 255.0f);
                EXPECT_EQ(out.byteAt(x, y, c), c < 3 ? 255 - in : in) << x << "," << y << " c" << c;
            }
}

TEST(ForeignDepths, DepthsNotDeclaredAreRefusedInOneLine) {
    auto host = hosttest::quietHost();
    auto byteOnly = loadCase(host, "byteOnly");
    RenderJob job;
    job.inputs.push_back({"", "", std::make_shared<const ImageBuffer>(4, 4, Depth::Float, PixelOrder::RGBA)});
    job.options.depth = Depth::Float;
    job.depthGiven = true;
    try {
        runRenderJob(*byteOnly, job);
        ADD_FAILURE() << "a byte-only plug-in rendered float";
    } catch (const Error& e) {
        EXPECT_EQ(e.what_part(), "ondu1.cases:byteOnly");
        EXPECT_NE(e.why().find("does not render float"), std::string::npos) << e.why();
    }
    auto shortOnly = loadCase(host, "shortOnly");
    EXPECT_THROW(runRenderJob(*shortOnly, generatorJob(4, 4, Depth::Byte)), Error);
    RenderJob unasked;  // no depth asked for: still nothing to render it in
    unasked.size = std::make_pair(4, 4);
    EXPECT_THROW(runRenderJob(*shortOnly, unasked), Error);

    // Through ofxrender (bench needs no image files).
    expectOneLineError(run({"bench", "byteOnly", "--depth", "float", "--size", "8x8", "--repeat", "1"}),
                       "ondu1.cases:byteOnly", "does not render float images");
    expectOneLineError(run({"bench", "shortOnly", "--size", "8x8", "--repeat", "1"}), "ondu1.cases:shortOnly",
                       "declares only pixel depths this host does not render (OfxBitDepthShort)");
    CliRun r = run({"bench", "byteOnly", "--depth", "byte", "--size", "8x8", "--repeat", "1"});
    EXPECT_EQ(r.status, 0) << r.err;
}

TEST(ForeignDepths, DeclaredFormats) {
    auto host = hosttest::quietHost();
    const DeclaredFormats b = declaredFormats(*loadCase(host, "byteOnly"));
    EXPECT_TRUE(b.byte && b.rgba);
    EXPECT_FALSE(b.floats || b.bgra);
    const DeclaredFormats s = declaredFormats(*loadCase(host, "shortOnly"));
    EXPECT_FALSE(s.byte || s.floats);
    EXPECT_EQ(s.others, std::vector<std::string>{"OfxBitDepthShort"});
    const DeclaredFormats all = declaredFormats(*loadCase(host, "redBGR"));
    EXPECT_TRUE(all.byte && all.floats && all.rgba && all.bgra);
}

// ---- pixel order

TEST(ForeignOrder, BgraOnlyForPluginsDeclaringBgrDepths) {
    auto host = hosttest::quietHost();
    for (const Depth depth : {Depth::Byte, Depth::Float}) {
        SCOPED_TRACE(depthName(depth));
        // Without BGR depths the plug-in gets RGBA, so its red is red.
        RenderResult r = runRenderJob(*loadCase(host, "redRGBA"), generatorJob(3, 2, depth, PixelOrder::BGRA));
        ASSERT_EQ(r.frames.size(), 1u);
        EXPECT_EQ(r.frames[0].order(), PixelOrder::RGBA);
        EXPECT_EQ(r.frames[0].rgba(2, 1), (std::array<float, 4>{1, 0, 0, 1}));
        // With them it gets the BGRA asked for, and reads the order.
        r = runRenderJob(*loadCase(host, "redBGR"), generatorJob(3, 2, depth, PixelOrder::BGRA));
        EXPECT_EQ(r.frames[0].order(), PixelOrder::BGRA);
        EXPECT_EQ(r.frames[0].rgba(2, 1), (std::array<float, 4>{1, 0, 0, 1}));
    }
}

TEST(ForeignOrder, OfxrenderSaysOnceWhenItRendersRgbaInstead) {
    auto host = hosttest::quietHost();
    auto rgbaOnly = loadCase(host, "redRGBA");
    auto bgr = loadCase(host, "redBGR");
    ofxcli::CliOptions o;
    std::ostringstream err;
    ofxcli::noteOrderFallback(*rgbaOnly, o, err);  // rgba asked: nothing to say
    o.order = PixelOrder::BGRA;
    ofxcli::noteOrderFallback(*bgr, o, err);
    EXPECT_EQ(err.str(), "");
    ofxcli::noteOrderFallback(*rgbaOnly, o, err);
    EXPECT_EQ(err.str(), "ofxrender: ondu1.cases:redRGBA declares no BGR depth; rendering in RGBA order\n");

    if (!imageFilesSupported()) GTEST_SKIP() << "built without OpenImageIO";
    hosttest::TempDir dir;
    const CliRun r = run({"render", "redRGBA", "--order", "bgra", "--size", "4x2", "-o", dir.file("red.exr")});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.err, "ofxrender: ondu1.cases:redRGBA declares no BGR depth; rendering in RGBA order\n");
    EXPECT_EQ(readImage(dir.file("red.exr"), Depth::Float).rgba(3, 1), (std::array<float, 4>{1, 0, 0, 1}));
}

// ---- normalised parameters

// What normalisedRect draws in a 40x20 project: red where x in [x1, x2) and
// y in [y1, y2), green on one row.
void expectRectangle(const ImageBuffer& img, int x1, int x2, int y1, int y2, int greenRow) {
    for (int y = 0; y < img.height(); ++y)
        for (int x = 0; x < img.width(); ++x) {
            const auto p = img.rgba(x, y);
            const bool inside = x >= x1 && x < x2 && y >= y1 && y < y2;
            ASSERT_EQ(p[0], inside ? 1.0f : 0.0f) << x << "," << y;
            ASSERT_EQ(p[1], y == greenRow ? 1.0f : 0.0f) << x << "," << y;
        }
}

TEST(ForeignNormalised, DefaultsScaleToTheProject) {
    auto host = hosttest::quietHost();
    auto plugin = loadCase(host, "normalisedRect");
    // Centre 0.5,0.5 and size 0.5,0.5 of 40x20: x 10..29, y 5..14; the line
    // at 0.25 of 20 rows: row 5.
    RenderResult r = runRenderJob(*plugin, generatorJob(40, 20, Depth::Float));
    expectRectangle(r.frames[0], 10, 30, 5, 15, 5);

    // The user's values are pixels, for both kinds: the centre is canonical
    // once the instance exists, the line reaches the plug-in as 10 / 20.
    RenderJob job = generatorJob(40, 20, Depth::Byte, PixelOrder::BGRA);
    job.settings = {parseSetting("centre=10,10"), parseSetting("size=4,2"), parseSetting("line=10")};
    r = runRenderJob(*plugin, job);
    expectRectangle(r.frames[0], 8, 12, 9, 11, 10);

    RenderOptions options;
    auto instance = prepareInstance(*plugin, job, options);
    EXPECT_EQ(instance->value("line", 0).n[0], 0.5);  // what the plug-in sees
    job.settings = {parseSetting("line=30")};         // 1.5 of the project: above its maximum of 1
    try {
        runRenderJob(*plugin, job);
        ADD_FAILURE() << "line=30 was taken";
    } catch (const Error& e) {
        EXPECT_EQ(e.what_part(), "line");
        EXPECT_NE(e.why().find("outside its range (0 to 20)"), std::string::npos) << e.why();
    }
}

TEST(ForeignNormalised, AnUntouchedDefaultFollowsTheInstancesProject) {
    auto host = hosttest::quietHost();
    auto plugin = loadCase(host, "normalisedRect");
    auto instance = plugin->createInstance("generator");
    EXPECT_EQ(instance->value("centre", 0).n, (std::array<double, 4>{960, 540, 0, 0}));
    instance->setProjectSize(100, 50);
    EXPECT_EQ(instance->value("centre", 0).n, (std::array<double, 4>{50, 25, 0, 0}));
    EXPECT_EQ(instance->value("size", 0).n, (std::array<double, 4>{50, 25, 0, 0}));
    EXPECT_EQ(instance->value("line", 0).n[0], 0.25);  // normalised, as the plug-in reads it
    instance->setValueText("centre", "7,8");
    instance->setProjectSize(200, 100);
    EXPECT_EQ(instance->value("centre", 0).n, (std::array<double, 4>{7, 8, 0, 0}));  // set: canonical now
    EXPECT_EQ(instance->value("size", 0).n, (std::array<double, 4>{100, 50, 0, 0}));
    EXPECT_EQ(formatParamValue(instance->param("line"), instance->value("line", 0)), "25");
}

TEST(ForeignNormalised, DescribeShowsPixels) {
    auto host = hosttest::quietHost();
    const PluginInfo info = describePlugin(*loadCase(host, "normalisedRect"));
    ASSERT_EQ(info.params.size(), 3u);
    EXPECT_EQ(info.params[0].defaultValue.dump(false), "[960,540]");
    EXPECT_EQ(info.params[0].normalisedDefault.dump(false), "[0.5,0.5]");
    EXPECT_EQ(info.params[2].defaultValue.dump(false), "270");  // 0.25 of 1080 rows
    EXPECT_EQ(info.params[2].min, std::vector<double>{0});
    EXPECT_EQ(info.params[2].max, std::vector<double>{1080});
    const CliRun r = run({"describe", "normalisedRect"});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.out.find("default [960,540] ([0.5,0.5] of the project)"), std::string::npos) << r.out;
}

// ---- what plug-ins print

TEST(ForeignOutput, PluginPrintsStayOffTheJson) {
    hosttest::TempDir dir;
    for (const char* command : {"list", "describe"}) {
        SCOPED_TRACE(command);
        const std::string outName = dir.file(std::string(command) + ".out"),
                          errName = dir.file(std::string(command) + ".err");
        std::fflush(stdout);
        std::fflush(stderr);
        const int savedOut = ::dup(1), savedErr = ::dup(2);
        const int outFd = ::open(outName.c_str(), O_CREAT | O_WRONLY | O_TRUNC, 0644);
        const int errFd = ::open(errName.c_str(), O_CREAT | O_WRONLY | O_TRUNC, 0644);
        ASSERT_TRUE(savedOut >= 0 && savedErr >= 0 && outFd >= 0 && errFd >= 0);
        ::dup2(outFd, 1);
        ::dup2(errFd, 2);
        int status = -1;
        {
            // As ofxrender's main does.
            ofxcli::CleanStdout guard;
            std::vector<std::string> args = {command, "--json", "--bundle", hosttest::kForeignCases};
            if (std::string(command) == "describe") args.insert(args.begin() + 1, "chatty");
            std::ostringstream err;
            status = ofxcli::runCli(args, guard.out(), err);
        }
        std::fflush(stdout);
        ::dup2(savedOut, 1);
        ::dup2(savedErr, 2);
        for (int fd : {savedOut, savedErr, outFd, errFd}) ::close(fd);

        EXPECT_EQ(status, 0);
        std::stringstream out, err;
        out << std::ifstream(outName).rdbuf();
        err << std::ifstream(errName).rdbuf();
        Json parsed;
        EXPECT_NO_THROW(parsed = Json::parse(out.str(), "stdout")) << out.str();
        EXPECT_NE(out.str().find("\"ondu1.cases:chatty\""), std::string::npos);
        EXPECT_NE(err.str().find("chatty: loading\n"), std::string::npos) << err.str();
        EXPECT_NE(err.str().find("chatty: describing\n"), std::string::npos) << err.str();
    }
}

// ---- versions

TEST(ForeignVersions, TheHighestUnlessAskedOtherwise) {
    auto host = hosttest::quietHost();
    auto bundle = Bundle::open(hosttest::kForeignCases, host.get());
    const std::string up = "ondu1.cases:versioned", down = "ondu1.cases:versionedDown";
    ASSERT_EQ(bundle->pluginVersion(bundle->indexOf(up)), std::make_pair(2u, 1u));
    EXPECT_EQ(bundle->pluginVersion(bundle->indexOf(up, 1)), std::make_pair(1u, 0u));
    EXPECT_EQ(bundle->indexOf(up, 2, 1), bundle->indexOf(up));
    EXPECT_EQ(bundle->indexOf(up, 2, 0), -1);
    EXPECT_EQ(bundle->indexOf(up, 3), -1);
    EXPECT_EQ(bundle->pluginVersion(bundle->indexOf(down)), std::make_pair(3u, 0u));
    EXPECT_EQ(bundle->pluginVersion(bundle->indexOf(down, 1)), std::make_pair(1u, 5u));

    ofxcli::CliOptions o;
    o.bundles = {hosttest::kForeignCases};
    std::ostringstream err;
    ofxcli::Session session(o, err, "");
    // Each version renders its own number: major / 10 + minor / 100.
    const std::pair<const char*, float> cases[] = {
        {"versioned", 0.21f},     {"ondu1.cases:versioned@1", 0.10f}, {"versioned@2.1", 0.21f},
        {"versioned@1.0", 0.10f}, {"versionedDown", 0.30f},           {"versionedDown@1", 0.15f},
    };
    for (const auto& [name, value] : cases) {
        SCOPED_TRACE(name);
        auto plugin = session.load(name);
        const RenderResult r = runRenderJob(*plugin, generatorJob(2, 2, Depth::Float));
        EXPECT_NEAR(r.frames[0].floatAt(1, 1, 0), value, 1e-6);
    }
    expectOneLineError(run({"describe", "versioned@3"}), "versioned@3",
                       "ondu1.cases:versioned has no such version (it has: 1.0, 2.1)");
    expectOneLineError(run({"describe", "versioned@1.x"}), "versioned@1.x", "\"1.x\" is not a version");
}

TEST(ForeignVersions, ListShowsEveryVersion) {
    CliRun r = run({"list"});
    ASSERT_EQ(r.status, 0) << r.err;
    for (const char* line : {"ondu1.cases:versioned  1.0  \"Versioned\"", "ondu1.cases:versioned  2.1  \"Versioned\"",
                             "ondu1.cases:versionedDown  3.0", "ondu1.cases:versionedDown  1.5"})
        EXPECT_NE(r.out.find(line), std::string::npos) << line;
    r = run({"list", "--json"});
    ASSERT_EQ(r.status, 0) << r.err;
    std::vector<std::string> versions;
    const Json list = Json::parse(r.out, "list");
    for (const Json& p : list.items())
        if (*p.find("id")->string() == "ondu1.cases:versioned") versions.push_back(*p.find("version")->string());
    EXPECT_EQ(versions, (std::vector<std::string>{"1.0", "2.1"}));
    r = run({"describe", "versioned@1", "--json"});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(*Json::parse(r.out, "describe").find("version")->string(), "1.0");
}

// ---- labels

TEST(ForeignLabels, ShortAndLongFallBackToTheLabel) {
    CliRun r = run({"describe", "redRGBA"});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.out.find("labels:   short \"Red RGBA\", long \"Red RGBA\""), std::string::npos) << r.out;
    r = run({"describe", "redRGBA", "--json"});
    ASSERT_EQ(r.status, 0) << r.err;
    const Json j = Json::parse(r.out, "describe");
    EXPECT_EQ(*j.find("shortLabel")->string(), "Red RGBA");
    EXPECT_EQ(*j.find("longLabel")->string(), "Red RGBA");
    // Labels a plug-in does set stay its own.
    r = run({"describe", "versioned"});
    EXPECT_NE(r.out.find("labels:   short \"Ver\", long \"Versioned, second edition\""), std::string::npos) << r.out;
}

// ---- the project's pixel aspect

TEST(ForeignPixelAspect, RendersWithTheInstancesProperty) {
    auto host = hosttest::quietHost();
    const RenderResult r = runRenderJob(*loadCase(host, "pixelAspect"), generatorJob(3, 3, Depth::Float));
    EXPECT_EQ(r.frames[0].rgba(2, 2), (std::array<float, 4>{1, 1, 1, 1}));
}

// ---- --poison

TEST(ForeignPoison, ParsedAsATestOptionOfRenderAndBench) {
    ofxcli::CliOptions o = ofxcli::parseCommandLine({"render", "x", "-o", "o.exr"});
    EXPECT_FALSE(o.poison);
    EXPECT_FALSE(ofxcli::jobFromOptions(o).options.poison);
    o = ofxcli::parseCommandLine({"render", "x", "--poison", "-o", "o.exr"});
    EXPECT_TRUE(o.poison);
    EXPECT_TRUE(ofxcli::jobFromOptions(o).options.poison);
    EXPECT_TRUE(ofxcli::parseCommandLine({"bench", "x", "--poison"}).poison);
    EXPECT_THROW(ofxcli::parseCommandLine({"render", "x", "--poison=1", "-o", "o.exr"}), Error);
    EXPECT_THROW(ofxcli::parseCommandLine({"list", "--poison"}), Error);
    EXPECT_NE(ofxcli::helpText().find("--poison"), std::string::npos);
}

}  // namespace
