#ifndef _ofxPixels_h_
#define _ofxPixels_h_

/* Pixel and colour structs. */

#ifdef __cplusplus
extern "C" {
#endif

typedef struct OfxRGBAColourB { unsigned char r, g, b, a; } OfxRGBAColourB;
typedef struct OfxRGBAColourS { unsigned short r, g, b, a; } OfxRGBAColourS;
typedef struct OfxRGBAColourF { float r, g, b, a; } OfxRGBAColourF;
typedef struct OfxRGBAColourD { double r, g, b, a; } OfxRGBAColourD;

typedef struct OfxRGBColourB { unsigned char r, g, b; } OfxRGBColourB;
typedef struct OfxRGBColourS { unsigned short r, g, b; } OfxRGBColourS;
typedef struct OfxRGBColourF { float r, g, b; } OfxRGBColourF;
typedef struct OfxRGBColourD { double r, g, b; } OfxRGBColourD;

/* YUVA pixels are deprecated but kept for old code */
typedef struct OfxYUVAColourB { unsigned char y, u, v, a; } OfxYUVAColourB;
typedef struct OfxYUVAColourS { unsigned short y, u, v, a; } OfxYUVAColourS;
typedef struct OfxYUVAColourF { float y, u, v, a; } OfxYUVAColourF;

#ifdef __cplusplus
}
#endif

#endif /* _ofxPixels_h_ */
