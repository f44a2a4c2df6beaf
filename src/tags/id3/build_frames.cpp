#include "tags/id3/build_frames.h"

#include <cmath>
#include <optional>
#include <string>

#include "base/byte_order.h"
#include "platform/image.h"
#include "tags/id3/frame_ids.h"
#include "tags/id3/text.h"

namespace auspool::tags {
namespace {

using View = std::span<const std::uint8_t>;
using namespace std::string_view_literals;

std::optional<std::int64_t> whole_number(const audict *value) {
  std::int64_t integer = 0;
  double real = 0;
  const audict_number_type type = audict_number_type_of(value);
  if (type != AUDICT_FLOAT32 && type != AUDICT_FLOAT64) {
    return audict_integer(value, &integer) ? std::optional(integer) : std::nullopt;
  }
  audict_float(value, &real);
  const double rounded = std::nearbyint(real);
  return std::abs(rounded) < 9.2e18 ? std::optional(static_cast<std::int64_t>(rounded)) : std::nullopt;
}

// By the first two bytes.
std::string_view mime_type(View image) {
  constexpr struct {
    std::string_view start, type;
  } kTypes[] = {{"\x89P", "image/png"},
                {"\xFF\xD8", "image/jpeg"},
                {"GI", "image/gif"},
                {"II", "image/tiff"},
                {"MM", "image/tiff"}};
  const std::string_view start(reinterpret_cast<const char *>(image.data()), 2);
  for (const auto &row : kTypes) {
    if (row.start == start) return row.type;
  }
  return "image/";
}

std::optional<Bytes> jpeg_of_png(View image) {
  if (platform::image_format(image) != platform::ImageFormat::png) return std::nullopt;
  const auto bitmap = platform::decode_image(image);
  return bitmap ? platform::encode_jpeg(*bitmap) : std::nullopt;
}

// What stands in a picture frame between its MIME type and the image: the NUL of that, the picture type, which is 0
// (other) for any picture, and an empty description.
constexpr std::string_view kBehindMimeType = "\0\0\0"sv;
constexpr std::size_t kLeastImageBytes = 4;

void add_image(Bytes &to, View image) {
  const std::string_view type = mime_type(image);
  add_frame_header(to, tpic.id, 1 + type.size() + kBehindMimeType.size() + image.size());
  to.push_back(kLatin1);
  add_bytes(to, type);
  add_bytes(to, kBehindMimeType);
  add_bytes(to, image);
}

}  // namespace

void add_bytes(Bytes &to, std::string_view bytes) {
  to.insert(to.end(), bytes.begin(), bytes.end());
}

void add_bytes(Bytes &to, View bytes) {
  to.insert(to.end(), bytes.begin(), bytes.end());
}

void add_frame_header(Bytes &to, std::uint32_t id, std::size_t size) {
  std::uint8_t header[10] = {};
  store_be(header, id);
  store_be(header + 4, static_cast<std::uint32_t>(size));
  add_bytes(to, View(header));
}

void add_text_frame(Bytes &to, std::uint32_t id, std::string_view utf8) {
  if (utf8.empty()) return;
  const EncodedText text = encode_tag_text(utf8);
  add_frame_header(to, id, 1 + text.bytes.size());
  to.push_back(text.encoding);
  add_bytes(to, text.bytes);
}

void add_number_frame(Bytes &to, std::uint32_t id, const audict *number) {
  if (const auto value = whole_number(number)) add_text_frame(to, id, std::to_string(*value));
}

void add_text_ext_frame_if_present(Bytes &to, std::uint32_t id, const audict &tag, const char *key) {
  const char *utf8 = audict_get_string(&tag, key);
  if (utf8 == nullptr || *utf8 == '\0') return;
  const EncodedText text = encode_tag_text(utf8);
  const std::string_view no_description = text.encoding == kLatin1 ? "\0"sv : "\xFF\xFE\0\0"sv;
  add_frame_header(to, id, 4 + no_description.size() + text.bytes.size());
  to.push_back(text.encoding);
  add_bytes(to, "eng"sv);
  add_bytes(to, no_description);
  add_bytes(to, text.bytes);
}

void add_number_total_frame_if_present(Bytes &to, std::uint32_t id, const audict &tag, const char *number_key,
                                       const char *total_key) {
  std::int64_t number = 0, total = 0;
  if (!audict_get_integer(&tag, number_key, &number) || number < 1) return;
  std::string text = std::to_string(number);
  if (audict_get_integer(&tag, total_key, &total) && total >= 1) text.append(1, '/').append(std::to_string(total));
  add_text_frame(to, id, text);
}

void add_picture_frame(Bytes &to, View image, bool convert) {
  if (image.size() < kLeastImageBytes) return;
  const auto jpeg = convert ? jpeg_of_png(image) : std::nullopt;
  add_image(to, jpeg ? View(*jpeg) : image);
}

}  // namespace auspool::tags
