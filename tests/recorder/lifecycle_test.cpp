// From aurec_create to aurec_destroy: states, callbacks, threads, failures.
#include <atomic>

#include "recorder/bare_recorder.h"
#include "support/pcm_file.h"
#include "support/watch.h"

using namespace auspool;
using namespace auspool::testing;

namespace {

using Names = std::vector<std::string>;

void *refuse(void *, void *, char *, std::int32_t, std::int32_t, audict **) {
  return nullptr;
}

TEST(Aurec, NeedsAPathCallback) {
  EXPECT_EQ(aurec_create(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr), nullptr);
}

TEST(Aurec, ACreationWithoutMemoryGivesNullAndLeavesNothing) {
  EXPECT_GE(fail_each_allocation([] {
              aurec *const rec = aurec_create(nullptr, refuse, nullptr, nullptr, nullptr, nullptr);
              aurec_destroy(rec);
              return rec != nullptr;
            }),
            4);
}

TEST(Aurec, DestroyAcceptsNull) {
  aurec_destroy(nullptr);
}

TEST(Aurec, WithoutARecordingEverythingIsZero) {
  Host host;
  const Samples block(10);
  EXPECT_EQ(host.record(block, block), 0);
  aurec_pause(host, 1);
  aurec_make_new_file(host);
  aurec_stop(host);
  EXPECT_EQ(aurec_is_recording(host), 0);
  EXPECT_EQ(aurec_is_active(host), 0);
  EXPECT_EQ(aurec_has_active_files(host), 0);
  EXPECT_EQ(aurec_is_paused(host), 0);
  EXPECT_EQ(aurec_file_size(host), 0);
  EXPECT_EQ(aurec_total_size(host), 0);
  EXPECT_EQ(aurec_file_time(host), 0.0);
  EXPECT_EQ(aurec_total_time(host), 0.0);
  EXPECT_EQ(aurec_buffer_available_space(host), 0);
  EXPECT_EQ(host.names(), Names());
}

TEST(Aurec, CallsBackInOrderAndOnTheRightThreads) {
  Host host;
  ASSERT_EQ(host.start(), 0);
  EXPECT_EQ(aurec_is_active(host), 1);
  EXPECT_EQ(aurec_has_active_files(host), 1);
  const Samples audio = noise(5000, 1);
  host.feed(audio, audio);
  aurec_stop(host);
  EXPECT_EQ(host.names(), (Names{"state", "path", "start", "done", "state", "state"}));
  const std::vector<Call> calls = host.calls();
  const std::thread::id worker = calls[0].thread, control = std::this_thread::get_id();
  EXPECT_NE(worker, control);
  for (std::size_t i = 0; i < 5; ++i) EXPECT_EQ(calls[i].thread, worker) << i;
  EXPECT_EQ(calls[5].thread, control) << "that the recorder is gone is told on the control thread";
  EXPECT_EQ(aurec_is_active(host), 0);
  EXPECT_EQ(aurec_buffer_available_space(host), 0) << "the ring is released";
}

TEST(Aurec, CallbacksThatAreNullAreLeftOut) {
  TempDir dir;
  std::string path = dir.file("only");
  aurec *const rec = aurec_create(
      &path,
      [](void *ref, void *, char *to, std::int32_t, std::int32_t, audict **) -> void * {
        std::snprintf(to, AUREC_PATH_BYTES, "%s", static_cast<std::string *>(ref)->c_str());
        return ref;
      },
      nullptr, nullptr, nullptr, nullptr);
  ASSERT_EQ(aurec_start(rec, 44100.0f), 0);
  while (!aurec_is_recording(rec)) std::this_thread::yield();
  aurec_destroy(rec);
  EXPECT_FALSE(std::filesystem::exists(path)) << "empty, deleted, and told to nobody";
}

TEST(Aurec, TheStateIsKnownInTheFirstStateCallback) {
  std::atomic<int> active{-1};
  Host host;
  host.on_call = [&](const Call &call) {
    if (call.name == "state" && active < 0) active = aurec_is_active(host);
  };
  ASSERT_EQ(host.start(), 0);
  EXPECT_EQ(active, 1);
}

TEST(Aurec, StoppingWithoutAudioAtAnUnknownRateIsError1AndMakesNoFile) {
  Host host;
  ASSERT_EQ(host.start(0), 0);
  EXPECT_EQ(aurec_is_active(host), 1);
  EXPECT_EQ(aurec_is_recording(host), 0);
  aurec_stop(host);
  ASSERT_EQ(host.errors().size(), 1u);
  EXPECT_EQ(host.errors()[0].code, AuRecErrorNoAudio);
  EXPECT_EQ(host.errors()[0].text, "An audio recording could not be created, because no audio was ever received.");
  EXPECT_EQ(host.names(), (Names{"state", "error", "state", "state"}));
}

TEST(Aurec, AtAnUnknownRateTheFirstBlockIsLostAndTheSecondRecorded) {
  for (const float rate : {0.0f, 0.5f, -1.0f, std::nanf(""), std::numeric_limits<float>::infinity()}) {
    Host host;
    ASSERT_EQ(aurec_start(host, rate), 0);
    EXPECT_EQ(host.record(noise(100, 1), noise(100, 1), 32000), 0);
    host.wait_until_recording();
    const Samples second = noise(200, 2);
    EXPECT_EQ(host.record(second, second, 32000), 0);
    aurec_stop(host);
    ASSERT_EQ(host.finished().size(), 1u);
    const PcmFile file = read_pcm_file(host.finished()[0]);
    EXPECT_EQ(file.rate, 32000);
    EXPECT_EQ(file.samples, integers_of(second, second, 16));
  }
}

// The worker looks at the request first when both come in one wait.
TEST(Aurec, AStopTogetherWithTheFirstBlockIsStillError1) {
  Host host;
  BareRecorder &recorder = BareRecorder::on(host);
  ASSERT_EQ(recorder.start(0), 0);
  // Asleep by now, or else about to be: either way it looks at the rate only after this.
  host.wait_until([&] { return host.count("state") == 1; }, "the worker");
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  recorder.request_stop();
  host.record(noise(10, 1), noise(10, 1));
  host.wait_until([&] { return !recorder.is_active(); }, "the end");
  ASSERT_EQ(host.errors().size(), 1u);
  EXPECT_EQ(host.errors()[0].code, AuRecErrorNoAudio);
}

TEST(Aurec, AStopAtOnceMakesAnEmptyFileThatIsDeleted) {
  Host host;
  ASSERT_EQ(host.start(), 0);
  aurec_stop(host);
  EXPECT_EQ(host.names(), (Names{"state", "path", "start", "error", "state", "state"}));
  EXPECT_EQ(host.errors()[0].code, AuRecErrorNoAudio);
  EXPECT_EQ(host.errors()[0].text, "empty file, deleted");
  EXPECT_FALSE(std::filesystem::exists(host.path_of(1)));
}

TEST(Aurec, AStartEndsTheRecordingBefore) {
  Host host;
  for (int i = 0; i < 3; ++i) {
    ASSERT_EQ(host.start(), 0);
    host.feed(noise(1000, 1), noise(1000, 2));
    if (i == 0) host.wait_until([&] { return aurec_total_time(host) > 0; }, "frames");
    if (i == 2) {
      EXPECT_EQ(host.finished().size(), 2u);
    }
  }
  host.destroy();
  EXPECT_EQ(host.finished().size(), 3u) << "so does aurec_destroy";
}

TEST(Aurec, TotalsStartAnewWithEachRecording) {
  Host host;
  ASSERT_EQ(host.start(), 0);
  host.feed(noise(44100, 1), noise(44100, 2));
  // With a block in the worker's hands the cut would come that block early.
  host.wait_until_ring_is_empty();
  aurec_make_new_file(host);
  // The name is asked for before the counts of the file start anew.
  host.wait_until([&] { return host.count("start") == 2 && aurec_file_time(host) == 0; }, "the second file");
  EXPECT_EQ(aurec_total_size(host) - aurec_file_size(host), 54 + 4 * 44100);
  EXPECT_DOUBLE_EQ(aurec_total_time(host), 1.0);
  ASSERT_EQ(host.start(), 0);
  EXPECT_EQ(aurec_total_size(host), aurec_file_size(host));
  EXPECT_EQ(aurec_total_time(host), 0.0);
}

TEST(Aurec, PauseTellsOfEachChangeAndLosesOnlyWhatComesMeanwhile) {
  Host host;
  ASSERT_EQ(host.start(), 0);
  const std::size_t states = host.count("state");
  const Samples first = noise(1000, 1), paused = noise(1000, 2), last = noise(1000, 3);
  host.feed(first, first);
  aurec_pause(host, 2);
  aurec_pause(host, 1);
  EXPECT_EQ(aurec_is_paused(host), 1);
  EXPECT_EQ(host.count("state"), states + 1);
  EXPECT_EQ(host.record(paused, paused), 0);
  aurec_pause(host, 0);
  EXPECT_EQ(aurec_is_paused(host), 0);
  EXPECT_EQ(host.count("state"), states + 2);
  host.feed(last, last);
  aurec_stop(host);
  Samples expected = first;
  expected.insert(expected.end(), last.begin(), last.end());
  EXPECT_EQ(read_pcm_file(host.finished()[0]).samples, integers_of(expected, expected, 16));
}

TEST(Aurec, AThreadThatCannotBeStartedIsMinus1) {
  Host host;
  {
    const CallFailer failer("pthread_create", 0, 11 /* EAGAIN */);
    EXPECT_EQ(aurec_start(host, 44100.0f), -1);
  }
  EXPECT_EQ(aurec_is_active(host), 0);
  EXPECT_EQ(aurec_buffer_available_space(host), 0);
  EXPECT_EQ(host.names(), (Names{"state", "state"})) << "the failed start, and the end of the recorder";
  EXPECT_EQ(host.start(), 0) << "the next start works";
}

TEST(Aurec, ARingThatCannotBeAllocatedIsMinus2) {
  Host host;
  aurec_set_buffer_size(host, 52428800);
  {
    const AllocationFailer failer(1);
    EXPECT_EQ(aurec_start(host, 44100.0f), -2);
  }
  EXPECT_EQ(host.names(), Names());
  EXPECT_EQ(host.start(), 0);
}

TEST(Aurec, AnUnknownTypeIsMinus3) {
  Host host;
  host.rec()->output_type = 6;
  EXPECT_EQ(aurec_start(host, 44100.0f), -3);
  EXPECT_EQ(aurec_buffer_available_space(host), 0);
}

TEST(Aurec, AStartWithoutMemoryLeavesTheRecordUsable) {
  aurec *const rec = aurec_create(nullptr, refuse, nullptr, nullptr, nullptr, nullptr);
  const int failures = fail_each_allocation([&] {
    const std::int32_t result = aurec_start(rec, 44100.0f);
    EXPECT_TRUE(result == 0 || result == -2) << result;
    aurec_stop(rec);
    return result == 0;
  });
  EXPECT_EQ(failures, 2) << "the ring and the recorder";
  aurec_destroy(rec);
}

TEST(Aurec, TheWorkerGetsTheStackThatAFormatWishes) {
  std::atomic<bool> deep{false};
  Host host;
  BareRecorder &recorder = BareRecorder::on(host);
  recorder.stack = 64 << 20;
  recorder.core = [&] {
    volatile char area[32 << 20];
    area[0] = 1;
    area[sizeof area - 1] = 1;
    deep = area[0] == 1;
    recorder.end_recording();
  };
  ASSERT_EQ(recorder.start(44100.0f), 0);
  host.wait_until([&] { return deep.load(); }, "the end of the deep call");
}

TEST(Aurec, CountsBackgroundJobs) {
  Host host;
  aurec_thread_count_decrement(host);
  EXPECT_EQ(aurec_has_active_files(host), 0);
  aurec_thread_count_increment(host);
  EXPECT_EQ(aurec_has_active_files(host), 1) << "below 0 it never went";
  aurec_thread_count_decrement(host);
  EXPECT_EQ(aurec_has_active_files(host), 0);
}

TEST(Aurec, DestroyWaitsForBackgroundJobs) {
  std::atomic<bool> finished{false};
  Host host;
  aurec_thread_count_increment(host);
  std::thread job([&, rec = host.rec()] {
    std::this_thread::sleep_for(std::chrono::milliseconds(150));
    aurec_call_done_cb(rec, reinterpret_cast<void *>(5));
    finished = true;
    aurec_thread_count_decrement(rec);
  });
  host.destroy();
  EXPECT_TRUE(finished);
  EXPECT_EQ(host.count("done"), 1u);
  job.join();
}

TEST(Aurec, GivesJobsTheHostsReferenceAndCallback) {
  Host host;
  EXPECT_EQ(aurec_get_ext_ref(host), &host);
  aurec_get_done_callback(host)(aurec_get_ext_ref(host), nullptr);
  aurec_call_start_cb(host, nullptr);
  aurec_call_finalize_cb(host, nullptr);
  aurec_call_state_changed_cb(host);
  EXPECT_EQ(host.names(), (Names{"done", "start", "finalize", "state"}));
  aurec_set_state_changed_cb(host, nullptr);
  aurec_call_state_changed_cb(host);
  EXPECT_EQ(host.names().size(), 4u);
}

// A stop there would wait for the callback it is called from.
TEST(Aurec, AStopInACallbackOfTheWorkerOnlyAsksForTheEnd) {
  Host host;
  host.on_call = [&](const Call &call) {
    if (call.name != "start") return;
    aurec_stop(host);
    EXPECT_EQ(aurec_start(host, 44100.0f), -1);
  };
  ASSERT_EQ(aurec_start(host, 44100.0f), 0);
  host.wait_until([&] { return !aurec_is_active(host); }, "the end");
  EXPECT_EQ(host.errors().size(), 1u) << "an empty file";
  aurec_stop(host);
  host.on_call = nullptr;
  EXPECT_EQ(host.start(), 0);
}

TEST(Aurec, AStopInTheStateCallbackOfAStopIsNothing) {
  Host host;
  ASSERT_EQ(host.start(), 0);
  const std::thread::id control = std::this_thread::get_id();
  host.on_call = [&](const Call &call) {
    if (call.thread != control) return;
    aurec_stop(host);
    EXPECT_EQ(aurec_start(host, 44100.0f), -1);
  };
  aurec_stop(host);
  host.on_call = nullptr;
  EXPECT_EQ(host.start(), 0);
}

TEST(Aurec, AStopInTheStateCallbackOfAFailedStartIsHarmless) {
  Host host;
  host.on_call = [&](const Call &) { aurec_stop(host); };
  const CallFailer failer("pthread_create");
  EXPECT_EQ(aurec_start(host, 44100.0f), -1);
  host.on_call = nullptr;
}

}  // namespace
