// The three silence modes.
#include "recorder/bare_recorder.h"
#include "support/pcm_file.h"

using namespace auspool;
using namespace auspool::testing;

namespace {

constexpr float kRate = 1000.0f;
constexpr std::size_t kBlock = 100;  // a tenth of a second
constexpr float kLimit = 0.3f;       // seconds: the third silent block reaches it

struct Silence : ::testing::Test {
  // Starts a recorder whose worker only accepts audio.
  void begin(std::int32_t mode, float seconds = kLimit) {
    aurec_set_silence_killer(host, mode, -60.0f, seconds);
    recorder = &BareRecorder::on(host, kRate);
    ASSERT_EQ(recorder->start(kRate), 0);
    host.wait_until_recording();
  }

  // How many frames one more block adds to the ring.
  std::int32_t sound() { return add(noise(kBlock, ++seed)); }
  std::int32_t quiet() { return add(Samples(kBlock)); }

  std::int32_t add(const Samples &samples) {
    const std::int32_t before = frames_in_ring(host);
    EXPECT_EQ(host.record(samples, samples, kRate), 0);
    return frames_in_ring(host) - before;
  }

  // Frames that core_loop gives to a file before the split, in blocks of `block`; -1 without a split.
  std::int64_t frames_until_split(std::int32_t block) {
    recorder->file_frames = 0;
    Samples audio(2 * static_cast<std::size_t>(block));
    recorder->flush = [&](bool) {
      const std::int32_t got = recorder->get_audio(audio.data(), block, false, false);
      if (got == 0) recorder->request_stop();
      return got;
    };
    return recorder->core_loop(nullptr) ? std::int64_t{recorder->file_frames} : -1;
  }

