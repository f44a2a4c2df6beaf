// The background job that moves a finished file's index to its front.
#include <gtest/gtest.h>

#include <semaphore>

#include "auspool/audict.h"
#include "auspool/aurec.h"
#include "base/byte_order.h"
#include "m4a/fast_start.h"
#include "m4a/m4a_file.h"
#include "m4a/moov.h"
#include "m4a/record.h"
#include "support/watch.h"

using namespace auspool::testing;

namespace {

constexpr char kStco[] = "moov.trak.mdia.minf.stbl.stco";

m4a_t *begin_with(const M4aFile &file, int packets, std::size_t size) {
  m4a_t *const m4a = m4a_begin(file.stream, nullptr, 2, 44100, 1024, 128000, 0);
  for (int i = 0; i < packets; ++i) m4a_write_sample(m4a, packet(i, size).data(), static_cast<int>(size));
  return m4a;
}

// The job's record, and the wait for its end.
class Fix {
public:
  explicit Fix(const M4aFile &file, aurec *owner = nullptr) {
    data.aurec = owner;
    data.file = file.stream;
    data.post_proc = this;
    data.done_proc = [](fs_fix_th_data_t *fix) { static_cast<Fix *>(fix->post_proc)->done_.release(); };
  }
  void wait() { done_.acquire(); }

