// Prints src/resampler/planning/chain_tables.cpp:
//   cmake --build build/release --target make_chain_tables && build/release/tools/make_chain_tables > FILE
#include <cstdio>

#include "chain_tables/ready_chain.h"

using namespace auspool;

namespace {

constexpr const char *kNames[5] = {"RealTime", "Normal", "High", "VeryHigh", "UltraHigh"};

void print_row(std::int32_t quality, Fraction ratio) {
  const precomputed_structure chain = ready_chain(quality, ratio);
  std::printf("    {%d, %d, {%d, {", ratio.up, ratio.down, chain.count);
  for (std::int32_t i = 0; i < chain.count; ++i) {
    const precomputed_stage &s = chain.stages[i];
    std::printf("%s{%u, %d, %d, %.17g, %.17g, %.17g, %.17g, %.17g, %d}", i == 0 ? "" : ", ", s.type, s.up, s.down,
                s.gain, s.ratio, s.pass_edge, s.stop_edge, s.kaiser_beta, s.length);
  }
  std::printf("}}},\n");
}

}  // namespace

int main() {
  std::printf(
      "// Ready chains, made by tools/chain_tables from the planner's formulas; a test compares the two.\n"
      "// Row: up, down, {stages, {{type, up, down, gain, ratio, pass edge, stop edge, beta, length} ...}}.\n"
      "#include <auspool/raesampler_planning.h>\n\n// clang-format off\n");
  for (std::int32_t quality = 0; quality < 5; ++quality) {
    const std::vector<Fraction> ratios = ready_ratios(quality);
    std::printf("const precomputed_chain RaesamplerQuality%sChains[%zu] = {\n", kNames[quality], ratios.size());
    for (const Fraction ratio : ratios) print_row(quality, ratio);
    std::printf("};\n");
  }
}
