// A line on a real sound system, a private one: what it hears is what a program plays into the source.
#include <gtest/gtest.h>

#include <atomic>

#include "auline/auline_record.h"
#include "support/programs.h"
#include "support/sound_system.h"
#include "support/watch.h"

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

class LineOnSource : public LineOnServer {
protected:
  void SetUp() override {
    LineOnServer::SetUp();
    if (IsSkipped()) return;
    line = auline_create();
    AuLineOptions options = {};
    options.device = system->device("line");
    auline_set_options(line, &options);
    ASSERT_EQ(auline_start(line, hear, this), 0);
    ASSERT_TRUE(eventually([&] { return calls > 0; }));
  }
  void TearDown() override {
    auline_destroy(line);
    LineOnServer::TearDown();
  }

  static void hear(void *self, const au_channel_pair *, std::int32_t, float rate) {
    auto &test = *static_cast<LineOnSource *>(self);
    test.rate = rate;
    ++test.calls;
  }

  auline *line = nullptr;
  std::atomic<int> calls = 0;
  std::atomic<float> rate = 0;
};

TEST_F(LineOnSource, HearsOfAnotherRateOfTheGraph) {
  EXPECT_EQ(rate, 48000.0f);
  // A graph that runs takes no notice of a new rate now and then.
  for (int i = 0; i < 20 && rate != 44100.0f; ++i) {
    server->set("force-rate", i % 2 ? 0 : 44100);
    for (int wait = 0; wait < 100 && rate != 44100.0f; ++wait) usleep(10000);
  }
  EXPECT_EQ(rate, 44100.0f);
}

TEST_F(LineOnSource, OfASourceThatGoesHearsNoMoreAndCanBeStopped) {
  const platform::ObjectId source = system->device("line");
  server->remove("line");
  ASSERT_TRUE(eventually([&] { return system->rate(source) == 0.0; }));
  const int before = calls;
  usleep(50000);
  EXPECT_EQ(calls, before);
  EXPECT_EQ(auline_is_active(line), 1);
  auline_stop(line);
  EXPECT_EQ(auline_start(line, hear, this), AUDEVICE_BAD_OBJECT);
}

// The line's own pass, on the sound system's thread.
TEST_F(LineOnSource, IsFitForTheRealTimeThread) {
  struct Guarded {
    static platform::DeviceStatus run(platform::ObjectId, const platform::TimeStamp *,
                                      const platform::BufferList *input, const platform::TimeStamp *,
                                      platform::BufferList *, const platform::TimeStamp *, void *self) {
      auto &guarded = *static_cast<Guarded *>(self);
      const RealtimeGuard guard;
      guarded.line->line_io_proc(input);
      ++guarded.passes;
      return 0;
    }
    auline *line;
    std::atomic<int> passes = 0;
  } guarded{line};
  Proc proc(devices(), system->device("line"), Guarded::run, &guarded);
  ASSERT_EQ(proc.start(), 0);
  EXPECT_TRUE(eventually([&] { return guarded.passes >= 50; }));
}

}  // namespace
}  // namespace auspool::testing
