// The record of one file that is being written.
#pragma once

#include <array>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>

#include "auspool/m4a.h"
#include "m4a/moov.h"
#include "m4a/sample_sizes.h"

namespace auspool::m4a {

using AlacInfo = std::array<std::uint8_t, 24>;  // an ALAC decoder's configuration

inline constexpr std::uint32_t kFileTypeBytes = 32, kDataHeaderBytes = 8;

}  // namespace auspool::m4a

struct m4a_t {
  std::FILE *file = nullptr;
  std::FILE *recovery_file = nullptr;
  std::uint32_t mdat_offset = auspool::m4a::kFileTypeBytes;                                   // of the mdat's size
  std::uint32_t mdat_size = auspool::m4a::kDataHeaderBytes;                                   // so far
  std::uint32_t data_offset = auspool::m4a::kFileTypeBytes + auspool::m4a::kDataHeaderBytes;  // of the first packet
  std::uint32_t channels = 0;
  std::uint32_t sample_rate = 0;  // Hz; the time scale too
  std::uint32_t packet_frames = 0;
  std::uint32_t bitrate = 0;  // bits a second; 0 for ALAC
  std::int32_t max_sample_size = 0;
  auspool::m4a::SampleSizes *sample_sizes = nullptr;  // the first node
  std::optional<auspool::m4a::AlacInfo> alac_info;
  std::int32_t profile = 0;
  std::int32_t fragment_sequence = 1;
  std::int32_t fragment_samples = 0;                // packets of a whole fragment
  std::int64_t fragment_offset = 0;                 // of the open fragment's index
  std::int64_t fragment_duration = 0;               // frames in the fragments before
  auspool::m4a::SampleSizes *last_sizes = nullptr;  // the node that is being filled
  std::int64_t data_end = 0;                        // where the next packet goes
  bool torn = false;                                // the disk does not hold what is noted here
  std::uint32_t packets_lost = 0;                   // that the disk did not take, or were given up for the index
  std::unique_ptr<m4a_pieces> index;                // of a plain file, once it is sure to fit
  std::int64_t first_mirrored = 0;                  // offset of the first size in recovery_file
  bool mirrors = false;                             // recovery_file tells of every packet so far

  m4a_t() = default;
  m4a_t(const m4a_t &) = delete;
  m4a_t &operator=(const m4a_t &) = delete;
  ~m4a_t() { auspool::m4a::_m4a_free_sample_size_table(sample_sizes); }
};

namespace auspool::m4a {

// Writes the file type at the start of the stream, and whether that worked.
bool write_file_type(std::FILE *file);

// A record with room for its first sizes, or null.
m4a_t *create_record(std::FILE *file, std::uint32_t channels, std::uint32_t sample_rate, std::uint32_t packet_frames,
                     std::uint32_t bitrate, std::int32_t profile);

// A node with room for another size, or null when memory is out.
SampleSizes *find_room(m4a_t &m4a);

// Writes a packet and notes its size. False when it is left out.
bool append_packet(m4a_t &m4a, const void *data, std::size_t size);

// Takes the last size away. Returns it, or nothing when there is none.
std::optional<std::uint16_t> remove_last_size(m4a_t &m4a);

// What m4a_finish does at its end; for a fragmented file the owner's last call.
void release_record(m4a_t *m4a);

}  // namespace auspool::m4a
