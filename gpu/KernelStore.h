// The program texts of the effects' kernels. An effect keeps its text plain,
// embedded at build time from the .cl file beside its source, or packed as a
// stream of word numbers into a word table and joined only when the program
// is compiled. Either way the program is built from the exact length first,
// then the text.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <variant>

// Joins the words that `stream` names, in order, with one blank behind each
// (the last included), into `buffer`, and ends the text with a zero. The
// buffer holds the joined length plus one; the join stops at the first
// word that would not fit.
void joinKernelText(const char* const* words, std::span<const std::uint8_t> stream, std::span<char> buffer);
void joinKernelText(const char* const* words, std::span<const std::uint16_t> stream, std::span<char> buffer);

// A packed text: byte word numbers suit the small kernels, 16-bit ones the
// rest.
template <class WordNumber>
struct PackedKernelText {
    const char* const* words;  // the word table, filled before any load
    std::span<const WordNumber> stream;
    std::size_t length;  // the exact length of the joined text
};

class KernelText {
public:
    constexpr explicit KernelText(std::string_view plain) : text_(plain) {}
    constexpr explicit KernelText(PackedKernelText<std::uint8_t> packed) : text_(packed) {}
    constexpr explicit KernelText(PackedKernelText<std::uint16_t> packed) : text_(packed) {}

    std::size_t length() const;
    // Writes the text into a zeroed buffer of length() + 1 bytes.
    void write(std::span<char> buffer) const;

private:
    std::variant<std::string_view, PackedKernelText<std::uint8_t>, PackedKernelText<std::uint16_t>> text_;
};
