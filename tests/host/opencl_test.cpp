// OpenCL in the host: device selection and its errors, the program suite,
// and OpenCL renders of the test bundle's tint against its CPU renders. What
// needs a platform skips, saying why, on a machine without one.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <sstream>

#include "HostTestSupport.h"
#include "cli/Cli.h"
#include "ofxTalvo.h"
#include "ofxhost/Context.h"
#include "ofxhost/Instance.h"
#include "ofxhost/OpenCLDevice.h"
#include "ofxhost/OpenCLFrame.h"
#include "ofxhost/Status.h"

using namespace ofxhost;

namespace {

const char* const kNoPlatform = "no OpenCL platform (install an ICD, e.g. pocl-opencl-icd)";

bool havePlatform() { return !openCLPlatforms().empty(); }

// One device for the whole file: contexts are slow to make on some platforms.
std::shared_ptr<OpenCLDevice> sharedDevice() {
    static std::shared_ptr<OpenCLDevice> device = havePlatform() ? OpenCLDevice::open() : nullptr;
    return device;
}

std::string upper(std::string s) {
    std::transform(s.begin(), s.end(), s.begin(), [](unsigned char c) { return char(std::toupper(c)); });
    return s;
}

std::string openError(const std::string& selection) {
    try {
        OpenCLDevice::open(selection);
    } catch (const Error& e) {
        EXPECT_EQ(e.what_part(), "OpenCL");
        return e.why();
    }
    return "(opened)";
}

std::shared_ptr<Host> openCLHost() {
    HostConfig config;
    config.openCL = sharedDevice();
    return hosttest::quietHost(std::move(config));
}

TEST(OpenCLDevice, ChoosesByIndexAndByNameInAnyCase) {
    if (!havePlatform()) GTEST_SKIP() << kNoPlatform;
    const auto platforms = openCLPlatforms();
    auto first = OpenCLDevice::open("");
    EXPECT_EQ(first->platformName(), platforms[0].name);
    EXPECT_EQ(first->deviceName(), platforms[0].devices.at(0));
    EXPECT_NE(first->context(), nullptr);
    EXPECT_NE(first->queue(), nullptr);

    const std::size_t last = platforms.size() - 1;
    const auto& devices = platforms[last].devices;
    auto byIndex = OpenCLDevice::open(std::to_string(last) + ":" + std::to_string(devices.size() - 1));
    EXPECT_EQ(byIndex->deviceName(), devices.back());
    // A piece from inside each name, in capitals; the first name holding it wins.
    const std::string p = upper(platforms[last].name.substr(platforms[last].name.size() / 3, 4));
    const std::string d = upper(devices.back().substr(devices.back().size() / 3, 4));
    auto byName = OpenCLDevice::open(p + ":" + d);
    EXPECT_NE(upper(byName->platformName()).find(p), std::string::npos);
    EXPECT_NE(upper(byName->deviceName()).find(d), std::string::npos);
}

TEST(OpenCLDevice, SaysWhatMatchesNothing) {
    if (!havePlatform()) {
        // The one error a machine without OpenCL can show.
        EXPECT_NE(openError("").find("no platform is installed"), std::string::npos);
        return;
    }
    EXPECT_NE(openError("99").find("no platform 99 (platforms: 0 \""), std::string::npos);
    EXPECT_NE(openError("0:99").find("no device 99 (devices: 0 \""), std::string::npos);
    EXPECT_NE(openError("no-such-platform").find("no platform matches \"no-such-platform\""), std::string::npos);
    EXPECT_NE(openError("0:no-such:device").find("no device matches \"no-such:device\""), std::string::npos);
}

TEST(OpenCLProgramSuite, OfferedWithADeviceAndBuildsOrReports) {
    EXPECT_EQ(hosttest::quietHost()->fetchSuite(kOfxOpenCLProgramSuite, 1), nullptr);
    if (!havePlatform()) GTEST_SKIP() << kNoPlatform;
    auto host = openCLHost();
    auto suite = static_cast<const OfxOpenCLProgramSuiteV1*>(host->fetchSuite(kOfxOpenCLProgramSuite, 1));
    ASSERT_NE(suite, nullptr);
    CallContext c;
    c.host = host.get();
    CallScope scope(c);

    cl_program program = nullptr;
    ASSERT_EQ(suite->compileProgram("__kernel void k(__global int* a) { a[0] = 1; }", 0, &program), kOfxStatOK);
    ASSERT_NE(program, nullptr);
    cl_uint kernels = 0;
    EXPECT_EQ(clCreateKernelsInProgram(program, 0, nullptr, &kernels), CL_SUCCESS);
    EXPECT_EQ(kernels, 1u);
    clReleaseProgram(program);

    const char* broken = "__kernel void k(__global int* a) { a[0] = undeclared; }";
    EXPECT_EQ(suite->compileProgram(broken, 1, &program), kOfxStatFailed);
    EXPECT_EQ(program, nullptr);
    EXPECT_TRUE(host->messages().empty()) << "an optional program fails quietly";
    EXPECT_EQ(suite->compileProgram(broken, 0, &program), kOfxStatFailed);
    ASSERT_EQ(host->messages().size(), 1u);
    EXPECT_EQ(host->messages()[0].type, "OfxMessageError");
    EXPECT_NE(host->messages()[0].text.find("failed to build"), std::string::npos);
    EXPECT_NE(host->messages()[0].text.find("undeclared"), std::string::npos) << "the build log is shown";

    EXPECT_EQ(suite->compileProgram(nullptr, 0, &program), kOfxStatErrValue);
    EXPECT_EQ(suite->compileProgram(broken, 0, nullptr), kOfxStatErrValue);
}

struct Variant {
    Depth depth;
    PixelOrder order;
};

class OpenCLRender : public ::testing::TestWithParam<Variant> {};

// Tint with colour gains per channel (so a swapped channel shows), over a
// window inside a padded output that starts with other pixels (so the
// packing, the window and "untouched outside it" all show).
TEST_P(OpenCLRender, MatchesTheCpuRender) {
    if (!havePlatform()) GTEST_SKIP() << kNoPlatform;
    const auto [depth, order] = GetParam();
    auto host = openCLHost();
    auto plugin = hosttest::loadTestPlugin(host, "ondu1.test:tint");
    auto inst = plugin->createInstance("filter");
    inst->setProjectSize(13, 7);
    inst->connect("Source", std::make_shared<const ImageBuffer>(ImageBuffer::testFrame(13, 7, depth, order, 3)));
    inst->setValueText("Gain", "0.5");
    inst->setValueText("Tint", "1,0.5,0.25,1");

    RenderOptions cpu;
    cpu.depth = depth;
    cpu.order = order;
    cpu.layout = {12, false};
    cpu.window = RectI{2, 1, 11, 6};
    RenderOptions gpu = cpu;
    gpu.openCL = true;
    ImageBuffer expected = ImageBuffer::testFrame(13, 7, depth, order, 9, cpu.layout);
    ImageBuffer actual = expected.clone();
    ASSERT_EQ(inst->render(0, cpu, expected), kOfxStatOK);
    ASSERT_EQ(inst->render(0, gpu, actual), kOfxStatOK);
    EXPECT_EQ(inst->liveImageCount(), 0u);
    // Bytes may differ by a rounding step: the device's division by 255 need
    // not be correctly rounded. Float gains of powers of two are exact.
    const float tolerance = depth == Depth::Byte ? 1.0f / 255.0f + 1e-6f : 0.0f;
    for (int y = 0; y < 7; ++y)
        for (int x = 0; x < 13; ++x)
            for (int c = 0; c < 4; ++c)
                ASSERT_NEAR(actual.rgba(x, y)[c], expected.rgba(x, y)[c], tolerance)
                    << "pixel " << x << "," << y << " channel " << c;

    // A resident render, as bench times it, leaves the result on the device
    // until it is read back.
    const ImageBuffer seeded = ImageBuffer::testFrame(13, 7, depth, order, 9, cpu.layout);
    ImageBuffer resident = seeded.clone();
    {
        OpenCLFrame frame(*sharedDevice(), resident);
        ASSERT_EQ(inst->renderResident(0, gpu, frame), kOfxStatOK);
        frame.finish();
        EXPECT_TRUE(resident.samePixels(seeded));
        frame.readBack();
    }
    EXPECT_TRUE(resident.samePixels(actual));

    // The thread-index mode has no kernel: its refusal shows the device path was taken.
    inst->setValueText("Mode", "2");
    EXPECT_EQ(inst->render(0, cpu, expected), kOfxStatOK);
    EXPECT_EQ(inst->render(0, gpu, actual), kOfxStatErrUnsupported);
}

INSTANTIATE_TEST_SUITE_P(
    Variants, OpenCLRender,
    ::testing::Values(Variant{Depth::Byte, PixelOrder::RGBA}, Variant{Depth::Byte, PixelOrder::BGRA},
                      Variant{Depth::Float, PixelOrder::RGBA}, Variant{Depth::Float, PixelOrder::BGRA}),
    [](const auto& info) { return std::string(depthName(info.param.depth)) + "_" + orderName(info.param.order); });

TEST(OpenCLRenderOptions, NeedADeviceOnTheHost) {
    auto host = hosttest::quietHost();
    auto plugin = hosttest::loadTestPlugin(host, "ondu1.test:ramp");
    auto inst = plugin->createInstance("generator");
    inst->setProjectSize(4, 4);
    RenderOptions o;
    o.openCL = true;
    ImageBuffer out = inst->makeOutput(o);
    try {
        inst->render(0, o, out);
        FAIL() << "rendered with OpenCL on a host without a device";
    } catch (const Error& e) {
        EXPECT_EQ(e.what_part(), "OpenCL");
    }
}

struct CliRun {
    int status;
    std::string out;
    std::string err;
};

CliRun runCli(std::vector<std::string> args) {
    args.insert(args.end(), {"--bundle", hosttest::kBundle});
    std::ostringstream out, err;
    const int status = ofxcli::runCli(args, out, err);
    return {status, out.str(), err.str()};
}

TEST(OpenCLCli, ListsDevicesAndRefusesABadSelection) {
    CliRun r = runCli({"list-devices"});
    EXPECT_EQ(r.status, 0) << r.err;
    r = runCli({"bench", "tint", "--size", "8x8", "--repeat", "1", "--opencl=no-such-platform"});
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.err.rfind("ofxrender ERROR: OpenCL: ", 0), 0u) << r.err;
    EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;
    if (!havePlatform()) GTEST_SKIP() << kNoPlatform;
    r = runCli({"list-devices"});
    EXPECT_EQ(r.out.rfind("0  \"" + openCLPlatforms()[0].name + "\"\n  0:0  \"", 0), 0u) << r.out;
}

