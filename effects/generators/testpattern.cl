// Test Pattern on packed rows (row r of the window starts at r * width * 4
// components), one work item per pixel; the launch rounds the global size
// up, hence the guards. Row r is the picture's row height - r - 1 from the
// top, as the processor counts it.
//
// The patterns are the processor's tables, written out here: bands of rows
// down the picture, each a run of segments across it, every edge an exact
// fraction of the frame rounded half up. Levels are 8-bit studio codes; a
// float pixel is its code / 255 in double, rounded to float.
//
// The red code goes to the pixel order's red component, so each depth has a
// kernel per order: RGBA, then BGRA.

#include "prelude.inc"

// Segments: the right edge as a fraction (numerator, denominator), then the
// red, green and blue codes. Each starts where the one before ends.
constant int kSegments[][5] = {
    // 0: NTSC bars: 75% with setup
    {1, 7, 184, 184, 184},
    {2, 7, 184, 184, 32},
    {3, 7, 32, 184, 184},
    {4, 7, 32, 184, 32},
    {5, 7, 184, 32, 184},
    {6, 7, 184, 32, 32},
    {7, 7, 32, 32, 184},
    // 7: EBU 100/0/75/0 bars
    {1, 8, 235, 235, 235},
    {2, 8, 180, 180, 16},
    {3, 8, 16, 180, 180},
    {4, 8, 16, 180, 16},
    {5, 8, 180, 16, 180},
    {6, 8, 180, 16, 16},
    {7, 8, 16, 16, 180},
    {8, 8, 16, 16, 16},
    // 15: EBU 100/0/100/0 bars
    {1, 8, 235, 235, 235},
    {2, 8, 235, 235, 16},
    {3, 8, 16, 235, 235},
    {4, 8, 16, 235, 16},
    {5, 8, 235, 16, 235},
    {6, 8, 235, 16, 16},
    {7, 8, 16, 16, 235},
    {8, 8, 16, 16, 16},
    // 23: white
    {1, 1, 235, 235, 235},
    // 24: white porches
    {1, 20, 235, 235, 235},
    {19, 20, 16, 16, 16},
    {1, 1, 235, 235, 235},
    // 27: yellow
    {1, 1, 235, 235, 16},
    // 28: yellow porches
    {1, 20, 235, 235, 16},
    {19, 20, 16, 16, 16},
    {1, 1, 235, 235, 16},
    // 31: PLUGE between white porches
    {1, 20, 235, 235, 235},
    {1, 3, 16, 16, 16},
    {5, 12, 12, 12, 12},
    {7, 12, 16, 16, 16},
    {2, 3, 20, 20, 20},
    {19, 20, 16, 16, 16},
    {1, 1, 235, 235, 235},
    // 38: NTSC reverse band
    {1, 7, 32, 32, 184},
    {2, 7, 32, 32, 32},
    {3, 7, 184, 32, 184},
    {4, 7, 32, 32, 32},
    {5, 7, 32, 184, 184},
    {6, 7, 32, 32, 32},
    {1, 1, 184, 184, 184},
    // 45: NTSC -I, white, +Q, black, PLUGE
    {5, 28, 1, 44, 81},
    {10, 28, 235, 235, 235},
    {15, 28, 60, 4, 107},
    {5, 7, 32, 32, 32},
    {16, 21, 24, 24, 24},
    {17, 21, 32, 32, 32},
    {6, 7, 41, 41, 41},
    {1, 1, 32, 32, 32},
    // 53: 625-line bars: 75%
    {1, 7, 180, 180, 180},
    {2, 7, 180, 180, 16},
    {3, 7, 16, 180, 180},
    {4, 7, 16, 180, 16},
    {5, 7, 180, 16, 180},
    {6, 7, 180, 16, 16},
    {7, 7, 16, 16, 180},
    // 60: 625-line reverse band
    {1, 7, 16, 16, 180},
    {2, 7, 16, 16, 16},
    {3, 7, 180, 16, 180},
    {4, 7, 16, 16, 16},
    {5, 7, 16, 180, 180},
    {6, 7, 16, 16, 16},
    {1, 1, 180, 180, 180},
    // 67: 625-line -I, white, +Q, black, PLUGE
    {5, 28, 1, 28, 64},
    {10, 28, 235, 235, 235},
    {15, 28, 43, 1, 91},
    {5, 7, 16, 16, 16},
    {16, 21, 12, 12, 12},
    {17, 21, 16, 16, 16},
    {6, 7, 20, 20, 20},
    {1, 1, 16, 16, 16},
};

