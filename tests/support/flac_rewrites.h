// Rewrites of FLAC files by chance, each of a fresh copy, with the sound checked behind each.
#pragma once

namespace auspool::testing {

// Files as the program flac makes them, with and without padding, pictures and other blocks. The tags are shorter and
// longer than the old ones. Padding is used where it suffices: then no byte of the file moves. Now and then the program
// decodes the file and checks its MD5.
void rewrite_flac_at_random(int count, unsigned seed);

}  // namespace auspool::testing
