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
#include <functional>
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

// What a command that must succeed prints on stdout.
std::string ok(std::vector<std::string> args) {
    const CliRun r = run(std::move(args));
    EXPECT_EQ(r.status, 0) << r.err;
    return r.out;
}

CliRun bench(const std::string& id, std::vector<std::string> extra = {}) {
    std::vector<std::string> args = {"bench", id, "--size", "8x8", "--repeat", "1"};
    args.insert(args.end(), extra.begin(), extra.end());
    return run(args);
}

// f throws an Error naming `what`, its reason holding `why`.
void expectError(const std::function<void()>& f, const std::string& what, const std::string& why) {
    try {
        f();
        ADD_FAILURE() << "no error for " << what;
    } catch (const Error& e) {
        EXPECT_EQ(e.what_part(), what);
        EXPECT_NE(e.why().find(why), std::string::npos) << e.why();
    }
}

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

// A byte-only plug-in given floats renders bytes (inverted colour); depths
// not declared are refused, in one line through ofxrender.
TEST(ForeignDepths, OnlyDeclaredDepthsRender) {
    auto host = hosttest::quietHost();
    auto byteOnly = loadCase(host, "byteOnly"), shortOnly = loadCase(host, "shortOnly");
    auto input = std::make_shared<const ImageBuffer>(ImageBuffer::testFrame(7, 5, Depth::Float, PixelOrder::RGBA, 3));
    RenderJob job;
    job.inputs.push_back({"", "", input});  // float in: the depth would follow it
    const RenderResult r = runRenderJob(*byteOnly, job);
    EXPECT_EQ(r.depth, Depth::Byte);
    ASSERT_EQ(r.frames.size(), 1u);
    ASSERT_EQ(r.frames[0].depth(), Depth::Byte);
    for (int y = 0; y < 5; ++y)
        for (int x = 0; x < 7; ++x)
            for (int c = 0; c < 4; ++c) {
                const long in = std::lround(std::clamp(input->floatAt(x, y, c), 0.0f, 1.0f) * 255.0f);
                EXPECT_EQ(r.frames[0].byteAt(x, y, c), c < 3 ? 255 - in : in) << x << "," << y << " c" << c;
            }

    job.options.depth = Depth::Float;
    job.depthGiven = true;
    expectError([&] { runRenderJob(*byteOnly, job); }, "ondu1.cases:byteOnly", "does not render float");
    EXPECT_THROW(runRenderJob(*shortOnly, generatorJob(4, 4, Depth::Byte)), Error);
    RenderJob unasked;  // no depth asked for: still nothing to render it in
    unasked.size = std::make_pair(4, 4);
    EXPECT_THROW(runRenderJob(*shortOnly, unasked), Error);
    expectOneLineError(bench("byteOnly", {"--depth", "float"}), "ondu1.cases:byteOnly", "does not render float images");
    expectOneLineError(bench("shortOnly"), "ondu1.cases:shortOnly",
                       "declares only pixel depths this host does not render (OfxBitDepthShort)");
    const CliRun bytes = bench("byteOnly", {"--depth", "byte"});
    EXPECT_EQ(bytes.status, 0) << bytes.err;

    const DeclaredFormats b = declaredFormats(*byteOnly);
    EXPECT_TRUE(b.byte && b.rgba);
    EXPECT_FALSE(b.floats || b.bgra);
    const DeclaredFormats s = declaredFormats(*shortOnly);
    EXPECT_FALSE(s.byte || s.floats);
    EXPECT_EQ(s.others, std::vector<std::string>{"OfxBitDepthShort"});
    const DeclaredFormats all = declaredFormats(*loadCase(host, "redBGR"));
    EXPECT_TRUE(all.byte && all.floats && all.rgba && all.bgra);
}

// ---- pixel order

