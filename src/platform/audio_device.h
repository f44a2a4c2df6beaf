// Sound devices as objects with properties: what players and lines see of any sound system.
//
// There is one system object and any number of devices. Everything that can be asked or set is a property, found by a
// selector, a scope and an element; listeners are called when one changes; IO procs move the audio. A backend, in
// audio_device/, gives all this for one sound system. AudioDevices is the way in: it holds the chosen backend open.
//
// Properties. Values are plain memory in the processor's byte order.
//   object  selector                scope    value
//   system  kDefaultOutput "dOut"   global   ObjectId, 0 for none
//   system  kDefaultInput  "dIn "   global   ObjectId, 0 for none
//   system  kDevices       "dev#"   global   ObjectId[], all devices
//   device  kName          "lnam"   global   UTF-8 for people, no NUL
//   device  kUid           "uid "   global   UTF-8 that stays the same from run to run, no NUL
//   device  kNominalRate   "nsrt"   global   double, frames a second; settable where the system allows it
//   device  kBufferFrames  "fsiz"   global   uint32, frames a cycle of IO; settable. Buffer lists say what really comes
//   device  channel_count  "chan"   in, out  uint32, 0 for a direction that it has not
//   device  stereo_pair    "dch2"   in, out  uint32[2], the channels, from 1, that carry left and right
//   device  stream_format  "sfmt"   in, out  StreamFormat; setting its rate sets kNominalRate
//   device  data_source    "ssrc"   in, out  uint32, the jack or microphone that is heard; many devices have none
// A property that an object has not is AUDEVICE_UNKNOWN_PROPERTY, also from property_size. kDevices is empty, not
// unknown, where there is no device.
//
// One property needs no backend, and AudioDevices answers it itself: kSleepAllowed "slep" of the system, uint32; not 0
// lets the computer fall asleep while IO runs.
//
// Threads
// - Operations may be called from any thread but the one that runs an IO proc, also from inside a listener, and with
//   locks of the caller's held, unless a listener or IO proc that might be waited for wants the same lock.
// - Listeners are called on a thread of the backend's, one at a time, with no lock of the backend's held, and never
//   from inside an operation. Changes may be gathered: what counts is the value that is read afterwards.
// - remove_listener waits while that very listener (object, address, proc and client) runs on another thread. From
//   inside it, it does not wait. Afterwards it is never called again.
// - IO procs are called on the backend's real-time thread, and must be fit for it. stop and destroy_io_proc wait while
//   that proc runs; afterwards it is not called again, until the next start.
// - An operation may allocate and wait for the sound system, for a second at most, and then gives a status. The first
//   start waits for the login service, too, which keeps the computer awake; for another second at most.
//
// Devices that go away. Their IO procs are not called any more and their listeners are forgotten. Afterwards every
// operation on the device gives AUDEVICE_BAD_OBJECT and does no harm: stop, destroy_io_proc and remove_listener are
// expected then, and wait as ever. "dev#" changes, and "dOut" and "dIn " if it was the default. An ObjectId is not used
// again. When the sound system itself goes away so do all devices; a backend goes on trying to reach it, and the
// devices are new ones when it is back.
#pragma once

#include <cstddef>
#include <cstdint>

#include "auspool/types.h"
#include "base/four_cc.h"

namespace auspool::platform {

// 0 for success. auspool/types.h names those that we give ourselves; a sound system may have others.
using DeviceStatus = std::int32_t;

using ObjectId = std::uint32_t;
inline constexpr ObjectId kSystemObject = 1;
// A value that players and lines take for "no device". No object has it.
inline constexpr ObjectId kNoDevice = 0xFFFFFFFE;

struct PropertyAddress {
  std::uint32_t selector;
  std::uint32_t scope;
  std::uint32_t element = 0;  // 0: the object as a whole, which is all that there is

