// ofxrender, run in-process: its output, and that every error is one line,
// exit status 1 and no file left behind.
#include <gtest/gtest.h>

#include <cstdlib>
#include <sstream>

#include "HostTestSupport.h"
#include "cli/Cli.h"
#include "ofxhost/ImageIO.h"

using namespace ofxhost;
using hosttest::kBundle;

namespace {

using hosttest::CliRun;
using hosttest::expectOneLineError;

CliRun run(std::vector<std::string> args) { return hosttest::runOfxrender(std::move(args)); }

TEST(Cli, HelpVersionList) {
    CliRun r = run({"--help"});
    EXPECT_EQ(r.status, 0);
    EXPECT_NE(r.out.find("ofxrender render PLUGIN"), std::string::npos);
    EXPECT_NE(r.out.find("byte for 8-bit inputs"), std::string::npos);
    r = run({"--version"});
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out.rfind("ofxrender ", 0), 0u);
    r = run({"list"});
    EXPECT_EQ(r.status, 0);
    EXPECT_NE(r.out.find("ondu1.test:tint  1.2  \"Test Tint\"  Host Tests  [filter,general]"), std::string::npos);
    r = run({"list", "--json"});
    EXPECT_EQ(r.status, 0);
    EXPECT_NE(r.out.find("\"id\": \"ondu1.test:mix\""), std::string::npos);
    EXPECT_NE(r.out.find("\"contexts\": [\n      \"transition\"\n    ]"), std::string::npos);
}

TEST(Cli, DescribeBySuffixInEveryContext) {
    CliRun r = run({"describe", "tint", "--json"});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.out.find("\"id\": \"ondu1.test:tint\""), std::string::npos);
    EXPECT_NE(r.out.find("\"scriptName\": \"gain\""), std::string::npos);
    r = run({"describe", "ondu1.test:tint", "--context", "general"});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.out.find("clips (general)"), std::string::npos);
    expectOneLineError(run({"describe", "tint", "--context", "transition"}), "ondu1.test:tint");
    expectOneLineError(run({"describe", "nosuch"}), "nosuch");
}

TEST(Cli, BenchPrintsRatesWithoutImageFiles) {
    // tint declares no BGR depth, so it is benched in RGBA whatever --order says.
    CliRun r = run({"bench", "tint", "--size", "32x16", "--repeat", "3", "--depth", "float", "--order", "bgra"});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.out.find("32x16 float rgba"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("MP/s"), std::string::npos);
    EXPECT_NE(r.out.find("of memcpy"), std::string::npos);
    r = run({"bench", "mix", "--size", "8x8", "--repeat", "2", "--json"});
    ASSERT_EQ(r.status, 0) << r.err;
    for (const char* key : {"\"megapixelsPerSecond\"", "\"memcpyMegapixelsPerSecond\"", "\"ratioToMemcpy\"",
                            "\"context\": \"transition\""})
        EXPECT_NE(r.out.find(key), std::string::npos) << key;
    expectOneLineError(run({"bench", "tint", "--size", "8x8", "--set", "Gain=3.9"}), "ondu1.test:tint");
}

TEST(Cli, LogOptionSetsTheEnvironmentBeforeLoading) {
    ::unsetenv("ONDU1_LOG");
    run({"list", "--log", "/tmp/ondu1-test.log"});
    ASSERT_NE(std::getenv("ONDU1_LOG"), nullptr);
    EXPECT_STREQ(std::getenv("ONDU1_LOG"), "/tmp/ondu1-test.log");
    ::unsetenv("ONDU1_LOG");
}

class CliFiles : public ::testing::Test {
protected:
    void SetUp() override {
        if (!imageFilesSupported()) GTEST_SKIP() << "built without OpenImageIO";
        frame = ImageBuffer::testFrame(12, 7, Depth::Float, PixelOrder::RGBA, 11);
        frame.setFloat(3, 3, 0, -0.75f);  // outside 0..1: only a float file keeps it
        frame.setFloat(4, 3, 1, 12.5f);
        writeImage(dir.file("in.tif"), frame);
        writeImage(dir.file("in.png"), ImageBuffer::testFrame(12, 7, Depth::Byte, PixelOrder::RGBA, 12));
    }
    hosttest::TempDir dir;
    ImageBuffer frame{1, 1, Depth::Float, PixelOrder::RGBA};
};

TEST_F(CliFiles, FloatFilesPassThroughBitExact) {
    for (const char* order : {"rgba", "bgra"}) {
        const std::string out = dir.file(std::string("out-") + order + ".exr");
        CliRun r = run({"render", "tint", "-i", dir.file("in.tif"), "-o", out, "--order", order, "--set", "Mode=Gain",
                        "--row-padding", "16"});
        ASSERT_EQ(r.status, 0) << r.err;
        // tint declares no BGR depth: it gets RGBA, and ofxrender says so once.
        EXPECT_EQ(r.err, std::string(order) == "rgba"
                             ? ""
                             : "ofxrender: ondu1.test:tint declares no BGR depth; rendering in RGBA order\n");
        EXPECT_TRUE(readImage(out, Depth::Float).samePixels(frame)) << order;
    }
}

