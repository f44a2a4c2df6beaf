#include "recover/record.h"

#include <auspool/m4a.h>

#include "common/value.h"

namespace recover {

Record::Record(const std::filesystem::path &path) {
  if (!std::filesystem::exists(path)) throw Failure("there is nothing to recover: no recovery record stands beside it");
  bytes_ = example::read_whole_file(path.string());
  if (!bytes_.empty() && bytes_[0] == 0)
    throw Failure("there is nothing to recover: its recovery record was given up when the recording ended");
  constexpr char kSignature[] = "sound siphon bulletproof data v1";
  if (!bytes_.starts_with(kSignature) || bytes_.size() < kHeaderBytes || encoder() == nullptr || packet_frames() == 0 ||
      rate() == 0 || channels() == 0)
    throw Failure("its recovery record is damaged");
}

const Record::Encoder *Record::encoder() const {
  static constexpr Encoder kEncoders[] = {{"aac ", M4A_KIND_AAC, M4A_PROFILE_LC},
                                          {"aach", M4A_KIND_AAC, M4A_PROFILE_HE},
                                          {"aacp", M4A_KIND_AAC, M4A_PROFILE_HE_V2},
                                          {"alac", M4A_KIND_ALAC, M4A_PROFILE_LC}};
  for (const Encoder &one : kEncoders) {
    if (bytes_.compare(32, 4, one.name) == 0) return &one;
  }
  return nullptr;
}

std::uint32_t Record::word(std::size_t at) const {
  std::uint32_t value = 0;
  for (std::size_t i = 0; i < 4; ++i) value = value << 8 | static_cast<std::uint8_t>(bytes_[at + i]);
  return value;
}

}  // namespace recover
