#include "KernelStore.h"

#include <algorithm>
#include <cstring>
#include <type_traits>

namespace {

template <class WordNumber>
void join(const char* const* words, std::span<const WordNumber> stream, std::span<char> buffer) {
    if (buffer.empty()) return;
    buffer[0] = '\0';
    std::size_t end = 0;
    for (const WordNumber number : stream) {
        const char* word = words[number];
        const std::size_t length = std::strlen(word);
        if (end + length + 1 >= buffer.size()) return;
        std::memcpy(buffer.data() + end, word, length);
        end += length;
        buffer[end++] = ' ';
        buffer[end] = '\0';
    }
}

}  // namespace

void joinKernelText(const char* const* words, std::span<const std::uint8_t> stream, std::span<char> buffer) {
    join(words, stream, buffer);
}

void joinKernelText(const char* const* words, std::span<const std::uint16_t> stream, std::span<char> buffer) {
    join(words, stream, buffer);
}

std::size_t KernelText::length() const {
    return std::visit([](const auto& text) -> std::size_t {
        if constexpr (std::is_same_v<std::decay_t<decltype(text)>, std::string_view>)
            return text.size();
        else
            return text.length;
    }, text_);
}

void KernelText::write(std::span<char> buffer) const {
    std::visit([&](const auto& text) {
        if constexpr (std::is_same_v<std::decay_t<decltype(text)>, std::string_view>)
            std::copy_n(text.data(), std::min(text.size(), buffer.empty() ? 0 : buffer.size() - 1), buffer.data());
        else
            joinKernelText(text.words, text.stream, buffer);
    }, text_);
}
