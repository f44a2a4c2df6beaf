#include "auspool/bitbox.h"

#include "bitbox/block.h"
#include "bitbox/dither.h"

namespace auspool {
namespace {

void convert(const Block &block, bitbox_dither *dither) {
  const bool from_float = is_float(block.source.format);
  if (is_float(block.target.format)) {
    from_float ? bitconvert_f2f(block) : bitconvert_i2f(block);
  } else {
    from_float ? bitconvert_f2i(block, dither) : bitconvert_i2i(block, dither);
  }
}

}  // namespace
}  // namespace auspool

int32_t bitbox_convert(void *const *source, uint32_t source_format, int32_t source_stride, void *const *target,
                       uint32_t target_format, int32_t target_stride, int32_t channels, int32_t frames,
                       bitbox_dither *dither) {
  using namespace auspool;
  if (frames < 1 || !is_valid(source_format) || !is_valid(target_format)) return 0;
  const bool dithers = dither && !is_float(target_format);
  if (dithers && !has_state_for(*dither, channels)) return 0;
  convert({{source, source_format, source_stride},
           {target, target_format, target_stride},
           channels,
           static_cast<std::size_t>(frames)},
          dither);
  return frames;
}
