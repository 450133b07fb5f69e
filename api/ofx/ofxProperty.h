#ifndef _ofxPropertyHost_h_
#define _ofxPropertyHost_h_

/* The property suite: typed, multi-dimensional values on property sets. */

#include "ofxCore.h"

#ifdef __cplusplus
extern "C" {
#endif

#define kOfxPropertySuite "OfxPropertySuite"

/* Every function takes the set, the property name and either an index
   (single value) or a count (several values from index 0). */
typedef struct OfxPropertySuiteV1 {
  OfxStatus (*propSetPointer)(OfxPropertySetHandle properties, const char *property, int index, void *value);
  OfxStatus (*propSetString)(OfxPropertySetHandle properties, const char *property, int index, const char *value);
  OfxStatus (*propSetDouble)(OfxPropertySetHandle properties, const char *property, int index, double value);
  OfxStatus (*propSetInt)(OfxPropertySetHandle properties, const char *property, int index, int value);
  OfxStatus (*propSetPointerN)(OfxPropertySetHandle properties, const char *property, int count, void *const *value);
  OfxStatus (*propSetStringN)(OfxPropertySetHandle properties, const char *property, int count, const char *const *value);
  OfxStatus (*propSetDoubleN)(OfxPropertySetHandle properties, const char *property, int count, const double *value);
  OfxStatus (*propSetIntN)(OfxPropertySetHandle properties, const char *property, int count, const int *value);
  OfxStatus (*propGetPointer)(OfxPropertySetHandle properties, const char *property, int index, void **value);
  /* the returned string stays owned by the property set */
  OfxStatus (*propGetString)(OfxPropertySetHandle properties, const char *property, int index, char **value);
  OfxStatus (*propGetDouble)(OfxPropertySetHandle properties, const char *property, int index, double *value);
  OfxStatus (*propGetInt)(OfxPropertySetHandle properties, const char *property, int index, int *value);
  OfxStatus (*propGetPointerN)(OfxPropertySetHandle properties, const char *property, int count, void **value);
  OfxStatus (*propGetStringN)(OfxPropertySetHandle properties, const char *property, int count, char **value);
  OfxStatus (*propGetDoubleN)(OfxPropertySetHandle properties, const char *property, int count, double *value);
  OfxStatus (*propGetIntN)(OfxPropertySetHandle properties, const char *property, int count, int *value);
  /* back to the default value */
  OfxStatus (*propReset)(OfxPropertySetHandle properties, const char *property);
  /* number of values the property currently holds */
  OfxStatus (*propGetDimension)(OfxPropertySetHandle properties, const char *property, int *count);
} OfxPropertySuiteV1;

#ifdef __cplusplus
}
#endif

#endif /* _ofxPropertyHost_h_ */
