// What an input device hears, block by block: as an audio file is read, but in the device's time and without an end.
#pragma once

#include <auspool/auline.h>
#include <auspool/rbuffer.h>

#include <atomic>
#include <memory>
#include <vector>

namespace example {

class CaptureInput {
public:
  // Starts the system's default input, and waits for its first block.
  CaptureInput();

  float rate() const { return rate_; }
  double seconds() const { return 0; }  // nobody knows
  // Waits for so many frames. 0 after an interrupt; throws when the device brings no more.
  int read(int frames);
  const std::vector<float> &left() const { return left_; }
  const std::vector<float> &right() const { return right_; }

private:
  static void hear(void *self, const au_channel_pair *channels, int32_t frames, float rate);
  bool wait_for(int bytes) const;  // false after an interrupt

  std::atomic<float> rate_ = 0;
  std::unique_ptr<rbuffer, void (*)(rbuffer *)> ring_;
  std::vector<float> interleaved_, left_, right_;
  std::unique_ptr<auline, void (*)(auline *)> line_;  // ends first: its thread writes the ring
};

}  // namespace example
