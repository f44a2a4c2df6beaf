#include "recorder/encoder_options.h"

#include "recorder/bitrate_tables.h"

namespace auspool {

void RecorderAAC::fix_opts(AuRecOptionsAAC *options) {
  if (!is_in_bitrate_table(options->bitrate, aac_bitrate_table_legacy) &&
      !is_in_bitrate_table(options->bitrate, aac_bitrate_table_unified)) {
    options->bitrate = 128;
  }
  if (options->quality >= 10) options->quality = 5;
  if (options->profile >= 3) options->profile = 0;
  if (options->profile == 2) options->mono = 0;  // parametric stereo has two channels by its nature
}

void RecorderALAC::fix_opts(AuRecOptionsALAC *) {}

}  // namespace auspool
