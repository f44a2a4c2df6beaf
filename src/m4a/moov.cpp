#include "m4a/moov.h"

#include <exception>
#include <memory>

#include "auspool/autag2.h"
#include "base/four_cc.h"
#include "m4a/fixed_block.h"
#include "m4a/record.h"

namespace auspool::m4a {
namespace {

constexpr std::uint32_t kSamplesOfChunk = 21;
constexpr std::size_t kStszHeaderWords = 5, kStcoHeaderWords = 4;

//  0 size   4 "stsz"   8 version and flags   12 size of every sample, 0: they differ   16 count   20 sizes
Words create_stsz(const SampleSizes *first) {
  const std::uint32_t count = _m4a_sample_count(first);
  Words stsz = {20 + 4 * count, four_cc("stsz"), 0, 0, count};
  stsz.reserve(kStszHeaderWords + count);
  for (const SampleSizes *node = first; node; node = node->next) {
    for (int i = 0; i < node->count; ++i) stsz.push_back(static_cast<std::uint32_t>(node->sizes[i]));
  }
  return stsz;
}

//  0 size   4 "stsc"   8 version and flags   12 count   16 rows of first chunk, samples of a chunk, description
Words create_stsc(const Chunks &chunks) {
  Words stsc = {0, four_cc("stsc"), 0, 0};
  const auto add_row = [&stsc](std::uint32_t first_chunk, std::uint32_t samples) {
    stsc.insert(stsc.end(), {first_chunk, samples, 1});
    ++stsc[3];
  };
  if (chunks.number > 0) add_row(1, chunks.samples);
  if (chunks.rest > 0) add_row(chunks.number, chunks.rest);
  stsc[0] = static_cast<std::uint32_t>(size_of(stsc));
  return stsc;
}

Chunks divide(std::uint32_t samples) {
  if (samples < kSamplesOfChunk) return {samples > 0 ? 1u : 0u, samples, 0};
  const std::uint32_t rest = samples % kSamplesOfChunk;
  return {samples / kSamplesOfChunk + (rest > 0 ? 1 : 0), kSamplesOfChunk, rest};
}

std::int32_t finalize(const m4a_t &m4a, const audict *tags, std::int32_t kind, m4a_pieces *pieces) try {
  m4a_pieces own;
  build_pieces(m4a, tags, kind, pieces ? *pieces : own);
  return pieces || write_pieces(m4a.file, own) ? 0 : -1;
} catch (const std::exception &) {
  return -1;  // out of memory
}

}  // namespace

std::int32_t _m4aac_finalize(const m4a_t &m4a, const audict *tags, m4a_pieces *pieces) {
  return finalize(m4a, tags, M4A_KIND_AAC, pieces);
}

std::int32_t _m4alac_finalize(const m4a_t &m4a, const audict *tags, m4a_pieces *pieces) {
  return finalize(m4a, tags, M4A_KIND_ALAC, pieces);
}

void build_pieces(const m4a_t &m4a, const audict *tags, std::int32_t kind, m4a_pieces &pieces) {
  pieces.stsz = create_stsz(m4a.sample_sizes);
  Chunks chunks;
  pieces.stco = _m4a_create_stco(pieces.stsz, m4a.data_offset, chunks);
  pieces.stsc = create_stsc(chunks);
  pieces.udta = _m4a_create_udta(tags);
  pieces.moov_block = create_moov_block(m4a, kind, pieces.stsz[4]);
  add_to_sizes(pieces.moov_block, pieces.tables_size(), pieces.moov_size());
}

//  0 size   4 "stco"   8 version and flags   12 count   16 offsets
Words _m4a_create_stco(const Words &stsz, std::uint32_t data_offset, Chunks &chunks) {
  chunks = divide(stsz[4]);
  Words stco = {16 + 4 * chunks.number, four_cc("stco"), 0, chunks.number};
  stco.reserve(kStcoHeaderWords + chunks.number);
  std::size_t sample = kStszHeaderWords;
  for (std::uint32_t offset = data_offset; stco.size() < kStcoHeaderWords + chunks.number;) {
    stco.push_back(offset);
    for (std::uint32_t i = 0; i < kSamplesOfChunk && sample < stsz.size(); ++i) offset += stsz[sample++];
  }
  return stco;
}

std::vector<std::uint8_t> _m4a_create_udta(const audict *tags) {
  constexpr std::uint32_t kM4A = 2;  // among the formats of autag2_create
  if (!tags) return {};
  const std::unique_ptr<audict, void (*)(audict *)> data(autag2_create(tags, kM4A), audict_release);
  std::size_t length = 0;
  const auto *bytes = static_cast<const std::uint8_t *>(audict_data(data.get(), &length));
  return bytes ? std::vector<std::uint8_t>(bytes, bytes + length) : std::vector<std::uint8_t>();
}

bool write_pieces(std::FILE *file, const m4a_pieces &pieces) {
  std::size_t written = 0;
  for (const Words *words : {&pieces.moov_block, &pieces.stsc, &pieces.stsz, &pieces.stco, &pieces.mvex}) {
    written += write(file, *words);
  }
  written += write(file, pieces.udta);
  return written == pieces.moov_size();
}

}  // namespace auspool::m4a
