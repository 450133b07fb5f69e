// Black and White on packed rows (row y starts at y * width * 4 components),
// one work item per pixel. The render picks the kernel by the output's depth
// and, for floats, by pixel order: the float grey is summed blue first, and
// float sums round differently in another order. The byte sum is exact, so
// one byte kernel serves both orders. The launch rounds the global size up,
// hence the guards.

#include "prelude.inc"

// A blend at or below this gives a plain copy. The processor compares its
// double with the float 1e-6; the float it hands over compares the same way.
#define BW_COPY_ONLY 1e-6f

__kernel void kb4e17c0a5(__global const uchar* src, __global uchar* dst, float blend, int width, int height) {
    const int x = get_global_id(0);
    const int y = get_global_id(1);
    if (x >= width || y >= height) return;
    const int i = (y * width + x) * 4;
    if (blend <= BW_COPY_ONLY) {
        for (int c = 0; c < 4; ++c) dst[i + c] = src[i + c];
        return;
    }
    // The weight of the source colour, of 256: its low byte, so at most 255
    // and the mix stops short of the source.
    const int k = qz_round_biased((1.0 - (double)blend) * 255.0) & 0xFF;
    const int a = src[i + 3];
    // The grey is held to alpha so that it stays premultiplied.
    const int g = min((src[i] + src[i + 1] + src[i + 2]) / 3, a);
    for (int c = 0; c < 3; ++c) dst[i + c] = (uchar)qz_mix_byte(g, src[i + c], k);
    dst[i + 3] = (uchar)a;
}

// `blue` and `red` are the storage indices of those colours.
void bw_float(__global const float* src, __global float* dst, float blend, int i, int blue, int red) {
    if (blend <= BW_COPY_ONLY) {
        for (int c = 0; c < 4; ++c) dst[i + c] = src[i + c];
        return;
    }
    const double keep = 1.0 - (double)blend;
    const float a = src[i + 3];
    float sum = src[i + blue] + src[i + 1];
    sum += src[i + red];
    float g = (float)((double)sum / 3.0);
    // As the processor's min: alpha only when it is strictly below the grey.
    if (a < g) g = a;
    for (int c = 0; c < 3; ++c) dst[i + c] = (float)(((double)src[i + c] - (double)g) * keep + (double)g);
    // Alpha is left alone, above 1 or below 0 included.
    dst[i + 3] = a;
}

__kernel void k6f0d93b1e(__global const float* src, __global float* dst, float blend, int width, int height) {
    const int x = get_global_id(0);
    const int y = get_global_id(1);
    if (x >= width || y >= height) return;
    bw_float(src, dst, blend, (y * width + x) * 4, 2, 0);
}

__kernel void k2a85c7f39(__global const float* src, __global float* dst, float blend, int width, int height) {
    const int x = get_global_id(0);
    const int y = get_global_id(1);
    if (x >= width || y >= height) return;
    bw_float(src, dst, blend, (y * width + x) * 4, 0, 2);
}
