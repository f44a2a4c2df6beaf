#include "platform/thread.h"

#include <sched.h>

#include <cerrno>
#include <csignal>
#include <memory>
#include <new>

namespace auspool::platform {
namespace {

class Attributes {
public:
  Attributes() { pthread_attr_init(&attributes_); }
  ~Attributes() { pthread_attr_destroy(&attributes_); }
  Attributes(const Attributes &) = delete;
  Attributes &operator=(const Attributes &) = delete;

  void raise_stack_to(std::size_t bytes) {
    std::size_t present = 0;
    pthread_attr_getstacksize(&attributes_, &present);
    if (bytes > present) pthread_attr_setstacksize(&attributes_, bytes);
  }

  void block_all_signals() {
    sigset_t all;
    sigfillset(&all);
    pthread_attr_setsigmask_np(&attributes_, &all);
  }

  void detach() { pthread_attr_setdetachstate(&attributes_, PTHREAD_CREATE_DETACHED); }

  const pthread_attr_t *get() const { return &attributes_; }

private:
  pthread_attr_t attributes_;
};

struct Task {
  const char *name;
  void (*run)(void *);
  void *argument;
};

void *run_task(void *task) {
  const Task own = *std::unique_ptr<Task>(static_cast<Task *>(task));
  pthread_setname_np(pthread_self(), own.name);
  own.run(own.argument);
  return nullptr;
}

}  // namespace

bool Thread::start(const char *name, std::size_t stack_bytes, void (*run)(void *), void *argument) {
  run_ = run;
  argument_ = argument;
  Attributes attributes;
  attributes.raise_stack_to(stack_bytes);
  attributes.block_all_signals();
  started_ = pthread_create(&thread_, attributes.get(), enter, this) == 0;
  if (started_) pthread_setname_np(thread_, name);
  return started_;
}

void Thread::join() {
  if (!started_) return;
  pthread_join(thread_, nullptr);
  started_ = false;
}

void *Thread::enter(void *self) {
  const Thread &thread = *static_cast<Thread *>(self);
  thread.run_(thread.argument_);
  return nullptr;
}

bool prefer_this_thread() {
  const sched_param lowest{sched_get_priority_min(SCHED_FIFO)};  // behind those that play
  return pthread_setschedparam(pthread_self(), SCHED_FIFO, &lowest) == 0;
}

int start_detached(const char *name, void (*run)(void *), void *argument) {
  std::unique_ptr<Task> task(new (std::nothrow) Task{name, run, argument});
  if (!task) return ENOMEM;
  Attributes attributes;
  attributes.block_all_signals();
  attributes.detach();
  pthread_t thread;
  const int error = pthread_create(&thread, attributes.get(), run_task, task.get());
  if (error != 0) return error;
  (void)task.release();  // the thread's
  return 0;
}

}  // namespace auspool::platform
