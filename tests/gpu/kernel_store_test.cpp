#include "KernelStore.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace {

const char* const kWords[] = {"__kernel", "void", "k0123456789(", "__global", "float*", "v)", "{", "}"};

TEST(KernelStore, JoinStopsAtTheEndOfTheBuffer) {
    // A stated length that is too short must not write past the buffer.
    const std::uint8_t stream[] = {0, 1, 2};
    std::vector<char> memory(32, '#');
    joinKernelText(kWords, std::span<const std::uint8_t>(stream), std::span<char>(memory.data(), 12));
    EXPECT_EQ(std::string(memory.data()), "__kernel ");
    EXPECT_EQ(memory[12], '#');
}

TEST(KernelStore, PackedAndPlainTextsGiveTheirLengthAndText) {
    // Repeated words, 16-bit word numbers.
    const std::uint16_t stream[] = {6, 7, 6, 7};
    const KernelText packed(PackedKernelText<std::uint16_t>{kWords, stream, 8});
    const KernelText plain(std::string_view("{ } { } "));
    for (const KernelText* text : {&packed, &plain}) {
        ASSERT_EQ(text->length(), 8u);
        std::vector<char> buffer(text->length() + 1, '\0');
        text->write(buffer);
        EXPECT_EQ(std::string(buffer.data()), "{ } { } ");
    }
}

constexpr std::string_view kEmbedded =
#include "scale.cl.inc"
    ;

TEST(KernelStore, EmbeddedKernelIsTheFileByteForByte) {
    std::ifstream file(ONDU1_TEST_KERNEL_PATH, std::ios::binary);
    ASSERT_TRUE(file);
    std::ostringstream text;
    text << file.rdbuf();
    EXPECT_EQ(kEmbedded, text.str());
    EXPECT_NE(kEmbedded.find("__kernel void kscale("), std::string_view::npos);
}

}  // namespace
