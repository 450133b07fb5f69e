#ifndef _ofxImageEffect_h_
#define _ofxImageEffect_h_

/* The image effect API: contexts, clips, images and the image effect suite. */

#include "ofxCore.h"
#include "ofxParam.h"
#include "ofxInteract.h"
#include "ofxMessage.h"
#include "ofxMemory.h"
#include "ofxMultiThread.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Value of OfxPlugin::pluginApi for image effects, and its version. */
#define kOfxImageEffectPluginApi "OfxImageEffectPluginAPI"
#define kOfxImageEffectPluginApiVersion 1

/** Opaque handle to an effect descriptor or instance. */
typedef struct OfxImageEffectStruct *OfxImageEffectHandle;
/** Opaque handle to a clip descriptor or instance. */
typedef struct OfxImageClipStruct *OfxImageClipHandle;
/** Opaque handle to image memory allocated through the suite. */
typedef struct OfxImageMemoryStruct *OfxImageMemoryHandle;

/** Returned when an image has an unexpected format. */
#define kOfxStatErrImageFormat ((int)1000)

/* ---- values of kOfxPropType ---- */
#define kOfxTypeImageEffectHost "OfxTypeImageEffectHost"
#define kOfxTypeImageEffect "OfxTypeImageEffect"
#define kOfxTypeImageEffectInstance "OfxTypeImageEffectInstance"
#define kOfxTypeClip "OfxTypeClip"
#define kOfxTypeImage "OfxTypeImage"

/* ---- actions ---- */
#define kOfxImageEffectActionGetRegionOfDefinition "OfxImageEffectActionGetRegionOfDefinition"
#define kOfxImageEffectActionGetRegionsOfInterest "OfxImageEffectActionGetRegionsOfInterest"
#define kOfxImageEffectActionGetTimeDomain "OfxImageEffectActionGetTimeDomain"
#define kOfxImageEffectActionGetFramesNeeded "OfxImageEffectActionGetFramesNeeded"
#define kOfxImageEffectActionGetClipPreferences "OfxImageEffectActionGetClipPreferences"
#define kOfxImageEffectActionIsIdentity "OfxImageEffectActionIsIdentity"
#define kOfxImageEffectActionRender "OfxImageEffectActionRender"
#define kOfxImageEffectActionBeginSequenceRender "OfxImageEffectActionBeginSequenceRender"
#define kOfxImageEffectActionEndSequenceRender "OfxImageEffectActionEndSequenceRender"
#define kOfxImageEffectActionDescribeInContext "OfxImageEffectActionDescribeInContext"
#define kOfxImageEffectActionInvokeHelp "OfxImageEffectActionInvokeHelp"
#define kOfxImageEffectActionInvokeAbout "OfxImageEffectActionInvokeAbout"

/* ---- contexts ---- */
#define kOfxImageEffectContextGenerator "OfxImageEffectContextGenerator"
#define kOfxImageEffectContextFilter "OfxImageEffectContextFilter"
#define kOfxImageEffectContextTransition "OfxImageEffectContextTransition"
#define kOfxImageEffectContextPaint "OfxImageEffectContextPaint"
#define kOfxImageEffectContextGeneral "OfxImageEffectContextGeneral"
#define kOfxImageEffectContextRetimer "OfxImageEffectContextRetimer"

/* ---- fixed clip and parameter names of the contexts ---- */
#define kOfxImageEffectOutputClipName "Output"
#define kOfxImageEffectSimpleSourceClipName "Source"
#define kOfxImageEffectTransitionSourceFromClipName "SourceFrom"
#define kOfxImageEffectTransitionSourceToClipName "SourceTo"
#define kOfxImageEffectTransitionParamName "Transition"
#define kOfxImageEffectRetimerParamName "SourceTime"

/* ---- host and descriptor properties ---- */
#define kOfxImageEffectPropSupportsOverlays "OfxImageEffectPropSupportsOverlays"
#define kOfxImageEffectPropSupportsMultiResolution "OfxImageEffectPropSupportsMultiResolution"
#define kOfxImageEffectPropSupportsTiles "OfxImageEffectPropSupportsTiles"
#define kOfxImageEffectPropTemporalClipAccess "OfxImageEffectPropTemporalClipAccess"
#define kOfxImageEffectPropSupportedContexts "OfxImageEffectPropSupportedContexts"
#define kOfxImageEffectPropSupportedPixelDepths "OfxImageEffectPropSupportedPixelDepths"
#define kOfxImageEffectPropSupportedComponents "OfxImageEffectPropSupportedComponents"
/* note: the value has no "Supports" */
#define kOfxImageEffectPropSupportsMultipleClipDepths "OfxImageEffectPropMultipleClipDepths"
#define kOfxImageEffectPropSupportsMultipleClipPARs "OfxImageEffectPropSupportsMultipleClipPARs"
#define kOfxImageEffectPropSetableFrameRate "OfxImageEffectPropSetableFrameRate"
#define kOfxImageEffectPropSetableFielding "OfxImageEffectPropSetableFielding"
#define kOfxImageEffectHostPropIsBackground "OfxImageEffectHostPropIsBackground"
#define kOfxImageEffectHostPropNativeOrigin "OfxImageEffectHostPropNativeOrigin"
/* values of kOfxImageEffectHostPropNativeOrigin; note the macro names are
   shorter than the values, and the values keep a leading 'k' */
