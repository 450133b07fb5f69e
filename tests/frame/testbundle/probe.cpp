// A filter that reports what the frame does with a render, for the frame's
// own tests: each band the row split hands to a thread, and the processor's
// pre and post steps, go to the host as messages; each pixel of a band gets
// the band's first and last row in its red and green channels (float).
#include <memory>
#include <string>

#include "EffectSkeleton.h"
#include "ImageProcessor.h"

namespace {

const OFX::EffectDeclaration kProbe{
    "ondu1.test:probe", "ONDU1 Test Probe", "ONDU1 Test", OFX::eContextFilter, 0, nullptr};

class probeProcessor : public OFX::ImageProcessor {
public:
    using OFX::ImageProcessor::ImageProcessor;

    void preProcess() override { effect.sendMessage(OFX::eMessageLog, "", "preProcess"); }
    void postProcess() override { effect.sendMessage(OFX::eMessageLog, "", "postProcess"); }

    int multiThreadProcessImages(OfxRectI w) override {
        effect.sendMessage(OFX::eMessageLog, "", "band " + std::to_string(w.y1) + " " + std::to_string(w.y2));
        if (dstImg->getPixelDepth() != OFX::eBitDepthFloat) return 0;
        for (int y = w.y1; y < w.y2; ++y) {
            for (int x = w.x1; x < w.x2; ++x) {
                auto* p = static_cast<float*>(dstImg->getPixelAddress(x, y));
                if (!p) continue;
                p[0] = static_cast<float>(w.y1);
                p[1] = static_cast<float>(w.y2);
                p[3] = 1.0f;
            }
        }
        return 0;
    }
};

class probePlugin : public OFX::ImageEffect {
public:
    explicit probePlugin(OfxImageEffectHandle handle)
        : OFX::ImageEffect(handle), dstClip(fetchClip(OFX::kOutputClip)) {}

    void render(const OFX::RenderArguments& args) override {
        std::unique_ptr<OFX::Image> dst(dstClip->fetchImage(args.time));
        probeProcessor processor(*this);
        processor.setDstImg(dst.get());
        processor.setRenderWindow(args.renderWindow);
        processor.process();
    }

private:
    OFX::Clip* dstClip;
};

class probePluginFactory : public OFX::PluginFactoryHelper<probePluginFactory> {
public:
    probePluginFactory() : OFX::PluginFactoryHelper<probePluginFactory>("ondu1.test:probe", 1, 0) {}
    void describe(OFX::ImageEffectDescriptor& desc) override { OFX::describeEffect(desc, kProbe); }
    void describeInContext(OFX::ImageEffectDescriptor& desc, OFX::ContextEnum context) override {
        OFX::defineEffectClips(desc, context);
        OFX::finishEffectDescription(desc, kProbe);
    }
    OFX::ImageEffect* createInstance(OfxImageEffectHandle handle, OFX::ContextEnum) override {
        return new probePlugin(handle);
    }
};

const OFX::FactoryRegistration<probePluginFactory> registration;

}  // namespace
