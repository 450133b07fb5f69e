#include "OpenCLParity.h"

#include <limits>

#include "ofxhost/Describe.h"

namespace ondu1test {

std::shared_ptr<ofxhost::OpenCLDevice> openCLDevice() {
    static const std::shared_ptr<ofxhost::OpenCLDevice> device =
        ofxhost::openCLPlatforms().empty() ? nullptr : ofxhost::OpenCLDevice::open();
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

}  // namespace

void expectOpenCLParity(ofxhost::Instance& instance, const Variant& variant, const std::string& what,
                        double floatTolerance) {
    ofxhost::RenderOptions cpu;
    cpu.depth = variant.depth;
    cpu.order = variant.order;
    ofxhost::RenderOptions gpu = cpu;
    gpu.openCL = true;
    ofxhost::ImageBuffer expected = instance.makeOutput(cpu);
    ofxhost::ImageBuffer actual = instance.makeOutput(gpu);
    fillUnwritten(actual);
    ASSERT_EQ(instance.render(0.0, cpu, expected), kOfxStatOK) << what;
    ASSERT_EQ(instance.render(0.0, gpu, actual), kOfxStatOK) << what;
    const ofxhost::RectI b = expected.bounds();
    for (int y = b.y1; y < b.y2; ++y) {
        for (int x = b.x1; x < b.x2; ++x) {
            for (int c = 0; c < 4; ++c) {
                if (variant.depth == ofxhost::Depth::Byte)
                    ASSERT_EQ(actual.byteAt(x, y, c), expected.byteAt(x, y, c))
                        << what << ", " << variantName(variant) << " at " << x << "," << y << " channel " << c;
                else
                    ASSERT_NEAR(actual.floatAt(x, y, c), expected.floatAt(x, y, c), floatTolerance)
                        << what << ", " << variantName(variant) << " at " << x << "," << y << " channel " << c;
            }
        }
    }
}

void expectOpenCLParity(ofxhost::Instance& instance, const std::string& what, double floatTolerance) {
    for (const Variant& variant : kAllVariants) expectOpenCLParity(instance, variant, what, floatTolerance);
}

std::string variantTestName(const ::testing::TestParamInfo<Variant>& info) {
    return std::string(ofxhost::depthName(info.param.depth)) + "_" + ofxhost::orderName(info.param.order);
}

}  // namespace ondu1test
