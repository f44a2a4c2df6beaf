// Files of random atoms, and what a rewrite of their tags must leave alone: every packet.
#pragma once

#include <gtest/gtest.h>

#include <random>

#include "support/atoms.h"
#include "support/m4a_tags.h"
#include "support/tag_file.h"

namespace auspool::testing {

class RandomRewrites {
public:
  explicit RandomRewrites(unsigned seed) : random_(seed) {}

  // Builds a file, replaces its tag, some times over, and looks for the packets through the offsets in the file.
  void run() {
    const bool fragmented = below(4) == 0;
    const TagFile file(fragmented ? fragmented_file() : plain_file());
    const auto packets_in = fragmented ? packets_of_fragments : packets_of_tables;
    const std::vector<std::string> before = packets_in(file.bytes());
    ASSERT_GT(before.size(), 0u);
    for (int i = 0; i < 3; ++i) {
      const std::string title(1 + below(below(2) == 0 ? 40 : 3000), static_cast<char>('a' + i));
      const Ref tag(audict_create());
      audict_set_string(tag.get(), "Title", title.c_str());
      ASSERT_EQ(file.write(tag.get()), 0);
      ASSERT_EQ(packets_in(file.bytes()), before);
      ASSERT_EQ(file.read()["Title"], title);
    }
  }

private:
  using Packets = std::vector<std::string>;

  std::uint32_t below(std::uint32_t limit) { return static_cast<std::uint32_t>(random_() % limit); }

  std::string bytes(std::uint32_t count) {
    std::string all(count, '\0');
    for (char &byte : all) byte = static_cast<char>(below(256));
    return all;
  }

  std::string free_atom() { return below(2) == 0 ? atom("free", bytes(below(600))) : ""; }

  // One track: its chunks hold a packet each, at these offsets.
  static std::string track(const std::vector<std::uint64_t> &offsets, const std::vector<std::uint32_t> &sizes,
                           bool wide) {
    std::string places, lengths;
    for (const std::uint64_t offset : offsets) places += wide ? be64(offset) : be32(static_cast<std::uint32_t>(offset));
    for (const std::uint32_t size : sizes) lengths += be32(size);
    const auto count = static_cast<std::uint32_t>(offsets.size());
    return atom("trak",
                atom("mdia", atom("minf", atom("stbl", atom("stsz", words({0, 0, count}) + lengths) +
                                                           atom(wide ? "co64" : "stco", words({0, count}) + places)))));
  }

  std::string plain_file() {
    const bool in_front = below(2) == 0, wide = below(2) == 0;
    std::vector<std::uint32_t> sizes(1 + below(30));
    std::string samples;
    for (std::uint32_t &size : sizes) samples += bytes(size = 1 + below(300));
    const std::string old = below(3) == 0 ? "" : udta(text_item("\xA9nam", std::string(below(900), 'o')));
    const std::string front = free_atom(), back = free_atom(), type = atom("ftyp", "M4A ") + free_atom();
    const auto index = [&](std::uint64_t samples_at) {
      std::vector<std::uint64_t> offsets;
      for (const std::uint32_t size : sizes) offsets.push_back(samples_at), samples_at += size;
      return atom("moov", front + track(offsets, sizes, wide) + old + back);
    };
    const std::string gap = free_atom(), end = free_atom();
    if (!in_front) return type + atom("mdat", samples) + gap + index(type.size() + 8) + end;
    const std::size_t samples_at = type.size() + index(0).size() + gap.size() + 8;
    return type + index(samples_at) + gap + atom("mdat", samples) + end;
  }

  // Each fragment tells where its base is, and has one packet right there.
  std::string fragmented_file() {
    std::string file = atom("ftyp", "M4A ") + atom("moov", free_atom() + atom("trak", "x") + udta("") + free_atom());
    for (std::uint32_t i = 0, count = 1 + below(5); i < count; ++i) {
      file += free_atom();
      constexpr std::uint64_t kBehindHeader = 8 + 8 + 24 + 8;
      const std::string base = atom("tfhd", words({1, 1}) + be64(file.size() + kBehindHeader));
      file += atom("moof", atom("traf", base)) + atom("mdat", bytes(1 + below(500)));
    }
    return file;
  }

  static Packets packets_of_tables(const std::string &file) {
    const std::string stbl = "moov.trak.mdia.minf.stbl.";
    const Atom sizes = atom_at(file, stbl + "stsz"), narrow = atom_at(file, stbl + "stco"),
               wide = atom_at(file, stbl + "co64");
    Packets packets;
    for (std::size_t i = 0; i < sizes.word(16); ++i) {
      const std::uint64_t offset = narrow.bytes.empty() ? wide.word(20 + 8 * i) : narrow.word(16 + 4 * i);
      if (offset > file.size()) return {};
      packets.push_back(file.substr(offset, sizes.word(20 + 4 * i)));
    }
    return packets;
  }

  static Packets packets_of_fragments(const std::string &file) {
    Packets packets;
    const std::vector<Atom> atoms = atoms_in(file);
    for (std::size_t i = 0; i + 1 < atoms.size(); ++i) {
      if (atoms[i].type != "moof") continue;
      const std::uint32_t base = atoms[i].word(16 + 20);
      if (base > file.size()) return {};
      packets.push_back(file.substr(base, atoms[i + 1].size() - 8));
    }
    return packets;
  }

  std::minstd_rand random_;
};

}  // namespace auspool::testing
