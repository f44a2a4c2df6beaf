#include "support/recording_host.h"

#include <chrono>
#include <cstdarg>
#include <cstdio>

namespace auspool::testing {
namespace {

// A token is the number of the file.
void *token_of(std::size_t file) {
  return reinterpret_cast<void *>(file);
}
std::size_t file_of(void *token) {
  return reinterpret_cast<std::size_t>(token);
}

Host &host_of(void *ref) {
  return *static_cast<Host *>(ref);
}

}  // namespace

Host::Host(AuRecOutputType type) {
  calls_.reserve(100);  // so that noting a call takes no memory where a test lets allocations fail
  rec_ = aurec_create(this, path, started, finalized, done, error);
  aurec_set_state_changed_cb(rec_, state_changed);
  aurec_set_output_type(rec_, type);
}

Host::~Host() {
  destroy();
}

void Host::destroy() {
  aurec_destroy(rec_);
  rec_ = nullptr;
}

std::int32_t Host::start(float rate) {
  const std::int32_t result = aurec_start(rec_, rate);
  if (result == 0 && rate != 0.0f) wait_until_recording();
  return result;
}

void Host::wait_until_recording() {
  wait_until([&] { return aurec_is_recording(rec_) != 0; }, "recording");
}

void Host::wait_until_ring_is_empty() {
  wait_until([&] { return aurec_buffer_available_space(rec_) == aurec_buffer_size(rec_); }, "an empty ring");
}

void Host::wait_until(const std::function<bool()> &done, const char *what) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (!done()) {
    if (std::chrono::steady_clock::now() > deadline) {
      ADD_FAILURE() << "waited in vain for " << what;
      return;
    }
    std::this_thread::sleep_for(std::chrono::microseconds(200));
  }
}

std::int32_t Host::record(const Samples &left, const Samples &right, float rate) {
  const float *const channels[2] = {left.data(), right.data()};
  return aurec_record(rec_, rate, channels, static_cast<std::int32_t>(left.size()));
}

void Host::feed(const Samples &left, const Samples &right, float rate, std::size_t block) {
  for (std::size_t at = 0; at < left.size(); at += block) {
    const std::size_t count = std::min(block, left.size() - at);
    const auto needed = static_cast<std::int32_t>(8 * count);
    wait_until([&] { return aurec_buffer_available_space(rec_) >= needed; }, "room in the ring");
    const float *const channels[2] = {left.data() + at, right.data() + at};
    ASSERT_EQ(aurec_record(rec_, rate, channels, static_cast<std::int32_t>(count)), 0);
  }
}

std::vector<Call> Host::calls() const {
  const std::lock_guard lock(mutex_);
  return calls_;
}

std::vector<std::string> Host::names() const {
  std::vector<std::string> result;
  for (const Call &call : calls()) result.push_back(call.name);
  return result;
}

std::vector<Call> Host::errors() const {
  std::vector<Call> result;
  for (const Call &call : calls()) {
    if (call.name == "error") result.push_back(call);
  }
  return result;
}

std::size_t Host::count(const std::string &name) const {
  std::size_t result = 0;
  for (const Call &call : calls()) result += call.name == name;
  return result;
}

std::vector<std::string> Host::finished() const {
  std::vector<std::string> result;
  for (const Call &call : calls()) {
    if (call.name == "done") result.push_back(path_of(call.file));
  }
  return result;
}

void Host::note(Call call) {
  call.thread = std::this_thread::get_id();
  {
    const std::lock_guard lock(mutex_);
    calls_.push_back(call);
  }
  if (on_call) on_call(call);
}

void *Host::path(void *ref, void *previous, char *path, std::int32_t, std::int32_t index, audict **tags) {
  Host &host = host_of(ref);
  const std::size_t file = ++host.files_;
  host.note({.name = "path", .thread = {}, .file = file, .index = index, .code = 0, .text = {}, .format = {}});
  std::snprintf(path, AUREC_PATH_BYTES, "%s", host.path_of(file).c_str());
  void *token = token_of(file);
  if (host.on_path) host.on_path(path, token, previous, tags);
  return token;
}

std::int32_t Host::started(void *ref, void *token) {
  host_of(ref).note(
      {.name = "start", .thread = {}, .file = file_of(token), .index = 0, .code = 0, .text = {}, .format = {}});
  return 0;
}

std::int32_t Host::finalized(void *ref, void *token) {
  host_of(ref).note(
      {.name = "finalize", .thread = {}, .file = file_of(token), .index = 0, .code = 0, .text = {}, .format = {}});
  return 0;
}

std::int32_t Host::done(void *ref, void *token) {
  host_of(ref).note(
      {.name = "done", .thread = {}, .file = file_of(token), .index = 0, .code = 0, .text = {}, .format = {}});
  return 0;
}

void Host::error(void *ref, void *token, std::int32_t code, const char *format, va_list args) {
  char text[300];
  va_list *const values = va_arg(args, va_list *);
  std::vsnprintf(text, sizeof text, format, *values);
  host_of(ref).note({.name = "error",
                     .thread = {},
                     .file = file_of(token),
                     .index = 0,
                     .code = code,
                     .text = text,
                     .format = format});
}

void Host::state_changed(void *ref) {
  host_of(ref).note({.name = "state", .thread = {}, .file = 0, .index = 0, .code = 0, .text = {}, .format = {}});
}

}  // namespace auspool::testing
