// MP3 files as a whole.
#include "recorder/recorder_mp3.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <filesystem>

#include "base/four_cc.h"
#include "recorder/bare_recorder.h"
#include "recorder/mp3_settings.h"
#include "support/mp3_file.h"
#include "support/other_programs.h"
#include "support/tag_file.h"
#include "support/watch.h"

using namespace auspool;
using namespace auspool::testing;

namespace {

constexpr std::uint32_t kConstant = 0, kAverage = 1, kVariable = 2;

AuRecOptionsMP3 mp3_options(std::uint32_t bitrate_mode, std::uint32_t bitrate, float file_rate = 0) {
  AuRecOptionsMP3 options = RecorderMP3::DefaultOptions();
  options.bitrate_mode = bitrate_mode;
  options.bitrate = bitrate;
  options.sample_rate = file_rate;
  return options;
}

// How much of `decoded`'s left channel, from `delay` on, is the source: the ratio of its power to that of the
// difference, in dB.
double fidelity(const Samples &source, const std::vector<std::int16_t> &decoded, std::size_t delay) {
  double signal = 0, difference = 0;
  for (std::size_t i = 0; i < source.size() && 2 * (i + delay) < decoded.size(); ++i) {
    const double wanted = static_cast<double>(source[i]), found = decoded[2 * (i + delay)] / 32768.0;
    signal += wanted * wanted;
    difference += (wanted - found) * (wanted - found);
  }
  return 10 * std::log10(signal / difference);
}

constexpr std::size_t kDelay = 576 + 529;  // of LAME's transform and of the decoder's

class RecordedMp3 : public ::testing::Test {
protected:
  void SetUp() override {
    if (!RecorderMP3::is_available()) GTEST_SKIP() << "this build has no LAME";
  }

  // Records the samples into the host's next file.
  static void record(Host &host, const AuRecOptionsMP3 &options, const Samples &left, const Samples &right,
                     float rate = 44100.0f) {
    aurec_set_mp3_options(host, options);
    ASSERT_EQ(host.start(rate), 0);
    host.feed(left, right, rate);
    aurec_stop(host);
  }

  static Mp3File recorded(const AuRecOptionsMP3 &options, const Samples &left, const Samples &right,
                          float rate = 44100.0f) {
    Host host(AuRecOutputTypeMP3);
    record(host, options, left, right, rate);
    EXPECT_EQ(host.finished().size(), 1u);
    EXPECT_EQ(host.errors().size(), 0u);
    return mp3_file(read_file(host.path_of(1)));
  }

  // Starts with `call` failing on the worker, and expects that error and no file.
  static void expect_failure(const char *call, AuRecErrorCode code, const char *text) {
    std::unique_ptr<CallFailer> failer;
    Host host(AuRecOutputTypeMP3);
    host.on_call = [&](const Call &at) {
      if (at.name == "state" && !failer) failer = std::make_unique<CallFailer>(call, 1);
    };
    expect_no_recording(host, 44100.0f, code, text);
    host.on_call = nullptr;
    ASSERT_EQ(host.start(), 0) << "the next start works";
  }

  static void expect_no_recording(Host &host, float rate, AuRecErrorCode code, const char *text) {
    ASSERT_EQ(aurec_start(host, rate), 0);
    host.wait_until([&] { return !host.errors().empty(); }, "the error");
    EXPECT_EQ(aurec_is_active(host), 0);
    ASSERT_EQ(host.errors().size(), 1u);
    EXPECT_EQ(host.errors()[0].code, code);
    EXPECT_EQ(host.errors()[0].text, text);
    EXPECT_EQ(host.count("path"), 0u);
    aurec_stop(host);
  }

