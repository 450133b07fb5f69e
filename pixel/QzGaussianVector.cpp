// The vector form of the recursive Gaussian: four lanes of doubles to an
// AVX register.
//
// Each pass filters a group of lines at once: several rows in the
// horizontal pass, a block of adjacent columns in the vertical one. A
// line's recursion is one long chain of dependent additions; the lines of
// a group are independent, so their chains overlap and the arithmetic units
// stay busy. In the vertical pass the block also uses whole cache lines of
// the intermediate image per row instead of one pixel out of every line it
// touches.
//
// Lanes. With four channels a register is one pixel, its four channels
// side by side. With one channel a register is four lines: in the
// horizontal pass four rows, in the vertical pass four adjacent columns;
// the intermediate image of a one-channel blur is kept in groups of four
// rows, each position of a group the four rows' samples together, so that
// both passes read and write it a register at a time.
//
// Every sample goes through the same multiplications and additions, in the
// same order, as in gaussianLine, and no fused multiply-add is allowed in
// this file: the results are the plain form's to the bit. Two terms of the
// interior steps are left out where they cannot change a bit: the forward
// numerator np[4] and the backward numerator nm[0] are zero, and zero times
// a finite sample is a zero, which added to a sum leaves it as it is, but
// for the sign of a zero sum, which the flush of tiny values turns into +0
// anyway. Only lines whose samples are all finite take that shortcut: zero
// times an infinity is NaN.
#include "QzGaussianVector.h"

#include <immintrin.h>
#include <sys/mman.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <mutex>
#include <type_traits>
#include <utility>

// AVX2 is what the form is chosen on. No "fma": a fused multiply-add rounds
// once where the plain form rounds twice.
#pragma GCC target("avx2")

namespace qz {
namespace {

using V = __m256d;

// Scratch memory in whole pages, asked to be backed by huge pages. The
// intermediate image of a UHD frame is over a hundred megabytes; taking it
// fresh from the system on every call costs a page fault and the clearing
// of every page, more than a third of the arithmetic. So one block, the
// largest asked for so far, is kept for the next call; a call that finds
// it taken (another thread is blurring) maps its own and unmaps it after.
class Scratch {
public:
    explicit Scratch(size_t bytes) {
        {
            const std::lock_guard<std::mutex> lock(keptMutex());
            Block& k = kept();
            if (k.base && k.bytes >= bytes) {
                block_ = k;
                k = Block{};
                return;
            }
        }
        block_ = map(bytes);
    }
    ~Scratch() {
        if (!block_.base) return;
        Block spare = block_;
        {
            const std::lock_guard<std::mutex> lock(keptMutex());
            Block& k = kept();
            if (k.bytes < spare.bytes) std::swap(k, spare);
        }
        unmap(spare);
    }
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;

    uint8_t* data() const { return block_.data; }

    static void release() {
        Block spare;
        {
            const std::lock_guard<std::mutex> lock(keptMutex());
            std::swap(spare, kept());
        }
        unmap(spare);
    }

private:
    struct Block {
        void* base = nullptr;
        size_t mapped = 0;
        uint8_t* data = nullptr;
        size_t bytes = 0;
    };
    static constexpr size_t kHuge = size_t(2) << 20;

    static std::mutex& keptMutex() {
        static std::mutex m;
        return m;
    }
    // The kept block goes with the module, so that unloading it gives the
    // memory back.
    static Block& kept() {
        static struct Kept {
            Block block;
            ~Kept() { unmap(block); }
        } k;
        return k.block;
    }

