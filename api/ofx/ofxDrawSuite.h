#ifndef _ofxDrawSuite_h_
#define _ofxDrawSuite_h_

/* Drawing in interacts without calling OpenGL directly. */

#include "ofxCore.h"
#include "ofxPixels.h"

#ifdef __cplusplus
extern "C" {
#endif

#define kOfxDrawSuite "OfxDrawSuite"

/** Opaque handle to a drawing context, valid during a draw action. */
typedef struct OfxDrawContext *OfxDrawContextHandle;

/* pointer X 1 in draw action arguments: the OfxDrawContextHandle */
#define kOfxInteractPropDrawContext "OfxInteractPropDrawContext"

typedef enum OfxStandardColour {
  kOfxStandardColourOverlayBackground,
  kOfxStandardColourOverlayActive,
  kOfxStandardColourOverlaySelected,
  kOfxStandardColourOverlayDeselected,
  kOfxStandardColourOverlayMarqueeFG,
  kOfxStandardColourOverlayMarqueeBG,
  kOfxStandardColourOverlayText
} OfxStandardColour;

typedef enum OfxDrawLineStipplePattern {
  kOfxDrawLineStipplePatternSolid,
  kOfxDrawLineStipplePatternDot,
  kOfxDrawLineStipplePatternDash,
  kOfxDrawLineStipplePatternAltDash,
  kOfxDrawLineStipplePatternDotDash
} OfxDrawLineStipplePattern;

typedef enum OfxDrawPrimitive {
  kOfxDrawPrimitiveLines,
  kOfxDrawPrimitiveLineStrip,
  kOfxDrawPrimitiveLineLoop,
  kOfxDrawPrimitiveRectangle,
  kOfxDrawPrimitivePolygon,
  kOfxDrawPrimitiveEllipse
} OfxDrawPrimitive;

typedef enum OfxDrawTextAlignment {
  kOfxDrawTextAlignmentLeft = 0x0001,
  kOfxDrawTextAlignmentRight = 0x0002,
  kOfxDrawTextAlignmentTop = 0x0004,
  kOfxDrawTextAlignmentBottom = 0x0008,
  kOfxDrawTextAlignmentBaseline = 0x0010,
  kOfxDrawTextAlignmentCenterH = (kOfxDrawTextAlignmentLeft | kOfxDrawTextAlignmentRight),
  kOfxDrawTextAlignmentCenterV = (kOfxDrawTextAlignmentTop | kOfxDrawTextAlignmentBaseline)
} OfxDrawTextAlignment;

typedef struct OfxDrawSuiteV1 {
  OfxStatus (*getColour)(OfxDrawContextHandle context, OfxStandardColour std_colour, OfxRGBAColourF *colour);
  OfxStatus (*setColour)(OfxDrawContextHandle context, const OfxRGBAColourF *colour);
  OfxStatus (*setLineWidth)(OfxDrawContextHandle context, float width);
  OfxStatus (*setLineStipple)(OfxDrawContextHandle context, OfxDrawLineStipplePattern pattern);
  /* rectangle and ellipse take 2 corner points; lines take pairs */
  OfxStatus (*draw)(OfxDrawContextHandle context, OfxDrawPrimitive primitive, const OfxPointD *points,
                    int point_count);
  /* alignment: OfxDrawTextAlignment flags or'ed together */
  OfxStatus (*drawText)(OfxDrawContextHandle context, const char *text, const OfxPointD *pos, int alignment);
} OfxDrawSuiteV1;

#ifdef __cplusplus
}
#endif

#endif /* _ofxDrawSuite_h_ */
