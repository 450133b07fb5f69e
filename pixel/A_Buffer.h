// The A-buffer rasteriser: textured polygons with exact edge coverage,
// collected row by row during a frame and resolved at its end from a mask
// of 32 x 32 sub-samples per pixel.
//
// Coordinates. Positions are destination pixels in top-down image space:
// pixel (c, r) covers [c, c + 1) x [r, r + 1), row 0 is the top and lies
// last in the bottom-up bits. Texture coordinates are source pixels in the
// same sense, a texel's centre at (i + 0.5, j + 0.5), so a polygon whose
// texture coordinates equal its positions copies the source exactly.
// Inside, both are fixed point with 14 fraction bits (16384 is one pixel).
//
// Use. Init once; per frame BeginFrame, any number of DrawPoly and
// DrawTriangle, EndFrame; Cleanup at the end. One object belongs to one
// thread: it carries its own tables and is large (make it on the heap).
#pragma once

#include <cstdint>
#include <memory>

#include "QzDib.h"

// One pixel's sub-samples: 32 sub-rows of 32 sub-columns, bit 31 of a word
// the leftmost sub-column. A full pixel counts 1024.
typedef struct tSUBPIXELMASK {
    uint32_t rows[32];
} SUBPIXELMASK;

// A polygon corner: position in destination pixels, texture coordinates in
// pixels of the polygon's source.
typedef struct tQZ3DVERTEX {
    float x, y;
    float u, v;
} QZ3DVERTEX;

// A polygon of `count` corners in either winding. It must be monotone in y
// (every row meets one span), as convex polygons are. `source` indexes the
// frame's sources.
typedef struct tQZ3DPOLY {
    const QZ3DVERTEX* vertices;
    int32_t count;
    int32_t source;
} QZ3DPOLY;

typedef struct tQZ3DTRIANGLE {
    QZ3DVERTEX vertices[3];
    int32_t source;
} QZ3DTRIANGLE;

// One polygon edge, upper end first, at 14 fraction bits.
typedef struct tSCANEDGE {
    int32_t x0, y0, u0, v0;
    int32_t x1, y1, u1, v1;
} tSCANEDGE;

// What one step of the edge stepper covers: the band of a row from line y0
// to line y1 (0 to 16384 below the row's top), the left boundary moving
// from xl0 to xl1 and the right one from xr0 to xr1. Relative to one
// pixel's left edge after CScanlineIntersect::ClipToPixelBoundries.
typedef struct tSCANLINESTEP {
    int32_t y0, y1;
    int32_t xl0, xl1;
    int32_t xr0, xr1;
} SCANLINESTEP;

// One edge at the stepper's current line: position and texture coordinates.
typedef struct tSCANPOINT {
    int32_t x, u, v;
} SCANPOINT;

// A row piece's columns and texture. Columns first..last are touched;
// interiorFirst..interiorEnd - 1 are covered whole (an empty range when
// the piece does not fill the row's height). u, v (14 fraction bits) are
// the texel sampled for column `first`, du, dv (24 fraction bits) their
// change per column.
typedef struct tA_BUFFER_SPAN {
    int32_t first, last;
    int32_t interiorFirst, interiorEnd;
    int32_t u, v;
    int32_t du, dv;
} tA_BUFFER_SPAN;

// An image of the frame: a descriptor, its bits and stride. BeginFrame fills
// in the defaults of a null bits pointer and a zero stride and sets the
// last two fields from the header.
typedef struct tA_BUFFER_IMAGE {
    const BITMAPINFOHEADER* header;
    void* bits;
    int32_t stride;
    uint16_t bitsPerPixel;
    uint16_t bytesPerPixel;
} tA_BUFFER_IMAGE;

// Written by BeginFrame and the draw calls; a caller's value is ignored.
typedef struct tA_BUFFER_STATE {
    int32_t drawing;     // non-zero from a successful BeginFrame to EndFrame
    int32_t rows;        // rows drawn: min(8192, destination height)
    int32_t width;       // destination width: pieces stop at its last column
    uint32_t itemsUsed;  // row pieces made this frame (saturating)
} tA_BUFFER_STATE;

#define A_BUFFER_MAX_SOURCES 124

// The frame's parameters, copied in by BeginFrame. Layout on x86-64, 3024
// bytes: destination at 0 (24), sourceCount at 24, level at 28, sources at
// 32 (124 x 24), state at 3008 (16).
typedef struct tA_BUFFER_PARAM {
    tA_BUFFER_IMAGE destination;
    int32_t sourceCount;  // 1 to A_BUFFER_MAX_SOURCES, all of one pixel type
    float level;          // strength of the whole frame over the destination, 0 to 1
    tA_BUFFER_IMAGE sources[A_BUFFER_MAX_SOURCES];
    tA_BUFFER_STATE state;
} tA_BUFFER_PARAM;

static_assert(sizeof(tA_BUFFER_PARAM) == 3024, "the frame parameters are a fixed 3024-byte block");

// One polygon's piece of one row, 128 bytes, handed out from the pool. The
// row's list runs newest first; `link` is the pointer that points here, so
// that the oldest piece can be unlinked when the pool wraps onto it.
// `state` is A_Buffer::kInterior when the piece fills the row's height and
// its interior columns need no mask, else 0. The piece's outline in the
// row is up to three bands between the lines y[0] < ... < y[bandCount];
// band i runs its left boundary from x[i][0] to x[i][1] and its right one
// from x[i][2] to x[i][3].
typedef struct tA_BUFFER_ITEM {
    tA_BUFFER_ITEM* next;
    tA_BUFFER_ITEM** link;
    tA_BUFFER_SPAN span;
    int32_t source;
    uint32_t rank;     // DrawScanLine's stacking order: 0 is the latest drawn
    uint32_t shade;    // colour scale, 65536 is 1
    uint16_t opacity;  // coverage scale, 1024 is 1
    uint16_t bandCount;
    uint32_t state;
    uint16_t y[4];
    int32_t x[3][4];
    uint32_t pad;  // keeps an item at two cache lines
} tA_BUFFER_ITEM;

