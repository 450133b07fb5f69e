// The effect base: what every one of the bundle's effects is built on. An
// effect file includes this header (and ImageProcessor.h for its pixels)
// and nothing else of the frame.
#pragma once

#include <map>
#include <memory>
#include <string>

#include "Arguments.h"
#include "Clip.h"
#include "Core.h"
#include "Factory.h"
#include "Image.h"
#include "Log.h"
#include "ParamDescriptors.h"
#include "Params.h"
#include "PropertySet.h"
#include "Suites.h"

namespace OFX {

// The description of an effect, context-free or for one context.
class ImageEffectDescriptor : public ParamSetDescriptor {
public:
    explicit ImageEffectDescriptor(OfxImageEffectHandle handle);
    ~ImageEffectDescriptor() override;

    OfxImageEffectHandle getHandle() const { return handle_; }
    PropertySet& getPropertySet() { return props_; }

    void setLabels(const std::string& label, const std::string& shortLabel, const std::string& longLabel);
    void setPluginGrouping(const std::string& group);
    void setPluginDescription(const std::string& description);
    void addSupportedContext(ContextEnum context);
    void addSupportedBitDepth(BitDepthEnum depth);
    void setSingleInstance(bool enabled);
    void setHostFrameThreading(bool enabled);
    void setSupportsMultiResolution(bool enabled);
    void setSupportsTiles(bool enabled);
    void setTemporalClipAccess(bool enabled);
    void setRenderTwiceAlways(bool enabled);
    void setSupportsMultipleClipPARs(bool enabled);
    void setSupportsMultipleClipDepths(bool enabled);
    void setHelpFile(const std::string& file);
    void setHelpContextID(int id);
    // Writes "true" only when the host offers its OpenCL program suite:
    // without it the bundle cannot build kernels, whatever it would like.
    void setOpenCLSupported(bool enabled);
    // The same rule on the OpenGL render suite.
    void setOpenGLRenderSupported(bool enabled);
    // Appends the GUID text of an older form of the effect.
    void setUpliftGUID(const std::string& guid);

    ClipDescriptor* defineClip(const std::string& name);

private:
    OfxImageEffectHandle handle_;
    PropertySet props_;
    std::map<std::string, std::unique_ptr<ClipDescriptor>> clips_;
};

class ImageEffect : public ParamSet {
public:
    ImageEffect(OfxImageEffectHandle handle);
    ~ImageEffect() override;
    ImageEffect(const ImageEffect&) = delete;
    ImageEffect& operator=(const ImageEffect&) = delete;

    OfxImageEffectHandle getHandle() const { return effectHandle_; }
    const PropertySet& getPropertySet() const { return effectProps_; }
    ContextEnum getContext() const { return context_; }

    // The live effect that owns a parameter set, or null.
    static ImageEffect* fromParamSet(OfxParamSetHandle paramSet);

    // The clip of that name, fetched once and kept until the effect dies.
    Clip* fetchClip(const std::string& name);
    // Asks the host on every call whether the render should stop.
    bool abort() const;
    // A message to the user through the host's message suite; returns the
    // host's status, or kOfxStatErrUnsupported without the suite.
    OfxStatus sendMessage(MessageTypeEnum type, const std::string& id, const std::string& text) const;
    // The host's progress bar for a long action (an analysis). Without a
    // progress suite the three do nothing and nothing can be cancelled.
    void progressStart(const std::string& message, const std::string& messageId = {});
    // Moves the bar to `progress` (0 to 1); false when the user asked to stop.
    bool progressUpdate(double progress);
    void progressEnd();

    virtual void purgeCaches() {}
    virtual void syncPrivateData() {}
    virtual void syncPreClone() {}
    virtual void prePanCrop() {}
    virtual void render(const RenderArguments& args) = 0;
    virtual void beginSequenceRender(const BeginSequenceRenderArguments&) {}
    virtual void endSequenceRender(const EndSequenceRenderArguments&) {}
    virtual bool isIdentity(const IsIdentityArguments&, Clip*& /*identityClip*/, double& /*identityTime*/) {
        return false;
    }
    virtual bool getRegionOfDefinition(const RegionOfDefinitionArguments&, OfxRectD& /*rod*/) { return false; }
    virtual void getRegionsOfInterest(const RegionsOfInterestArguments&, RegionOfInterestSetter&) {}
    virtual void getFramesNeeded(const FramesNeededArguments&, FramesNeededSetter&) {}
    virtual void getClipPreferences(ClipPreferencesSetter&) {}
    virtual void beginEdit() {}
    virtual void endEdit() {}
    virtual void beginChanged(InstanceChangeReason) {}
    virtual void changedParam(const InstanceChangedArgs&, const std::string& /*paramName*/) {}
    virtual void changedClip(const InstanceChangedArgs&, const std::string& /*clipName*/) {}
    virtual void endChanged(InstanceChangeReason) {}
    virtual void keyframeUplift(const KeyframeUpliftArguments&) {}
    virtual bool invokeAbout() { return false; }
    virtual bool invokeHelp() { return false; }
    // The default keeps the first key's value.
    virtual void interpolateCustomParam(const InterpolateCustomArgs& args, std::string& result) {
        result = args.value1;
    }
    virtual bool getTimeDomain(OfxRangeD&) { return false; }
    virtual void openGLContextAttached() {}
    virtual void openGLContextDetached() {}

private:
    OfxImageEffectHandle effectHandle_;
    PropertySet effectProps_;
    ContextEnum context_;
    OfxParamSetHandle paramSetHandle_;
    std::map<std::string, std::unique_ptr<Clip>> fetchedClips_;
};

// The region every effect but a few claims: unbounded, so the host crops.
inline void setInfiniteRegion(OfxRectD& rod) {
    rod.x1 = rod.y1 = -2147483648.0;
    rod.x2 = rod.y2 = 2147483647.0;
}

}  // namespace OFX
