#ifndef _ofxHWndInteract_h_
#define _ofxHWndInteract_h_

/* Window-hosted interacts: custom UI and overlays drawn by the plug-in into
   a native window (HWND on Windows) that the host creates and owns. */

#include "ofxCore.h"
#include "ofxInteract.h"

#ifdef __cplusplus
extern "C" {
#endif

/* pointer X 1 on the effect descriptor: OfxInteractEntry of each kind */
#define kOfxImageEffectPluginPropHWndInteractV1 "OfxImageEffectPluginPropHWndInteractV1"
#define kOfxImageEffectPluginPropHWndOverlayInteractV1 "OfxImageEffectPluginPropHWndOverlayInteractV1"

/* ---- window interact (a panel in the host UI) ---- */
#define kOfxHWndInteractSuite "OfxHWndInteractSuite"

#define kOfxHWndInteractActionCreateWindow "OfxHWndInteractActionCreateWindow"
#define kOfxHWndInteractActionDisposeWindow "OfxHWndInteractActionDisposeWindow"
#define kOfxHWndInteractActionMoveWindow "OfxHWndInteractActionMoveWindow"
#define kOfxHWndInteractActionShowWindow "OfxHWndInteractActionShowWindow"

/* pointer X 1: the parent native window */
#define kOfxHWndInteractPropParent "OfxHWndInteractPropParent"
/* int X 4: window rectangle in the parent (left, top, right, bottom) */
#define kOfxHWndInteractPropLocation "OfxHWndInteractPropLocation"
/* int X 2: smallest usable size */
#define kOfxHWndInteractPropMinSize "OfxHWndInteractPropMinSize"
/* int X 2: preferred size (the misspelling is part of the name) */
#define kOfxHWndInteractPropPrefferedSize "OfxHWndInteractPropPrefferedSize"

typedef struct OfxHWndInteractSuiteV1 {
  /* the property set of a window interact */
  OfxStatus (*interactGetPropertySet)(OfxInteractHandle interactInstance, OfxPropertySetHandle *property);
  /* asks the host to redraw the window */
  OfxStatus (*interactRedraw)(OfxInteractHandle interactInstance);
} OfxHWndInteractSuiteV1;

/* ---- window overlay interact (drawn over the viewer) ---- */
#define kOfxHWndOverlayInteractSuite "OfxHWndOverlayInteractSuite"

#define kOfxHWndOverlayInteractDraw "OfxHWndOverlayInteractDraw"
#define kOfxHWndOverlayInteractMouseDown "OfxHWndOverlayInteractMouseDown"
#define kOfxHWndOverlayInteractMouseUp "OfxHWndOverlayInteractMouseUp"
#define kOfxHWndOverlayInteractMouseMove "OfxHWndOverlayInteractMouseMove"
#define kOfxHWndOverlayInteractKeyDown "OfxHWndOverlayInteractKeyDown"
#define kOfxHWndOverlayInteractKeyUp "OfxHWndOverlayInteractKeyUp"
#define kOfxHWndOverlayInteractKeyChar "OfxHWndOverlayInteractKeyChar"
#define kOfxHWndOverlayInteractActionGainFocus "OfxHWndOverlayInteractActionGainFocus"
#define kOfxHWndOverlayInteractActionLoseFocus "OfxHWndOverlayInteractActionLoseFocus"

/* pointer X 1: device context to draw into */
#define kOfxHWndOverlayInteractPropHDC "OfxHWndOverlayInteractPropHDC"
/* int X 4: the area to draw (left, top, right, bottom) */
#define kOfxHWndOverlayInteractPropRect "OfxHWndOverlayInteractPropRect"
/* double X 2: mouse position in canonical coordinates */
#define kOfxHWndOverlayInteractPropMouseLoc "OfxHWndOverlayInteractPropMouseLoc"
/* int X 1: native virtual key code or character */
#define kOfxHWndOverlayInteractPropKeyCode "OfxHWndOverlayInteractPropKeyCode"

typedef struct OfxHWndOverlayInteractSuiteV1 {
  /* the property set of an overlay interact */
  OfxStatus (*interactGetPropertySet)(OfxInteractHandle interactInstance, OfxPropertySetHandle *property);
  /* asks the host to redraw the overlay */
  OfxStatus (*interactRedraw)(OfxInteractHandle interactInstance);
} OfxHWndOverlayInteractSuiteV1;

#ifdef __cplusplus
}
#endif

#endif /* _ofxHWndInteract_h_ */