// BGRA only for plug-ins declaring BGR depths; the others get RGBA, and
// ofxrender says so once.
TEST(ForeignOrder, BgraOnlyForPluginsDeclaringBgrDepths) {
    auto host = hosttest::quietHost();
    auto rgbaOnly = loadCase(host, "redRGBA"), bgr = loadCase(host, "redBGR");
    for (const Depth depth : {Depth::Byte, Depth::Float})
        for (const auto& [plugin, order] : {std::pair{rgbaOnly, PixelOrder::RGBA}, std::pair{bgr, PixelOrder::BGRA}}) {
            SCOPED_TRACE(std::string(depthName(depth)) + (plugin == bgr ? " redBGR" : " redRGBA"));
            const RenderResult r = runRenderJob(*plugin, generatorJob(3, 2, depth, PixelOrder::BGRA));
            ASSERT_EQ(r.frames.size(), 1u);
            EXPECT_EQ(r.frames[0].order(), order);
            EXPECT_EQ(r.frames[0].rgba(2, 1), (std::array<float, 4>{1, 0, 0, 1}));
        }

    const std::string note = "ofxrender: ondu1.cases:redRGBA declares no BGR depth; rendering in RGBA order\n";
    ofxcli::CliOptions o;
    std::ostringstream err;
    ofxcli::noteOrderFallback(*rgbaOnly, o, err);  // rgba asked: nothing to say
    o.order = PixelOrder::BGRA;
    ofxcli::noteOrderFallback(*bgr, o, err);
    EXPECT_EQ(err.str(), "");
    ofxcli::noteOrderFallback(*rgbaOnly, o, err);
    EXPECT_EQ(err.str(), note);
    if (!imageFilesSupported()) GTEST_SKIP() << "built without OpenImageIO";
    hosttest::TempDir dir;
    const CliRun r = run({"render", "redRGBA", "--order", "bgra", "--size", "4x2", "-o", dir.file("red.exr")});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.err, note);
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
    expectRectangle(runRenderJob(*plugin, generatorJob(40, 20, Depth::Float)).frames[0], 10, 30, 5, 15, 5);

    // The user's values are pixels, for both kinds: the centre is canonical
    // once the instance exists, the line reaches the plug-in as 10 / 20.
    RenderJob job = generatorJob(40, 20, Depth::Byte, PixelOrder::BGRA);
    job.settings = {parseSetting("centre=10,10"), parseSetting("size=4,2"), parseSetting("line=10")};
    expectRectangle(runRenderJob(*plugin, job).frames[0], 8, 12, 9, 11, 10);
    RenderOptions options;
    EXPECT_EQ(prepareInstance(*plugin, job, options)->value("line", 0).n[0], 0.5);  // what the plug-in sees
    job.settings = {parseSetting("line=30")};  // 1.5 of the project: above its maximum of 1
    expectError([&] { runRenderJob(*plugin, job); }, "line", "outside its range (0 to 20)");
}

TEST(ForeignNormalised, AnUntouchedDefaultFollowsTheInstancesProject) {
    auto host = hosttest::quietHost();
    auto instance = loadCase(host, "normalisedRect")->createInstance("generator");
    const auto value = [&](const char* name) { return instance->value(name, 0).n; };
    EXPECT_EQ(value("centre"), (std::array<double, 4>{960, 540, 0, 0}));
    instance->setProjectSize(100, 50);
    EXPECT_EQ(value("centre"), (std::array<double, 4>{50, 25, 0, 0}));
    EXPECT_EQ(value("size"), (std::array<double, 4>{50, 25, 0, 0}));
    EXPECT_EQ(value("line")[0], 0.25);  // normalised, as the plug-in reads it
    instance->setValueText("centre", "7,8");
    instance->setProjectSize(200, 100);
    EXPECT_EQ(value("centre"), (std::array<double, 4>{7, 8, 0, 0}));  // set: canonical now
    EXPECT_EQ(value("size"), (std::array<double, 4>{100, 50, 0, 0}));
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
    const std::string out = ok({"describe", "normalisedRect"});
    EXPECT_NE(out.find("default [960,540] ([0.5,0.5] of the project)"), std::string::npos) << out;
}

// ---- what plug-ins print

// stdout and stderr sent to files while it lives.
struct Redirected {
    int saved[2], files[2];
    Redirected(const std::string& out, const std::string& err) {
        std::fflush(stdout);
        std::fflush(stderr);
        for (int fd : {1, 2}) {
            saved[fd - 1] = ::dup(fd);
            files[fd - 1] = ::open((fd == 1 ? out : err).c_str(), O_CREAT | O_WRONLY | O_TRUNC, 0644);
            EXPECT_TRUE(saved[fd - 1] >= 0 && files[fd - 1] >= 0);
            ::dup2(files[fd - 1], fd);
        }
    }
    ~Redirected() {
        std::fflush(stdout);
        std::fflush(stderr);
        for (int fd : {1, 2}) {
            ::dup2(saved[fd - 1], fd);
            ::close(saved[fd - 1]);
            ::close(files[fd - 1]);
        }
    }
};

std::string contents(const std::string& name) {
    std::stringstream s;
    s << std::ifstream(name).rdbuf();
    return s.str();
}

