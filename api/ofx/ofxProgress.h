#ifndef _ofxProgressSuite_h_
#define _ofxProgressSuite_h_

/* Progress reporting for long operations (typically analysis). */

#include "ofxCore.h"

#ifdef __cplusplus
extern "C" {
#endif

#define kOfxProgressSuite "OfxProgressSuite"

typedef struct OfxProgressSuiteV1 {
  OfxStatus (*progressStartProgress)(void *effectInstance, const char *label);
  /* progress in [0, 1]; kOfxStatReplyNo means the user asked to stop */
  OfxStatus (*progressUpdate)(void *effectInstance, double progress);
  OfxStatus (*progressEndProgress)(void *effectInstance);
} OfxProgressSuiteV1;

typedef struct OfxProgressSuiteV2 {
  /* messageId identifies the message for translation; may be NULL */
  OfxStatus (*progressStartProgress)(void *effectInstance, const char *message, const char *messageId);
  OfxStatus (*progressUpdate)(void *effectInstance, double progress);
  OfxStatus (*progressEndProgress)(void *effectInstance);
} OfxProgressSuiteV2;

#ifdef __cplusplus
}
#endif

#endif /* _ofxProgressSuite_h_ */