static_assert(sizeof(tA_BUFFER_ITEM) == 128, "pool items are 128 bytes");

// Walks a pair of polygon edges, left and right, down the rows they share.
// Positions are re-derived from the edges' ends at every line rather than
// stepped by a delta, so two polygons that share an edge land on the same
// positions from whatever row they start, and a long edge does not drift.
class QZ_EXPORT CScanlineIntersect {
public:
    // Loads the pair; the stepper runs down to the upper of their lower ends.
    void SetCurVal(const tSCANEDGE& left, const tSCANEDGE& right);
    // Places both edges on line y.
    void PreStep(int32_t y);
    // Moves to the next row's top line, or to the pair's end if that comes
    // first. False, without moving, once at the end.
    bool Step();
    int32_t Line() const { return m_line; }
    int32_t End() const { return m_end; }
    const SCANPOINT& Left() const { return m_at[0]; }
    const SCANPOINT& Right() const { return m_at[1]; }

    // A row's band seen from pixel `column`: x relative to the pixel's left
    // edge and kept within reach of 32-bit sub-row stepping.
    static SCANLINESTEP ClipToPixelBoundries(const SCANLINESTEP& band, int32_t column);
    // Clips a row piece to columns 0..width - 1. 0: wholly outside, dropped;
    // 1: inside, untouched; 2: cut at an image edge, the texture moved along
    // with its first column.
    static int32_t ClipIntersect(tA_BUFFER_SPAN& span, int32_t width);

private:
    tSCANEDGE m_edge[2]{};
    SCANPOINT m_at[2]{};
    int32_t m_line = 0;
    int32_t m_end = 0;
};

class QZ_EXPORT A_Buffer {
public:
    static constexpr int32_t kMaxRows = 8192;
    static constexpr int32_t kPoolItems = 4000;
    static constexpr uint32_t kInterior = 0xFFFFFFFFu;

    A_Buffer();
    ~A_Buffer();
    A_Buffer(const A_Buffer&) = delete;
    A_Buffer& operator=(const A_Buffer&) = delete;

    // Builds the tables, allocates the pool and clears the rows. Non-zero
    // on success.
    int32_t Init();
    // Starts a frame; non-zero on success. Zero, and nothing drawn until the
    // next successful call, for a null param, destination or first source
    // header, a source count outside 1..A_BUFFER_MAX_SOURCES, a null or
    // empty source or one whose pixel type differs from the first's, types
    // the exchange does not serve, a palette destination whose quantizer
    // cannot be made, or no Init.
    int32_t BeginFrame(const tA_BUFFER_PARAM* param);
    // Draws a polygon at opacity `a` (its coverage is scaled by it) and shade
    // `b` (its texels' blue, green and red are scaled by it), both clamped to
    // 0..1; a polygon at opacity 0 draws nothing. Polygons drawn later lie
    // over earlier ones of the frame, and a translucent one still hides what
    // it covers of them while the destination shows through it. Returns the
    // row pieces made: one per row the polygon touches inside the image.
    int32_t DrawPoly(const QZ3DPOLY* poly, double a, double b);
    int32_t DrawTriangle(const QZ3DTRIANGLE* triangle);
    int32_t DrawComplexPoly(const QZ3DPOLY* poly, double a, double b);
    // Resolves every row with pieces into the destination and ends the frame.
    void EndFrame();
    void Cleanup();

    // A pixel's sub-samples between one step's two crossings, the step
    // relative to the pixel. Each sub-row's word is the XOR of the ramps
    // 0xFFFFFFFF >> (x >> 9) of the two crossings, x clamped below at 0 and
    // no ramp where x >> 9 reaches 32. A step covers every sub-row it
    // touches, y0 >> 9 to y1 >> 9, its end lines included. Sub-rows above
    // the step are cleared; those below it, and those where the first
    // crossing lies on or beyond the pixel's right edge, keep their words:
    // start from a cleared mask.
    static void GetSubPixelCoverage(const SCANLINESTEP& step, SUBPIXELMASK& mask);
    // The sub-samples set in a mask, 0 to 1024.
    int32_t CountBits(const SUBPIXELMASK& mask) const;
    // Resolves one row's pieces into the destination.
    void DrawScanLine(int32_t row);
    void FreeListItems();

    const tA_BUFFER_PARAM& Param() const { return m_param; }

private:
    tA_BUFFER_ITEM* TakeItem(int32_t row);

    // The object's layout, in this order: the row-list heads, which cap a
    // frame at 8192 rows; the frame's parameters; the exchanges from a
    // source and from the destination to the destination; the bit count of
    // every 16-bit value; trunc(sqrt(i / 1024) * 1024) for i below 1024,
    // built with the tables though no blend of this class reads it; the
    // pool of 4000 zero-filled items and the index of the next one to hand
    // out, which wraps to 0.
    tA_BUFFER_ITEM* m_rows[kMaxRows];
    tA_BUFFER_PARAM m_param;
    QzXCHG m_srcToDst;
    QzXCHG m_dstToDst;
    uint8_t m_bitCount[65536];
    int32_t m_root[1024];
    std::unique_ptr<tA_BUFFER_ITEM[]> m_pool;
    int32_t m_nextItem;
    // A palette destination's writes go through this, for one frame.
    std::unique_ptr<QzColorQuantizer, void (*)(QzColorQuantizer*)> m_quantizer;
};
