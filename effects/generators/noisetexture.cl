// Noise Texture on packed rows (row r of the window starts at r * width * 4
// components). Row r is drawn as the picture's row y = height - r - 1, as
// the processor counts it (row 0 in memory is the top).
//
// Two kernels run in turn, as the processor works: first the weights, then
// the colours.
//
// The first sums the layers of noise along a row and shapes the sum into a
// 16.16 weight between the two colours. The processor walks each layer
// along the row incrementally (the position and the cell's values grow by
// an increment per pixel, each addition rounded in double), so only a walk
// in the same order gives the same sums: one work item draws one row, and
// the launch is {1, height}. It walks all the layers side by side, which
// adds each pixel's layers in the processor's order without a row buffer.
//
// The second turns each weight into a pixel, one work item per pixel, in
// the output's depth. The weights live in the output itself (each pixel's
// first four bytes hold its weight as a 32-bit integer until the second
// kernel replaces the pixel), so no buffer is made at render time: the
// second kernel's source buffer is the output buffer, given twice.
//
// Both take the same six vectors:
//   colour0   the colour at weight 0 (Color 1, or Color 2 when swapped),
//             straight, in the render's memory order (the premultiplied
//             mix treats the three colours alike, so neither kernel
//             depends on the pixel order)
//   colour1   the colour at weight 65536
//   p0        frequency x, frequency y, offset x, offset y
//   p1        progress, min, max, bias
//   p2        amplitude, falloff, number of layers, style (0..6)
//   p3        width, height (whole-number floats), 0, 0
// The parameters arrive as floats and everything is computed from them in
// double, as the processor does from its doubles: the pictures agree where
// the parameter values are floats (0.5, 12.25, ...). Others are narrowed,
// and a weight may then land one step of 1/65536 away here and there.

#include "prelude.inc"

// The lattice: the permutation of 0..255 (a hash of up to 510 wraps by the
// mask) and the unit gradients, the processor's own tables, put in here as
// the text is embedded.
#define NOISE_LATTICE(type, declarator) constant type declarator
#include "noisetexture_lattice.inc"
#undef NOISE_LATTICE

// The styles: the shaping (0 the noise itself, 1 bands whose phase the
// noise bends, 2 rings), whether a layer counts by its magnitude, and the
// shaping's constants, used as doubles after widening.
constant int kShaping[7] = {0, 0, 1, 1, 1, 1, 2};
constant int kAbsolute[7] = {0, 1, 1, 1, 1, 0, 0};
constant float kStyleConstants[7][5] = {
    {0.0f, 0.0f, 0.0f, 0.0f, 0.0f},    {0.0f, 0.0f, 0.0f, 0.0f, 0.0f},  {0.9f, 0.15f, 0.4f, 1.2f, 0.1f},
    {0.05f, 0.9f, 1.3f, 0.0f, 0.0f},   {0.6f, 0.0f, 0.2f, 0.5f, 0.1f},  {1.0f, 0.0f, 1.5f, 0.5f, 0.05f},
    {4.0f, 0.0f, 0.0f, 0.0f, 0.0f},
};

#define MAX_LAYERS 6

int hash(int i) {
    return kPermutation[i & 255];
}

double fade(double t) {
    return ((t * 6.0 - 15.0) * t + 10.0) * (t * t * t);
}

double lerp(double t, double a, double b) {
    return t * (b - a) + a;
}

double square(double v) {
    return v * v;
}

// One layer walking along the row: its lattice row (the hashes of the four
// (y, z) edges and the position inside them), the cell it is in, and the
// cell's two plane values with their gains per pixel.
typedef struct {
    int yz00, yz10, yz01, yz11;
    double fy, fz, sy, sz;
    int X;
    double fx, dx, scale;
    double n0, n1, i0, i1;
} Layer;

double dot(constant const float* g, double ox, double oy, double oz) {
    return g[0] * ox + g[1] * oy + g[2] * oz;
}

// A plane of the cell: the corner values, ox being the distance from the
// plane along x, and the gradients' x components, interpolated over y, then z.
void plane(const Layer* l, int x, double ox, double* value, double* slope) {
    constant const float* g00 = kGradients[hash(l->yz00 + x)];
    constant const float* g10 = kGradients[hash(l->yz10 + x)];
    constant const float* g01 = kGradients[hash(l->yz01 + x)];
    constant const float* g11 = kGradients[hash(l->yz11 + x)];
    *value = lerp(l->sz, lerp(l->sy, dot(g00, ox, l->fy, l->fz), dot(g10, ox, l->fy - 1.0, l->fz)),
                  lerp(l->sy, dot(g01, ox, l->fy, l->fz - 1.0), dot(g11, ox, l->fy - 1.0, l->fz - 1.0)));
    *slope = lerp(l->sz, lerp(l->sy, g00[0], g10[0]), lerp(l->sy, g01[0], g11[0]));
}

