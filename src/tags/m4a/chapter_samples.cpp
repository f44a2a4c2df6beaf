#include "tags/m4a/chapter_samples.h"

#include <algorithm>
#include <new>
#include <span>
#include <string_view>

#include "base/byte_order.h"
#include "platform/image.h"
#include "platform/text.h"
#include "tags/chapter_keys.h"
#include "tags/m4a/baseline_jpeg.h"

namespace auspool::tags {
namespace {

using View = std::span<const std::uint8_t>;

View picture_of(const audict *element) {
  std::size_t length = 0;
  const auto *bytes = static_cast<const std::uint8_t *>(audict_get_data(element, kElementImage, &length));
  return {bytes, length};
}

void append_short(Bytes &to, std::size_t value) {
  to.resize(to.size() + 2);
  store_be(&to[to.size() - 2], static_cast<std::uint16_t>(value));
}

//  0 size   4 "href"   8 first character   10 last character   12 length   13 link   NUL
void append_link(Bytes &to, std::string_view link) {
  constexpr std::size_t kLongest = 255, kAround = 14;
  link = platform::whole_characters(link, platform::Encoding::utf8, kLongest);
  append_short(to, 0);
  append_short(to, link.size() + kAround);
  for (const char c : std::string_view("href\0\0\xFF\xFF", 8)) to.push_back(static_cast<std::uint8_t>(c));
  to.push_back(static_cast<std::uint8_t>(link.size()));
  to.insert(to.end(), link.begin(), link.end());
  to.push_back(0);
}

// The picture drawn into the middle of a black one of that size, smaller where it must be and never larger. Nothing
// where it cannot be made smaller.
std::optional<platform::Bitmap> centred(const platform::Bitmap &picture, PictureSize size) {
  platform::Bitmap canvas{size.width, size.height, Bytes(std::size_t{3} * size.width * size.height)};
  if (picture.rgb.empty()) return canvas;
  double scale = picture.width > size.width ? static_cast<double>(size.width) / picture.width : 1.0;
  if (scale * picture.height > size.height) scale = static_cast<double>(size.height) / picture.height;
  const auto scaled = [scale](std::uint32_t side, std::uint32_t most) {
    return std::clamp(static_cast<std::uint32_t>(scale * side + 0.5), 1u, most);
  };
  const std::uint32_t width = scaled(picture.width, size.width), height = scaled(picture.height, size.height);
  std::optional<platform::Bitmap> smaller;
  if (width != picture.width || height != picture.height) {
    smaller = platform::scale_image(picture, width, height);
    if (!smaller) return std::nullopt;
  }
  const Bytes &drawn = smaller ? smaller->rgb : picture.rgb;
  const std::size_t left = (size.width - width) / 2, top = (size.height - height) / 2;
  for (std::size_t row = 0; row < height; ++row) {
    const auto from = drawn.begin() + static_cast<std::ptrdiff_t>(3 * row * width);
    std::copy(from, from + 3 * width,
              canvas.rgb.begin() + static_cast<std::ptrdiff_t>(3 * ((top + row) * size.width + left)));
  }
  return canvas;
}

// The bytes that tell pictures apart, as far as they are looked at.
struct Fingerprint {
  std::uint32_t hash = 0xFFFFFFFF;
  std::size_t length = SIZE_MAX;

  bool operator==(const Fingerprint &) const = default;
};

Fingerprint fingerprint_of(const audict *element) {
  constexpr std::size_t kHashedBytes = 4096;
  const View picture = picture_of(element);
  if (picture.empty()) return {};
  return {hash_bytes(picture.data(), static_cast<std::uint32_t>(std::min(picture.size(), kHashedBytes))),
          picture.size()};
}

Ref copy_of(const audict *element) {
  Ref copy(audict_copy(element));
  if (!copy) throw std::bad_alloc();
  return copy;
}

// False where one of the two has no duration.
bool lengthen(audict &element, const audict *by) {
  double own = 0, added = 0;
  if (!audict_get_float(&element, kElementDuration, &own) || !audict_get_float(by, kElementDuration, &added))
    return false;
  set(element, kElementDuration, make_float(own + added));
  return true;
}

}  // namespace

Bytes create_text_sample(const audict &element) {
  static constexpr std::uint8_t empty_text_data[] = {0, 0, 0, 0, 0, 15, 'h', 'r', 'e', 'f', 0, 0, 0, 0, 0, 0x20, 0};
  constexpr std::size_t kLongest = 65535;
  const char *const title = audict_get_string(&element, kElementTitle), *const url =
                                                                            audict_get_string(&element, kElementUrl);
  const std::string_view link = url != nullptr ? url : "";
  const std::string_view text = title != nullptr ? std::string_view(title) : link;
  if (text.empty()) return Bytes(std::begin(empty_text_data), std::end(empty_text_data));
  Bytes sample;
  append_short(sample, std::min(text.size(), kLongest));
  sample.insert(sample.end(), text.begin(), text.end());
  if (!link.empty()) append_link(sample, link);
  return sample;
}

std::optional<Bytes> create_image_sample(const audict &element, PictureSize size) {
  const View file = picture_of(&element);
  const auto info = platform::image_info(file);
  const bool fits = info && info->width == size.width && info->height == size.height;
  if (fits && is_baseline_jpeg(file)) return Bytes(file.begin(), file.end());
  const auto picture = platform::decode_image(file);
  const auto sample = centred(picture.value_or(platform::Bitmap()), size);
  return sample ? platform::encode_jpeg(*sample) : std::nullopt;
}

PictureSize size_of_track(const audict *elements) {
  constexpr std::uint64_t kLeastArea = 1024;
  PictureSize size;
  std::uint64_t best = kLeastArea;
  for (std::size_t i = 0; i < audict_count(elements); ++i) {
    const View file = picture_of(audict_at(elements, i));
    const auto info = platform::image_info(file);
    const std::uint64_t area = info ? std::uint64_t{info->width} * info->height : 0;
    if (area <= best || std::max(info->width, info->height) > platform::kMaxJpegSide) continue;
    if (!platform::decode_image(file)) continue;  // a header claims much
    best = area;
    size = {info->width, info->height};
  }
  return size;
}

Ref merge_images(const audict *elements) {
  Ref merged = make_array(), current;
  Fingerprint last;
  for (std::size_t i = 0; i < audict_count(elements); ++i) {
    const audict *const element = audict_at(elements, i);
    const Fingerprint next = fingerprint_of(element);
    if (current && next == last && lengthen(*current, element)) continue;
    if (current) append(*merged, std::move(current));
    current = copy_of(element);
    last = next;
  }
  if (current) append(*merged, std::move(current));
  return merged;
}

std::uint32_t hash_bytes(const std::uint8_t *data, std::uint32_t length) {
  std::uint32_t hash = 0;
  for (std::uint32_t i = 0; i < length; ++i) {
    hash = (hash << 4) + data[i];
    const std::uint32_t high = hash & 0xF0000000;
    if (high != 0) hash ^= high >> 24;
    hash &= ~high;
  }
  return hash;
}

}  // namespace auspool::tags
