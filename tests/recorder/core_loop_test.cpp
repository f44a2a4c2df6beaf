// When a file ends: splits, limits, the request to stop.
#include <unistd.h>

#include "recorder/bare_recorder.h"

using namespace auspool;
using namespace auspool::testing;

namespace {

struct CoreLoop : ::testing::Test {
  CoreLoop() { recorder.pretend(44100.0f); }

  // The format writes `frames` a block, and asks for the end after `blocks`.
  void write_blocks(std::int32_t frames, int blocks = 1000000) {
    recorder.flush = [this, frames, blocks, count = 0](bool) mutable {
      if (++count > blocks) recorder.request_stop();
      return count > blocks ? 0 : frames;
    };
  }

  // core_loop over a new file that seems to have so many bytes; returns its frames at a split, or -1 at the end.
  std::int64_t frames_until_split(std::int64_t bytes = 0) {
    const FilePtr file(std::tmpfile());
    EXPECT_EQ(ftruncate(fileno(file.get()), bytes), 0);
    recorder.begin_file(file.get());
    const bool split = recorder.core_loop(file.get());
    const std::int64_t frames = recorder.file_frames;
    recorder.close_books();
    return split ? frames : -1;
  }

  void put_into_ring(std::size_t frames) {
    const Samples samples(frames);
    ASSERT_EQ(host.record(samples, samples), 0);
  }

