#include "support/sound_server.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>

namespace auspool::testing {
namespace {

constexpr const char *kServerConfiguration = R"(
context.properties = {
    core.daemon = true  core.name = pipewire-0  support.dbus = false  mem.warn-mlock = false  log.level = 1
    default.clock.rate = 48000  default.clock.allowed-rates = [ 44100 48000 96000 ]
    default.clock.quantum = 1024  default.clock.min-quantum = 32  default.clock.max-quantum = 8192
}
context.spa-libs = { audio.convert.* = audioconvert/libspa-audioconvert  support.* = support/libspa-support }
context.modules = [
    { name = libpipewire-module-rt  flags = [ ifexists nofail ] }
    { name = libpipewire-module-protocol-native }
    { name = libpipewire-module-metadata }
    { name = libpipewire-module-spa-node-factory }
    { name = libpipewire-module-client-node }
    { name = libpipewire-module-client-device }
    { name = libpipewire-module-access }
    { name = libpipewire-module-adapter }
    { name = libpipewire-module-link-factory }
    { name = libpipewire-module-session-manager }
]
context.objects = [
    { factory = spa-node-factory  args = { factory.name = support.node.driver  node.name = Dummy-Driver
        node.group = pipewire.dummy  priority.driver = 20000 } }
    { factory = spa-node-factory  args = { factory.name = support.node.driver  node.name = Freewheel-Driver
        node.group = pipewire.freewheel  node.freewheel = true  priority.driver = 19000 } }
    { factory = adapter  args = { factory.name = support.null-audio-sink  node.name = main
        node.description = "Main speakers"  media.class = Audio/Sink  priority.session = 200
        audio.channels = 2  audio.position = [ FL FR ]  object.linger = true } }
    { factory = adapter  args = { factory.name = support.null-audio-sink  node.name = other
        node.description = "Other speakers"  media.class = Audio/Sink  priority.session = 100
        audio.channels = 2  audio.position = [ FL FR ]  object.linger = true } }
    { factory = adapter  args = { factory.name = support.null-audio-sink  node.name = quad
        node.description = "Four speakers"  media.class = Audio/Sink  priority.session = 50
        audio.channels = 4  audio.position = [ FL FR RL RR ]  object.linger = true } }
    { factory = adapter  args = { factory.name = support.null-audio-sink  node.name = line
        node.description = "Line in"  media.class = Audio/Source/Virtual  priority.session = 300
        audio.channels = 2  audio.position = [ FL FR ]  object.linger = true } }
]
)";

constexpr const char *kManagerConfiguration = R"(
context.properties = { log.level = 1  wireplumber.script-engine = lua-scripting }
context.spa-libs = { audio.convert.* = audioconvert/libspa-audioconvert  support.* = support/libspa-support }
context.modules = [
  { name = libpipewire-module-protocol-native }
  { name = libpipewire-module-client-node }
  { name = libpipewire-module-client-device }
  { name = libpipewire-module-adapter }
  { name = libpipewire-module-metadata }
  { name = libpipewire-module-session-manager }
]
wireplumber.components = [
  { name = libwireplumber-module-lua-scripting, type = module }
  { name = policy.lua, type = config/lua }
]
)";

// Policy alone: defaults, and links between streams and devices.
constexpr const char *kPolicy = R"(
components = {}
local function add(name, kind, args)
  components[name] = { name, type = kind, args = args }
end
add("libwireplumber-module-metadata", "module", { ["metadata.name"] = "default" })
add("libwireplumber-module-default-nodes-api", "module")
add("libwireplumber-module-mixer-api", "module")
add("libwireplumber-module-si-node", "module")
add("libwireplumber-module-si-audio-adapter", "module")
add("libwireplumber-module-si-standard-link", "module")
add("libwireplumber-module-si-audio-endpoint", "module")
add("libwireplumber-module-default-nodes", "module", { ["use-persistent-storage"] = false })
add("create-item.lua", "script/lua")
add("policy-node.lua", "script/lua", { ["move"] = true, ["follow"] = true, ["audio.no-dsp"] = false })
add("access/access-default.lua", "script/lua", { rules = {} })
)";

