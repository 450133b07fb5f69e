#ifndef _ofxTalvo_h_
#define _ofxTalvo_h_

/* Host extensions beyond the standard OFX API that this bundle reads:
   extra properties, values and actions, and a few extension suites.
   A host that does not know a name simply never sets or calls it, so
   every reader here must have a fallback. */

#include "ofxCore.h"
#include "ofxImageEffect.h"
#include "ofxGPURender.h"
#include "ofxHWndInteract.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- generic ---- */
/* called on the source instance before the host clones it */
#define kOfxActionSyncPreClone "OfxActionSyncPreClone"
/* double X 1: time code of the frame being rendered, in render arguments */
#define kOfxPropTalvoTimeCode "OfxPropTalvoTimeCode"
/* pointer X 1, host: the native main window */
#define kOfxPropTalvoHostHWnd "OfxPropTalvoHostHWnd"
/* string X 1, host: a directory where plug-ins may keep per-user data */
#define kOfxPropTalvoHostAppDataDirectory "OfxPropTalvoHostAppDataDirectory"
/* int X 1, render arguments: the host will not cache this frame */
#define kOfxPropTalvoDoNotCache "OfxPropTalvoDoNotCache"

/* ---- pixel layout ---- */
/* string X 1 on clips and images: channel order in memory */
#define kOfxImageEffectPropPixelOrder "OfxImageEffectPropPixelOrder"
#define kOfxImagePixelOrderRGBA "OfxImagePixelOrderRGBA"
#define kOfxImagePixelOrderBGRA "OfxImagePixelOrderBGRA"
/* three-channel pixels stored blue first */
#define kOfxBitDepthByteBGR "OfxBitDepthByteBGR"
#define kOfxBitDepthShortBGR "OfxBitDepthShortBGR"
#define kOfxBitDepthFloatBGR "OfxBitDepthFloatBGR"

/* ---- render quality ---- */
/* string X 1 in render arguments; the draft value is the standard name
   kOfxImageEffectPropRenderQualityDraft, which hosts also use as an
   int X 1 property on its own */
#define kOfxImageEffectPropRenderQuality "OfxImageEffectPropRenderQuality"
#define kOfxImageEffectPropRenderQualityPreview "OfxImageEffectPropRenderQualityPreview"
#define kOfxImageEffectPropRenderQualityGood "OfxImageEffectPropRenderQualityGood"
#define kOfxImageEffectPropRenderQualityBest "OfxImageEffectPropRenderQualityBest"

/* ---- stereoscopic rendering ---- */
/* int X 1, render arguments: number of views the host will ask for */
#define kOfxImageEffectPropViewsToRender "OfxImageEffectPropViewsToRender"
/* int X 1, render arguments: view being rendered (0 left, 1 right) */
#define kOfxImageEffectPropRenderView "OfxImageEffectPropRenderView"

/* ---- OpenCL ---- */
/* pointer X 1 in render arguments: the cl_context of the command queue */
#define kOfxImageEffectPropOpenCLContext "OfxImageEffectPropOpenCLContext"

/* ---- where the effect sits in the host ---- */
#define kOfxImageEffectPropTalvoContext "OfxImageEffectPropTalvoContext"
#define kOfxImageEffectPropTalvoContextUnknown "OfxImageEffectPropTalvoContextUnknown"
#define kOfxImageEffectPropTalvoContextMedia "OfxImageEffectPropTalvoContextMedia"
#define kOfxImageEffectPropTalvoContextTrack "OfxImageEffectPropTalvoContextTrack"
#define kOfxImageEffectPropTalvoContextEvent "OfxImageEffectPropTalvoContextEvent"
#define kOfxImageEffectPropTalvoContextEventFadeIn "OfxImageEffectPropTalvoContextEventFadeIn"
#define kOfxImageEffectPropTalvoContextEventFadeOut "OfxImageEffectPropTalvoContextEventFadeOut"
#define kOfxImageEffectPropTalvoContextProject "OfxImageEffectPropTalvoContextProject"
#define kOfxImageEffectPropTalvoContextGenerator "OfxImageEffectPropTalvoContextGenerator"
/* int X 1: the host crops before panning (pre-pan crop) */
#define kOfxImageEffectPropTalvoPrePanCrop "OfxImageEffectPropTalvoPrePanCrop"

