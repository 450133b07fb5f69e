// The exchange's read and write functions: one and four pixels of every
// type at every width it offers.
#include "QzXchgCodecs.h"

namespace qz::xchg {
namespace {

template <QzPixelType T, int W, int V, FloatRead M>
void readOne(const QzXCHG* e, const uint8_t* row, int32_t x, void* out) {
    *static_cast<Form<W>*>(out) = loadPixel<T, W, V, M>(*e, row, x);
}

template <QzPixelType T, int W, int V, FloatRead M>
void readFour(const QzXCHG* e, const uint8_t* row, int32_t x, void* out) {
    auto* p = static_cast<Form<W>*>(out);
    for (int i = 0; i < 4; ++i) p[i] = loadPixel<T, W, V, M>(*e, row, x + i);
}

template <QzPixelType T, int W, FloatWrite M>
void writeOne(const QzXCHG* e, uint8_t* row, int32_t x, const void* in) {
    storePixel<T, W, M>(*e, row, x, *static_cast<const Form<W>*>(in));
}

template <QzPixelType T, int W, FloatWrite M>
void writeFour(const QzXCHG* e, uint8_t* row, int32_t x, const void* in) {
    const auto* p = static_cast<const Form<W>*>(in);
    for (int i = 0; i < 4; ++i) storePixel<T, W, M>(*e, row, x + i, p[i]);
}

template <QzPixelType T, int W, int V, FloatRead M>
ReadSet reads() {
    return ReadSet{&readOne<T, W, V, M>, &readFour<T, W, V, M>};
}

template <QzPixelType T, int W, FloatWrite M>
WriteSet writes() {
    return WriteSet{&writeOne<T, W, M>, &writeFour<T, W, M>};
}

}  // namespace

ReadSet readSet(QzPixelType type, int32_t width, int32_t variant, FloatRead mode) {
    return withCodec<ReadSet>(type, [&]<QzPixelType T>() -> ReadSet {
        if constexpr (offersWidth<T>(0)) {
            if (width == 0) return reads<T, 0, 0, FloatRead::Plain>();
        }
        if constexpr (offersWidth<T>(2)) {
            if (width == 2) return reads<T, 2, 0, FloatRead::Plain>();
        }
        if (width != 1) return {};
        if constexpr (Codec<T>::depth == Depth::Float) {
            return mode == FloatRead::Curve ? reads<T, 1, 0, FloatRead::Curve>() : reads<T, 1, 0, FloatRead::Plain>();
        } else if constexpr (Codec<T>::depth == Depth::Byte) {
            return variant ? reads<T, 1, 1, FloatRead::Plain>() : reads<T, 1, 0, FloatRead::Plain>();
        } else {
            return reads<T, 1, 0, FloatRead::Plain>();
        }
    });
}

WriteSet writeSet(QzPixelType type, int32_t width, FloatWrite mode) {
    return withCodec<WriteSet>(type, [&]<QzPixelType T>() -> WriteSet {
        if constexpr (offersWidth<T>(0)) {
            if (width == 0) return writes<T, 0, FloatWrite::Exact>();
        }
        if constexpr (offersWidth<T>(2)) {
            if (width == 2) return writes<T, 2, FloatWrite::Exact>();
        }
        if (width != 1) return {};
        if constexpr (Codec<T>::depth == Depth::Float) {
            switch (mode) {
                case FloatWrite::ByteTable: return writes<T, 1, FloatWrite::ByteTable>();
                case FloatWrite::Curve: return writes<T, 1, FloatWrite::Curve>();
                default: return writes<T, 1, FloatWrite::Exact>();
            }
        } else {
            return writes<T, 1, FloatWrite::Exact>();
        }
    });
}

}  // namespace qz::xchg