void enter_cell(Layer* l) {
    plane(l, l->X & 255, l->fx, &l->n0, &l->i0);
    plane(l, (l->X + 1) & 255, l->fx - 1.0, &l->n1, &l->i1);
    l->i0 *= l->dx;
    l->i1 *= l->dx;
}

// The layer at the row's first pixel, its coordinates shifted far into the
// positive range (z by a further quarter, off the lattice planes).
void start_layer(Layer* l, double x, double y, double z, double dx, double amplitude) {
    x += 1000000.0;
    y += 1000000.0;
    z += 1000000.25;
    l->X = qz_floor_by_rounding(x);
    const int Y = qz_floor_by_rounding(y);
    const int Z = qz_floor_by_rounding(z);
    l->fx = x - l->X;
    l->fy = y - Y;
    l->fz = z - Z;
    const int y0 = Y & 255;
    const int z0 = hash(Z & 255);
    const int z1 = hash((Z + 1) & 255);
    l->yz00 = hash(z0 + y0);
    l->yz10 = hash(z0 + y0 + 1);
    l->yz01 = hash(z1 + y0);
    l->yz11 = hash(z1 + y0 + 1);
    l->sy = fade(l->fy);
    l->sz = fade(l->fz);
    l->dx = dx;
    l->scale = amplitude * 1.5151515151515151;
    enter_cell(l);
}

// The layer's value at the current pixel, then a step to the next.
double next_noise(Layer* l, bool absolute) {
    double n = (fade(l->fx) * (l->n1 - l->n0) + l->n0) * l->scale;
    if (absolute) n = fabs(n);
    l->fx += l->dx;
    if (l->fx >= 1.0) {
        const int whole = qz_floor_by_rounding(l->fx);
        l->X += whole;
        l->fx -= whole;
        enter_cell(l);
    } else {
        l->n0 += l->i0;
        l->n1 += l->i1;
    }
    return n;
}

void draw_weights(__global int* dst, int stride, float4 p0, float4 p1, float4 p2, float4 p3) {
    const int width = (int)p3.x;
    const int height = (int)p3.y;
    const int r = get_global_id(1);
    if (get_global_id(0) != 0 || r >= height) return;
    const double frequencyX = p0.x, frequencyY = p0.y, offsetX = p0.z, offsetY = p0.w;
    const double progress = p1.x, lo = p1.y, hi = p1.z, bias = p1.w;
    const double amplitude = p2.x, falloff = p2.y, layers = p2.z;
    const int style = (int)p2.w;
    const bool absolute = kAbsolute[style] != 0;
    const int y = height - r - 1;

    // The layer weights: each the falloff times the one before, the last
    // faded in by the fraction; the first not above 0.01 ends the sum.
    const double whole = floor(layers);
    const int n = clamp((int)whole, 0, MAX_LAYERS - 1);
    double weight[MAX_LAYERS] = {1.0, 0.0, 0.0, 0.0, 0.0, 0.0};
    for (int i = 1; i <= n; ++i) weight[i] = falloff * weight[i - 1];
    weight[n] *= layers - whole;
    int count = 0;
    double sum = 0.0;
    while (count <= n && weight[count] > 0.01) sum += weight[count++];

    // The mapping of a shaped value to 16.16; min at or above max is the
    // flat mix of their middle.
    double k, base;
    if (lo >= hi) {
        k = 0.0;
        base = ((lo + hi) * 0.5 * amplitude + bias) * 65536.0;
    } else {
        k = amplitude / (hi - lo) * 65536.0;
        base = bias * 65536.0 - lo * k;
    }
    base += 0.5;

    // Each layer doubles the frequency and the position, progress included.
    Layer layer[MAX_LAYERS];
    double dx = (1.0 / width) * frequencyX;
    double x = offsetX * frequencyX;
    double ny = ((double)(float)((double)y / (double)width) + offsetY) * frequencyY;
    double z = progress;
    for (int i = 0; i < count; ++i) {
        start_layer(&layer[i], x, ny, z, dx, weight[i]);
        x += x;
        ny += ny;
        z += z;
        dx += dx;
    }

    // The shaping's constants for the row.
    const int shaping = kShaping[style];
    constant const float* f = kStyleConstants[style];
    double a = 0.0, b = 0.0, d = 0.0, m = 0.0;
    if (shaping == 0) {
        // A signed sum spans twice the sum of the weights.
        if (!absolute) {
            sum += sum;
            base += k * 0.5;
        }
        m = k / sum;
    } else if (shaping == 1) {
        const double w = width;
        a = f[2] * sum;
        b = f[0] * (frequencyX / w);
        double c = (w * offsetY + y) * (frequencyY / w) * f[1];
        if (f[3] > 0.0) {
            const double v = ((offsetY - 1000.0) * w + y) * (frequencyY / w) * f[3];
            const double fr = v - qz_floor_by_rounding(v);
            c += f[4] * (fr < 0.5 ? 1.0 - square(fr * 4.0 - 1.0) : square(fr * 4.0 - 3.0) - 1.0);
        }
        d = w * offsetX * b + c;
    } else {
        a = f[0] * sum;
        m = k * 0.5;
    }

    __global int* out = dst + r * width * stride;
    for (int px = 0; px < width; ++px) {
        double v = 0.0;
        for (int i = 0; i < count; ++i) v += next_noise(&layer[i], absolute);
        int t;
        if (shaping == 0) {
            t = qz_round_biased(m * v + base);
        } else if (shaping == 1) {
            const double phase = a * v + px * b + d;
            const double e = 2.0 * (phase - qz_floor_by_rounding(phase)) - 1.0;
            t = qz_round_biased((1.0 - e * e) * k + base);
        } else {
            const double ring = (v + 2.0) * a;
            const double fr = ring - qz_floor_by_rounding(ring);
            const double u = fr * 4.0;
            const double e = fr < 0.5 ? 2.0 - square(u - 1.0) : square(u - 3.0);
            t = qz_round_biased(e * m + base);
        }
        out[px * stride] = t;
    }
}

