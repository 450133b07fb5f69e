#ifndef _ofxParam_h_
#define _ofxParam_h_

/* Parameters: types, properties and the parameter suite. */

#include "ofxCore.h"
#include "ofxProperty.h"
#include "ofxPixels.h"

#ifdef __cplusplus
extern "C" {
#endif

#define kOfxParameterSuite "OfxParameterSuite"

/* values of kOfxPropType for parameter descriptors and instances */
#define kOfxTypeParameter "OfxTypeParameter"
#define kOfxTypeParameterInstance "OfxTypeParameterInstance"

/** Opaque handle to one parameter. */
typedef struct OfxParamStruct *OfxParamHandle;
/** Opaque handle to the set of parameters of an effect. */
typedef struct OfxParamSetStruct *OfxParamSetHandle;

/* ---- parameter types ---- */
#define kOfxParamTypeInteger "OfxParamTypeInteger"
#define kOfxParamTypeDouble "OfxParamTypeDouble"
#define kOfxParamTypeBoolean "OfxParamTypeBoolean"
#define kOfxParamTypeChoice "OfxParamTypeChoice"
#define kOfxParamTypeStrChoice "OfxParamTypeStrChoice"
#define kOfxParamTypeRGBA "OfxParamTypeRGBA"
#define kOfxParamTypeRGB "OfxParamTypeRGB"
#define kOfxParamTypeDouble2D "OfxParamTypeDouble2D"
#define kOfxParamTypeInteger2D "OfxParamTypeInteger2D"
#define kOfxParamTypeDouble3D "OfxParamTypeDouble3D"
#define kOfxParamTypeInteger3D "OfxParamTypeInteger3D"
#define kOfxParamTypeString "OfxParamTypeString"
#define kOfxParamTypeCustom "OfxParamTypeCustom"
#define kOfxParamTypeBytes "OfxParamTypeBytes"
#define kOfxParamTypeGroup "OfxParamTypeGroup"
#define kOfxParamTypePage "OfxParamTypePage"
#define kOfxParamTypePushButton "OfxParamTypePushButton"
#define kOfxParamTypeParametric "OfxParamTypeParametric"

/* ---- host properties about parameters ---- */
#define kOfxParamHostPropSupportsCustomAnimation "OfxParamHostPropSupportsCustomAnimation"
#define kOfxParamHostPropSupportsStringAnimation "OfxParamHostPropSupportsStringAnimation"
#define kOfxParamHostPropSupportsBooleanAnimation "OfxParamHostPropSupportsBooleanAnimation"
#define kOfxParamHostPropSupportsChoiceAnimation "OfxParamHostPropSupportsChoiceAnimation"
#define kOfxParamHostPropSupportsStrChoiceAnimation "OfxParamHostPropSupportsStrChoiceAnimation"
#define kOfxParamHostPropSupportsStrChoice "OfxParamHostPropSupportsStrChoice"
#define kOfxParamHostPropSupportsCustomInteract "OfxParamHostPropSupportsCustomInteract"
#define kOfxParamHostPropMaxParameters "OfxParamHostPropMaxParameters"
#define kOfxParamHostPropMaxPages "OfxParamHostPropMaxPages"
#define kOfxParamHostPropPageRowColumnCount "OfxParamHostPropPageRowColumnCount"

/* pseudo parameter names usable as page children */
#define kOfxParamPageSkipRow "OfxParamPageSkipRow"
#define kOfxParamPageSkipColumn "OfxParamPageSkipColumn"

/* ---- parameter properties ---- */
#define kOfxParamPropInteractV1 "OfxParamPropInteractV1"
#define kOfxParamPropInteractSize "OfxParamPropInteractSize"
#define kOfxParamPropInteractSizeAspect "OfxParamPropInteractSizeAspect"
#define kOfxParamPropInteractMinimumSize "OfxParamPropInteractMinimumSize"
#define kOfxParamPropInteractPreferedSize "OfxParamPropInteractPreferedSize"
#define kOfxParamPropType "OfxParamPropType"
#define kOfxParamPropAnimates "OfxParamPropAnimates"
#define kOfxParamPropCanUndo "OfxParamPropCanUndo"
#define kOfxPropParamSetNeedsSyncing "OfxPropParamSetNeedsSyncing"
#define kOfxParamPropIsAnimating "OfxParamPropIsAnimating"
#define kOfxParamPropIsAutoKeying "OfxParamPropIsAutoKeying"
#define kOfxParamPropPluginMayWrite "OfxParamPropPluginMayWrite"
#define kOfxParamPropPersistant "OfxParamPropPersistant"
#define kOfxParamPropEvaluateOnChange "OfxParamPropEvaluateOnChange"
#define kOfxParamPropSecret "OfxParamPropSecret"
#define kOfxParamPropScriptName "OfxParamPropScriptName"
#define kOfxParamPropCacheInvalidation "OfxParamPropCacheInvalidation"
#define kOfxParamInvalidateValueChange "OfxParamInvalidateValueChange"
#define kOfxParamInvalidateValueChangeToEnd "OfxParamInvalidateValueChangeToEnd"
#define kOfxParamInvalidateAll "OfxParamInvalidateAll"
#define kOfxParamPropHint "OfxParamPropHint"
#define kOfxParamPropDefault "OfxParamPropDefault"
#define kOfxParamPropDoubleType "OfxParamPropDoubleType"

/* values of kOfxParamPropDoubleType */
#define kOfxParamDoubleTypePlain "OfxParamDoubleTypePlain"
#define kOfxParamDoubleTypeScale "OfxParamDoubleTypeScale"
#define kOfxParamDoubleTypeAngle "OfxParamDoubleTypeAngle"
#define kOfxParamDoubleTypeTime "OfxParamDoubleTypeTime"
#define kOfxParamDoubleTypeAbsoluteTime "OfxParamDoubleTypeAbsoluteTime"
#define kOfxParamDoubleTypeX "OfxParamDoubleTypeX"
#define kOfxParamDoubleTypeY "OfxParamDoubleTypeY"
#define kOfxParamDoubleTypeXAbsolute "OfxParamDoubleTypeXAbsolute"
#define kOfxParamDoubleTypeYAbsolute "OfxParamDoubleTypeYAbsolute"
#define kOfxParamDoubleTypeXY "OfxParamDoubleTypeXY"
#define kOfxParamDoubleTypeXYAbsolute "OfxParamDoubleTypeXYAbsolute"
/* normalised types are deprecated in favour of kOfxParamPropDefaultCoordinateSystem */
#define kOfxParamDoubleTypeNormalisedX "OfxParamDoubleTypeNormalisedX"
#define kOfxParamDoubleTypeNormalisedY "OfxParamDoubleTypeNormalisedY"
#define kOfxParamDoubleTypeNormalisedXAbsolute "OfxParamDoubleTypeNormalisedXAbsolute"
#define kOfxParamDoubleTypeNormalisedYAbsolute "OfxParamDoubleTypeNormalisedYAbsolute"
#define kOfxParamDoubleTypeNormalisedXY "OfxParamDoubleTypeNormalisedXY"
#define kOfxParamDoubleTypeNormalisedXYAbsolute "OfxParamDoubleTypeNormalisedXYAbsolute"

#define kOfxParamPropDefaultCoordinateSystem "OfxParamPropDefaultCoordinateSystem"
#define kOfxParamCoordinatesCanonical "OfxParamCoordinatesCanonical"
#define kOfxParamCoordinatesNormalised "OfxParamCoordinatesNormalised"

#define kOfxParamPropHasHostOverlayHandle "OfxParamPropHasHostOverlayHandle"
/* note: this value keeps its historical leading 'k' */
#define kOfxParamPropUseHostOverlayHandle "kOfxParamPropUseHostOverlayHandle"
#define kOfxParamPropShowTimeMarker "OfxParamPropShowTimeMarker"
#define kOfxPluginPropParamPageOrder "OfxPluginPropParamPageOrder"
#define kOfxParamPropPageChild "OfxParamPropPageChild"
#define kOfxParamPropParent "OfxParamPropParent"
#define kOfxParamPropGroupOpen "OfxParamPropGroupOpen"
#define kOfxParamPropEnabled "OfxParamPropEnabled"
#define kOfxParamPropDataPtr "OfxParamPropDataPtr"
#define kOfxParamPropChoiceOption "OfxParamPropChoiceOption"
#define kOfxParamPropChoiceOrder "OfxParamPropChoiceOrder"
#define kOfxParamPropMin "OfxParamPropMin"
#define kOfxParamPropMax "OfxParamPropMax"
#define kOfxParamPropDisplayMin "OfxParamPropDisplayMin"
#define kOfxParamPropDisplayMax "OfxParamPropDisplayMax"
#define kOfxParamPropIncrement "OfxParamPropIncrement"
#define kOfxParamPropDigits "OfxParamPropDigits"
#define kOfxParamPropDimensionLabel "OfxParamPropDimensionLabel"
/* note: the value differs from the macro name ("Callback", not "InterpCallback") */
#define kOfxParamPropCustomInterpCallbackV1 "OfxParamPropCustomCallbackV1"
#define kOfxParamPropStringMode "OfxParamPropStringMode"
#define kOfxParamPropStringFilePathExists "OfxParamPropStringFilePathExists"

/* values of kOfxParamPropStringMode */
#define kOfxParamStringIsSingleLine "OfxParamStringIsSingleLine"
#define kOfxParamStringIsMultiLine "OfxParamStringIsMultiLine"
#define kOfxParamStringIsFilePath "OfxParamStringIsFilePath"
#define kOfxParamStringIsDirectoryPath "OfxParamStringIsDirectoryPath"
#define kOfxParamStringIsLabel "OfxParamStringIsLabel"
#define kOfxParamStringIsRichTextFormat "OfxParamStringIsRichTextFormat"

/* in/out arguments of custom parameter interpolation */
#define kOfxParamPropCustomValue "OfxParamPropCustomValue"
#define kOfxParamPropInterpolationTime "OfxParamPropInterpolationTime"
#define kOfxParamPropInterpolationAmount "OfxParamPropInterpolationAmount"

/** Interpolates a custom parameter between two keyframes. inArgs hold
    kOfxPropTime, kOfxParamPropCustomValue (2), kOfxParamPropInterpolationTime (2)
    and kOfxParamPropInterpolationAmount; the result goes to kOfxParamPropCustomValue
    in outArgs. */
typedef OfxStatus(OfxCustomParamInterpFuncV1)(OfxParamSetHandle instance, OfxPropertySetHandle inArgs,
                                              OfxPropertySetHandle outArgs);

/* The value functions are variadic: they take pointers (get) or values (set)
   of the parameter's type, one per dimension (int, double, char*, ...). */
typedef struct OfxParameterSuiteV1 {
  OfxStatus (*paramDefine)(OfxParamSetHandle paramSet, const char *paramType, const char *name,
                           OfxPropertySetHandle *propertySet);
  OfxStatus (*paramGetHandle)(OfxParamSetHandle paramSet, const char *name, OfxParamHandle *param,
                              OfxPropertySetHandle *propertySet);
  OfxStatus (*paramSetGetPropertySet)(OfxParamSetHandle paramSet, OfxPropertySetHandle *propHandle);
  OfxStatus (*paramGetPropertySet)(OfxParamHandle param, OfxPropertySetHandle *propHandle);
  OfxStatus (*paramGetValue)(OfxParamHandle paramHandle, ...);
  OfxStatus (*paramGetValueAtTime)(OfxParamHandle paramHandle, OfxTime time, ...);
  OfxStatus (*paramGetDerivative)(OfxParamHandle paramHandle, OfxTime time, ...);
  OfxStatus (*paramGetIntegral)(OfxParamHandle paramHandle, OfxTime time1, OfxTime time2, ...);
  OfxStatus (*paramSetValue)(OfxParamHandle paramHandle, ...);
  OfxStatus (*paramSetValueAtTime)(OfxParamHandle paramHandle, OfxTime time, ...);
  OfxStatus (*paramGetNumKeys)(OfxParamHandle paramHandle, unsigned int *numberOfKeys);
  OfxStatus (*paramGetKeyTime)(OfxParamHandle paramHandle, unsigned int nthKey, OfxTime *time);
  /* direction: 0 key at time, -1 key before, 1 key after; kOfxStatFailed if none */
  OfxStatus (*paramGetKeyIndex)(OfxParamHandle paramHandle, OfxTime time, int direction, int *index);
  OfxStatus (*paramDeleteKey)(OfxParamHandle paramHandle, OfxTime time);
  OfxStatus (*paramDeleteAllKeys)(OfxParamHandle paramHandle);
  /* frameRange NULL copies the whole curve */
  OfxStatus (*paramCopy)(OfxParamHandle paramTo, OfxParamHandle paramFrom, OfxTime dstOffset,
                         const OfxRangeD *frameRange);
  /* groups the value changes in between into one undo step */
  OfxStatus (*paramEditBegin)(OfxParamSetHandle paramSet, const char *name);
  OfxStatus (*paramEditEnd)(OfxParamSetHandle paramSet);
} OfxParameterSuiteV1;

#ifdef __cplusplus
}
#endif

#endif /* _ofxParam_h_ */
