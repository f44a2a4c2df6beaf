// MPEG-4 files as a whole.
#include "recorder/recorder_m4a.h"

#include <algorithm>
#include <cmath>
#include <filesystem>

#include "base/byte_order.h"
#include "platform/recovery_path.h"
#include "recorder/bare_recorder.h"
#include "recorder/recorder_alac.h"
#include "support/atoms.h"
#include "support/other_programs.h"
#include "support/pcm_file.h"
#include "support/watch.h"

using namespace auspool;
using namespace auspool::testing;

namespace {

constexpr std::size_t kAlacFrames = 4096;
constexpr char kStbl[] = "moov.trak.mdia.minf.stbl";

// The samples of a file as ffmpeg decodes them, interleaved.
std::vector<std::int32_t> decoded(const std::string &path) {
  const std::string bytes = output_of("ffmpeg -v error -i " + quoted(path) + " -f s16le -");
  std::vector<std::int32_t> samples(bytes.size() / 2);
  for (std::size_t i = 0; i < samples.size(); ++i) {
    samples[i] = load_le<std::int16_t>(reinterpret_cast<const std::uint8_t *>(bytes.data()) + 2 * i);
  }
  return samples;
}

std::uint32_t packets_in(const std::string &path) {
  return atom_at(read_file(path), kStbl + std::string(".stsz")).word(16);
}

class RecordedM4a : public ::testing::Test {
protected:
  void SetUp() override {
    if (!RecorderALAC::is_available()) GTEST_SKIP() << "this build has no libavcodec";
    NEED_PROGRAM("ffmpeg");
  }

  void use_alac(std::uint32_t fast_start, std::uint32_t mono = 0) {
    aurec_set_output_type(host, AuRecOutputTypeALAC);
    aurec_set_alac_options(host, {mono, 0, fast_start});
  }
  void use_aac(std::uint32_t fast_start, std::uint32_t profile = 0) {
    aurec_set_output_type(host, AuRecOutputTypeAAC);
    aurec_set_aac_options(host, {0, 128, 0, 5, fast_start, profile});
  }
  void record(const Samples &first, const Samples &second, float rate = 44100.0f) {
    ASSERT_EQ(host.start(rate), 0);
    host.feed(first, second, rate);
    stop();
  }
  // The background jobs end before the files are looked at.
  void stop() {
    aurec_stop(host);
    host.wait_until([&] { return !aurec_has_active_files(host); }, "the background jobs");
  }
  bool recovery_exists(std::size_t file = 1) const {
    return std::filesystem::exists(platform::recovery_path(host.path_of(file)));
  }

