#include "auspool/audummyplayer.h"

#include <gtest/gtest.h>

#include "support/simulated_devices.h"
#include "support/watch.h"

namespace auspool::testing {
namespace {

struct FirstName {
  static constexpr auto run = audummyplayer_run;
  static constexpr auto stop = audummyplayer_stop;
  static constexpr auto device = audummyplayer_device;
};
struct SecondName {
  static constexpr auto run = audummyplayer2_run;
  static constexpr auto stop = audummyplayer2_stop;
  static constexpr auto device = audummyplayer2_device;
};

template <typename Name>
class DummyPlayer : public ::testing::Test {
protected:
  std::vector<std::uint32_t> sizes_tried(std::uint32_t frames, bool refused) {
    devices.fail(AUSIM_SET, "fsiz", refused ? -1 : 0);
    devices.take_operations();
    auto *const player = Name::run(id, frames);
    EXPECT_NE(player, nullptr) << "it runs all the same";
    std::vector<std::uint32_t> sizes;
    for (const DeviceOperation &operation : devices.take_operations(AUSIM_SET)) {
      sizes.push_back(operation.as<std::uint32_t>());
    }
    Name::stop(player);
    return sizes;
  }

  SimulatedDevices devices;
  std::uint32_t id = devices.add_default_output(output_device(kInterleaved));
};
using Names = ::testing::Types<FirstName, SecondName>;
TYPED_TEST_SUITE(DummyPlayer, Names);

using Sizes = std::vector<std::uint32_t>;

TYPED_TEST(DummyPlayer, RunsTheDefaultDeviceAndTouchesNoBuffer) {
  auto *const player = TypeParam::run(0, 0);
  ASSERT_NE(player, nullptr);
  EXPECT_EQ(TypeParam::device(player), this->id);
  int cycles = 0;
  this->devices.on_output = [&](std::span<const ausim_buffer> buffers, std::uint32_t frames) {
    ++cycles;
    EXPECT_EQ(channel_of(buffers[0], 0), std::vector<float>(frames, 0.0f));
  };
  ausim_run(this->devices, this->id, 3);
  EXPECT_EQ(cycles, 3);
  this->devices.on_output = nullptr;
  this->devices.take_operations();
  TypeParam::stop(player);
  const auto operations = this->devices.take_operations();
  ASSERT_EQ(operations.size(), 2u);
  EXPECT_EQ(operations[0].kind, AUSIM_STOP);
  EXPECT_EQ(operations[1].kind, AUSIM_DESTROY_IO);
}

TYPED_TEST(DummyPlayer, RunsTheDeviceThatIsAskedFor) {
  const std::uint32_t other = this->devices.add(output_device(kMono));
  auto *const player = TypeParam::run(other, 0);
  EXPECT_EQ(TypeParam::device(player), other);
  TypeParam::stop(player);
}

TYPED_TEST(DummyPlayer, WithoutADeviceRunsNothing) {
  this->devices.take_operations();
  auto *const player = TypeParam::run(AUDUMMYPLAYER_NO_DEVICE, 256);
  ASSERT_NE(player, nullptr);
  EXPECT_EQ(TypeParam::device(player), 0xFFFFFFFEu);
  TypeParam::stop(player);
  EXPECT_TRUE(this->devices.take_operations().empty());
}

TYPED_TEST(DummyPlayer, ANullPlayerHasNoDevice) {
  EXPECT_EQ(TypeParam::device(nullptr), 0xFFFFFFFEu);
  TypeParam::stop(nullptr);
}

TYPED_TEST(DummyPlayer, WithoutADefaultDeviceIsNull) {
  ausim_set_default(this->devices, 0, 0);
  EXPECT_EQ(TypeParam::run(0, 0), nullptr);
  this->devices.fail(AUSIM_GET, "dOut", -1);
  EXPECT_EQ(TypeParam::run(0, 0), nullptr);
}

TYPED_TEST(DummyPlayer, AFailureUndoesWhatWasDone) {
  this->devices.fail(AUSIM_CREATE_IO, "", -1);
  EXPECT_EQ(TypeParam::run(0, 0), nullptr);
  this->devices.fail(AUSIM_CREATE_IO, "", 0);
  this->devices.fail(AUSIM_START, "", -1);
  this->devices.take_operations();
  EXPECT_EQ(TypeParam::run(0, 0), nullptr);
  std::vector<std::int32_t> kinds;
  for (const DeviceOperation &operation : this->devices.take_operations()) kinds.push_back(operation.kind);
  EXPECT_EQ(kinds, (std::vector<std::int32_t>{AUSIM_GET, AUSIM_CREATE_IO, AUSIM_START, AUSIM_DESTROY_IO}));
}

TYPED_TEST(DummyPlayer, AsksForABufferSizeUpTo4096) {
  EXPECT_EQ(this->sizes_tried(0, false), Sizes());
  EXPECT_EQ(this->sizes_tried(256, false), Sizes({256}));
  EXPECT_EQ(this->sizes_tried(4096, false), Sizes({4096}));
  EXPECT_EQ(this->sizes_tried(4097, false), Sizes());
}

TYPED_TEST(DummyPlayer, DoublesARefusedBufferSizeAndRunsAllTheSame) {
  EXPECT_EQ(this->sizes_tried(100, true), Sizes({100, 200, 400, 800, 1600, 3200}));
  EXPECT_EQ(this->sizes_tried(1024, true), Sizes({1024, 2048, 4096}));
  EXPECT_EQ(this->sizes_tried(1025, true), Sizes({1025, 2050}));
  EXPECT_EQ(this->sizes_tried(2049, true), Sizes({2049}));
}

TYPED_TEST(DummyPlayer, SurvivesAFailedAllocation) {
  this->devices.stop_noting();
  TypeParam::stop(TypeParam::run(0, 0));  // the simulated device keeps room for its IO
  EXPECT_GE(fail_each_allocation([] {
              auto *const player = TypeParam::run(0, 0);
              TypeParam::stop(player);
              return player != nullptr;
            }),
            2);
}

}  // namespace
}  // namespace auspool::testing
