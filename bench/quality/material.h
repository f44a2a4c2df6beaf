// Sound to convert that is no test tone.
#pragma once

#include <string>
#include <vector>

namespace quality {

inline constexpr double kMaterialRate = 48000;

struct Material {
  std::string name;
  std::vector<double> samples;  // silence at both ends
};

// Recorded speech, where it is installed, and music; says on stderr when speech is missing.
std::vector<Material> all_material();

}  // namespace quality
