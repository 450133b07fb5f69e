#include "OpenCLParity.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <iterator>
#include <limits>
#include <map>

#include "ofxhost/Describe.h"

namespace ondu1test {

std::shared_ptr<ofxhost::OpenCLDevice> openCLDevice() {
    static const std::shared_ptr<ofxhost::OpenCLDevice> device = [] {
        const char* selection = std::getenv("ONDU1_TEST_OPENCL");
        return ofxhost::openCLPlatforms().empty() ? nullptr : ofxhost::OpenCLDevice::open(selection ? selection : "");
    }();
    return device;
}

std::shared_ptr<ofxhost::Host> openCLHost(ofxhost::HostConfig config) {
    config.openCL = openCLDevice();
    return quietHost(std::move(config));
}

namespace {

void fillUnwritten(ofxhost::ImageBuffer& image) {
    for (int y = image.bounds().y1; y < image.bounds().y2; ++y) {
        for (int x = image.bounds().x1; x < image.bounds().x2; ++x) {
            for (int c = 0; c < 4; ++c) {
                if (image.depth() == ofxhost::Depth::Byte)
                    image.setByte(x, y, c, static_cast<std::uint8_t>(0xA5 + 7 * x + 13 * y + 5 * c));
                else
                    image.setFloat(x, y, c, std::numeric_limits<float>::quiet_NaN());
            }
        }
    }
}

bool bothNaN(float a, float b) { return std::isnan(a) && std::isnan(b); }

}  // namespace

ofxhost::ImageBuffer edgeFrame(int width, int height, const Variant& variant, std::uint32_t seed) {
    ofxhost::ImageBuffer frame = ofxhost::ImageBuffer::testFrame(width, height, variant.depth, variant.order, seed);
    const std::array<float, 4> pixels[] = {
        {0.2f, 0.1f, 0.3f, 0},
        {1e-6f, 0.5f, 0, 1e-6f},
        {0, 0, 0, 1},
        {1, 1, 1, 1},
        {0.5f, 0.5f, 0.5f, 0.5f},
        {0.5f, 0.5f, 0.5f, 1},
        {1, 0, 0, 1},
        {0.1f, 0.2f, 0.35f, 1},
        {0, 0.75f, 0.25f, 0.75f},
        {0.75f, 0.25f, 0.5f, 1},
        {0.01f, 0.02f, 0, 1},
        {2, 0, 0, 1},
        {1.5f, 0.25f, 2, 1},
        {-0.5f, 0.25f, 0.125f, 1},
        {1.5f, -0.25f, 0.5f, 1},
        {0.25f, 2, -0.5f, 0.5f},
        {0.5f, 0.25f, 0.75f, 1.5f},
        {0.5f, 0.25f, 0.75f, 2},
        {1, 0.9999995f, 0.9999995f, 1},
        {-5e-7f, 0, 3e-7f, 1},
    };
    const int count = std::min<int>(width, static_cast<int>(std::size(pixels)));
    for (int x = 0; x < count; ++x) {
        for (int c = 0; c < 4; ++c) {
            const float v = pixels[x][c];
            if (variant.depth == ofxhost::Depth::Float)
                frame.setFloat(x, 0, c, v);
            else
                frame.setByte(x, 0, c, static_cast<std::uint8_t>(std::lround(std::clamp(v, 0.0f, 1.0f) * 255)));
        }
    }
    return frame;
}

void expectOpenCLParity(ofxhost::Instance& instance, const Variant& variant, const std::string& what,
                        double floatTolerance, int byteTolerance) {
    ofxhost::RenderOptions cpu;
    cpu.depth = variant.depth;
    cpu.order = variant.order;
    ofxhost::RenderOptions gpu = cpu;
    gpu.openCL = true;
    ofxhost::ImageBuffer expected = instance.makeOutput(cpu);
    fillUnwritten(expected);
    ofxhost::ImageBuffer actual = expected.clone();
    ASSERT_EQ(instance.render(0.0, cpu, expected), kOfxStatOK) << what;
    ASSERT_EQ(instance.render(0.0, gpu, actual), kOfxStatOK) << what;
    const ofxhost::RectI b = expected.bounds();
    for (int y = b.y1; y < b.y2; ++y) {
        for (int x = b.x1; x < b.x2; ++x) {
            for (int c = 0; c < 4; ++c) {
                const auto where = [&] {
                    return what + ", " + variantName(variant) + " at " + std::to_string(x) + "," + std::to_string(y) +
                           " channel " + std::to_string(c);
                };
                if (variant.depth == ofxhost::Depth::Byte) {
                    ASSERT_LE(std::abs(actual.byteAt(x, y, c) - expected.byteAt(x, y, c)), byteTolerance)
                        << where() << ": " << int(actual.byteAt(x, y, c)) << " for " << int(expected.byteAt(x, y, c));
                } else if (!bothNaN(actual.floatAt(x, y, c), expected.floatAt(x, y, c))) {
                    ASSERT_NEAR(actual.floatAt(x, y, c), expected.floatAt(x, y, c), floatTolerance) << where();
                }
            }
        }
    }
}

void expectOpenCLParity(ofxhost::Instance& instance, const std::string& what, double floatTolerance) {
    for (const Variant& variant : kAllVariants) expectOpenCLParity(instance, variant, what, floatTolerance);
}

void expectParityCases(const std::vector<ParityCase>& cases, const InstanceMaker& make, const Variant& variant) {
    auto host = openCLHost();
    std::map<std::string, std::shared_ptr<ofxhost::Plugin>> plugins;
    for (const ParityCase& c : cases) {
        auto& plugin = plugins[c.effect];
        if (!plugin) plugin = loadEffect(host, "talvo.effects:" + c.effect);
        auto instance = make(*plugin);
        for (std::size_t start = 0; start < c.settings.size();) {
            const std::size_t end = std::min(c.settings.find(';', start), c.settings.size());
            const std::string setting = c.settings.substr(start, end - start);
            const std::size_t equals = setting.find('=');
            instance->setValueText(setting.substr(0, equals), setting.substr(equals + 1));
            start = end + 1;
        }
        expectOpenCLParity(*instance, variant, c.effect + " " + c.settings, 1e-6, c.byteTolerance);
        if (::testing::Test::HasFatalFailure()) return;
    }
}

std::string variantTestName(const ::testing::TestParamInfo<Variant>& info) {
    return std::string(ofxhost::depthName(info.param.depth)) + "_" + ofxhost::orderName(info.param.order);
}

}  // namespace ondu1test
