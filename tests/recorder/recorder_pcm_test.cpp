// AIFF and WAVE files as a whole.
#include "recorder/recorder_pcm.h"

#include <sys/xattr.h>

#include <atomic>

#include "auspool/audict.h"
#include "base/byte_order.h"
#include "base/four_cc.h"
#include "recorder/bare_recorder.h"
#include "support/pcm_file.h"
#include "support/programs.h"
#include "support/watch.h"

using namespace auspool;
using namespace auspool::testing;

namespace {

// Records the samples and returns the one file.
PcmFile recorded(AuRecOutputType type, const AuRecOptionsPCM &options, const Samples &left, const Samples &right,
                 float rate = 44100.0f) {
  Host host(type);
  aurec_set_pcm_options(host, options);
  EXPECT_EQ(host.start(rate), 0);
  host.feed(left, right, rate);
  aurec_stop(host);
  EXPECT_EQ(host.finished().size(), 1u);
  const PcmFile file = read_pcm_file(host.path_of(1));
  EXPECT_TRUE(file.valid);
  return file;
}

TEST(RecorderPCM, DescribesItself) {
  Host host;
  const auto made = [&](AuRecPCMKind kind) {
    struct Delete {
      void operator()(Recorder *recorder) const { recorder->SafeDelete(); }
    };
    return std::unique_ptr<Recorder, Delete>(new RecorderPCM(host.rec(), &host.rec()->ext_vars, {}, kind));
  };
  EXPECT_EQ(made(kPCMKindAIFF)->type(), 0);
  EXPECT_EQ(made(kPCMKindAIFF)->os_type(), four_cc("AIFF"));
  EXPECT_EQ(made(kPCMKindWAVE)->type(), 4);
  EXPECT_EQ(made(kPCMKindWAVE)->os_type(), four_cc("WAVE"));
  EXPECT_EQ(made(static_cast<AuRecPCMKind>(2))->type(), -1);
  EXPECT_EQ(made(static_cast<AuRecPCMKind>(2))->os_type(), four_cc("????"));
  EXPECT_EQ(made(kPCMKindWAVE)->creator(), 0u);
  EXPECT_EQ(made(kPCMKindWAVE)->stack_size(), 0u);
}

TEST(RecorderPCM, WritesWhatItIsGivenIntoEachContainerAndWidth) {
  const Samples left = noise(50000, 1, 1.2), right = noise(50000, 2, 1.0);
  for (const AuRecOutputType type : {AuRecOutputTypeAIFF, AuRecOutputTypeWAVE}) {
    for (const std::uint32_t bit_depth : {0u, 1u}) {
      SCOPED_TRACE(::testing::Message() << "type " << type << " bit_depth " << bit_depth);
      const PcmFile file = recorded(type, {0, bit_depth, 0, 0}, left, right);
      EXPECT_EQ(file.channels, 2);
      EXPECT_EQ(file.rate, 44100);
      EXPECT_EQ(file.bits, bit_depth ? 24 : 16);
      EXPECT_EQ(file.samples, integers_of(left, right, file.bits));
    }
  }
}

TEST(RecorderPCM, AFileCarriesItsTypeCode) {
  Host host(AuRecOutputTypeWAVE);
  ASSERT_EQ(host.start(), 0);
  char info[64];
  const ssize_t size = getxattr(host.path_of(1).c_str(), "user.com.apple.FinderInfo", info, sizeof info);
  if (size < 0 && errno == ENOTSUP) GTEST_SKIP() << "this file system has no extended attributes";
  EXPECT_EQ(std::string(info, static_cast<std::size_t>(size)), "WAVE" + std::string(28, '\0'));
}

TEST(RecorderPCM, AMonoFileTakesTheSourceThatTheHostChose) {
  const Samples left = noise(3000, 1), right = noise(3000, 2);
  Samples mix(left.size());
  for (std::size_t i = 0; i < mix.size(); ++i) mix[i] = (left[i] + right[i]) * 0.5f;
  const Samples *const expected[] = {&mix, &left, &right};
  for (const std::uint32_t bit_depth : {0u, 1u}) {
    for (std::uint32_t source = 0; source < 3; ++source) {
      const PcmFile file = recorded(AuRecOutputTypeWAVE, {1, bit_depth, source, 0}, left, right);
      EXPECT_EQ(file.channels, 1);
      ASSERT_EQ(file.samples.size(), mix.size());
      for (std::size_t i = 0; i < mix.size(); ++i) {
        ASSERT_EQ(file.samples[i], integer_of((*expected[source])[i], file.bits));
      }
    }
  }
}

TEST(RecorderPCM, OppositeChannelsMixToNothing) {
  const PcmFile file = recorded(AuRecOutputTypeAIFF, {9, 0, 0, 0}, {1.0f}, {-1.0f});
  EXPECT_EQ(file.samples, std::vector<std::int32_t>{0});
}

TEST(RecorderPCM, AnOddAmountOfDataIsNotPadded) {
  const Samples samples(7);
  recorded(AuRecOutputTypeAIFF, {1, 1, 0, 0}, samples, samples);
  recorded(AuRecOutputTypeWAVE, {1, 1, 0, 0}, samples, samples);
}

TEST(RecorderPCM, ARateOutOfBoundsIsTheInputs) {
  const Samples samples = noise(1000, 1);
  for (const float rate : {0.0f, 3000.0f, 192001.0f}) {
    const PcmFile file = recorded(AuRecOutputTypeAIFF, {0, 0, 0, rate}, samples, samples, 22050.5f);
    EXPECT_EQ(file.rate, 22050.5);
    EXPECT_EQ(file.samples, integers_of(samples, samples, 16));
  }
  EXPECT_EQ(recorded(AuRecOutputTypeWAVE, {0, 0, 0, 0}, samples, samples, 44100.5f).rate, 44100);
  // The input's rate may lie where no option can.
  EXPECT_EQ(recorded(AuRecOutputTypeWAVE, {0, 0, 0, 0}, samples, samples, 1000.0f).rate, 1000);
}

TEST(RecorderPCM, AnotherRateIsConvertedTo) {
  const Samples tone = sine(48000, 48000, 440);
  const PcmFile file = recorded(AuRecOutputTypeAIFF, {0, 0, 0, 44100}, tone, tone, 48000);
  EXPECT_EQ(file.rate, 44100);
  EXPECT_NEAR(static_cast<double>(file.frames), 44100, 10);
  // Two input frames of delay, and that of the low-pass: compare crossings, not samples.
  int crossings = 0;
  const std::vector<std::int32_t> left = file.channel(0);
  for (std::size_t i = 1; i < left.size(); ++i) crossings += (left[i - 1] < 0) != (left[i] < 0);
  EXPECT_NEAR(crossings, 880, 2);
}

TEST(RecorderPCM, RatesMayChangeInMidRecording) {
  Host host(AuRecOutputTypeWAVE);
  ASSERT_EQ(host.start(44100), 0);
  double seconds = 0;
  for (const float rate : {44100.0f, 48000.0f, 22050.0f, 96000.0f, 44100.0f}) {
    const Samples tone = sine(static_cast<std::size_t>(rate / 4), static_cast<double>(rate), 1000);
    // With conversion, what makes no whole frame of the file stays in the ring.
    host.wait_until([&] { return frames_in_ring(host) <= 4; }, "the worker");
    host.feed(tone, tone, rate);
    seconds += 0.25;
  }
  aurec_stop(host);
  const PcmFile file = read_pcm_file(host.path_of(1));
  EXPECT_TRUE(file.valid);
  EXPECT_EQ(file.rate, 44100);
  EXPECT_NEAR(static_cast<double>(file.frames), seconds * 44100, 20);
}

TEST(RecorderPCM, FiveSecondsGetNoHeaderBeforeTheEnd) {
  Host host;
  ASSERT_EQ(host.start(), 0);
  const Samples samples = noise(5 * 44100, 1);
  host.feed(samples, samples);
  host.wait_until_ring_is_empty();
  host.wait_until([&] { return aurec_file_time(host) >= 5.0; }, "five seconds");
  EXPECT_EQ(read_file(host.path_of(1)).substr(0, 54), std::string(54, '\0'));
}

// By frames of file time, with whole blocks: the first block at or beyond ten seconds finds 441344 frames before it.
TEST(RecorderPCM, TheHeaderIsRefreshedEveryTenSecondsOfFileTime) {
  for (const AuRecOutputType type : {AuRecOutputTypeAIFF, AuRecOutputTypeWAVE}) {
    Host host(type);
    aurec_set_buffer_size(host, 52428800);
    ASSERT_EQ(host.start(), 0);
    const auto frames_in_header = [&](std::size_t blocks) {
      const std::size_t count = blocks * 1024;
      const double before = aurec_file_time(host);
      {
        const RingHeld held(host);
        const Samples samples(count);
        EXPECT_EQ(host.record(samples, samples), 0);
      }
      const double expected = before + static_cast<double>(count) / 44100.0;
      host.wait_until([&] { return aurec_file_time(host) >= expected - 1e-6; }, "the frames");
      const std::string bytes = read_file(host.path_of(1));
      const auto *const data = reinterpret_cast<const std::uint8_t *>(bytes.data());
      return type == AuRecOutputTypeAIFF ? load_be<std::uint32_t>(data + 22) : load_le<std::uint32_t>(data + 40) / 4;
    };
    EXPECT_EQ(frames_in_header(431), 0u) << "441344 frames are written, but no block has come after that";
    EXPECT_EQ(frames_in_header(1), 441344u) << "the block in hand is not counted";
    EXPECT_EQ(frames_in_header(430), 441344u);
    EXPECT_EQ(frames_in_header(1), 882688u) << "ten seconds after the last refresh, not after the last multiple";
  }
}

// At 2 Hz ten seconds are 80 bytes: the stream still holds its first bytes, and would write them over the header.
TEST(RecorderPCM, AHeaderStillInTheStreamsBufferIsNotRefreshed) {
  const Samples samples = noise(50, 1);
  EXPECT_EQ(recorded(AuRecOutputTypeWAVE, {}, samples, samples, 2.0f).samples, integers_of(samples, samples, 16));
}

TEST(RecorderPCM, ARefreshThatFailsIsMendedByTheNext) {
  std::unique_ptr<CallFailer> failer;
  Host host(AuRecOutputTypeWAVE);
  aurec_set_buffer_size(host, 52428800);
  host.on_call = [&](const Call &call) {
    if (call.name == "start") failer = std::make_unique<CallFailer>("pwrite", 1, ENOSPC);
  };
  ASSERT_EQ(host.start(8000), 0);
  const Samples samples = noise(8000 * 15, 1);
  host.feed(samples, samples, 8000);
  host.wait_until([&] { return aurec_file_time(host) >= 15.0; }, "the first refresh");
  EXPECT_EQ(read_file(host.path_of(1)).substr(0, 44), std::string(44, '\0'));
  host.feed(samples, samples, 8000);
  host.wait_until([&] { return aurec_file_time(host) >= 30.0; }, "the second refresh");
  EXPECT_EQ(read_file(host.path_of(1)).substr(0, 4), "RIFF");
  aurec_stop(host);
  EXPECT_TRUE(read_pcm_file(host.path_of(1)).valid);
}

TEST(RecorderPCM, WithoutRoomForTheHeaderTheFileIsDeleted) {
  for (const bool by_memory : {false, true}) {
    std::unique_ptr<CallFailer> call;
    std::unique_ptr<AllocationFailer> allocation;
    Host host;
    host.on_call = [&](const Call &at) {
      if (at.name == "start" && by_memory) allocation = std::make_unique<AllocationFailer>(1);
      if (at.name == "start" && !by_memory) call = std::make_unique<CallFailer>("fwrite", 1, ENOSPC);
    };
    ASSERT_EQ(aurec_start(host, 44100.0f), 0);
    host.wait_until([&] { return !aurec_is_active(host); }, "the end");
    ASSERT_EQ(host.errors().size(), 1u);
    EXPECT_EQ(host.errors()[0].code, AuRecErrorPCMHeader);
    EXPECT_EQ(host.errors()[0].text, "failed to make room for pcm header, file deleted");
    EXPECT_EQ(host.errors()[0].file, 1u);
    EXPECT_EQ(host.count("done"), 0u);
    EXPECT_FALSE(std::filesystem::exists(host.path_of(1)));
    aurec_stop(host);
    host.on_call = nullptr;
    ASSERT_EQ(host.start(), 0) << "the next start works";
  }
}

TEST(RecorderPCM, ABlockThatIsNotWrittenIsLostAndTheRestStaysInStep) {
  std::unique_ptr<CallFailer> failer;
  Host host(AuRecOutputTypeWAVE);
  aurec_set_pcm_options(host, {0, 1, 0, 0});
  host.on_call = [&](const Call &call) {
    if (call.name == "start") failer = std::make_unique<CallFailer>("fwrite", 3, ENOSPC);
  };
  ASSERT_EQ(host.start(), 0);
  const Samples samples = noise(4 * 1024, 1);
  {
    const RingHeld held(host);
    EXPECT_EQ(host.record(samples, samples), 0);
  }
  host.wait_until(
      [&] {
        wake_worker(host);
        return frames_in_ring(host) == 0;
      },
      "the worker");
  aurec_stop(host);
  Samples expected(samples.begin(), samples.begin() + 1024);
  expected.insert(expected.end(), samples.begin() + 2048, samples.end());
  const PcmFile file = read_pcm_file(host.path_of(1));
  EXPECT_TRUE(file.valid);
  EXPECT_EQ(file.samples, integers_of(expected, expected, 24)) << "the second block is missing, all else is there";
  EXPECT_EQ(host.errors().size(), 0u);
}

TEST(RecorderPCM, AFinalHeaderThatCannotBeWrittenIsNotReported) {
  std::unique_ptr<CallFailer> failer;
  Host host(AuRecOutputTypeWAVE);
  host.on_call = [&](const Call &call) {
    if (call.name == "start") failer = std::make_unique<CallFailer>("fseek", 1, EIO);
  };
  ASSERT_EQ(host.start(), 0);
  const Samples samples = noise(1000, 1);
  host.feed(samples, samples);
  aurec_stop(host);
  EXPECT_EQ(host.count("done"), 1u);
  EXPECT_EQ(host.errors().size(), 0u);
  EXPECT_EQ(read_file(host.path_of(1)).size(), 44u + 4000u);
}

// The size is taken before the empty file is deleted, and after its header has gone to the disk.
TEST(RecorderPCM, TheTotalCountsTheHeaderOfAnEmptyFile) {
  Host host;
  ASSERT_EQ(host.start(), 0);
  aurec_make_new_file(host);
  wake_worker(host);
  host.wait_until([&] { return host.count("start") == 2; }, "the second file");
  EXPECT_EQ(aurec_total_size(host) - aurec_file_size(host), 54);
}

TEST(RecorderPCM, AStopWritesWhatStillWaitsInTheRing) {
  Host host;
  aurec_set_buffer_size(host, 52428800);
  ASSERT_EQ(host.start(), 0);
  const Samples samples = noise(1000000, 1);
  {
    const RingHeld held(host);
    EXPECT_EQ(host.record(samples, samples), 0);
  }
  aurec_stop(host);
  EXPECT_EQ(read_pcm_file(host.path_of(1)).samples, integers_of(samples, samples, 16));
}

TEST(RecorderPCM, BadSamplesLoseNothingElse) {
  Samples left = noise(3000, 1), right = noise(3000, 2);
  left[100] = std::nanf("");
  left[200] = std::numeric_limits<float>::infinity();
  right[300] = -std::numeric_limits<float>::infinity();
  const PcmFile file = recorded(AuRecOutputTypeAIFF, {}, left, right);
  EXPECT_EQ(file.samples, integers_of(left, right, 16));
  EXPECT_EQ(file.samples[200], 0);
  EXPECT_EQ(file.samples[400], 32767);
  EXPECT_EQ(file.samples[601], -32768);
}

// A block of the test's own in place of tags.
struct Dictionaries {
  static inline std::vector<TagKind> kinds;
  static inline int released = 0;
  static TagBlock create(audict *tags, TagKind kind) {
    kinds.push_back(kind);
    const std::string &text = *reinterpret_cast<std::string *>(tags);
    return TagBlock(text.begin(), text.end());
  }
};

TEST(RecorderPCM, TagsOfEachFileStandBetweenHeaderAndAudio) {
  const TagOperations before = tag_operations;
  tag_operations = {Dictionaries::create, [](audict *) { ++Dictionaries::released; }};
  for (const AuRecOutputType type : {AuRecOutputTypeAIFF, AuRecOutputTypeWAVE}) {
    Dictionaries::released = 0;
    Host host(type);
    std::string texts[] = {"first tags", "", "the third"};
    const std::string taken = host.dir.file("taken");
    write_file(taken, "");
    host.on_path = [&, count = 0](char *to, void *&, void *, audict **tags) mutable {
      EXPECT_EQ(*tags, nullptr);
      if (count == 0) std::snprintf(to, AUREC_PATH_BYTES, "%s", taken.c_str());
      // The first name is taken: its dictionary is released, and another one comes with the next name.
      if (count != 2) *tags = reinterpret_cast<audict *>(&texts[std::max(count - 1, 0)]);
      ++count;
    };
    ASSERT_EQ(host.start(), 0);
    const Samples audio = noise(1001, 1);
    for (std::size_t file = 1; file <= 3; ++file) {
      host.feed(audio, audio);
      // With a block in the worker's hands the cut would come that block early.
      host.wait_until([&] { return aurec_file_time(host) * 44100 > 1000.5; }, "the worker");
      if (file < 3) aurec_make_new_file(host);
      host.wait_until([&] { return host.count("start") == std::min<std::size_t>(file + 1, 3); }, "the next file");
    }
    aurec_stop(host);
    ASSERT_EQ(host.finished().size(), 3u);
    for (std::size_t i = 0; i < 3; ++i) {
      const PcmFile file = read_pcm_file(host.finished()[i]);
      EXPECT_TRUE(file.valid);
      EXPECT_EQ(file.tags, texts[i]);
      EXPECT_EQ(file.samples, integers_of(audio, audio, 16));
    }
    EXPECT_EQ(Dictionaries::released, 3);
  }
  EXPECT_EQ(Dictionaries::kinds, (std::vector<TagKind>{kTagKindAIFF, kTagKindAIFF, kTagKindWAVE, kTagKindWAVE}));
  tag_operations = before;
}

TEST(RecorderPCM, ADictionaryBecomesTheTagsOfItsContainer) {
  for (const TagKind kind : {kTagKindAIFF, kTagKindWAVE}) {
    const AuRecOutputType type = kind == kTagKindAIFF ? AuRecOutputTypeAIFF : AuRecOutputTypeWAVE;
    audict *const dictionary = audict_create();
    audict_set_string(dictionary, "Title", "Night Train");
    const TagBlock block = [&] {
      TagsOfFile tags;
      *tags.out() = audict_retain(dictionary);
      return tags.take_block(kind);
    }();
    Host host(type);
    host.on_path = [&](char *, void *&, void *, audict **tags) { *tags = audict_retain(dictionary); };
    ASSERT_EQ(host.start(), 0);
    const Samples audio = noise(1000, 1);
    host.feed(audio, audio);
    aurec_stop(host);
    const PcmFile file = read_pcm_file(host.path_of(1));
    EXPECT_TRUE(file.valid);
    EXPECT_GT(block.size(), 10u);
    EXPECT_EQ(file.tags, std::string(block.begin(), block.end()));
    EXPECT_EQ(file.samples, integers_of(audio, audio, 16));
    audict_release(dictionary);
  }
}

TEST(RecorderPCM, IndependentReadersFindTheSameSamples) {
  if (!have_program("ffmpeg")) GTEST_SKIP() << "no ffmpeg here";
  const Samples left = noise(5000, 1), right = noise(5000, 2);
  for (const AuRecOutputType type : {AuRecOutputTypeAIFF, AuRecOutputTypeWAVE}) {
    Host host(type);
    aurec_set_pcm_options(host, {0, 1, 0, 0});
    ASSERT_EQ(host.start(), 0);
    host.feed(left, right);
    aurec_stop(host);
    const ProgramResult decoded = run("ffmpeg -v error -i " + quoted(host.path_of(1)) + " -f s32le -c:a pcm_s32le -");
    EXPECT_EQ(decoded.errors, "");
    const std::vector<std::int32_t> expected = integers_of(left, right, 24);
    ASSERT_EQ(decoded.output.size(), 4 * expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
      const auto *const bytes = reinterpret_cast<const std::uint8_t *>(decoded.output.data() + 4 * i);
      ASSERT_EQ(load_le<std::int32_t>(bytes), expected[i] * 256);
    }
  }
}

}  // namespace