  Host host;
  BareRecorder *recorder = nullptr;
  std::uint32_t seed = 0;
};

TEST_F(Silence, OffKeepsEverything) {
  begin(0);
  for (int i = 0; i < 10; ++i) EXPECT_EQ(quiet(), 100);
}

TEST_F(Silence, SkippingKeepsTheBeginningOfASilenceAndResumesWithTheFirstSound) {
  begin(1);
  EXPECT_EQ(sound(), 100);
  EXPECT_EQ(quiet(), 100);
  EXPECT_EQ(quiet(), 100);
  EXPECT_EQ(quiet(), 0) << "the block that reaches the limit is itself left out";
  EXPECT_EQ(quiet(), 0);
  EXPECT_EQ(sound(), 100);
  EXPECT_EQ(quiet(), 100);
}

TEST_F(Silence, SkippingWithNoSecondsLeavesOutSoundToo) {
  begin(1, 0.0f);
  EXPECT_EQ(sound(), 0);
  EXPECT_EQ(quiet(), 0);
}

TEST_F(Silence, SplittingWaitsForTheFirstSound) {
  begin(2);
  for (int i = 0; i < 5; ++i) EXPECT_EQ(quiet(), 0);
  EXPECT_EQ(sound(), 100);
}

TEST_F(Silence, SplittingKeepsTheBlockThatReachesTheLimitAndNoneAfterIt) {
  begin(2);
  EXPECT_EQ(sound(), 100);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(quiet(), 100);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(quiet(), 0);
  EXPECT_EQ(sound(), 100);
  EXPECT_EQ(quiet(), 100) << "a short silence does not end the sound";
  EXPECT_EQ(sound(), 100);
}

TEST_F(Silence, WhileWaitingForSoundAQuietBlockBelowTheLimitIsLeftOut) {
  begin(2);
  EXPECT_EQ(quiet(), 0) << "one block is no silence yet, but there was no sound either";
}

// The worker has not taken anything: the cut lies half a silence before the end.
TEST_F(Silence, TheCutLiesInTheMiddleOfTheSilenceWhenTheWorkerLags) {
  begin(2);
  for (int i = 0; i < 4; ++i) EXPECT_EQ(sound(), 100);
  for (int i = 0; i < 4; ++i) quiet();
  EXPECT_EQ(frames_in_ring(host), 700);
  EXPECT_EQ(frames_until_split(50), 550) << "half of 0.3 s is 150 frames";
  EXPECT_EQ(frames_in_ring(host), 150) << "what is left goes to the next file";
}

TEST_F(Silence, TheCutFallsOnTheEndOfABlock) {
  begin(2);
  for (int i = 0; i < 4; ++i) EXPECT_EQ(sound(), 100);
  for (int i = 0; i < 3; ++i) quiet();
  EXPECT_EQ(frames_until_split(64), 576) << "the first multiple of 64 from 550 on";
}

TEST_F(Silence, AWorkerThatKeepsUpCutsAtOnce) {
  begin(2);
  EXPECT_EQ(sound(), 100);
  quiet();
  quiet();
  take_from_ring(host);
  quiet();
  EXPECT_EQ(frames_until_split(64), 0);
  EXPECT_EQ(frames_in_ring(host), 100);
}

TEST_F(Silence, StoppingEndsTheRecordingAndKeepsWhatCameBefore) {
  begin(3);
  EXPECT_EQ(sound(), 100);
  EXPECT_EQ(quiet(), 100);
  EXPECT_EQ(quiet(), 100);
  EXPECT_EQ(aurec_is_recording(host), 1);
  EXPECT_EQ(quiet(), 0);
  EXPECT_EQ(aurec_is_recording(host), 0);
  host.wait_until([&] { return !aurec_is_active(host); }, "the end");
  EXPECT_EQ(sound(), 0);
}

TEST_F(Silence, OneLoudChannelIsSound) {
  begin(1);
  for (int i = 0; i < 10; ++i) {
    const std::int32_t before = frames_in_ring(host);
    host.record(Samples(kBlock), noise(kBlock, 5), kRate);
    EXPECT_EQ(frames_in_ring(host) - before, 100);
  }
}

TEST_F(Silence, ANewModeStartsTheSilenceAnew) {
  begin(1);
  quiet();
  quiet();
  aurec_set_silence_killer(host, 3, -60.0f, kLimit);
  EXPECT_EQ(quiet(), 100);
  EXPECT_EQ(quiet(), 100);
  EXPECT_EQ(quiet(), 0);
  EXPECT_EQ(aurec_is_recording(host), 0);
}

TEST_F(Silence, SettingTheSameModeAgainKeepsTheSilence) {
  begin(1);
  quiet();
  quiet();
  aurec_set_silence_killer(host, 1, -60.0f, kLimit);
  EXPECT_EQ(quiet(), 0);
}

TEST_F(Silence, ALowerThresholdStartsTheSilenceAnewAndAHigherOneKeepsIt) {
  begin(1);
  quiet();
  quiet();
  aurec_set_silence_killer(host, 1, -70.0f, kLimit);
  EXPECT_EQ(quiet(), 100);
  EXPECT_EQ(quiet(), 100);
  aurec_set_silence_killer(host, 1, -50.0f, kLimit);
  EXPECT_EQ(quiet(), 0);
}

TEST_F(Silence, AStartForgetsTheSilenceOfTheRecordingBefore) {
  begin(1);
  for (int i = 0; i < 5; ++i) quiet();
  begin(1);
  EXPECT_EQ(quiet(), 100);
}

TEST_F(Silence, ABlockOfNaNsIsSound) {
  begin(1);
  for (int i = 0; i < 5; ++i) EXPECT_EQ(add(Samples(kBlock, std::nanf(""))), 100);
}

TEST_F(Silence, AbsurdSecondsAreSurvived) {
  for (const float seconds : {-5.0f, 1e30f, std::nanf("")}) {
    begin(2, seconds);
    sound();
    for (int i = 0; i < 4; ++i) quiet();
    sound();
  }
}

// The whole road, with files. Whatever the worker does, the parts are the sound with at most the silence around it.
TEST_F(Silence, SplittingMakesAFileForEachSound) {
  Host real(AuRecOutputTypeWAVE);
  aurec_set_silence_killer(real, 2, -60.0f, 0.5f);
  ASSERT_EQ(real.start(8000), 0);
  const Samples pause(16000);
  std::vector<Samples> sounds;
  real.feed(pause, pause, 8000, 160);
  for (std::uint32_t i = 1; i <= 3; ++i) {
    sounds.push_back(noise(4000, i));
    real.feed(sounds.back(), sounds.back(), 8000, 160);
    real.feed(pause, pause, 8000, 160);
    real.wait_until([&] { return real.count("path") == i + 1; }, "the split");
  }
  aurec_stop(real);
  // Where the worker keeps up, the last block of silence makes a fourth file.
  ASSERT_GE(real.finished().size(), 3u);
  ASSERT_LE(real.finished().size(), 4u);
  for (std::size_t i = 0; i < 3; ++i) {
    const std::vector<std::int32_t> left = read_pcm_file(real.finished()[i]).channel(0);
    std::vector<std::int32_t> expected;
    for (const float sample : sounds[i]) expected.push_back(integer_of(sample, 16));
    const auto found = std::search(left.begin(), left.end(), expected.begin(), expected.end());
    ASSERT_NE(found, left.end()) << "sound " << i << " is whole";
    // What the worker had not written when the cut was made leads the next file; a cut falls on the end of a block.
    const std::ptrdiff_t lead = found - left.begin();
    EXPECT_LE(lead, i == 0 ? 0 : 2160);
    EXPECT_LE(static_cast<std::ptrdiff_t>(left.size()) - lead - 4000, 4000 + 160 + 1024) << "at most the silence";
  }
}

}  // namespace