  fs_fix_th_data_t data = {};

private:
  std::counting_semaphore<> done_{0};
};

void *no_file(void *, void *, char *, std::int32_t, std::int32_t, audict **) {
  return nullptr;
}

// Every offset leads to the first of its 21 packets.
void expect_right_offsets(const std::string &bytes, std::size_t packet_size) {
  const Atom stco = atom_at(bytes, kStco);
  for (std::uint32_t i = 0; i < stco.word(12); ++i) {
    const std::uint32_t offset = stco.word(16 + 4 * i);
    EXPECT_EQ(bytes.substr(offset, packet_size), packet(static_cast<int>(21 * i), packet_size));
  }
}

TEST(FastStart, PutsTheIndexBehindTheType) {
  M4aFile file, plain;
  Fix fix(file);
  EXPECT_EQ(m4a_finish(begin_with(file, 50, 100), nullptr, M4A_KIND_AAC, &fix.data), 0);
  fix.wait();
  EXPECT_EQ(m4a_finish(begin_with(plain, 50, 100), nullptr, M4A_KIND_AAC, nullptr), 0);
  const std::string bytes = file.bytes();
  EXPECT_EQ(types_in(bytes), "ftyp moov mdat");
  EXPECT_EQ(atom_at(bytes, "ftyp").bytes, plain.atom("ftyp").bytes);
  EXPECT_EQ(atom_at(bytes, "mdat").bytes, plain.atom("mdat").bytes);
  EXPECT_EQ(bytes.size(), plain.bytes().size());
  expect_right_offsets(bytes, 100);
}

TEST(FastStart, TagsAreTheBytesThatTheyAreInAPlainFile) {
  audict *const tags = audict_create();
  audict_set_string(tags, "Title", "Night Train");
  M4aFile file, plain;
  Fix fix(file);
  EXPECT_EQ(m4a_finish(begin_with(file, 5, 100), tags, M4A_KIND_AAC, &fix.data), 0);
  fix.wait();
  EXPECT_EQ(m4a_finish(begin_with(plain, 5, 100), tags, M4A_KIND_AAC, nullptr), 0);
  audict_release(tags);
  EXPECT_NE(file.atom("moov.udta").bytes.find("Night Train"), std::string::npos);
  EXPECT_EQ(file.atom("moov.udta").bytes, plain.atom("moov.udta").bytes);
  expect_right_offsets(file.bytes(), 100);
}

TEST(FastStart, MovesFilesOfSeveralBlocks) {
  constexpr std::size_t kSize = 30000;
  constexpr int kPackets = 874;  // 25 MiB: three blocks
  M4aFile file;
  Fix fix(file);
  EXPECT_EQ(m4a_finish(begin_with(file, kPackets, kSize), nullptr, M4A_KIND_ALAC, &fix.data), 0);
  fix.wait();
  const std::string bytes = file.bytes();
  const std::string mdat = atom_at(bytes, "mdat").bytes;
  ASSERT_EQ(mdat.size(), 8 + kPackets * kSize);
  for (int i = 0; i < kPackets; ++i) {
    ASSERT_EQ(mdat.compare(8 + static_cast<std::size_t>(i) * kSize, kSize, packet(i, kSize)), 0) << i;
  }
  expect_right_offsets(bytes, kSize);
}

// Runs the job on this thread while the n-th call of a name fails.
struct FailedFix {
  int failures;
  std::string bytes;
};
FailedFix fix_while_failing(const char *call, int nth, int packets = 50, std::size_t size = 100,
                            int error = 28 /* ENOSPC */) {
  M4aFile file;
  m4a_t *const m4a = begin_with(file, packets, size);
  auto *const pieces = new m4a_pieces;
  EXPECT_EQ(auspool::m4a::_m4aac_finalize(*m4a, nullptr, pieces), 0);
  std::uint8_t data_size[4];
  auspool::store_be(data_size, m4a->mdat_size);
  std::fseek(file.stream, 32, SEEK_SET);
  std::fwrite(data_size, 1, 4, file.stream);  // what m4a_finish does first
  auspool::m4a::release_record(m4a);
  fs_fix_th_data_t fix = {};
  fix.file = file.stream;
  fix.pieces = pieces;
  const CallFailer failer(call, nth, error);
  auspool::m4a::_m4a_fast_start_fix_run(&fix);
  return {failer.failures(), file.bytes()};
}

TEST(FastStart, MovesNoMoreThanTenMebibytesAtATime) {
  const auto reads = [](int nth) { return fix_while_failing("fread", nth, 874, 30000).failures == 1; };  // 25 MiB
  EXPECT_TRUE(reads(3));
  EXPECT_FALSE(reads(4));
}

TEST(FastStart, LeavesTheIndexAtTheEndWhereItCannotMove) {
  for (const char *call : {"ftruncate", "fallocate", "fflush", "operator new"}) {
    const FailedFix fix = fix_while_failing(call, 1);
    EXPECT_EQ(fix.failures, 1) << call;
    EXPECT_EQ(types_in(fix.bytes), "ftyp mdat moov") << call;
    expect_right_offsets(fix.bytes, 100);
  }
}

TEST(FastStart, MovesWhereTheDiskCannotSetRoomAside) {
  const FailedFix fix = fix_while_failing("fallocate", 1, 50, 100, 95 /* EOPNOTSUPP */);
  EXPECT_EQ(fix.failures, 1);
  EXPECT_EQ(types_in(fix.bytes), "ftyp moov mdat");
  expect_right_offsets(fix.bytes, 100);
}

// A seek that fails costs what it was for, and never the file.
TEST(FastStart, NeverCutsTheFile) {
  for (int nth = 1; nth < 10; ++nth) {
    const FailedFix fix = fix_while_failing("fseek", nth);
    EXPECT_GT(fix.bytes.size(), 40u + 50 * 100) << nth;
    if (fix.failures == 0) {
      EXPECT_GT(nth, 3);
      EXPECT_EQ(types_in(fix.bytes), "ftyp moov mdat");
      return;
    }
  }
  ADD_FAILURE() << "more seeks than there should be";
}

TEST(FastStart, IsCountedWithTheJobsOfItsOwner) {
  aurec *const owner = aurec_create(nullptr, no_file, nullptr, nullptr, nullptr, nullptr);
  M4aFile file;
  std::binary_semaphore go{0};
  Fix fix(file, owner);
  fix.data.post_proc = &go;
  fix.data.done_proc = [](fs_fix_th_data_t *data) { static_cast<std::binary_semaphore *>(data->post_proc)->acquire(); };
  EXPECT_EQ(m4a_finish(begin_with(file, 3, 10), nullptr, M4A_KIND_AAC, &fix.data), 0);
  EXPECT_TRUE(aurec_has_active_files(owner));
  go.release();
  aurec_destroy(owner);  // waits for the job
  EXPECT_EQ(types_in(file.bytes()), "ftyp moov mdat");
}

TEST(FastStart, ThreadThatDoesNotStartIsReported) {
  aurec *const owner = aurec_create(nullptr, no_file, nullptr, nullptr, nullptr, nullptr);
  M4aFile file;
  Fix fix(file, owner);
  m4a_t *const m4a = begin_with(file, 3, 10);
  {
    const CallFailer failer("pthread_create", 1, 11 /* EAGAIN */);
    EXPECT_NE(m4a_finish(m4a, nullptr, M4A_KIND_AAC, &fix.data), 0);
    EXPECT_EQ(failer.failures(), 1);
  }
  EXPECT_FALSE(aurec_has_active_files(owner));
  EXPECT_EQ(fix.data.pieces, nullptr);
  aurec_destroy(owner);
}

TEST(FastStart, FailsToBeginWhereMemoryIsOut) {
  int failures = 0;
  for (bool failed = true; failed; failures += failed) {
    M4aFile file;
    Fix fix(file);
    m4a_t *const m4a = begin_with(file, 3, 10);
    std::int32_t result = 0;
    {
      const AllocationFailer failer(failures + 1);
      result = m4a_finish(m4a, nullptr, M4A_KIND_AAC, &fix.data);
      failed = failer.failed();
    }
    EXPECT_EQ(result != 0, failed) << failures;
    if (result == 0) fix.wait();
    if (failed) {
      EXPECT_EQ(fix.data.pieces, nullptr);
    }
  }
  EXPECT_GT(failures, 4);
}

TEST(FastStart, SeveralJobsRunSideBySide) {
  aurec *const owner = aurec_create(nullptr, no_file, nullptr, nullptr, nullptr, nullptr);
  M4aFile files[4];
  std::vector<std::unique_ptr<Fix>> fixes;
  for (const M4aFile &file : files) {
    fixes.push_back(std::make_unique<Fix>(file, owner));
    EXPECT_EQ(m4a_finish(begin_with(file, 100, 1000), nullptr, M4A_KIND_AAC, &fixes.back()->data), 0);
  }
  for (const auto &fix : fixes) fix->wait();
  aurec_destroy(owner);
  for (const M4aFile &file : files) EXPECT_EQ(types_in(file.bytes()), "ftyp moov mdat");
}

}  // namespace
