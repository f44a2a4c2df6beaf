// MP3 files, frame by frame, read independently of any decoder; and what decoders make of them.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace auspool::testing {

struct Mp3Frame {
  std::size_t at, size;  // bytes
  int bitrate;           // kilobits a second
  int rate;              // Hz
  int channel_mode;      // 0 stereo, 1 joint stereo, 3 mono
  int samples;           // a channel
};

struct Mp3File {
  std::size_t tag_bytes = 0;     // of an ID3 tag at the start
  std::string vbr_header;        // from its "Xing" or "Info" on, or empty
  std::vector<Mp3Frame> frames;  // without that of the header
  bool whole = false;            // frames fill the file to its end

  std::uint32_t frames_in_header() const;  // what the VBR header says
  int low_pass() const;                    // Hz, what LAME noted there
};
Mp3File mp3_file(const std::string &bytes);

// Interleaved samples as mpg123 and ffmpeg decode them, the encoder's delay included; the test fails when they
// complain.
std::vector<std::int16_t> decoded_by_mpg123(const std::string &path);
std::vector<std::int16_t> decoded_by_ffmpeg(const std::string &path);

// What mp3val and mediainfo find wrong with the files; empty when all is well.
std::string complaints_about_mp3(const std::vector<std::string> &paths);

}  // namespace auspool::testing