#define kOfxHostNativeOriginBottomLeft "kOfxImageEffectHostPropNativeOriginBottomLeft"
#define kOfxHostNativeOriginTopLeft "kOfxImageEffectHostPropNativeOriginTopLeft"
#define kOfxHostNativeOriginCenter "kOfxImageEffectHostPropNativeOriginCenter"

#define kOfxImageEffectPluginPropSingleInstance "OfxImageEffectPluginPropSingleInstance"
#define kOfxImageEffectPluginRenderThreadSafety "OfxImageEffectPluginRenderThreadSafety"
#define kOfxImageEffectRenderUnsafe "OfxImageEffectRenderUnsafe"
#define kOfxImageEffectRenderInstanceSafe "OfxImageEffectRenderInstanceSafe"
#define kOfxImageEffectRenderFullySafe "OfxImageEffectRenderFullySafe"
#define kOfxImageEffectPluginPropHostFrameThreading "OfxImageEffectPluginPropHostFrameThreading"
#define kOfxImageEffectPluginPropGrouping "OfxImageEffectPluginPropGrouping"
#define kOfxImageEffectPluginPropFieldRenderTwiceAlways "OfxImageEffectPluginPropFieldRenderTwiceAlways"
#define kOfxImageEffectPluginPropOverlayInteractV1 "OfxImageEffectPluginPropOverlayInteractV1"
#define kOfxImageEffectPluginPropOverlayInteractV2 "OfxImageEffectPluginPropOverlayInteractV2"
#define kOfxImageEffectPropClipPreferencesSlaveParam "OfxImageEffectPropClipPreferencesSlaveParam"
#define kOfxImageEffectInstancePropSequentialRender "OfxImageEffectInstancePropSequentialRender"

/* ---- instance properties ---- */
#define kOfxImageEffectPropContext "OfxImageEffectPropContext"
#define kOfxImageEffectPropPluginHandle "OfxImageEffectPropPluginHandle"
#define kOfxImageEffectPropProjectSize "OfxImageEffectPropProjectSize"
#define kOfxImageEffectPropProjectOffset "OfxImageEffectPropProjectOffset"
#define kOfxImageEffectPropProjectExtent "OfxImageEffectPropProjectExtent"
#define kOfxImageEffectPropProjectPixelAspectRatio "OfxImageEffectPropPixelAspectRatio"
#define kOfxImageEffectInstancePropEffectDuration "OfxImageEffectInstancePropEffectDuration"
#define kOfxImageEffectPropInAnalysis "OfxImageEffectPropInAnalysis" /* deprecated */

/* ---- clip, image and render properties ---- */
#define kOfxImageEffectPropPixelDepth "OfxImageEffectPropPixelDepth"
#define kOfxImageEffectPropComponents "OfxImageEffectPropComponents"
#define kOfxImageEffectPropPreMultiplication "OfxImageEffectPropPreMultiplication"
#define kOfxImageEffectPropFrameRate "OfxImageEffectPropFrameRate"
#define kOfxImageEffectPropUnmappedFrameRate "OfxImageEffectPropUnmappedFrameRate"
#define kOfxImageEffectPropFrameStep "OfxImageEffectPropFrameStep"
#define kOfxImageEffectPropFrameRange "OfxImageEffectPropFrameRange"
#define kOfxImageEffectPropUnmappedFrameRange "OfxImageEffectPropUnmappedFrameRange"
#define kOfxImageEffectFrameVarying "OfxImageEffectFrameVarying"
#define kOfxImageEffectPropRenderScale "OfxImageEffectPropRenderScale"
#define kOfxImageEffectPropRegionOfDefinition "OfxImageEffectPropRegionOfDefinition"
#define kOfxImageEffectPropRegionOfInterest "OfxImageEffectPropRegionOfInterest"
#define kOfxImageEffectPropRenderWindow "OfxImageEffectPropRenderWindow"
#define kOfxImageEffectPropFieldToRender "OfxImageEffectPropFieldToRender"
#define kOfxImageEffectPropSequentialRenderStatus "OfxImageEffectPropSequentialRenderStatus"
#define kOfxImageEffectPropInteractiveRenderStatus "OfxImageEffectPropInteractiveRenderStatus"
/* int X 1: on the host, whether it may ask for draft renders; in render
   arguments, whether this render may take quality shortcuts */
#define kOfxImageEffectPropRenderQualityDraft "OfxImageEffectPropRenderQualityDraft"

