#include "support/mp3_file.h"

#include <cstring>
#include <optional>

#include "base/byte_order.h"
#include "support/other_programs.h"

namespace auspool::testing {
namespace {

const std::uint8_t *bytes_at(const std::string &text, std::size_t at) {
  return reinterpret_cast<const std::uint8_t *>(text.data()) + at;
}

constexpr int kBitrates[2][15] = {{0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160},
                                  {0, 32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320}};
constexpr int kRates[] = {44100, 48000, 32000};

// ISO 11172-3, 2.4.2.3, with the lower rates of 13818-3 and those of "MPEG 2.5".
std::optional<Mp3Frame> frame_at(const std::string &bytes, std::size_t at) {
  if (at + 4 > bytes.size()) return std::nullopt;
  const auto header = load_be<std::uint32_t>(bytes_at(bytes, at));
  const std::uint32_t version = header >> 19 & 3, layer = header >> 17 & 3;
  const std::uint32_t bitrate = header >> 12 & 15, rate = header >> 10 & 3, padding = header >> 9 & 1;
  if (header >> 21 != 0x7FF || version == 1 || layer != 1 || bitrate == 0 || bitrate == 15 || rate == 3) {
    return std::nullopt;
  }
  Mp3Frame frame{at,
                 0,
                 kBitrates[version == 3][bitrate],
                 kRates[rate] >> (version == 3   ? 0
                                  : version == 2 ? 1
                                                 : 2),
                 static_cast<int>(header >> 6 & 3),
                 version == 3 ? 1152 : 576};
  frame.size = static_cast<std::size_t>(frame.samples / 8 * frame.bitrate * 1000 / frame.rate) + padding;
  return frame;
}

std::size_t tag_bytes(const std::string &bytes) {
  if (bytes.size() < 10 || !bytes.starts_with("ID3")) return 0;
  std::size_t size = 0;
  for (std::size_t i = 6; i < 10; ++i) size = size << 7 | *bytes_at(bytes, i);
  return 10 + size;
}

std::string vbr_header_in(const std::string &bytes, const Mp3Frame &frame) {
  const bool mono = frame.channel_mode == 3;
  const std::size_t side_info = frame.samples == 1152 ? (mono ? 17 : 32) : (mono ? 9 : 17);
  const std::string header = bytes.substr(frame.at + 4 + side_info, frame.size - 4 - side_info);
  return header.starts_with("Xing") || header.starts_with("Info") ? header : "";
}

std::vector<std::int16_t> samples_in(const std::string &raw) {
  std::vector<std::int16_t> samples(raw.size() / 2);
  std::memcpy(samples.data(), raw.data(), 2 * samples.size());
  return samples;
}

}  // namespace

Mp3File mp3_file(const std::string &bytes) {
  Mp3File file;
  std::size_t at = file.tag_bytes = tag_bytes(bytes);
  while (const auto frame = frame_at(bytes, at)) {
    if (at == file.tag_bytes) file.vbr_header = vbr_header_in(bytes, *frame);
    if (at != file.tag_bytes || file.vbr_header.empty()) file.frames.push_back(*frame);
    at += frame->size;
  }
  file.whole = at == bytes.size();
  return file;
}

std::uint32_t Mp3File::frames_in_header() const {
  return vbr_header.size() >= 12 ? load_be<std::uint32_t>(bytes_at(vbr_header, 8)) : 0;
}

// Behind the header's name, flags, counts, table of 100 places and quality stand LAME's own fields.
int Mp3File::low_pass() const {
  constexpr std::size_t kLameFields = 120, kLowPass = 10;
  return vbr_header.size() > kLameFields + kLowPass ? 100 * *bytes_at(vbr_header, kLameFields + kLowPass) : 0;
}

std::vector<std::int16_t> decoded_by_mpg123(const std::string &path) {
  const ProgramResult result = run("mpg123 -q --no-gapless -e s16 -s " + quoted(path));
  EXPECT_EQ(result.status, 0) << path;
  EXPECT_EQ(result.errors, "") << path;
  return samples_in(result.output);
}

std::vector<std::int16_t> decoded_by_ffmpeg(const std::string &path) {
  const ProgramResult result = run("ffmpeg -v error -flags2 +skip_manual -i " + quoted(path) + " -f s16le -");
  EXPECT_EQ(result.status, 0) << path;
  EXPECT_EQ(result.errors, "") << path;
  return samples_in(result.output);
}

std::string complaints_about_mp3(const std::vector<std::string> &paths) {
  std::string names;
  for (const std::string &path : paths) names += " " + quoted(path);
  const std::string found = run("mp3val" + names + " | grep -E 'WARNING|ERROR' | grep -v 'No supported tags'").output;
  const std::string about =
      run("mediainfo --Inform='General;%Format%%IsTruncated%%ConformanceErrors%' " + names).output;
  std::string expected;
  for (std::size_t i = 0; i < paths.size(); ++i) expected += "MPEG Audio";
  return about == expected + "\n" ? found : found + about;
}

}  // namespace auspool::testing
