// Renders of an effect on the host's OpenCL device against its processor
// renders. Every test here skips, saying why, where no OpenCL platform
// exists.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "EffectTest.h"
#include "ofxhost/OpenCLDevice.h"

namespace ondu1test {

inline const char* const kNoOpenCL = "no OpenCL platform (install an ICD, e.g. pocl-opencl-icd)";

// One device for the test program, made on first use (contexts are slow to
// make on some platforms); null where no platform exists. The environment's
// ONDU1_TEST_OPENCL picks it as --opencl=P:D does (e.g. "NVIDIA"); by
// default the first device of the first platform.
std::shared_ptr<ofxhost::OpenCLDevice> openCLDevice();

// A quiet host rendering on that device.
std::shared_ptr<ofxhost::Host> openCLHost(ofxhost::HostConfig config = {});

// The test frame (whose alphas run from about a half to 1) with its bottom
// row starting with twenty pixels at the edges of the point filters'
// formulas: no alpha, alpha at the 1e-6 floor, black, white, greys and pure
// red, and in float colours beyond 0 and 1, alpha above 1, and
// maximum-plus-minimum sums by 0 and 2.
ofxhost::ImageBuffer edgeFrame(int width, int height, const Variant& variant, std::uint32_t seed = 5);

// Renders frame 0 in the variant on the processor and through OpenCL, and
// expects bytes to agree exactly and floats within `floatTolerance`
// (absolute, on the 0..1 scale). Both outputs start as the same fill that no
// effect would draw whole (NaN in float, where NaN matches NaN), so a kernel
// that writes nothing fails, and what an effect leaves as the host gave it
// must be left by both. `what` names the case in failures.
// `byteTolerance` is for the rare effect whose bytes cannot agree exactly;
// it says why where it is used.
void expectOpenCLParity(ofxhost::Instance& instance, const Variant& variant, const std::string& what,
                        double floatTolerance = 1e-6, int byteTolerance = 0);

// The same, for the four variants.
void expectOpenCLParity(ofxhost::Instance& instance, const std::string& what, double floatTolerance = 1e-6);

// One render compared: the effect (its identifier after "talvo.effects:"),
// its settings as "NAME=VALUE;NAME=VALUE" (values may hold commas), and the
// bytes' tolerance (see above).
struct ParityCase {
    std::string effect;
    std::string settings;
    int byteTolerance = 0;
};

// Each case on a fresh instance that `make` creates on the effect, loaded
// once into a host on the test device.
using InstanceMaker = std::function<std::unique_ptr<ofxhost::Instance>(ofxhost::Plugin&)>;
void expectParityCases(const std::vector<ParityCase>& cases, const InstanceMaker& make, const Variant& variant);

// A test name suffix for a variant ("Byte_RGBA").
std::string variantTestName(const ::testing::TestParamInfo<Variant>& info);

}  // namespace ondu1test
