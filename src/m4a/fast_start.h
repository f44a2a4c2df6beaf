// Moves the index of a finished plain file to its front.
#pragma once

#include "auspool/m4a.h"

namespace auspool::m4a {

// The body of the background job: moves the audio up by the size of the index, and puts that behind the file type.
// Room for that is set aside before a byte is touched. Where there is none, the file cannot grow or memory is out, the
// index goes to the end, where its offsets are right too.
void _m4a_fast_start_fix_run(fs_fix_th_data_t *fix_data);

}  // namespace auspool::m4a
