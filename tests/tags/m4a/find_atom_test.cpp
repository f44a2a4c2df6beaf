#include "tags/m4a/find_atom.h"

#include <gtest/gtest.h>

#include "base/four_cc.h"
#include "support/m4a_tags.h"
#include "support/temp_dir.h"

using namespace auspool;
using namespace auspool::tags;
using namespace auspool::testing;

namespace {

constexpr std::int64_t kNone = -1;

std::int64_t in_file(const std::string &bytes, const std::string &path, std::uint64_t start = 0) {
  const TempDir folder;
  write_file(folder.file("file"), bytes);
  platform::File file;
  EXPECT_EQ(file.open(folder.file("file").c_str(), platform::File::Access::read), 0);
  std::uint64_t offset = 0;
  return find_atom(file, start, path, offset) ? static_cast<std::int64_t>(offset) : kNone;
}

std::int64_t in_memory(const std::string &bytes, const std::string &path) {
  std::uint32_t offset = 0;
  const auto *data = reinterpret_cast<const std::uint8_t *>(bytes.data());
  return find_atom_mem({data, bytes.size()}, path, offset) ? std::int64_t{offset} : kNone;
}

void expect_both(const std::string &bytes, const std::string &path, std::int64_t offset) {
  EXPECT_EQ(in_file(bytes, path), offset) << path;
  EXPECT_EQ(in_memory(bytes, path), offset) << path;
}

TEST(FindAtom, WalksSiblingsAndChildren) {
  const std::string bytes = atom("ftyp", "x") + atom("moov", atom("free", "yy") + atom("trak", atom("tkhd", "zzz")));
  expect_both(bytes, "ftyp", 0);
  expect_both(bytes, "moov", 9);
  expect_both(bytes, "moov.trak", 27);
  expect_both(bytes, "moov.trak.tkhd", 35);
  expect_both(bytes, "moov.tkhd", kNone);
  expect_both(bytes, "trak", kNone);
}

TEST(FindAtom, CountsSiblingsOfOneName) {
  const std::string bytes = atom("moov", atom("trak", "a") + atom("free", "b") + atom("trak", "c"));
  expect_both(bytes, "moov.trak-0", 8);
  expect_both(bytes, "moov.trak-1", 26);
  expect_both(bytes, "moov.trak-2", kNone);
}

TEST(FindAtom, SkipsVersionAndFlags) {
  const std::string bytes = atom("meta", be32(0) + atom("ilst", "x"));
  expect_both(bytes, "meta,ilst", 12);
  EXPECT_EQ(in_file(atom("meta", be64(0) + atom("ilst", "x")), "meta;ilst"), 16);
}

TEST(FindAtom, StartsWhereItIsTold) {
  const std::string bytes = atom("mdat", "a") + atom("mdat", "b");
  EXPECT_EQ(in_file(bytes, "mdat", 1 + 8), 9);
  EXPECT_EQ(in_file(bytes, "mdat", bytes.size()), kNone);
}

TEST(FindAtom, InFilesFollowsSizesOf64BitsAndToTheEnd) {
  const std::string wide = be32(1) + "mdat" + be64(24) + std::string(8, 'x') + atom("moov", "y");
  EXPECT_EQ(in_file(wide, "moov"), 24);
  EXPECT_EQ(in_memory(wide, "moov"), kNone);
  const std::string nested = be32(1) + "moov" + be64(16 + 9) + atom("trak", "z");
  EXPECT_EQ(in_file(nested, "moov.trak"), 16);
  EXPECT_EQ(in_file(atom("moov", atom("udta", "x"), 0), "moov.udta"), 8);
  EXPECT_EQ(in_file(be32(1) + "mdat" + be64(15) + atom("moov", "y"), "moov"), kNone);
}

TEST(FindAtom, EndsAtSizesThatAreTooSmall) {
  for (std::uint32_t size = 2; size < 8; ++size) {
    expect_both(atom("free", "", size) + atom("moov", "x"), "moov", kNone);
  }
}

TEST(FindAtom, DoesNotLookBeyondAParent) {
  const std::string bytes = atom("moov", atom("free", "x")) + atom("udta", "y");
  expect_both(bytes, "moov.udta", kNone);
}

TEST(FindAtom, EndsWhereAnAtomOverrunsItsParent) {
  const std::string bytes = atom("moov", atom("free", "x", 1000) + atom("udta", "y")) + atom("udta", "z");
  expect_both(bytes, "moov.udta", kNone);
}

TEST(FindAtom, InMemoryMissesAnEmptyAtomAtTheVeryEnd) {
  const std::string bytes = atom("moov", atom("trak", "x") + atom("free", ""));
  EXPECT_EQ(in_file(bytes, "moov.free"), 17);
  EXPECT_EQ(in_memory(bytes, "moov.free"), kNone);
}

TEST(FindAtom, TakesNoPathThatIsNone) {
  const std::string bytes = atom("moov", atom("trak", "x"));
  for (const char *path : {"", "moo", "moov.", "moov.tra", "moov-x"}) expect_both(bytes, path, kNone);
}

TEST(SeekToSubatom, FindsAnAtomAmongSoManyBytes) {
  const std::string bytes = "12345678" + atom("mean", "x") + atom("data", "yy") + atom("more", "z");
  const TempDir folder;
  write_file(folder.file("file"), bytes);
  platform::File file;
  ASSERT_EQ(file.open(folder.file("file").c_str(), platform::File::Access::read), 0);
  std::uint64_t position = 8;
  std::uint32_t size = 0;
  EXPECT_EQ(seek_to_subatom(file, position, 19, four_cc("data"), size), 0);
  EXPECT_EQ(position, 17u);
  EXPECT_EQ(size, 10u);
  position = 8;
  EXPECT_EQ(seek_to_subatom(file, position, 19, four_cc("more"), size), -1);
}

}  // namespace