TEST(ForeignOutput, PluginPrintsStayOffTheJson) {
    hosttest::TempDir dir;
    for (const std::string command : {"list", "describe"}) {
        SCOPED_TRACE(command);
        const std::string outName = dir.file(command + ".out"), errName = dir.file(command + ".err");
        int status = -1;
        {
            const Redirected files(outName, errName);
            ofxcli::CleanStdout guard;  // as ofxrender's main does
            std::vector<std::string> args = {command, "--json", "--bundle", hosttest::kForeignCases};
            if (command == "describe") args.insert(args.begin() + 1, "chatty");
            std::ostringstream err;
            status = ofxcli::runCli(args, guard.out(), err);
        }
        EXPECT_EQ(status, 0);
        const std::string out = contents(outName), err = contents(errName);
        EXPECT_NO_THROW(Json::parse(out, "stdout")) << out;
        EXPECT_NE(out.find("\"ondu1.cases:chatty\""), std::string::npos);
        EXPECT_NE(err.find("chatty: loading\n"), std::string::npos) << err;
        EXPECT_NE(err.find("chatty: describing\n"), std::string::npos) << err;
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
        const RenderResult r = runRenderJob(*session.load(name), generatorJob(2, 2, Depth::Float));
        EXPECT_NEAR(r.frames[0].floatAt(1, 1, 0), value, 1e-6);
    }
    expectOneLineError(run({"describe", "versioned@3"}), "versioned@3",
                       "ondu1.cases:versioned has no such version (it has: 1.0, 2.1)");
    expectOneLineError(run({"describe", "versioned@1.x"}), "versioned@1.x", "\"1.x\" is not a version");
}

TEST(ForeignVersions, ListShowsEveryVersion) {
    const std::string out = ok({"list"});
    for (const char* line : {"ondu1.cases:versioned  1.0  \"Versioned\"", "ondu1.cases:versioned  2.1  \"Versioned\"",
                             "ondu1.cases:versionedDown  3.0", "ondu1.cases:versionedDown  1.5"})
        EXPECT_NE(out.find(line), std::string::npos) << line;
    std::vector<std::string> versions;
    const Json list = Json::parse(ok({"list", "--json"}), "list");
    for (const Json& p : list.items())
        if (*p.find("id")->string() == "ondu1.cases:versioned") versions.push_back(*p.find("version")->string());
    EXPECT_EQ(versions, (std::vector<std::string>{"1.0", "2.1"}));
    EXPECT_EQ(*Json::parse(ok({"describe", "versioned@1", "--json"}), "describe").find("version")->string(), "1.0");
}

// ---- labels

// Short and long fall back to the label; labels a plug-in sets stay its own.
TEST(ForeignLabels, ShortAndLongFallBackToTheLabel) {
    std::string out = ok({"describe", "redRGBA"});
    EXPECT_NE(out.find("labels:   short \"Red RGBA\", long \"Red RGBA\""), std::string::npos) << out;
    const Json j = Json::parse(ok({"describe", "redRGBA", "--json"}), "describe");
    EXPECT_EQ(*j.find("shortLabel")->string(), "Red RGBA");
    EXPECT_EQ(*j.find("longLabel")->string(), "Red RGBA");
    out = ok({"describe", "versioned"});
    EXPECT_NE(out.find("labels:   short \"Ver\", long \"Versioned, second edition\""), std::string::npos) << out;
}

// ---- the project's pixel aspect, --poison

TEST(ForeignPixelAspect, RendersWithTheInstancesProperty) {
    auto host = hosttest::quietHost();
    const RenderResult r = runRenderJob(*loadCase(host, "pixelAspect"), generatorJob(3, 3, Depth::Float));
    EXPECT_EQ(r.frames[0].rgba(2, 2), (std::array<float, 4>{1, 1, 1, 1}));
}

TEST(ForeignPoison, ParsedAsATestOptionOfRenderAndBench) {
    for (const bool poison : {false, true}) {
        std::vector<std::string> args = {"render", "x", "-o", "o.exr"};
        if (poison) args.insert(args.begin() + 2, "--poison");
        const ofxcli::CliOptions o = ofxcli::parseCommandLine(args);
        EXPECT_EQ(o.poison, poison);
        EXPECT_EQ(ofxcli::jobFromOptions(o).options.poison, poison);
    }
    EXPECT_TRUE(ofxcli::parseCommandLine({"bench", "x", "--poison"}).poison);
    EXPECT_THROW(ofxcli::parseCommandLine({"render", "x", "--poison=1", "-o", "o.exr"}), Error);
    EXPECT_THROW(ofxcli::parseCommandLine({"list", "--poison"}), Error);
    EXPECT_NE(ofxcli::helpText().find("--poison"), std::string::npos);
}

}  // namespace
