// What becomes of a file on a full disk: it holds fewer packets, and each of them whole.
#pragma once

#include <cstdint>

#include "auspool/types.h"

struct m4a_t;

namespace auspool::m4a {

// After a write or a flush that failed: gives up the packets that are not wholly on the disk, cuts the file behind the
// last one that is, and leaves the stream there. False, and `torn` set, while that cannot be done.
bool drop_torn_packets(m4a_t &m4a);

// The same for an open fragment as a whole.
void drop_fragment(m4a_t &m4a);

// For a plain file, once all packets are written: builds its index and makes sure that there is room for it at the
// file's end. Where there is none, the last packets are given up for it. False when nothing helps, or memory is out.
bool fit_to_disk(m4a_t &m4a, const audict *tags, std::int32_t kind);

}  // namespace auspool::m4a
