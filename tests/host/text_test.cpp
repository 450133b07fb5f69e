// Text forms of the command line: frame ranges, file patterns, --set,
// parameter values, sizes, JSON and the uplift keys.
#include <gtest/gtest.h>

#include <cstring>
#include <fstream>

#include "HostTestSupport.h"
#include "cli/Options.h"
#include "ofxhost/Json.h"
#include "ofxhost/ParamText.h"
#include "ofxhost/Renderer.h"
#include "ofxhost/Sequence.h"
#include "ofxhost/Status.h"
#include "ofxhost/Uplift.h"
#include "ofxTalvo.h"

using namespace ofxhost;

namespace {

TEST(FrameRange, FormsAndErrors) {
    EXPECT_EQ(parseFrameRange("5").frames(), std::vector<long>{5});
    EXPECT_EQ(parseFrameRange("1-4").frames(), (std::vector<long>{1, 2, 3, 4}));
    EXPECT_EQ(parseFrameRange("1-10x4").frames(), (std::vector<long>{1, 5, 9}));
    EXPECT_EQ(parseFrameRange("-3--1").frames(), (std::vector<long>{-3, -2, -1}));
    for (const char* bad : {"", "a", "1-", "4-1", "1-4x0", "1-4x", "1.5", "1-4x-2", "99999999999"})
        EXPECT_THROW(parseFrameRange(bad), Error) << bad;
}

TEST(FramePattern, HashesAndAts) {
    EXPECT_EQ(expandFramePattern("out.#.exr", 7), "out.0007.exr");
    EXPECT_EQ(expandFramePattern("out.##.exr", 7), "out.00000007.exr");
    EXPECT_EQ(expandFramePattern("f@@@.png", 7), "f007.png");
    EXPECT_EQ(expandFramePattern("f@.png", 123), "f123.png");
    EXPECT_EQ(expandFramePattern("f#.png", -2), "f-0002.png");
    EXPECT_EQ(expandFramePattern("still.png", 3), "still.png");
    EXPECT_FALSE(hasFramePattern("still.png"));
}

TEST(Setting, NameValueAndOptionalTime) {
    const std::pair<const char*, ParamSetting> cases[] = {{"Gain=0.5@12", {"Gain", "0.5", 12.0}},
                                                          {"Note=@notes.txt", {"Note", "@notes.txt", {}}},
                                                          {"Note=mail@example.com", {"Note", "mail@example.com", {}}},
                                                          {"Tint=1,0,0,1@-2.5", {"Tint", "1,0,0,1", -2.5}}};
    for (const auto& [text, want] : cases) {
        const ParamSetting s = parseSetting(text);
        EXPECT_EQ(s.name, want.name) << text;
        EXPECT_EQ(s.text, want.text) << text;
        EXPECT_EQ(s.time, want.time) << text;
    }
    EXPECT_THROW(parseSetting("novalue"), Error);
    EXPECT_THROW(parseSetting("=3"), Error);
}

using ParamTextTest = hosttest::ParamSetTest;

TEST_F(ParamTextTest, EveryValueShape) {
    Param& d = define(kOfxParamTypeDouble, "D");
    EXPECT_EQ(parseParamText(d, " 0.25 ").n[0], 0.25);
    Param& rgb = define(kOfxParamTypeRGB, "C");
    EXPECT_EQ(parseParamText(rgb, "1,0.5,0").n, (std::array<double, 4>{1, 0.5, 0, 0}));
    Param& i3 = define(kOfxParamTypeInteger3D, "I");
    EXPECT_EQ(parseParamText(i3, "-1,2,3").n[0], -1);
    Param& b = define(kOfxParamTypeBoolean, "B");
    EXPECT_EQ(parseParamText(b, "TRUE").n[0], 1);
    EXPECT_EQ(parseParamText(b, "off").n[0], 0);
    Param& c = define(kOfxParamTypeChoice, "Ch");
    c.props().setStrings(kOfxParamPropChoiceOption, {"Red", "Green", "green"});
    EXPECT_EQ(parseParamText(c, "1").n[0], 1);
    EXPECT_EQ(parseParamText(c, "Red").n[0], 0);
    EXPECT_EQ(parseParamText(c, "green").n[0], 2);  // exact label first
    EXPECT_EQ(parseParamText(c, "red").n[0], 0);    // then unique ignoring case
    Param& s = define(kOfxParamTypeString, "S");
    EXPECT_EQ(parseParamText(s, "a,b@c").s, "a,b@c");
    hosttest::TempDir dir;
    std::ofstream(dir.file("t.txt")) << "from file\n";
    EXPECT_EQ(parseParamText(s, "@" + dir.file("t.txt")).s, "from file\n");
}

TEST_F(ParamTextTest, WrongShapesAreClearErrors) {
    Param& d = define(kOfxParamTypeDouble, "D");
    d.props().setDouble(kOfxParamPropMin, 0.0);
    d.props().setDouble(kOfxParamPropMax, 1.0);
    Param& rgba = define(kOfxParamTypeRGBA, "C");
    Param& i = define(kOfxParamTypeInteger, "I");
    Param& b = define(kOfxParamTypeBoolean, "B");
    Param& c = define(kOfxParamTypeChoice, "Ch");
    c.props().setStrings(kOfxParamPropChoiceOption, {"Red", "RED"});
    Param& page = define(kOfxParamTypePage, "P");
    Param& s = define(kOfxParamTypeString, "S");
    const std::vector<std::pair<Param*, std::string>> bad = {
        {&d, "abc"},       {&d, "1.5"},  {&d, "nan"},           {&d, ""},      {&rgba, "1,2,3"}, {&rgba, "1,2,3,4,5"},
        {&rgba, "1,,2,3"}, {&i, "1.5"},  {&i, "99999999999"},   {&b, "maybe"}, {&c, "2"},        {&c, "red"},
        {&c, "Blue"},      {&page, "x"}, {&s, "@/no/such/file"}};
    for (const auto& [param, text] : bad) {
        try {
            parseParamText(*param, text);
            ADD_FAILURE() << param->name() << " took \"" << text << "\"";
        } catch (const Error& e) {
            EXPECT_EQ(e.what_part(), param->name());
            EXPECT_EQ(std::string(e.why()).find('\n'), std::string::npos);
        }
    }
}

TEST(Json, WritesValidCompactAndIndentedText) {
    Json j = Json::object();
    j.set("s", "a\"b\\c\n\x01");
    j.set("n", 0.1);
    j.set("i", 3);
    j.set("b", false);
    j.set("z", Json());
    j.set("l", Json::numbers({1, 2.5}));
    j.set("e", Json::array());
    EXPECT_EQ(j.dump(false), R"({"s":"a\"b\\c\n\u0001","n":0.1,"i":3,"b":false,"z":null,"l":[1,2.5],"e":[]})");
    EXPECT_EQ(Json(1.0 / 0.0).dump(false), "null");
    EXPECT_EQ(Json::strings({"x"}).dump(true), "[\n  \"x\"\n]\n");
}