  const Samples tone = sine(44100, 44100, 1000), other_tone = sine(44100, 44100, 700);
};

TEST_F(RecordedMp3, DescribesItself) {
  Host host;
  struct Delete {
    void operator()(Recorder *recorder) const { recorder->SafeDelete(); }
  };
  const std::unique_ptr<Recorder, Delete> recorder(
      new RecorderMP3(host.rec(), &host.rec()->ext_vars, RecorderMP3::DefaultOptions()));
  EXPECT_EQ(recorder->type(), 1);
  EXPECT_EQ(recorder->os_type(), four_cc("Mp3 "));
  EXPECT_EQ(recorder->creator(), four_cc("tnch"));
  EXPECT_EQ(recorder->stack_size(), 1048576u);
  EXPECT_EQ(aurec_can_output_type(AuRecOutputTypeMP3), 1);
}

TEST_F(RecordedMp3, SoundsAsTheSource) {
  NEED_PROGRAM("mpg123");
  Host host(AuRecOutputTypeMP3);
  record(host, mp3_options(kConstant, 320), tone, other_tone);
  EXPECT_GT(fidelity(tone, decoded_by_mpg123(host.path_of(1)), kDelay), 40);
}

TEST_F(RecordedMp3, SoundsTheSameToAnotherDecoder) {
  NEED_PROGRAM("mpg123");
  NEED_PROGRAM("ffmpeg");
  for (const std::uint32_t mode : {kConstant, kAverage, kVariable}) {
    Host host(AuRecOutputTypeMP3);
    record(host, mp3_options(mode, 192), tone, other_tone);
    const auto one = decoded_by_mpg123(host.path_of(1)), other = decoded_by_ffmpeg(host.path_of(1));
    ASSERT_EQ(one.size(), other.size()) << mode;
    for (std::size_t i = 0; i < one.size(); ++i) ASSERT_NEAR(one[i], other[i], 2) << i;
  }
}

TEST_F(RecordedMp3, OfConstantBitrateWithoutTagsBeginsWithAudio) {
  const Mp3File file = recorded(mp3_options(kConstant, 128), tone, tone);
  EXPECT_EQ(file.tag_bytes, 0u);
  EXPECT_EQ(file.vbr_header, "");
  EXPECT_TRUE(file.whole);
  for (const Mp3Frame &frame : file.frames) EXPECT_EQ(frame.bitrate, 128);
}

TEST_F(RecordedMp3, OfAnotherBitrateHasAHeaderBehindTheTagThatCountsItsFrames) {
  for (const std::uint32_t mode : {kAverage, kVariable}) {
    const Mp3File file = recorded(mp3_options(mode, 128), noise(50000, 1), noise(50000, 2));
    EXPECT_GT(file.tag_bytes, 10u);
    EXPECT_TRUE(file.vbr_header.starts_with("Xing"));
    EXPECT_EQ(file.frames_in_header(), file.frames.size());
    EXPECT_TRUE(file.whole);
  }
}

TEST_F(RecordedMp3, OfVariableBitrateIsFilteredByTheTable) {
  EXPECT_EQ(recorded(mp3_options(kVariable, 128), tone, tone).low_pass(), 16000);
  AuRecOptionsMP3 narrow = mp3_options(kVariable, 32);
  narrow.vbr_quality = 0;
  EXPECT_EQ(recorded(narrow, tone, tone).low_pass(), 9800) << "9750 Hz, which the header has in steps of 100";
}

TEST_F(RecordedMp3, HoldsVariableBitratesBelowTheHighest) {
  const Mp3File file = recorded(mp3_options(kVariable, 96), noise(88200, 1), noise(88200, 2));
  for (const Mp3Frame &frame : file.frames) EXPECT_LE(frame.bitrate, 96);
}

TEST_F(RecordedMp3, IsOfTheChosenChannels) {
  const auto mode = [&](std::uint32_t channel_mode) {
    AuRecOptionsMP3 options = RecorderMP3::DefaultOptions();
    options.channel_mode = channel_mode;
    return recorded(options, tone, other_tone).frames.at(5).channel_mode;
  };
  EXPECT_EQ(mode(0), 1);
  EXPECT_EQ(mode(1), 3);
  EXPECT_EQ(mode(2), 0);
  EXPECT_EQ(mode(9), 1);
}

// The encoder's rate is not that of the input, by which times and limits count.
TEST_F(RecordedMp3, CountsTimeAtTheInputsRateWhateverTheFiles) {
  Host host(AuRecOutputTypeMP3);
  aurec_set_mp3_options(host, mp3_options(kConstant, 64, 22050));
  aurec_set_limit(host, 60, 1);
  ASSERT_EQ(host.start(48000), 0);
  const Samples silence(48000);
  for (int second = 0; second < 90; ++second) host.feed(silence, silence, 48000, 4800);
  host.wait_until_ring_is_empty();
  host.wait_until([&] { return aurec_total_time(host) >= 90.0; }, "the worker");
  EXPECT_DOUBLE_EQ(aurec_total_time(host), 90.0);
  EXPECT_EQ(host.count("start"), 2u);
  aurec_stop(host);
  const Mp3File first = mp3_file(read_file(host.path_of(1)));
  EXPECT_EQ(first.frames.at(0).rate, 22050);
  const double seconds = static_cast<double>(first.frames.size()) * 576 / 22050;
  EXPECT_NEAR(seconds, 60, 0.1);
}

TEST_F(RecordedMp3, ConvertsARateThatMp3DoesNotHave) {
  EXPECT_EQ(recorded(mp3_options(kConstant, 128), Samples(96000), Samples(96000), 96000).frames.at(0).rate, 48000);
  EXPECT_EQ(recorded(mp3_options(kConstant, 128, 44100), Samples(48000), Samples(48000), 48000).frames.at(0).rate,
            44100);
}

// What LAME holds back at a cut opens the next file.
TEST_F(RecordedMp3, JoinsToTheStreamOfOneLongFile) {
  NEED_PROGRAM("mpg123");
  const Samples left = sweep(5 * 44100, 44100, 100, 5000), right = sweep(5 * 44100, 44100, 5000, 100);
  for (const std::uint32_t mode : {kConstant, kAverage, kVariable}) {
    SCOPED_TRACE(mode);
    const AuRecOptionsMP3 options = mp3_options(mode, 256);
    Host whole(AuRecOutputTypeMP3), parts(AuRecOutputTypeMP3);
    record(whole, options, left, right);
    aurec_set_mp3_options(parts, options);
    ASSERT_EQ(parts.start(), 0);
    for (std::size_t at = 0; at < left.size(); at += 44100) {
      if (at > 0) split(parts);
      const auto from = static_cast<std::ptrdiff_t>(at);
      parts.feed({left.begin() + from, left.begin() + from + 44100},
                 {right.begin() + from, right.begin() + from + 44100});
    }
    aurec_stop(parts);
    ASSERT_EQ(parts.finished().size(), 5u);

    std::string joined;
    for (const std::string &path : parts.finished()) {
      const std::string bytes = read_file(path);
      const Mp3File part = mp3_file(bytes);
      EXPECT_TRUE(part.whole);
      EXPECT_EQ(part.vbr_header.empty(), mode == kConstant);
      EXPECT_EQ(part.frames_in_header(), mode == kConstant ? 0 : part.frames.size());
      joined += bytes.substr(part.frames.at(0).at);
    }
    const std::string one = read_file(whole.path_of(1));
    const Mp3File long_file = mp3_file(one), joined_file = mp3_file(joined);
    EXPECT_TRUE(joined_file.whole);
    EXPECT_EQ(joined_file.frames.size(), long_file.frames.size());

    const TempDir dir;
    write_file(dir.file("joined.mp3"), joined);
    write_file(dir.file("one.mp3"), one.substr(long_file.frames.at(0).at));
    const auto a = decoded_by_mpg123(dir.file("joined.mp3")), b = decoded_by_mpg123(dir.file("one.mp3"));
    ASSERT_EQ(a.size(), b.size());
    EXPECT_GT(fidelity(left, a, kDelay), 30);
    EXPECT_GT(fidelity(left, b, kDelay), 30);
    double worst = 0;
    for (std::size_t i = 0; i < a.size(); ++i) worst = std::max(worst, std::abs(a[i] - b[i]) / 32768.0);
    EXPECT_LT(worst, 0.03) << "no click at a cut";
  }
}

TEST_F(RecordedMp3, CarriesTheTagsOfItsHost) {
  NEED_MUTAGEN();
  const Samples audio = noise(20000, 1);
  Host host(AuRecOutputTypeMP3);
  host.on_path = [](char *, void *&, void *, audict **tags) {
    *tags = audict_create();
    audict_set_string(*tags, "Title", "Night Train");
  };
  record(host, RecorderMP3::DefaultOptions(), audio, audio);
  const Mp3File file = mp3_file(read_file(host.path_of(1)));
  EXPECT_GT(file.tag_bytes, 10u);
  EXPECT_TRUE(file.whole);
  EXPECT_EQ(python("import sys, mutagen.id3\nprint(mutagen.id3.ID3(sys.argv[1])['TIT2'], end='')", host.path_of(1)),
            "Night Train");
}

// The facts go into a copy: the host's dictionary stays as it is.
TEST_F(RecordedMp3, NotesPodcastsAndSettingsInItsTags) {
  const Samples audio = noise(20000, 1);
  const Ref dictionary(audict_create());
  audict_set_string(dictionary.get(), "Title", "Night Train");
  audict_set_string(dictionary.get(), "EncoderSettings", "mine");
  for (const std::uint32_t mode : {kConstant, kAverage, kVariable}) {
    for (const std::uint32_t podcast : {0u, 1u}) {
      for (const bool tagged : {false, true}) {
        AuRecOptionsMP3 options = mp3_options(mode, 160);
        options.podcast = podcast;
        Host host(AuRecOutputTypeMP3);
        host.on_path = [&](char *, void *&, void *, audict **tags) {
          if (tagged) *tags = audict_retain(dictionary.get());
        };
        record(host, options, audio, audio);
        const Ref read(autag2_read(host.path_of(1).c_str(), nullptr, nullptr));
        const auto text = [&](const char *key) {
          const char *value = audict_get_string(read.get(), key);
          return std::string(value != nullptr ? value : "none");
        };
        EXPECT_EQ(text("Title"), tagged ? "Night Train" : "none");
        EXPECT_EQ(text("EncoderSettings"), mode != kConstant ? mp3_settings_text(options, 44100).data()
                                           : tagged          ? "mine"
                                                             : "none");
        EXPECT_EQ(audict_get(read.get(), "ID3Podcast") != nullptr, podcast != 0);
        EXPECT_EQ(mp3_file(read_file(host.path_of(1))).tag_bytes != 0, tagged || podcast || mode != kConstant);
      }
    }
  }
  EXPECT_EQ(audict_count(dictionary.get()), 2u);
}

// Memory that runs out for the tag costs the tag alone.
TEST_F(RecordedMp3, IsCompleteWithoutATagThatFoundNoMemory) {
  const Samples audio = noise(20000, 1);
  for (int nth = 1; nth <= 10; ++nth) {
    std::unique_ptr<AllocationFailer> failer;
    Host host(AuRecOutputTypeMP3);
    host.on_call = [&](const Call &call) {
      if (call.name == "start") failer = std::make_unique<AllocationFailer>(nth);
    };
    record(host, mp3_options(kVariable, 128), audio, audio);
    const Mp3File file = mp3_file(read_file(host.path_of(1)));
    EXPECT_TRUE(file.whole);
    EXPECT_LE(file.tag_bytes, 10u) << nth << ": none, or one with nothing in it";
    EXPECT_EQ(file.frames_in_header(), file.frames.size());
  }
}

TEST_F(RecordedMp3, WritesAudioOverATagThatIsCutShort) {
  std::unique_ptr<CallFailer> failer;
  const Samples audio = noise(20000, 1);
  Host host(AuRecOutputTypeMP3);
  host.on_call = [&](const Call &call) {
    if (call.name == "start") failer = std::make_unique<CallFailer>("fwrite", 1, ENOSPC);
  };
  AuRecOptionsMP3 options = RecorderMP3::DefaultOptions();
  options.podcast = 1;
  record(host, options, audio, audio);
  const Mp3File file = mp3_file(read_file(host.path_of(1)));
  EXPECT_EQ(file.tag_bytes, 0u);
  EXPECT_TRUE(file.whole);
  EXPECT_EQ(host.errors().size(), 0u);
}

TEST_F(RecordedMp3, CountsTheFramesOfABlockThatIsNotEncodedOrNotWritten) {
  for (const char *call : {"lame_encode_buffer", "fwrite"}) {
    std::unique_ptr<CallFailer> failer;
    Host host(AuRecOutputTypeMP3);
    host.on_call = [&](const Call &at) {
      if (at.name == "start") failer = std::make_unique<CallFailer>(call, 3, ENOSPC);
    };
    ASSERT_EQ(host.start(), 0);
    const Samples audio = noise(10 * 1152, 1);
    {
      const RingHeld held(host);
      EXPECT_EQ(host.record(audio, audio), 0);
    }
    host.wait_until([&] { return aurec_total_time(host) >= 10 * 1152 / 44100.0; }, "all frames");
    aurec_stop(host);
    EXPECT_EQ(host.errors().size(), 0u);
    EXPECT_EQ(host.count("done"), 1u);
    const auto bytes = std::filesystem::file_size(host.path_of(1));
    EXPECT_LT(bytes, 11u * 418) << call;
    EXPECT_GT(bytes, 8u * 418) << call;
  }
}

TEST_F(RecordedMp3, NeedsARateFrom8000On) {
  Host host(AuRecOutputTypeMP3);
  expect_no_recording(host, 7999.9f, AuRecErrorMP3Rate, "input sample rate is too low");
  EXPECT_GT(recorded(RecorderMP3::DefaultOptions(), noise(8000, 1), noise(8000, 2), 8000).frames.size(), 10u);
}

TEST_F(RecordedMp3, NeedsMemoryForItsBuffer) {
  expect_failure("operator new", AuRecErrorMP3Memory, "failed to malloc() lame big buf");
}

TEST_F(RecordedMp3, NeedsAnEncoder) {
  expect_failure("lame_init", AuRecErrorMP3Init, "lame_init() failed");
}

TEST_F(RecordedMp3, NeedsSettingsThatTheEncoderTakes) {
  expect_failure("lame_init_params", AuRecErrorMP3Params, "lame_init_params() failed");
  Host host(AuRecOutputTypeMP3);
  aurec_set_mp3_options(host, mp3_options(kConstant, 128, 12345));
  expect_no_recording(host, 44100, AuRecErrorMP3Params, "lame_init_params() failed");
}

TEST_F(RecordedMp3, AnEmptyFileIsDeletedAndItsIndexComesAgain) {
  Host host(AuRecOutputTypeMP3);
  aurec_set_mp3_options(host, mp3_options(kVariable, 128));
  ASSERT_EQ(host.start(), 0);
  split(host);
  host.feed(tone, tone);
  aurec_stop(host);
  ASSERT_EQ(host.errors().size(), 1u);
  EXPECT_EQ(host.errors()[0].code, AuRecErrorNoAudio);
  EXPECT_EQ(host.errors()[0].text, "empty file, deleted");
  EXPECT_FALSE(std::filesystem::exists(host.path_of(1)));
  EXPECT_EQ(host.finished(), std::vector<std::string>{host.path_of(2)});
  for (const Call &call : host.calls()) EXPECT_EQ(call.index, 0) << call.name;
}

TEST_F(RecordedMp3, ARefusedPathEndsTheRecordingWithTheFilesBeforeItWhole) {
  Host host(AuRecOutputTypeMP3);
  std::atomic<int> asked = 0;
  host.on_path = [&asked](char *, void *&token, void *, audict **) {
    if (++asked > 1) token = nullptr;
  };
  ASSERT_EQ(host.start(), 0);
  host.feed(tone, tone);
  host.wait_until_ring_is_empty();
  aurec_make_new_file(host);
  wake_worker(host);
  host.wait_until([&] { return !aurec_is_recording(host); }, "the end");
  aurec_stop(host);
  EXPECT_EQ(host.errors().size(), 0u);
  ASSERT_EQ(host.finished().size(), 1u);
  EXPECT_TRUE(mp3_file(read_file(host.path_of(1))).whole);
}

TEST_F(RecordedMp3, TakesWhatIsNoSample) {
  NEED_PROGRAM("mpg123");
  Samples left = tone;
  left[20000] = std::nanf("");
  left[30000] = std::numeric_limits<float>::infinity();
  Host host(AuRecOutputTypeMP3);
  record(host, mp3_options(kConstant, 320), left, tone);
  left[20000] = 0;
  left[30000] = 1;
  EXPECT_GT(fidelity(left, decoded_by_mpg123(host.path_of(1)), kDelay), 30);
}

TEST_F(RecordedMp3, PrintsNothing) {
  ::testing::internal::CaptureStderr();
  ::testing::internal::CaptureStdout();
  recorded(mp3_options(kVariable, 128), tone, tone);
  EXPECT_EQ(::testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
}

TEST_F(RecordedMp3, SatisfiesTheCheckersInEveryMode) {
  NEED_PROGRAM("mp3val");
  NEED_PROGRAM("mediainfo");
  Host host(AuRecOutputTypeMP3);
  const Samples audio = noise(30000, 1);
  for (const std::uint32_t mode : {kConstant, kAverage, kVariable}) {
    for (const std::uint32_t *bitrate = mp3_bitrate_table_legacy; *bitrate != 0; ++bitrate) {
      record(host, mp3_options(mode, *bitrate), audio, audio, *bitrate < 64 ? 22050.0f : 44100.0f);
    }
  }
  ASSERT_EQ(host.finished().size(), 3u * 17);
  EXPECT_EQ(complaints_about_mp3(host.finished()), "");
  for (const std::string &path : host.finished()) EXPECT_TRUE(mp3_file(read_file(path)).whole) << path;
}

}  // namespace
