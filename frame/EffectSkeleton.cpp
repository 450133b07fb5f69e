#include "EffectSkeleton.h"

namespace OFX {

void describeEffect(ImageEffectDescriptor& desc, const EffectDeclaration& decl) {
    desc.setLabels(decl.label, decl.label, decl.label);
    desc.setPluginGrouping(decl.group);
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

void finishEffectDescription(ImageEffectDescriptor& desc, const EffectDeclaration& decl) {
    // The page lists the top-level parameters; a group brings its own.
    PageParamDescriptor* page = desc.definePageParam(kControlsPage);
    for (ParamDescriptor* param : desc.getParamDescriptors()) {
        if (param->getType() == ePageParam) continue;
        if (param->getPropertySet().propGetString(kOfxParamPropParent, 0, false).empty()) page->addChild(*param);
    }
    if (decl.upliftGUID) desc.setUpliftGUID(decl.upliftGUID);
}

DoubleParamDescriptor* defineBlendAmount(ImageEffectDescriptor& desc) {
    DoubleParamDescriptor* param = desc.defineDoubleParam(kBlendAmountParam);
    param->setLabels("Blend amount", "Blend amount", "Blend amount");
    param->setScriptName("blendamount");
    param->setDefault(1.0);
    param->setRange(0.0, 1.0);
    param->setIncrement(0.1);
    param->setDigits(3);
    param->setDisplayRange(0.0, 1.0);
    param->setAnimates(true);
    param->setDoubleType(eDoubleTypeScale);
    return param;
}

}  // namespace OFX
