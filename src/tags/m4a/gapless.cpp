// The text that some encoders leave: "00000000 DELAY PADDING SAMPLES ..." in hexadecimal.
#include <algorithm>
#include <array>
#include <cinttypes>
#include <cstdio>
#include <cstring>

#include "tags/m4a/find_atom.h"
#include "tags/m4a/item.h"

namespace auspool::tags {
namespace {

//  0 size 20   4 "name"   8 version and flags   12 the name
bool is_named_gapless(platform::File &file, const Item &item) {
  constexpr std::uint32_t kNameAtomBytes = 20, kNameOffset = 12;
  constexpr char kName[] = "iTunSMPB";
  std::uint64_t position = item.offset + kAtomHeaderBytes;
  std::uint32_t size = 0;
  std::array<std::uint8_t, sizeof kName - 1> name;
  return seek_to_subatom(file, position, item.size - kAtomHeaderBytes, four_cc("name"), size) == 0 &&
         size == kNameAtomBytes && file.read(position + kNameOffset, name) == 0 &&
         std::memcmp(name.data(), kName, name.size()) == 0;
}

// As much of the text as its numbers can take, ended by a NUL.
std::optional<std::string> numbers_text(platform::File &file, const Item &item) {
  constexpr std::uint32_t kLeastPayload = 43 - kDataHeaderBytes;
  constexpr std::size_t kMostText = 256;
  const auto data = find_data(file, item);
  if (!data || data->size < kLeastPayload || data->type != kTypeUtf8) return std::nullopt;
  std::string text(std::min<std::size_t>(data->size, kMostText), '\0');
  std::size_t count = 0;
  const auto bytes = std::span(reinterpret_cast<std::uint8_t *>(text.data()), text.size());
  if (file.read_some(data->payload, bytes, count) != 0) return std::nullopt;
  text.resize(count);
  return text;
}

}  // namespace

void read_gapless(audict &tag, platform::File &file, const Item &item) {
  if (!is_named_gapless(file, item)) return;
  const auto text = numbers_text(file, item);
  unsigned delay = 0, padding = 0;
  std::uint64_t samples = 0;
  if (!text || std::sscanf(text->c_str(), "%*x%x%x%" SCNx64, &delay, &padding, &samples) != 3) return;
  Ref info = make_dictionary();
  add(*info, "Autag2GaplessEncoderDelay", make_integer(static_cast<std::int32_t>(delay), AUDICT_INT32));
  add(*info, "Autag2GaplessPadding", make_integer(static_cast<std::int32_t>(padding), AUDICT_INT32));
  add(*info, "Autag2GaplessTrueSampleCount", make_integer(static_cast<std::int64_t>(samples), AUDICT_INT64));
  add(tag, "Autag2GaplessInfo", std::move(info));
}

}  // namespace auspool::tags