// The mix at weight t of 65536 in double, alpha mixed like the colours;
// only 0..65536 stands, and 65536 is exactly the second colour.
double4 mix_at(int t, float4 colour0, float4 colour1) {
    const double f = clamp(t, 0, 65536) / 65536.0;
    const double4 c0 = convert_double4(colour0);
    const double4 c1 = convert_double4(colour1);
    const double4 e0 = (double4)(c0.x * c0.w, c0.y * c0.w, c0.z * c0.w, c0.w);
    const double4 e1 = (double4)(c1.x * c1.w, c1.y * c1.w, c1.z * c1.w, c1.w);
    return e1 * f + e0 * (1.0 - f);
}

// Bytes: a pixel's weight fills its four bytes.
__kernel void k75723b28f(__global int* dst, float4 colour0, float4 colour1, float4 p0, float4 p1, float4 p2,
                         float4 p3) {
    draw_weights(dst, 1, p0, p1, p2, p3);
}

// Floats: a pixel's weight takes its first component's four bytes.
__kernel void kd3fc1b89e(__global int* dst, float4 colour0, float4 colour1, float4 p0, float4 p1, float4 p2,
                         float4 p3) {
    draw_weights(dst, 4, p0, p1, p2, p3);
}

__kernel void kb95048b6d(__global const int* weights, __global uchar* dst, float4 colour0, float4 colour1,
                         float4 p0, float4 p1, float4 p2, float4 p3) {
    const int width = (int)p3.x;
    const int height = (int)p3.y;
    const int x = get_global_id(0);
    const int y = get_global_id(1);
    if (x >= width || y >= height) return;
    const int i = y * width + x;
    const double4 v = mix_at(weights[i], colour0, colour1) * 255.0 + 0.5;
    const int4 c = (int4)(qz_trunc_d(v.x), qz_trunc_d(v.y), qz_trunc_d(v.z), qz_trunc_d(v.w));
    vstore4(convert_uchar4(c & 0xFF), i, dst);
}

__kernel void k9754a2578(__global const int* weights, __global float* dst, float4 colour0, float4 colour1,
                         float4 p0, float4 p1, float4 p2, float4 p3) {
    const int width = (int)p3.x;
    const int height = (int)p3.y;
    const int x = get_global_id(0);
    const int y = get_global_id(1);
    if (x >= width || y >= height) return;
    const int i = y * width + x;
    vstore4(convert_float4(mix_at(weights[i * 4], colour0, colour1)), i, dst);
}
