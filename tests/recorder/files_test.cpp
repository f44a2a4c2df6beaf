// The files of a recording: their names, what keeps them from being opened, and what the host is told.
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>

#include "recorder/bare_recorder.h"
#include "support/pcm_file.h"
#include "support/watch.h"

using namespace auspool;
using namespace auspool::testing;

namespace {

using Names = std::vector<std::string>;

struct Files : ::testing::Test {
  // Starts, and waits until the worker has given up.
  void start_in_vain() {
    ASSERT_EQ(aurec_start(host, 44100.0f), 0);
    host.wait_until([&] { return !aurec_is_active(host); }, "the end");
    EXPECT_EQ(aurec_is_recording(host), 0);
  }

  // The host's own answer for the first file alone.
  void first_path(const std::string &path) {
    host.on_path = [path, count = 0](char *to, void *&, void *, audict **) mutable {
      if (++count == 1) std::snprintf(to, AUREC_PATH_BYTES, "%s", path.c_str());
    };
  }

  void expect_open_error(const std::string &text) {
    ASSERT_EQ(host.errors().size(), 1u);
    EXPECT_EQ(host.errors()[0].code, AuRecErrorOpen);
    EXPECT_EQ(host.errors()[0].text, text);
    EXPECT_EQ(host.errors()[0].file, 1u);
    EXPECT_EQ(host.count("start"), 0u);
    host.on_path = nullptr;
    EXPECT_EQ(host.start(), 0) << "the next start works";
  }

