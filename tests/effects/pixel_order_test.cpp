// Every effect draws one picture whatever the pixel order of memory: a BGRA
// render and an RGBA render of the same frame and settings agree colour by
// colour, to the bit, in bytes and in floats. Checked at the defaults and at
// settings that move colours apart (non-grey colours, unequal weights), on
// a colourful source for the filters.
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "EffectTest.h"

using namespace ondu1test;
using ofxhost::Depth;
using ofxhost::PixelOrder;

namespace {

struct OrderCase {
    std::string effect;  // after "talvo.effects:"
    bool generator;
    std::vector<std::pair<std::string, std::string>> settings;  // empty: the defaults
};

std::vector<OrderCase> cases() {
    return {
        {"invert", false, {}},
        {"invert", false, {{"BlendAmount", "0.6"}}},
        {"blackandwhite", false, {}},
        {"blackandwhite", false, {{"BlendAmount", "0.7"}}},
        {"sepia", false, {}},
        // Each of the three zones of the strength.
        {"sepia", false, {{"Color", "0.9,0.35,0.1"}, {"BlendingStrength", "0.25"}}},
        {"sepia", false, {{"Color", "0.9,0.5,0.2"}, {"BlendingStrength", "0.4"}, {"BlendingFalloff", "0.3"}}},
        {"sepia", false, {{"Color", "0.9,0.5,0.2"}, {"BlendingStrength", "0.9"}, {"BlendingFalloff", "0.2"}}},
        {"saturationadjust", false, {}},
        {"saturationadjust", false, {{"Amount", "0.6"}, {"Low", "0.3"}, {"High", "-0.4"}}},
        {"hsladjust", false, {}},
        {"hsladjust", false, {{"Output", "0.3"}, {"Saturation", "1.4"}, {"Luminance", "0.8"}}},
        {"labadjust", false, {}},
        {"labadjust", false, {{"Lightness", "1.2"}, {"lightness", "0.3"}, {"Channelb", "-0.4"}}},
        {"colorbalance", false, {}},
        {"colorbalance", false, {{"Red", "0.3"}, {"Blue", "-0.2"}, {"Type", "2"}}},
        {"colorbalance", false, {{"Green", "0.4"}, {"Type", "0"}, {"PreserveLuminosity", "false"}}},
        {"channelblend", false, {}},
        {"channelblend", false, {{"RED weight G", "0.5"}, {"BLUE weight R", "0.7"}, {"GREEN weight A", "0.2"}}},
        {"brightnessandcontrast", false, {}},
        {"brightnessandcontrast", false, {{"Brightness", "0.2"}, {"Contrast", "0.3"}}},
        // Ranges in pixels of the 17-line frame.
        {"gaussianblur", false, {}},
        {"gaussianblur", false, {{"HorizontalRange", "3.4"}, {"VerticalRange", "1"}, {"Red", "false"}}},
        {"gaussianblur", false, {{"Blue", "false"}, {"Alpha", "false"}}},
        {"quickblur", false, {{"BlendAmount", "1"}}},
        {"quickblur", false, {{"BlendAmount", "0.4"}}},
        {"unsharpmask", false, {}},
        {"unsharpmask", false, {{"amount", "3"}, {"radius", "0.15"}, {"threshold", "0.04"}}},
        {"unsharpmask", false, {{"amount", "-0.6"}, {"radius", "0.3"}}},
        {"chromablur", false, {}},
        {"chromablur", false, {{"HorizontalPixels", "4.2"}, {"VerticalPixels", "1.5"}}},
        {"radialblur", false, {{"Strength", "0.85"}, {"Center", "0.2,0.6"}}},
        {"radialblur", false, {{"Strength", "0.9"}, {"Type", "1"}}},
        {"linearblur", false, {}},
        {"linearblur", false, {{"Angle", "37"}, {"Amount", "0.2"}}},
        {"linearblur", false, {{"Angle", "118"}, {"Amount", "0.4"}}},
        {"sharpen", false, {}},
        {"sharpen", false, {{"amount", "0.9"}}},
        {"sharpen", false, {{"amount", "0.08"}}},
        {"convolutionkernel", false, {}},
        {"convolutionkernel", false,
         {{"row1column1", "0.5"}, {"row1column2", "-1"}, {"row1column3", "0.25"}, {"row2column1", "1"},
          {"row2column2", "2"}, {"row2column3", "-0.75"}, {"row3column2", "1"}, {"row3column3", "-0.5"},
          {"rotation", "30"}, {"offset", "0.1"}, {"autonormalize", "true"}}},
        {"solidcolor", true, {{"Color", "1,0.5,0,1"}}},
        {"checkerboard", true, {}},
        {"checkerboard", true,
         {{"Color1", "1,0.5,0,1"}, {"Color2", "0,0.3,0.9,0.8"}, {"EdgeBlendingHorizontal", "0.3"}}},
        {"noisetexture", true, {}},
        {"noisetexture", true, {{"Color1", "1,0.5,0,1"}, {"Color2", "0.1,0.2,0.9,1"}}},
        {"testpattern", true, {}},
    };
}

TEST(EveryEffect, DrawsOnePictureInBothPixelOrders) {
    const auto host = quietHost();
    // A colourful frame with every alpha from about a half to 1.
    const auto source = ofxhost::ImageBuffer::testFrame(29, 17, Depth::Float, PixelOrder::RGBA, 21);
    for (const OrderCase& c : cases()) {
        auto plugin = loadEffect(host, "talvo.effects:" + c.effect);
        auto instance = c.generator ? generatorOf(*plugin, 29, 17) : filterOn(*plugin, source);
        std::string what = c.effect;
        for (const auto& [name, value] : c.settings) {
            instance->setValueText(name, value);
            what += " " + name + "=" + value;
        }
        expectOnePicture(*instance, Depth::Byte, what);
        expectOnePicture(*instance, Depth::Float, what);
    }
}

}  // namespace
