#include "EffectSkeleton.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace OFX {

namespace {

const char* const kFamilyHosts[] = {"talvo.effects.talvo", "talvo.effects.talvo.harbor.pe",
                                    "talvo.effects.talvo.harbor.hd"};

bool isFamilyHost(const std::string& name) {
    for (const char* family : kFamilyHosts)
        if (name == family) return true;
    return false;
}

// The table holds for the hosts it names, the hosts these effects were made
// for: identifiers are compared whole, and a host older than the version
// given, or one the table refuses, is refused.
bool familyHostAccepted(const ImageEffectHostDescription& host, const HostRequirement& hosts) {
    int oldest = 0;
    if (host.hostName == kFamilyHosts[0])
        oldest = hosts.talvo;
    else if (host.hostName == kFamilyHosts[1])
        oldest = hosts.harborPE;
    else if (host.hostName == kFamilyHosts[2])
        oldest = hosts.harborHD;
    if (oldest > 0 && host.versionMajor >= oldest) return true;
    if (hosts.logged) Log::print("Host(%s) is not supported", host.hostName.c_str());
    return false;
}

template <class T>
bool contains(const std::vector<T>& list, T value) {
    return std::find(list.begin(), list.end(), value) != list.end();
}

// Any other host is offered the effect when it meets what the effect needs:
// its context, RGBA images, and bytes or floats. One that lacks any of them
// is told so, as the OFX standard has plug-ins answer, so that it lists
// nothing it could never create.
void requireHostFeatures(const ImageEffectHostDescription& host, const EffectDeclaration& decl) {
    const char* missing = nullptr;
    if (!contains(host.supportedContexts, decl.context))
        missing = kOfxImageEffectPropSupportedContexts;
    else if (!contains(host.supportedComponents, ePixelComponentRGBA))
        missing = kOfxImageEffectPropSupportedComponents;
    else if (!contains(host.supportedPixelDepths, eBitDepthUByte) &&
             !contains(host.supportedPixelDepths, eBitDepthFloat))
        missing = kOfxImageEffectPropSupportedPixelDepths;
    if (!missing) return;
    Log::print("Host(%s) lacks what %s needs: %s", host.hostName.c_str(), decl.identifier, missing);
    throw Exception::HostInadequate(missing);
}

}  // namespace

void describeEffect(ImageEffectDescriptor& desc, const EffectDeclaration& decl) {
    desc.setLabels(decl.label, decl.label, decl.label);
    desc.setPluginGrouping(decl.group);
    const ImageEffectHostDescription* host = getImageEffectHostDescription();
    if (!host) throw Exception::HostInadequate("host description");
    if (!isFamilyHost(host->hostName))
        requireHostFeatures(*host, decl);
    else if (decl.hosts && !familyHostAccepted(*host, *decl.hosts))
        return;
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
