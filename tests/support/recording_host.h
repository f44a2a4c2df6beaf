// A host of a record, as the tests need it: it names files in a folder of its own, notes every callback, and feeds
// audio.
#pragma once

#include <gtest/gtest.h>

#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "auspool/aurec.h"
#include "support/signals.h"
#include "support/temp_dir.h"

namespace auspool::testing {

struct Call {
  std::string name;  // path, start, finalize, done, error, state
  std::thread::id thread;
  std::size_t file = 0;  // which file of the host's, from 1; 0 for none
  std::int32_t index = 0;
  std::int32_t code = 0;
  std::string text;    // of an error, with its values
  std::string format;  // of an error, as it came
};

class Host {
public:
  // `extension` of the files' names.
  explicit Host(AuRecOutputType type = AuRecOutputTypeAIFF);
  ~Host();
  Host(const Host &) = delete;
  Host &operator=(const Host &) = delete;

  aurec *rec() const { return rec_; }
  operator aurec *() const { return rec_; }

  // Starts and waits until blocks are kept. Returns what aurec_start returned.
  std::int32_t start(float rate = 44100.0f);
  void wait_until_recording();
  // Waits until `done` holds; fails the test after ten seconds.
  void wait_until(const std::function<bool()> &done, const char *what);
  void wait_until_ring_is_empty();
  void destroy();

  // Feeds in blocks of `block` frames and waits whenever the ring has no room for the next one.
  void feed(const Samples &left, const Samples &right, float rate = 44100.0f, std::size_t block = 512);
  // One block as it is.
  std::int32_t record(const Samples &left, const Samples &right, float rate = 44100.0f);

  std::vector<Call> calls() const;
  std::vector<std::string> names() const;  // of all calls
  std::vector<Call> errors() const;
  std::size_t count(const std::string &name) const;
  std::string path_of(std::size_t file) const { return dir.file("take-" + std::to_string(file)); }
  // The files that done_cb told of, in order.
  std::vector<std::string> finished() const;

  TempDir dir;
  // Runs at the end of each path callback and may change its answer: path and token.
  std::function<void(char *path, void *&token, void *previous, audict **tags)> on_path;
  // Runs after a call is noted, on the thread of the call.
  std::function<void(const Call &)> on_call;

private:
  void note(Call call);
  static void *path(void *ref, void *previous, char *path, std::int32_t type, std::int32_t index, audict **tags);
  static std::int32_t started(void *ref, void *token);
  static std::int32_t finalized(void *ref, void *token);
  static std::int32_t done(void *ref, void *token);
  static void error(void *ref, void *token, std::int32_t code, const char *format, va_list args);
  static void state_changed(void *ref);

  mutable std::mutex mutex_;
  std::vector<Call> calls_;
  std::size_t files_ = 0;
  aurec *rec_ = nullptr;
};

}  // namespace auspool::testing
