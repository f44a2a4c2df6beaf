#include "platform/thread.h"

#include <csignal>

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

  const pthread_attr_t *get() const { return &attributes_; }

private:
  pthread_attr_t attributes_;
};

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

}  // namespace auspool::platform
