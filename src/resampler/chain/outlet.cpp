#include "resampler/chain/outlet.h"

#include <cstring>

#include "resampler/delay_line.h"
#include "resampler/whole_numbers.h"

namespace auspool {

void Outlet::take(const std::byte *in, std::int32_t in_stride, std::int32_t count) {
  while (count > 0) {
    const std::int32_t direct = fitting(count);
    if (direct > 0) {
      written_ += run(in, in_stride, next_out(), out_stride_, direct);
    } else {
      spill(in, in_stride, count);
    }
    const std::int32_t used = direct > 0 ? direct : count;
    in += std::ptrdiff_t{used} * in_stride * static_cast<std::ptrdiff_t>(chain_.sample_size);
    count -= used;
  }
}

// No more than this comes of `count` samples now.
std::int32_t Outlet::outputs_of(std::int32_t count) const {
  const std::int64_t outputs = last_.output_samples(last_.states[channel_], count, 0);
  return to_count(outputs + (last_.set_drift_ratio ? 1 : 0));
}

// How many input samples surely give no more than the host has room for. A complex run is not cut.
std::int32_t Outlet::fitting(std::int32_t count) const {
  if (waiting_ > 0) return 0;
  const auto fits = [&](std::int32_t samples) { return outputs_of(samples) <= room_ - written_; };
  if (chain_.ends_complex) return fits(count) ? count : 0;
  return largest_fitting(count, fits);
}

std::int32_t Outlet::run(const std::byte *in, std::int32_t in_stride, void *out, std::int32_t out_stride,
                         std::int32_t count) {
  return run_chain_stage(chain_, chain_.stage_count - 1, channel_, in, in_stride, out, out_stride, count);
}

// Runs the stage into the overflow, and hands the host from there what it has room for.
void Outlet::spill(const std::byte *in, std::int32_t in_stride, std::int32_t count) {
  if (!reserve_overflow(chain_, to_count(std::int64_t{waiting_} + outputs_of(count)))) return;
  const auto sample_size = static_cast<std::int32_t>(chain_.sample_size);
  const std::size_t at =
      channel_ * static_cast<std::size_t>(chain_.overflow_capacity) + static_cast<std::size_t>(waiting_);
  std::byte *overflow = chain_.overflow.get() + at * chain_.sample_size;
  const std::int32_t made = run(in, in_stride, overflow, 1, count);
  const std::int32_t given = waiting_ > 0 ? 0 : std::min(made, room_ - written_);
  copy_samples(sample_size, overflow, 1, next_out(), out_stride_, given);
  const std::size_t kept = static_cast<std::size_t>(made - given) * chain_.sample_size;
  std::memmove(overflow, overflow + static_cast<std::size_t>(given) * chain_.sample_size, kept);
  written_ += given;
  waiting_ += made - given;
  chain_.overflow_count = std::max(chain_.overflow_count, waiting_);
}

std::byte *Outlet::next_out() const {
  return out_ + std::ptrdiff_t{written_} * out_stride_ * static_cast<std::ptrdiff_t>(chain_.sample_size);
}

}  // namespace auspool
