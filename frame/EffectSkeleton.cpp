#include "EffectSkeleton.h"

#include <cstring>
#include <stdexcept>

namespace OFX {

namespace {

// Identifiers are compared whole; a host older than the version given, or
// one the requirement does not name, is refused.
bool hostAccepted(const HostRequirement& hosts) {
    const ImageEffectHostDescription* host = getImageEffectHostDescription();
    if (!host) return false;
    int oldest = 0;
    if (host->hostName == "talvo.effects.talvo")
        oldest = hosts.talvo;
    else if (host->hostName == "talvo.effects.talvo.harbor.pe")
        oldest = hosts.harborPE;
    else if (host->hostName == "talvo.effects.talvo.harbor.hd")
        oldest = hosts.harborHD;
    if (oldest > 0 && host->versionMajor >= oldest) return true;
    if (hosts.logged) Log::print("Host(%s) is not supported", host->hostName.c_str());
    return false;
}

}  // namespace

void describeEffect(ImageEffectDescriptor& desc, const EffectDeclaration& decl) {
    desc.setLabels(decl.label, decl.label, decl.label);
    desc.setPluginGrouping(decl.group);
    if (decl.hosts && !hostAccepted(*decl.hosts)) return;
    desc.addSupportedContext(decl.context);
    desc.addSupportedBitDepth(eBitDepthUByte);
    desc.addSupportedBitDepth(eBitDepthFloat);
    desc.addSupportedBitDepth(eBitDepthUByteBGR);
    desc.addSupportedBitDepth(eBitDepthFloatBGR);
    desc.setSingleInstance(false);
    desc.setHostFrameThreading(false);
    desc.setSupportsMultiResolution(true);
    desc.setSupportsTiles(true);
    desc.setTemporalClipAccess(false);
    desc.setRenderTwiceAlways(false);
    desc.setSupportsMultipleClipPARs(false);
    desc.setRenderTwiceAlways(false);
    desc.setHelpFile(kHelpFile);
    desc.setHelpContextID(decl.helpContextID);
    desc.setOpenCLSupported(decl.openCL);
    if (decl.openGL) desc.setOpenGLRenderSupported(true);
}

namespace {

void defineInputClip(ImageEffectDescriptor& desc, const char* name) {
    ClipDescriptor* clip = desc.defineClip(name);
    clip->addSupportedComponent(ePixelComponentRGBA);
    clip->setTemporalClipAccess(false);
    clip->setSupportsTiles(true);
    clip->setIsMask(false);
    clip->setFieldExtraction(eFieldExtractBoth);
}

}  // namespace

void defineEffectClips(ImageEffectDescriptor& desc, ContextEnum context) {
    if (context == eContextTransition) {
        defineInputClip(desc, kSourceFromClip);
        defineInputClip(desc, kSourceToClip);
    } else if (context != eContextGenerator) {
        defineInputClip(desc, kSourceClip);
    }
    ClipDescriptor* output = desc.defineClip(kOutputClip);
    output->addSupportedComponent(ePixelComponentRGBA);
    output->setSupportsTiles(true);
    output->setFieldExtraction(eFieldExtractBoth);
}

void defineGeneratorOutput(ImageEffectDescriptor& desc) {
    ClipDescriptor* output = desc.defineClip(kOutputClip);
    output->addSupportedComponent(ePixelComponentRGBA);
    output->setSupportsTiles(false);
    output->setFieldExtraction(eFieldExtractBoth);
}

void finishEffectDescription(ImageEffectDescriptor& desc, const EffectDeclaration& decl) {
    // The page lists the top-level parameters; a group brings its own.
    PageParamDescriptor* page = desc.definePageParam(kControlsPage);
    for (ParamDescriptor* param : desc.getParamDescriptors()) {
        if (param->getType() == ePageParam) continue;
        if (param->getPropertySet().propGetString(kOfxParamPropParent, 0, false).empty()) page->addChild(*param);
    }
    if (decl.upliftGUID) desc.setUpliftGUID(decl.upliftGUID);
}

namespace {

bool readOneDouble(const KeyframeUpliftArguments& args, int index, double& value) {
    const void* data = args.getKeyData(index);
    if (!data || args.getKeyDataLength(index) != static_cast<int>(sizeof(double))) return false;
    std::memcpy(&value, data, sizeof value);
    return true;
}

}  // namespace

void upliftOneDouble(const KeyframeUpliftArguments& args, DoubleParam& param) {
    const int count = args.getKeyCount();
    double first = 0.0;
    if (count < 1 || !readOneDouble(args, 0, first)) return;
    const double firstTime = args.getKeyTime(0);
    bool animated = false;
    for (int i = 1; i < count && !animated; ++i) {
        double value = 0.0;
        if (readOneDouble(args, i, value)) animated = value != first || args.getKeyTime(i) != firstTime;
    }
    if (!animated && firstTime == 0.0) {
        param.setValue(first);
        return;
    }
    for (int i = 0; i < count; ++i) {
        double value = 0.0;
        if (!readOneDouble(args, i, value)) continue;
        const double time = args.getKeyTime(i);
        param.setValueAtTime(time, value);
        // An unknown name is logged where it is mapped; the key keeps the
        // host's default interpolation and the other keys still arrive.
        try {
            param.setKeyframeInterpolation(time, mapKeyframeInterpolationStringToEnum(args.getKeyInterpolation(i)));
        } catch (const std::invalid_argument&) {
        }
    }
}

}  // namespace OFX
