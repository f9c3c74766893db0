// A picture of a panel's gamut.
#pragma once

#include <string>

#include "device/gamut.h"

namespace tandor {

// An SVG document: the CIE 1931 xy diagram with the spectral locus, the references' triangles and the panel's over
// them, its white point, and a legend with the coverages. `title` is UTF-8 text, escaped here.
std::string GamutDiagram(const std::string& title, const Gamut& panel);

}  // namespace tandor