/* ---- uplift of settings saved by older plug-in versions ---- */
/* string X 1 on the descriptor: GUID of the old plug-in this one replaces */
#define kOfxImageEffectPropTalvoUpliftGUID "OfxImageEffectPropTalvoUpliftGUID"
/* action: convert old preset data (and keyframes) into parameter values */
#define kOfxImageEffectActionTalvoKeyframeUplift "OfxImageEffectActionTalvoKeyframeUplift"
/* in-arguments of the uplift action */
#define kOfxPropTalvoUpliftData "OfxPropTalvoUpliftData"                                     /* pointer X N */
#define kOfxPropTalvoUpliftDataLength "OfxPropTalvoUpliftDataLength"                         /* int X N */
#define kOfxPropTalvoUpliftKeyframeData "OfxPropTalvoUpliftKeyframeData"                     /* pointer X N */
#define kOfxPropTalvoUpliftKeyframeDataLength "OfxPropTalvoUpliftKeyframeDataLength"         /* int X N */
#define kOfxPropTalvoUpliftKeyframeTime "OfxPropTalvoUpliftKeyframeTime"                     /* double X N */
#define kOfxPropTalvoUpliftKeyframeInterpolation "OfxPropTalvoUpliftKeyframeInterpolation"   /* string X N */

/* keyframe interpolation names (values of kOfxPropTalvoUpliftKeyframeInterpolation) */
#define kOfxTalvoKeyframeInterpolationUnknown "OfxTalvoKeyframeInterpolationUnknown"
#define kOfxTalvoKeyframeInterpolationLinear "OfxTalvoKeyframeInterpolationLinear"
#define kOfxTalvoKeyframeInterpolationFast "OfxTalvoKeyframeInterpolationFast"
#define kOfxTalvoKeyframeInterpolationSlow "OfxTalvoKeyframeInterpolationSlow"
#define kOfxTalvoKeyframeInterpolationSmooth "OfxTalvoKeyframeInterpolationSmooth"
#define kOfxTalvoKeyframeInterpolationSharp "OfxTalvoKeyframeInterpolationSharp"
#define kOfxTalvoKeyframeInterpolationHold "OfxTalvoKeyframeInterpolationHold"
#define kOfxTalvoKeyframeInterpolationManual "OfxTalvoKeyframeInterpolationManual"
#define kOfxTalvoKeyframeInterpolationSplit "OfxTalvoKeyframeInterpolationSplit"

/* the same interpolations as numbers, for OfxTalvoKeyframeSuiteV1 */
typedef enum OfxTalvoKeyframeInterpolationType {
  kOfxTalvoInterpolationUnknown = 0,
  kOfxTalvoInterpolationLinear = 1,
  kOfxTalvoInterpolationFast = 2,
  kOfxTalvoInterpolationSlow = 3,
  kOfxTalvoInterpolationSmooth = 4,
  kOfxTalvoInterpolationSharp = 5,
  kOfxTalvoInterpolationHold = 6,
  kOfxTalvoInterpolationManual = 7,
  kOfxTalvoInterpolationSplit = 8
} OfxTalvoKeyframeInterpolationType;

/* ---- host actions ---- */
/* region of definition asked by the host's compositor, same arguments
   as kOfxImageEffectActionGetRegionOfDefinition */
#define kOfxBrambleImageEffectActionGetRegionOfDefinition "OfxBrambleImageEffectActionGetRegionOfDefinition"
/* run a script on the instance; in-arguments carry the script text */
#define kOfxTalvoActionRunScript "OfxTalvoActionRunScript"
/* the user asked for the effect's about box or help */
#define kOfxTalvoActionShowEffectAbout "OfxTalvoActionShowEffectAbout"
#define kOfxTalvoActionShowEffectHelp "OfxTalvoActionShowEffectHelp"

/* ---- preset thumbnails ---- */
/* string X 1 on the descriptor: how the host draws preset thumbnails */
#define kOfxProbPluginTalvoPresetThumbnail "OfxProbPluginTalvoPresetThumbnail"
#define kOfxProbPluginTalvoPresetThumbnailDefault "OfxProbPluginTalvoPresetThumbnailDefault"
#define kOfxProbPluginTalvoPresetThumbnailSolidImage "OfxProbPluginTalvoPresetThumbnailSolidImage"
#define kOfxProbPluginTalvoPresetThumbnailImageWithAlpha "OfxProbPluginTalvoPresetThumbnailImageWithAlpha"

