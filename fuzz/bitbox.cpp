// Any parameters of a conversion over memory of just the size that they need: no read or write beyond it.
#include <cstring>
#include <memory>
#include <vector>

#include "auspool/bitbox.h"
#include "bitbox_parameters.h"

namespace {

using auspool::testing::Parameters;

std::size_t sample_bytes(std::uint32_t format) {
  const std::uint32_t width = format & BITBOX_WIDTH_MASK;
  const bool unpacked = (format & BITBOX_UNPACKED) && !(format & BITBOX_FLOAT) && width < 32;
  return unpacked ? 4 : (width + 7) / 8;
}

// One side: the memory, and a pointer for each channel, one after another or side by side.
struct Side {
  std::vector<std::uint8_t> bytes;
  std::vector<void *> channels;

  Side(std::uint32_t format, std::size_t stride, std::size_t channel_count, std::size_t frames, bool interleaved) {
    const std::size_t sample = sample_bytes(format);
    const std::size_t span = ((frames - 1) * stride + 1) * sample;
    const std::size_t apart = interleaved ? sample : span;
    bytes.resize((channel_count - 1) * apart + span);
    for (std::size_t i = 0; i < channel_count; ++i) channels.push_back(bytes.data() + i * apart);
  }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  Parameters p;
  if (size < sizeof p) return 0;
  std::memcpy(&p, data, sizeof p);
  const std::size_t channels = 1 + p.channels % 8u;
  const std::size_t frames = 1 + p.frames % 5000u;
  const bool interleaved = p.interleaved & 1;
  const auto stride = [&](std::uint8_t wanted) { return interleaved ? channels : 1 + wanted % 4u; };
  Side source(p.source_format, stride(p.source_stride), channels, frames, interleaved);
  Side target(p.target_format, stride(p.target_stride), channels, frames, interleaved);
  for (std::size_t i = 0; i < source.bytes.size() && size > sizeof p; ++i) {
    source.bytes[i] = data[sizeof p + i % (size - sizeof p)];
  }
  const bitbox_custom_filter filter = {0, p.tap_count % 8u, p.taps};
  std::unique_ptr<bitbox_dither, void (*)(bitbox_dither *)> dither(
      bitbox_dither_create(p.bits, static_cast<std::int32_t>(channels), p.dither_type, &filter, p.rate),
      bitbox_dither_destroy);
  for (int call = 0; call < 2; ++call) {  // the second from the state that the first left
    bitbox_convert(source.channels.data(), p.source_format, static_cast<std::int32_t>(stride(p.source_stride)),
                   target.channels.data(), p.target_format, static_cast<std::int32_t>(stride(p.target_stride)),
                   static_cast<std::int32_t>(channels), static_cast<std::int32_t>(frames), dither.get());
  }
  return 0;
}
