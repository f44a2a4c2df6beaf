// The files of a recording through a system's encoder. What reaches the encoder is in m4a_encoding.cpp.
#include "recorder/recorder_m4a.h"

#include <unistd.h>

#include <algorithm>

#include "base/byte_order.h"
#include "m4a/fit_to_disk.h"
#include "m4a/record.h"
#include "platform/recovery_path.h"

namespace auspool {

void RecorderM4A::run_core() {
  rate_out = enc_rate(rate_in);
  fragmented = !fast_start();
  if (!open_codec()) return;
  file_index = 0;
  TagsOfFile tags;
  bool goes_on = true;
  while (goes_on) {
    FilePtr file = open_fp(tags);
    goes_on = file && record_file(std::move(file), tags);
  }
  close_codec();
}

bool RecorderM4A::record_file(FilePtr file, TagsOfFile &tags) {
  FilePtr recovery = fragmented ? nullptr : begin_recovery();
  if (!begin_m4a(file.get(), recovery.get(), tags)) {
    refuse_file(std::move(file), std::move(recovery));
    return false;
  }
  begin_file(file.get());
  const bool goes_on = core_loop(file.get());
  if (!goes_on) {
    drain(file.get());
    count_frames(flush_buffer(file.get(), true));  // what is left, filled up to a packet
  }
  drain_codec();
  close_books();
  const bool whole = finish_m4a(std::move(file), tags, goes_on);
  m4a = nullptr;
  if (recovery) end_recovery(std::move(recovery));
  const std::int32_t codec_error = goes_on ? codec->reset() : 0;
  tags.clear();
  keep_or_delete(whole);
  if (!goes_on) end_recording();
  file_open = false;
  if (codec_error != 0) refuse_codec(codec_error);
  return goes_on && codec_error == 0;
}

// The record dies with the file's index: a recording goes on without one where it cannot be made.
//   0 magic   32 encoder   36 channels   40 rate   44 frames of a packet   48 bitrate   52 size of each packet
// From 36 on it is written by the m4a family. Numbers are big-endian.
FilePtr RecorderM4A::begin_recovery() try {
  constexpr char kMagic[] = "sound siphon bulletproof data v1";
  recovery_path = platform::recovery_path(path);
  FilePtr recovery(std::fopen(recovery_path.c_str(), "w+e"));
  if (!recovery) return nullptr;
  std::uint8_t subtype[4];
  store_be(subtype, component_subtype());
  std::fwrite(kMagic, 1, sizeof kMagic - 1, recovery.get());
  std::fwrite(subtype, 1, sizeof subtype, recovery.get());
  std::fflush(recovery.get());
  return recovery;
} catch (const std::bad_alloc &) {
  return nullptr;
}

void RecorderM4A::end_recovery(FilePtr recovery) {
  std::fseek(recovery.get(), 0, SEEK_SET);
  std::fputc(0, recovery.get());  // no record any more, should it outlive its name
  recovery.reset();
  unlink(recovery_path.c_str());
}

std::int32_t RecorderM4A::profile() const {
  return component_subtype() == four_cc("aach")   ? M4A_PROFILE_HE
         : component_subtype() == four_cc("aacp") ? M4A_PROFILE_HE_V2
                                                  : M4A_PROFILE_LC;
}

bool RecorderM4A::begin_m4a(std::FILE *file, std::FILE *recovery, const TagsOfFile &tags) {
  const auto rate = static_cast<std::uint32_t>(float{rate_out});
  const auto frames = static_cast<std::uint32_t>(packet_frames);
  m4a = fragmented
            ? m4a_begin_fragmented(file, tags.get(), flavor(), channels(), rate, frames, max_bitrate(), profile())
            : m4a_begin(file, recovery, channels(), rate, frames, max_bitrate(), profile());
  return m4a != nullptr;
}

void RecorderM4A::refuse_file(FilePtr file, FilePtr recovery) {
  recording.store(false, std::memory_order_relaxed);
  started = false;
  file.reset();
  unlink(path);
  if (recovery) {
    recovery.reset();
    unlink(recovery_path.c_str());
  }
  log_error(AuRecErrorM4ABegin, "m4a_begin() failed, file deleted");
}

bool RecorderM4A::finish_m4a(FilePtr file, const TagsOfFile &tags, bool goes_on) {
  if (!fragmented) return finish_plain(std::move(file), tags, goes_on);
  const bool whole = m4a_finish_fragmented(m4a, flavor()) == 0;
  discount_lost_packets();
  m4a::release_record(m4a);
  return whole;
}

// What the disk did not take is not in the file.
void RecorderM4A::discount_lost_packets() {
  const std::int64_t lost = std::min<std::int64_t>(m4a->packets_lost * packet_frames, file_frames);
  file_frames = file_frames - lost;
  total_frames = total_frames - lost;
}

// Hands the file to a background job, which moves the index to its front and then tells the host.
bool RecorderM4A::finish_plain(FilePtr file, const TagsOfFile &tags, bool goes_on) {
  file_finalize();
  const bool fits = m4a::fit_to_disk(*m4a, tags.get(), flavor());  // m4a_finish would, but not tell what it costs
  discount_lost_packets();
  std::unique_ptr<fs_fix_th_data_t> fix(new (std::nothrow) fs_fix_th_data_t{});
  std::unique_ptr<post_proc_data_t> post(new (std::nothrow) post_proc_data_t{});
  if (!fits || !fix || !post) {
    m4a::release_record(m4a);
    return false;
  }
  fill_post_proc_data(post.get(), goes_on);
  *fix = {aurec, recorder_m4a_post_proc_done, file.get(), nullptr, post.get()};
  if (m4a_finish(m4a, tags.get(), flavor(), fix.get()) != 0) return false;
  (void)file.release();  // all three are the job's
  (void)fix.release();
  (void)post.release();
  return true;
}

// The host hears of a whole plain file from the job.
void RecorderM4A::keep_or_delete(bool whole) {
  if (delete_empty_file()) return;
  if (!whole) {
    unlink(path);
    log_error(AuRecErrorM4AFinish, "m4a_finish() error, file deleted");
    return;
  }
  if (fragmented) file_done();
  ++file_index;
}

void recorder_m4a_post_proc_done(fs_fix_th_data_t *fix_data) {
  const std::unique_ptr<fs_fix_th_data_t> fix(fix_data);
  const std::unique_ptr<post_proc_data_t> post(static_cast<post_proc_data_t *>(fix->post_proc));
  std::fclose(fix->file);
  if (post->done_cb) post->done_cb(post->ext_ref, post->file_token);
}

}  // namespace auspool