  bool operator==(const PropertyAddress &) const = default;
};

inline constexpr std::uint32_t kGlobal = four_cc("glob"), kInput = four_cc("inpt"), kOutput = four_cc("outp");

inline constexpr PropertyAddress kDefaultOutput = {four_cc("dOut"), kGlobal};
inline constexpr PropertyAddress kDefaultInput = {four_cc("dIn "), kGlobal};
inline constexpr PropertyAddress kDevices = {four_cc("dev#"), kGlobal};
inline constexpr PropertyAddress kSleepAllowed = {four_cc("slep"), kGlobal};
inline constexpr PropertyAddress kName = {four_cc("lnam"), kGlobal};
inline constexpr PropertyAddress kUid = {four_cc("uid "), kGlobal};
inline constexpr PropertyAddress kNominalRate = {four_cc("nsrt"), kGlobal};
inline constexpr PropertyAddress kBufferFrames = {four_cc("fsiz"), kGlobal};
constexpr PropertyAddress channel_count(std::uint32_t scope) {
  return {four_cc("chan"), scope};
}
constexpr PropertyAddress stereo_pair(std::uint32_t scope) {
  return {four_cc("dch2"), scope};
}
constexpr PropertyAddress stream_format(std::uint32_t scope) {
  return {four_cc("sfmt"), scope};
}
constexpr PropertyAddress data_source(std::uint32_t scope) {
  return {four_cc("ssrc"), scope};
}

// The format of a device's stream. IO procs always get native 32-bit floats if it is "lpcm".
struct StreamFormat {
  double rate = 0;
  std::uint32_t format = four_cc("lpcm");
  std::uint32_t flags = 0;
  std::uint32_t bytes_per_packet = 0, frames_per_packet = 0, bytes_per_frame = 0;
  std::uint32_t channels = 0, bits_per_channel = 0;
  std::uint32_t reserved = 0;
};
static_assert(sizeof(StreamFormat) == 40);

// A moment on a device. Host time is in ticks of platform/clock.h.
struct TimeStamp {
  static constexpr std::uint32_t kSampleTimeValid = 1, kHostTimeValid = 2;

  double sample_time = 0;  // frames since IO started
  std::uint64_t host_time = 0;
  std::uint32_t mFlags = 0;
};

// The samples of some channels, interleaved. `data` may be null: a stream that is switched off.
struct DeviceBuffer {
  std::uint32_t channels = 0;
  std::uint32_t bytes = 0;
  void *data = nullptr;
};

// All channels of one direction, in buffers one behind the other: 8 bytes of head, then 16 bytes a buffer.
struct BufferList {
  std::uint32_t count = 0;
  std::uint32_t padding = 0;  // stays 0: lists are compared byte by byte

  const DeviceBuffer *buffers() const { return reinterpret_cast<const DeviceBuffer *>(this + 1); }
  DeviceBuffer *buffers() { return reinterpret_cast<DeviceBuffer *>(this + 1); }
};

// Room for a list of up to N buffers.
template <std::size_t N>
struct BufferListOf {
  BufferList list;
  DeviceBuffer buffers[N];
};
static_assert(sizeof(BufferListOf<3>) == 8 + 3 * 16);

// Cycles of up to so many frames, the longest that sound systems are set to as a rule, are handed on whole. What is
// longer comes in several calls: so the places on the stack are bounded.
inline constexpr std::uint32_t kMostCycleFrames = 8192;

// Moves one cycle of audio, on the real-time thread. `input` or `output` is null for a direction that the device has
// not. Every proc of a device has its own buffers. Output buffers are zeroed, and what is left there is mixed. The
// lists and their data stay where they are while nothing changes. `input_time` is when the first input frame was picked
// up, `output_time` when the first output frame will be heard, by what the system knows of its latency. Gives 0.
using IoProc = DeviceStatus (*)(ObjectId device, const TimeStamp *now, const BufferList *input,
                                const TimeStamp *input_time, BufferList *output, const TimeStamp *output_time,
                                void *client);
using IoProcId = std::uint64_t;  // 0 for none; not used again by the same backend

using PropertyListener = DeviceStatus (*)(ObjectId object, std::uint32_t count, const PropertyAddress *addresses,
                                          void *client);

// What a backend does. An operation throws nothing; memory that runs out is AUDEVICE_NO_MEMORY.
class AudioBackend {
public:
  virtual ~AudioBackend() = default;

