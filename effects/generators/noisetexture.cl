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
//             straight, red first in memory in both pixel orders
//   colour1   the colour at weight 65536
//   p0        frequency x, frequency y, offset x, offset y
//   p1        progress, min, max, bias
//   p2        amplitude, falloff, number of layers, style (0..6)
//   p3        width, height (whole-number floats), 0, 0
// The parameters arrive as floats and everything is computed from them in
// double, as the processor does from its doubles: the pictures agree where
// the parameter values are floats (0.5, 12.25, ...). Others are narrowed,
// and a weight may then land one step of 1/65536 away here and there.

#pragma OPENCL FP_CONTRACT OFF
#pragma OPENCL EXTENSION cl_khr_fp64 : enable

// The permutation of 0..255; a hash of up to 510 wraps by the mask.
constant short kPermutation[256] = {
    209, 59, 152, 243, 49, 141, 92, 83, 155, 106, 77, 35, 177, 100, 36, 17,
    212, 112, 30, 43, 216, 98, 9, 58, 119, 55, 110, 254, 31, 13, 38, 40,
    91, 76, 122, 186, 143, 79, 240, 193, 14, 156, 107, 165, 175, 39, 67, 196,
    136, 150, 189, 46, 144, 51, 172, 244, 226, 63, 187, 159, 197, 231, 217, 87,
    10, 86, 207, 50, 245, 34, 154, 3, 132, 184, 199, 113, 27, 133, 104, 169,
    203, 24, 225, 124, 164, 68, 219, 105, 66, 174, 89, 211, 200, 127, 4, 45,
    234, 178, 168, 131, 179, 182, 32, 139, 1, 128, 148, 20, 229, 115, 250, 210,
    61, 84, 235, 160, 108, 18, 48, 239, 228, 16, 162, 151, 208, 194, 102, 201,
    176, 114, 117, 142, 195, 11, 146, 242, 101, 149, 125, 137, 103, 74, 121, 47,
    166, 54, 21, 249, 29, 252, 135, 190, 97, 23, 192, 88, 140, 5, 188, 126,
    170, 147, 224, 65, 205, 237, 145, 167, 171, 236, 191, 120, 7, 204, 8, 111,
    37, 52, 96, 230, 246, 255, 72, 233, 185, 93, 12, 75, 138, 19, 180, 6,
    80, 247, 161, 53, 78, 223, 198, 42, 64, 15, 213, 251, 206, 123, 2, 22,
    202, 238, 28, 0, 85, 129, 214, 25, 33, 41, 70, 56, 220, 109, 57, 183,
    248, 222, 227, 130, 241, 81, 94, 90, 153, 60, 73, 163, 118, 218, 157, 116,
    215, 95, 158, 44, 99, 134, 221, 69, 232, 181, 62, 253, 26, 82, 173, 71,
};

