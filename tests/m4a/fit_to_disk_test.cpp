// Files on a disk that fills up at every byte in turn: fewer packets, and each of them whole.
#include "m4a/fit_to_disk.h"

#include <sys/resource.h>

#include <csignal>
#include <semaphore>

#include "m4a/m4a_file.h"
#include "m4a/record.h"
#include "support/tiny_disk.h"
#include "support/watch.h"

using namespace auspool::testing;

namespace {

constexpr int kPackets = 60;
constexpr char kStbl[] = "moov.trak.mdia.minf.stbl";

// No file of the process grows beyond so many bytes.
class LargestFile {
public:
  explicit LargestFile(rlim_t bytes) {
    getrlimit(RLIMIT_FSIZE, &before_);
    const rlimit limit = {bytes, before_.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~LargestFile() {
    setrlimit(RLIMIT_FSIZE, &before_);
    std::signal(SIGXFSZ, signal_);
  }
  LargestFile(const LargestFile &) = delete;
  LargestFile &operator=(const LargestFile &) = delete;

private:
  rlimit before_{};
  void (*const signal_)(int) = std::signal(SIGXFSZ, SIG_IGN);
};

// Of no two packets in a row the same size.
std::string sized_packet(int n) {
  return packet(n, 40 + static_cast<std::size_t>(n) * 77 % 300);
}

void write(m4a_t *m4a, int from, int to, decltype(m4a_write_sample) *write_sample = m4a_write_sample) {
  for (int i = from; i < to; ++i) {
    write_sample(m4a, sized_packet(i).data(), static_cast<std::int32_t>(sized_packet(i).size()));
  }
}

// The numbers of the packets that these are, one behind the other; -1 where they are none, or not in their order.
int last_packet_of(const std::string &data, const std::vector<std::size_t> &sizes, int previous = -1) {
  std::size_t at = 0;
  for (const std::size_t size : sizes) {
    const int number = std::atoi(data.substr(at, 3).c_str());
    if (number <= previous || data.substr(at, size) != sized_packet(number)) return -1;
    previous = number;
    at += size;
  }
  return at == data.size() ? previous : -1;
}

std::vector<std::size_t> sizes_in(const std::string &bytes) {
  const Atom stsz = atom_at(bytes, kStbl + std::string(".stsz"));
  std::vector<std::size_t> sizes;
  for (std::uint32_t i = 0; i < stsz.word(16); ++i) sizes.push_back(stsz.word(20 + 4 * i));
  return sizes;
}

// Whether a finished plain file and its record tell the same, and of whole packets alone. Returns how many.
std::size_t expect_whole(const std::string &bytes, const std::string &forms, const std::string &record = {}) {
  const std::vector<std::size_t> sizes = sizes_in(bytes);
  const Atom mdat = atom_at(bytes, "mdat");
  EXPECT_NE(forms.find(types_in(bytes)), std::string::npos) << types_in(bytes);
  EXPECT_TRUE(sizes.empty() || last_packet_of(mdat.bytes.substr(8), sizes) >= 0);
  const Atom stco = atom_at(bytes, kStbl + std::string(".stco"));
  if (!sizes.empty()) {
    EXPECT_EQ(stco.word(16), mdat.offset + 8);
  }
  if (!record.empty()) {
    EXPECT_EQ(record.size(), 16 + 4 * sizes.size());
  }
  return sizes.size();
}

struct Finished {
  std::int32_t result = -1;
  std::size_t packets = 0;
};

// A plain file of which the last packets find a limit of the file's size. `more` packets come when it is lifted again.
Finished finish_below(rlim_t bytes, bool moved, int more = 0) {
  M4aFile file, recovery;
  std::binary_semaphore moved_it{0};
  fs_fix_th_data_t fix = {};
  fix.file = file.stream;
  fix.post_proc = &moved_it;
  fix.done_proc = [](fs_fix_th_data_t *data) { static_cast<std::binary_semaphore *>(data->post_proc)->release(); };
  auto full = std::make_unique<LargestFile>(bytes);
  m4a_t *const m4a = m4a_begin(file.stream, recovery.stream, 2, 44100, 1024, 128000, 0);
  if (!m4a) return {};
  write(m4a, 0, kPackets);
  if (more > 0) full.reset();
  write(m4a, kPackets, kPackets + more);
  Finished finished{m4a_finish(m4a, nullptr, M4A_KIND_AAC, moved ? &fix : nullptr), 0};
  if (moved && finished.result == 0) moved_it.acquire();
  full.reset();
  if (finished.result == 0) {
    finished.packets =
        expect_whole(file.bytes(), moved ? "ftyp moov mdat" : "ftyp mdat moov", read_file(recovery.path));
  }
  return finished;
}

TEST(FitToDisk, PlainFileGivesUpWhatFindsNoRoom) {
  for (const bool moved : {false, true}) {
    std::size_t before = 0;
    for (rlim_t limit = 700; limit < 14000 && !HasFailure(); limit += moved ? 407 : 61) {
      SCOPED_TRACE(limit);
      const Finished finished = finish_below(limit, moved);
      ASSERT_EQ(finished.result, 0);
      EXPECT_GE(finished.packets + 30, before);  // a block's worth may be given up for the index
      before = finished.packets;
    }
    EXPECT_EQ(before, static_cast<std::size_t>(kPackets)) << "the last limit is none";
  }
}

TEST(FitToDisk, PlainFileFailsWhereNotEvenAnEmptyIndexFits) {
  EXPECT_EQ(finish_below(30, false).result, -1);
  EXPECT_EQ(finish_below(500, false).result, -1);
  EXPECT_EQ(finish_below(500, true).result, -1);
}

// What is written once there is room again stands where the index says.
TEST(FitToDisk, PlainFileGoesOnWhenThereIsRoomAgain) {
  for (rlim_t limit = 100; limit < 12000 && !HasFailure(); limit += 97) {
    SCOPED_TRACE(limit);
    const Finished finished = finish_below(limit, false, 20);
    EXPECT_EQ(finished.result, 0);
    EXPECT_GE(finished.packets, 20u);
  }
}

TEST(FitToDisk, FragmentedFileHoldsWholeFragmentsAlone) {
  for (rlim_t limit = 700; limit < 18000 && !HasFailure(); limit += 61) {
    SCOPED_TRACE(limit);
    M4aFile file;
    auto full = std::make_unique<LargestFile>(limit);
    m4a_t *const m4a = m4a_begin_fragmented(file.stream, nullptr, M4A_KIND_AAC, 2, 44100, 22050, 128000, 0);
    ASSERT_NE(m4a, nullptr);  // 10 packets a fragment
    write(m4a, 0, kPackets, m4a_write_sample_fragmented);
    full.reset();
    write(m4a, kPackets, kPackets + 20, m4a_write_sample_fragmented);
    EXPECT_EQ(m4a_finish_fragmented(m4a, M4A_KIND_AAC), 0);
    const std::uint32_t lost = m4a->packets_lost;
    auspool::m4a::release_record(m4a);
    std::size_t packets = 0;
    int previous = -1;
    std::vector<std::size_t> sizes;
    const std::vector<Atom> atoms = atoms_in(file.bytes());
    for (std::size_t i = 2; i < atoms.size(); ++i) {
      ASSERT_EQ(atoms[i].type, i % 2 ? "mdat" : "moof");
      if (i % 2) {
        previous = last_packet_of(atoms[i].bytes.substr(8), std::exchange(sizes, {}), previous);
        ASSERT_GE(previous, 0);
        continue;
      }
      const Atom trun = atom_at(atoms[i].bytes.substr(8), "traf.trun");
      for (std::uint32_t n = 0; n < trun.word(12); ++n) sizes.push_back(trun.word(24 + 8 * n));
      packets += sizes.size();
    }
    EXPECT_EQ(packets + lost, kPackets + 20u);
    EXPECT_EQ(previous, kPackets + 19);
  }
}

// On a real disk, which gives and takes whole blocks.
TEST(FitToDisk, FilesOnAFullDiskAreWhole) {
  const TempDir folder;
  const TinyDisk disk(folder.file("disk"), "64k");
  if (!disk.mounted()) GTEST_SKIP() << "mounting a small disk is not allowed here";
  const std::string path = folder.file("disk/a.m4a");
  for (int filler = 0; filler < 60000; filler += 2000) {
    SCOPED_TRACE(filler);
    write_file(folder.file("disk/filler"), std::string(static_cast<std::size_t>(filler), 'x'));
    FILE *const file = std::fopen(path.c_str(), "w+");
    m4a_t *const m4a = m4a_begin(file, nullptr, 2, 44100, 1024, 128000, 0);
    if (!m4a) {
      std::fclose(file);
      continue;
    }
    for (int i = 0; i < 6; ++i) write(m4a, 0, kPackets);
    std::binary_semaphore moved_it{0};
    fs_fix_th_data_t fix = {
        nullptr, [](fs_fix_th_data_t *data) { static_cast<std::binary_semaphore *>(data->post_proc)->release(); }, file,
        nullptr, &moved_it};
    const std::int32_t result = m4a_finish(m4a, nullptr, M4A_KIND_AAC, filler % 4000 ? &fix : nullptr);
    EXPECT_EQ(result, 0);
    if (result == 0 && filler % 4000) moved_it.acquire();
    std::fclose(file);
    const std::string bytes = read_file(path);
    std::size_t at = 8;
    for (const std::size_t size : sizes_in(bytes)) {
      const std::string one = atom_at(bytes, "mdat").bytes.substr(at, size);
      EXPECT_EQ(one, sized_packet(std::atoi(one.c_str())));
      at += size;
    }
    EXPECT_EQ(atom_at(bytes, "mdat").size(), at);
    EXPECT_EQ(types_in(bytes), filler % 4000 ? "ftyp moov mdat" : "ftyp mdat moov");
  }
}

TEST(FitToDisk, LeavesTheStreamsErrorForTheCallerToSee) {
  M4aFile file;
  auto full = std::make_unique<LargestFile>(6000);
  m4a_t *const m4a = m4a_begin(file.stream, nullptr, 2, 44100, 1024, 128000, 0);
  write(m4a, 0, kPackets);
  EXPECT_GT(m4a->packets_lost, 0u);
  EXPECT_EQ(m4a_finish(m4a, nullptr, M4A_KIND_AAC, nullptr), 0);
  full.reset();
  EXPECT_NE(std::ferror(file.stream), 0);
}

// A record that could not be written on is right as far as it goes.
TEST(FitToDisk, RecordEndsWhereItCouldNotBeWritten) {
  M4aFile file, recovery;
  m4a_t *const m4a = m4a_begin(file.stream, recovery.stream, 2, 44100, 1024, 128000, 0);
  write(m4a, 0, 10);
  {
    const CallFailer failer("fwrite", 2, 28 /* ENOSPC */);  // the first is the packet's
    write(m4a, 10, 11);
    ASSERT_EQ(failer.failures(), 1);
  }
  write(m4a, 11, 20);
  EXPECT_EQ(read_file(recovery.path).size(), 16u + 4 * 10);
  EXPECT_EQ(m4a_finish(m4a, nullptr, M4A_KIND_AAC, nullptr), 0);
  EXPECT_EQ(sizes_in(file.bytes()).size(), 20u);
}

TEST(FitToDisk, FileEndsBeforeItsOffsetsPass32Bits) {
  M4aFile file;
  m4a_t *const m4a = m4a_begin(file.stream, nullptr, 2, 44100, 1024, 128000, 0);
  write(m4a, 0, 1);
  m4a->data_end = UINT32_MAX - 2000;  // as after hours
  m4a->mdat_size = static_cast<std::uint32_t>(m4a->data_end - 32);
  std::fseek(file.stream, m4a->data_end, SEEK_SET);
  write(m4a, 1, kPackets);
  EXPECT_GT(m4a->packets_lost, 0u);
  EXPECT_LE(m4a->data_end, std::int64_t{UINT32_MAX});
  EXPECT_TRUE(auspool::m4a::fit_to_disk(*m4a, nullptr, M4A_KIND_AAC));
  EXPECT_LE(m4a->data_end + m4a->index->moov_size(), std::int64_t{UINT32_MAX});
  EXPECT_EQ(32 + std::int64_t{m4a->mdat_size}, m4a->data_end);
  auspool::m4a::release_record(m4a);
}

}  // namespace
