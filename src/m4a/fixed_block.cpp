#include "m4a/fixed_block.h"

#include <array>

#include "base/byte_order.h"
#include "base/four_cc.h"
#include "base/mpeg4_time.h"
#include "m4a/audio_specific_config.h"
#include "m4a/record.h"

namespace auspool::m4a {
namespace {

// A word of the block that is not 0, by its offset in bytes.
struct Row {
  std::uint16_t offset;
  std::uint32_t word;
};

// Sizes of atoms, whose contents follow.
constexpr std::size_t kMoov = 0, kTrak = 116, kMdia = 216, kMinf = 292, kStbl = 352, kStsd = 360;
constexpr std::size_t kCreationTimes[] = {20, 136, 236}, kModificationTimes[] = {24, 140, 240};
constexpr std::size_t kTimeScales[] = {28, 244}, kDurations[] = {32, 152, 248};
constexpr std::size_t kSampleEntry = 376, kChannelsAndBits = 400, kRate = 408;
constexpr std::uint32_t kUnity = 0x00010000, kUnityOfW = 0x40000000, kFullVolume = 0x01000000;

constexpr Row kTrack[] = {
    {kMoov + 4, four_cc("moov")},
    {8, 108},
    {12, four_cc("mvhd")},
    {36, kUnity},  // rate
    {40, kFullVolume},
    {52, kUnity},
    {68, kUnity},
    {84, kUnityOfW},
    {112, 2 /* next track */},
    {kTrak + 4, four_cc("trak")},
    {124, 92},
    {128, four_cc("tkhd")},
    {132, 7},  // enabled, in the presentation, in its preview
    {144, 1 /* track */},
    {168, kFullVolume},
    {172, kUnity},
    {188, kUnity},
    {204, kUnityOfW},
    {kMdia + 4, four_cc("mdia")},
    {224, 32},
    {228, four_cc("mdhd")},
    {256, 36},
    {260, four_cc("hdlr")},
    {272, four_cc("soun")},
    {kMinf + 4, four_cc("minf")},
    {300, 16},
    {304, four_cc("smhd")},
    {316, 36},
    {320, four_cc("dinf")},
    {324, 28},
    {328, four_cc("dref")},
    {336, 1 /* entries */},
    {340, 12},
    {344, four_cc("url ")},
    {348, 1 /* in this file */},
    {kStbl + 4, four_cc("stbl")},
    {kStsd + 4, four_cc("stsd")},
    {372, 1 /* entries */},
    {388, 1 /* data reference */},
};

constexpr Row kAac[] = {
    {kSampleEntry, 96},
    {kSampleEntry + 4, four_cc("mp4a")},
    {412, 51},
    {416, four_cc("esds")},
};

// What follows, of odd lengths.
constexpr std::size_t kEsds = 424, kMostBitrate = 442, kMeanBitrate = 446, kConfig = 455;
constexpr std::uint8_t kEsdsBytes[] = {
    3, 0x80, 0x80, 0x80, 34,  0,    0,    0,             // 424 ES descriptor: no number, no flags
    4, 0x80, 0x80, 0x80, 20,  0x40, 0x15, 0,   0x18, 0,  // 432 decoder: MPEG-4 audio, an audio stream, its buffer
    0, 0,    0,    0,    0,   0,    0,    0,             // 442 bitrate at most and on average
    5, 0x80, 0x80, 0x80, 2,   0,    0,                   // 450 decoder's own: 455 AudioSpecificConfig
    6, 0x80, 0x80, 0x80, 1,   2,                         // 457 synchronisation
    0, 0,    0,    9,    'f', 'r',  'e',  'e', 0,        // 463 makes up for the odd length
};

constexpr Row kAlac[] = {
    {kSampleEntry, 72}, {kSampleEntry + 4, four_cc("alac")}, {412, 36}, {416, four_cc("alac")},
    // 424 configuration
};

// What the two kinds differ in.
struct Kind {
  std::span<const Row> rows;
  std::size_t bytes;  // of the block; its last 24 are stts
};
constexpr Kind kKinds[] = {{kAac, 496}, {kAlac, 472}};

void put(Words &block, std::span<const Row> rows) {
  for (const Row &row : rows) block[row.offset / 4] = row.word;
}

void put(Words &block, std::span<const std::size_t> offsets, std::uint32_t word) {
  for (const std::size_t offset : offsets) block[offset / 4] = word;
}

void put_esds(Words &block, const m4a_t &m4a) {
  std::uint8_t bitrate[4];
  store_be(bitrate, m4a.bitrate);
  put_bytes(block, kEsds, kEsdsBytes);
  put_bytes(block, kMostBitrate, bitrate);
  put_bytes(block, kMeanBitrate, bitrate);
  put_bytes(block, kConfig, audio_specific_config(m4a.sample_rate, m4a.channels, m4a.profile));
}

void put_alac_config(Words &block, const m4a_t &m4a) {
  constexpr std::size_t kInfo = 424;
  if (m4a.alac_info) return put_bytes(block, kInfo, *m4a.alac_info);
  const Row rows[] = {
      {kInfo, m4a.packet_frames},
      {kInfo + 4, 0x0010280A},                                // version, 16 bits, and how the coder adapts
      {kInfo + 8, 0x0E0000FF | (m4a.channels & 0xFF) << 16},  // the coder's limits around the channels
      {kInfo + 12, static_cast<std::uint32_t>(m4a.max_sample_size)},
      {kInfo + 20, m4a.sample_rate},
  };
  put(block, rows);
}

//  0 size   4 "stts"   8 version and flags   12 entries   16 packets   20 frames of a packet
void put_stts(Words &block, std::uint32_t entries, std::uint32_t samples, std::uint32_t packet_frames) {
  std::uint32_t *stts = &block[block.size() - 6];
  stts[0] = 24;
  stts[1] = four_cc("stts");
  stts[3] = entries;
  stts[4] = samples;
  stts[5] = packet_frames;
}

}  // namespace

Words create_moov_block(const m4a_t &m4a, std::int32_t kind, std::uint32_t samples) {
  const Kind &of = kKinds[kind];
  Words block(of.bytes / 4);
  put(block, kTrack);
  put(block, of.rows);
  const auto bytes = static_cast<std::uint32_t>(of.bytes);
  for (const std::size_t atom : {kMoov, kTrak, kMdia, kMinf, kStbl}) {
    block[atom / 4] = bytes - static_cast<std::uint32_t>(atom);
  }
  block[kStsd / 4] = block[kSampleEntry / 4] + 16;
  const std::uint32_t now = mpeg4_seconds_now();
  put(block, kCreationTimes, now);
  put(block, kModificationTimes, now);
  put(block, kTimeScales, m4a.sample_rate);
  put(block, kDurations, samples * m4a.packet_frames);
  block[kChannelsAndBits / 4] = m4a.channels << 16 | 16;
  block[kRate / 4] = m4a.sample_rate << 16;  // of rates above 65535 Hz the low half: decoders go by the configuration
  kind == M4A_KIND_AAC ? put_esds(block, m4a) : put_alac_config(block, m4a);
  const bool fragmented = m4a.fragment_samples > 0;
  put_stts(block, fragmented ? 0 : 1, samples, m4a.packet_frames);
  return block;
}

void add_to_sizes(Words &block, std::uint32_t tables_size, std::uint32_t moov_size) {
  for (const std::size_t atom : {kTrak, kMdia, kMinf, kStbl}) block[atom / 4] += tables_size;
  block[kMoov / 4] = moov_size;
}

}  // namespace auspool::m4a
