// Makes a recording whole again that was cut off: the library's writer of MPEG-4 files, fed from what a plain recording
// left behind. The format of the recovery record is in docs/recording.md.
#include <auspool/m4a.h>
#include <unistd.h>

#include <memory>

#include "common/command_line.h"
#include "recover/file_stage.h"
#include "recover/record.h"

namespace {

namespace fs = std::filesystem;
using recover::Failure;
using recover::Record;
using recover::Stage;

constexpr const char *kHelp = R"(usage: auspool-recover FILE...

Makes AAC and ALAC recordings whole again that were cut off before they were finished. Needed is the hidden recovery
record .NAME.recovery beside each file, which the recorder keeps until the file is complete and which is removed here.
The old file is replaced once the new one is on the disk. What tags the file was to have is lost. Fragmented recordings
need no recovery. A file whose audio was being moved to make room for its index is left as it is.

Exit status: 0 if all files were recovered, 1 if not, 2 for a wrong command line.
)";

struct CloseFile {
  void operator()(FILE *file) const { std::fclose(file); }
};
using Stream = std::unique_ptr<FILE, CloseFile>;

// A hidden file in the same folder.
fs::path beside(const fs::path &path, const char *ending) {
  fs::path hidden = path.parent_path() / ".";
  hidden += path.filename();
  hidden += ending;
  return hidden;
}

// A record that outlived the recording tells of packets that are not where they were.
void expect_audio_in_place(FILE *file, const fs::path &path, const fs::path &record_path) {
  switch (recover::stage_of(file, fs::file_size(path))) {
  case Stage::kInPlace:
    return;
  case Stage::kComplete:
    fs::remove(record_path);
    throw Failure("there is nothing to recover: the file was completed");
  case Stage::kMoving:
    throw Failure("its audio was being moved when it was cut off: file and record are left as they are");
  case Stage::kForeign:
    throw Failure("it is no recording of AAC or ALAC");
  }
}

struct Copied {
  std::size_t packets = 0;
  std::uint64_t bytes = 0;
};

// Copies the packets that are on the disk whole. A size that cannot be marks the record's end: after a loss of power
// that is often zeros.
Copied copy_packets(const Record &record, FILE *from, std::uint64_t from_bytes, m4a_t *to) {
  Copied copied;
  if (std::fseek(from, recover::kFirstPacket, SEEK_SET) != 0) return copied;
  const std::uint64_t there = from_bytes - std::min(from_bytes, recover::kFirstPacket);
  std::string packet;
  for (; copied.packets < record.packets(); ++copied.packets) {
    const std::size_t size = record.size_of(copied.packets);
    if (size == 0 || size > INT32_MAX || size > there - copied.bytes) break;
    packet.resize(size);
    if (std::fread(packet.data(), 1, size, from) != size) break;
    m4a_write_sample(to, packet.data(), static_cast<int32_t>(size));
    copied.bytes += size;
  }
  return copied;
}

// Writes a file anew from what there is of it. The recorder's ALAC is of 16 bits, for which the writer has a
// configuration of its own. On a full disk the writer leaves packets out, which is no reason to give up the old file.
std::size_t rebuild(const Record &record, FILE *in, std::uint64_t in_bytes, const fs::path &to) {
  const Stream out(std::fopen(to.c_str(), "w+bx"));
  if (!out) throw Failure(to.string() + " cannot be made");
  m4a_t *const m4a = m4a_begin(out.get(), nullptr, record.channels(), record.rate(), record.packet_frames(),
                               record.bitrate(), record.profile());
  if (m4a == nullptr) throw Failure(to.string() + " cannot be begun");
  const Copied copied = copy_packets(record, in, in_bytes, m4a);
  const bool good = m4a_finish(m4a, nullptr, record.kind(), nullptr) == 0 && std::fflush(out.get()) == 0 &&
                    recover::data_size(out.get()) == 8 + copied.bytes && fsync(fileno(out.get())) == 0;
  if (!good) throw Failure(to.string() + " cannot be written");
  if (copied.packets == 0) throw Failure("there is nothing to recover: no whole packet reached the disk");
  return copied.packets;
}

void recover_file(const fs::path &path) {
  const fs::path record_path = beside(path, ".recovery"), temporary = beside(path, ".recovered");
  const Stream in(std::fopen(path.c_str(), "rb"));
  if (!in) throw Failure("it cannot be read");
  if (fs::exists(record_path)) expect_audio_in_place(in.get(), path, record_path);
  const Record record(record_path);
  fs::remove(temporary);  // of an earlier try
  try {
    const std::size_t packets = rebuild(record, in.get(), fs::file_size(path), temporary);
    fs::permissions(temporary, fs::status(path).permissions());
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
      recover_file(file);
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
