// A day of packets: what drift, jitter, loss and reordering do to the packet player, simulated. usage: bench_packets
// [HOURS]  (24 without)
//
// No clock of the machine takes part: the same table comes out anywhere.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <vector>

#include "support/packet_stream.h"

namespace {

using auspool::testing::Heard;
using auspool::testing::PacketStream;
using auspool::testing::StreamSettings;

constexpr double kWindow = 5.0;         // seconds over which positions are averaged
constexpr double kSteadyAfter = 600.0;  // seconds

// Mean, spread and extremes of what comes in.
struct Statistic {
  double sum = 0, squares = 0, low = std::numeric_limits<double>::max(), high = -low;
  std::int64_t count = 0;

  void add(double value) {
    sum += value;
    squares += value * value;
    low = std::min(low, value);
    high = std::max(high, value);
    ++count;
  }
  double mean() const { return sum / static_cast<double>(count); }
  double deviation() const { return std::sqrt(std::max(0.0, squares / static_cast<double>(count) - mean() * mean())); }
};

struct Result {
  Statistic late, rate;         // once steady
  std::vector<double> windows;  // mean position of each
  std::int64_t gaps = 0, lost = 0;
  double silent = 0;  // seconds, since playback began
};

Result simulate(const StreamSettings &settings, double seconds) {
  Result result;
  PacketStream stream(settings);
  Statistic window;
  bool begun = false;
  for (double time = 0; time < seconds;) {
    const Heard heard = stream.next();
    time = heard.time;
    if (begun) {
      result.gaps += heard.gaps;
      result.silent += heard.silent / PacketStream::kRate;
    }
    begun = begun || heard.has_position;
    if (time > static_cast<double>(result.windows.size() + 1) * kWindow) {
      result.windows.push_back(window.count ? window.mean() : 0.0);
      window = {};
    }
    if (heard.has_position) window.add(heard.late);
    if (time < kSteadyAfter) continue;
    if (heard.has_position) result.late.add(heard.late);
    result.rate.add(heard.rate_correction);
  }
  result.lost = stream.lost();
  return result;
}

// From when on the position stays within a millisecond of its mean; -1 for not before half of the time.
double settled_after(const Result &result) {
  std::size_t last = 0;
  for (std::size_t i = 0; i < result.windows.size(); ++i) {
    if (std::abs(result.windows[i] - result.late.mean()) > 1e-3) last = i + 1;
  }
  return last > result.windows.size() / 2 ? -1 : static_cast<double>(last) * kWindow;
}

void print_row(const char *network, const StreamSettings &settings, double hours) {
  const Result r = simulate(settings, hours * 3600);
  const double settled = settled_after(r);
  char settling[20] = "never";
  if (settled >= 0) std::snprintf(settling, sizeof settling, "%.0f s", settled);
  std::printf("| %s | %u / %u | %+.0f | %s | %+.2f | %.2f to %.2f | %+.2f | %.0f | %lld | %lld | %.1f |\n", network,
              settings.packet, settings.call, settings.drift * 1e6, settling, r.late.mean() * 1e3, r.late.low * 1e3,
              r.late.high * 1e3, (r.rate.mean() - settings.drift) * 1e6, r.rate.deviation() * 1e6,
              static_cast<long long>(r.lost), static_cast<long long>(r.gaps), r.silent);
  std::fflush(stdout);
}

void print_networks(double hours) {
  for (const double ppm : {-3000.0, -500.0, 0.0, 500.0, 3000.0}) {
    print_row("perfect", {.drift = ppm * 1e-6}, hours);
    print_row("5 ms jitter", {.drift = ppm * 1e-6, .arrival_jitter = 0.005}, hours);
    print_row("20 ms jitter, 5 % lost, 2 % reordered",
              {.drift = ppm * 1e-6, .arrival_jitter = 0.02, .loss = 0.05, .reordering = 0.02}, hours);
  }
  print_row("20 ms jitter, 1 % lost", {.drift = 5e-4, .arrival_jitter = 0.02, .loss = 0.01}, hours);
  print_row("5 % lost", {.drift = 5e-4, .packet = 256, .loss = 0.05}, hours);
}

void print_timestamps(double hours) {
  print_row("timestamps off by 3 ms", {.drift = 5e-4, .timestamp_jitter = 0.003}, hours);
  print_row("timestamps off by 4 ms", {.drift = 5e-4, .timestamp_jitter = 0.004}, hours);
  print_row("the same, no padding", {.drift = 5e-4, .timestamp_jitter = 0.004, .pads = false}, hours);
  print_row("timestamps off by 10 ms, no padding",
            {.drift = 5e-4, .packet = 1024, .timestamp_jitter = 0.01, .pads = false}, hours);
}

// On both sides of the bound of stability.
void print_sizes(double hours) {
  constexpr struct {
    std::uint32_t packet, call;
  } kSizes[] = {{128, 64}, {352, 64}, {700, 128}, {900, 128}, {1024, 256}, {4096, 256}, {12000, 512}, {20000, 512}};
  for (const auto &size : kSizes) {
    print_row("perfect", {.drift = 5e-4, .packet = size.packet, .call = size.call, .lead = 0.5}, hours);
  }
}

}  // namespace

int main(int argc, char **argv) {
  const double hours = argc > 1 ? std::atof(argv[1]) : 24;
  std::printf(
      "| Network | Packet / call | Drift, ppm | Settled after | Late, mean, ms | Late, range, ms | Mean rate error, "
      "ppm "
      "| Rate ripple, ppm | Packets lost | Gaps heard | Silent, s |\n|---|---|---|---|---|---|---|---|---|---|---|\n");
  print_networks(hours);
  print_timestamps(hours);
  print_sizes(hours);
}
