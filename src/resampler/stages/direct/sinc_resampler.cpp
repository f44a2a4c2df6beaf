#include "resampler/stages/direct/sinc_resampler.h"

#include <cmath>

#include "platform/vector.h"
#include "resampler/stages/direct/window_line.h"
#include "resampler/stages/direct_filter.h"

namespace auspool {
namespace {

const sinc_resampler &state_of(const void *state) {
  return *static_cast<const sinc_resampler *>(state);
}

sinc_resampler &state_of(void *state) {
  return *static_cast<sinc_resampler *>(state);
}

// The ratios that a stage can run at: positions stay far from where double loses fractions.
bool is_ratio(double ratio) {
  return ratio >= 1.0 / 65536 && ratio <= 65536;
}

constexpr std::int32_t first_tap(std::int32_t taps) {
  return (~taps & 1) - (taps >> 1);
}

// Gives outputs from windows and moves the position on.
template <typename Sample>
class Outputs {
public:
  Outputs(sinc_resampler &state, const void *table, void *work, void *out, std::int32_t out_stride)
      : state_(state),
        table_(*static_cast<const sinc_table<Sample> *>(table)),
        reversed_(static_cast<Sample *>(work)),
        out_(static_cast<Sample *>(out)),
        out_stride_(out_stride) {}

  // As WindowLine::run wants it. Weights lie in the table from the newest sample to the oldest, so the samples are
  // turned round once for all the windows that read them.
  std::int64_t operator()(const Sample *samples, std::int64_t available) {
    const Sample *newest = samples + available - 1;
    vector::copy(newest, -1, reversed_, 1, static_cast<std::size_t>(available));
    const Sample *oldest = reversed_ + available - 1;
    const std::int32_t first = first_tap(state_.taps);
    const std::int32_t last = state_.taps >> 1;
    const double step = 1.0 / state_.ratio;
    double position = state_.position;
    std::int64_t start = 0;
    while (start + state_.taps <= available) {
      *out_ = sinc_dot_product(oldest - start, -1, first, last, table_, position);
      out_ += out_stride_;
      ++written_;
      position += step;
      const auto whole = static_cast<std::int64_t>(position);
      start += whole;
      position -= static_cast<double>(whole);
    }
    state_.position = position;
    return start;
  }

