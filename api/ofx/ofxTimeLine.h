#ifndef _ofxTimeLine_h_
#define _ofxTimeLine_h_

/* Access to the host's time line. */

#include "ofxCore.h"

#ifdef __cplusplus
extern "C" {
#endif

#define kOfxTimeLineSuite "OfxTimeLineSuite"

typedef struct OfxTimeLineSuiteV1 {
  /* instance is an effect instance handle */
  OfxStatus (*getTime)(void *instance, double *time);
  OfxStatus (*gotoTime)(void *instance, double time);
  OfxStatus (*getTimeBounds)(void *instance, double *firstTime, double *lastTime);
} OfxTimeLineSuiteV1;

#ifdef __cplusplus
}
#endif

#endif /* _ofxTimeLine_h_ */
