// FLAC files as a whole.
#include "recorder/recorder_flac.h"

#include <atomic>
#include <random>

#include "base/byte_order.h"
#include "base/four_cc.h"
#include "recorder/bare_recorder.h"
#include "support/flac_file.h"
#include "support/other_programs.h"
#include "support/pictures.h"
#include "support/tag_file.h"
#include "support/watch.h"

using namespace auspool;
using namespace auspool::testing;

namespace {

std::int32_t held(double value) {
  return value != value ? 0 : static_cast<std::int32_t>(std::trunc(std::clamp(value, -32768.0, 32767.0)));
}

std::vector<std::int32_t> stereo(const Samples &left, const Samples &right) {
  std::vector<std::int32_t> all;
  for (std::size_t i = 0; i < left.size(); ++i) {
    all.push_back(held(static_cast<double>(left[i]) * 32768.0));
    all.push_back(held(static_cast<double>(right[i]) * 32768.0));
  }
  return all;
}

class RecordedFlac : public ::testing::Test {
protected:
  void SetUp() override {
    if (!RecorderFLAC::is_available()) GTEST_SKIP() << "this build has no libFLAC";
    NEED_PROGRAM("flac");
  }

  // Records the samples into one file, and returns what a decoder finds in it.
  std::vector<std::int32_t> recorded(const Samples &left, const Samples &right, std::uint32_t mono = 0,
                                     float rate = 44100.0f) {
    Host host(AuRecOutputTypeFLAC);
    aurec_set_flac_options(host, {mono});
    EXPECT_EQ(host.start(rate), 0);
    host.feed(left, right, rate);
    aurec_stop(host);
    EXPECT_EQ(host.finished().size(), 1u);
    EXPECT_EQ(host.errors().size(), 0u);
    info = stream_info_of(read_file(host.path_of(1)));
    return decoded_flac(host.path_of(1));
  }

