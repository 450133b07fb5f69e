// Chroma Blur on packed RGBA rows (row y starts at y * width * 4
// components). `planes` holds the window's U plane then its V plane, one
// float per pixel. The conversion fills them from the source, three boxes
// each run a row pass into `out` and a column pass back, and the last stage
// rebuilds the pixels from the source's luma and the blurred planes. The
// arithmetic is the processor's, operation for operation in single
// precision, so the results agree to the bit. The launch rounds the global
// sizes up, hence the guards.

#include "prelude.inc"

// The colours are named red first; each order's kernels pass them so.
void to_planes(float r, float g, float b, int i, int n, __global float* planes) {
    planes[i] = -0.14713f * r - 0.28886f * g + 0.436f * b;
    planes[n + i] = 0.615f * r - 0.51499f * g - 0.10001f * b;
}

float luma(float r, float g, float b) { return 0.299f * r + 0.587f * g + 0.114f * b; }

__kernel void k3f1a9c07e(__global const uchar* src, __global float* planes, int width, int height) {
    const int x = get_global_id(0), y = get_global_id(1);
    if (x >= width || y >= height) return;
    const int i = y * width + x;
    __global const uchar* s = src + i * 4;
    to_planes((float)s[0], (float)s[1], (float)s[2], i, width * height, planes);
}

__kernel void k8d24b6e1a(__global const uchar* src, __global float* planes, int width, int height) {
    const int x = get_global_id(0), y = get_global_id(1);
    if (x >= width || y >= height) return;
    const int i = y * width + x;
    __global const uchar* s = src + i * 4;
    to_planes((float)s[2], (float)s[1], (float)s[0], i, width * height, planes);
}

__kernel void kc05e7a93d(__global const float* src, __global float* planes, int width, int height) {
    const int x = get_global_id(0), y = get_global_id(1);
    if (x >= width || y >= height) return;
    const int i = y * width + x;
    __global const float* s = src + i * 4;
    to_planes(s[0], s[1], s[2], i, width * height, planes);
}

__kernel void k6a9d1f2b8(__global const float* src, __global float* planes, int width, int height) {
    const int x = get_global_id(0), y = get_global_id(1);
    if (x >= width || y >= height) return;
    const int i = y * width + x;
    __global const float* s = src + i * 4;
    to_planes(s[2], s[1], s[0], i, width * height, planes);
}

// The running box sum along n samples `stride` apart, the edge samples
// repeated: it starts as the sum of the window centred one before the first
// sample; each step adds the entering sample and takes off the leaving one.
void box_line(__global const float* in, __global float* out, int n, int stride, int r, float factor) {
    const float first = in[0];
    float sum = (float)(r + 1) * first;
    for (int j = 0; j < r; ++j) sum += in[min(j, n - 1) * stride];
    for (int x = 0; x < n; ++x) {
        sum += in[min(x + r, n - 1) * stride] - in[max(x - r - 1, 0) * stride];
        out[x * stride] = sum * factor;
    }
}

// One work item per row and plane.
__kernel void k2b7e40c9f(__global const float* in, __global float* out, int width, int height, int r, float factor) {
    const int y = get_global_id(0), plane = get_global_id(1);
    if (y >= height || plane >= 2) return;
    const size_t at = ((size_t)plane * height + y) * width;
    box_line(in + at, out + at, width, 1, r, factor);
}

// One work item per column and plane: neighbouring items read neighbouring
// floats.
__kernel void k95c3d8a16(__global const float* in, __global float* out, int width, int height, int r, float factor) {
    const int x = get_global_id(0), plane = get_global_id(1);
    if (x >= width || plane >= 2) return;
    const size_t at = (size_t)plane * height * width + x;
    box_line(in + at, out + at, height, width, r, factor);
}

// Back into colours; bytes are held to 0..255 and truncate, floats keep
// what they get. Alpha is the source's.
float3 from_planes(float r, float g, float b, int i, int n, __global const float* planes) {
    const float y = luma(r, g, b), u = planes[i], v = planes[n + i];
    return (float3)(y + 1.13983f * v, y - 0.39465f * u - 0.5806f * v, y + 2.03211f * u);
}

uchar to_byte(float value) { return (uchar)fmin(fmax(value, 0.0f), 255.0f); }

__kernel void ke4a0b7d52(__global const uchar* src, __global uchar* dst, __global const float* planes, int width,
                         int height) {
    const int x = get_global_id(0), y = get_global_id(1);
    if (x >= width || y >= height) return;
    const int i = y * width + x;
    __global const uchar* s = src + i * 4;
    __global uchar* d = dst + i * 4;
    const float3 c = from_planes((float)s[0], (float)s[1], (float)s[2], i, width * height, planes);
    d[0] = to_byte(c.x);
    d[1] = to_byte(c.y);
    d[2] = to_byte(c.z);
    d[3] = s[3];
}

__kernel void k1c8f3e6a0(__global const uchar* src, __global uchar* dst, __global const float* planes, int width,
                         int height) {
    const int x = get_global_id(0), y = get_global_id(1);
    if (x >= width || y >= height) return;
    const int i = y * width + x;
    __global const uchar* s = src + i * 4;
    __global uchar* d = dst + i * 4;
    const float3 c = from_planes((float)s[2], (float)s[1], (float)s[0], i, width * height, planes);
    d[2] = to_byte(c.x);
    d[1] = to_byte(c.y);
    d[0] = to_byte(c.z);
    d[3] = s[3];
}

__kernel void k7d5b2c91e(__global const float* src, __global float* dst, __global const float* planes, int width,
                         int height) {
    const int x = get_global_id(0), y = get_global_id(1);
    if (x >= width || y >= height) return;
    const int i = y * width + x;
    __global const float* s = src + i * 4;
    __global float* d = dst + i * 4;
    const float3 c = from_planes(s[0], s[1], s[2], i, width * height, planes);
    d[0] = c.x;
    d[1] = c.y;
    d[2] = c.z;
    d[3] = s[3];
}

__kernel void kb09e6f4d3(__global const float* src, __global float* dst, __global const float* planes, int width,
                         int height) {
    const int x = get_global_id(0), y = get_global_id(1);
    if (x >= width || y >= height) return;
    const int i = y * width + x;
    __global const float* s = src + i * 4;
    __global float* d = dst + i * 4;
    const float3 c = from_planes(s[2], s[1], s[0], i, width * height, planes);
    d[2] = c.x;
    d[1] = c.y;
    d[0] = c.z;
    d[3] = s[3];
}
