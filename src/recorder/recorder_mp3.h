// MP3 files. One encoder lives for the whole recording: its files are cut from one stream, and join without a gap.
#pragma once

#include <memory>

#include "platform/mp3_encoder.h"
#include "recorder/recorder.h"

namespace auspool {

class RecorderMP3 final : public Recorder {
public:
  static constexpr AuRecOptionsMP3 DefaultOptions() { return {0, 5, 0, 5, 128, 0, 0.0f}; }
  static void fix_opts(AuRecOptionsMP3 *options);
  static bool is_available() { return platform::Mp3Encoder::is_available(); }

  RecorderMP3(::aurec *owner, ext_vars_t *shared, const AuRecOptionsMP3 &wanted)
      : Recorder(owner, shared), options(wanted) {}

  std::size_t stack_size() const override { return 1048576; }
  AuRecOutputType type() const override { return AuRecOutputTypeMP3; }
  std::uint32_t os_type() const override;
  std::uint32_t creator() const override;

private:
  void run_core() override;
  std::int32_t flush_buffer(std::FILE *file, bool pad) override;

  AuRecErrorCode set_up();  // 0, or what went wrong
  void log_set_up_error(AuRecErrorCode code);
  void tear_down();
  bool allocate_work_buffer();
  bool record_file(FilePtr file, TagsOfFile &tags);  // whether another follows
  void write_tag(std::FILE *file, TagsOfFile &tags) const;
  void complete_stream(std::FILE *file, bool goes_on);

  const AuRecOptionsMP3 options;
  platform::Mp3Encoder lame;
  std::unique_ptr<std::byte[]> work_buffer;  // one for all stages and the whole recording:
  float *float_frames = nullptr;             // a block of interleaved stereo,
  std::int16_t *pcm = nullptr;               // its left samples and then its right ones,
  std::uint8_t *mp3_out = nullptr;           // what the encoder made of them
};

}  // namespace auspool