// To the end of the test, and no program of this process reaches the desktop's server or bus by accident.
void set_environment(const std::filesystem::path &dir) {
  for (const char *const name : {"XDG_RUNTIME_DIR", "PIPEWIRE_RUNTIME_DIR", "XDG_STATE_HOME", "XDG_CONFIG_HOME"}) {
    setenv(name, dir.c_str(), 1);
  }
  setenv("DBUS_SESSION_BUS_ADDRESS", "disabled:", 1);
  setenv("DBUS_SYSTEM_BUS_ADDRESS", "disabled:", 1);
  unsetenv("PIPEWIRE_REMOTE");
}

[[noreturn]] void become(const std::vector<std::string> &command, const std::string &log) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  const int out = open(log.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
  dup2(out, 1);
  dup2(out, 2);
  std::vector<char *> arguments;
  for (const std::string &argument : command) arguments.push_back(const_cast<char *>(argument.c_str()));
  arguments.push_back(nullptr);
  execvp(arguments[0], arguments.data());
  _exit(127);
}

}  // namespace

// ---- Programs in the background ----

Background::Background(const std::vector<std::string> &command, const std::string &log) {
  start(command, log);
}

void Background::start(const std::vector<std::string> &command, const std::string &log) {
  end();
  pid_ = fork();
  if (pid_ == 0) become(command, log);
}

void Background::end(int signal) {
  if (pid_ <= 0) return;
  ::kill(pid_, signal);
  waitpid(pid_, nullptr, 0);
  pid_ = 0;
}

void Background::signal(int number) const {
  if (pid_ > 0) ::kill(pid_, number);
}

// ---- The server ----

SoundServer::SoundServer(NotYet) {
  set_environment(dir_.path());
  write_configuration();
}

SoundServer::SoundServer() : SoundServer(NotYet()) {
  start();
}

void SoundServer::write_configuration() {
  std::filesystem::create_directory(dir_.path() / "policy.lua.d");
  write_file(file("server.conf"), kServerConfiguration);
  write_file(file("manager.conf"), kManagerConfiguration);
  write_file(file("policy.lua.d/10-policy.lua"), kPolicy);
}

void SoundServer::start() {
  start_server();
  if (!::testing::Test::HasFatalFailure()) start_manager();
}

void SoundServer::start_server() {
  const std::string here = dir_.path().string();
  server_.start({"env", "PIPEWIRE_CONFIG_DIR=" + here, "pipewire", "-c", "server.conf"}, file("server.log"));
  ASSERT_TRUE(eventually([&] { return std::filesystem::exists(file("pipewire-0")); })) << read_file(file("server.log"));
}

void SoundServer::start_manager() {
  const std::string here = dir_.path().string();
  manager_.start({"env", "WIREPLUMBER_CONFIG_DIR=" + here, "wireplumber", "-c", "manager.conf"}, file("manager.log"));
  const bool ready =
      eventually([] { return run("pw-metadata 0 default.audio.source").output.find("\"line\"") != std::string::npos; });
  ASSERT_TRUE(ready) << read_file(file("server.log")) << read_file(file("manager.log"));
}

void SoundServer::kill() {
  server_.end();
  manager_.end();
  std::filesystem::remove(file("pipewire-0"));
  std::filesystem::remove(file("pipewire-0.lock"));
}

void SoundServer::add_sink(const std::string &name, int channels, const std::string &positions, int priority) {
  output_of("pw-cli create-node adapter '{ factory.name=support.null-audio-sink node.name=" + name +
            " media.class=Audio/Sink audio.channels=" + std::to_string(channels) + " audio.position=[" + positions +
            "] priority.session=" + std::to_string(priority) + " object.linger=true }'");
}

void SoundServer::remove(const std::string &node) {
  output_of("pw-cli destroy " + node);
}

void SoundServer::set_default_sink(const std::string &name) {
  output_of("pw-metadata 0 default.configured.audio.sink '{\"name\":\"" + name + "\"}' Spa:String:JSON");
}

void SoundServer::set(const std::string &key, int value) {
  output_of("pw-metadata -n settings 0 clock." + key + " " + std::to_string(value));
}