// The unit gradients of the lattice.
constant float kGradients[256][3] = {
    {-0.63202f, -0.63132f, 0.44943f}, {0.95478f, -0.1475f, -0.25814f}, {0.35376f, 0.29955f, -0.88607f},
    {-0.43526f, 0.84732f, -0.30429f}, {-0.32408f, 0.93147f, 0.16533f}, {0.88629f, -0.08212f, -0.4558f},
    {-0.83202f, 0.2267f, -0.50632f}, {0.77662f, 0.54189f, -0.32127f}, {0.48801f, 0.67803f, -0.54966f},
    {0.93268f, -0.32676f, -0.15275f}, {0.94565f, -0.16763f, -0.27866f}, {-0.2947f, 0.95011f, 0.10218f},
    {-0.62717f, 0.23254f, 0.74336f}, {0.44261f, -0.40256f, -0.80128f}, {0.62032f, -0.68489f, -0.38228f},
    {0.89485f, -0.20247f, -0.39781f}, {-0.3226f, 0.84457f, -0.42735f}, {-0.10757f, -0.8563f, -0.50516f},
    {0.43112f, -0.11415f, 0.89504f}, {0.67057f, 0.56616f, -0.47937f}, {-0.76232f, -0.55574f, 0.3317f},
    {0.17308f, 0.06078f, 0.98303f}, {-0.59564f, 0.61048f, -0.52205f}, {0.81858f, 0.57179f, -0.05471f},
    {0.19381f, -0.1697f, 0.96625f}, {-0.57535f, -0.63909f, -0.51043f}, {-0.26069f, 0.32374f, 0.90952f},
    {0.52856f, 0.75477f, -0.38852f}, {0.07111f, -0.91891f, 0.388f}, {0.79944f, -0.35194f, -0.48687f},
    {-0.18898f, 0.63575f, -0.74841f}, {-0.32067f, 0.17282f, 0.93129f}, {-0.23759f, 0.83641f, 0.49394f},
    {-0.41833f, -0.12786f, 0.89925f}, {0.22392f, 0.96616f, 0.128f}, {0.8151f, -0.5743f, -0.07611f},
    {-0.22191f, 0.97378f, -0.05004f}, {-0.15153f, 0.98514f, 0.08087f}, {0.16612f, 0.8064f, 0.56756f},
    {0.15672f, -0.98309f, 0.09473f}, {-0.4882f, -0.55715f, -0.67175f}, {-0.7343f, -0.09788f, 0.67173f},
    {0.50752f, -0.21657f, -0.83398f}, {0.85727f, -0.00287f, 0.51486f}, {0.1345f, 0.06742f, -0.98862f},
    {-0.87724f, 0.43706f, -0.19859f}, {0.01127f, -0.57805f, -0.81592f}, {0.20329f, 0.52523f, -0.82632f},
    {-0.87434f, -0.04779f, 0.48296f}, {0.79752f, 0.57699f, 0.17618f}, {-0.59678f, 0.14765f, 0.78871f},
    {-0.43488f, -0.63996f, -0.63351f}, {-0.76998f, 0.61386f, -0.17406f}, {-0.32336f, 0.46482f, -0.82425f},
    {-0.54452f, 0.60584f, 0.58004f}, {0.97608f, 0.1479f, 0.15936f}, {0.8752f, -0.31759f, -0.36492f},
    {-0.8751f, -0.37472f, -0.30623f}, {-0.90907f, -0.37526f, 0.18102f}, {0.86277f, -0.4931f, 0.11175f},
    {-0.66191f, 0.56762f, 0.48958f}, {-0.965f, -0.15524f, -0.21135f}, {0.39147f, 0.50897f, -0.76662f},
    {0.71057f, 0.70144f, -0.05547f}, {-0.33621f, 0.91769f, -0.21167f}, {0.18373f, 0.11494f, -0.97623f},
    {0.06199f, -0.79685f, -0.60099f}, {-0.51726f, 0.44124f, 0.73331f}, {-0.31251f, -0.49131f, 0.81299f},
    {-0.88735f, 0.45118f, -0.09513f}, {-0.48366f, -0.44235f, 0.75524f}, {-0.01151f, -0.63158f, 0.77522f},
    {0.71367f, 0.68631f, 0.14022f}, {-0.99953f, -0.00666f, -0.02992f}, {-0.08727f, 0.79657f, -0.59821f},
    {0.52071f, 0.63251f, 0.57341f}, {-0.2101f, 0.4901f, -0.84597f}, {-0.2571f, -0.62628f, 0.73598f},
    {-0.26815f, 0.91434f, 0.30345f}, {-0.45493f, -0.06872f, 0.88787f}, {0.52227f, 0.80438f, 0.28322f},
    {0.29049f, 0.93713f, -0.19339f}, {0.92774f, -0.10711f, -0.35752f}, {-0.15416f, -0.68745f, 0.70968f},
    {0.68498f, -0.71468f, 0.14159f}, {0.6887f, -0.67885f, 0.25468f}, {-0.57587f, 0.77031f, 0.27386f},
    {-0.72271f, 0.24622f, 0.64581f}, {0.19659f, 0.6033f, -0.7729f}, {0.91137f, 0.08647f, 0.4024f},
    {0.37819f, -0.65564f, -0.65354f}, {-0.9678f, 0.20658f, -0.14386f}, {0.82934f, -0.46235f, -0.31373f},
    {0.66072f, -0.63175f, 0.40539f}, {0.20046f, 0.77199f, 0.6032f}, {-0.40844f, 0.83568f, 0.36717f},
    {0.75813f, 0.55864f, 0.33641f}, {0.11771f, -0.55848f, 0.82113f}, {0.4006f, -0.64135f, 0.65437f},
    {0.85185f, -0.4869f, -0.19309f}, {0.60645f, -0.5134f, 0.60715f}, {0.93369f, -0.21597f, -0.28561f},
    {-0.08572f, 0.13237f, -0.98749f}, {-0.66117f, 0.23726f, -0.71173f}, {0.8745f, -0.36459f, 0.3199f},
    {-0.50797f, 0.84234f, 0.18007f}, {-0.32972f, 0.81813f, -0.47112f}, {0.26744f, 0.78301f, 0.56158f},
    {0.62818f, 0.48485f, 0.60853f}, {-0.6027f, -0.74617f, 0.28281f}, {0.09086f, -0.73506f, -0.67188f},
    {0.01274f, -0.86371f, 0.50384f}, {0.59458f, -0.80398f, 0.00946f}, {0.67022f, -0.69309f, 0.2654f},
    {-0.92086f, -0.37311f, 0.11313f}, {-0.27914f, 0.00559f, -0.96023f}, {-0.01663f, -0.99434f, -0.10494f},
    {-0.70465f, 0.00212f, -0.70956f}, {0.92044f, -0.30504f, 0.24442f}, {0.36925f, 0.76119f, 0.53315f},
    {-0.38572f, 0.77584f, -0.49929f}, {0.5968f, 0.57722f, 0.55735f}, {-0.89035f, 0.43763f, -0.12557f},
    {0.26572f, -0.78109f, -0.56506f}, {0.57211f, 0.45196f, 0.68441f}, {0.97239f, 0.22778f, -0.05078f},
    {-0.01464f, -0.9958f, -0.09043f}, {0.64719f, 0.76141f, -0.03735f}, {-0.31348f, 0.38014f, -0.87019f},
    {0.63483f, 0.76134f, -0.13171f}, {0.34924f, -0.07908f, 0.93369f}, {-0.80439f, -0.58881f, 0.07907f},
    {0.72538f, -0.22138f, 0.65178f}, {0.51681f, 0.3071f, -0.79912f}, {-0.85041f, 0.30446f, -0.42908f},
    {0.3304f, 0.69786f, 0.63548f}, {-0.74493f, 0.24303f, -0.6213f}, {-0.31125f, -0.75963f, -0.57104f},
    {-0.02998f, 0.89391f, -0.44724f}, {-0.9036f, -0.39107f, 0.17485f}, {0.62422f, 0.75238f, 0.21042f},
    {-0.14411f, 0.39691f, -0.90647f}, {-0.00556f, -0.99441f, 0.10542f}, {0.90577f, -0.21811f, 0.36332f},
    {-0.7708f, -0.06533f, -0.63372f}, {0.22476f, 0.92581f, 0.30391f}, {0.21557f, -0.91383f, -0.34417f},
    {0.97036f, 0.11551f, -0.21226f}, {0.82985f, 0.33827f, -0.44376f}, {-0.67246f, 0.73868f, 0.04645f},
    {-0.06629f, 0.37679f, -0.92392f}, {0.19781f, -0.17216f, 0.965f}, {-0.47937f, -0.74549f, 0.4631f},
    {0.67794f, 0.05989f, 0.73267f}, {0.06206f, -0.49603f, -0.86608f}, {0.2108f, 0.66211f, -0.71915f},
    {-0.52378f, -0.69151f, 0.49746f}, {0.50314f, -0.50884f, 0.69852f}, {0.67877f, -0.11618f, -0.7251f},
    {0.55324f, -0.83267f, -0.02417f}, {-0.63194f, -0.76937f, -0.09339f}, {-0.30819f, 0.95094f, 0.02694f},
    {0.22376f, 0.96355f, 0.14667f}, {-0.55519f, 0.81462f, -0.16779f}, {0.24846f, -0.92869f, -0.27532f},
    {-0.27612f, -0.53259f, -0.80007f}, {0.5629f, 0.21865f, 0.79708f}, {-0.9847f, 0.14393f, 0.09824f},
    {0.34619f, -0.92494f, -0.15696f}, {0.78254f, -0.47283f, -0.40504f}, {0.32052f, 0.37896f, 0.86814f},
    {-0.67325f, 0.3032f, -0.67439f}, {-0.22412f, 0.23681f, 0.94535f}, {0.27441f, 0.8465f, -0.45621f},
    {0.25906f, 0.39295f, 0.88231f}, {-0.01137f, -0.01571f, -0.99981f}, {0.28005f, -0.95098f, -0.1312f},
    {-0.78789f, 0.49208f, -0.37024f}, {-0.79537f, 0.11339f, 0.59543f}, {-0.37543f, -0.19486f, -0.90614f},
    {0.99644f, 0.06719f, 0.05087f}, {0.48518f, 0.7571f, 0.43751f}, {-0.79203f, 0.34252f, 0.50534f},
    {-0.486f, 0.32179f, 0.81256f}, {0.25866f, -0.94405f, -0.20462f}, {-0.79221f, -0.37465f, 0.48171f},
    {-0.09094f, 0.50661f, 0.85737f}, {0.71574f, -0.23057f, 0.65921f}, {0.91157f, 0.10655f, -0.3971f},
    {0.96951f, 0.16536f, -0.18084f}, {0.29295f, 0.84964f, 0.4385f}, {-0.65565f, 0.75291f, 0.05704f},
    {-0.05558f, -0.67348f, 0.73711f}, {-0.77459f, -0.22873f, -0.58965f}, {-0.45107f, 0.8834f, -0.12706f},
    {-0.26847f, -0.4427f, 0.85553f}, {-0.75798f, -0.08218f, 0.64708f}, {-0.70329f, -0.50547f, -0.49988f},
    {-0.59499f, 0.10299f, -0.79711f}, {0.67203f, 0.71198f, -0.20363f}, {0.82652f, -0.56078f, 0.04898f},
    {-0.12577f, 0.62492f, -0.77049f}, {0.2952f, -0.83554f, 0.4634f}, {-0.46221f, 0.78441f, -0.4136f},
    {0.92598f, 0.01549f, -0.37725f}, {-0.36925f, -0.92923f, 0.01329f}, {0.50448f, 0.50755f, 0.69849f},
    {0.83147f, 0.52867f, 0.1708f}, {-0.69081f, -0.40878f, 0.59639f}, {0.31727f, 0.82283f, -0.47148f},
    {0.26831f, 0.18309f, -0.94577f}, {-0.22731f, 0.35602f, 0.90641f}, {-0.93088f, -0.27574f, 0.23964f},
    {0.23272f, 0.56062f, -0.7947f}, {-0.13956f, -0.9759f, -0.16773f}, {0.1809f, 0.98055f, 0.07621f},
    {-0.5459f, -0.34692f, 0.76265f}, {0.41284f, 0.86395f, 0.28836f}, {0.83483f, -0.27175f, 0.47875f},
    {-0.48751f, -0.31621f, -0.81385f}, {0.01893f, 0.88421f, 0.46671f}, {-0.11435f, 0.45192f, -0.8847f},
    {0.28458f, 0.40071f, -0.87088f}, {0.08618f, -0.44699f, 0.89038f}, {-0.98946f, 0.1098f, 0.09443f},
    {-0.28785f, -0.95646f, 0.0483f}, {-0.07838f, -0.99512f, 0.05999f}, {0.44514f, -0.82043f, -0.35882f},
    {0.7941f, 0.31216f, 0.5215f}, {0.00484f, 0.92965f, -0.36842f}, {0.28846f, -0.92908f, 0.23152f},
    {-0.85312f, -0.31813f, 0.41349f}, {-0.31808f, 0.36683f, 0.87422f}, {0.32458f, 0.77627f, 0.54042f},
    {-0.77633f, -0.39028f, -0.49497f}, {0.69506f, -0.21435f, -0.68626f}, {-0.2605f, -0.95301f, 0.15461f},
    {0.06457f, 0.33297f, -0.94073f}, {-0.65032f, 0.13335f, 0.74786f}, {-0.17229f, 0.64176f, -0.7473f},
    {-0.6392f, 0.69612f, 0.32685f}, {0.72576f, 0.4383f, 0.53025f}, {0.92921f, 0.07826f, -0.36117f},
    {-0.35815f, 0.47199f, -0.80558f}, {0.18106f, -0.94644f, 0.26734f}, {0.69235f, -0.36306f, -0.62358f},
    {0.97648f, 0.09336f, 0.19436f}, {0.28898f, -0.85877f, 0.42309f}, {0.81244f, 0.53695f, -0.22723f},
    {-0.90848f, 0.12813f, 0.39779f}, {0.80998f, -0.58167f, -0.07476f}, {0.6024f, 0.42751f, 0.67405f},
    {0.61493f, 0.12084f, -0.77926f}, {-0.31911f, 0.91756f, -0.23717f}, {0.6371f, 0.65198f, 0.41113f},
    {-0.26476f, 0.87305f, -0.4095f},
};

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

