// An effect's parameters, each described once. A row is a named constant of
// the effect that carries everything about one parameter: identifier,
// labels, script name, default, range, display range, step, group, flags.
// The same row defines the parameter while the effect is described, and
// reads its value on a live instance at a time; the effect's table lists its
// rows in panel order, so that the frame can define and fetch them all.
//
// One label serves the three label lengths. A row that leaves out its label
// or its script name takes its identifier for it, so that an identifier is
// written once even where the panel shows it as it is; an empty script name
// writes none. Rows nest in groups by pointing at the group's row, which
// stands earlier in the table.
#pragma once

#include <array>
#include <string>
#include <tuple>

#include "ParamDescriptors.h"
#include "Params.h"

namespace OFX {

class ImageEffectDescriptor;

struct GroupRow {
    const char* name;
    const char* label = nullptr;
    const GroupRow* group = nullptr;
    bool open = true;

    void define(ParamSetDescriptor& desc) const;
    void fetch(ParamSet& params) const;
};

// A page of the panel beside "Controls", which the frame makes itself.
struct PageRow {
    const char* name;
    const char* label = nullptr;

    void define(ParamSetDescriptor& desc) const;
    void fetch(ParamSet& params) const;
};

struct DoubleRow {
    const char* name;
    const char* label = nullptr;
    const char* scriptName = nullptr;
    double defaultValue = 0.0;
    double min = 0.0;
    double max = 1.0;
    double increment = 0.1;
    // 0 to 0: the range itself.
    double displayMin = 0.0;
    double displayMax = 0.0;
    const GroupRow* group = nullptr;
    int digits = 0;  // 0: the host's choice
    ParamDoubleTypeEnum doubleType = eDoubleTypePlain;
    bool animates = true;

    void define(ParamSetDescriptor& desc) const;
    void fetch(ParamSet& params) const;
    double value(ParamSet& params, double time) const;
    DoubleParam& param(ParamSet& params) const;
};

struct Double2DRow {
    const char* name;
    const char* label = nullptr;
    const char* scriptName = nullptr;
    std::array<double, 2> defaultValue{};
    std::array<double, 2> min{};
    std::array<double, 2> max{1.0, 1.0};
    double increment = 0.1;
    const GroupRow* group = nullptr;
    ParamDoubleTypeEnum doubleType = eDoubleTypePlain;
    DefaultCoordinateSystem coordinates = eCoordinatesCanonical;
    bool animates = true;

    void define(ParamSetDescriptor& desc) const;
    void fetch(ParamSet& params) const;
    std::array<double, 2> value(ParamSet& params, double time) const;
};

struct IntRow {
    const char* name;
    const char* label = nullptr;
    const char* scriptName = nullptr;
    int defaultValue = 0;
    int min = 0;
    int max = 100;
    // 0 to 0: the range itself.
    int displayMin = 0;
    int displayMax = 0;
    const GroupRow* group = nullptr;
    bool animates = true;

    void define(ParamSetDescriptor& desc) const;
    void fetch(ParamSet& params) const;
    int value(ParamSet& params, double time) const;
};

struct Int2DRow {
    const char* name;
    const char* label = nullptr;
    const char* scriptName = nullptr;
    std::array<int, 2> defaultValue{};
    std::array<int, 2> min{};
    std::array<int, 2> max{100, 100};
    const GroupRow* group = nullptr;
    bool animates = true;

    void define(ParamSetDescriptor& desc) const;
    void fetch(ParamSet& params) const;
    std::array<int, 2> value(ParamSet& params, double time) const;
};

struct BooleanRow {
    const char* name;
    const char* label = nullptr;
    const char* scriptName = nullptr;
    bool defaultValue = false;
    const GroupRow* group = nullptr;
    bool animates = true;

    void define(ParamSetDescriptor& desc) const;
    void fetch(ParamSet& params) const;
    bool value(ParamSet& params, double time) const;
    BooleanParam& param(ParamSet& params) const;
};

// The options are listed up to the first null; the value is the option's
// index.
struct ChoiceRow {
    const char* name;
    const char* label = nullptr;
    const char* scriptName = nullptr;
    std::array<const char*, 32> options{};
    int defaultValue = 0;
    const GroupRow* group = nullptr;
    bool animates = true;

    void define(ParamSetDescriptor& desc) const;
    void fetch(ParamSet& params) const;
    int value(ParamSet& params, double time) const;
};

// Colours are read red, green, blue (and alpha), whatever the pixel order.
struct RGBRow {
    const char* name;
    const char* label = nullptr;
    const char* scriptName = nullptr;
    std::array<double, 3> defaultValue{};
    const GroupRow* group = nullptr;
    bool animates = true;

    void define(ParamSetDescriptor& desc) const;
    void fetch(ParamSet& params) const;
    std::array<double, 3> value(ParamSet& params, double time) const;
};

struct RGBARow {
    const char* name;
    const char* label = nullptr;
    const char* scriptName = nullptr;
    std::array<double, 4> defaultValue{0.0, 0.0, 0.0, 1.0};
    const GroupRow* group = nullptr;
    bool animates = true;

    void define(ParamSetDescriptor& desc) const;
    void fetch(ParamSet& params) const;
    std::array<double, 4> value(ParamSet& params, double time) const;
};

struct StringRow {
    const char* name;
    const char* label = nullptr;
    const char* scriptName = nullptr;
    const char* defaultValue = "";
    StringTypeEnum stringType = eStringTypeSingleLine;
    const GroupRow* group = nullptr;
    bool animates = false;

    void define(ParamSetDescriptor& desc) const;
    void fetch(ParamSet& params) const;
    std::string value(ParamSet& params, double time) const;
};

// A value the host keeps as text for the effect; with `interpolates` the
// host asks the effect for the values between keys.
struct CustomRow {
    const char* name;
    const char* label = nullptr;
    const char* scriptName = nullptr;
    const char* defaultValue = "";
    bool interpolates = false;
    const GroupRow* group = nullptr;
    bool animates = false;

    void define(ParamSetDescriptor& desc) const;
    void fetch(ParamSet& params) const;
    std::string value(ParamSet& params, double time) const;
};

struct PushButtonRow {
    const char* name;
    const char* label = nullptr;
    const char* scriptName = nullptr;
    const GroupRow* group = nullptr;

    void define(ParamSetDescriptor& desc) const;
    void fetch(ParamSet& params) const;
};

// The mix of an effect's result with its source, shared by the effects that
// have one: 1 is the full effect, 0 the source.
inline constexpr DoubleRow kBlendAmount{
    .name = "BlendAmount",
    .label = "Blend amount",
    .scriptName = "blendamount",
    .defaultValue = 1.0,
    .digits = 3,
    .doubleType = eDoubleTypeScale,
};

// The rows of one effect, in panel order. The table holds the rows by
// address: each stays the one named constant of its parameter.
template <class... Rows>
class ParamTable {
public:
    constexpr explicit ParamTable(const Rows&... rows) : rows_(&rows...) {}

    // Defines every parameter, in order.
    void define(ParamSetDescriptor& desc) const {
        std::apply([&](const auto*... row) { (row->define(desc), ...); }, rows_);
    }
    // Fetches every parameter on a new instance, so that a missing or
    // mistyped one fails at creation, not at a render, and renders only
    // ever read the instance's parameter map.
    void fetch(ParamSet& params) const {
        std::apply([&](const auto*... row) { (row->fetch(params), ...); }, rows_);
    }

private:
    std::tuple<const Rows*...> rows_;
};

}  // namespace OFX
