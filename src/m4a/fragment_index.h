// The index of one fragment, `moof`, and the header of its mdat, which follows it at once.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "m4a/record.h"

namespace auspool::m4a {

class FragmentIndex {
public:
  static constexpr long kNameBytes = 8;  // a name is an atom's size and type

  // What keeps its room while the fragment is open: a `free`, and an mdat that reaches to the end of the file.
  static FragmentIndex reserved(const m4a_t &m4a);
  // Of the packets that the record holds.
  static FragmentIndex complete(const m4a_t &m4a);

  std::span<const std::uint32_t> name() const { return all().first(kNameBytes / 4); }
  std::span<const std::uint32_t> behind_name() const { return all().subspan(kNameBytes / 4); }
  std::span<const std::uint32_t> all() const { return {words_, moof_words_ + kDataHeaderBytes / 4}; }

private:
  static constexpr std::size_t kHeaderWords = 17;

  explicit FragmentIndex(const m4a_t &m4a);
  void put_header(const m4a_t &m4a);
  void put_packets(const m4a_t &m4a);

  const std::size_t moof_words_;
  std::uint32_t words_[kHeaderWords + 2 * SampleSizes::kUsed + kDataHeaderBytes / 4] = {};
};

}  // namespace auspool::m4a
