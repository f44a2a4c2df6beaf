// A delay of the library as this program uses it: as much comes out as goes in, with silence where there is no audio.
#pragma once

#include <auspool/audiskdelay2.h>

#include <cstdint>
#include <memory>
#include <vector>

namespace delay {

class HeldAudio {
public:
  // So many seconds of silence come out first: then that is the delay.
  HeldAudio(int seconds, double first, float rate);

  // One block in, and as much out, into left() and right().
  void pass(const float *left, const float *right, int frames);

  // Up to so many frames of what is still held back; returns how many there were, 0 at its end.
  int drain(int frames);

  // Waits until the delay has stored all that went in, so that its figures are true.
  void settle();

  // Changes the delay by so many seconds, or ends it, as far as there is audio.
  void move(double seconds);
  void end() { set(0); }

  double length() const { return static_cast<double>(audiskdelay2_max_delay(delay_.get())); }  // seconds
  double delay() const { return static_cast<double>(audiskdelay2_info(delay_.get(), nullptr, nullptr)); }
  double real_delay() const;

  const std::vector<float> &left() const { return left_; }
  const std::vector<float> &right() const { return right_; }

private:
  void set(double seconds);
  std::int64_t stored() const;
  bool all_is_stored() const;
  int read(int frames);
  void give(int silent, int frames);

  std::unique_ptr<audiskdelay2, void (*)(audiskdelay2 *)> delay_;
  double rate_;
  std::int64_t silence_;   // frames that come out before any audio
  std::int64_t held_ = 0;  // frames that went in and are to come out; a few less where the delay was moved
  std::vector<float> interleaved_, left_, right_;
};

}  // namespace delay
