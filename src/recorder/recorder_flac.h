// FLAC files of 16 bits, stereo or mono.
#pragma once

#include "platform/flac_encoder.h"
#include "recorder/recorder.h"

namespace auspool {

class RecorderFLAC final : public Recorder {
public:
  static constexpr AuRecOptionsFLAC DefaultOptions() { return {0}; }
  static void fix_opts(AuRecOptionsFLAC *options);
  static bool is_available() { return platform::FlacEncoder::is_available(); }

  RecorderFLAC(::aurec *owner, ext_vars_t *shared, const AuRecOptionsFLAC &wanted)
      : Recorder(owner, shared), options(wanted) {}

  AuRecOutputType type() const override { return AuRecOutputTypeFLAC; }
  std::uint32_t os_type() const override;

private:
  void run_core() override;
  std::int32_t flush_buffer(std::FILE *file, bool pad) override;

  enum class Next { kFile, kEnd, kRefused };
  Next record_file(FilePtr file, TagsOfFile &tags);
  std::uint32_t channels() const { return options.mono == 0 ? 2 : 1; }

  const AuRecOptionsFLAC options;
  platform::FlacEncoder encoder;  // there while a recording runs
};

}  // namespace auspool
