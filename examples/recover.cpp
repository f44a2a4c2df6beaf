// Makes a recording whole again that was cut off: the library's writer of MPEG-4 files, fed from what a plain recording
// left behind. The format of the recovery record is in docs/recording.md.
#include <auspool/m4a.h>
#include <unistd.h>

#include <filesystem>
#include <memory>
#include <stdexcept>

#include "common/command_line.h"
#include "common/value.h"

namespace {

namespace fs = std::filesystem;

constexpr const char *kHelp = R"(usage: auspool-recover FILE...

Makes AAC and ALAC recordings whole again that were cut off before they were finished. Needed is the hidden recovery
record .NAME.recovery beside each file, which the recorder keeps until the file is complete and which is removed here.
The old file is replaced once the new one is on the disk. What tags the file was to have is lost. Fragmented recordings
need no recovery.

Exit status: 0 if all files were recovered, 1 if not, 2 for a wrong command line.
)";

struct CloseFile {
  void operator()(FILE *file) const { std::fclose(file); }
};
using Stream = std::unique_ptr<FILE, CloseFile>;

struct Failure : std::runtime_error {
  using std::runtime_error::runtime_error;
};

//  0 signature   32 encoder   36 channels   40 rate   44 frames of a packet   48 bitrate   52 bytes of each packet
class Record {
public:
  explicit Record(const fs::path &path) {
    if (!fs::exists(path)) throw Failure("there is nothing to recover: no recovery record stands beside it");
    bytes_ = example::read_whole_file(path.string());
    if (!bytes_.empty() && bytes_[0] == 0) throw Failure("there is nothing to recover: the file was completed");
    constexpr char kSignature[] = "sound siphon bulletproof data v1";
    if (!bytes_.starts_with(kSignature) || bytes_.size() < kHeaderBytes || encoder() == nullptr ||
        packet_frames() == 0 || rate() == 0 || channels() == 0)
      throw Failure("its recovery record is damaged");
  }

  uint32_t channels() const { return word(36); }
  uint32_t rate() const { return word(40); }
  uint32_t packet_frames() const { return word(44); }
  uint32_t bitrate() const { return word(48); }
  int32_t kind() const { return encoder()->kind; }
  int32_t profile() const { return encoder()->profile; }

  // The packets whose size is known; the last number may be cut off.
  std::size_t packets() const { return (bytes_.size() - kHeaderBytes) / 4; }
  std::size_t size_of(std::size_t packet) const { return word(kHeaderBytes + 4 * packet); }

private:
  static constexpr std::size_t kHeaderBytes = 52;

  struct Encoder {
    const char *name;
    int32_t kind, profile;
  };

  const Encoder *encoder() const {
    static constexpr Encoder kEncoders[] = {{"aac ", M4A_KIND_AAC, M4A_PROFILE_LC},
                                            {"aach", M4A_KIND_AAC, M4A_PROFILE_HE},
                                            {"aacp", M4A_KIND_AAC, M4A_PROFILE_HE_V2},
                                            {"alac", M4A_KIND_ALAC, M4A_PROFILE_LC}};
    for (const Encoder &one : kEncoders) {
      if (bytes_.compare(32, 4, one.name) == 0) return &one;
    }
    return nullptr;
  }

  uint32_t word(std::size_t at) const {
    uint32_t value = 0;
    for (std::size_t i = 0; i < 4; ++i) value = value << 8 | static_cast<uint8_t>(bytes_[at + i]);
    return value;
  }

  std::string bytes_;
};

// Copies the packets that are on the disk whole, and returns how many.
std::size_t copy_packets(const Record &record, FILE *from, std::size_t from_bytes, m4a_t *to) {
  constexpr std::size_t kFirstPacket = 40;
  if (std::fseek(from, kFirstPacket, SEEK_SET) != 0) return 0;
  std::string packet;
  std::size_t copied = 0;
  for (std::size_t left = from_bytes - std::min(from_bytes, kFirstPacket); copied < record.packets(); ++copied) {
    const std::size_t size = record.size_of(copied);
    if (size > left) break;
    left -= size;
    packet.resize(size);
    if (std::fread(packet.data(), 1, size, from) != size) break;
    m4a_write_sample(to, packet.data(), static_cast<int32_t>(size));
  }
  return copied;
}

// Writes a file anew from what there is of it. The recorder's ALAC is of 16 bits, for which the writer has a
// configuration of its own.
std::size_t rebuild(const Record &record, const fs::path &from, const fs::path &to) {
  const Stream in(std::fopen(from.c_str(), "rb")), out(std::fopen(to.c_str(), "wbx"));
  if (!in) throw Failure("it cannot be read");
  if (!out) throw Failure(to.string() + " cannot be made");
  m4a_t *const m4a = m4a_begin(out.get(), nullptr, record.channels(), record.rate(), record.packet_frames(),
                               record.bitrate(), record.profile());
  if (m4a == nullptr) throw Failure("memory ran out");
  const std::size_t packets = copy_packets(record, in.get(), fs::file_size(from), m4a);
  const bool good = m4a_finish(m4a, nullptr, record.kind(), nullptr) == 0 && !std::ferror(out.get()) &&
                    std::fflush(out.get()) == 0 && fsync(fileno(out.get())) == 0;
  if (!good) throw Failure(to.string() + " cannot be written");
  if (packets == 0) throw Failure("there is nothing to recover: no whole packet reached the disk");
  return packets;
}

// A hidden file in the same folder.
fs::path beside(const fs::path &path, const char *ending) {
  fs::path hidden = path.parent_path() / ".";
  hidden += path.filename();
  hidden += ending;
  return hidden;
}

void recover(const fs::path &path) {
  const fs::path record_path = beside(path, ".recovery"), temporary = beside(path, ".recovered");
  const Record record(record_path);
  fs::remove(temporary);  // of an earlier try
  try {
    const std::size_t packets = rebuild(record, path, temporary);
    fs::rename(temporary, path);
    const double frames = static_cast<double>(packets) * record.packet_frames();
    std::printf("%s: recovered %zu packets, %.3f s\n", path.c_str(), packets, frames / record.rate());
  } catch (...) {
    fs::remove(temporary);
    throw;
  }
  fs::remove(record_path);
}

int run(int argc, char **argv) {
  bool help = false;
  const std::vector<std::string> files = example::parse(argc, argv, {example::flag("help", help)});
  if (help) return std::fputs(kHelp, stdout) < 0 ? 1 : 0;
  if (files.empty()) throw example::UsageError("no file");
  int status = 0;
  for (const std::string &file : files) {
    try {
      recover(file);
    } catch (const std::exception &error) {
      std::fprintf(stderr, "%s: %s\n", file.c_str(), error.what());
      status = 1;
    }
  }
  return status;
}

}  // namespace

int main(int argc, char **argv) {
  return example::guarded("auspool-recover", [&] { return run(argc, argv); });
}