TEST(Json, ReadsWhatItWritesAndNamesTheFault) {
    const std::string text = R"({"s":"a\"b\u00e9\ud83d\ude00","n":-1.5e2,"l":[true,null,{}],"e":[]})";
    const Json j = Json::parse(text, "in.json");
    EXPECT_EQ(*j.find("s")->string(), "a\"b\u00e9\U0001F600");
    EXPECT_EQ(*j.find("n")->number(), -150.0);
    EXPECT_EQ(j.find("l")->items().size(), 3u);
    EXPECT_EQ(j.find("missing"), nullptr);
    EXPECT_EQ(Json::parse(j.dump(true), "again").dump(false), j.dump(false));
    for (const char* bad : {"", "{", "[1,]", "{\"a\" 1}", "01", "1.", "\"\\x\"", "\"\\ud800\"", "nul", "[1] 2",
                            "\"tab\there\"", "1e999"}) {
        try {
            Json::parse(bad, "in.json");
            ADD_FAILURE() << "accepted " << bad;
        } catch (const Error& e) {
            EXPECT_EQ(e.what_part(), "in.json");
            EXPECT_EQ(e.why().rfind("not valid JSON at byte ", 0), 0u) << e.why();
        }
    }
    EXPECT_THROW(Json::parse(std::string(100, '[') + std::string(100, ']'), "deep"), Error);
}

