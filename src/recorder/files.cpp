// The files of a recording: their names, creation and end. The worker's.
#include <unistd.h>

#include <cerrno>

#include "platform/file_kind.h"
#include "recorder/aurec_record.h"
#include "recorder/recorder.h"

namespace auspool {

// Gets the next file from the host. Null ends the recording: the host refused, or the file failed to open.
FilePtr Recorder::open_fp(TagsOfFile &tags) {
  void *previous = nullptr;
  for (;;) {
    file_token = nullptr;
    path[0] = '\0';
    file_token = aurec_call_path_cb(aurec, previous, path, type(), file_index, tags.out());
    path[sizeof path - 1] = '\0';
    if (!file_token) break;

    FilePtr file(std::fopen(path, "w+xe"));  // x: never over a file that exists; e: not for the host's children
    if (file) {
      set_file_ostype_creator(path);
      aurec_call_start_cb(aurec, file_token);
      return file;
    }
    const int error = errno;
    tags.clear();
    if (!may_ask_again(error)) {
      log_open_error(error);
      break;
    }
    previous = file_token;
  }
  recording.store(false, std::memory_order_relaxed);
  started = false;
  return nullptr;
}

// A host that names only files that exist must not hold up the end for ever.
bool Recorder::may_ask_again(int error) {
  constexpr int kPatience = 1000;
  if (error != EINTR && error != EEXIST) return false;
  return !stop_requested || ++refusals_after_stop <= kPatience;
}

void Recorder::log_open_error(int error) {
  switch (error) {
  case EIO:
    log_error(AuRecErrorOpen, "I/O Error. Please check your disk, it may be failing!");
    break;
  case EACCES:
    log_error(AuRecErrorOpen,
              "Permission was denied. Please check whether you have write access to your recordings folder.");
    break;
  default:
    log_error(AuRecErrorOpen, "The file failed to open for writing. Error: %d", error);
  }
}

void Recorder::set_file_ostype_creator(const char *file_path) const {
  platform::set_file_kind(file_path, os_type(), creator());
}

void Recorder::begin_file(std::FILE *file) {
  {
    const std::lock_guard lock(fd_lock);
    fd = fileno(file);
  }
  file_frames = 0;
  size_at_last_look = -1;
  file_open = true;
  recording.store(true, std::memory_order_release);  // the audio thread sees all that was set up
}

void Recorder::close_books() {
  const std::lock_guard lock(fd_lock);
  total_bytes = total_bytes + size_on_disk();
  fd = -1;
}

bool Recorder::delete_empty_file() {
  if (file_frames != 0) return false;
  unlink(path);
  log_error(AuRecErrorNoAudio, "empty file, deleted");
  return true;
}

bool Recorder::keep_or_delete_file() {
  if (delete_empty_file()) return false;
  file_done();
  return true;
}

void Recorder::file_finalize() {
  aurec_call_finalize_cb(aurec, file_token);
}
void Recorder::file_done() {
  aurec_call_done_cb(aurec, file_token);
}

void Recorder::fill_post_proc_data(post_proc_data_t *data, bool flag) const {
  data->ext_ref = aurec_get_ext_ref(aurec);
  data->aurec = aurec;
  data->done_cb = aurec_get_done_callback(aurec);
  data->file_token = file_token;
  data->type = type();
  data->file_index = file_index;
  data->duration = static_cast<float>(file_frames) / rate_out;
  data->flag = flag;
}

// The host finds one argument: the address of our list. On some processors a va_list cannot be passed itself.
void Recorder::log_error(AuRecErrorCode code, const char *format, ...) {
  va_list values;
  va_start(values, format);
  aurec_call_error_log_cb(aurec, file_token, code, format, &values);
  va_end(values);
}

}  // namespace auspool
