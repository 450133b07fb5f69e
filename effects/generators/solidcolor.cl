// Solid Color on packed rows (row r of the window starts at r * width * 4
// components), one work item per pixel; the launch rounds the global size
// up, hence the guards. The processor hands over the pixel already in the
// render's memory order and in the output's own scale, so both kernels only
// store it and neither depends on the pixel order.

#include "prelude.inc"

// The byte pixel comes as four whole numbers 0..255 in floats, each exactly
// the processor's byte: its products are taken in double, which a float
// argument could not repeat.
__kernel void kef81dd488(__global uchar* dst, float4 colour, int width, int height) {
    const int x = get_global_id(0);
    const int y = get_global_id(1);
    if (x >= width || y >= height) return;
    vstore4(convert_uchar4(colour), y * width + x, dst);
}

__kernel void k38927195c(__global float* dst, float4 colour, int width, int height) {
    const int x = get_global_id(0);
    const int y = get_global_id(1);
    if (x >= width || y >= height) return;
    vstore4(colour, y * width + x, dst);
}