TEST(Uplift, KeysAsDoublesOrHexBytes) {
    const UpliftData d = parseUplift(
        R"({"keys":[{"time":0,"doubles":[0.5]},{"time":10,"interpolation":"OfxTalvoKeyframeInterpolationHold",)"
        R"("hex":"000000000000F03f"}],"state":{"hex":"0a0B"}})",
        "keys.json");
    ASSERT_EQ(d.keys.size(), 2u);
    EXPECT_EQ(d.keys[0].interpolation, "OfxTalvoKeyframeInterpolationLinear");
    double v = 0;
    ASSERT_EQ(d.keys[0].record.size(), sizeof v);
    std::memcpy(&v, d.keys[0].record.data(), sizeof v);
    EXPECT_EQ(v, 0.5);
    std::memcpy(&v, d.keys[1].record.data(), sizeof v);
    EXPECT_EQ(v, 1.0);
    EXPECT_EQ(d.keys[1].interpolation, "OfxTalvoKeyframeInterpolationHold");
    EXPECT_EQ(d.state, (std::vector<unsigned char>{10, 11}));
    for (const char* bad : {R"({})", R"({"keys":[{"doubles":[1]}]})", R"({"keys":[{"time":0,"hex":"abc"}]})",
                            R"({"keys":[{"time":0,"hex":"zz"}]})", R"({"keys":[{"time":0,"doubles":["x"]}]})",
                            R"({"keys":[{"time":0,"doubles":[1],"hex":""}]})"})
        EXPECT_THROW(parseUplift(bad, "keys.json"), Error) << bad;
}

TEST(CommandLine, ParsesRenderOptions) {
    const auto o = ofxcli::parseCommandLine({"render",
                                             "invert",
                                             "-i",
                                             "a.png",
                                             "-i",
                                             "SourceTo=b.png",
                                             "-o",
                                             "out.#.exr",
                                             "--set",
                                             "Gain=1",
                                             "--depth=float",
                                             "--order",
                                             "bgra",
                                             "--size",
                                             "64x32",
                                             "--frames",
                                             "1-3",
                                             "--threads",
                                             "2",
                                             "--render-scale",
                                             "0.5",
                                             "--quality",
                                             "draft",
                                             "--host-name",
                                             "h",
                                             "--host-version",
                                             "17.2",
                                             "--row-padding",
                                             "8",
                                             "--negative-row-bytes"});
    EXPECT_EQ(o.command, "render");
    EXPECT_EQ(o.plugin, "invert");
    EXPECT_EQ(o.inputs.size(), 2u);
    EXPECT_EQ(o.depth, Depth::Float);
    EXPECT_EQ(o.order, PixelOrder::BGRA);
    EXPECT_EQ(o.size, (std::pair<int, int>{64, 32}));
    EXPECT_EQ(o.frames->last, 3);
    EXPECT_EQ(o.threads, 2u);
    EXPECT_EQ(o.quality, Quality::Draft);
    EXPECT_EQ(o.hostVersion, (std::pair<int, int>{17, 2}));
    EXPECT_EQ(o.layout, (Layout{8, true}));
}

TEST(CommandLine, EachMistakeIsNamed) {
    const std::vector<std::pair<std::vector<std::string>, std::string>> cases = {
        {{}, "ofxrender"},
        {{"paint"}, "paint"},
        {{"describe"}, "describe"},
        {{"list", "--context", "filter"}, "--context"},
        {{"list", "--nope"}, "--nope"},
        {{"render", "p", "-o"}, "-o"},
        {{"render", "p", "-i", "a.png"}, "render"},
        {{"render", "p", "-o", "x.png", "--size", "12"}, "--size"},
        {{"render", "p", "-o", "x.png", "--size", "0x5"}, "--size"},
        {{"render", "p", "-o", "x.png", "--depth", "half"}, "--depth"},
        {{"render", "p", "-o", "x.png", "--order", "argb"}, "--order"},
        {{"render", "p", "-o", "x.png", "--threads", "0"}, "--threads"},
        {{"render", "p", "-o", "x.png", "--render-scale", "2"}, "--render-scale"},
        {{"render", "p", "-o", "x.png", "--quality", "ultra"}, "--quality"},
        {{"render", "p", "-o", "x.png", "--host-version", "v20"}, "--host-version"},
        {{"render", "p", "-o", "x.png", "--frames", "1-2", "--time", "1"}, "--time"},
        {{"render", "p", "-o", "x.png", "-o", "y.png"}, "-o"},
        {{"render", "p", "-o", "x.png", "--row-padding", "3"}, "--row-padding"},
        {{"render", "p", "q", "-o", "x.png"}, "q"},
        {{"bench", "p", "-o", "x.png"}, "-o"},
        {{"list", "--json=yes"}, "--json"},
    };
    for (const auto& [args, what] : cases) {
        try {
            ofxcli::parseCommandLine(args);
            ADD_FAILURE() << "accepted: " << (args.empty() ? "" : args[0]);
        } catch (const Error& e) {
            EXPECT_EQ(e.what_part(), what);
        }
    }
}

}  // namespace