  std::int32_t written() const { return written_; }

private:
  sinc_resampler &state_;
  const sinc_table<Sample> &table_;
  Sample *const reversed_;
  Sample *out_;
  const std::ptrdiff_t out_stride_;
  std::int32_t written_ = 0;
};

// A ratio of 1 with no fraction left makes the stage a delay of half its taps.
template <typename Sample>
std::int32_t copy_block(WindowLine<Sample> &block, const sinc_resampler &s, std::int32_t in_stride, void *out,
                        std::int32_t out_stride) {
  const std::int32_t past = s.taps - 1;
  const std::int32_t half = past / 2;
  const std::int32_t count = block.count();
  const std::int32_t held = std::min(past - half, count);
  copy_samples(s.sample_size, block.line() + half, 1, out, out_stride, held);
  void *rest = sample_at(s.sample_size, out, std::ptrdiff_t{held} * out_stride);
  copy_samples(s.sample_size, block.in(), in_stride, rest, out_stride, count - held);
  block.end(std::int64_t{count} - past);
  return count;
}

}  // namespace

template <typename Sample>
Sample sinc_dot_product(const Sample *samples, std::int32_t stride, std::int32_t first, std::int32_t last,
                        const sinc_table<Sample> &table, double position) {
  const std::int32_t count = last - first;
  const double steps = (position - first) * kSincResolution;
  const auto base = static_cast<std::int32_t>(steps);
  const std::int32_t step = base - kSincResolution * count + table.centre_offset;
  const std::int32_t row = step % kSincResolution * table.taps + step / kSincResolution;
  const vector::Blend<Sample> weights = {table.values + row, table.deltas + row, static_cast<Sample>(steps - base)};
  return vector::dot_blended(samples + std::ptrdiff_t{count} * stride, -std::ptrdiff_t{stride}, weights,
                             static_cast<std::size_t>(count) + 1);
}
template float sinc_dot_product(const float *, std::int32_t, std::int32_t, std::int32_t, const sinc_table<float> &,
                                double);
template double sinc_dot_product(const double *, std::int32_t, std::int32_t, std::int32_t, const sinc_table<double> &,
                                 double);

void sinc_resampler_destroy(void *state) {
  delete static_cast<sinc_resampler *>(state);
}

void sinc_resampler_reset(void *state, std::int32_t preroll) {
  sinc_resampler &s = state_of(state);
  s.position = 0;
  s.fill = start_line(s.line.get(), s.sample_size, s.taps, s.delay, preroll != 0);
}

std::int32_t sinc_resampler_padding(const void *state) {
  return state_of(state).tail;
}

std::int32_t sinc_resampler_output_samples(const void *state, std::int32_t input_count, std::int32_t upper_bound) {
  const sinc_resampler &s = state_of(state);
  if (upper_bound) return to_count(std::ceil(s.ratio * input_count));
  const double past = s.taps - 1;
  const double begins = s.fill - past + input_count;
  if (!(begins > 0)) return 0;
  const double in_line = begins < s.taps ? begins : past;
  const double from_line = std::ceil((in_line - s.position) * s.ratio);
  const double reached = from_line / s.ratio + s.position;
  const double whole = std::floor(reached);
  if (whole - past < 0 || begins < whole + 1) return to_count(from_line);
  return to_count(from_line + std::ceil(s.ratio * (whole - reached + (begins - whole - 1) + 1.0)));
}

std::int32_t sinc_resampler_input_samples(const void *state, std::int32_t output_count) {
  const sinc_resampler &s = state_of(state);
  if (output_count < 1) return 0;
  return to_count(s.taps - s.fill + std::floor((output_count - 1) / s.ratio + s.position));
}

template <typename Sample>
std::int32_t sinc_resampler_process(void *state, const void *shared, void *work, const void *in, std::int32_t in_stride,
                                    void *out, std::int32_t out_stride, std::int32_t count, std::int32_t /*threads*/) {
  sinc_resampler &s = state_of(state);
  WindowLine<Sample> block(s.fill, s.taps, s.line.get(), in, in_stride, count);
  if (!block.begin()) return 0;
  if (s.ratio == 1.0 && s.position == 0.0) return copy_block(block, s, in_stride, out, out_stride);
  Outputs<Sample> outputs(s, shared, work, out, out_stride);
  block.run(std::ref(outputs));
  return outputs.written();
}

void sinc_resampler_set_drift_ratio(void *state, double ratio) {
  if (is_ratio(ratio)) state_of(state).ratio = ratio;
}

namespace {

// Room for a line and a piece of a block.
std::size_t work_bytes(std::int32_t sample_size, std::int32_t taps) {
  return static_cast<std::size_t>(taps - 1 + piece_samples(sample_size)) * static_cast<std::size_t>(sample_size);
}

}  // namespace

void *sinc_resampler_alloc_workbuffer(const void *state) {
  const sinc_resampler &s = state_of(state);
  return try_block<std::byte>(work_bytes(s.sample_size, s.taps)).release();
}

namespace {

constexpr raesampler_stage operations(std::int32_t sample_size) {
  raesampler_stage stage = {};
  stage.destroy = sinc_resampler_destroy;
  stage.reset = sinc_resampler_reset;
  stage.padding = sinc_resampler_padding;
  stage.output_samples = sinc_resampler_output_samples;
  stage.input_samples = sinc_resampler_input_samples;
  stage.process = sample_size == 8 ? sinc_resampler_process<double> : sinc_resampler_process<float>;
  stage.set_drift_ratio = sinc_resampler_set_drift_ratio;
  stage.free_shared = std::free;
  stage.alloc_workbuffer = sinc_resampler_alloc_workbuffer;
  stage.free_workbuffer = std::free;
  return stage;
}

// The table of 15 taps in single precision is ready, whatever window was asked for.
Block<std::byte> find_table(std::int32_t sample_size, const stage_spec &spec) {
  if (sample_size == 8) return make_sinc_table<double>(spec);
  if (spec.length != 15) return make_sinc_table<float>(spec);
  auto memory = make_block<std::byte>(sizeof(sinc_table<float>));
  new (memory.get())
      sinc_table<float>{kSincResolution, 7 * kSincResolution, 15, sinc15_data.data(), diff15_data.data()};
  return memory;
}

// An even number of taps has its middle between two samples, for which the table has no place.
bool is_sinc(const stage_spec &spec) {
  constexpr std::int32_t kMostTaps = 1 << 20;
  return spec.length % 2 == 1 && spec.length >= 1 && spec.length <= kMostTaps && is_ratio(spec.ratio) &&
         std::isfinite(spec.kaiser_beta);
}

std::unique_ptr<sinc_resampler> make_state(std::int32_t sample_size, const stage_spec &spec) {
  auto state = std::make_unique<sinc_resampler>();
  state->taps = spec.length;
  state->delay = direct_filter_delay(spec.length, false, 0);
  state->tail = spec.length - state->delay;
  state->ratio = spec.ratio;
  state->sample_size = sample_size;
  state->line = make_line(sample_size, spec.length);
  sinc_resampler_reset(state.get(), 0);
  return state;
}

}  // namespace
}  // namespace auspool

using namespace auspool;

std::int32_t create_sinc_resampler_stage(std::int32_t sample_size, raesampler_stage *stage, const stage_spec *spec,
                                         std::int32_t channels) {
  return build_stage(is_sinc(*spec), sample_size, channels, [&] {
    StageInProgress built(operations(sample_size), channels);
    built.share(find_table(sample_size, *spec));
    built.use_work(make_block<std::byte>(work_bytes(sample_size, spec->length)));
    built.add_states([&] { return make_state(sample_size, *spec); });
    built.hand_over(stage);
  });
}