// Bands, from the top: the bottom edge as a fraction, the first segment and
// the number of segments; none is the ramp.
constant int kBands[][4] = {
    {1, 1, 0, 7},                                                                   // 0: NTSC bars
    {1, 1, 7, 8},                                                                   // 1: EBU 75% bars
    {1, 1, 15, 8},                                                                  // 2: EBU 100% bars
    {1, 20, 23, 1}, {1, 4, 24, 3}, {3, 4, 31, 7}, {19, 20, 24, 3}, {1, 1, 23, 1},  // 3: PLUGE and porches
    {1, 1, 0, 0},                                                                   // 8: ramp
    {2, 3, 0, 7}, {3, 4, 38, 7}, {1, 1, 45, 8},                                     // 9: SMPTE bars (NTSC)
    {2, 3, 53, 7}, {3, 4, 60, 7}, {1, 1, 67, 8},                                    // 12: SMPTE bars (PAL)
    {1, 20, 23, 1}, {19, 20, 24, 3}, {1, 1, 23, 1},                                 // 15: white porches
    {1, 20, 27, 1}, {19, 20, 28, 3}, {1, 1, 27, 1},                                 // 18: yellow porches
};

// Patterns by choice index: the first band and the number of bands.
constant int kPatterns[][2] = {{0, 1}, {1, 1}, {2, 1}, {3, 5}, {8, 1}, {9, 3}, {12, 3}, {15, 3}, {18, 3}};

// A fraction of a size, rounded half up.
int scaled(int num, int den, int size) {
    return (int)((2L * num * size + den) / (2L * den));
}

// The codes of column x of row r (red, green, blue), or, for the ramp, a
// negative red.
int4 codes(int pattern, int x, int r, int width, int height) {
    const int fromTop = height - 1 - r;
    const int first = kPatterns[pattern][0];
    const int count = kPatterns[pattern][1];
    int band = 0;
    while (band + 1 < count && fromTop >= scaled(kBands[first + band][0], kBands[first + band][1], height)) ++band;
    constant const int* b = kBands[first + band];
    if (b[3] == 0) return (int4)(-1, 0, 0, 0);
    // The first segment whose right edge lies beyond the column: the edges
    // only grow, and the last is the full width.
    int s = b[2];
    while (s + 1 < b[2] + b[3] && x >= scaled(kSegments[s][0], kSegments[s][1], width)) ++s;
    return (int4)(kSegments[s][2], kSegments[s][3], kSegments[s][4], 0);
}

// From black at the first column to white at the last; bytes round the
// code, half up.
int ramp_byte(int x, int width) {
    const int span = width > 1 ? width - 1 : 1;
    return 16 + (2 * (235 - 16) * x + span) / (2 * span);
}

// Floats keep the exact fraction, in double.
float ramp_float(int x, int width) {
    const int span = width > 1 ? width - 1 : 1;
    return (float)((16.0 + 219.0 * x / span) / 255.0);
}

void draw_byte(__global uchar* dst, int pattern, int width, int height, int red) {
    const int x = get_global_id(0);
    const int y = get_global_id(1);
    if (x >= width || y >= height) return;
    __global uchar* p = dst + (y * width + x) * 4;
    const int4 c = codes(pattern, x, y, width, height);
    if (c.x < 0) {
        const uchar v = (uchar)ramp_byte(x, width);
        p[0] = p[1] = p[2] = v;
    } else {
        p[red] = (uchar)c.x;
        p[1] = (uchar)c.y;
        p[2 - red] = (uchar)c.z;
    }
    p[3] = 255;
}

void draw_float(__global float* dst, int pattern, int width, int height, int red) {
    const int x = get_global_id(0);
    const int y = get_global_id(1);
    if (x >= width || y >= height) return;
    __global float* p = dst + (y * width + x) * 4;
    const int4 c = codes(pattern, x, y, width, height);
    if (c.x < 0) {
        const float v = ramp_float(x, width);
        p[0] = p[1] = p[2] = v;
    } else {
        p[red] = (float)(c.x / 255.0);
        p[1] = (float)(c.y / 255.0);
        p[2 - red] = (float)(c.z / 255.0);
    }
    p[3] = 1.0f;
}

__kernel void k6600e3de0(__global uchar* dst, int pattern, int width, int height) {
    draw_byte(dst, pattern, width, height, 0);
}

__kernel void kd3f3059e7(__global uchar* dst, int pattern, int width, int height) {
    draw_byte(dst, pattern, width, height, 2);
}

__kernel void k7bdf055a8(__global float* dst, int pattern, int width, int height) {
    draw_float(dst, pattern, width, height, 0);
}

__kernel void kb8a5abead(__global float* dst, int pattern, int width, int height) {
    draw_float(dst, pattern, width, height, 2);
}
