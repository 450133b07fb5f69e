#include "EffectTest.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <sstream>
#include <stdexcept>

#include "ofxhost/Describe.h"

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

std::unique_ptr<ofxhost::Instance> generatorOf(ofxhost::Plugin& plugin, int width, int height) {
    auto instance = plugin.createInstance("generator");
    instance->setProjectSize(width, height);
    return instance;
}

std::unique_ptr<ofxhost::Instance> instanceInFirstContext(ofxhost::Plugin& plugin, int width, int height) {
    const auto contexts = plugin.contexts();
    if (contexts.empty()) return nullptr;
    auto instance = plugin.createInstance(contexts.front());
    instance->setProjectSize(width, height);
    const auto frame = std::make_shared<const ofxhost::ImageBuffer>(
        ofxhost::ImageBuffer::testFrame(width, height, ofxhost::Depth::Float, ofxhost::PixelOrder::RGBA, 3));
    for (const std::string& clip : instance->inputClipNames()) instance->connect(clip, frame);
    return instance;
}

ofxhost::ImageBuffer renderVariant(ofxhost::Instance& instance, const Variant& variant) {
    ofxhost::RenderOptions options;
    options.depth = variant.depth;
    options.order = variant.order;
    // A strict host: whatever the effect leaves unwritten shows.
    options.poison = true;
    ofxhost::ImageBuffer output = instance.makeOutput(options);
    EXPECT_EQ(instance.render(0.0, options, output), kOfxStatOK) << variantName(variant);
    return output;
}

std::string firstDifference(const ofxhost::ImageBuffer& got, const ofxhost::ImageBuffer& want, float floatTolerance) {
    if (got.width() != want.width() || got.height() != want.height() || got.depth() != want.depth())
        return "size or depth differs";
    static const char* const kColour[] = {"red", "green", "blue", "alpha"};
    for (int y = 0; y < got.height(); ++y) {
        for (int x = 0; x < got.width(); ++x) {
            const Rgba a = pixelAt(got, got.bounds().x1 + x, got.bounds().y1 + y);
            const Rgba b = pixelAt(want, want.bounds().x1 + x, want.bounds().y1 + y);
            for (int c = 0; c < 4; ++c) {
                const bool same = (std::isnan(a[c]) && std::isnan(b[c])) ||
                                  (floatTolerance == 0.0f ? std::memcmp(&a[c], &b[c], sizeof(float)) == 0
                                                          : std::fabs(a[c] - b[c]) <= floatTolerance);
                if (same) continue;
                std::ostringstream out;
                out.precision(9);
                out << "at (" << x << ", " << y << ") " << kColour[c] << " is " << a[c] << ", expected " << b[c];
                return out.str();
            }
        }
    }
    return {};
}

void expectFourVariants(ofxhost::Instance& instance, const References& references, float floatTolerance) {
    for (const Variant& variant : kAllVariants) {
        const ofxhost::ImageBuffer out = renderVariant(instance, variant);
        const bool bytes = variant.depth == ofxhost::Depth::Byte;
        const std::string diff =
            firstDifference(out, bytes ? references.bytes : references.floats, bytes ? 0.0f : floatTolerance);
        EXPECT_EQ(diff, "") << variantName(variant);
    }
}

void expectOnePicture(ofxhost::Instance& instance, ofxhost::Depth depth, const std::string& what) {
    const ofxhost::ImageBuffer rgba = renderVariant(instance, {depth, ofxhost::PixelOrder::RGBA});
    const ofxhost::ImageBuffer bgra = renderVariant(instance, {depth, ofxhost::PixelOrder::BGRA});
    EXPECT_EQ(firstDifference(bgra, rgba), "") << what << " in " << ofxhost::depthName(depth) << ": BGRA against RGBA";
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

namespace {

// Splits interleaved per-dimension limits into the {min, max} pairs of a row.
std::vector<double> limits(const std::vector<double>& lo, const std::vector<double>& hi) {
    std::vector<double> out;
    for (size_t i = 0; i < lo.size() && i < hi.size(); ++i) {
        out.push_back(lo[i]);
        out.push_back(hi[i]);
    }
    return out;
}

}  // namespace

void expectParamTable(ofxhost::Plugin& plugin, const std::string& context, const std::vector<ParamRow>& rows) {
    const ofxhost::PluginInfo info = ofxhost::describePlugin(plugin, context);
    std::vector<const ofxhost::ParamInfo*> params;
    for (const auto& p : info.params)
        if (p.type != "OfxParamTypePage") params.push_back(&p);
    ASSERT_EQ(params.size(), rows.size()) << info.id;
    for (size_t i = 0; i < rows.size(); ++i) {
        const ParamRow& want = rows[i];
        const ofxhost::ParamInfo& got = *params[i];
        SCOPED_TRACE(info.id + " parameter " + want.name);
        EXPECT_EQ(got.name, want.name);
        EXPECT_EQ(got.label, want.label);
        EXPECT_EQ(got.scriptName, want.scriptName);
        EXPECT_EQ(got.type, "OfxParamType" + want.type);
        EXPECT_EQ(got.defaultValue.dump(false), want.defaultValue);
        EXPECT_EQ(limits(got.min, got.max), want.range);
        EXPECT_EQ(limits(got.displayMin, got.displayMax), want.display);
        if (want.increment) {
            EXPECT_EQ(got.increment, want.increment);
        }
        EXPECT_EQ(got.parent, want.parent);
        EXPECT_EQ(got.options, want.options);
        EXPECT_EQ(got.animates, want.animates);
    }
}

}  // namespace ondu1test
