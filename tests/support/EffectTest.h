// Shared pieces of the effect tests: the bundle under test loaded into a
// quiet host, and renders of a filter in the four pixel variants (byte and
// float, RGBA and BGRA) so that each can be compared with one reference.
#pragma once

#include <array>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "ofxhost/Bundle.h"
#include "ofxhost/Host.h"
#include "ofxhost/Instance.h"
#include "ofxhost/Plugin.h"

namespace ondu1test {

inline const std::string kBundle = ONDU1_BUNDLE_DIR;

struct Variant {
    ofxhost::Depth depth;
    ofxhost::PixelOrder order;
};
inline constexpr std::array<Variant, 4> kAllVariants{{
    {ofxhost::Depth::Byte, ofxhost::PixelOrder::RGBA},
    {ofxhost::Depth::Byte, ofxhost::PixelOrder::BGRA},
    {ofxhost::Depth::Float, ofxhost::PixelOrder::RGBA},
    {ofxhost::Depth::Float, ofxhost::PixelOrder::BGRA},
}};
std::string variantName(const Variant& v);

// A host that keeps messages instead of printing them, with three threads.
std::shared_ptr<ofxhost::Host> quietHost(ofxhost::HostConfig config = {});
// Loads one effect of a bundle (the bundle under test by default).
std::shared_ptr<ofxhost::Plugin> loadEffect(const std::shared_ptr<ofxhost::Host>& host, const std::string& id,
                                            const std::string& bundle = kBundle);

// A filter instance on one source image, sized to it.
std::unique_ptr<ofxhost::Instance> filterOn(ofxhost::Plugin& plugin, const ofxhost::ImageBuffer& source);

// A generator instance drawing a frame of the given size.
std::unique_ptr<ofxhost::Instance> generatorOf(ofxhost::Plugin& plugin, int width, int height);
// An instance in the first context the plug-in declares, on a frame of the
// given size, with a colourful test frame on every input clip; null when the
// plug-in declares no context.
std::unique_ptr<ofxhost::Instance> instanceInFirstContext(ofxhost::Plugin& plugin, int width, int height);

// Renders frame 0 with the given depth and order; fails the test on a status
// other than OK.
ofxhost::ImageBuffer renderVariant(ofxhost::Instance& instance, const Variant& variant);

// The four-variant check. Renders frame 0 of `instance` in byte and float,
// RGBA and BGRA, and compares each render, colour by colour (so the pixel
// order of memory does not matter), with the reference of its depth: images
// in any order, compared red with red. Bytes must agree exactly; floats
// within `floatTolerance` (0: to the bit, NaN matching NaN). A test thus
// states its reference once per depth, and the same picture is demanded of
// both pixel orders.
struct References {
    const ofxhost::ImageBuffer& bytes;
    const ofxhost::ImageBuffer& floats;
};
void expectFourVariants(ofxhost::Instance& instance, const References& references, float floatTolerance = 0.0f);

// Renders `instance` in RGBA and BGRA at `depth` and expects one picture:
// every colour channel equal, to the bit. The source (if any) is the same
// picture in both orders, converted by the host.
void expectOnePicture(ofxhost::Instance& instance, ofxhost::Depth depth, const std::string& what);

// Colour-by-colour comparison of two images of one depth: the first
// difference, or an empty string when they agree.
std::string firstDifference(const ofxhost::ImageBuffer& got, const ofxhost::ImageBuffer& want,
                            float floatTolerance = 0.0f);

// One pixel in colour order (red, green, blue, alpha), in the image's own
// depth: 0..255 for bytes.
using Rgba = std::array<float, 4>;
Rgba pixelAt(const ofxhost::ImageBuffer& image, int x, int y);
// An image of one row holding the given pixels, in colour order.
ofxhost::ImageBuffer rowImage(const std::vector<Rgba>& pixels, ofxhost::Depth depth,
                              ofxhost::PixelOrder order = ofxhost::PixelOrder::RGBA);

// One row of an effect's parameter table, as `ofxrender describe` shows it.
struct ParamRow {
    std::string name, label, scriptName;
    std::string type;             // without the prefix: "Double", "Group", "PushButton", ...
    std::string defaultValue;     // one-line JSON: "1", "[0.5,0.5,0]", "true", "null"
    std::vector<double> range;    // {min, max}, per dimension; empty where the type has none
    std::vector<double> display;  // {displayMin, displayMax}, likewise
    std::optional<double> increment;
    std::string parent;
    std::vector<std::string> options;
    bool animates = true;
};

// Describes the effect in the context and checks every non-page parameter
// against the rows, in order, and that there are no others.
void expectParamTable(ofxhost::Plugin& plugin, const std::string& context, const std::vector<ParamRow>& rows);

}  // namespace ondu1test
