#include <gtest/gtest.h>

#include "QzDib.h"

namespace {

// The allowed mask is process-wide: each case starts from, and leaves, the
// detected features.
class QzCpuSupport : public ::testing::Test {
protected:
    void SetUp() override { QzSetCPUClassBySupport(); }
    void TearDown() override { QzSetCPUClassBySupport(); }
};

bool vectorVariant() { return (QzGetCPUSupport(4095) & 96) == 96; }

TEST_F(QzCpuSupport, ResultsCarryFeaturesAndTheirClass) {
    const uint32_t all = QzGetCPUSupport(0);
    EXPECT_EQ(all, QzGetCPUSupport(0xFFFFFFFFu)) << "a zero mask means every bit";
    EXPECT_EQ(all & ~(QZCPU_ALLOWABLE | QZCPU_CLASS_MASK), 0u);
    const uint32_t features = all & QZCPU_ALLOWABLE;
    const uint32_t expectedClass = (features & QZCPU_AVX2)    ? 6u
                                   : (features & QZCPU_SSE41) ? 5u
                                   : (features & QZCPU_SSE2)  ? 4u
                                                              : 0u;
    EXPECT_EQ(all & QZCPU_CLASS_MASK, expectedClass);
    EXPECT_EQ(QzGetCPUSupport(QZCPU_SSE2), (features & QZCPU_SSE2) | expectedClass)
        << "the mask selects features, the class is always there";
    EXPECT_EQ(QzGetOSSupport(0), features);
#if defined(__x86_64__)
    EXPECT_NE(features & QZCPU_SSE2, 0u) << "every x86-64 processor has SSE2";
#endif
    EXPECT_GE(QzGetProcessorCount(), 1);
}

TEST_F(QzCpuSupport, TheAllowedMaskSwitchesVariantsOff) {
    const uint32_t detected = QzGetOSSupport(0);
    QzOnlyAllowCPUSupport(QZCPU_SSE2);
    EXPECT_EQ(QzGetCPUSupport(4095), (detected & QZCPU_SSE2) ? QZCPU_SSE2 | 4u : 0u);
    EXPECT_FALSE(vectorVariant());
    EXPECT_EQ(QzGetOSSupport(0), detected) << "the OS view ignores the allowed mask";

    QzAllowCPUSupport(QZCPU_ALLOWABLE);
    EXPECT_EQ(QzGetCPUSupport(4095) & QZCPU_ALLOWABLE, detected);
    QzDisallowCPUSupport(QZCPU_AVX2);
    EXPECT_EQ(QzGetCPUSupport(4095) & QZCPU_AVX2, 0u);
    EXPECT_FALSE(vectorVariant());
    if (detected & QZCPU_SSE41) {
        EXPECT_EQ(QzGetCPUSupport(4095) & QZCPU_CLASS_MASK, 5u);
    }

    // Bits outside the allowable range are ignored, so this allows nothing.
    QzOnlyAllowCPUSupport(0xF000000Fu);
    EXPECT_EQ(QzGetCPUSupport(0), 0u);
    QzSetCPUClassBySupport();
    EXPECT_EQ(QzGetCPUSupport(4095) & QZCPU_ALLOWABLE, detected);
    EXPECT_EQ(vectorVariant(), (detected & 96) == 96);
}

}  // namespace