    // Huge pages cover only 2 MiB-aligned spans, so the block starts on one.
    static Block map(size_t bytes) {
        Block b;
        const size_t rounded = (bytes + kHuge - 1) / kHuge * kHuge;
        void* p = mmap(nullptr, rounded + kHuge, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (p == MAP_FAILED) return b;
        b.base = p;
        b.mapped = rounded + kHuge;
        b.data = reinterpret_cast<uint8_t*>((reinterpret_cast<uintptr_t>(p) + kHuge - 1) & ~(kHuge - 1));
        b.bytes = rounded;
        // Only advice: where huge pages are off, small ones serve.
        madvise(b.data, b.bytes, MADV_HUGEPAGE);
        return b;
    }
    static void unmap(const Block& b) {
        if (b.base) munmap(b.base, b.mapped);
    }

    Block block_;
};

// The coefficients, each in all four lanes: np, dp, nm as they are, and
// the edge gains np - bp, nm - bm that stand in for the samples beyond the
// line's ends.
struct Table {
    V np[5], dp[5], nm[5], ep[5], em[5];
};

Table makeTable(const GaussianCoefficients& g) {
    Table t;
    for (int k = 0; k < 5; ++k) {
        t.np[k] = _mm256_set1_pd(g.np[k]);
        t.dp[k] = _mm256_set1_pd(g.dp[k]);
        t.nm[k] = _mm256_set1_pd(g.nm[k]);
        t.ep[k] = _mm256_set1_pd(g.np[k] - g.bp[k]);
        t.em[k] = _mm256_set1_pd(g.nm[k] - g.bm[k]);
    }
    return t;
}

// Whether the zero numerators may be left out for finite lines.
bool zeroTerms(const GaussianCoefficients& g) { return g.np[4] == 0.0 && g.nm[0] == 0.0; }

inline V mul(V a, V b) { return _mm256_mul_pd(a, b); }
inline V add(V a, V b) { return _mm256_add_pd(a, b); }
inline V sub(V a, V b) { return _mm256_sub_pd(a, b); }

// flushTiny without a branch. "Not less than" keeps a NaN, as the scalar
// comparison does; the cleared lanes become +0, as there.
inline V flushTiny(V s) {
    const V magnitude = _mm256_andnot_pd(_mm256_set1_pd(-0.0), s);
    return _mm256_and_pd(s, _mm256_cmp_pd(magnitude, _mm256_set1_pd(1e-17), _CMP_NLT_UQ));
}

// A group of L registers per sample; x and y hold n samples of L
// registers each, x the input and y the forward response, which the
// backward sweep replaces with its own as it goes. T is the number of
// earlier samples in the line, up to the four taps; the edge gains stand
// in for the rest. Finite: every sample of the group is finite.
template <int L, int T, bool Finite>
inline void forwardStep(const V* x, V* y, int i, const Table& c) {
    for (int j = 0; j < L; ++j) {
        V s = mul(c.np[0], x[i * L + j]);
#pragma GCC unroll 4
        for (int k = 1; k <= T; ++k) {
            if (Finite && k == 4)
                s = sub(s, mul(c.dp[4], y[(i - 4) * L + j]));
            else
                s = add(s, sub(mul(c.np[k], x[(i - k) * L + j]), mul(c.dp[k], y[(i - k) * L + j])));
        }
#pragma GCC unroll 4
        for (int k = T + 1; k <= 4; ++k) s = add(s, mul(c.ep[k], x[j]));
        y[i * L + j] = flushTiny(s);
    }
}

template <int L, int T, bool Finite, typename Out>
inline void backwardStep(const V* x, V* y, int n, int i, const Table& c, Out& out) {
    V sum[L];
    for (int j = 0; j < L; ++j) {
        V s;
        if (Finite && T == 4) {
            s = sub(mul(c.nm[1], x[(i + 1) * L + j]), mul(c.dp[1], y[(i + 1) * L + j]));
#pragma GCC unroll 4
            for (int k = 2; k <= 4; ++k)
                s = add(s, sub(mul(c.nm[k], x[(i + k) * L + j]), mul(c.dp[k], y[(i + k) * L + j])));
        } else {
            s = mul(c.nm[0], x[i * L + j]);
#pragma GCC unroll 4
            for (int k = 1; k <= T; ++k)
                s = add(s, sub(mul(c.nm[k], x[(i + k) * L + j]), mul(c.dp[k], y[(i + k) * L + j])));
#pragma GCC unroll 4
            for (int k = T + 1; k <= 4; ++k) s = add(s, mul(c.em[k], x[(n - 1) * L + j]));
        }
        const V ym = flushTiny(s);
        sum[j] = add(y[i * L + j], ym);
        y[i * L + j] = ym;
    }
    out(i, sum);
}

// The forward sweep over the group: load(i) fills sample i's registers of x
// just before the step that first reads them, so that fetching the input
// overlaps the arithmetic.
template <int L, bool Finite, typename Load>
void forwardSweep(V* x, V* y, int n, const Table& table, Load& load) {
    // A copy the stores to y cannot reach, so that the coefficients may
    // stay in registers.
    const Table c = table;
    // The first four samples of a line, or all of a shorter one.
    const int head = std::min(n, 4);
    for (int i = 0; i < head; ++i) {
        load(i);
        switch (i) {
            case 0: forwardStep<L, 0, Finite>(x, y, i, c); break;
            case 1: forwardStep<L, 1, Finite>(x, y, i, c); break;
            case 2: forwardStep<L, 2, Finite>(x, y, i, c); break;
            default: forwardStep<L, 3, Finite>(x, y, i, c); break;
        }
    }
    for (int i = head; i < n; ++i) {
        load(i);
        forwardStep<L, 4, Finite>(x, y, i, c);
    }
}

// The backward sweep, handing each sample's sums, forward plus backward,
// to out(i, sums), last sample first.
template <int L, bool Finite, typename Out>
void backwardSweep(const V* x, V* y, int n, const Table& table, Out& out) {
    const Table c = table;
    const int tail = std::max(n - 4, 0);
    for (int i = n - 1; i >= tail; --i) {
        switch (n - 1 - i) {
            case 0: backwardStep<L, 0, Finite>(x, y, n, i, c, out); break;
            case 1: backwardStep<L, 1, Finite>(x, y, n, i, c, out); break;
            case 2: backwardStep<L, 2, Finite>(x, y, n, i, c, out); break;
            default: backwardStep<L, 3, Finite>(x, y, n, i, c, out); break;
        }
    }
    for (int i = tail - 1; i >= 0; --i) backwardStep<L, 4, Finite>(x, y, n, i, c, out);
}

// Both sweeps over a group of L registers per sample. The forward sweep
// leaves out the zero term where the samples are known to be finite before
// they are read (byte images); the backward one where they have been found
// finite while read (finite(), asked between the sweeps).
template <int L, typename Load, typename Finite, typename Out>
void filterLines(V* x, V* y, int n, const Table& table, bool knownFinite, Load load, Finite finite, Out out) {
    if (knownFinite)
        forwardSweep<L, true>(x, y, n, table, load);
    else
        forwardSweep<L, false>(x, y, n, table, load);
    if (finite())
        backwardSweep<L, true>(x, y, n, table, out);
    else
        backwardSweep<L, false>(x, y, n, table, out);
}

// Finiteness of float samples, gathered as the largest magnitude's bits:
// an infinity or a NaN has all exponent bits set.
struct FiniteCheck {
    __m128i largest = _mm_setzero_si128();
    void add(__m128 v) {
        largest = _mm_max_epu32(largest, _mm_and_si128(_mm_castps_si128(v), _mm_set1_epi32(0x7fffffff)));
    }
    bool finite() const {
        const __m128i inf = _mm_set1_epi32(0x7f800000);
        // Unsigned "at least the infinity's bits" per lane.
        const __m128i atLeast = _mm_cmpeq_epi32(_mm_max_epu32(largest, inf), largest);
        return _mm_testz_si128(atLeast, atLeast);
    }
};

// Four samples as doubles.
inline V widen(__m128 v) { return _mm256_cvtps_pd(v); }
inline V widen(__m128i v) { return _mm256_cvtepi32_pd(v); }

inline __m128i bytesToInts(int32_t word) { return _mm_cvtepu8_epi32(_mm_cvtsi32_si128(word)); }

inline __m128 narrow(V v) { return _mm256_cvtpd_ps(v); }

// As the plain form: nearbyint, then the clamp to 0 to 255; four levels in
// the low bytes of the result.
inline int32_t levels(V v) {
    const V r = _mm256_round_pd(v, _MM_FROUND_NEARBYINT);
    const __m128i q = _mm256_cvttpd_epi32(_mm256_min_pd(_mm256_max_pd(r, _mm256_setzero_pd()), _mm256_set1_pd(255.0)));
    const __m128i words = _mm_packus_epi32(q, q);
    return _mm_cvtsi128_si32(_mm_packus_epi16(words, words));
}

// A whole pixel.
inline V loadPixel(const uint8_t* p) {
    int32_t word;
    std::memcpy(&word, p, 4);
    return widen(bytesToInts(word));
}
inline V loadPixel(const float* p) { return widen(_mm_loadu_ps(p)); }

inline void storePixel(uint8_t* p, V v) {
    const int32_t word = levels(v);
    std::memcpy(p, &word, 4);
}
inline void storePixel(float* p, V v) { _mm_storeu_ps(p, narrow(v)); }

// Touches a block's span of a row ahead of use. Rows are a page or more
// apart, and the processor's own prefetchers do not cross pages.
template <int Write>
inline void prefetchSpan(const void* p, size_t bytes) {
    const auto* b = static_cast<const char*>(p);
    for (size_t o = 0; o < bytes; o += 64) __builtin_prefetch(b + o, Write, 3);
    __builtin_prefetch(b + bytes - 1, Write, 3);
}

constexpr int kAhead = 16;  // rows of prefetch distance in the vertical pass

template <typename T>
inline const T* rowOf(const uint8_t* base, ptrdiff_t stride, int y) {
    return reinterpret_cast<const T*>(base + y * stride);
}
template <typename T>
inline T* rowOf(uint8_t* base, ptrdiff_t stride, int y) {
    return reinterpret_cast<T*>(base + y * stride);
}

// ---- Four channels ---------------------------------------------------

// The intermediate image: w x h pixels of four floats, row after row.

// R rows from y0 on into the intermediate, R pixels side by side per
// sample of the group. zeros: the coefficients' zero terms may be left
// out; outFinite is cleared if a sum stored is not finite.
template <int R, typename Src>
void rows4(const uint8_t* src, ptrdiff_t srcStride, int w, int y0, float* pass, V* x, V* y, const Table& c, bool zeros,
           bool& outFinite) {
    constexpr bool bytes = std::is_same_v<Src, uint8_t>;
    const Src* rows[R];
    for (int r = 0; r < R; ++r) rows[r] = rowOf<Src>(src, srcStride, y0 + r);
    FiniteCheck in, out;
    float* to = pass + static_cast<size_t>(y0) * w * 4;
    filterLines<R>(
        x, y, w, c, zeros && bytes,
        [&](int i) {
            for (int r = 0; r < R; ++r) {
                if constexpr (bytes) {
                    x[i * R + r] = loadPixel(rows[r] + 4 * i);
                } else {
                    const __m128 v = _mm_loadu_ps(rows[r] + 4 * i);
                    in.add(v);
                    x[i * R + r] = widen(v);
                }
            }
        },
        [&] { return zeros && (bytes || in.finite()); },
        [&](int i, const V* sum) {
            for (int r = 0; r < R; ++r) {
                const __m128 v = narrow(sum[r]);
                if constexpr (!bytes) out.add(v);
                _mm_store_ps(to + (static_cast<size_t>(r) * w + i) * 4, v);
            }
        });
    if (!bytes && !out.finite()) outFinite = false;
}

// B columns from x0 on out of the intermediate into dst. knownFinite:
// every sample of the intermediate is finite.
template <int B, typename Dst>
void columns4(uint8_t* dst, ptrdiff_t dstStride, const float* pass, int w, int h, int x0, V* x, V* y, const Table& c,
              bool zeros, bool knownFinite) {
    const size_t passStride = static_cast<size_t>(w) * 4;
    filterLines<B>(
        x, y, h, c, zeros && knownFinite,
        [&](int i) {
            const float* row = pass + i * passStride + x0 * 4;
            if (i + kAhead < h) prefetchSpan<0>(row + kAhead * passStride, B * 16);
            for (int b = 0; b < B; ++b) x[i * B + b] = widen(_mm_load_ps(row + 4 * b));
        },
        [&] { return zeros && knownFinite; },
        [&](int i, const V* sum) {
            if (i >= kAhead) prefetchSpan<1>(rowOf<Dst>(dst, dstStride, i - kAhead) + 4 * x0, B * 4 * sizeof(Dst));
            Dst* row = rowOf<Dst>(dst, dstStride, i) + 4 * x0;
            for (int b = 0; b < B; ++b) storePixel(row + 4 * b, sum[b]);
        });
}

// ---- One channel -----------------------------------------------------

// The intermediate image: groups of four rows, each of wPad positions of
// four floats, the four rows' samples of that position. wPad rounds w up
// to whole registers of columns; the positions past w repeat the last one,
// and the rows past h (in the last group) repeat the last row.

// One channel of four rows at position i, as four ints or floats.
inline __m128i channelOf(const uint8_t* const* rows, int i) {
    return _mm_setr_epi32(rows[0][4 * i], rows[1][4 * i], rows[2][4 * i], rows[3][4 * i]);
}
inline __m128 channelOf(const float* const* rows, int i) {
    return _mm_setr_ps(rows[0][4 * i], rows[1][4 * i], rows[2][4 * i], rows[3][4 * i]);
}

// Four positions from i on of four rows' channel, bytes, the rows given by
// their pixels' first bytes: out[p * stride] holds position i + p of the
// four rows. Reads the four pixels whole and nothing past them.
inline void channelOf4(const uint8_t* const* pixels, __m128i pick, int i, V* out, int stride) {
    __m128i a[4];
    for (int r = 0; r < 4; ++r)
        a[r] = _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(pixels[r] + 4 * i)), pick);
    const __m128i t = _mm_unpacklo_epi16(_mm_unpacklo_epi8(a[0], a[1]), _mm_unpacklo_epi8(a[2], a[3]));
    out[0] = widen(_mm_cvtepu8_epi32(t));
    out[stride] = widen(_mm_cvtepu8_epi32(_mm_srli_si128(t, 4)));
    out[2 * stride] = widen(_mm_cvtepu8_epi32(_mm_srli_si128(t, 8)));
    out[3 * stride] = widen(_mm_cvtepu8_epi32(_mm_srli_si128(t, 12)));
}

// R registers of four rows each, from row y0 on, into the intermediate.
template <int R, typename Src>
void rows1(const uint8_t* src, ptrdiff_t srcStride, int channel, int w, int h, int y0, float* pass, int wPad, V* x,
           V* y, const Table& c, bool zeros, bool& outFinite) {
    constexpr bool bytes = std::is_same_v<Src, uint8_t>;
    const Src* rows[R][4];
    const uint8_t* pixels[R][4];
    for (int j = 0; j < R; ++j)
        for (int q = 0; q < 4; ++q) {
            rows[j][q] = rowOf<Src>(src, srcStride, std::min(y0 + 4 * j + q, h - 1)) + channel;
            pixels[j][q] = reinterpret_cast<const uint8_t*>(rows[j][q]) - channel;
        }
    // The channel's byte out of each of four pixels, into the low four.
    const char c0 = static_cast<char>(channel);
    const __m128i pick = _mm_setr_epi8(c0, c0 + 4, c0 + 8, c0 + 12, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1);
    int loaded = 0;
    FiniteCheck in, out;
    float* to = pass + static_cast<size_t>(y0) * wPad;
    filterLines<R>(
        x, y, w, c, zeros && bytes,
        [&](int i) {
            if (i < loaded) return;
            if constexpr (bytes) {
                // Sixteen bytes of a row are four whole pixels of the
                // window.
                if (i + 4 <= w) {
                    for (int j = 0; j < R; ++j) channelOf4(pixels[j], pick, i, &x[i * R + j], R);
                    loaded = i + 4;
                    return;
                }
            }
            for (int j = 0; j < R; ++j) {
                const auto v = channelOf(rows[j], i);
                if constexpr (!bytes) in.add(v);
                x[i * R + j] = widen(v);
            }
            loaded = i + 1;
        },
        [&] { return zeros && (bytes || in.finite()); },
        [&](int i, const V* sum) {
            for (int j = 0; j < R; ++j) {
                const __m128 v = narrow(sum[j]);
                if constexpr (!bytes) out.add(v);
                _mm_store_ps(to + (static_cast<size_t>(j) * wPad + i) * 4, v);
            }
        });
    if (!bytes && !out.finite()) outFinite = false;
    for (int j = 0; j < R; ++j) {
        float* group = to + static_cast<size_t>(j) * wPad * 4;
        for (int i = w; i < wPad; ++i) std::memcpy(group + 4 * i, group + 4 * (w - 1), 16);
    }
}

inline void transpose(__m128& a, __m128& b, __m128& c, __m128& d) { _MM_TRANSPOSE4_PS(a, b, c, d); }

inline void storeChannel(uint8_t* row, int count, V v) {
    const int32_t word = levels(v);
    for (int p = 0; p < count; ++p) row[4 * p] = static_cast<uint8_t>(word >> (8 * p));
}
inline void storeChannel(float* row, int count, V v) {
    alignas(16) float f[4];
    _mm_store_ps(f, narrow(v));
    for (int p = 0; p < count; ++p) row[4 * p] = f[p];
}

// B registers of four columns each, from column x0 on, out of the
// intermediate into dst's channel.
template <int B, typename Dst>
void columns1(uint8_t* dst, ptrdiff_t dstStride, int channel, const float* pass, int w, int h, int wPad, int x0, V* x,
              V* y, const Table& c, bool zeros, bool knownFinite) {
    const size_t groupStride = static_cast<size_t>(wPad) * 4;
    constexpr int kAheadGroups = kAhead / 4;
    int loaded = 0;
    filterLines<B>(
        x, y, h, c, zeros && knownFinite,
        [&](int i) {
            if (i < loaded) return;
            // Four rows at once: a 4 x 4 block of the intermediate per
            // register, turned from rows in lanes to columns in lanes.
            const int g = i / 4;
            const float* at = pass + g * groupStride + x0 * 4;
            if (4 * (g + kAheadGroups) < h) prefetchSpan<0>(at + kAheadGroups * groupStride, B * 64);
            for (int b = 0; b < B; ++b) {
                __m128 q0 = _mm_load_ps(at + 16 * b), q1 = _mm_load_ps(at + 16 * b + 4),
                       q2 = _mm_load_ps(at + 16 * b + 8), q3 = _mm_load_ps(at + 16 * b + 12);
                transpose(q0, q1, q2, q3);
                // Rows past h are the last row again; they are not kept.
                x[i * B + b] = widen(q0);
                if (i + 1 < h) x[(i + 1) * B + b] = widen(q1);
                if (i + 2 < h) x[(i + 2) * B + b] = widen(q2);
                if (i + 3 < h) x[(i + 3) * B + b] = widen(q3);
            }
            loaded = i + 4;
        },
        [&] { return zeros && knownFinite; },
        [&](int i, const V* sum) {
            if (i >= kAhead) prefetchSpan<1>(rowOf<Dst>(dst, dstStride, i - kAhead) + 4 * x0, B * 16 * sizeof(Dst));
            Dst* row = rowOf<Dst>(dst, dstStride, i) + 4 * x0 + channel;
            for (int b = 0; b < B; ++b) storeChannel(row + 16 * b, std::min(4, w - x0 - 4 * b), sum[b]);
        });
}

// Groups per pass: enough independent lines to keep the arithmetic units
// busy through a recursion step's latency.
constexpr int kRows4 = 6;      // rows per group, four channels
constexpr int kColumns4 = 16;  // columns per block, four channels
constexpr int kRows1 = 6;      // registers of four rows, one channel
constexpr int kColumns1 = 6;   // registers of four columns, one channel

inline size_t roundUp(size_t v, size_t to) { return (v + to - 1) / to * to; }

// Runs f<n>(...) for blocks of n lines, the largest first, down to one.
template <int N, typename F>
int forBlocks(int from, int count, int step, F f) {
    if constexpr (N > 1) {
        for (; from + N * step <= count; from += N * step) f(std::integral_constant<int, N>{}, from);
        return forBlocks<N / 2>(from, count, step, f);
    } else {
        for (; from < count; from += step) f(std::integral_constant<int, 1>{}, from);
        return from;
    }
}

}  // namespace

