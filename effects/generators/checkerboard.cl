// Checkerboard on packed rows (row r of the window starts at r * width * 4
// components), one work item per pixel; the launch rounds the global size
// up, hence the guards.
//
// The five pairs carry the grid the processor works out, in pixels of the
// window: (tile width, tile height), (soft half-widths x, y), (their inverse
// scales x, y), (offsets x, y), and (width, height) as whole-number floats
// for the guard. The two colours are premultiplied and in the render's
// memory order, as the processor writes them, so neither kernel depends on
// the pixel order; for bytes their components are the processor's bytes as
// whole-number floats.
//
// Rows run against memory order: row r is drawn as the picture's row
// height - r - 1 from the top, as the processor counts it.

// The processor multiplies and adds separately (the prelude turns fused
// multiply-adds off), which keeps the tile edges where it rounds them.
#include "prelude.inc"

// The float quotient, correctly rounded: the single-precision division of
// OpenCL C may be off by more than half an ulp, while the double quotient
// rounded to float is exact for floats.
float quotient(float a, float b) {
    return (float)((double)a / (double)b);
}

// The tile index of a position: the floor taken as a truncation, less one
// where the truncation lies beyond the position.
int tile_index(float position, float size) {
    int i = qz_trunc_f(quotient(position, size));
    if ((float)i * size > position) --i;
    return i;
}

// The finest power of two of which v is a whole multiple, one at most (one
// for zero).
float granularity(float v) {
    if (v == 0.0f) return 1.0f;
    int e;
    const float f = frexp(v, &e);
    const int m = (int)(f * 16777216.0f);
    return min(ldexp((float)(m & -m), e - 24), 1.0f);
}

// v after n additions of one, each rounded to float. Whole multiples of g
// below 2^24 g in magnitude are floats, so the additions are exact while
// the sum stays below that; the one that reaches it rounds, and the sum
// goes on from there with a coarser g. Each stretch doubles the limit, so
// this takes a few turns where stepping would take n.
float step_ones(float v, int n) {
    while (n > 0) {
        const double limit = 16777216.0 * granularity(v);
        const double exact = ceil(limit - v) - 1.0;
        if (n <= exact) return v + (float)n;
        v = v + (float)exact;
        v = v + 1.0f;
        n -= (int)exact + 1;
    }
    return v;
}

// What one work item needs of its row and column: the row's tile index and
// whether the row lies in a vertical soft band, with its weight t there;
// the column's tile index and whether it lies in a tile's soft band, with
// its weight w there.
typedef struct {
    int iy0, t, ix, w;
    bool rowBand, columnBand;
} Cell;

Cell locate(int x, int y, float2 tile, float2 soft, float2 scale, float2 offset, int height) {
    Cell c;
    const float Y = (float)(height - y - 1) + 0.5f - offset.y;
    c.iy0 = tile_index(Y, tile.y);
    const float y0 = (float)c.iy0 * tile.y + soft.y;
    const float y1 = (float)(c.iy0 + 1) * tile.y - soft.y;
    c.rowBand = !(y0 <= Y && Y < y1);
    c.t = 0;
    if (c.rowBand)
        c.t = Y < y0 ? qz_trunc_f((y0 - Y) * scale.y + 0.5f) : qz_trunc_f((Y - y1) * scale.y + 0.5f);

    // The processor walks the row: X steps by one pixel and the tile edges
    // by a tile width, each addition rounded to float. This column's X is
    // where those steps land; its tile is the first, counted from the
    // row's first, whose soft band or clear run still lies beyond X, and
    // the tile edges are stepped up to it by the same additions.
    const float start = 0.5f - offset.x;
    const float X = step_ones(start, x);
    int ix = tile_index(start, tile.x);
    float x0 = (float)ix * tile.x + soft.x;
    float x1 = (float)(ix + 1) * tile.x - soft.x;
    while (!(X < x0) && !(X < x1)) {
        ++ix;
        x0 += tile.x;
        x1 += tile.x;
    }
    c.ix = ix;
    c.columnBand = X < x0;
    c.w = c.columnBand ? qz_trunc_f((x0 - X) * scale.x + 0.5f) : 0;
    return c;
}

__kernel void kffcacd37b(__global uchar* dst, float2 tile, float2 soft, float2 scale, float2 offset, float2 size,
                         float4 colour1, float4 colour2) {
    const int width = (int)size.x;
    const int height = (int)size.y;
    const int x = get_global_id(0);
    const int y = get_global_id(1);
    if (x >= width || y >= height) return;
    const Cell cell = locate(x, y, tile, soft, scale, offset, height);
    const int4 a = convert_int4(colour1);
    const int4 b = convert_int4(colour2);
    int4 odd = b;
    int4 even = a;
    if (cell.rowBand) {
        // In 16.16 integers, brought back by a float multiply by 1/65536
        // (the decimal 1.5258789e-5 is exactly that) and a truncation.
        const int t = cell.t;
        const int4 o = a * (65536 - t) + b * t;
        const int4 e = a * t + b * (65536 - t);
        odd = (int4)(qz_trunc_f((float)o.x * 1.5258789e-5f), qz_trunc_f((float)o.y * 1.5258789e-5f),
                     qz_trunc_f((float)o.z * 1.5258789e-5f), qz_trunc_f((float)o.w * 1.5258789e-5f)) & 0xFF;
        even = (int4)(qz_trunc_f((float)e.x * 1.5258789e-5f), qz_trunc_f((float)e.y * 1.5258789e-5f),
                      qz_trunc_f((float)e.z * 1.5258789e-5f), qz_trunc_f((float)e.w * 1.5258789e-5f)) & 0xFF;
    }
    const bool isOdd = ((cell.ix + cell.iy0) & 1) != 0;
    const int4 c = isOdd ? odd : even;
    const int4 d = isOdd ? even : odd;
    int4 out = c;
    if (cell.columnBand) out = (c * (65536 - cell.w) + d * cell.w) >> 16;
    vstore4(convert_uchar4(out & 0xFF), y * width + x, dst);
}

__kernel void kb88b75a9c(__global float* dst, float2 tile, float2 soft, float2 scale, float2 offset, float2 size,
                         float4 colour1, float4 colour2) {
    const int width = (int)size.x;
    const int height = (int)size.y;
    const int x = get_global_id(0);
    const int y = get_global_id(1);
    if (x >= width || y >= height) return;
    const Cell cell = locate(x, y, tile, soft, scale, offset, height);
    const float4 a = colour1;
    const float4 b = colour2;
    float4 odd = b;
    float4 even = a;
    if (cell.rowBand) {
        // Dividing by 65536 is exact, and so is this multiply.
        const float f = (float)cell.t * (1.0f / 65536.0f);
        odd = a * (1.0f - f) + b * f;
        even = a * f + b * (1.0f - f);
    }
    const bool isOdd = ((cell.ix + cell.iy0) & 1) != 0;
    const float4 c = isOdd ? odd : even;
    const float4 d = isOdd ? even : odd;
    float4 out = c;
    if (cell.columnBand) {
        const float f = (float)cell.w * (1.0f / 65536.0f);
        out = c * (1.0f - f) + d * f;
    }
    vstore4(out, y * width + x, dst);
}
