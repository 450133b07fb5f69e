#ifndef _ofxInteract_h_
#define _ofxInteract_h_

/* Interacts: plug-in drawn overlays and custom parameter widgets. */

#include "ofxCore.h"

#ifdef __cplusplus
extern "C" {
#endif

#define kOfxInteractSuite "OfxInteractSuite"

/** Opaque handle to an interact instance. */
typedef struct OfxInteract *OfxInteractHandle;

/** Entry point of an interact (the value of the ...InteractV1 properties);
    called with the same arguments as a plug-in's main entry. */
typedef OfxStatus(OfxInteractEntry)(const char *action, const void *handle, OfxPropertySetHandle inArgs,
                                    OfxPropertySetHandle outArgs);

/* ---- interact properties ---- */
#define kOfxInteractPropSlaveToParam "OfxInteractPropSlaveToParam"
#define kOfxInteractPropPixelScale "OfxInteractPropPixelScale"
#define kOfxInteractPropBackgroundColour "OfxInteractPropBackgroundColour"
#define kOfxInteractPropSuggestedColour "OfxInteractPropSuggestedColour"
#define kOfxInteractPropPenPosition "OfxInteractPropPenPosition"
#define kOfxInteractPropPenViewportPosition "OfxInteractPropPenViewportPosition"
#define kOfxInteractPropPenPressure "OfxInteractPropPenPressure"
#define kOfxInteractPropBitDepth "OfxInteractPropBitDepth"
#define kOfxInteractPropHasAlpha "OfxInteractPropHasAlpha"
/* note: the value is shorter than the macro name */
#define kOfxInteractPropViewportSize "OfxInteractPropViewport"

/* ---- interact actions ---- */
#define kOfxInteractActionDraw "OfxInteractActionDraw"
#define kOfxInteractActionPenMotion "OfxInteractActionPenMotion"
#define kOfxInteractActionPenDown "OfxInteractActionPenDown"
#define kOfxInteractActionPenUp "OfxInteractActionPenUp"
#define kOfxInteractActionKeyDown "OfxInteractActionKeyDown"
#define kOfxInteractActionKeyUp "OfxInteractActionKeyUp"
#define kOfxInteractActionKeyRepeat "OfxInteractActionKeyRepeat"
#define kOfxInteractActionGainFocus "OfxInteractActionGainFocus"
#define kOfxInteractActionLoseFocus "OfxInteractActionLoseFocus"

typedef struct OfxInteractSuiteV1 {
  OfxStatus (*interactSwapBuffers)(OfxInteractHandle interactInstance);
  /* asks the host to redraw the interact soon */
  OfxStatus (*interactRedraw)(OfxInteractHandle interactInstance);
  OfxStatus (*interactGetPropertySet)(OfxInteractHandle interactInstance, OfxPropertySetHandle *property);
} OfxInteractSuiteV1;

#ifdef __cplusplus
}
#endif

#endif /* _ofxInteract_h_ */
