// Lossless audio of 16 bits in MPEG-4 files.
#pragma once

#include "base/four_cc.h"
#include "recorder/recorder_m4a.h"

namespace auspool {

class RecorderALAC : public RecorderM4A {
public:
  static constexpr AuRecOptionsALAC DefaultOptions() { return {0, 0, 1}; }
  static void fix_opts(AuRecOptionsALAC *) {}
  static bool is_available() { return RecorderM4A::is_available(four_cc("alac")); }

  RecorderALAC(::aurec *owner, ext_vars_t *shared, const AuRecOptionsALAC &wanted)
      : RecorderM4A(owner, shared), options(wanted) {}

  AuRecOutputType type() const override { return AuRecOutputTypeALAC; }

protected:
  float enc_rate(float rate) const override { return rate; }
  std::uint32_t component_subtype() const override { return four_cc("alac"); }
  bool force_mono() const override { return options.mono != 0; }
  std::uint32_t max_bitrate() const override { return 0; }
  std::int32_t flavor() const override { return M4A_KIND_ALAC; }
  bool wants_shorts() const override { return true; }
  bool fast_start() const override { return options.fast_start != 0; }
  bool audiobook() const override { return options.audiobook != 0; }
  void prepare_codec(platform::AudioCodec &encoder, platform::StreamDescription &input,
                     platform::StreamDescription &output) const override;
  void post_encode_hack(const platform::AudioCodec &encoder, m4a_t *file) const override;

private:
  const AuRecOptionsALAC options;
};

}  // namespace auspool
