// Parameter values as text, the form the command line takes them in:
//   numbers               "0.5", "-3"
//   several dimensions    "0.1,0.2,0.3" (exactly as many as the type has)
//   booleans              true/false, yes/no, on/off, 1/0
//   choices               an index, or an option's label (exact, else
//                         case-insensitive when that is unambiguous)
//   strings and custom    the text itself; "@path" reads it from a file
// Parameters of the older normalised double types are given and shown in
// pixels of the owning instance's project (see Normalisation::Values).
#pragma once

#include <string>

#include "ofxhost/Param.h"

namespace ofxhost {

// Throws Error("<param name>", "<why>") for text that does not fit the type.
ParamValue parseParamText(const Param& param, const std::string& text);
// The value in the same text form (choices by index).
std::string formatParamValue(const Param& param, const ParamValue& v);

}  // namespace ofxhost
