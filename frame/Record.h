// The fields of a plain record, one by one in declaration order, without
// naming them: what lets an effect's values go to its CPU templates and to
// its kernel's argument list from one struct, so that the two cannot drift.
//
// A record is an aggregate with no base classes and at most 24 fields. The
// count is found by trying to brace-initialise it with one braced element
// per field (the inner braces keep an array field to one element, where a
// bare list would spread over its items); the fields are then bound with a
// structured binding of that size.
#pragma once

#include <cstddef>
#include <type_traits>
#include <utility>

namespace OFX {
namespace detail {

// Converts to anything: stands in for one field's initialiser.
struct AnyField {
    template <class T>
    operator T() const;
};

template <class T, std::size_t... I>
constexpr bool initialisableWith(std::index_sequence<I...>) {
    return requires { T{{(static_cast<void>(I), AnyField{})}...}; };
}

template <class T, std::size_t N = 0>
constexpr std::size_t fieldCount() {
    if constexpr (N > 24) {
        return N;
    } else if constexpr (!initialisableWith<T>(std::make_index_sequence<N + 1>{})) {
        return N;
    } else {
        return fieldCount<T, N + 1>();
    }
}

}  // namespace detail

template <class Record>
inline constexpr std::size_t kRecordFields = detail::fieldCount<std::remove_cvref_t<Record>>();

// Calls f(field) for each field of `record` in declaration order.
template <class Record, class F>
void forEachField(Record& record, F&& f) {
    constexpr std::size_t n = kRecordFields<Record>;
    static_assert(std::is_aggregate_v<std::remove_cvref_t<Record>>, "a record is a plain aggregate");
    static_assert(n <= 24, "a record holds at most 24 fields");
#define ONDU1_RECORD_FIELDS(count, ...)                        \
    if constexpr (n == count) {                                \
        auto& [__VA_ARGS__] = record;                          \
        [&](auto&... field) { (f(field), ...); }(__VA_ARGS__); \
    } else
    ONDU1_RECORD_FIELDS(1, a)
    ONDU1_RECORD_FIELDS(2, a, b)
    ONDU1_RECORD_FIELDS(3, a, b, c)
    ONDU1_RECORD_FIELDS(4, a, b, c, d)
    ONDU1_RECORD_FIELDS(5, a, b, c, d, e)
    ONDU1_RECORD_FIELDS(6, a, b, c, d, e, g)
    ONDU1_RECORD_FIELDS(7, a, b, c, d, e, g, h)
    ONDU1_RECORD_FIELDS(8, a, b, c, d, e, g, h, i)
    ONDU1_RECORD_FIELDS(9, a, b, c, d, e, g, h, i, j)
    ONDU1_RECORD_FIELDS(10, a, b, c, d, e, g, h, i, j, k)
    ONDU1_RECORD_FIELDS(11, a, b, c, d, e, g, h, i, j, k, l)
    ONDU1_RECORD_FIELDS(12, a, b, c, d, e, g, h, i, j, k, l, m)
    ONDU1_RECORD_FIELDS(13, a, b, c, d, e, g, h, i, j, k, l, m, o)
    ONDU1_RECORD_FIELDS(14, a, b, c, d, e, g, h, i, j, k, l, m, o, p)
    ONDU1_RECORD_FIELDS(15, a, b, c, d, e, g, h, i, j, k, l, m, o, p, q)
    ONDU1_RECORD_FIELDS(16, a, b, c, d, e, g, h, i, j, k, l, m, o, p, q, r)
    ONDU1_RECORD_FIELDS(17, a, b, c, d, e, g, h, i, j, k, l, m, o, p, q, r, s)
    ONDU1_RECORD_FIELDS(18, a, b, c, d, e, g, h, i, j, k, l, m, o, p, q, r, s, t)
    ONDU1_RECORD_FIELDS(19, a, b, c, d, e, g, h, i, j, k, l, m, o, p, q, r, s, t, u)
    ONDU1_RECORD_FIELDS(20, a, b, c, d, e, g, h, i, j, k, l, m, o, p, q, r, s, t, u, v)
    ONDU1_RECORD_FIELDS(21, a, b, c, d, e, g, h, i, j, k, l, m, o, p, q, r, s, t, u, v, w)
    ONDU1_RECORD_FIELDS(22, a, b, c, d, e, g, h, i, j, k, l, m, o, p, q, r, s, t, u, v, w, x)
    ONDU1_RECORD_FIELDS(23, a, b, c, d, e, g, h, i, j, k, l, m, o, p, q, r, s, t, u, v, w, x, y)
    ONDU1_RECORD_FIELDS(24, a, b, c, d, e, g, h, i, j, k, l, m, o, p, q, r, s, t, u, v, w, x, y, z) {
        static_assert(n == 0, "a record with no fields has nothing to pass");
    }
#undef ONDU1_RECORD_FIELDS
}

}  // namespace OFX
