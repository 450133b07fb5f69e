#ifndef _ofxMemory_h_
#define _ofxMemory_h_

/* General purpose memory from the host's allocator. */

#include "ofxCore.h"

#ifdef __cplusplus
extern "C" {
#endif

#define kOfxMemorySuite "OfxMemorySuite"

typedef struct OfxMemorySuiteV1 {
  /* handle is an effect instance handle or NULL */
  OfxStatus (*memoryAlloc)(void *handle, size_t nBytes, void **allocatedData);
  OfxStatus (*memoryFree)(void *allocatedData);
} OfxMemorySuiteV1;

#ifdef __cplusplus
}
#endif

#endif /* _ofxMemory_h_ */
