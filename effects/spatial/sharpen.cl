// Sharpen on packed RGBA rows (row y starts at y * width * 4 components),
// one work item per pixel. The kernel's ring is -1, -2, -1 at the corners
// and edges, its centre the argument; the neighbours of a pixel on the
// window's edge repeat the edge. Byte and float images get a kernel each.
// The launch rounds the global size up, hence the guards.

#include "prelude.inc"

// The offsets of the nine pixels around (x, y), row by row; a neighbour
// beyond the window repeats the edge pixel.
void sharpen_neighbours(int x, int y, int width, int height, int* at) {
    const int xs[3] = {max(x - 1, 0), x, min(x + 1, width - 1)};
    const int ys[3] = {max(y - 1, 0), y, min(y + 1, height - 1)};
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c) at[r * 3 + c] = (ys[r] * width + xs[c]) * 4;
}

__kernel void k5e0c7a19b(__global const uchar* src, __global uchar* dst, int centre, int divisor, float corner,
                         float edge, float middle, int sharpens, int width, int height) {
    const int x = get_global_id(0);
    const int y = get_global_id(1);
    if (x >= width || y >= height) return;
    const int i = (y * width + x) * 4;
    if (!sharpens) {
        for (int c = 0; c < 4; ++c) dst[i + c] = src[i + c];
        return;
    }
    int at[9];
    sharpen_neighbours(x, y, width, height, at);
    const int k[9] = {-1, -2, -1, -2, centre, -2, -1, -2, -1};
    int v[4];
    for (int c = 0; c < 4; ++c) {
        int sum = 0;
        for (int n = 0; n < 9; ++n) sum += k[n] * src[at[n] + c];
        // The division truncates toward zero; every channel is clamped.
        v[c] = clamp(sum / divisor, 0, 255);
    }
    // Colour held to alpha: a valid premultiplied pixel again.
    for (int c = 0; c < 3; ++c) dst[i + c] = (uchar)min(v[c], v[3]);
    dst[i + 3] = (uchar)v[3];
}

__kernel void k2b94d6e03(__global const float* src, __global float* dst, int centre, int divisor, float corner,
                         float edge, float middle, int sharpens, int width, int height) {
    const int x = get_global_id(0);
    const int y = get_global_id(1);
    if (x >= width || y >= height) return;
    const int i = (y * width + x) * 4;
    if (!sharpens) {
        for (int c = 0; c < 4; ++c) dst[i + c] = src[i + c];
        return;
    }
    int at[9];
    sharpen_neighbours(x, y, width, height, at);
    const float w[9] = {corner, edge, corner, edge, middle, edge, corner, edge, corner};
    float v[4];
    for (int c = 0; c < 4; ++c) {
        float sum = 0.0f;
        for (int n = 0; n < 9; ++n) sum += w[n] * src[at[n] + c];
        v[c] = sum;
    }
    // Colour is left unclamped below; alpha is held to 0..1 (a NaN passes).
    const float a = v[3] < 0.0f ? 0.0f : (1.0f < v[3] ? 1.0f : v[3]);
    for (int c = 0; c < 3; ++c) dst[i + c] = v[c] > a ? a : v[c];
    dst[i + 3] = a;
}
