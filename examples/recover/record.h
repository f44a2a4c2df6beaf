// The recovery record of a recording.
#pragma once

#include <cstdint>
#include <filesystem>
#include <stdexcept>
#include <string>

namespace recover {

// Why a file is left as it is.
struct Failure : std::runtime_error {
  using std::runtime_error::runtime_error;
};

//  0 signature   32 encoder   36 channels   40 rate   44 frames of a packet   48 bitrate   52 bytes of each packet
class Record {
public:
  // Throws Failure where there is none, or it is no use.
  explicit Record(const std::filesystem::path &path);

  std::uint32_t channels() const { return word(36); }
  std::uint32_t rate() const { return word(40); }
  std::uint32_t packet_frames() const { return word(44); }
  std::uint32_t bitrate() const { return word(48); }
  std::int32_t kind() const { return encoder()->kind; }
  std::int32_t profile() const { return encoder()->profile; }

  // The packets whose size is known; the last number may be cut off.
  std::size_t packets() const { return (bytes_.size() - kHeaderBytes) / 4; }
  std::size_t size_of(std::size_t packet) const { return word(kHeaderBytes + 4 * packet); }

private:
  static constexpr std::size_t kHeaderBytes = 52;

  struct Encoder {
    const char *name;
    std::int32_t kind, profile;
  };

  const Encoder *encoder() const;
  std::uint32_t word(std::size_t at) const;

  std::string bytes_;
};

}  // namespace recover