/* ---- parameters ---- */
/* an image chosen by the user (file or grabbed from the preview) */
#define kOfxParamTypeImage "OfxParamTypeImage"
/* extra values of kOfxParamPropDoubleType */
#define kOfxParamDoubleTypePolar "OfxParamDoubleTypePolar"
#define kOfxParamDoubleTypeChrominance "OfxParamDoubleTypeChrominance"
#define kOfxParamDoubleTypeLog "OfxParamDoubleTypeLog"
/* int X 1: lightness level of a colour wheel */
#define kOfxParamPropColorWheelLevel "OfxParamPropColorWheelLevel"
/* int X 1 on groups: open in the UI */
#define kOfxParamPropParameterExpanded "OfxParamPropParameterExpanded"
/* int X 1: leave this parameter out of saved presets */
#define kOfxParamPropPresetExclude "OfxParamPropPresetExclude"
/* string X 1 on booleans, with its values */
#define kOfxParamPropBooleanMode "OfxParamPropBooleanMode"
#define kOfxParamBooleanIsDefault "OfxParamBooleanIsDefault"
#define kOfxParamBooleanIsReadOnlyMarker "OfxParamBooleanIsReadOnlyMarker"
/* string X 1 on custom parameters, with its values */
#define kOfxParamPropCustomMode "OfxParamPropCustomMode"
#define kOfxParamCustomIsDefault "OfxParamCustomIsDefault"
#define kOfxParamCustomNoAnimateButton "OfxParamCustomNoAnimateButton"
/* values of kOfxParamPropImageMode */
#define kOfxParamImageHideGrabControls "OfxParamImageHideGrabControls"
#define kOfxParamImageHideGrabFromPreview "OfxParamImageHideGrabFromPreview"

/* ---- descriptor extras the plug-in frame sets (optional for hosts) ---- */
/* string X 1 on the effect descriptor: help file of the effect */
#define kOfxPropTalvoHelpFile "OfxPropTalvoHelpFile"
/* int X 1 on the effect descriptor: topic id inside that help file */
#define kOfxPropTalvoHelpContextID "OfxPropTalvoHelpContextID"
/* string X N on choice parameters: a tooltip per option, same order as kOfxParamPropChoiceOption */
#define kOfxParamPropChoiceOptionHint "OfxParamPropChoiceOptionHint"
/* string X 1 on image parameters: kOfxParamImageHideGrabControls or kOfxParamImageHideGrabFromPreview */
#define kOfxParamPropImageMode "OfxParamPropImageMode"

/* ---- suites ---- */
#define kOfxOpenCLProgramSuite "OfxOpenCLProgramSuite"
typedef struct OfxOpenCLProgramSuiteV1 {
  /* builds source for the host's OpenCL device; on kOfxStatOK *(cl_program *)programOut holds the program.
     optional nonzero: a failure is expected and not reported to the user */
  OfxStatus (*compileProgram)(const char *source, int optional, void *programOut);
} OfxOpenCLProgramSuiteV1;

#define kOfxTalvoStereoscopicImageEffectSuite "OfxTalvoStereoscopicImageEffectSuite"
typedef struct OfxTalvoStereoscopicImageEffectSuiteV1 {
  /* like clipGetImage, for one view (0 left, 1 right); release with clipReleaseImage */
  OfxStatus (*clipGetStereoscopicImage)(OfxImageClipHandle clip, OfxTime time, int view, const OfxRectD *region,
                                        OfxPropertySetHandle *imageHandle);
} OfxTalvoStereoscopicImageEffectSuiteV1;

#define kOfxTalvoKeyframeSuite "OfxTalvoKeyframeSuite"
typedef struct OfxTalvoKeyframeSuiteV1 {
  /* sets the interpolation (an OfxTalvoKeyframeInterpolationType) of the key at time */
  OfxStatus (*paramSetKeyframeInterpolation)(OfxParamHandle param, OfxTime time, int interpolation);
  /* reads the interpolation of the key at time */
  OfxStatus (*paramGetKeyframeInterpolation)(OfxParamHandle param, OfxTime time, int *interpolation);
} OfxTalvoKeyframeSuiteV1;

#define kOfxTalvoProgressSuite "OfxTalvoProgressSuite"
typedef struct OfxTalvoProgressSuiteV2 {
  /* starts a progress bar with a message and its id (may be NULL) */
  OfxStatus (*progressStartProgress)(void *effectInstance, const char *message, const char *messageId);
  /* progress in [0, 1]; kOfxStatReplyNo means the user asked to stop */
  OfxStatus (*progressUpdate)(void *effectInstance, double progress);
  /* closes the progress bar */
  OfxStatus (*progressEndProgress)(void *effectInstance);
} OfxTalvoProgressSuiteV2;

#define kOfxTalvoEffectSuite "OfxTalvoEffectSuite"
typedef struct OfxTalvoEffectSuiteV1 {
  /* the native window hosting the effect's UI (HWND on Windows) */
  OfxStatus (*effectGetHostWindow)(OfxImageEffectHandle effect, void **hwnd);
} OfxTalvoEffectSuiteV1;

/* OfxHWndInteractSuiteV1 and OfxHWndOverlayInteractSuiteV1 are in ofxHWndInteract.h */

#ifdef __cplusplus
}
#endif

#endif /* _ofxTalvo_h_ */