  Host host;
};

TEST_F(Files, AHostThatRefusesEndsTheRecordingWithoutAMessage) {
  host.on_path = [](char *, void *&token, void *, audict **) { token = nullptr; };
  start_in_vain();
  EXPECT_EQ(host.names(), (Names{"state", "path", "state"}));
}

TEST_F(Files, AHostThatRefusesTheNextFileKeepsTheFirst) {
  host.on_path = [count = 0](char *, void *&token, void *, audict **) mutable {
    if (++count == 2) token = nullptr;
  };
  ASSERT_EQ(host.start(), 0);
  const Samples audio = noise(1000, 1);
  host.feed(audio, audio);
  aurec_make_new_file(host);
  host.feed(audio, audio);
  host.wait_until([&] { return !aurec_is_active(host); }, "the end");
  EXPECT_EQ(host.finished().size(), 1u);
  EXPECT_EQ(host.errors().size(), 0u);
  EXPECT_TRUE(read_pcm_file(host.finished()[0]).valid);
}

TEST_F(Files, APathInUseIsAskedForAgainWithTheTokenOfTheFirstAnswer) {
  const std::string taken = host.dir.file("taken");
  write_file(taken, "mine");
  std::vector<void *> previous, tokens;
  host.on_path = [&](char *to, void *&token, void *before, audict **) {
    previous.push_back(before);
    tokens.push_back(token);
    if (tokens.size() <= 2) std::snprintf(to, AUREC_PATH_BYTES, "%s", taken.c_str());
  };
  ASSERT_EQ(host.start(), 0);
  aurec_stop(host);
  EXPECT_EQ(previous, (std::vector<void *>{nullptr, tokens[0], tokens[1]}));
  EXPECT_EQ(host.calls()[1].index, 0);
  EXPECT_EQ(host.calls()[3].index, 0);
  EXPECT_EQ(host.count("start"), 1u);
  EXPECT_EQ(read_file(taken), "mine") << "never written over";
}

TEST_F(Files, APathThatIsInterruptedIsAskedForAgain) {
  std::unique_ptr<CallFailer> failer;
  host.on_path = [&, count = 0](char *, void *&, void *, audict **) mutable {
    if (++count == 1) failer = std::make_unique<CallFailer>("fopen", 1, EINTR);
  };
  ASSERT_EQ(host.start(), 0);
  EXPECT_EQ(host.count("path"), 2u);
  aurec_stop(host);
}

TEST_F(Files, AFailingDiskIsError2) {
  std::unique_ptr<CallFailer> failer;
  host.on_path = [&](char *, void *&, void *, audict **) { failer = std::make_unique<CallFailer>("fopen", 1, EIO); };
  start_in_vain();
  expect_open_error("I/O Error. Please check your disk, it may be failing!");
}

TEST_F(Files, AMissingPermissionIsError2) {
  std::unique_ptr<CallFailer> failer;
  host.on_path = [&](char *, void *&, void *, audict **) { failer = std::make_unique<CallFailer>("fopen", 1, EACCES); };
  start_in_vain();
  expect_open_error("Permission was denied. Please check whether you have write access to your recordings folder.");
}

TEST_F(Files, AFolderThatIsMissingIsError2WithItsNumber) {
  first_path(host.dir.file("missing/file"));
  start_in_vain();
  expect_open_error("The file failed to open for writing. Error: 2");
}

TEST_F(Files, AnEmptyOrEndlessPathIsError2) {
  first_path("");
  start_in_vain();
  expect_open_error("The file failed to open for writing. Error: 2");

  Host other;
  other.on_path = [count = 0](char *to, void *&, void *, audict **) mutable {
    if (++count == 1) std::fill(to, to + AUREC_PATH_BYTES, 'x');
  };
  ASSERT_EQ(aurec_start(other, 44100.0f), 0);
  other.wait_until([&] { return !aurec_is_active(other); }, "the end");
  ASSERT_EQ(other.errors().size(), 1u);
  EXPECT_EQ(other.errors()[0].text, "The file failed to open for writing. Error: " + std::to_string(ENAMETOOLONG));
}

TEST_F(Files, AFolderWithoutPermissionIsRefusedByTheSystemItself) {
  // Root may write everywhere, so a child without privileges tries.
  std::filesystem::permissions(host.dir.path(),
                               std::filesystem::perms::owner_all | std::filesystem::perms::others_exec);
  const pid_t child = fork();
  if (child == 0) {
    if (geteuid() == 0 && (setgid(65534) != 0 || setuid(65534) != 0)) _exit(77);
    if (geteuid() != 0 && access(host.dir.path().c_str(), W_OK) == 0) _exit(77);
    aurec_start(host, 44100.0f);
    while (aurec_is_active(host)) usleep(1000);
    aurec_stop(host);
    const std::vector<Call> errors = host.errors();
    _exit(errors.size() == 1 && errors[0].text.starts_with("Permission was denied.") ? 0 : 1);
  }
  int status = 0;
  waitpid(child, &status, 0);
  if (WEXITSTATUS(status) == 77) GTEST_SKIP() << "privileges cannot be dropped here";
  EXPECT_EQ(WEXITSTATUS(status), 0);
}

TEST_F(Files, AFolderThatVanishesEndsTheRecordingAtTheNextFile) {
  const std::string folder = host.dir.file("folder");
  std::filesystem::create_directory(folder);
  host.on_path = [&, count = 0](char *to, void *&, void *, audict **) mutable {
    std::snprintf(to, AUREC_PATH_BYTES, "%s/%d", folder.c_str(), ++count);
  };
  ASSERT_EQ(host.start(), 0);
  const Samples audio = noise(1000, 1);
  host.feed(audio, audio);
  std::filesystem::remove_all(folder);
  aurec_make_new_file(host);
  host.feed(audio, audio);
  host.wait_until([&] { return !aurec_is_active(host); }, "the end");
  EXPECT_EQ(host.count("done"), 1u) << "the file is complete, though it has no name any more";
  ASSERT_EQ(host.errors().size(), 1u);
  EXPECT_EQ(host.errors()[0].text, "The file failed to open for writing. Error: 2");
  aurec_stop(host);
}

// The recording could not be stopped otherwise.
TEST_F(Files, AHostThatNamesTheSamePathForEverCanStillStop) {
  const std::string taken = host.dir.file("taken");
  write_file(taken, "mine");
  host.on_path = [&](char *to, void *&, void *, audict **) {
    std::snprintf(to, AUREC_PATH_BYTES, "%s", taken.c_str());
  };
  ASSERT_EQ(aurec_start(host, 44100.0f), 0);
  host.wait_until([&] { return host.count("path") > 10; }, "repeated questions");
  aurec_stop(host);
  ASSERT_EQ(host.errors().size(), 1u);
  EXPECT_EQ(host.errors()[0].text, "The file failed to open for writing. Error: " + std::to_string(EEXIST));
  EXPECT_EQ(read_file(taken), "mine");
}

TEST_F(Files, TheTypeAndIndexOfEachFileAreTold) {
  ASSERT_EQ(host.start(), 0);
  for (std::size_t file = 1; file <= 3; ++file) {
    const Samples audio = noise(100, 1);
    host.feed(audio, audio);
    aurec_make_new_file(host);
    host.wait_until([&] { return host.count("start") == file + 1; }, "the next file");
  }
  aurec_stop(host);
  std::vector<std::int32_t> indices;
  for (const Call &call : host.calls()) {
    if (call.name == "path") indices.push_back(call.index);
  }
  EXPECT_EQ(indices, (std::vector<std::int32_t>{0, 1, 2, 3}));
}

TEST_F(Files, AnEmptyFilesIndexComesAgain) {
  ASSERT_EQ(host.start(), 0);
  aurec_make_new_file(host);
  wake_worker(host);
  host.wait_until([&] { return host.count("start") == 2; }, "the second file");
  const Samples audio = noise(100, 1);
  host.feed(audio, audio);
  aurec_stop(host);
  std::vector<std::int32_t> indices;
  for (const Call &call : host.calls()) {
    if (call.name == "path") indices.push_back(call.index);
  }
  EXPECT_EQ(indices, (std::vector<std::int32_t>{0, 0}));
  ASSERT_EQ(host.errors().size(), 1u);
  EXPECT_EQ(host.errors()[0].text, "empty file, deleted");
  EXPECT_EQ(host.errors()[0].file, 1u);
  EXPECT_FALSE(std::filesystem::exists(host.path_of(1)));
  EXPECT_EQ(host.finished(), Names{host.path_of(2)});
}

// What the interface promises of the list, read both ways.
TEST_F(Files, TheHostFindsTheAddressOfTheListOfValues) {
  static std::string text;
  static std::string format_seen;
  aurec *const rec = aurec_create(
      nullptr, [](void *, void *, char *, std::int32_t, std::int32_t, audict **) -> void * { return nullptr; }, nullptr,
      nullptr, nullptr,
      [](void *, void *, std::int32_t, const char *format, va_list args) {
        format_seen = format;
        char line[100];
        va_list *const values = va_arg(args, va_list *);
        std::vsnprintf(line, sizeof line, format, *values);
        text = line;
      });
  BareRecorder &recorder = BareRecorder::on(rec);
  recorder.log_error(AuRecErrorOpen, "The file failed to open for writing. Error: %d", 28);
  EXPECT_EQ(format_seen, "The file failed to open for writing. Error: %d");
  EXPECT_EQ(text, "The file failed to open for writing. Error: 28");
  aurec_destroy(rec);
}

TEST_F(Files, ADirectCallOfTheErrorCallbackPassesItsValuesOn) {
  static std::string text;
  aurec *const rec = aurec_create(
      nullptr, [](void *, void *, char *, std::int32_t, std::int32_t, audict **) -> void * { return nullptr; }, nullptr,
      nullptr, nullptr,
      [](void *, void *, std::int32_t, const char *format, va_list args) {
        char line[100];
        std::vsnprintf(line, sizeof line, format, args);
        text = line;
      });
  aurec_call_error_log_cb(rec, nullptr, 7, "%s %d", "seven", 7);
  EXPECT_EQ(text, "seven 7");
  aurec_destroy(rec);
}

}  // namespace