void gaussianReleaseScratch() { Scratch::release(); }

template <int C, typename Src, typename Dst>
HRESULT gaussianBlurVector(uint8_t* dst, int32_t dstStride, int dstChannel, const uint8_t* src, int32_t srcStride,
                           int srcChannel, int32_t w, int32_t h, const GaussianCoefficients& gh,
                           const GaussianCoefficients& gv) {
    // The intermediate stands for the float bitmap of the plain form, so
    // it fails as that one would: refused sizes with the allocator's
    // status.
    BITMAPINFOHEADER header;
    uint32_t bitmapBytes = 0;
    const HRESULT hr =
        QzDibInfo(nullptr, &bitmapBytes, &header, C == 4 ? QzPixelRGBA128 : QzPixelGray32, w, h, nullptr, 0);
    if (hr < 0) return hr;

    const int wPad = C == 4 ? w : static_cast<int>(roundUp(w, 4));
    const size_t passBytes =
        roundUp(C == 4 ? static_cast<size_t>(w) * h * 16 : static_cast<size_t>(wPad) * roundUp(h, 4) * 4, 64);
    // Registers per sample times samples, for the largest group of either
    // pass.
    const size_t group = C == 4 ? std::max(static_cast<size_t>(kRows4) * w, static_cast<size_t>(kColumns4) * h)
                                : std::max(static_cast<size_t>(kRows1) * w, static_cast<size_t>(kColumns1) * h);
    const Scratch scratch(passBytes + 2 * group * sizeof(V));
    // Without scratch memory the call ends quietly with dst as it was.
    if (!scratch.data()) return S_OK;
    auto* pass = reinterpret_cast<float*>(scratch.data());
    V* x = reinterpret_cast<V*>(scratch.data() + passBytes);
    V* y = x + group;

    const ptrdiff_t ss = srcStride, ds = dstStride;
    // Byte samples, and sums of them, are always finite; float ones are
    // watched as they pass.
    bool passFinite = true;
    const Table th = makeTable(gh);
    const Table tv = makeTable(gv);
    const bool zh = zeroTerms(gh), zv = zeroTerms(gv);
    if constexpr (C == 4) {
        forBlocks<kRows4>(0, h, 1, [&](auto n, int row) {
            rows4<decltype(n)::value, Src>(src, ss, w, row, pass, x, y, th, zh, passFinite);
        });
        forBlocks<kColumns4>(0, w, 1, [&](auto n, int column) {
            columns4<decltype(n)::value, Dst>(dst, ds, pass, w, h, column, x, y, tv, zv, passFinite);
        });
    } else {
        forBlocks<kRows1>(0, h, 4, [&](auto n, int row) {
            rows1<decltype(n)::value, Src>(src, ss, srcChannel, w, h, row, pass, wPad, x, y, th, zh, passFinite);
        });
        forBlocks<kColumns1>(0, w, 4, [&](auto n, int column) {
            columns1<decltype(n)::value, Dst>(dst, ds, dstChannel, pass, w, h, wPad, column, x, y, tv, zv, passFinite);
        });
    }
    return S_OK;
}

QZ_GAUSSIAN_VECTOR_FORM(4, uint8_t, uint8_t);
QZ_GAUSSIAN_VECTOR_FORM(4, uint8_t, float);
QZ_GAUSSIAN_VECTOR_FORM(4, float, float);
QZ_GAUSSIAN_VECTOR_FORM(1, uint8_t, uint8_t);
QZ_GAUSSIAN_VECTOR_FORM(1, float, float);

}  // namespace qz
