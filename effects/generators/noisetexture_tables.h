// The lattice of Noise Texture's gradient noise, for the processor.
#pragma once

namespace noisetexture {

#define NOISE_LATTICE(type, declarator) inline constexpr type declarator
#include "noisetexture_lattice.inc"
#undef NOISE_LATTICE

}  // namespace noisetexture