TEST_F(CliFiles, DepthFollowsTheInputUnlessGiven) {
    // A PNG renders in bytes; forcing float and writing TIFF keeps floats.
    CliRun r = run({"render", "tint", "-i", dir.file("in.png"), "-o", dir.file("b.tif"), "--set", "Mode=Gain"});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(fileDepth(dir.file("b.tif")), Depth::Byte);
    r = run({"render", "tint", "-i", dir.file("in.png"), "-o", dir.file("f.tif"), "--depth", "float", "--set",
             "Mode=Gain"});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(fileDepth(dir.file("f.tif")), Depth::Float);
}

TEST_F(CliFiles, SequenceWithKeyframesWritesEveryFrame) {
    CliRun r = run({"render", "ramp", "--size", "4x3", "--frames", "1-5x2", "-o", dir.file("ramp.#.exr"), "--set",
                    "Level=0@1", "--set", "Level=1@5", "--set", "Color=1,1,1,1"});
    ASSERT_EQ(r.status, 0) << r.err;
    const float want[] = {0.0f, 0.5f, 1.0f};
    int i = 0;
    for (const char* f : {"ramp.0001.exr", "ramp.0003.exr", "ramp.0005.exr"}) {
        const ImageBuffer img = readImage(dir.file(f), Depth::Float);
        EXPECT_EQ(img.width(), 4);
        EXPECT_EQ(img.floatAt(3, 2, 0), want[i++]) << f;
    }
}

TEST_F(CliFiles, TransitionFromTwoFiles) {
    writeImage(dir.file("white.tif"), hosttest::solidFloat(12, 7, PixelOrder::RGBA, 1.0f));
    CliRun r = run({"render", "mix", "-i", dir.file("in.tif"), "-i", "SourceTo=" + dir.file("white.tif"), "--frames",
                    "0-2", "-o", dir.file("mix.@.tif")});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(readImage(dir.file("mix.1.tif"), Depth::Float).floatAt(0, 0, 3), frame.floatAt(0, 0, 3) * 0.5f + 0.5f);
}

TEST_F(CliFiles, EveryErrorIsOneLineAndLeavesNoFile) {
    const std::string in = dir.file("in.tif");
    const std::string out = dir.file("out.exr");
    const std::vector<std::pair<std::vector<std::string>, std::string>> cases = {
        {{"render", "nosuch", "-i", in, "-o", out}, "nosuch"},
        {{"render", "tint", "-i", "Nope=" + in, "-o", out}, "clip \"Nope\""},
        {{"render", "tint", "-i", in, "-o", out, "--set", "Bogus=1"}, "parameter \"Bogus\""},
        {{"render", "tint", "-i", in, "-o", out, "--set", "Mode=Sideways"}, "Mode"},
        {{"render", "tint", "-i", in, "-o", out, "--set", "Tint=1,1"}, "Tint"},
        {{"render", "tint", "-i", in, "-o", out, "--set", "Gain=abc"}, "Gain"},
        {{"render", "tint", "-i", dir.file("missing.tif"), "-o", out}, dir.file("missing.tif")},
        {{"render", "tint", "-i", in, "-o", out, "--set", "Mode=Gain", "--set", "Gain=3.9"}, "ondu1.test:tint"},
        {{"render", "tint", "-i", in, "-o", out, "--frames", "1-2"}, "-o " + out},
        {{"render", "tint", "-i", in, "-o", dir.file("out.nosuchformat")}, dir.file("out.nosuchformat")},
        {{"render", "tint", "-i", in, "-o", dir.file("no/dir/out.exr")}, dir.file("no/dir/out.exr")},
        {{"render", "tint", "--context", "transition", "-i", in, "-o", out}, "ondu1.test:tint"},
        {{"render", "tint", "-o", out}, "clip \"Source\""},
        {{"render", "tint", "-i", in, "-o", out, "--press", "Gain"}, "--press Gain"},
        {{"render", "tint", "-i", in, "-o", out, "--uplift", dir.file("keys.json")}, dir.file("keys.json")},
        // The failure comes at the second frame: the first must not stay either.
        {{"render", "tint", "-i", in, "--frames", "1-2", "-o", dir.file("seq.#.exr"), "--set", "Mode=Gain", "--set",
          "Gain=1@1", "--set", "Gain=3.9@2"},
         "ondu1.test:tint"},
    };
    const auto before = dir.entries();
    for (const auto& [args, what] : cases) {
        SCOPED_TRACE(args[1] + " ... " + what);
        expectOneLineError(run(args), what);
        EXPECT_EQ(dir.entries(), before);
    }
}

TEST(CliNoFiles, FilesNeedTheImageLibrary) {
    if (imageFilesSupported()) GTEST_SKIP() << "built with OpenImageIO";
    hosttest::TempDir dir;
    expectOneLineError(run({"render", "ramp", "-o", dir.file("x.png")}), dir.file("x.png"));
    EXPECT_TRUE(dir.entries().empty());
}

}  // namespace
