// The build step that carries a kernel file inside the module as text.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string_view>

namespace {

constexpr std::string_view kEmbedded =
#include "scale.cl.inc"
    ;

TEST(EmbedKernel, EmbeddedKernelIsTheFileByteForByte) {
    std::ifstream file(ONDU1_TEST_KERNEL_PATH, std::ios::binary);
    ASSERT_TRUE(file);
    std::ostringstream text;
    text << file.rdbuf();
    EXPECT_EQ(kEmbedded, text.str());
    EXPECT_NE(kEmbedded.find("__kernel void kscale("), std::string_view::npos);
}

}  // namespace
