#include "recorder/recorder_aac.h"

#include <algorithm>

#include "m4a/aac_frequencies.h"
#include "recorder/bitrate_tables.h"

namespace auspool {
namespace {

// What an encoder of this bitrate does well, in kilobits a second and Hz.
struct Row {
  std::uint32_t below;
  std::uint32_t mono, stereo;
};
constexpr Row kBaseRates[] = {
    {24, 22050, 11025}, {32, 32000, 16000}, {48, 32000, 22050},
    {64, 44100, 32000}, {96, 44100, 44100}, {UINT32_MAX, 48000, 48000},
};

float highest_rate(std::uint32_t bitrate, bool mono, bool high_efficiency) {
  const Row *row = std::begin(kBaseRates);
  while (bitrate >= row->below) ++row;
  const std::uint32_t rate = mono ? row->mono : row->stereo;
  return static_cast<float>(high_efficiency ? std::max(rate, 44100u) : rate);
}

float lowest_rate(std::uint32_t bitrate) {
  return bitrate < 25 ? 8000.0f : bitrate < 49 ? 16000.0f : bitrate < 97 ? 32000.0f : 44100.0f;
}

}  // namespace

void RecorderAAC::fix_opts(AuRecOptionsAAC *options) {
  if (!is_in_bitrate_table(options->bitrate, aac_bitrate_table_legacy) &&
      !is_in_bitrate_table(options->bitrate, aac_bitrate_table_unified)) {
    options->bitrate = 128;
  }
  if (options->quality >= 10) options->quality = 5;
  if (options->profile >= 3) options->profile = 0;
  if (options->profile == 2) options->mono = 0;  // parametric stereo has two channels by its nature
}

float RecorderAAC::enc_rate(float rate) const {
  const float high = highest_rate(options.bitrate, force_mono(), options.profile != 0);
  const auto snapped = static_cast<float>(m4a::kAacFrequencies[m4a::aac_frequency_index(rate)]);
  return std::min(std::max(snapped, lowest_rate(options.bitrate)), high);
}

std::uint32_t RecorderAAC::component_subtype() const {
  return options.profile == 1 ? four_cc("aach") : options.profile == 2 ? four_cc("aacp") : four_cc("aac ");
}

void RecorderAAC::prepare_codec(platform::AudioCodec &encoder, platform::StreamDescription &input,
                                platform::StreamDescription &output) const {
  constexpr std::uint32_t kQualities[] = {127, 127, 96, 96, 64, 64, 32, 32, 0, 0};
  encoder.set_property(platform::AudioCodec::kQuality, kQualities[options.quality]);
  encoder.set_property(platform::AudioCodec::kBitRate, max_bitrate());
  describe(platform::StreamDescription::kFloat, sizeof(float), encoder, input, output);
}

}  // namespace auspool