  Host host;
  BareRecorder &recorder = BareRecorder::on(host);
};

TEST_F(CoreLoop, WritesNothingOnceTheEndWasAskedFor) {
  recorder.flush = [](bool) -> std::int32_t {
    ADD_FAILURE() << "flush_buffer was called";
    return 0;
  };
  recorder.request_stop();
  EXPECT_EQ(frames_until_split(), -1);
}

TEST_F(CoreLoop, CountsFramesOfTheFileAndOfAll) {
  write_blocks(100, 3);
  EXPECT_EQ(frames_until_split(), -1);
  EXPECT_EQ(recorder.file_frames, 300);
  EXPECT_EQ(recorder.total_frames, 300);
  EXPECT_DOUBLE_EQ(aurec_total_time(host), 300 / 44100.0);
}

TEST_F(CoreLoop, ARequestOnAnEmptyRingSplitsBeforeAnythingIsWritten) {
  aurec_make_new_file(host);
  write_blocks(100);
  EXPECT_EQ(frames_until_split(), 0);
  write_blocks(100, 5);
  EXPECT_EQ(frames_until_split(), -1) << "and only once";
}

TEST_F(CoreLoop, ARequestSplitsAfterWhatWaitsInTheRing) {
  put_into_ring(1000);
  aurec_make_new_file(host);
  write_blocks(300);
  EXPECT_EQ(frames_until_split(), 1200) << "at the end of a block";
}

TEST_F(CoreLoop, ASecondRequestWhileOneIsPendingDoesNothing) {
  put_into_ring(1000);
  aurec_make_new_file(host);
  put_into_ring(1000);
  aurec_make_new_file(host);
  write_blocks(500);
  EXPECT_EQ(frames_until_split(), 1000);
  write_blocks(500, 4);
  EXPECT_EQ(frames_until_split(), -1);
}

TEST_F(CoreLoop, ARequestThatArrivesDuringABlockIsNotLost) {
  put_into_ring(1000);
  recorder.flush = [&, count = 0](bool) mutable {
    if (++count == 2) aurec_make_new_file(host);
    return 500;
  };
  EXPECT_EQ(frames_until_split(), 1500) << "the countdown starts with the block in hand";
}

TEST_F(CoreLoop, ADueSplitClearsTheCountdownThoughTheEndWasAskedFor) {
  put_into_ring(1000);
  aurec_make_new_file(host);
  recorder.flush = [&](bool) {
    recorder.request_stop();
    return 1000;
  };
  EXPECT_EQ(frames_until_split(), -1);
  EXPECT_EQ(recorder.file_frames, 1000);

  bool split = true;
  recorder.core = [&] {
    write_blocks(500, 4);
    split = recorder.core_loop(nullptr);
    recorder.end_recording();
  };
  ASSERT_EQ(recorder.start(44100.0f), 0);
  host.wait_until([&] { return !recorder.is_active(); }, "the end");
  recorder.stop();
  EXPECT_FALSE(split) << "no countdown was left";
}

TEST_F(CoreLoop, ATimeLimitSplitsWhenItIsPassed) {
  aurec_set_limit(host, 60, 1);
  write_blocks(1024);
  EXPECT_EQ(frames_until_split(), 2646016);
  recorder.rate_out = 1024.0f;
  write_blocks(1024);
  EXPECT_EQ(frames_until_split(), 61 * 1024) << "exactly 60 s is not past it";
}

TEST_F(CoreLoop, ASizeLimitSplitsWithAMarginOf51200Bytes) {
  aurec_set_limit(host, 1048576, 0);
  write_blocks(1024, 3);
  EXPECT_EQ(frames_until_split(997376), -1);
  BareRecorder &again = BareRecorder::on(host);
  again.pretend(44100.0f);
  again.flush = [](bool) { return 1024; };
  const FilePtr file(std::tmpfile());
  ASSERT_EQ(ftruncate(fileno(file.get()), 997377), 0);
  again.begin_file(file.get());
  EXPECT_TRUE(again.core_loop(file.get()));
  EXPECT_EQ(again.file_frames, 1024);
}

TEST_F(CoreLoop, ASizeLimitIsExactWhileTheFileGrows) {
  for (const int bytes_a_frame : {1, 4, 6, 8}) {
    BareRecorder &growing = BareRecorder::on(host);
    growing.pretend(44100.0f);
    aurec_set_limit(host, 3000000, 0);
    const FilePtr file(std::tmpfile());
    std::int64_t size = 0;
    growing.flush = [&](bool) {
      size += 1000 * bytes_a_frame;
      EXPECT_EQ(ftruncate(fileno(file.get()), size), 0);
      return 1000;
    };
    growing.begin_file(file.get());
    EXPECT_TRUE(growing.core_loop(file.get()));
    EXPECT_GT(size, 3000000 - 51200);
    EXPECT_LE(size, 3000000 - 51200 + 1000 * bytes_a_frame);
  }
}

TEST_F(CoreLoop, ASizeLimitThatIsSetBelowTheSizeSplitsAtOnce) {
  recorder.flush = [&, count = 0](bool) mutable {
    if (++count == 100) aurec_set_limit(host, 1048576, 0);
    return 10;
  };
  EXPECT_EQ(frames_until_split(1500000), 1000);
}

// Its tags may be larger than the limit: that would make empty files without end.
TEST_F(CoreLoop, AFileWithoutAudioIsNotSplitByItsSize) {
  aurec_set_limit(host, 1048576, 0);
  int calls = 0;
  recorder.flush = [&](bool) {
    if (++calls == 1) wake_worker(host);
    return calls == 2 ? 10 : 0;
  };
  EXPECT_EQ(frames_until_split(2000000), 10);
  EXPECT_EQ(calls, 2);
}

TEST_F(CoreLoop, AFileNeverPassesOneDay) {
  recorder.rate_out = 10.0f;
  write_blocks(5);
  EXPECT_EQ(frames_until_split(), 863995) << "one second before the end of the day";
}

TEST_F(CoreLoop, AFileNeverPassesTwoGigabytes) {
  write_blocks(10, 3);
  EXPECT_EQ(frames_until_split(2147432447), -1);
  BareRecorder &again = BareRecorder::on(host);
  again.pretend(44100.0f);
  again.flush = [](bool) { return 10; };
  const FilePtr file(std::tmpfile());
  ASSERT_EQ(ftruncate(fileno(file.get()), 2147432448), 0);
  again.begin_file(file.get());
  EXPECT_TRUE(again.core_loop(file.get()));
}

TEST_F(CoreLoop, ALimitThatIsSetWhileRecordingCounts) {
  recorder.flush = [&, count = 0](bool) mutable {
    if (++count == 3000) aurec_set_limit(host, 60, 1);
    return 1024;
  };
  EXPECT_EQ(frames_until_split(), 3000 * 1024);
}

TEST_F(CoreLoop, AnEmptyRingWaitsForAudio) {
  recorder.flush = [&, count = 0](bool) mutable {
    if (++count == 1) wake_worker(host);
    if (count == 2) recorder.request_stop();
    return 0;
  };
  EXPECT_EQ(frames_until_split(), -1);
}

TEST_F(CoreLoop, DrainingTakesBlocksUntilThereIsNone) {
  recorder.flush = [count = 0](bool) mutable { return ++count < 4 ? 100 : 0; };
  recorder.drain(nullptr);
  EXPECT_EQ(recorder.file_frames, 300);
  EXPECT_FALSE(aurec_is_recording(host));
}

TEST_F(CoreLoop, SizesCountWhatIsOnTheDisk) {
  EXPECT_EQ(aurec_file_size(host), 0);
  write_blocks(10, 1);
  frames_until_split(1000);
  EXPECT_EQ(aurec_total_size(host), 1000);
  const FilePtr file(std::tmpfile());
  ASSERT_EQ(ftruncate(fileno(file.get()), 500), 0);
  recorder.begin_file(file.get());
  EXPECT_EQ(aurec_file_size(host), 500);
  EXPECT_EQ(aurec_total_size(host), 1500);
  recorder.close_books();
  EXPECT_EQ(aurec_file_size(host), 0);
  EXPECT_EQ(aurec_total_size(host), 1500);
  recorder.file_open = false;
}

TEST_F(CoreLoop, TimesAreZeroWhileTheRateIsBelowOne) {
  recorder.file_frames = 1000;
  recorder.total_frames = 2000;
  EXPECT_DOUBLE_EQ(aurec_file_time(host), 1000 / 44100.0);
  EXPECT_DOUBLE_EQ(aurec_total_time(host), 2000 / 44100.0);
  for (const float rate : {0.0f, 0.9f, std::nanf("")}) {
    recorder.rate_out = rate;
    EXPECT_EQ(aurec_file_time(host), 0.0);
    EXPECT_EQ(aurec_total_time(host), 0.0);
  }
}

TEST_F(CoreLoop, DescribesTheFileForWorkThatOutlivesIt) {
  recorder.file_frames = 22050;
  recorder.file_index = 3;
  recorder.file_token = &recorder;
  post_proc_data_t data;
  recorder.fill_post_proc_data(&data, true);
  EXPECT_EQ(data.ext_ref, &host);
  EXPECT_EQ(data.aurec, host.rec());
  EXPECT_EQ(data.done_cb, aurec_get_done_callback(host));
  EXPECT_EQ(data.file_token, &recorder);
  EXPECT_EQ(data.type, 77);
  EXPECT_EQ(data.file_index, 3);
  EXPECT_EQ(data.duration, 0.5f);
  EXPECT_TRUE(data.flag);
}

}  // namespace
