#include "quality/chain.h"

#include <cmath>

namespace quality {

Chain make_chain(int flags, double in, double out) {
  return {raesampler_create(flags, 1, nullptr, 0, in, out, 0), raesampler_destroy};
}

std::vector<double> convert(raesampler *r, int flags, const std::vector<double> &in) {
  auto count = static_cast<int>(in.size());
  std::vector<double> out(static_cast<std::size_t>(raesampler_output_samples(r, count)));
  if ((flags & RAESAMPLER_QUALITY_MASK) >= RaesamplerQualityVeryHigh) {
    const double *const from[] = {in.data()};
    double *const to[] = {out.data()};
    out.resize(static_cast<std::size_t>(raesampler_resampleD(r, from, 1, to, 1, &count, 0)));
    return out;
  }
  const std::vector<float> floats(in.begin(), in.end());
  std::vector<float> made(out.size());
  const float *const from[] = {floats.data()};
  float *const to[] = {made.data()};
  made.resize(static_cast<std::size_t>(raesampler_resample(r, from, 1, to, 1, &count, 0)));
  return {made.begin(), made.end()};
}

std::vector<double> convert_whole(int quality, double in, double out, std::vector<double> signal) {
  const Chain r = make_chain(quality, in, out);
  const auto length = static_cast<std::size_t>(std::lround(static_cast<double>(signal.size()) * out / in));
  const auto padding = static_cast<std::size_t>(raesampler_padding(r.get()));
  signal.resize(signal.size() + 2 * padding + 16);  // what is asked for may fall short by a block
  auto made = convert(r.get(), quality, signal);
  made.resize(length);
  return made;
}

}  // namespace quality