// ---- Audio ----

MonitorRecorder::MonitorRecorder(const SoundServer &server, const std::string &sink, const std::string &positions,
                                 int rate)
    : path_(server.file("monitor-" + sink + ".wav")) {
  const auto channels = 1 + std::count(positions.begin(), positions.end(), ',');
  program_.start({"pw-record", "--target", sink, "-P", "{ stream.capture.sink=true node.dont-reconnect=true }",
                  "--format", "f32", "--rate", std::to_string(rate), "--channels", std::to_string(channels),
                  "--channel-map", positions, "--latency", "2048", path_},
                 server.file("record.log"));
}

// The header is brought up to date at the end only: what follows its last chunk's head is audio.
std::vector<float> MonitorRecorder::samples() const {
  const std::string bytes = std::filesystem::exists(path_) ? read_file(path_) : std::string();
  const std::size_t data = bytes.find("data");
  if (data == std::string::npos || bytes.size() < data + 12) return {};
  std::vector<float> samples((bytes.size() - data - 8) / 4);
  std::memcpy(samples.data(), bytes.data() + data + 8, samples.size() * 4);
  return samples;
}

namespace {

void append(std::string &bytes, std::uint32_t value, int count) {
  for (int i = 0; i < count; ++i) bytes += static_cast<char>(value >> (8 * i) & 255);
}

}  // namespace

void write_float_file(const std::string &path, const std::vector<float> &samples, int channels, int rate) {
  const auto data = static_cast<std::uint32_t>(samples.size() * 4);
  const auto count = static_cast<std::uint32_t>(channels), frames_a_second = static_cast<std::uint32_t>(rate);
  std::string bytes = "RIFF";
  append(bytes, 36 + data, 4);
  bytes += "WAVEfmt ";
  append(bytes, 16, 4);
  append(bytes, 3, 2);  // floats
  append(bytes, count, 2);
  append(bytes, frames_a_second, 4);
  append(bytes, frames_a_second * count * 4, 4);
  append(bytes, count * 4, 2);
  append(bytes, 32, 2);
  bytes += "data";
  append(bytes, data, 4);
  bytes.append(reinterpret_cast<const char *>(samples.data()), data);
  write_file(path, bytes);
}

std::ostream &operator<<(std::ostream &out, const Stretch &stretch) {
  return out << stretch.silence << " silent, " << stretch.frames << " from " << stretch.first;
}

std::vector<Stretch> stretches_of(const std::vector<float> &samples, std::uint32_t channels) {
  std::vector<Stretch> runs;
  std::uint64_t silence = 0;
  for (std::size_t i = 0; i + channels <= samples.size(); i += channels) {
    const auto number = static_cast<std::int64_t>(std::llrint(samples[i] * (1 << 24))) - 1;
    const auto frame = static_cast<std::uint64_t>(number) / 8;
    bool silent = true, whole = number >= 0;
    for (std::uint32_t c = 0; c < channels; ++c) {
      silent &= samples[i + c] == 0.0f;
      whole &= samples[i + c] == numbered_sample(frame, c);
    }
    if (silent) {
      ++silence;
      continue;
    }
    if (!whole) {
      runs.push_back({0, 0, silence});
    } else if (silence == 0 && !runs.empty() && runs.back().frames != 0 &&
               frame == runs.back().first + runs.back().frames) {
      ++runs.back().frames;
      continue;
    } else {
      runs.push_back({frame, 1, silence});
    }
    silence = 0;
  }
  return runs;
}

void expect_exact(const std::function<std::vector<float>()> &samples, std::uint32_t channels, std::uint64_t frames) {
  std::vector<Stretch> stretches;
  const auto is_long = [&](const Stretch &stretch) { return stretch.frames >= frames; };
  const bool came = eventually([&] {
    stretches = stretches_of(samples(), channels);
    return std::ranges::any_of(stretches, is_long);
  });
  EXPECT_TRUE(came) << ::testing::PrintToString(stretches);
  EXPECT_EQ(std::ranges::count(stretches, std::uint64_t{0}, &Stretch::frames), 0)
      << ::testing::PrintToString(stretches);
}

}  // namespace auspool::testing
