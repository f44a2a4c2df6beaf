#include "support/m4a_tags.h"

namespace auspool::testing {
namespace {

std::string tables(const std::string &format, std::initializer_list<ChapterSample> samples, std::uint32_t offset) {
  const auto count = static_cast<std::uint32_t>(samples.size());
  std::string times, sizes;
  for (const ChapterSample &sample : samples) {
    times += words({1, sample.duration});
    sizes += be32(static_cast<std::uint32_t>(sample.bytes.size()));
  }
  return atom("stsd", words({0, 1}) + atom(format, std::string(8, '\0'))) + atom("stts", words({0, count}) + times) +
         atom("stsz", words({0, 0, count}) + sizes) + atom("stsc", words({0, 1, 1, count, 1})) +
         atom("stco", words({0, 1, offset}));
}

std::string track_header(std::uint32_t id) {
  return atom("tkhd", words({0, 0, 0, id}) + std::string(64, '\0'));
}

}  // namespace

std::string atom(const std::string &name, const std::string &content, std::int64_t claimed) {
  const auto size = claimed >= 0 ? static_cast<std::uint32_t>(claimed) : static_cast<std::uint32_t>(content.size() + 8);
  return be32(size) + name + content;
}

std::string data_atom(std::uint32_t type, const std::string &payload) {
  return atom("data", words({type, 0}) + payload);
}

std::string item(const std::string &name, std::uint32_t type, const std::string &payload) {
  return atom(name, data_atom(type, payload));
}

std::string text_item(const std::string &name, const std::string &text) {
  return item(name, 1, text);
}

std::string freeform(const std::string &name, const std::string &text) {
  return atom("----", atom("mean", be32(0) + "com.apple.iTunes") + atom("name", be32(0) + name) + data_atom(1, text));
}

std::string udta(const std::string &items) {
  return atom("udta", atom("meta", be32(0) + atom("hdlr", std::string(28, '\0')) + atom("ilst", items)));
}

std::string m4a_file(const std::string &atoms_of_moov) {
  return atom("ftyp", "M4A " + be32(0)) + atom("moov", atoms_of_moov);
}

std::string tagged_m4a(const std::string &items) {
  return m4a_file(udta(items));
}

std::string chapter_track(std::uint32_t id, const std::string &subtype, const std::string &format,
                          std::initializer_list<ChapterSample> samples, std::uint32_t offset) {
  const std::string media = atom("mdhd", words({0, 0, 0, 1000, 0, 0})) +
                            atom("hdlr", words({0, 0}) + subtype + std::string(12, '\0')) +
                            atom("minf", atom("stbl", tables(format, samples, offset)));
  return atom("trak", track_header(id) + atom("mdia", media));
}

std::string audio_track(std::initializer_list<std::uint32_t> references) {
  const std::string media = atom("minf", atom("stbl", atom("stsd", words({0, 0}))));
  const std::string chapters = references.size() > 0 ? atom("tref", atom("chap", words(references))) : "";
  return atom("trak", track_header(1) + chapters + atom("mdia", media));
}

std::string chaptered_m4a(const std::string &samples, const std::string &tracks, std::uint32_t next_id) {
  const std::string header = atom("mvhd", std::string(96, '\0') + be32(next_id));
  return atom("ftyp", "M4A " + be32(0)) + atom("mdat", samples) + atom("moov", header + tracks);
}

std::string text_sample(const std::string &text, const std::string &behind) {
  return be16(static_cast<std::uint32_t>(text.size())) + text + behind;
}

std::string link_atom(const std::string &link, std::uint32_t characters) {
  return atom("href", be16(0) + be16(characters) + static_cast<char>(link.size()) + link + std::string(1, '\0'));
}

}  // namespace auspool::testing
