#include "recorder/mp3_settings.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

#include "base/truncate.h"
#include "recorder/bitrate_tables.h"

namespace auspool {
namespace {

constexpr int lpf_table[] = {19500, 19000, 18600, 18000, 17500, 16000, 15600, 14900, 12500, 10000};
constexpr std::uint32_t kNarrowBitrate = 32;

bool contains(std::string_view text, std::string_view part) {
  return text.find(part) != std::string_view::npos;
}

bool lacks_best_qualities(std::string_view version) {
  return contains(version, "3.94") || contains(version, "3.95") || contains(version, "3.96");
}

}  // namespace

void fix_mp3_options(AuRecOptionsMP3 *options, std::string_view lame_version) {
  if (options->quality < 0 || options->quality > 9) options->quality = 5;
  if (options->quality < 2 && lacks_best_qualities(lame_version)) options->quality = 2;
  if (options->bitrate_mode >= 3) options->bitrate_mode = 0;
  if (options->vbr_quality >= 10) options->vbr_quality = 5;
  if (!is_in_bitrate_table(options->bitrate, mp3_bitrate_table_legacy) &&
      !is_in_bitrate_table(options->bitrate, mp3_bitrate_table_unified)) {
    options->bitrate = 128;
  }
}

int optimum_vbr_lowpassfreq(std::uint32_t vbr_quality, std::uint32_t bitrate) {
  const int frequency = lpf_table[std::min<std::size_t>(vbr_quality, std::size(lpf_table) - 1)];
  return bitrate <= kNarrowBitrate ? frequency / 2 : frequency;
}

platform::Mp3Settings mp3_settings(const AuRecOptionsMP3 &options, float rate_in) {
  using Channels = platform::Mp3Settings::Channels;
  using Bitrate = platform::Mp3Settings::Bitrate;
  return {
      .input_rate = truncate_to_int32(rate_in),
      .file_rate = truncate_to_int32(options.sample_rate),
      .channels = options.channel_mode == 1   ? Channels::kMono
                  : options.channel_mode == 2 ? Channels::kStereo
                                              : Channels::kJointStereo,
      .quality = options.quality,
      .mode = options.bitrate_mode == 1   ? Bitrate::kAverage
              : options.bitrate_mode == 2 ? Bitrate::kVariable
                                          : Bitrate::kConstant,
      .bitrate = static_cast<int>(options.bitrate),
      .vbr_quality = static_cast<int>(options.vbr_quality),
      .low_pass = optimum_vbr_lowpassfreq(options.vbr_quality, options.bitrate),
  };
}

Mp3SettingsText mp3_settings_text(const AuRecOptionsMP3 &options, float rate_in) {
  Mp3SettingsText text;
  std::snprintf(text.data(), text.size(),
                "lame_params: mInRate:%d, enc_rate:%d, q:%d, ch_mode:%d, vbr_q:%d, br_mode:%d, bitrate:%d\n",
                truncate_to_int32(rate_in), truncate_to_int32(options.sample_rate), options.quality,
                static_cast<int>(options.channel_mode), static_cast<int>(options.vbr_quality),
                static_cast<int>(options.bitrate_mode), static_cast<int>(options.bitrate));
  return text;
}

}  // namespace auspool
