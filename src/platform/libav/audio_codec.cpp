#include "platform/audio_codec.h"

#include <new>

#include "platform/libav/encoder.h"

namespace auspool::platform {
namespace {

// What stands for a format in libavcodec. Its own AAC encoder knows no profile of high efficiency; another one that an
// installation has may.
struct Row {
  std::uint32_t subtype;
  const char *encoder;
  int profile;
};
constexpr Row kRows[] = {
    {four_cc("aac "), "aac", FF_PROFILE_AAC_LOW},
    {four_cc("aach"), "libfdk_aac", FF_PROFILE_AAC_HE},
    {four_cc("aacp"), "libfdk_aac", FF_PROFILE_AAC_HE_V2},
    {four_cc("alac"), "alac", FF_PROFILE_UNKNOWN},
};

struct Choice {
  const AVCodec *codec = nullptr;
  int profile = FF_PROFILE_UNKNOWN;
};

Choice find(std::uint32_t subtype) {
  for (const Row &row : kRows) {
    if (row.subtype == subtype) return {avcodec_find_encoder_by_name(row.encoder), row.profile};
  }
  return {};
}

}  // namespace

bool AudioCodec::is_available(std::uint32_t subtype) {
  return find(subtype).codec != nullptr;
}

std::unique_ptr<AudioCodec> AudioCodec::open(std::uint32_t subtype) {
  const Choice choice = find(subtype);
  if (choice.codec == nullptr) return nullptr;
  return std::unique_ptr<AudioCodec>(new (std::nothrow) libav::Encoder(choice.codec, subtype, choice.profile));
}

}  // namespace auspool::platform
