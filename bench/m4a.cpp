// Writing MPEG-4 files: what a frame of audio costs on its way from packets into a file, beside libavformat's muxer and
// beside the bare fwrite of the same packets; and the index of a finished file on its way to the front, beside cp.
#include <benchmark/benchmark.h>
#include <unistd.h>

extern "C" {
#include <libavformat/avformat.h>
}

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <semaphore>
#include <string>
#include <utility>
#include <vector>

#include "auspool/m4a.h"
#include "recording.h"

namespace {

// Audio in packets, as the encoders of this library make them of music.
struct Stream {
  AVCodecID codec;
  std::int32_t kind;
  std::uint32_t frames, bytes;  // of a packet
  int packets;

  double all_frames() const { return static_cast<double>(frames) * packets; }
};
constexpr Stream kAac = {AV_CODEC_ID_AAC, M4A_KIND_AAC, 1024, 372, 77520};      // half an hour
constexpr Stream kAlac = {AV_CODEC_ID_ALAC, M4A_KIND_ALAC, 4096, 10000, 6460};  // ten minutes
constexpr std::uint32_t kHz = 44100;

std::vector<std::uint8_t> packet_of(const Stream &stream) {
  return std::vector<std::uint8_t>(stream.bytes, 'p');
}

// A stream with a buffer, by default as large as that of libavformat's.
class File {
public:
  explicit File(const std::string &path, std::size_t buffer_bytes = 32768)
      : buffer_(buffer_bytes), stream_(std::fopen(path.c_str(), "w+")) {
    std::setvbuf(stream_, buffer_.data(), _IOFBF, buffer_.size());
  }
  ~File() { close(); }
  File(const File &) = delete;
  File &operator=(const File &) = delete;

