// Simulated devices for the length of a scope: what is asked of them is noted, and may fail.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <initializer_list>
#include <mutex>
#include <span>
#include <string>
#include <vector>

#include "auspool/audevice.h"
#include "auspool/audevice_simulated.h"

namespace auspool::testing {

struct DeviceOperation {
  std::int32_t kind;
  std::uint32_t object;
  std::string selector, scope;  // empty where an operation has none
  std::string value;            // the bytes of what is set

  // What is set, as a number of its size.
  template <typename T>
  T as() const {
    T number{};
    EXPECT_EQ(value.size(), sizeof number);
    if (value.size() == sizeof number) value.copy(reinterpret_cast<char *>(&number), sizeof number);
    return number;
  }
};

// An output or input device of so many channels in each buffer, 44100 Hz and 512 frames unless changed.
ausim_device output_device(std::span<const std::uint32_t> buffers);
ausim_device input_device(std::span<const std::uint32_t> buffers);

inline constexpr std::uint32_t kInterleaved[] = {2}, kPlanar[] = {1, 1}, kMono[] = {1}, kFour[] = {4};

class SimulatedDevices {
public:
  SimulatedDevices();
  ~SimulatedDevices();
  SimulatedDevices(const SimulatedDevices &) = delete;
  SimulatedDevices &operator=(const SimulatedDevices &) = delete;

  operator ausim *() const { return sim_; }

  std::uint32_t add(const ausim_device &device) { return ausim_add_device(sim_, &device); }
  std::uint32_t add_default_output(const ausim_device &device);
  std::uint32_t add_default_input(const ausim_device &device);
  void set_rate(std::uint32_t device, double rate) { ausim_set_property(sim_, device, "nsrt", "glob", 8, &rate); }

  // What was asked since the last call, or of this kind alone.
  std::vector<DeviceOperation> take_operations();
  std::vector<DeviceOperation> take_operations(std::int32_t kind);
  // Every operation of this kind on this selector, or of this kind, fails with the status from now on; 0 ends it.
  void fail(std::int32_t kind, const std::string &selector, std::int32_t status);

  // Notes nothing from now on, and so allocates nothing where a test counts.
  void stop_noting() { ausim_set_operation_callback(sim_, nullptr, nullptr); }

  // Called in each cycle, if set: with the input to be filled, and with the output.
  std::function<void(std::span<const ausim_buffer> buffers, std::uint32_t frames)> on_input, on_output;
  // Called for each operation, if set, before it is noted; gives a status.
  std::function<std::int32_t(const DeviceOperation &)> on_operation;

private:
  struct Failure {
    std::int32_t kind;
    std::string selector;
    std::int32_t status;
  };
  std::int32_t note(const ausim_operation &operation);

  ausim *sim_ = nullptr;
  std::mutex mutex_;
  std::vector<DeviceOperation> operations_;
  std::vector<Failure> failures_;
};

// The samples of one channel, from 0, of a buffer.
std::vector<float> channel_of(const ausim_buffer &buffer, std::uint32_t channel);

}  // namespace auspool::testing