  StreamInfo info{};  // of the last file
};

TEST_F(RecordedFlac, DescribesItself) {
  Host host;
  struct Delete {
    void operator()(Recorder *recorder) const { recorder->SafeDelete(); }
  };
  const std::unique_ptr<Recorder, Delete> recorder(new RecorderFLAC(host.rec(), &host.rec()->ext_vars, {}));
  EXPECT_EQ(recorder->type(), 5);
  EXPECT_EQ(recorder->os_type(), four_cc("FLAC"));
  EXPECT_EQ(recorder->creator(), 0u);
  EXPECT_EQ(recorder->stack_size(), 0u);
  EXPECT_EQ(aurec_can_output_type(AuRecOutputTypeFLAC), 1);
}

TEST_F(RecordedFlac, HoldsWhatItWasGiven) {
  Samples left = noise(50000, 1, 1.2), right = noise(50000, 2, 1.2);
  left[100] = std::nanf("");
  right[200] = std::numeric_limits<float>::infinity();
  left[300] = std::nextafter(32767.0f / 32768.0f, 0.0f);
  EXPECT_EQ(recorded(left, right), stereo(left, right));
  EXPECT_EQ(info.channels, 2u);
  EXPECT_EQ(info.bits, 16u);
  EXPECT_EQ(info.rate, 44100u);
  EXPECT_EQ(info.frames, 50000u);
  EXPECT_NE(info.md5, std::string(16, '\0'));
}

TEST_F(RecordedFlac, HoldsFullScaleToTheRange) {
  EXPECT_EQ(recorded({1.0f, -1.0f}, {-1.0f, 1.0f}), (std::vector<std::int32_t>{32767, -32768, -32768, 32767}));
}

TEST_F(RecordedFlac, MixesBothChannelsInMono) {
  EXPECT_EQ(recorded({1.0f, 1.0f, 0.5f}, {1.0f, -1.0f, 0.25f}, 1), (std::vector<std::int32_t>{32767, 0, 12288}));
  EXPECT_EQ(info.channels, 1u);
  const Samples left = noise(20000, 1, 1.2), right = noise(20000, 2, 1.2);
  std::vector<std::int32_t> mix;
  for (std::size_t i = 0; i < left.size(); ++i) {
    mix.push_back(held(static_cast<double>(left[i] + right[i]) * 16384.0));
  }
  EXPECT_EQ(recorded(left, right, 1), mix);
}

TEST_F(RecordedFlac, AreOfEveryRateThatTheFormatHas) {
  const Samples left = noise(3000, 1), right = noise(3000, 2);
  for (const float rate : {1.0f, 8000.0f, 11025.0f, 44100.7f, 48000.0f, 65535.0f, 96000.0f, 192000.0f, 655350.0f}) {
    for (const std::uint32_t mono : {0u, 1u}) {
      SCOPED_TRACE(rate);
      EXPECT_EQ(recorded(left, right, mono, rate).size(), mono ? 3000u : 6000u);
      EXPECT_EQ(info.rate, static_cast<std::uint32_t>(rate));
    }
  }
}

TEST_F(RecordedFlac, JoinToTheWholeWhereverTheyAreSplit) {
  Host host(AuRecOutputTypeFLAC);
  ASSERT_EQ(host.start(), 0);
  std::mt19937 random(3);
  Samples left, right;
  for (std::uint32_t block = 0; block < 200; ++block) {
    const Samples a = noise(1 + random() % 3000, block), b = noise(a.size(), block + 1000);
    host.feed(a, b);
    left.insert(left.end(), a.begin(), a.end());
    right.insert(right.end(), b.begin(), b.end());
    if (block % 50 == 25) split(host);
  }
  aurec_stop(host);
  EXPECT_EQ(host.finished().size(), 5u);
  std::vector<std::int32_t> joined;
  for (const std::string &path : host.finished()) {
    const auto part = decoded_flac(path);
    joined.insert(joined.end(), part.begin(), part.end());
  }
  EXPECT_EQ(joined, stereo(left, right));
}

// Whole blocks go to the old file: what is in the ring behind the one in hand goes to the new one.
TEST_F(RecordedFlac, KeepWholeBlocksAtASplit) {
  Host host(AuRecOutputTypeFLAC);
  ASSERT_EQ(host.start(), 0);
  const Samples audio = noise(3000, 1);
  {
    const RingHeld held(host);
    EXPECT_EQ(host.record(audio, audio), 0);
    aurec_make_new_file(host);
    EXPECT_EQ(host.record(audio, audio), 0);
  }
  host.wait_until([&] { return host.count("start") == 2; }, "the second file");
  aurec_stop(host);
  ASSERT_EQ(host.finished().size(), 2u);
  EXPECT_EQ(stream_info_of(read_file(host.path_of(1))).frames, 3072u);
  EXPECT_EQ(stream_info_of(read_file(host.path_of(2))).frames, 6000u - 3072u);
}

// The encoder reads the blocks until it has finished the file; each file has its own.
TEST_F(RecordedFlac, CarryTheTagsOfEachFile) {
  const Bytes cover = png_file(9, 7);
  const auto tag_of = [&cover](int file) {
    Ref tag(audict_create());
    audict_set_string(tag.get(), "Title", ("file " + std::to_string(file)).c_str());
    audict_set_string(tag.get(), "Encoder", "me");
    audict_set_integer(tag.get(), "TrackNum", file, AUDICT_INT32);
    audict_set_data(tag.get(), "AlbumCover", cover.data(), cover.size());
    return tag;
  };
  Host host(AuRecOutputTypeFLAC);
  std::atomic<int> files = 0;
  host.on_path = [&](char *, void *&, void *, audict **tags) {
    if (++files != 2) *tags = tag_of(files).release();
  };
  const Samples audio = noise(9000, 1);
  ASSERT_EQ(host.start(), 0);
  for (int file = 1; file <= 3; ++file) {
    if (file > 1) split(host);
    host.feed(audio, audio);
  }
  aurec_stop(host);
  ASSERT_EQ(host.finished().size(), 3u);
  for (int file = 1; file <= 3; ++file) {
    const std::string path = host.finished()[static_cast<std::size_t>(file - 1)];
    EXPECT_EQ(decoded_flac(path), stereo(audio, audio));
    const Ref read(autag2_read(path.c_str(), nullptr, nullptr));
    audict_remove(read.get(), "BinaryBlobs");
    if (file == 2) {
      EXPECT_EQ(audict_count(read.get()), 1u) << "the library's name alone";
    } else {
      EXPECT_TRUE(audict_equal(read.get(), tag_of(file).get()));
    }
  }
}

TEST_F(RecordedFlac, AreCompleteWithoutTagsThatFoundNoMemory) {
  std::unique_ptr<CallFailer> failer;
  Host host(AuRecOutputTypeFLAC);
  host.on_path = [](char *, void *&, void *, audict **tags) { *tags = audict_create(); };
  host.on_call = [&](const Call &call) {
    if (call.name == "start") failer = std::make_unique<CallFailer>("FLAC__metadata_object_new", 1);
  };
  ASSERT_EQ(host.start(), 0);
  const Samples audio = noise(9000, 1);
  host.feed(audio, audio);
  aurec_stop(host);
  EXPECT_EQ(host.errors().size(), 0u);
  EXPECT_EQ(decoded_flac(host.path_of(1)), stereo(audio, audio));
}

TEST_F(RecordedFlac, AnEmptyFileIsDeletedAndItsIndexComesAgain) {
  Host host(AuRecOutputTypeFLAC);
  ASSERT_EQ(host.start(), 0);
  split(host);
  const Samples audio = noise(1000, 1);
  host.feed(audio, audio);
  aurec_stop(host);
  ASSERT_EQ(host.errors().size(), 1u);
  EXPECT_EQ(host.errors()[0].code, AuRecErrorNoAudio);
  EXPECT_EQ(host.errors()[0].text, "empty file, deleted");
  EXPECT_FALSE(std::filesystem::exists(host.path_of(1)));
  EXPECT_EQ(host.finished(), std::vector<std::string>{host.path_of(2)});
  for (const Call &call : host.calls()) {
    EXPECT_EQ(call.index, 0) << call.name;
  }
}

TEST_F(RecordedFlac, AnEncoderThatCannotBeMadeEndsTheRecordingWithoutAFile) {
  std::unique_ptr<CallFailer> failer;
  Host host(AuRecOutputTypeFLAC);
  host.on_call = [&](const Call &call) {
    if (call.name == "state" && !failer) failer = std::make_unique<CallFailer>("FLAC__stream_encoder_new", 1);
  };
  ASSERT_EQ(aurec_start(host, 44100.0f), 0);
  host.wait_until([&] { return !host.errors().empty(); }, "the error");
  EXPECT_EQ(aurec_is_active(host), 0);
  ASSERT_EQ(host.errors().size(), 1u);
  EXPECT_EQ(host.errors()[0].code, AuRecErrorFLACNew);
  EXPECT_EQ(host.errors()[0].text, "FLAC__stream_encoder_new() failed");
  EXPECT_EQ(host.count("path"), 0u);
  aurec_stop(host);
  host.on_call = nullptr;
  ASSERT_EQ(host.start(), 0) << "the next start works";
}

// FLAC has 20 bits for a rate.
TEST_F(RecordedFlac, AnEncoderThatRefusesTheFormatLeavesAnEmptyFileAndTheRecordingStarted) {
  Host host(AuRecOutputTypeFLAC);
  ASSERT_EQ(aurec_start(host, 2000000.0f), 0);
  host.wait_until([&] { return !host.errors().empty(); }, "the error");
  host.wait_until([&] { return host.count("state") == 2; }, "the worker's end");
  ASSERT_EQ(host.errors().size(), 1u);
  EXPECT_EQ(host.errors()[0].code, AuRecErrorFLACInit);
  EXPECT_EQ(host.errors()[0].text, "FLAC__stream_encoder_init_FILE() failed");
  EXPECT_EQ(host.errors()[0].file, 1u);
  EXPECT_EQ(aurec_is_active(host), 1);
  EXPECT_EQ(aurec_is_recording(host), 0);
  EXPECT_EQ(std::filesystem::file_size(host.path_of(1)), 0u);
  EXPECT_EQ(host.count("done"), 0u);
  aurec_stop(host);
  EXPECT_EQ(aurec_is_active(host), 0);
  ASSERT_EQ(host.start(), 0) << "the next start works";
}

TEST_F(RecordedFlac, ARefusedPathEndsTheRecordingWithoutAMessage) {
  Host host(AuRecOutputTypeFLAC);
  host.on_path = [](char *, void *&token, void *, audict **) { token = nullptr; };
  ASSERT_EQ(aurec_start(host, 44100.0f), 0);
  host.wait_until([&] { return !aurec_is_active(host); }, "the end");
  EXPECT_EQ(host.errors().size(), 0u);
}

TEST_F(RecordedFlac, ARefusedPathAtASplitEndsTheRecordingWithTheFirstFileWhole) {
  Host host(AuRecOutputTypeFLAC);
  std::atomic<int> asked = 0;
  host.on_path = [&asked](char *, void *&token, void *, audict **) {
    if (++asked > 1) token = nullptr;
  };
  ASSERT_EQ(host.start(), 0);
  const Samples audio = noise(5000, 1);
  host.feed(audio, audio);
  host.wait_until_ring_is_empty();
  aurec_make_new_file(host);
  wake_worker(host);
  host.wait_until([&] { return aurec_is_recording(host) == 0; }, "the end");
  aurec_stop(host);
  EXPECT_EQ(host.errors().size(), 0u);
  ASSERT_EQ(host.finished().size(), 1u);
  EXPECT_EQ(decoded_flac(host.path_of(1)).size(), 10000u);
}

TEST_F(RecordedFlac, ABlockThatIsNotEncodedIsLostAndTheRestIsThere) {
  std::unique_ptr<CallFailer> failer;
  Host host(AuRecOutputTypeFLAC);
  host.on_call = [&](const Call &call) {
    if (call.name == "start") failer = std::make_unique<CallFailer>("FLAC__stream_encoder_process_interleaved", 2);
  };
  ASSERT_EQ(host.start(), 0);
  const Samples audio = noise(3 * 1024, 1);
  for (std::size_t block = 0; block < 3; ++block) {
    const Samples part(audio.begin() + 1024 * static_cast<int>(block),
                       audio.begin() + 1024 * static_cast<int>(block + 1));
    {
      const RingHeld held(host);  // so that the worker finds the block whole
      EXPECT_EQ(host.record(part, part), 0);
    }
    host.wait_until(
        [&] {
          wake_worker(host);
          return frames_in_ring(host) == 0;
        },
        "the worker");
  }
  aurec_stop(host);
  Samples expected(audio.begin(), audio.begin() + 1024);
  expected.insert(expected.end(), audio.begin() + 2048, audio.end());
  EXPECT_EQ(decoded_flac(host.path_of(1)), stereo(expected, expected));
  EXPECT_EQ(host.errors().size(), 0u);
}

// The size is taken before the last frames and the header are written.
TEST_F(RecordedFlac, TheTotalSizeIsALittleShort) {
  Host host(AuRecOutputTypeFLAC);
  ASSERT_EQ(host.start(), 0);
  const Samples audio = noise(300000, 1);
  host.feed(audio, audio);
  host.wait_until_ring_is_empty();
  host.wait_until([&] { return aurec_file_time(host) > 6.8; }, "the worker");
  split(host);
  const auto size = static_cast<std::int64_t>(std::filesystem::file_size(host.path_of(1)));
  EXPECT_LT(aurec_total_size(host), size);
  EXPECT_GT(aurec_total_size(host), size - 40000);
}

TEST_F(RecordedFlac, AnotherDecoderFindsTheSame) {
  NEED_PROGRAM("ffmpeg");
  Host host(AuRecOutputTypeFLAC);
  ASSERT_EQ(host.start(48000), 0);
  const Samples left = noise(70000, 1), right = noise(70000, 2);
  host.feed(left, right, 48000);
  aurec_stop(host);
  const std::string raw = output_of("ffmpeg -v error -i " + quoted(host.path_of(1)) + " -f s16le -");
  const auto expected = stereo(left, right);
  ASSERT_EQ(raw.size(), 2 * expected.size());
  for (std::size_t i = 0; i < expected.size(); ++i) {
    ASSERT_EQ(load_le<std::int16_t>(reinterpret_cast<const std::uint8_t *>(raw.data()) + 2 * i), expected[i]);
  }
}

}  // namespace
