// The disk store beside plain files and two embedded databases, all on the disk of temporary files: appending 16 KiB at
// a time, as the delays do, and reading 4 KiB. Processor time is that of the whole process, system calls included; what
// a file leaves in the system's page cache stands beside it.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <lmdb.h>
#include <sqlite3.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "audiskdelay/BTAudioBuffer/BTAudioBuffer.h"
#include "platform/locked_memory.h"
#include "platform/temporary_file.h"
#include "platform/uncached_file.h"

namespace {

using namespace auspool::audiskdelay;
using auspool::platform::UncachedFile;

constexpr std::uint64_t kHour = 3600 * 44100;
constexpr std::uint32_t kFrames = 4096, kBytes = kFrames * 4;
constexpr std::uint32_t kBlock = 131072;
constexpr int kAppends = 100000;  // 1.6 GB, 2.6 hours
constexpr std::uint32_t kReadBytes = 4096;
constexpr int kReads = 20000;
constexpr std::uint64_t kReadFrom = 38000;  // appends before reading: 623 MB, less than the hour

void require(bool holds, const char *what) {
  if (holds) return;
  std::fprintf(stderr, "%s failed\n", what);
  std::exit(1);
}

// What a delay's worker has: audio that it has just taken out of a ring.
const std::array<std::uint8_t, kBytes> &audio() {
  static const auto samples = [] {
    std::array<std::uint8_t, kBytes> it;
    std::mt19937 random(1);
    std::generate(it.begin(), it.end(), [&] { return static_cast<std::uint8_t>(random()); });
    return it;
  }();
  return samples;
}

std::uint64_t cached_bytes_in(std::uint64_t size, int descriptor) {
  void *const mapped = size ? mmap(nullptr, size, PROT_READ, MAP_SHARED, descriptor, 0) : MAP_FAILED;
  if (mapped == MAP_FAILED) return 0;
  std::vector<unsigned char> resident((size + 4095) / 4096);
  mincore(mapped, size, resident.data());
  munmap(mapped, size);
  return 4096 * static_cast<std::uint64_t>(std::count_if(resident.begin(), resident.end(),
                                                         [](unsigned char page) { return (page & 1) != 0; }));
}

// All of this process's files of some size.
double cached_megabytes() {
  std::uint64_t bytes = 0;
  for (const auto &entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    struct stat status {};
    const int descriptor = std::stoi(entry.path().filename());
    if (fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode) || status.st_size < 1 << 20) continue;
    bytes += cached_bytes_in(static_cast<std::uint64_t>(status.st_size), descriptor);
  }
  return static_cast<double>(bytes) / 1e6;
}

class Store {
public:
  ~Store() { BTAudioBufferDestroy(store_); }
  void append() { require(BTAudioBufferWrite(store_, audio().data(), kBytes, kFrames, true), "a write"); }
  void read(std::uint64_t offset, void *to) {
    std::uint64_t start = 0;
    BTAudioBufferGetInfo(store_, &start, nullptr, nullptr);
    for (std::uint32_t done = 0; done < kReadBytes;) {
      const std::uint64_t frame = start + (offset + done) / 4;
      void *data = static_cast<std::uint8_t *>(to) + done;
      std::uint32_t bytes = kReadBytes - done;
      require(BTAudioBufferRead(store_, &frame, &data, &bytes, nullptr, nullptr), "a read");
      done += bytes;
    }
  }

private:
  BTAudioBuffer *const store_ = BTAudioBufferCreate(kHour);
};

// Blocks of 128 KiB straight between memory and disk: the least that the store's way can cost.
class Direct {
public:
  ~Direct() { auspool::platform::release_pages(memory_, 32 * kBlock); }
  void append() {
    std::uint8_t *const block = memory_ + at_ / kBlock % 32 * kBlock;
    std::memcpy(block + at_ % kBlock, audio().data(), kBytes);
    at_ += kBytes;
    if (at_ % kBlock == 0) require(file_->write(at_ - kBlock, block, kBlock) == kBlock, "a write");
  }
  void read(std::uint64_t offset, void *) {
    require(file_->read(offset / 4096 * 4096, memory_, kReadBytes) == kReadBytes, "a read");
  }

private:
  const std::unique_ptr<UncachedFile> file_ = auspool::platform::create_uncached_file(UncachedFile::Pieces::pages);
  std::uint8_t *const memory_ = static_cast<std::uint8_t *>(auspool::platform::allocate_pages(32 * kBlock));
  std::uint64_t at_ = 0;
};

// Through the page cache, whose pages are dropped behind.
class Dropped {
public:
  void append() {
    require(file_->write(at_, audio().data(), kBytes) == kBytes, "a write");
    at_ += kBytes;
  }
  void read(std::uint64_t offset, void *to) { require(file_->read(offset, to, kReadBytes) == kReadBytes, "a read"); }

private:
  const std::unique_ptr<UncachedFile> file_ = auspool::platform::create_uncached_file(UncachedFile::Pieces::any);
  std::uint64_t at_ = 0;
};

// A plain file, which fills the page cache.
class Plain {
public:
  ~Plain() { close(descriptor_); }
  void append() {
    require(pwrite(descriptor_, audio().data(), kBytes, at_) == kBytes, "a write");
    at_ += kBytes;
  }

private:
  const int descriptor_ = auspool::platform::open_temporary_file();
  off_t at_ = 0;
};

