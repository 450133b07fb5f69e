#ifndef _ofxMultiThread_h_
#define _ofxMultiThread_h_

/* Host-managed threads and mutexes. */

#include "ofxCore.h"

#ifdef __cplusplus
extern "C" {
#endif

#define kOfxMultiThreadSuite "OfxMultiThreadSuite"

/** Opaque handle to a host mutex. */
typedef struct OfxMutex *OfxMutexHandle;

/** Body run on each spawned thread; threadIndex goes from 0 to threadMax - 1. */
typedef void(OfxThreadFunctionV1)(unsigned int threadIndex, unsigned int threadMax, void *customArg);

typedef struct OfxMultiThreadSuiteV1 {
  /* runs func on nThreads threads (0: as many as CPUs) and returns when all are done */
  OfxStatus (*multiThread)(OfxThreadFunctionV1 func, unsigned int nThreads, void *customArg);
  OfxStatus (*multiThreadNumCPUs)(unsigned int *nCPUs);
  OfxStatus (*multiThreadIndex)(unsigned int *threadIndex);
  int (*multiThreadIsSpawnedThread)(void);
  /* mutexes are recursive; lockCount is the initial lock count */
  OfxStatus (*mutexCreate)(OfxMutexHandle *mutex, int lockCount);
  OfxStatus (*mutexDestroy)(const OfxMutexHandle mutex);
  OfxStatus (*mutexLock)(const OfxMutexHandle mutex);
  OfxStatus (*mutexUnLock)(const OfxMutexHandle mutex);
  /* kOfxStatFailed if the mutex is held elsewhere */
  OfxStatus (*mutexTryLock)(const OfxMutexHandle mutex);
} OfxMultiThreadSuiteV1;

#ifdef __cplusplus
}
#endif

#endif /* _ofxMultiThread_h_ */
