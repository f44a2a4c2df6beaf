// The index of a file, `moov`: a fixed block, three tables and the tags.
#pragma once

#include <cstdint>
#include <vector>

#include "auspool/types.h"
#include "m4a/words.h"

struct m4a_t;

// All parts of a moov, in the order of the file.
struct m4a_pieces {
  auspool::m4a::Words moov_block, stsc, stsz, stco;
  auspool::m4a::Words mvex;        // of fragmented files alone
  std::vector<std::uint8_t> udta;  // empty without tags

  std::uint32_t tables_size() const {
    return static_cast<std::uint32_t>(auspool::m4a::size_of(stsc) + auspool::m4a::size_of(stsz) +
                                      auspool::m4a::size_of(stco));
  }
  std::uint32_t moov_size() const {
    return static_cast<std::uint32_t>(auspool::m4a::size_of(moov_block) + tables_size() + auspool::m4a::size_of(mvex) +
                                      udta.size());
  }
};

namespace auspool::m4a {

// 21 packets a chunk, and one short chunk for the rest; up to 20 packets are one chunk.
struct Chunks {
  std::uint32_t number = 0;
  std::uint32_t samples = 0;  // of every chunk but a short last one
  std::uint32_t rest = 0;     // samples of that; 0 without one
};

// Both complete the index of all packets. Without `pieces` it is written at the stream's position; with them it is left
// there. 0, or -1 when it could not be built or written whole.
std::int32_t _m4aac_finalize(const m4a_t &m4a, const audict *tags, m4a_pieces *pieces);
std::int32_t _m4alac_finalize(const m4a_t &m4a, const audict *tags, m4a_pieces *pieces);

// Builds all parts but mvex, whose size counts. Throws when memory is out.
void build_pieces(const m4a_t &m4a, const audict *tags, std::int32_t kind, m4a_pieces &pieces);

Words _m4a_create_stco(const Words &stsz, std::uint32_t data_offset, Chunks &chunks);

// The `udta` atom of these tags; empty when there are none.
std::vector<std::uint8_t> _m4a_create_udta(const audict *tags);

// Whether all was written.
bool write_pieces(std::FILE *file, const m4a_pieces &pieces);

}  // namespace auspool::m4a