// A file name that is gone with the object.
class Name {
public:
  explicit Name(const char *name) : path_(std::string("/var/tmp/auspool-bench-") + std::to_string(getpid()) + name) {}
  ~Name() {
    for (const char *end : {"", "-lock", "-journal"}) std::filesystem::remove(path_ + end);
  }
  const char *path() const { return path_.c_str(); }

private:
  const std::string path_;
};

constexpr int kAppendsACommit = 64;

// Pieces under rising numbers, not synchronised.
class Lmdb {
public:
  Lmdb() {
    require(mdb_env_create(&environment_) == 0, "LMDB");
    require(mdb_env_set_mapsize(environment_, std::size_t{4} << 30) == 0, "LMDB's size");
    require(mdb_env_open(environment_, name_.path(), MDB_NOSUBDIR | MDB_NOSYNC, 0600) == 0, "LMDB's file");
  }
  ~Lmdb() {
    if (transaction_) mdb_txn_abort(transaction_);
    mdb_env_close(environment_);
  }
  void append() {
    if (!transaction_) begin(0);
    MDB_val key = {sizeof next_, &next_}, value = {kBytes, const_cast<std::uint8_t *>(audio().data())};
    require(mdb_put(transaction_, database_, &key, &value, MDB_APPEND) == 0, "LMDB's put");
    if (++next_ % kAppendsACommit != 0) return;
    require(mdb_txn_commit(transaction_) == 0, "LMDB's commit");
    transaction_ = nullptr;
  }

private:
  void begin(unsigned flags) {
    require(mdb_txn_begin(environment_, nullptr, flags, &transaction_) == 0, "LMDB's begin");
    require(mdb_dbi_open(transaction_, nullptr, MDB_INTEGERKEY | MDB_CREATE, &database_) == 0, "LMDB's table");
  }
  const Name name_{"lmdb"};
  MDB_env *environment_ = nullptr;
  MDB_txn *transaction_ = nullptr;
  MDB_dbi database_ = 0;
  std::size_t next_ = 0;
};

// The same, without a journal.
class Sqlite {
public:
  Sqlite() {
    require(sqlite3_open(name_.path(), &database_) == SQLITE_OK, "SQLite");
    run("PRAGMA synchronous=OFF; PRAGMA journal_mode=OFF; CREATE TABLE pieces (number INTEGER PRIMARY KEY, audio "
        "BLOB)");
    const char *const insert = "INSERT INTO pieces VALUES (?, ?)";
    require(sqlite3_prepare_v2(database_, insert, -1, &insert_, nullptr) == SQLITE_OK, "SQLite's statement");
  }
  ~Sqlite() {
    sqlite3_finalize(insert_);
    sqlite3_close(database_);
  }
  void append() {
    if (next_ % kAppendsACommit == 0) run("BEGIN");
    sqlite3_bind_int64(insert_, 1, next_++);
    sqlite3_bind_blob(insert_, 2, audio().data(), kBytes, SQLITE_STATIC);
    require(sqlite3_step(insert_) == SQLITE_DONE, "SQLite's insert");
    sqlite3_reset(insert_);
    if (next_ % kAppendsACommit == 0) run("COMMIT");
  }

private:
  void run(const char *statement) {
    require(sqlite3_exec(database_, statement, nullptr, nullptr, nullptr) == SQLITE_OK, statement);
  }
  const Name name_{"sqlite"};
  sqlite3 *database_ = nullptr;
  sqlite3_stmt *insert_ = nullptr;
  sqlite3_int64 next_ = 0;
};

template <typename Peer>
void append(benchmark::State &state) {
  Peer peer;
  for (auto _ : state) peer.append();
  state.counters["ns_a_frame"] =
      benchmark::Counter(static_cast<double>(state.iterations()) * kFrames * 1e-9,
                         benchmark::Counter::Flags(benchmark::Counter::kIsRate | benchmark::Counter::kInvert));
  state.counters["MB_in_page_cache"] = cached_megabytes();
}

// One after the other, or anywhere.
template <typename Peer>
void read(benchmark::State &state) {
  static Peer *const peer = [] {
    auto *const it = new Peer;
    for (std::uint64_t i = 0; i < kReadFrom; ++i) it->append();
    return it;
  }();
  const bool anywhere = state.range(0) != 0;
  std::array<std::uint8_t, kReadBytes> to;
  std::mt19937_64 random(3);
  std::uint64_t at = 0;
  for (auto _ : state) {
    peer->read(at, to.data());
    at = anywhere ? random() % (kReadFrom - 100) * kBytes / 4096 * 4096 : (at + kReadBytes) % (kReadFrom * kBytes / 2);
  }
}

#define APPEND(peer) \
  BENCHMARK(append<peer>)->Iterations(kAppends)->MeasureProcessCPUTime()->Unit(benchmark::kMicrosecond)
APPEND(Store);
APPEND(Direct);
APPEND(Dropped);
APPEND(Plain);
APPEND(Lmdb);
APPEND(Sqlite);
#define READ(peer)              \
  BENCHMARK(read<peer>)         \
      ->ArgName("anywhere")     \
      ->Arg(0)                  \
      ->Arg(1)                  \
      ->Iterations(kReads)      \
      ->MeasureProcessCPUTime() \
      ->Unit(benchmark::kMicrosecond)
READ(Store);
READ(Direct);
READ(Dropped);

}  // namespace

BENCHMARK_MAIN();