  std::FILE *stream() const { return stream_; }
  void close() {
    if (stream_ != nullptr) std::fclose(std::exchange(stream_, nullptr));
  }

private:
  std::vector<char> buffer_;
  std::FILE *stream_;
};

using Clock = std::chrono::steady_clock;

double seconds_since(Clock::time_point moment) {
  return std::chrono::duration<double>(Clock::now() - moment).count();
}

// Returns the moment at which all packets were there.
Clock::time_point plain(const Stream &stream, std::FILE *file, std::FILE *record, fs_fix_th_data_t *fix = nullptr) {
  const std::vector<std::uint8_t> packet = packet_of(stream);
  m4a_t *const m4a = m4a_begin(file, record, 2, kHz, stream.frames, 128000, M4A_PROFILE_LC);
  for (int i = 0; i < stream.packets; ++i) m4a_write_sample(m4a, packet.data(), static_cast<int>(packet.size()));
  const auto moment = Clock::now();
  if (m4a_finish(m4a, nullptr, stream.kind, fix) != 0) std::abort();
  return moment;
}

void auspool(const Stream &stream, const std::string &path) {
  const File file(path);
  plain(stream, file.stream(), nullptr);
}

void auspool_with_record(const Stream &stream, const std::string &path) {
  const std::string beside = path + ".recovery";
  const File file(path), record(beside);
  plain(stream, file.stream(), record.stream());
  unlink(beside.c_str());
}

void auspool_fragmented(const Stream &stream, const std::string &path) {
  const std::vector<std::uint8_t> packet = packet_of(stream);
  const auto size = static_cast<int>(packet.size());
  const File file(path);
  m4a_t *const m4a =
      m4a_begin_fragmented(file.stream(), nullptr, stream.kind, 2, kHz, stream.frames, 128000, M4A_PROFILE_LC);
  for (int i = 0; i < stream.packets; ++i) m4a_write_sample_fragmented(m4a, packet.data(), size);
  m4a_finish_fragmented(m4a, stream.kind);
}

void bare_fwrite(const Stream &stream, const std::string &path) {
  const std::vector<std::uint8_t> packet = packet_of(stream);
  const File file(path);
  for (int i = 0; i < stream.packets; ++i) std::fwrite(packet.data(), 1, packet.size(), file.stream());
}

// A decoder's configuration, which the muxer asks for.
void set_configuration(AVCodecParameters &of, const Stream &stream) {
  const std::size_t bytes = stream.codec == AV_CODEC_ID_AAC ? 2 : 36;
  of.extradata = static_cast<std::uint8_t *>(av_mallocz(bytes + AV_INPUT_BUFFER_PADDING_SIZE));
  of.extradata_size = static_cast<int>(bytes);
  of.extradata[0] = 0x12;
  of.extradata[1] = 0x10;
}

void by_libavformat(const Stream &stream, const std::string &path, const char *flags) {
  std::vector<std::uint8_t> packet = packet_of(stream);
  av_log_set_level(AV_LOG_ERROR);
  AVFormatContext *format = nullptr;
  avformat_alloc_output_context2(&format, nullptr, "ipod", path.c_str());
  AVCodecParameters &parameters = *avformat_new_stream(format, nullptr)->codecpar;
  parameters.codec_type = AVMEDIA_TYPE_AUDIO;
  parameters.codec_id = stream.codec;
  parameters.sample_rate = static_cast<int>(kHz);
  parameters.frame_size = static_cast<int>(stream.frames);
  parameters.format = AV_SAMPLE_FMT_S16P;
  av_channel_layout_default(&parameters.ch_layout, 2);
  set_configuration(parameters, stream);
  AVDictionary *options = nullptr;
  if (*flags != '\0') av_dict_set(&options, "movflags", flags, 0);
  if (avio_open(&format->pb, path.c_str(), AVIO_FLAG_WRITE) < 0 || avformat_write_header(format, &options) < 0)
    std::abort();
  AVPacket *out = av_packet_alloc();
  for (int i = 0; i < stream.packets; ++i) {
    out->data = packet.data();
    out->size = static_cast<int>(packet.size());
    out->pts = out->dts = static_cast<std::int64_t>(i) * stream.frames;
    out->duration = stream.frames;
    if (av_write_frame(format, out) < 0) std::abort();
  }
  av_write_trailer(format);
  avio_closep(&format->pb);
  av_packet_free(&out);
  avformat_free_context(format);
  av_dict_free(&options);
}

void libavformat(const Stream &stream, const std::string &path) {
  by_libavformat(stream, path, "");
}
void libavformat_fragmented(const Stream &stream, const std::string &path) {
  by_libavformat(stream, path, "frag_keyframe+empty_moov+default_base_moof");
}

// Processor time from the creation of a file to its end.
void write_file(benchmark::State &state, const Stream &stream, void (*write)(const Stream &, const std::string &)) {
  double total = 0;
  for (auto _ : state) {
    const std::string path = bench::temporary_path();
    const double before = bench::thread_cpu_seconds();
    write(stream, path);
    const double seconds = bench::thread_cpu_seconds() - before;
    state.SetIterationTime(seconds);
    total += seconds;
    unlink(path.c_str());
  }
  state.counters["ns_a_frame"] = 1e9 * total / stream.all_frames() / static_cast<double>(state.iterations());
}

#define WRITE(stream, way) \
  BENCHMARK_CAPTURE(write_file, stream##_##way, stream, way)->UseManualTime()->Unit(benchmark::kMillisecond)
#define WRITE_BESIDE_PEERS(stream)    \
  WRITE(stream, auspool);             \
  WRITE(stream, auspool_with_record); \
  WRITE(stream, auspool_fragmented);  \
  WRITE(stream, bare_fwrite);         \
  WRITE(stream, libavformat);         \
  WRITE(stream, libavformat_fragmented)
WRITE_BESIDE_PEERS(kAac);
WRITE_BESIDE_PEERS(kAlac);

// ---- The index to the front ----

constexpr Stream kLong = {AV_CODEC_ID_ALAC, M4A_KIND_ALAC, 4096, 10000, 25000};  // 250 MB

// From the end of a recording until the job has closed the file. What was written in large pieces lies in large pieces
// in the page cache too.
double fast_start(const std::string &path, std::size_t buffer_bytes) {
  struct Job {
    File file;
    std::binary_semaphore done{0};
  } job{File(path, buffer_bytes)};
  fs_fix_th_data_t fix = {};
  fix.file = job.file.stream();
  fix.post_proc = &job;
  fix.done_proc = [](fs_fix_th_data_t *of) {
    static_cast<Job *>(of->post_proc)->file.close();
    static_cast<Job *>(of->post_proc)->done.release();
  };
  const auto end_of_recording = plain(kLong, fix.file, nullptr, &fix);
  job.done.acquire();
  return seconds_since(end_of_recording);
}

double fast_start_32768(const std::string &path) {
  return fast_start(path, 32768);
}
double fast_start_4096(const std::string &path) {
  return fast_start(path, 4096);
}

double cp(const std::string &path, std::size_t buffer_bytes) {
  const std::string copy = path + ".copy", command = "cp " + path + " " + copy;
  plain(kLong, File(path, buffer_bytes).stream(), nullptr);
  const auto before = Clock::now();
  if (std::system(command.c_str()) != 0) std::abort();
  const double seconds = seconds_since(before);
  unlink(copy.c_str());
  return seconds;
}

double cp_32768(const std::string &path) {
  return cp(path, 32768);
}
double cp_4096(const std::string &path) {
  return cp(path, 4096);
}

void move_250_MB(benchmark::State &state, double (*move)(const std::string &)) {
  for (auto _ : state) {
    const std::string path = bench::temporary_path();
    state.SetIterationTime(move(path));
    unlink(path.c_str());
  }
}

// A pass is short against what the disk does at its leisure: only the median of many, in turns, says anything.
#define MOVE(way)                          \
  BENCHMARK_CAPTURE(move_250_MB, way, way) \
      ->UseManualTime()                    \
      ->Iterations(1)                      \
      ->Repetitions(25)                    \
      ->ReportAggregatesOnly()             \
      ->Unit(benchmark::kMillisecond)
MOVE(fast_start_32768);
MOVE(fast_start_4096);
MOVE(cp_32768);
MOVE(cp_4096);

}  // namespace

BENCHMARK_MAIN();
