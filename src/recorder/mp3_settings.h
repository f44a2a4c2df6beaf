// From the host's options to those of the encoder.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "auspool/aurec.h"
#include "platform/mp3_encoder.h"

namespace auspool {

// What can be corrected; some versions of LAME have no quality better than 2.
void fix_mp3_options(AuRecOptionsMP3 *options, std::string_view lame_version);

// In Hz, for a variable bitrate of at most so many kilobits a second.
int optimum_vbr_lowpassfreq(std::uint32_t vbr_quality, std::uint32_t bitrate);

platform::Mp3Settings mp3_settings(const AuRecOptionsMP3 &options, float rate_in);

// The same in a line for the file's tag.
using Mp3SettingsText = std::array<char, 200>;  // ended by NUL
Mp3SettingsText mp3_settings_text(const AuRecOptionsMP3 &options, float rate_in);

}  // namespace auspool
