// MPEG-4 files of a system's audio encoder. The classes of the formats differ only in small answers to questions.
//
// With fast_start a file is plain: its index comes at the end, a background job moves it to the front, and until then a
// recovery record beside the file holds what its index would be made of. Without, it is fragmented and safe by itself.
#pragma once

#include <array>
#include <mutex>
#include <string>

#include "auspool/m4a.h"
#include "base/four_cc.h"
#include "platform/audio_codec.h"
#include "recorder/recorder.h"

namespace auspool {

class RecorderM4A : public Recorder {
public:
  static bool is_available(std::uint32_t subtype) { return platform::AudioCodec::is_available(subtype); }

  using Recorder::Recorder;

  // How the file system knows the files: one that cannot be played while it loads is no music file or book.
  std::uint32_t os_type() const override {
    return !fast_start() ? four_cc("MP4 ") : audiobook() ? four_cc("M4B ") : four_cc("M4A ");
  }
  std::uint32_t creator() const override { return four_cc("tnch"); }

protected:
  virtual float enc_rate(float rate) const = 0;  // of the file, for an input of this rate
  virtual std::uint32_t component_subtype() const = 0;
  virtual bool force_mono() const = 0;
  virtual std::uint32_t max_bitrate() const = 0;  // bits a second; 0 for lossless
  virtual std::int32_t flavor() const = 0;        // M4A_KIND_AAC or M4A_KIND_ALAC
  virtual bool wants_shorts() const = 0;          // of 16 bits, not floats
  virtual bool fast_start() const = 0;
  virtual void prepare_codec(platform::AudioCodec &encoder, platform::StreamDescription &input,
                             platform::StreamDescription &output) const = 0;
  virtual void post_encode_hack(const platform::AudioCodec &, m4a_t *) const {}
  virtual bool audiobook() const = 0;

  // Interleaved audio for the encoder, and its answer of the same rate.
  void describe(std::uint32_t format_flags, std::uint32_t bytes_per_sample, const platform::AudioCodec &of,
                platform::StreamDescription &input, platform::StreamDescription &output) const;

private:
  void run_core() final;
  std::int32_t flush_buffer(std::FILE *file, bool pad) final;

  // The encoder, from open_codec to close_codec.
  bool open_codec();
  std::int32_t initialize_codec();
  void close_codec();
  void end_without_codec(AuRecErrorCode code, const char *text);
  void refuse_codec(std::int32_t error);
  bool produce();
  void drain_codec();
  std::span<const std::uint8_t> encoder_input(std::int32_t frames);

  // One file.
  bool record_file(FilePtr file, TagsOfFile &tags);  // whether another may follow
  FilePtr begin_recovery();
  bool begin_m4a(std::FILE *file, std::FILE *recovery, const TagsOfFile &tags);
  void refuse_file(FilePtr file, FilePtr recovery);
  bool finish_m4a(FilePtr file, const TagsOfFile &tags, bool goes_on);
  bool finish_plain(FilePtr file, const TagsOfFile &tags, bool goes_on);
  void discount_lost_packets();
  void end_recovery(FilePtr recovery);
  void keep_or_delete(bool whole);
  std::int32_t profile() const;
  std::uint32_t channels() const { return force_mono() ? 1 : 2; }

  std::unique_ptr<platform::AudioCodec> codec;
  std::int64_t packet_frames = 0;
  std::int64_t max_packet_bytes = 0;
  m4a_t *m4a = nullptr;  // the file in hand
  std::string recovery_path;
  bool fragmented = false;
  std::vector<float> audio;           // one packet's frames, interleaved
  std::vector<std::uint8_t> samples;  // the same in 16 bits
  std::vector<std::uint8_t> packet;

  static std::mutex sAudioCodecThreadFixMutex;  // encoders are prepared one at a time in the whole process
};

// What error 10 says. The number is part of it, so that a host that prints it as a format shows the same.
std::array<char, 64> codec_error_text(std::int32_t error);

// What the background job of a plain file calls at its end: closes the file and tells the host.
void recorder_m4a_post_proc_done(fs_fix_th_data_t *fix_data);

}  // namespace auspool
