// auspool-record as a process that can be killed.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace auspool::testing {

// Records an input over and over, for longer than any test lasts.
class RecorderProcess {
public:
  RecorderProcess(const std::string &input, const std::string &out, const std::vector<std::string> &options) {
    std::vector<std::string> words = {AUSPOOL_RECORD, "--json", "--out", out};
    words.insert(words.end(), options.begin(), options.end());
    words.insert(words.end(), 200, input);
    std::vector<char *> arguments;
    for (std::string &word : words) arguments.push_back(word.data());
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    for (const int fd : {STDOUT_FILENO, STDERR_FILENO})
      posix_spawn_file_actions_addopen(&actions, fd, "/dev/null", O_WRONLY, 0);
    if (posix_spawn(&process_, AUSPOOL_RECORD, &actions, nullptr, arguments.data(), environ) != 0) process_ = -1;
    posix_spawn_file_actions_destroy(&actions);
  }
  RecorderProcess(const RecorderProcess &) = delete;
  RecorderProcess &operator=(const RecorderProcess &) = delete;

  bool running() const { return process_ > 0 && waitpid(process_, nullptr, WNOHANG) == 0; }

  void kill() {
    ::kill(process_, SIGKILL);
    waitpid(process_, nullptr, 0);
  }

  // Waits until a file has so many bytes, and kills the recording at a moment of chance after that.
  void kill_once_there(const std::string &path, std::uintmax_t bytes, unsigned seed) {
    std::error_code none;
    while (running() && (!std::filesystem::exists(path) || std::filesystem::file_size(path, none) < bytes))
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    std::this_thread::sleep_for(std::chrono::microseconds(std::mt19937(seed)() % 20000));
    EXPECT_TRUE(running());
    kill();
  }

private:
  pid_t process_ = -1;
};

}  // namespace auspool::testing