  // *bytes: the room at `value`; on success the bytes written, which are cut to the room.
  virtual DeviceStatus get_property(ObjectId object, const PropertyAddress &address, std::uint32_t *bytes,
                                    void *value) = 0;
  virtual DeviceStatus property_size(ObjectId object, const PropertyAddress &address, std::uint32_t *bytes) = 0;
  // The property has the value when this returns with 0, as far as the sound system lets one know.
  virtual DeviceStatus set_property(ObjectId object, const PropertyAddress &address, std::uint32_t bytes,
                                    const void *value) = 0;

  virtual DeviceStatus add_listener(ObjectId object, const PropertyAddress &address, PropertyListener listener,
                                    void *client) = 0;
  virtual DeviceStatus remove_listener(ObjectId object, const PropertyAddress &address, PropertyListener listener,
                                       void *client) = 0;

  virtual DeviceStatus create_io_proc(ObjectId device, IoProc proc, void *client, IoProcId *id) = 0;
  virtual DeviceStatus destroy_io_proc(ObjectId device, IoProcId id) = 0;
  // After start has returned 0 the proc may be called at any moment, also before it returned.
  virtual DeviceStatus start(ObjectId device, IoProcId id) = 0;
  virtual DeviceStatus stop(ObjectId device, IoProcId id) = 0;

  // Sets the level of the caller's audio on a device to `level`, over `ramp_seconds`. Not every system offers it.
  virtual bool can_duck() const { return false; }
  virtual DeviceStatus duck(ObjectId, float /*level*/, float /*ramp_seconds*/) { return 0; }
};

// A use of the chosen backend, for players, lines and lists: it is opened for the first use and closed after the last,
// and while there is one the choice stands. Where there is no backend every operation gives AUDEVICE_NO_BACKEND. The
// operations are those of AudioBackend.
class AudioDevices {
public:
  AudioDevices();  // throws std::bad_alloc
  ~AudioDevices();
  AudioDevices(const AudioDevices &) = delete;
  AudioDevices &operator=(const AudioDevices &) = delete;

  DeviceStatus get_property(ObjectId object, const PropertyAddress &address, std::uint32_t *bytes, void *value);
  DeviceStatus property_size(ObjectId object, const PropertyAddress &address, std::uint32_t *bytes);
  DeviceStatus set_property(ObjectId object, const PropertyAddress &address, std::uint32_t bytes, const void *value);

  // A value of a fixed size; any other size is AUDEVICE_BAD_SIZE, and leaves `value`.
  template <typename T>
  DeviceStatus get(ObjectId object, const PropertyAddress &address, T *value) {
    T read;
    std::uint32_t bytes = sizeof read;
    const DeviceStatus status = get_property(object, address, &bytes, &read);
    if (status == 0 && bytes != sizeof read) return AUDEVICE_BAD_SIZE;
    if (status == 0) *value = read;
    return status;
  }
  template <typename T>
  DeviceStatus set(ObjectId object, const PropertyAddress &address, const T &value) {
    return set_property(object, address, sizeof value, &value);
  }

  DeviceStatus add_listener(ObjectId object, const PropertyAddress &address, PropertyListener listener, void *client);
  DeviceStatus remove_listener(ObjectId object, const PropertyAddress &address, PropertyListener listener,
                               void *client);
  DeviceStatus create_io_proc(ObjectId device, IoProc proc, void *client, IoProcId *id);
  DeviceStatus destroy_io_proc(ObjectId device, IoProcId id);
  DeviceStatus start(ObjectId device, IoProcId id);
  DeviceStatus stop(ObjectId device, IoProcId id);
  bool can_duck() const;
  DeviceStatus duck(ObjectId device, float level, float ramp_seconds);

  // For what scripts a backend.
  AudioBackend &backend() { return backend_; }

private:
  AudioBackend &backend_;
};

// "slep" of the system object, for those without an AudioDevices.
void set_sleep_allowed(std::uint32_t allowed);

// ---- Which backends there are ----

// The names, in order of preference; null beyond the last.
const char *audio_backend_name(std::size_t index);
// The chosen one, by default the first that reaches a real sound system; null where there is none.
const char *chosen_audio_backend();
// Null chooses the default again. AUDEVICE_NO_BACKEND for a name that is not there, AUDEVICE_BUSY while there is a use.
DeviceStatus choose_audio_backend(const char *name);

}  // namespace auspool::platform
