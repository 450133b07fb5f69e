#include "EffectTest.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace ondu1test {

std::string variantName(const Variant& v) {
    return std::string(ofxhost::depthName(v.depth)) + "/" + ofxhost::orderName(v.order);
}

std::shared_ptr<ofxhost::Host> quietHost(ofxhost::HostConfig config) {
    config.printMessages = false;
    if (config.threads == 0) config.threads = 3;
    return std::make_shared<ofxhost::Host>(std::move(config));
}

std::shared_ptr<ofxhost::Plugin> loadEffect(const std::shared_ptr<ofxhost::Host>& host, const std::string& id,
                                            const std::string& bundle) {
    auto opened = ofxhost::Bundle::open(bundle, host.get());
    const int index = opened->indexOf(id);
    if (index < 0) throw std::runtime_error(bundle + " lacks " + id);
    return ofxhost::Plugin::load(host, opened, index);
}

std::unique_ptr<ofxhost::Instance> filterOn(ofxhost::Plugin& plugin, const ofxhost::ImageBuffer& source) {
    auto instance = plugin.createInstance("filter");
    instance->setProjectSize(source.width(), source.height());
    instance->connect("Source", std::make_shared<const ofxhost::ImageBuffer>(source.clone()));
    return instance;
}

ofxhost::ImageBuffer renderVariant(ofxhost::Instance& instance, const Variant& variant) {
    ofxhost::RenderOptions options;
    options.depth = variant.depth;
    options.order = variant.order;
    ofxhost::ImageBuffer output = instance.makeOutput(options);
    EXPECT_EQ(instance.render(0.0, options, output), kOfxStatOK) << variantName(variant);
    return output;
}

Rgba pixelAt(const ofxhost::ImageBuffer& image, int x, int y) {
    Rgba p{};
    for (int c = 0; c < 4; ++c)
        p[c] = image.depth() == ofxhost::Depth::Byte ? image.byteAt(x, y, c) : image.floatAt(x, y, c);
    return p;
}

ofxhost::ImageBuffer rowImage(const std::vector<Rgba>& pixels, ofxhost::Depth depth, ofxhost::PixelOrder order) {
    ofxhost::ImageBuffer image(static_cast<int>(pixels.size()), 1, depth, order);
    for (size_t x = 0; x < pixels.size(); ++x) {
        for (int c = 0; c < 4; ++c) {
            if (depth == ofxhost::Depth::Byte)
                image.setByte(static_cast<int>(x), 0, c, static_cast<uint8_t>(pixels[x][c]));
            else
                image.setFloat(static_cast<int>(x), 0, c, pixels[x][c]);
        }
    }
    return image;
}

}  // namespace ondu1test
