// Radial Blur on packed RGBA rows (row y starts at y * width * 4
// components). The blur is recursive: a pixel reads the output nearer the
// centre, so the work cannot be split freely. One work group of 64 items
// runs the four quadrants in their order; inside a quadrant the pixels go
// in waves of equal distance from the centre along the axes (|dx| + |dy|),
// a barrier between waves. Every pixel a pixel reads is nearer in both
// axes, so lies in an earlier wave (or is the pixel itself, still the
// source), or lies in a quadrant not yet begun, still the source: the
// waves give the processor's row-by-row result exactly.
//
// The steps arrive as the two 32-bit halves of their doubles, since the
// argument record narrows doubles to floats.

#include "prelude.inc"

#define RADIAL_ITEMS 64

double radial_double(int hi, int lo) {
    return as_double(((ulong)(uint)hi << 32) | (ulong)(uint)lo);
}

// The sample position of (x, y), between it and the centre.
void radial_position(int x, int y, int cx, int cy, int proportional, double ring, double along, double* sx,
                     double* sy) {
    const int dx = cx - x, dy = cy - y;
    if (proportional) {
        *sx = x + dx * along;
        *sy = y + dy * along;
        return;
    }
    const double d = sqrt((double)(dx * dx + dy * dy));
    if (ring >= d) {
        *sx = cx;
        *sy = cy;
        return;
    }
    const double k = ring / d;
    *sx = x + dx * k;
    *sy = y + dy * k;
}

#define RADIAL_KERNEL(NAME, T, MIX)                                                                                    \
    __kernel __attribute__((reqd_work_group_size(RADIAL_ITEMS, 1, 1))) void NAME(                                     \
        __global const T* src, __global T* dst, int cx, int cy, int proportional, int fixedHi, int fixedLo,          \
        int alongHi, int alongLo, int keep, int add, int bilinear, int width, int height) {                          \
        const int id = get_local_id(0);                                                                                \
        const int n = width * height;                                                                                  \
        for (int i = id; i < n; i += RADIAL_ITEMS)                                                                     \
            for (int c = 0; c < 4; ++c) dst[i * 4 + c] = src[i * 4 + c];                                               \
        barrier(CLK_GLOBAL_MEM_FENCE);                                                                                 \
        if (keep == 0) return;                                                                                         \
        const double ring = radial_double(fixedHi, fixedLo) + 1.0;                                                     \
        const double along = radial_double(alongHi, alongLo);                                                          \
        const float keepF = (float)(keep / 65536.0), addF = (float)(add / 65536.0);                                   \
        for (int q = 0; q < 4; ++q) {                                                                                  \
            /* Columns and rows of the quadrant, counted outward. */                                                   \
            const int x0 = (q & 1) ? cx + 1 : cx, xs = (q & 1) ? 1 : -1;                                               \
            const int y0 = (q & 2) ? cy + 1 : cy, ys = (q & 2) ? 1 : -1;                                               \
            const int na = (q & 1) ? width - cx - 1 : cx + 1;                                                          \
            const int nb = (q & 2) ? height - cy - 1 : cy + 1;                                                         \
            if (na <= 0 || nb <= 0) continue;                                                                          \
            for (int wave = 0; wave <= na + nb - 2; ++wave) {                                                          \
                const int aFirst = max(0, wave - (nb - 1)), aLast = min(na - 1, wave);                                 \
                for (int a = aFirst + id; a <= aLast; a += RADIAL_ITEMS) {                                             \
                    const int x = x0 + a * xs, y = y0 + (wave - a) * ys;                                               \
                    if (x == cx && y == cy) continue;                                                                  \
                    double sx, sy;                                                                                     \
                    radial_position(x, y, cx, cy, proportional, ring, along, &sx, &sy);                                \
                    const int ix = (int)sx, iy = (int)sy;                                                              \
                    const int i = (y * width + x) * 4;                                                                 \
                    if (!bilinear) {                                                                                   \
                        const int at = (iy * width + ix) * 4;                                                          \
                        for (int c = 0; c < 4; ++c) dst[i + c] = MIX(dst[at + c], src[i + c]);                         \
                    } else {                                                                                           \
                        const int fx = (int)((sx - ix) * 256), fy = (int)((sy - iy) * 256);                            \
                        const int w0 = (256 - fx) * (256 - fy), w1 = fx * (256 - fy), w2 = (256 - fx) * fy,            \
                                  w3 = fx * fy;                                                                        \
                        const int right = ix + 1 < width, down = iy + 1 < height;                                      \
                        const int a0 = (iy * width + ix) * 4, a1 = a0 + 4, a2 = a0 + width * 4, a3 = a2 + 4;           \
                        for (int c = 0; c < 4; ++c) {                                                                  \
                            const T p0 = dst[a0 + c];                                                                  \
                            const T p1 = right ? dst[a1 + c] : (T)0;                                                   \
                            const T p2 = down ? dst[a2 + c] : (T)0;                                                    \
                            const T p3 = right && down ? dst[a3 + c] : (T)0;                                           \
                            dst[i + c] = MIX(SAMPLE_##T(p0, p1, p2, p3, w0, w1, w2, w3), src[i + c]);                  \
                        }                                                                                              \
                    }                                                                                                  \
                }                                                                                                      \
                barrier(CLK_GLOBAL_MEM_FENCE);                                                                         \
            }                                                                                                          \
        }                                                                                                              \
    }

#define SAMPLE_uchar(p0, p1, p2, p3, w0, w1, w2, w3) \
    (uchar)(((int)(p0) * (w0) + (int)(p1) * (w1) + (int)(p2) * (w2) + (int)(p3) * (w3)) >> 16)
#define SAMPLE_float(p0, p1, p2, p3, w0, w1, w2, w3) \
    ((((p0) * (float)(w0) + (p1) * (float)(w1)) + (p2) * (float)(w2)) + (p3) * (float)(w3)) * (1.0f / 65536.0f)
#define MIX_BYTE(sample, s) (uchar)(((int)(sample) * keep + (int)(s) * add) >> 16)
#define MIX_FLOAT(sample, s) ((sample) * keepF + (s) * addF)

RADIAL_KERNEL(k5e2b9d0a7, uchar, MIX_BYTE)
RADIAL_KERNEL(kc81f4a36e, float, MIX_FLOAT)
