#ifndef _ofxParametricParam_h_
#define _ofxParametricParam_h_

/* Parametric parameters: curves of value against a parametric position. */

#include "ofxCore.h"
#include "ofxParam.h"

#ifndef __cplusplus
#include <stdbool.h>
#endif

#ifdef __cplusplus
extern "C" {
#endif

#define kOfxParametricParameterSuite "OfxParametricParameterSuite"

#define kOfxParamTypeParametric "OfxParamTypeParametric"

/* int X 1: number of curves */
#define kOfxParamPropParametricDimension "OfxParamPropParametricDimension"
/* double X 3 * dimension: colour of each curve in the UI */
#define kOfxParamPropParametricUIColour "OfxParamPropParametricUIColour"
/* pointer X 1: entry of an interact drawn behind the curves */
#define kOfxParamPropParametricInteractBackground "OfxParamPropParametricInteractBackground"
/* double X 2: range of the parametric position */
#define kOfxParamPropParametricRange "OfxParamPropParametricRange"
#define kOfxParamHostPropSupportsParametricAnimation "OfxParamHostPropSupportsParametricAnimation"

typedef struct OfxParametricParameterSuiteV1 {
  OfxStatus (*parametricParamGetValue)(OfxParamHandle param, int curveIndex, OfxTime time,
                                       double parametricPosition, double *returnValue);
  OfxStatus (*parametricParamGetNControlPoints)(OfxParamHandle param, int curveIndex, double time,
                                                int *returnValue);
  OfxStatus (*parametricParamGetNthControlPoint)(OfxParamHandle param, int curveIndex, double time, int nthCtl,
                                                 double *key, double *value);
  OfxStatus (*parametricParamSetNthControlPoint)(OfxParamHandle param, int curveIndex, double time, int nthCtl,
                                                 double key, double value, bool addAnimationKey);
  OfxStatus (*parametricParamAddControlPoint)(OfxParamHandle param, int curveIndex, double time, double key,
                                              double value, bool addAnimationKey);
  OfxStatus (*parametricParamDeleteControlPoint)(OfxParamHandle param, int curveIndex, int nthCtl);
  OfxStatus (*parametricParamDeleteAllControlPoints)(OfxParamHandle param, int curveIndex);
} OfxParametricParameterSuiteV1;

#ifdef __cplusplus
}
#endif

#endif /* _ofxParametricParam_h_ */