  Host host;
  const Samples left = noise(3 * kAlacFrames + 100, 1, 1.2), right = sine(3 * kAlacFrames + 100, 44100, 440);
};

// What a decoder must find: the samples, and silence up to a whole packet.
std::vector<std::int32_t> expected(const Samples &left, const Samples &right) {
  std::vector<std::int32_t> samples = integers_of(left, right, 16);
  const std::size_t packets = (left.size() + kAlacFrames - 1) / kAlacFrames;
  samples.resize(2 * packets * kAlacFrames);
  return samples;
}

TEST_F(RecordedM4a, LosslessAudioComesBackBitForBit) {
  for (const std::uint32_t fast_start : {1u, 0u}) {
    use_alac(fast_start);
    record(left, right);
    EXPECT_EQ(decoded(host.finished().back()), expected(left, right)) << fast_start;
    EXPECT_EQ(host.errors().size(), 0u);
  }
}

TEST_F(RecordedM4a, MonoIsTheMeanOfBoth) {
  use_alac(1, 1);
  record(left, right);
  std::vector<std::int32_t> mean(4 * kAlacFrames);
  for (std::size_t i = 0; i < left.size(); ++i) mean[i] = integer_of((left[i] + right[i]) * 0.5f, 16);
  EXPECT_EQ(decoded(host.finished().back()), mean);
}

TEST_F(RecordedM4a, PlainFileHasItsIndexInFront) {
  use_alac(1);
  record(left, right);
  EXPECT_EQ(types_in(read_file(host.finished().back())), "ftyp moov mdat");
}

TEST_F(RecordedM4a, FragmentedFileHasAnIndexAFragment) {
  use_alac(0);
  record(noise(12 * 44100, 1), noise(12 * 44100, 2));
  EXPECT_EQ(types_in(read_file(host.finished().back())), "ftyp moov moof mdat moof mdat moof mdat");
}

TEST_F(RecordedM4a, AacFilesPlayWhole) {
  for (const std::uint32_t fast_start : {1u, 0u}) {
    use_aac(fast_start);
    const std::size_t frames = 3 * 44100;
    record(sine(frames, 44100, 440), sine(frames, 44100, 660));
    const std::vector<std::int32_t> samples = decoded(host.finished().back());
    const std::size_t packets = (frames + 1023) / 1024 + 1;  // the last is the encoder's delay
    EXPECT_EQ(samples.size(), 2 * 1024 * packets) << fast_start;
    double level = 0;
    for (std::size_t i = 20000; i < 220000; i += 2) level = std::max(level, std::fabs(samples[i] / 32768.0));
    EXPECT_NEAR(level, 0.5, 0.03);
  }
}

TEST_F(RecordedM4a, LastPacketIsFilledWithSilence) {
  use_alac(1);
  const std::size_t frames = kAlacFrames * 3 / 2;
  record(noise(frames, 1), noise(frames, 2));
  EXPECT_EQ(packets_in(host.finished().back()), 2u);
}

// What makes no whole packet waits in the ring, and goes to the next file.
TEST_F(RecordedM4a, OneBadSampleCostsNoOthers) {
  for (const auto &[bad, mono] : {std::pair(NAN, 0u), {INFINITY, 1u}, {1e20f, 0u}}) {
    aurec_set_output_type(host, AuRecOutputTypeAAC);
    aurec_set_aac_options(host, {mono, 128, 0, 5, 1, 0});
    Samples tone = sine(44100, 44100, 440);
    tone[10000] = bad;
    record(tone, tone);
    const std::vector<std::int32_t> samples = decoded(host.finished().back());
    const std::size_t channels = mono ? 1 : 2, packets = (tone.size() + 1023) / 1024 + 1;
    EXPECT_EQ(samples.size(), channels * 1024 * packets) << bad;
    double level = 0;
    for (std::size_t i = channels * 25000; i < channels * 40000; ++i) {
      level = std::max(level, std::fabs(samples[i] / 32768.0));
    }
    EXPECT_NEAR(level, 0.5, 0.03) << bad;
  }
}

// What the encoder refuses is missing; what comes after it is not.
TEST_F(RecordedM4a, GoesOnBehindAPacketThatTheEncoderRefuses) {
  for (const bool lossless : {true, false}) {
    lossless ? use_alac(1) : use_aac(1);
    std::unique_ptr<CallFailer> failer;
    host.on_call = [&](const Call &call) {
      if (call.name == "start") failer = std::make_unique<CallFailer>("avcodec_send_frame", 2);
      if (call.name == "finalize") failer.reset();
    };
    const std::size_t errors = host.errors().size();
    record(left, right);
    host.on_call = nullptr;
    const std::size_t all = lossless ? 4 : (left.size() + 1023) / 1024 + 1;
    EXPECT_EQ(packets_in(host.finished().back()), all - 1);
    EXPECT_EQ(host.errors().size(), errors);
  }
}

TEST_F(RecordedM4a, EncoderThatCannotBeMadeAnewEndsTheRecordingWithError10) {
  for (const std::uint32_t fast_start : {1u, 0u}) {
    use_alac(fast_start);
    std::unique_ptr<CallFailer> failer;
    host.on_call = [&](const Call &call) {
      if (call.name == "start") failer = std::make_unique<CallFailer>("avcodec_open2", 1);
      if (call.name == "error") failer.reset();
    };
    const std::size_t errors = host.errors().size(), starts = host.count("start"), done = host.count("done");
    ASSERT_EQ(host.start(), 0);
    const Samples packets(3 * kAlacFrames, 0.5f);
    host.feed(packets, packets);
    host.wait_until_ring_is_empty();
    aurec_make_new_file(host);
    host.wait_until(
        [&] {
          wake_worker(host);
          return host.errors().size() > errors;
        },
        "the error");
    host.wait_until([&] { return !aurec_is_active(host) && !aurec_has_active_files(host); }, "the end");
    host.on_call = nullptr;
    EXPECT_EQ(host.errors().back().code, AuRecErrorCodecInit);
    EXPECT_EQ(host.errors().back().text, "AudioCodecInitialize error: -1");
    EXPECT_EQ(host.errors().back().file, 0u);
    EXPECT_EQ(host.count("start"), starts + 1) << "no file without an encoder";
    EXPECT_EQ(host.count("done"), done + 1);
    EXPECT_FALSE(decoded(host.path_of(starts + 1)).empty()) << "what was encoded is kept";
    record(left, right);
    EXPECT_EQ(decoded(host.finished().back()), expected(left, right)) << "the next recording works";
  }
}

TEST_F(RecordedM4a, EncoderThatCannotBeSetUpIsError10) {
  use_alac(1);
  std::unique_ptr<CallFailer> failer;
  host.on_call = [&](const Call &call) {
    if (call.name == "state" && !failer) failer = std::make_unique<CallFailer>("avcodec_open2", 1);
    if (call.name == "error") failer.reset();
  };
  EXPECT_EQ(aurec_start(host, 44100), 0);
  host.wait_until([&] { return !host.errors().empty() && !aurec_is_active(host); }, "the error and the end");
  aurec_stop(host);
  host.on_call = nullptr;
  ASSERT_EQ(host.errors().size(), 1u);
  EXPECT_EQ(host.errors()[0].code, AuRecErrorCodecInit);
  EXPECT_EQ(host.errors()[0].format, "AudioCodecInitialize error: -1") << "the number is in the format";
  EXPECT_EQ(host.count("path"), 0u);
  record(left, right);
  EXPECT_EQ(decoded(host.finished().back()), expected(left, right)) << "the next recording works";
}

TEST(CodecErrorText, TellsAFormatThatIsNotSupportedFromOtherErrors) {
  EXPECT_STREQ(codec_error_text(platform::AudioCodec::kUnsupportedFormat).data(),
               "Unsupported Recording Format. Error: 560226676");
  EXPECT_STREQ(codec_error_text(-22).data(), "AudioCodecInitialize error: -22");
}

// What the disk did not take is not in the file, and does not count.
TEST_F(RecordedM4a, TimeIsThatOfWhatReachedTheDisk) {
  for (const std::uint32_t fast_start : {1u, 0u}) {
    use_alac(fast_start);
    std::unique_ptr<CallFailer> failer;
    double seconds = 0;
    // Behind start_cb record and file are begun in five pieces, a fragmented file in seven; the second packet fails.
    const int nth = fast_start ? 5 + 2 + 1 : 7 + 1 + 2;
    host.on_call = [&](const Call &call) {
      if (call.name == "start") failer = std::make_unique<CallFailer>("fwrite", nth, 28 /* ENOSPC */);
      if (call.name == "finalize" || call.name == "done") failer.reset();
      if (call.name == "state") seconds = aurec_total_time(host);
    };
    record(left, right);
    host.on_call = nullptr;
    const std::string path = host.path_of(host.count("start"));
    const std::vector<std::int32_t> all = expected(left, right);
    std::vector<std::int32_t> rest(all.begin(), all.begin() + 2 * kAlacFrames);
    rest.insert(rest.end(), all.begin() + 4 * kAlacFrames, all.end());
    EXPECT_EQ(decoded(path), rest) << fast_start;
    EXPECT_NEAR(seconds, 3 * kAlacFrames / 44100.0, 1e-9) << fast_start;
  }
}

// Every allocation of the worker fails in turn: the recording goes on, or ends with a message, and never the process.
TEST_F(RecordedM4a, SurvivesAnyAllocationThatFails) {
  for (const std::uint32_t fast_start : {1u, 0u}) {
    const std::string end = fast_start ? "finalize" : "done";
    long allocations = 1;
    for (long nth = 0; nth <= allocations && !HasFailure(); ++nth) {  // 0: none fails, and they are counted
      Host one;
      std::unique_ptr<AllocationFailer> failer;
      one.on_call = [&](const Call &call) {
        if (call.name == "start" && nth == 0) allocations = -allocation_count();
        if (call.name == "start" && nth > 0) failer = std::make_unique<AllocationFailer>(static_cast<int>(nth));
        if (call.name == end && nth == 0) allocations += allocation_count();
        if (call.name == end) failer.reset();
      };
      aurec_set_output_type(one, AuRecOutputTypeALAC);
      aurec_set_alac_options(one, {0, 0, fast_start});
      ASSERT_EQ(aurec_start(one, 44100), 0);
      one.wait_until([&] { return aurec_is_recording(one) || !one.errors().empty(); }, "the start");
      if (aurec_is_recording(one)) one.feed(left, right);
      aurec_stop(one);
      one.wait_until([&] { return !aurec_has_active_files(one); }, "the background job");
      EXPECT_EQ(one.errors().size() + one.finished().size(), 1u) << fast_start << ' ' << nth;
      one.on_call = nullptr;
    }
    EXPECT_GT(allocations, 2) << fast_start;
  }
}

TEST_F(RecordedM4a, SplitsLoseNoAudio) {
  for (const std::uint32_t fast_start : {1u, 0u}) {
    use_alac(fast_start);
    const std::size_t first = host.count("start") + 1;
    ASSERT_EQ(host.start(), 0);
    Samples all_left, all_right;
    for (std::uint32_t part = 0; part < 4; ++part) {
      if (part > 0) aurec_make_new_file(host);
      const Samples a = noise(9000, 10 + part), b = noise(9000, 20 + part);
      host.feed(a, b);
      all_left.insert(all_left.end(), a.begin(), a.end());
      all_right.insert(all_right.end(), b.begin(), b.end());
      host.wait_until([&] { return host.count("start") == first + part; }, "the next file");
      host.wait_until_recording();
    }
    stop();
    std::vector<std::int32_t> joined;
    for (std::size_t file = first; file <= host.count("start"); ++file) {
      if (!std::filesystem::exists(host.path_of(file))) continue;  // no audio was left for it
      const std::vector<std::int32_t> samples = decoded(host.path_of(file));
      joined.insert(joined.end(), samples.begin(), samples.end());
    }
    EXPECT_EQ(joined, expected(all_left, all_right));
  }
}

TEST_F(RecordedM4a, CallbacksOfAPlainFileComeInTheirOrder) {
  use_alac(1);
  record(left, right);
  std::vector<std::string> names = host.names();
  std::erase(names, "state");
  EXPECT_EQ(names, (std::vector<std::string>{"path", "start", "finalize", "done"}));
  const std::vector<Call> calls = host.calls();
  const auto thread_of = [&](const char *name) {
    return std::find_if(calls.begin(), calls.end(), [&](const Call &call) { return call.name == name; })->thread;
  };
  EXPECT_EQ(thread_of("start"), thread_of("finalize"));
  EXPECT_NE(thread_of("start"), thread_of("done")) << "of the background job";
}

TEST_F(RecordedM4a, CallbacksOfAFragmentedFileComeFromTheWorker) {
  use_alac(0);
  record(left, right);
  std::vector<std::string> names = host.names();
  std::erase(names, "state");
  EXPECT_EQ(names, (std::vector<std::string>{"path", "start", "done"}));
}

TEST_F(RecordedM4a, RecoveryRecordTellsOfEveryPacket) {
  use_alac(1);
  ASSERT_EQ(host.start(), 0);
  host.feed(left, right);
  host.wait_until([&] { return read_file(platform::recovery_path(host.path_of(1))).size() == 52 + 3 * 4; },
                  "3 packets");
  const std::string record = read_file(platform::recovery_path(host.path_of(1)));
  EXPECT_EQ(record.substr(0, 52), std::string("sound siphon bulletproof data v1"
                                              "alac\0\0\0\2\0\0\xAC\x44\0\0\x10\0\0\0\0\0",
                                              52));
  stop();
  const Atom sizes = atom_at(read_file(host.path_of(1)), kStbl + std::string(".stsz"));
  EXPECT_EQ(record.substr(52), sizes.text(20, 12));
  EXPECT_FALSE(recovery_exists());
}

TEST_F(RecordedM4a, RecoveryRecordOfAacHoldsItsBitrate) {
  use_aac(1);
  ASSERT_EQ(host.start(), 0);
  host.feed(left, right);
  host.wait_until([&] { return read_file(platform::recovery_path(host.path_of(1))).size() > 52; }, "a packet");
  EXPECT_EQ(read_file(platform::recovery_path(host.path_of(1))).substr(32, 20),
            std::string("aac \0\0\0\2\0\0\xAC\x44\0\0\4\0\0\1\xF4\0", 20));
  stop();
}

// A name of its own keeps the record within reach: it says that it is none any more. Nor does its end wait for the job.
TEST_F(RecordedM4a, RecoveryRecordDiesBeforeTheJobHasRun) {
  use_alac(1);
  const std::string kept = host.dir.file("kept");
  host.on_call = [&](const Call &call) {
    if (call.name == "finalize") std::filesystem::create_hard_link(platform::recovery_path(host.path_of(1)), kept);
    if (call.name == "done") host.wait_until([&] { return !recovery_exists(); }, "the end of the record");
  };
  record(left, right);
  host.on_call = nullptr;
  const std::string bytes = read_file(kept);
  EXPECT_EQ(bytes.substr(0, 8), std::string("\0ound si", 8));
  EXPECT_EQ(bytes.size(), 52u + 4 * 4);
}

TEST_F(RecordedM4a, EveryFormIsOfTheSameFileType) {
  std::string types;
  for (const auto &[fast_start, audiobook] : {std::pair(1u, 0u), {1u, 1u}, {0u, 1u}}) {
    aurec_set_output_type(host, AuRecOutputTypeALAC);
    aurec_set_alac_options(host, {0, audiobook, fast_start});
    record(left, right);
    types += atom_at(read_file(host.finished().back()), "ftyp").text(8, 4);
  }
  EXPECT_EQ(types, "M4A M4A M4A ");
}

// The float next to the limit is above it.
TEST_F(RecordedM4a, LosslessSamplesAreHeldToTheirRange) {
  use_alac(1);
  const float limit = 0.9999694f, edge = 32767.0f / 32768.0f;
  const Samples samples = {std::nextafter(limit, 0.0f),  limit, edge, 1.0f,      2.0f,    -1.0f,
                           std::nextafter(-1.0f, -2.0f), -2.0f, NAN,  -0.99999f, 0.00003f};
  record(samples, samples);
  std::vector<std::int32_t> stored = decoded(host.finished().back()), firsts;
  for (std::size_t i = 0; i < samples.size(); ++i) firsts.push_back(stored.at(2 * i));
  EXPECT_EQ(firsts,
            (std::vector<std::int32_t>{32766, 32767, 32767, 32767, 32767, -32768, -32768, -32768, 0, -32767, 0}));
}

// An encoder with a memory forgets: each file begins with its delay, and holds the audio that it was given.
TEST_F(RecordedM4a, FilesOfASplitAacRecordingAreEachWhole) {
  use_aac(1);
  ASSERT_EQ(host.start(), 0);
  const Samples tone = sine(20 * 1024, 44100, 440);
  for (int part = 0; part < 3; ++part) {
    if (part > 0) split(host);
    host.feed(tone, tone);
    host.wait_until_ring_is_empty();
  }
  stop();
  ASSERT_EQ(host.finished().size(), 3u);
  for (const std::string &path : host.finished()) {
    EXPECT_EQ(packets_in(path), 21u);
    const std::vector<std::int32_t> samples = decoded(path);
    double first = 0;
    for (std::size_t i = 0; i < 2 * 900; ++i) first = std::max(first, std::fabs(samples[i] / 32768.0));
    EXPECT_LT(first, 0.1) << "nothing of the file before";
  }
}

TEST_F(RecordedM4a, FragmentedFileNeedsNoRecoveryRecord) {
  use_alac(0);
  ASSERT_EQ(host.start(), 0);
  EXPECT_FALSE(recovery_exists());
  host.feed(left, right);
  stop();
}

TEST_F(RecordedM4a, GoesOnWithoutARecoveryRecord) {
  use_alac(1);
  std::unique_ptr<CallFailer> failer;
  host.on_call = [&](const Call &call) {
    if (call.name == "start") failer = std::make_unique<CallFailer>("fopen", 1, 13 /* EACCES */);
    if (call.name == "finalize") failer.reset();
  };
  record(left, right);
  EXPECT_EQ(decoded(host.finished().back()), expected(left, right));
  EXPECT_EQ(host.errors().size(), 0u);
}

TEST_F(RecordedM4a, EncoderThatIsNotThereIsError9) {
  if (RecorderM4A::is_available(four_cc("aach"))) GTEST_SKIP() << "this system has one";
  use_aac(1, 1);
  EXPECT_EQ(aurec_start(host, 44100), 0);
  host.wait_until([&] { return !host.errors().empty(); }, "the error");
  aurec_stop(host);
  ASSERT_EQ(host.errors().size(), 1u);
  EXPECT_EQ(host.errors()[0].code, AuRecErrorCodecOpen);
  EXPECT_EQ(host.errors()[0].text, "Failed to open an Audio Codec component");
  EXPECT_EQ(host.count("path"), 0u);
}

TEST_F(RecordedM4a, FileThatCannotBeBegunIsError11) {
  for (const std::uint32_t fast_start : {1u, 0u}) {
    use_alac(fast_start);
    std::unique_ptr<CallFailer> failer;
    const std::size_t file = host.count("start") + 1;
    // Behind start_cb the recovery record is written in two pieces, and then the file's type.
    host.on_call = [&](const Call &call) {
      if (call.name == "start") failer = std::make_unique<CallFailer>("fwrite", fast_start ? 3 : 1, 28 /* ENOSPC */);
      if (call.name == "error") failer.reset();
    };
    const std::size_t errors = host.errors().size();
    EXPECT_EQ(aurec_start(host, 44100), 0);
    host.wait_until([&] { return host.errors().size() > errors; }, "the error");
    aurec_stop(host);
    host.on_call = nullptr;
    EXPECT_EQ(host.errors().back().code, AuRecErrorM4ABegin);
    EXPECT_EQ(host.errors().back().text, "m4a_begin() failed, file deleted");
    EXPECT_FALSE(std::filesystem::exists(host.path_of(file)));
    EXPECT_FALSE(recovery_exists(file));
  }
}

TEST_F(RecordedM4a, FileThatCannotBeFinishedIsError12) {
  for (const char *call : {"pthread_create", "operator new"}) {
    use_alac(1);
    std::unique_ptr<CallFailer> failer;
    host.on_call = [&](const Call &now) {
      if (now.name == "finalize") failer = std::make_unique<CallFailer>(call, 1, 11 /* EAGAIN */);
      if (now.name == "error") failer.reset();
    };
    const std::size_t file = host.count("start") + 1;
    record(left, right);
    host.on_call = nullptr;
    ASSERT_GE(host.errors().size(), 1u) << call;
    EXPECT_EQ(host.errors().back().code, AuRecErrorM4AFinish);
    EXPECT_EQ(host.errors().back().text, "m4a_finish() error, file deleted");
    EXPECT_FALSE(std::filesystem::exists(host.path_of(file)));
    EXPECT_FALSE(recovery_exists(file));
    EXPECT_EQ(host.count("done"), 0u);
  }
}

TEST_F(RecordedM4a, EmptyFileIsDeletedAndThenDone) {
  use_alac(1);
  ASSERT_EQ(host.start(), 0);
  stop();
  ASSERT_EQ(host.errors().size(), 1u);
  EXPECT_EQ(host.errors()[0].text, "empty file, deleted");
  EXPECT_FALSE(std::filesystem::exists(host.path_of(1)));
  EXPECT_FALSE(recovery_exists());
  EXPECT_EQ(host.count("done"), 1u) << "the job had the file already";
}

TEST_F(RecordedM4a, EmptyFragmentedFileIsDeletedAndNotDone) {
  use_alac(0);
  ASSERT_EQ(host.start(), 0);
  stop();
  ASSERT_EQ(host.errors().size(), 1u);
  EXPECT_EQ(host.errors()[0].code, AuRecErrorNoAudio);
  EXPECT_EQ(host.count("done"), 0u);
}

TEST_F(RecordedM4a, RecordsAtAnotherRateThanTheInputs) {
  use_aac(1);
  const Samples tone = sine(2 * 96000, 96000, 1000);
  record(tone, tone, 96000.0f);
  EXPECT_EQ(atom_at(read_file(host.finished().back()), "moov.mvhd").word(20), 48000u);
}

}  // namespace
