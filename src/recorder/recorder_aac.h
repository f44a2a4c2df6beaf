// AAC in MPEG-4 files: low complexity, and the two profiles of high efficiency where an encoder for them is installed.
#pragma once

#include "base/four_cc.h"
#include "recorder/recorder_m4a.h"

namespace auspool {

class RecorderAAC : public RecorderM4A {
public:
  static constexpr AuRecOptionsAAC DefaultOptions() { return {0, 128, 0, 5, 1, 0}; }
  static void fix_opts(AuRecOptionsAAC *options);
  // Of low complexity: nothing is told here of the profiles of high efficiency.
  static bool is_available() { return RecorderM4A::is_available(four_cc("aac ")); }

  RecorderAAC(::aurec *owner, ext_vars_t *shared, const AuRecOptionsAAC &wanted)
      : RecorderM4A(owner, shared), options(wanted) {}

  AuRecOutputType type() const override { return AuRecOutputTypeAAC; }

protected:
  float enc_rate(float rate) const override;
  std::uint32_t component_subtype() const override;
  bool force_mono() const override { return options.mono != 0; }
  std::uint32_t max_bitrate() const override { return options.bitrate * 1000; }
  std::int32_t flavor() const override { return M4A_KIND_AAC; }
  bool wants_shorts() const override { return false; }
  bool fast_start() const override { return options.fast_start != 0; }
  bool audiobook() const override { return options.audiobook != 0; }
  void prepare_codec(platform::AudioCodec &encoder, platform::StreamDescription &input,
                     platform::StreamDescription &output) const override;

private:
  const AuRecOptionsAAC options;
};

}  // namespace auspool
