#ifndef _ofxMessage_h_
#define _ofxMessage_h_

/* Messages from a plug-in to the user or the host log. */

#include "ofxCore.h"

#ifdef __cplusplus
extern "C" {
#endif

#define kOfxMessageSuite "OfxMessageSuite"

/* message types */
#define kOfxMessageFatal "OfxMessageFatal"
#define kOfxMessageError "OfxMessageError"
#define kOfxMessageWarning "OfxMessageWarning"
#define kOfxMessageMessage "OfxMessageMessage"
#define kOfxMessageLog "OfxMessageLog"
#define kOfxMessageQuestion "OfxMessageQuestion"

typedef struct OfxMessageSuiteV1 {
  /* handle: effect instance, descriptor or NULL; format is printf-style.
     Questions return kOfxStatReplyYes or kOfxStatReplyNo. */
  OfxStatus (*message)(void *handle, const char *messageType, const char *messageId, const char *format, ...);
} OfxMessageSuiteV1;

typedef struct OfxMessageSuiteV2 {
  OfxStatus (*message)(void *handle, const char *messageType, const char *messageId, const char *format, ...);
  /* a message that stays on the instance until cleared (error, warning or message only) */
  OfxStatus (*setPersistentMessage)(void *handle, const char *messageType, const char *messageId, const char *format, ...);
  OfxStatus (*clearPersistentMessage)(void *handle);
} OfxMessageSuiteV2;

#ifdef __cplusplus
}
#endif

#endif /* _ofxMessage_h_ */
