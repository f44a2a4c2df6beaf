// The part of a moov whose size never changes: everything up to `stts`.
#pragma once

#include "m4a/words.h"

struct m4a_t;

namespace auspool::m4a {

// The block of a file that holds `samples` packets. Its sizes are those of a moov without tables.
Words create_moov_block(const m4a_t &m4a, std::int32_t kind, std::uint32_t samples);

// Adds the tables to the atoms around them, and makes the whole `moov_size` bytes.
void add_to_sizes(Words &block, std::uint32_t tables_size, std::uint32_t moov_size);

}  // namespace auspool::m4a
