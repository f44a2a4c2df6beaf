// A line on a real sound system, a private one: what it hears is what a program plays into the source.
#include <gtest/gtest.h>

#include <atomic>

#include "auspool/auline.h"
#include "support/programs.h"
#include "support/sound_system.h"

namespace auspool::testing {
namespace {

struct Tape {
  static void hear(void *self, const au_channel_pair *channels, std::int32_t frames, float) {
    auto &tape = *static_cast<Tape *>(self);
    std::size_t at = tape.count;
    for (std::int32_t i = 0; i < frames && at + 2 <= tape.samples.size(); ++i) {
      tape.samples[at++] = channels->left[i];
      tape.samples[at++] = channels->right[i];
    }
    tape.count = at;
  }
  std::vector<float> heard() const {
    return {samples.begin(), samples.begin() + static_cast<std::ptrdiff_t>(count.load())};
  }

  std::vector<float> samples = std::vector<float>(2 * 480000);
  std::atomic<std::size_t> count = 0;
};

class LineOnServer : public SoundTest {};

TEST_F(LineOnServer, HearsExactlyWhatIsPlayedIntoTheSource) {
  std::vector<float> signal;
  for (std::uint64_t i = 0; i < 480000; ++i) {
    signal.push_back(numbered_sample(i, 0));
    signal.push_back(numbered_sample(i, 1));
  }
  write_float_file(server->file("signal.wav"), signal, 2, 48000);
  Background source({"pw-play", "--target=0", server->file("signal.wav")}, server->file("pw-play.log"));
  ASSERT_TRUE(eventually([] {
    return run("pw-link pw-play:output_FL line:input_FL && pw-link pw-play:output_FR line:input_FR").status == 0;
  }));
  auline *const line = auline_create();
  AuLineOptions options = {};
  options.device = system->device("line");
  auline_set_options(line, &options);
  Tape tape;
  EXPECT_EQ(auline_start(line, Tape::hear, &tape), 0);
  expect_exact([&] { return tape.heard(); }, 2, 12000);
  auline_destroy(line);
}

}  // namespace
}  // namespace auspool::testing