TEST(OpenCLCli, BenchesOnTheDeviceOrSaysItFallsBack) {
    if (!havePlatform()) GTEST_SKIP() << kNoPlatform;
    CliRun r = runCli({"bench", "tint", "--size", "16x8", "--repeat", "1", "--opencl=0:0"});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.out.find(", OpenCL " + openCLPlatforms()[0].devices[0] + ","), std::string::npos) << r.out;
    for (const char* line : {"  CPU render ", "  OpenCL render ", "  OpenCL kernel ", "  device copy "})
        EXPECT_NE(r.out.find(line), std::string::npos) << line << " in\n" << r.out;
    EXPECT_EQ(r.err, "");
    r = runCli({"bench", "tint", "--size", "16x8", "--repeat", "1", "--opencl", "--json"});
    ASSERT_EQ(r.status, 0) << r.err;
    for (const char* key : {"\"ratioToMemcpy\"", "\"renderRatioToDeviceCopy\"", "\"kernelRatioToDeviceCopy\"",
                            "\"deviceCopyMegapixelsPerSecond\""})
        EXPECT_NE(r.out.find(key), std::string::npos) << key;
    r = runCli({"bench", "ramp", "--size", "16x8", "--repeat", "2", "--opencl"});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.err, "ofxrender: ondu1.test:ramp does not support OpenCL; rendering on the CPU\n");
    EXPECT_NE(r.out.find(", cpu,"), std::string::npos) << r.out;
}

}  // namespace
