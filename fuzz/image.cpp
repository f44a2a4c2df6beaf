// Any bytes as a picture: what it claims to be, its pixels, and these as a JPEG again.
#include "platform/image.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  using namespace auspool::platform;
  const std::span file(data, size);
  const auto info = image_info(file);
  if (!info || std::uint64_t{info->width} * info->height > 1 << 20) return 0;  // large pictures only cost speed
  if (const auto bitmap = decode_image(file)) (void)encode_jpeg(*bitmap);
  return 0;
}
