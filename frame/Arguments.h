// The arguments of the actions, read once by the dispatcher and handed to
// the effect as plain records.
#pragma once

#include <string>

#include "Core.h"
#include "PropertySet.h"
#include "ofxCore.h"

namespace OFX {

class Clip;

struct RenderArguments {
    double time = 0.0;
    double timeCode = 0.0;
    OfxPointD renderScale{1.0, 1.0};
    OfxRectI renderWindow{0, 0, 0, 0};
    int viewsToRender = 0;
    int renderView = 0;
    // True only when the host asked for OpenCL and gave both a context and a
    // command queue: the bundle never makes its own.
    bool openCLEnabled = false;
    void* openCLContext = nullptr;
    void* openCLQueue = nullptr;
    bool openGLEnabled = false;
    bool sequentialRenderStatus = false;
    bool interactiveRenderStatus = false;
    bool renderQualityDraft = false;
    FieldEnum fieldToRender = eFieldNone;
    RenderQualityEnum renderQuality = eRenderQualityNone;
};

using IsIdentityArguments = RenderArguments;

struct RegionOfDefinitionArguments {
    double time = 0.0;
    OfxPointD renderScale{1.0, 1.0};
};

struct RegionsOfInterestArguments {
    double time = 0.0;
    OfxPointD renderScale{1.0, 1.0};
    OfxRectD regionOfInterest{0, 0, 0, 0};
};

struct FramesNeededArguments {
    double time = 0.0;
};

struct BeginSequenceRenderArguments {
    OfxRangeD frameRange{0, 0};
    double frameStep = 1.0;
    OfxPointD renderScale{1.0, 1.0};
    bool openGLEnabled = false;
    bool isInteractive = false;
    bool sequentialRenderStatus = false;
    bool interactiveRenderStatus = false;
};

struct EndSequenceRenderArguments {
    OfxPointD renderScale{1.0, 1.0};
    bool openGLEnabled = false;
    bool isInteractive = false;
    bool sequentialRenderStatus = false;
    bool interactiveRenderStatus = false;
};

// Handed to changedParam and changedClip with only the time of the change
// filled in: effects work from the changed object's name, the current values
// and that time.
struct InstanceChangedArgs {
    InstanceChangeReason reason = eChangeUserEdit;
    double time = 0.0;
    OfxPointD renderScale{1.0, 1.0};
};

// The keys of an effect's older form, index i for the i-th key, read from the
// host on demand.
class KeyframeUpliftArguments {
public:
    explicit KeyframeUpliftArguments(const PropertySet& inArgs) : args_(inArgs) {}

    int getKeyCount() const;
    const void* getKeyData(int index) const;
    int getKeyDataLength(int index) const;
    double getKeyTime(int index) const;
    std::string getKeyInterpolation(int index) const;
    // The single record of the effect's static state.
    const void* getData() const;
    int getDataLength() const;

private:
    const PropertySet& args_;
};

class RegionOfInterestSetter {
public:
    virtual ~RegionOfInterestSetter() = default;
    virtual void setRegionOfInterest(const Clip& clip, const OfxRectD& region) = 0;
};

class FramesNeededSetter {
public:
    virtual ~FramesNeededSetter() = default;
    virtual void setFramesNeeded(const Clip& clip, const OfxRangeD& range) = 0;
};

class ClipPreferencesSetter {
public:
    explicit ClipPreferencesSetter(PropertySet& outArgs) : outArgs_(outArgs) {}

    void setClipComponents(const Clip& clip, PixelComponentEnum components);
    void setClipBitDepth(const Clip& clip, BitDepthEnum depth);
    void setPixelAspectRatio(const Clip& clip, double par);
    void setOutputFrameVarying(bool varying);
    void setOutputHasContinuousSamples(bool continuous);
    void setOutputPremultiplication(PreMultiplicationEnum premultiplication);
    bool wasUsed() const { return used_; }

private:
    PropertySet& outArgs_;
    bool used_ = false;
};

}  // namespace OFX