// The low 32 bits of the mantissa after adding 1.5 * 2^52.
int low_word(double t) {
    return as_int((uint)as_ulong(t));
}

// The library's floor: the rounding idiom on v - 0.499999985.
int floor_by_rounding(double v) {
    return low_word((v - 0.499999985) + 6755399441055744.0);
}

// Rounds to nearest, an exact half up, by the idiom's 1.5e-8 bias.
int round_biased(double v) {
    return low_word((v + 1.5e-8) + 6755399441055744.0);
}

// The processor's double-to-int conversion: truncation, with 0x80000000 for
// what lies outside the 32-bit range.
int trunc_i32(double v) {
    return (v > -2147483649.0 && v < 2147483648.0) ? (int)v : INT_MIN;
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
    l->X = floor_by_rounding(x);
    const int Y = floor_by_rounding(y);
    const int Z = floor_by_rounding(z);
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
        const int whole = floor_by_rounding(l->fx);
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
            const double fr = v - floor_by_rounding(v);
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
            t = round_biased(m * v + base);
        } else if (shaping == 1) {
            const double phase = a * v + px * b + d;
            const double e = 2.0 * (phase - floor_by_rounding(phase)) - 1.0;
            t = round_biased((1.0 - e * e) * k + base);
        } else {
            const double ring = (v + 2.0) * a;
            const double fr = ring - floor_by_rounding(ring);
            const double u = fr * 4.0;
            const double e = fr < 0.5 ? 2.0 - square(u - 1.0) : square(u - 3.0);
            t = round_biased(e * m + base);
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
    const int4 c = (int4)(trunc_i32(v.x), trunc_i32(v.y), trunc_i32(v.z), trunc_i32(v.w));
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
