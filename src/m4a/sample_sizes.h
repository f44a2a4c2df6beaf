// The sizes of a file's packets, two bytes each, in a chain of nodes that never moves what it holds.
#pragma once

#include <cstdint>

namespace auspool::m4a {

struct SampleSizes {
  static constexpr int kUsed = 1021;

  SampleSizes *next = nullptr;
  std::int16_t count = 0;
  std::int16_t sizes[1023] = {};  // a packet of 32768 bytes or more comes back as a negative number

  bool full() const { return count >= kUsed; }
  void add(std::size_t size) { sizes[count++] = static_cast<std::int16_t>(size); }
};

std::uint32_t _m4a_sample_count(const SampleSizes *first);
void _m4a_free_sample_size_table(SampleSizes *first);

}  // namespace auspool::m4a
