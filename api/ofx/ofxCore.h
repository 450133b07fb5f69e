#ifndef _ofxCore_h_
#define _ofxCore_h_

/* Core of the OFX C API: basic types, the host and plug-in structs, the
   generic actions and properties, and the status codes. */

#include <stddef.h> /* size_t */
#include <limits.h> /* INT_MIN, INT_MAX */

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __cplusplus
#define OfxExternC extern "C"
#else
#define OfxExternC extern
#endif

/* Marks the functions a plug-in binary exports to the host. */
#if defined(_WIN32) || defined(_WIN64)
#define OfxExport OfxExternC __declspec(dllexport)
#elif defined(__GNUC__) || defined(__clang__)
#define OfxExport OfxExternC __attribute__((visibility("default")))
#else
#define OfxExport OfxExternC
#endif

/** Opaque handle to a set of properties. */
typedef struct OfxPropertySetStruct *OfxPropertySetHandle;

/** Return type of every API function: one of the kOfxStat... codes. */
typedef int OfxStatus;

/** What the host hands to each plug-in: its own property set and the means
    to fetch suites by name and version (returns NULL if not supported). */
typedef struct OfxHost {
  OfxPropertySetHandle host;
  const void *(*fetchSuite)(OfxPropertySetHandle host, const char *suiteName, int suiteVersion);
} OfxHost;

/** The function through which the host calls every action on a plug-in. */
typedef OfxStatus(OfxPluginEntryPoint)(const char *action, const void *handle,
                                       OfxPropertySetHandle inArgs, OfxPropertySetHandle outArgs);

/** Describes one plug-in in a binary, as returned by OfxGetPlugin. */
typedef struct OfxPlugin {
  const char *pluginApi;            /* e.g. kOfxImageEffectPluginApi */
  int apiVersion;                   /* version of that API */
  const char *pluginIdentifier;     /* unique reverse-domain identifier */
  unsigned int pluginVersionMajor;
  unsigned int pluginVersionMinor;
  void (*setHost)(OfxHost *host);   /* called before any action */
  OfxPluginEntryPoint *mainEntry;
} OfxPlugin;

/* Functions a plug-in binary exports. OfxSetHost is optional and, when
   present, is called once before OfxGetNumberOfPlugins. */
OfxExport int OfxGetNumberOfPlugins(void);
OfxExport OfxPlugin *OfxGetPlugin(int nth);
OfxExport OfxStatus OfxSetHost(const OfxHost *host);

/* ---- generic actions ---- */
#define kOfxActionLoad "OfxActionLoad"
#define kOfxActionDescribe "OfxActionDescribe"
#define kOfxActionUnload "OfxActionUnload"
#define kOfxActionPurgeCaches "OfxActionPurgeCaches"
#define kOfxActionSyncPrivateData "OfxActionSyncPrivateData"
#define kOfxActionCreateInstance "OfxActionCreateInstance"
#define kOfxActionDestroyInstance "OfxActionDestroyInstance"
#define kOfxActionInstanceChanged "OfxActionInstanceChanged"
#define kOfxActionBeginInstanceChanged "OfxActionBeginInstanceChanged"
#define kOfxActionEndInstanceChanged "OfxActionEndInstanceChanged"
#define kOfxActionBeginInstanceEdit "OfxActionBeginInstanceEdit"
#define kOfxActionEndInstanceEdit "OfxActionEndInstanceEdit"

/* ---- generic properties ---- */
#define kOfxPropAPIVersion "OfxPropAPIVersion"          /* int X N, host */
#define kOfxPropTime "OfxPropTime"                      /* double X 1 */
#define kOfxPropIsInteractive "OfxPropIsInteractive"    /* int X 1 */
#define kOfxPluginPropFilePath "OfxPluginPropFilePath"  /* string X 1 */
#define kOfxPropInstanceData "OfxPropInstanceData"      /* pointer X 1 */
#define kOfxPropType "OfxPropType"                      /* string X 1 */
#define kOfxPropName "OfxPropName"                      /* string X 1 */
#define kOfxPropVersion "OfxPropVersion"                /* int X N */
#define kOfxPropVersionLabel "OfxPropVersionLabel"      /* string X 1 */
#define kOfxPropPluginDescription "OfxPropPluginDescription"
#define kOfxPropLabel "OfxPropLabel"
#define kOfxPropIcon "OfxPropIcon"                      /* string X 2: svg, png */
#define kOfxPropShortLabel "OfxPropShortLabel"
#define kOfxPropLongLabel "OfxPropLongLabel"
#define kOfxPropChangeReason "OfxPropChangeReason"      /* string X 1 */
#define kOfxPropEffectInstance "OfxPropEffectInstance"  /* pointer X 1 */
#define kOfxPropHostOSHandle "OfxPropHostOSHandle"      /* pointer X 1 */

/* values of kOfxPropChangeReason */
#define kOfxChangeUserEdited "OfxChangeUserEdited"
#define kOfxChangePluginEdited "OfxChangePluginEdited"
#define kOfxChangeTime "OfxChangeTime"

/* ---- basic types ---- */
typedef double OfxTime;

typedef struct OfxRangeI { int min, max; } OfxRangeI;
typedef struct OfxRangeD { double min, max; } OfxRangeD;
typedef struct OfxPointI { int x, y; } OfxPointI;
typedef struct OfxPointD { double x, y; } OfxPointD;

/* rectangles: (x1, y1) inclusive bottom left, (x2, y2) exclusive top right */
typedef struct OfxRectI { int x1, y1, x2, y2; } OfxRectI;
typedef struct OfxRectD { double x1, y1, x2, y2; } OfxRectD;

/* stand-ins for infinite bounds in integer ranges and rectangles */
#define kOfxFlagInfiniteMax INT_MAX
#define kOfxFlagInfiniteMin INT_MIN

/* ---- status codes ---- */
#define kOfxStatOK 0
#define kOfxStatFailed ((int)1)
#define kOfxStatErrFatal ((int)2)
#define kOfxStatErrUnknown ((int)3)
#define kOfxStatErrMissingHostFeature ((int)4)
#define kOfxStatErrUnsupported ((int)5)
#define kOfxStatErrExists ((int)6)
#define kOfxStatErrFormat ((int)7)
#define kOfxStatErrMemory ((int)8)
#define kOfxStatErrBadHandle ((int)9)
#define kOfxStatErrBadIndex ((int)10)
#define kOfxStatErrValue ((int)11)
#define kOfxStatReplyYes ((int)12)
#define kOfxStatReplyNo ((int)13)
#define kOfxStatReplyDefault ((int)14)

#ifdef __cplusplus
}
#endif

#endif /* _ofxCore_h_ */
