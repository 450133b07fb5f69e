// The vector form of the recursive Gaussian: two channels of a pixel to an
// SSE2 register of doubles, a pixel in two registers.
//
// Each pass filters a group of lines at once: kRows rows in the horizontal
// pass, a block of kColumns adjacent columns in the vertical one. A line's
// recursion is one long chain of dependent additions; the lines of a group
// are independent, so their chains overlap and the arithmetic units stay
// busy. In the vertical pass the block also uses whole cache lines of the
// float bitmap per row instead of one pixel out of every line it touches.
//
// Every sample goes through the same multiplications and additions, in the
// same order, as in gaussianLine, and no fused multiply-add is allowed in
// this file: the results are the plain form's to the bit.
#include "QzGaussianVector.h"

#include <immintrin.h>
#include <sys/mman.h>

#include <algorithm>
#include <cstddef>
#include <cstring>

// AVX only for its three-operand encodings of the same two-lane
// instructions; the form is chosen only where AVX2 is present. No "fma":
// a fused multiply-add rounds once where the plain form rounds twice.
#pragma GCC target("avx2")

namespace qz {
namespace {

constexpr int kRows = 4;      // rows per group in the horizontal pass
constexpr int kColumns = 16;  // columns per block in the vertical pass

// Scratch memory from whole pages of its own, asked to be backed by huge
// pages: the intermediate image of a UHD frame is over a hundred
// megabytes, touched once per call, and taking it a small page at a time
// costs more than both passes' arithmetic.
class PageBuffer {
public:
    explicit PageBuffer(size_t bytes) : bytes_(bytes) {
        void* p = mmap(nullptr, bytes_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        data_ = p == MAP_FAILED ? nullptr : p;
        // Only advice: where huge pages are off, small ones serve.
        if (data_) madvise(data_, bytes_, MADV_HUGEPAGE);
    }
    ~PageBuffer() {
        if (data_) munmap(data_, bytes_);
    }
    PageBuffer(const PageBuffer&) = delete;
    PageBuffer& operator=(const PageBuffer&) = delete;

    template <typename T>
    T* get() const {
        return static_cast<T*>(data_);
    }

private:
    size_t bytes_;
    void* data_;
};

// One tap of the recursion with its coefficients side by side, each in
// both lanes: np, dp, nm as they are, and the edge gains np - bp, nm - bm
// that stand in for the samples beyond the line's ends.
struct Tap {
    __m128d np, dp, nm, ep, em;
};

struct Table {
    Tap tap[5];
};

Table makeTable(const GaussianCoefficients& g) {
    Table t;
    for (int k = 0; k < 5; ++k)
        t.tap[k] = Tap{_mm_set1_pd(g.np[k]), _mm_set1_pd(g.dp[k]), _mm_set1_pd(g.nm[k]), _mm_set1_pd(g.np[k] - g.bp[k]),
                       _mm_set1_pd(g.nm[k] - g.bm[k])};
    return t;
}

// flushTiny without a branch. "Not less than" keeps a NaN, as the scalar
// comparison does; the cleared lanes become +0, as there.
inline __m128d flushTiny(__m128d s) {
    const __m128d magnitude = _mm_andnot_pd(_mm_set1_pd(-0.0), s);
    return _mm_and_pd(s, _mm_cmpnlt_pd(magnitude, _mm_set1_pd(1e-17)));
}

// A group of L registers per sample; x and y hold n samples of L
// registers each, x the input and y the forward response, which the
// backward sweep replaces with its own as it goes. T is the number of
// earlier samples in the line, up to the four taps; the edge gains stand
// in for the rest.
template <int L, int T>
inline void forwardStep(const __m128d* x, __m128d* y, int i, const Table& c) {
    for (int j = 0; j < L; ++j) {
        __m128d s = _mm_mul_pd(c.tap[0].np, x[i * L + j]);
#pragma GCC unroll 4
        for (int k = 1; k <= T; ++k)
            s = _mm_add_pd(s, _mm_sub_pd(_mm_mul_pd(c.tap[k].np, x[(i - k) * L + j]),
                                         _mm_mul_pd(c.tap[k].dp, y[(i - k) * L + j])));
#pragma GCC unroll 4
        for (int k = T + 1; k <= 4; ++k) s = _mm_add_pd(s, _mm_mul_pd(c.tap[k].ep, x[j]));
        y[i * L + j] = flushTiny(s);
    }
}

template <int L, int T, typename Out>
inline void backwardStep(const __m128d* x, __m128d* y, int n, int i, const Table& c, Out& out) {
    __m128d sum[L];
    for (int j = 0; j < L; ++j) {
        __m128d s = _mm_mul_pd(c.tap[0].nm, x[i * L + j]);
#pragma GCC unroll 4
        for (int k = 1; k <= T; ++k)
            s = _mm_add_pd(s, _mm_sub_pd(_mm_mul_pd(c.tap[k].nm, x[(i + k) * L + j]),
                                         _mm_mul_pd(c.tap[k].dp, y[(i + k) * L + j])));
#pragma GCC unroll 4
        for (int k = T + 1; k <= 4; ++k) s = _mm_add_pd(s, _mm_mul_pd(c.tap[k].em, x[(n - 1) * L + j]));
        const __m128d ym = flushTiny(s);
        sum[j] = _mm_add_pd(y[i * L + j], ym);
        y[i * L + j] = ym;
    }
    out(i, sum);
}

// Runs both directions over the group and hands each sample's sums,
// forward plus backward, to out(i, sums), last sample first.
template <int L, typename Out>
void filterGroup(const __m128d* x, __m128d* y, int n, const Table& table, Out out) {
    // A copy the stores to y cannot reach, so that the coefficients may
    // stay in registers.
    const Table c = table;
    // The first and last four samples of a line, or all of a shorter one.
    const auto forwardEdge = [&](int i) {
        switch (i) {
            case 0: return forwardStep<L, 0>(x, y, i, c);
            case 1: return forwardStep<L, 1>(x, y, i, c);
            case 2: return forwardStep<L, 2>(x, y, i, c);
            default: return forwardStep<L, 3>(x, y, i, c);
        }
    };
    const auto backwardEdge = [&](int i) {
        switch (n - 1 - i) {
            case 0: return backwardStep<L, 0>(x, y, n, i, c, out);
            case 1: return backwardStep<L, 1>(x, y, n, i, c, out);
            case 2: return backwardStep<L, 2>(x, y, n, i, c, out);
            default: return backwardStep<L, 3>(x, y, n, i, c, out);
        }
    };
    const int head = std::min(n, 4);
    for (int i = 0; i < head; ++i) forwardEdge(i);
    for (int i = head; i < n; ++i) forwardStep<L, 4>(x, y, i, c);
    const int tail = std::max(n - 4, 0);
    for (int i = n - 1; i >= tail; --i) backwardEdge(i);
    for (int i = tail - 1; i >= 0; --i) backwardStep<L, 4>(x, y, n, i, c, out);
}

// A pixel's four samples as two registers of doubles.
inline void load(const uint8_t* p, __m128d* v) {
    int32_t word;
    std::memcpy(&word, p, 4);
    const __m128i q = _mm_cvtepu8_epi32(_mm_cvtsi32_si128(word));
    v[0] = _mm_cvtepi32_pd(q);
    v[1] = _mm_cvtepi32_pd(_mm_unpackhi_epi64(q, q));
}

inline void load(const float* p, __m128d* v) {
    const __m128 q = _mm_loadu_ps(p);
    v[0] = _mm_cvtps_pd(q);
    v[1] = _mm_cvtps_pd(_mm_movehl_ps(q, q));
}

inline void store(float* p, __m128d lo, __m128d hi) {
    _mm_storeu_ps(p, _mm_movelh_ps(_mm_cvtpd_ps(lo), _mm_cvtpd_ps(hi)));
}

// As the plain form: nearbyint, then the clamp to 0 to 255.
inline void store(uint8_t* p, __m128d lo, __m128d hi) {
    const auto level = [](__m128d v) {
        const __m128d r = _mm_round_pd(v, _MM_FROUND_NEARBYINT);
        return _mm_cvttpd_epi32(_mm_min_pd(_mm_max_pd(r, _mm_setzero_pd()), _mm_set1_pd(255.0)));
    };
    const __m128i q = _mm_unpacklo_epi64(level(lo), level(hi));
    const __m128i words = _mm_packus_epi32(q, q);
    const int32_t word = _mm_cvtsi128_si32(_mm_packus_epi16(words, words));
    std::memcpy(p, &word, 4);
}

// R rows from y0 on into the float bitmap, R pixels side by side per
// sample of the group.
template <int R, typename Src>
void filterRows(const uint8_t* src, int32_t srcStride, int w, int y0, float* pass, __m128d* x, __m128d* y,
                const Table& c) {
    constexpr int L = 2 * R;
    for (int r = 0; r < R; ++r) {
        const auto* row = reinterpret_cast<const Src*>(src + static_cast<ptrdiff_t>(y0 + r) * srcStride);
        for (int i = 0; i < w; ++i) load(row + 4 * i, &x[i * L + 2 * r]);
    }
    float* out = pass + static_cast<size_t>(y0) * w * 4;
    filterGroup<L>(x, y, w, c, [&](int i, const __m128d* sum) {
        for (int r = 0; r < R; ++r) store(out + (static_cast<size_t>(r) * w + i) * 4, sum[2 * r], sum[2 * r + 1]);
    });
}

// Touches a block's span of a row ahead of use. Rows are a page or more
// apart, and the processor's own prefetchers do not cross pages.
template <int Write>
inline void prefetchSpan(const void* p, size_t bytes) {
    const auto* b = static_cast<const char*>(p);
    for (size_t o = 0; o < bytes; o += 64) __builtin_prefetch(b + o, Write, 3);
    __builtin_prefetch(b + bytes - 1, Write, 3);
}

constexpr int kAhead = 16;  // rows of prefetch distance in the vertical pass

// B columns from x0 on out of the float bitmap into dst.
template <int B, typename Dst>
void filterColumns(uint8_t* dst, int32_t dstStride, const float* pass, int w, int h, int x0, __m128d* x, __m128d* y,
                   const Table& c) {
    constexpr int L = 2 * B;
    const size_t passStride = static_cast<size_t>(w) * 4;
    for (int i = 0; i < h; ++i) {
        const float* row = pass + i * passStride + x0 * 4;
        if (i + kAhead < h) prefetchSpan<0>(row + kAhead * passStride, B * 16);
        for (int b = 0; b < B; ++b) load(row + 4 * b, &x[i * L + 2 * b]);
    }
    const auto rowAt = [&](int i) {
        return reinterpret_cast<Dst*>(dst + static_cast<ptrdiff_t>(i) * dstStride) + 4 * x0;
    };
    filterGroup<L>(x, y, h, c, [&](int i, const __m128d* sum) {
        if (i >= kAhead) prefetchSpan<1>(rowAt(i - kAhead), B * 4 * sizeof(Dst));
        Dst* row = rowAt(i);
        for (int b = 0; b < B; ++b) store(row + 4 * b, sum[2 * b], sum[2 * b + 1]);
    });
}

}  // namespace

template <typename Src, typename Dst>
HRESULT gaussianBlurVector(uint8_t* dst, int32_t dstStride, const uint8_t* src, int32_t srcStride, int32_t w, int32_t h,
                           const GaussianCoefficients& gh, const GaussianCoefficients& gv) {
    // The intermediate is the float bitmap of the plain form, so it fails
    // as that one would: refused sizes with the allocator's status.
    BITMAPINFOHEADER header;
    uint32_t passBytes = 0;
    const HRESULT hr = QzDibInfo(nullptr, &passBytes, &header, QzPixelRGBA128, w, h, nullptr, 0);
    if (hr < 0) return hr;
    const PageBuffer passBuffer(passBytes);
    auto* pass = passBuffer.get<float>();
    if (!pass) return E_OUTOFMEMORY;

    // Two registers per pixel, for the longest group of either pass.
    const size_t group = 2 * std::max(static_cast<size_t>(kRows) * w, static_cast<size_t>(kColumns) * h);
    const PageBuffer lines(2 * group * sizeof(__m128d));
    // Without scratch lines the call ends quietly with dst as it was.
    if (!lines.get<__m128d>()) return S_OK;
    __m128d* x = lines.get<__m128d>();
    __m128d* y = x + group;

    const Table th = makeTable(gh);
    int32_t row = 0;
    for (; row + kRows <= h; row += kRows) filterRows<kRows, Src>(src, srcStride, w, row, pass, x, y, th);
    for (; row < h; ++row) filterRows<1, Src>(src, srcStride, w, row, pass, x, y, th);

    const Table tv = makeTable(gv);
    int32_t column = 0;
    for (; column + kColumns <= w; column += kColumns)
        filterColumns<kColumns, Dst>(dst, dstStride, pass, w, h, column, x, y, tv);
    for (; column < w; ++column) filterColumns<1, Dst>(dst, dstStride, pass, w, h, column, x, y, tv);
    return S_OK;
}

template HRESULT gaussianBlurVector<uint8_t, uint8_t>(uint8_t*, int32_t, const uint8_t*, int32_t, int32_t, int32_t,
                                                      const GaussianCoefficients&, const GaussianCoefficients&);
template HRESULT gaussianBlurVector<uint8_t, float>(uint8_t*, int32_t, const uint8_t*, int32_t, int32_t, int32_t,
                                                    const GaussianCoefficients&, const GaussianCoefficients&);
template HRESULT gaussianBlurVector<float, float>(uint8_t*, int32_t, const uint8_t*, int32_t, int32_t, int32_t,
                                                  const GaussianCoefficients&, const GaussianCoefficients&);

}  // namespace qz
