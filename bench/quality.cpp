// Measured quality and speed of our five qualities beside other converters, in one run.
//
//   bench_quality                 the tables of docs/performance.md, and the time of whole streams on two threads
//   bench_quality --pictures DIR  the pictures of docs/resampling-qualities.md
//   bench_quality --recordings    its table of speech and music
//
// Stereo floats, streamed in blocks of 1024 frames. Every converter's pass band (to 0.1 dB) is found first; its
// rejection is then that of images of tones in this band and of aliases that fall into it, at the worst of all pairs of
// rates.
#include <cmath>
#include <cstdio>
#include <cstring>
#include <vector>

#include "quality/measure.h"
#include "quality/pictures.h"
#include "quality/there_and_back.h"
#include "quality/whole_stream.h"

using namespace quality;

namespace {

constexpr Rates kRates[] = {{44100, 48000},  {48000, 44100}, {44100, 96000}, {96000, 44100},
                            {192000, 48000}, {48000, 8000},  {44100, 44101}};

// The chains of 44100 to 44101 take long to settle and say nothing new about quality.
bool tells_quality(const Rates &rates) {
  return rates.out != 44101;
}

Figures worst_quality(const Kind &kind) {
  Figures worst = {1, 1e9, 0};
  for (const Rates &rates : kRates) {
    const Figures figures = tells_quality(rates) ? measure_quality(kind, rates) : kNone;
    if (figures.rejection < 0) continue;
    worst.pass_band = std::min(worst.pass_band, figures.pass_band);
    worst.rejection = std::min(worst.rejection, figures.rejection);
  }
  return worst;
}

void print_head(const char *what) {
  std::printf("\n| %s |", what);
  for (const Rates &rates : kRates) std::printf(" %g>%g |", rates.in / 1000, rates.out / 1000);
}

void print_rule(std::size_t columns) {
  std::printf("\n|");
  for (std::size_t i = 0; i < columns; ++i) std::printf("---|");
  std::printf("\n");
}

void print_speeds(const std::vector<Kind> &kinds) {
  print_head("Millions of input frames a second");
  std::printf(" mean | mean of the first six | pass band | rejection |");
  print_rule(std::size(kRates) + 5);
  for (const Kind &kind : kinds) {
    std::printf("| %s |", kind.name.c_str());
    double logarithms = 0, of_six = 0;
    int done = 0;
    for (const Rates &rates : kRates) {
      const double speed = measure_speed(kind, rates);
      if (speed <= 0) {
        std::printf(" |");
        continue;
      }
      std::printf(speed < 10 ? " %.1f |" : " %.0f |", speed);
      logarithms += std::log(speed);
      if (tells_quality(rates)) of_six += std::log(speed);
      ++done;
    }
    const bool all = done == std::size(kRates);
    std::printf(all ? " %.0f |" : " |", std::exp(logarithms / done));
    std::printf(" %.0f |", std::exp(of_six / 6));
    const Figures worst = worst_quality(kind);
    std::printf(" %.3f | %.0f dB |\n", worst.pass_band, worst.rejection);
    std::fflush(stdout);
  }
}

void print_creation(const std::vector<Kind> &kinds) {
  print_head("Microseconds of creation");
  print_rule(std::size(kRates) + 1);
  for (const Kind &kind : kinds) {
    std::printf("| %s |", kind.name.c_str());
    for (const Rates &rates : kRates) std::printf(" %.0f |", measure_creation(kind, rates));
    std::printf("\n");
    std::fflush(stdout);
  }
}

void print_low_latency() {
  constexpr int kMicroseconds[] = {1500, 3000, 12000};  // blocks of 64, 128 and 512 samples
  std::printf("\n| Low latency, 44.1>48 | 64 | 128 | 512 |\n|---|---|---|---|\n");
  const std::vector<Kind> kinds = all_kinds();
  for (int quality = 1; quality < 5; ++quality) {
    std::printf("| %s |", kinds[static_cast<std::size_t>(quality)].name.c_str());
    for (const int microseconds : kMicroseconds) {
      std::printf(" %.0f |", measure_speed(low_latency_kind(quality, microseconds), kRates[0]));
    }
    std::printf("\n");
  }
}

void print_whole_streams() {
  std::printf("\n| Quality, 44.1>48 | one thread | two threads | ratio |\n|---|---|---|---|\n");
  const std::vector<Kind> kinds = all_kinds();
  for (int quality = 0; quality < 5; ++quality) {
    const double one = measure_whole_stream(kRates[0], quality, 1);
    const double two = measure_whole_stream(kRates[0], quality, 2);
    std::printf("| %s | %.1f ms | %.1f ms | %.2f |\n", kinds[static_cast<std::size_t>(quality)].name.c_str(), one * 1e3,
                two * 1e3, one / two);
  }
}

}  // namespace

int main(int argc, char **argv) {
  if (argc == 3 && std::strcmp(argv[1], "--pictures") == 0) return draw_pictures(argv[2]) ? 0 : 1;
  if (argc == 2 && std::strcmp(argv[1], "--recordings") == 0) {
    print_there_and_back();
    return 0;
  }
  const std::vector<Kind> kinds = all_kinds();
  print_speeds(kinds);
  print_creation(kinds);
  print_low_latency();
  print_whole_streams();
  return 0;
}
