// A delay beside a plain list of all that it was given: whatever it reads must be the frame that stands in that list as
// far behind the end as the delay says.
#pragma once

#include <deque>
#include <optional>
#include <random>

#include "audiskdelay/delay_frames.h"
#include "audiskdelay/failing_disk.h"
#include "audiskdelay/generations.h"

namespace auspool::testing {

template <typename Generation>
class DelayBesideAList : public ::testing::Test {
protected:
  using G = Generation;
  static constexpr float kRate = 1000;
  static constexpr std::int32_t kRingFrames = 10000;

  void make(std::int32_t seconds) {
    delay = G::make(seconds, kRate);
    ASSERT_TRUE(delay);
  }

  // Numbered frames, or silence while `silent` is set, as many as fit at once.
  void write(int frames) {
    frames = std::min(frames, kRingFrames - G::waiting(delay->write_ring.get()));
    std::vector<float> block(static_cast<std::size_t>(2 * frames));
    for (int i = 0; i < frames; ++i) {
      if (!silent) put_frame(&block[static_cast<std::size_t>(2 * i)], ++last);
      given.push_back(silent ? 0 : static_cast<std::int64_t>(last));
    }
    ASSERT_EQ(G::write(delay.get(), block.data(), frames), frames);
  }

  // What a pass takes from the writer is stored, from its beginning on, as far as the disk allowed.
  void step() {
    const std::uint64_t before = G::stored(*delay), behind = G::behind(*delay);
    audiskdelay::pass(*delay);
    const std::uint64_t stored = G::stored(*delay) - before;
    const std::size_t taken = given.size() - static_cast<std::size_t>(G::waiting(delay->write_ring.get()));
    ASSERT_LE(stored, taken);
    for (std::size_t i = 0; i < taken; ++i) {
      if (i < stored) list.push_back(given.front());
      given.pop_front();
    }
    ASSERT_EQ(list.size(), G::stored(*delay));
    if (behind + stored > G::held(*delay)) place.reset();  // it lost what was to be read, and jumps
    if (G::kSleeps && stored < taken) place.reset();
  }

  std::uint64_t delay_frames() const {
    return G::behind(*delay) + static_cast<std::uint64_t>(G::waiting(delay->read_ring.get()));
  }

  void read(int frames) {
    const std::uint64_t from = list.size() - delay_frames();
    if (place) {
      ASSERT_EQ(from, *place) << "nothing made it jump";
    }
    std::vector<float> block(static_cast<std::size_t>(2 * frames));
    const int expected = std::min(frames, G::waiting(delay->read_ring.get()));
    ASSERT_EQ(G::read(delay.get(), block.data(), frames), expected);
    for (int i = 0; i < expected; ++i)
      ASSERT_EQ(number_of(&block[static_cast<std::size_t>(2 * i)]), list[from + static_cast<std::uint64_t>(i)]);
    place = from + static_cast<std::uint64_t>(expected);
  }

  void set(std::uint64_t frames) {
    const std::uint64_t wanted = frames + (G::kSleeps ? 0 : static_cast<std::uint64_t>(given.size()));
    const float result = G::set(delay.get(), static_cast<float>(frames) / kRate);
    // The quotient may lie a little below the whole number of frames, which is cut off.
    const auto got = static_cast<std::uint64_t>(std::llround(result * kRate));
    ASSERT_LE(got, std::min(wanted, G::held(*delay)));
    ASSERT_GE(got + 1, std::min(wanted, G::held(*delay)));
    ASSERT_EQ(got, delay_frames());
    place.reset();
  }

  // Its operations in any order.
  void do_anything(std::mt19937 &random) {
    switch (random() % 16) {
    case 0:
      return set(random() % 3 == 0 ? random() % 100000 : random() % 8000);
    case 1:
      silent = random() % 3 == 0;
      return;
    case 2:
    case 3:
    case 4:
    case 5:
    case 6:
      return write(static_cast<int>(random() % (random() % 20 ? 600 : 6000)));
    case 7:
    case 8:
    case 9:
    case 10:
      return read(static_cast<int>(random() % (random() % 20 ? 600 : 6000)));
    default:
      return step();
    }
  }

  typename G::Handle delay;
  std::uint64_t last = 0;
  bool silent = false;
  std::deque<std::int64_t> given;      // in the write ring
  std::vector<std::int64_t> list;      // all that was stored
  std::optional<std::uint64_t> place;  // in the list, of what is read next
};

}  // namespace auspool::testing