#define kOfxImageClipPropIsMask "OfxImageClipPropIsMask"
#define kOfxImageClipPropOptional "OfxImageClipPropOptional"
#define kOfxImageClipPropFieldExtraction "OfxImageClipPropFieldExtraction"
#define kOfxImageClipPropFieldOrder "OfxImageClipPropFieldOrder"
#define kOfxImageClipPropConnected "OfxImageClipPropConnected"
#define kOfxImageClipPropUnmappedComponents "OfxImageClipPropUnmappedComponents"
#define kOfxImageClipPropUnmappedPixelDepth "OfxImageClipPropUnmappedPixelDepth"
#define kOfxImageClipPropContinuousSamples "OfxImageClipPropContinuousSamples"

/* clip preference out-arguments: each name is followed by '_' and the clip
   name, e.g. "OfxImageClipPropComponents_Source" */
#define kOfxImageClipPropComponents "OfxImageClipPropComponents"
#define kOfxImageClipPropDepth "OfxImageClipPropDepth"
#define kOfxImageClipPropPAR "OfxImageClipPropPAR"

#define kOfxImagePropData "OfxImagePropData"
#define kOfxImagePropBounds "OfxImagePropBounds"
#define kOfxImagePropRegionOfDefinition "OfxImagePropRegionOfDefinition"
#define kOfxImagePropRowBytes "OfxImagePropRowBytes"
#define kOfxImagePropField "OfxImagePropField"
#define kOfxImagePropUniqueIdentifier "OfxImagePropUniqueIdentifier"
#define kOfxImagePropPixelAspectRatio "OfxImagePropPixelAspectRatio"

/* ---- values ---- */
/* pixel components */
#define kOfxImageComponentNone "OfxImageComponentNone"
#define kOfxImageComponentRGBA "OfxImageComponentRGBA"
#define kOfxImageComponentRGB "OfxImageComponentRGB"
#define kOfxImageComponentAlpha "OfxImageComponentAlpha"
#define kOfxImageComponentYUVA "OfxImageComponentYUVA" /* deprecated */

/* premultiplication */
#define kOfxImageOpaque "OfxImageOpaque"
#define kOfxImagePreMultiplied "OfxImageAlphaPremultiplied"
#define kOfxImageUnPreMultiplied "OfxImageAlphaUnPremultiplied"

/* bit depths */
#define kOfxBitDepthNone "OfxBitDepthNone"
#define kOfxBitDepthByte "OfxBitDepthByte"
#define kOfxBitDepthShort "OfxBitDepthShort"
#define kOfxBitDepthHalf "OfxBitDepthHalf"
#define kOfxBitDepthFloat "OfxBitDepthFloat"

/* fields */
#define kOfxImageFieldNone "OfxFieldNone"
#define kOfxImageFieldBoth "OfxFieldBoth"
#define kOfxImageFieldLower "OfxFieldLower"
#define kOfxImageFieldUpper "OfxFieldUpper"
#define kOfxImageFieldSingle "OfxFieldSingle"
#define kOfxImageFieldDoubled "OfxFieldDoubled"

#define kOfxImageEffectSuite "OfxImageEffectSuite"

typedef struct OfxImageEffectSuiteV1 {
  OfxStatus (*getPropertySet)(OfxImageEffectHandle imageEffect, OfxPropertySetHandle *propHandle);
  OfxStatus (*getParamSet)(OfxImageEffectHandle imageEffect, OfxParamSetHandle *paramSet);
  /* only while describing in a context */
  OfxStatus (*clipDefine)(OfxImageEffectHandle imageEffect, const char *name, OfxPropertySetHandle *propertySet);
  OfxStatus (*clipGetHandle)(OfxImageEffectHandle imageEffect, const char *name, OfxImageClipHandle *clip,
                             OfxPropertySetHandle *propertySet);
  OfxStatus (*clipGetPropertySet)(OfxImageClipHandle clip, OfxPropertySetHandle *propHandle);
  /* region NULL: the whole region of definition; kOfxStatFailed when no image */
  OfxStatus (*clipGetImage)(OfxImageClipHandle clip, OfxTime time, const OfxRectD *region,
                            OfxPropertySetHandle *imageHandle);
  OfxStatus (*clipReleaseImage)(OfxPropertySetHandle imageHandle);
  OfxStatus (*clipGetRegionOfDefinition)(OfxImageClipHandle clip, OfxTime time, OfxRectD *bounds);
  /* nonzero when the current render should stop */
  int (*abort)(OfxImageEffectHandle imageEffect);
  OfxStatus (*imageMemoryAlloc)(OfxImageEffectHandle instanceHandle, size_t nBytes,
                                OfxImageMemoryHandle *memoryHandle);
  OfxStatus (*imageMemoryFree)(OfxImageMemoryHandle memoryHandle);
  OfxStatus (*imageMemoryLock)(OfxImageMemoryHandle memoryHandle, void **returnedPtr);
  OfxStatus (*imageMemoryUnlock)(OfxImageMemoryHandle memoryHandle);
} OfxImageEffectSuiteV1;

#ifdef __cplusplus
}
#endif

#endif /* _ofxImageEffect_h_ */
