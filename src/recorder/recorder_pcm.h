// Uncompressed AIFF and WAVE files: 16 or 24 bits, stereo or mono.
#pragma once

#include <memory>

#include "recorder/recorder.h"

namespace auspool {

enum AuRecPCMKind : std::int32_t { kPCMKindAIFF = 0, kPCMKindWAVE = 1 };

class RecorderPCM final : public Recorder {
public:
  static constexpr AuRecOptionsPCM DefaultOptions() { return {0, 0, 0, 0.0f}; }
  static void fix_pcm_opts(AuRecOptionsPCM *options);
  static bool is_available() { return true; }

  RecorderPCM(::aurec *owner, ext_vars_t *shared, const AuRecOptionsPCM &wanted, AuRecPCMKind container)
      : Recorder(owner, shared), options(wanted), kind(container) {}

  AuRecOutputType type() const override;
  std::uint32_t os_type() const override;

private:
  void run_core() override;
  std::int32_t flush_buffer(std::FILE *file, bool pad) override;

  bool make_room(std::FILE *file);
  void fill_header();
  void refresh_header();
  void complete_header(std::FILE *file);
  void realign(std::FILE *file, std::size_t frames_in_hand) const;
  void reduce_to_mono(float *frames, std::int32_t count) const;
  std::size_t channels() const { return options.mono == 0 ? 2 : 1; }
  std::size_t bytes_per_sample() const { return options.bit_depth == 1 ? 3 : 2; }
  std::size_t frame_bytes() const { return channels() * bytes_per_sample(); }

  double last_header_time = 0;  // file time of the last refresh
  const AuRecOptionsPCM options;
  TagBlock tag_block;
  const AuRecPCMKind kind;
  std::vector<std::uint8_t> header;  // of the current file, tags included
};

}  // namespace auspool
