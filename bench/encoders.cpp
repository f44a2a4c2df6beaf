// What the recorder adds to an encoder: the worker's CPU time of a file, from its creation to its end, beside the
// library alone on the same audio, which it has as integers already, in the same blocks and into a file as well.
#include <FLAC/stream_encoder.h>
#include <benchmark/benchmark.h>
#include <lame.h>
#include <unistd.h>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/opt.h>
}

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>
#include <type_traits>
#include <vector>

#include "recording.h"

namespace {

using bench::kRate;
constexpr std::size_t kFrames = 60 * 44100;
constexpr std::int32_t kFlacBlock = 1024, kMp3Block = 1152, kAacBlock = 1024, kAlacBlock = 4096;
constexpr std::int32_t kRing = 52428800;
constexpr std::int32_t kLessThanAPacket = 8 * kAlacBlock;  // waits in the ring for the end

// Tones that come and go over a little noise, as floats that are whole numbers of 16 bits.
std::vector<float> music(double pitch) {
  std::vector<float> samples = bench::noise(kFrames);
  for (std::size_t i = 0; i < kFrames; ++i) {
    const double t = static_cast<double>(i) / static_cast<double>(kRate), beat = std::fmod(t, 0.5);
    double value = 0.003 * static_cast<double>(samples[i]);
    for (int harmonic = 1; harmonic <= 8; ++harmonic) {
      const double hz = pitch * harmonic * (1 + 0.25 * std::floor(std::fmod(t, 2.0) * 2));
      value += 0.3 / harmonic * std::exp(-4 * beat) * std::sin(6.283185307179586 * hz * t);
    }
    samples[i] = static_cast<float>(std::trunc(value * 20000) / 32768);
  }
  return samples;
}

struct Audio {
  std::vector<float> left = music(220), right = music(277);
};
const Audio &audio() {
  static const Audio all;
  return all;
}

template <typename Sample>
std::vector<Sample> integers(const std::vector<float> &samples) {
  std::vector<Sample> all;
  for (const float sample : samples) all.push_back(static_cast<Sample>(sample * 32768.0f));
  return all;
}

void report(benchmark::State &state, double seconds) {
  state.SetIterationTime(seconds);
  state.counters["ns_a_frame"] = 1e9 * seconds / static_cast<double>(kFrames);  // of the last file
}

// All audio is put into the ring, and the worker left alone with it.
void recorder(benchmark::State &state, AuRecOutputType type, std::uint32_t fast_start = 0) {
  const float *const channels[2] = {audio().left.data(), audio().right.data()};
  for (auto _ : state) {
    bench::Recording recording(type);
    aurec_set_aac_options(recording.rec(), {0, 128, 0, 5, fast_start, 0});
    aurec_set_alac_options(recording.rec(), {0, 0, fast_start});
    aurec_set_buffer_size(recording.rec(), kRing);
    recording.start();
    if (aurec_record(recording.rec(), kRate, channels, kFrames)) state.SkipWithError("audio was dropped");
    while (aurec_buffer_available_space(recording.rec()) < kRing - kLessThanAPacket) {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    aurec_stop(recording.rec());
    while (aurec_has_active_files(recording.rec())) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    report(state, recording.cpu_seconds());
  }
}

std::FILE *new_file(std::string &path) {
  path = bench::temporary_path();
  return std::fopen(path.c_str(), "w+x");
}

void bare_flac(benchmark::State &state) {
  std::vector<std::int32_t> interleaved(2 * kFrames);
  const auto left = integers<std::int32_t>(audio().left), right = integers<std::int32_t>(audio().right);
  for (std::size_t i = 0; i < kFrames; ++i) interleaved[2 * i] = left[i], interleaved[2 * i + 1] = right[i];
  for (auto _ : state) {
    const double before = bench::thread_cpu_seconds();
    std::string path;
    FLAC__StreamEncoder *const encoder = FLAC__stream_encoder_new();
    FLAC__stream_encoder_set_channels(encoder, 2);
    FLAC__stream_encoder_set_bits_per_sample(encoder, 16);
    FLAC__stream_encoder_set_sample_rate(encoder, 44100);
    FLAC__stream_encoder_init_FILE(encoder, new_file(path), nullptr, nullptr);
    for (std::size_t at = 0; at < kFrames; at += kFlacBlock) {
      const auto frames = static_cast<std::uint32_t>(std::min<std::size_t>(kFlacBlock, kFrames - at));
      FLAC__stream_encoder_process_interleaved(encoder, &interleaved[2 * at], frames);
    }
    FLAC__stream_encoder_finish(encoder);
    FLAC__stream_encoder_delete(encoder);
    report(state, bench::thread_cpu_seconds() - before);
    unlink(path.c_str());
  }
}

void bare_lame(benchmark::State &state) {
  const auto left = integers<std::int16_t>(audio().left), right = integers<std::int16_t>(audio().right);
  std::vector<unsigned char> out(32768);
  for (auto _ : state) {
    const double before = bench::thread_cpu_seconds();
    std::string path;
    std::FILE *const file = new_file(path);
    const lame_t lame = lame_init();
    lame_set_in_samplerate(lame, 44100);
    lame_set_quality(lame, 5);
    lame_set_mode(lame, JOINT_STEREO);
    lame_set_brate(lame, 128);
    lame_set_bWriteVbrTag(lame, 0);
    lame_init_params(lame);
    const auto room = static_cast<int>(out.size());
    for (std::size_t at = 0; at < kFrames; at += kMp3Block) {
      const auto frames = static_cast<int>(std::min<std::size_t>(kMp3Block, kFrames - at));
      const int bytes = lame_encode_buffer(lame, &left[at], &right[at], frames, out.data(), room);
      if (bytes > 0) std::fwrite(out.data(), 1, static_cast<std::size_t>(bytes), file);
    }
    const int bytes = lame_encode_flush(lame, out.data(), room);
    if (bytes > 0) std::fwrite(out.data(), 1, static_cast<std::size_t>(bytes), file);
    lame_close(lame);
    std::fclose(file);
    report(state, bench::thread_cpu_seconds() - before);
    unlink(path.c_str());
  }
}

// An encoder of libavcodec for one block after the other, set up as the recorder does it.
AVCodecContext *open_encoder(const char *name, AVSampleFormat format) {
  const AVCodec *const codec = avcodec_find_encoder_by_name(name);
  AVCodecContext *const context = avcodec_alloc_context3(codec);
  context->sample_rate = 44100;
  context->sample_fmt = format;
  context->time_base = {1, 44100};
  context->thread_count = 1;
  if (format == AV_SAMPLE_FMT_FLTP) context->bit_rate = 128000;
  av_channel_layout_default(&context->ch_layout, 2);
  (void)av_opt_set(context->priv_data, "aac_coder", "twoloop", 0);
  if (avcodec_open2(context, codec, nullptr) < 0) std::abort();
  return context;
}

void write_packets(AVCodecContext *context, const AVFrame *frame, AVPacket *packet, std::FILE *file) {
  if (avcodec_send_frame(context, frame) < 0) std::abort();
  while (avcodec_receive_packet(context, packet) == 0) {
    std::fwrite(packet->data, 1, static_cast<std::size_t>(packet->size), file);
    av_packet_unref(packet);
  }
}

template <typename Sample>
void bare_libavcodec(benchmark::State &state, const char *name, AVSampleFormat format, std::size_t block) {
  std::vector<Sample> channels[2];
  if constexpr (std::is_same_v<Sample, float>)
    channels[0] = audio().left, channels[1] = audio().right;
  else
    channels[0] = integers<Sample>(audio().left), channels[1] = integers<Sample>(audio().right);
  for (std::vector<Sample> &channel : channels) channel.resize((kFrames + block - 1) / block * block);
  for (auto _ : state) {
    const double before = bench::thread_cpu_seconds();
    std::string path;
    std::FILE *const file = new_file(path);
    AVCodecContext *context = open_encoder(name, format);
    AVPacket *packet = av_packet_alloc();
    AVFrame *frame = av_frame_alloc();
    for (std::size_t at = 0; at < kFrames; at += block) {
      av_frame_unref(frame);
      frame->nb_samples = static_cast<int>(block);
      frame->format = format;
      frame->sample_rate = 44100;
      frame->pts = static_cast<std::int64_t>(at);
      av_channel_layout_copy(&frame->ch_layout, &context->ch_layout);
      av_frame_get_buffer(frame, 0);
      for (std::size_t c = 0; c < 2; ++c)
        std::memcpy(frame->extended_data[c], &channels[c][at], block * sizeof(Sample));
      write_packets(context, frame, packet, file);
    }
    write_packets(context, nullptr, packet, file);
    av_frame_free(&frame);
    av_packet_free(&packet);
    avcodec_free_context(&context);
    std::fclose(file);
    report(state, bench::thread_cpu_seconds() - before);
    unlink(path.c_str());
  }
}
void bare_aac(benchmark::State &state) {
  bare_libavcodec<float>(state, "aac", AV_SAMPLE_FMT_FLTP, kAacBlock);
}
void bare_alac(benchmark::State &state) {
  bare_libavcodec<std::int16_t>(state, "alac", AV_SAMPLE_FMT_S16P, kAlacBlock);
}

}  // namespace

BENCHMARK_CAPTURE(recorder, flac, AuRecOutputTypeFLAC)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(bare_flac)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(recorder, mp3, AuRecOutputTypeMP3)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(bare_lame)->UseManualTime()->Unit(benchmark::kMillisecond);

#define MANUAL UseManualTime()->Unit(benchmark::kMillisecond)
BENCHMARK_CAPTURE(recorder, aac, AuRecOutputTypeAAC, 1)->MANUAL;
BENCHMARK_CAPTURE(recorder, aac_fragmented, AuRecOutputTypeAAC, 0)->MANUAL;
BENCHMARK(bare_aac)->MANUAL;
BENCHMARK_CAPTURE(recorder, alac, AuRecOutputTypeALAC, 1)->MANUAL;
BENCHMARK_CAPTURE(recorder, alac_fragmented, AuRecOutputTypeALAC, 0)->MANUAL;
BENCHMARK(bare_alac)->MANUAL;

BENCHMARK_MAIN();
