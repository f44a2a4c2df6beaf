#include <auspool/audevice.h>
#include <gtest/gtest.h>

#include <string>

#include "support/simulated_devices.h"
#include "support/watch.h"

namespace auspool {
namespace {

using testing::kFour;
using testing::kInterleaved;
using testing::kPlanar;
using testing::SimulatedDevices;

TEST(Backends, AreListedByName) {
  bool simulated = false;
  for (int i = 0; const char *name = audevice_backend_name(i); ++i) simulated |= name == std::string("simulated");
  EXPECT_TRUE(simulated);
  EXPECT_EQ(audevice_backend_name(-1), nullptr);
  EXPECT_EQ(audevice_backend_name(1000), nullptr);
}

TEST(Backends, OneThatIsNotThereIsAnErrorAndChangesNothing) {
  ASSERT_EQ(audevice_choose_backend("simulated"), 0);
  EXPECT_EQ(audevice_choose_backend("tape"), AUDEVICE_NO_BACKEND);
  EXPECT_EQ(audevice_choose_backend(""), AUDEVICE_NO_BACKEND);
  EXPECT_STREQ(audevice_backend(), "simulated");
  EXPECT_EQ(audevice_choose_backend(nullptr), 0);
}

TEST(Backends, TheSimulatedOneIsNeverTheDefault) {
  ASSERT_EQ(audevice_choose_backend(nullptr), 0);
  const char *const name = audevice_backend();
  EXPECT_NE(std::string(name ? name : ""), "simulated");
}

TEST(Backends, StayWhileTheyAreUsed) {
  {
    const SimulatedDevices devices;
    EXPECT_EQ(audevice_choose_backend("simulated"), AUDEVICE_BUSY);
    EXPECT_EQ(audevice_choose_backend(nullptr), AUDEVICE_BUSY);
  }
  EXPECT_EQ(audevice_choose_backend("simulated"), 0);
  EXPECT_EQ(audevice_choose_backend(nullptr), 0);
}

class DeviceList : public ::testing::Test {
protected:
  std::int32_t list() {
    infos.assign(8, {});
    const std::int32_t status = audevice_list(infos.data(), 8, &count);
    infos.resize(static_cast<std::size_t>(count));
    return status;
  }

  SimulatedDevices devices;
  std::vector<audevice_info> infos;
  std::int32_t count = -1;
};

TEST_F(DeviceList, MayBeEmpty) {
  EXPECT_EQ(list(), 0);
  EXPECT_EQ(count, 0);
}

TEST_F(DeviceList, TellsWhatDevicesAre) {
  ausim_device speaker = testing::output_device(kFour);
  speaker.name = "Speaker";
  speaker.rate = 96000;
  speaker.buffer_frames = 128;
  const std::uint32_t first = devices.add_default_output(speaker);
  const std::uint32_t second = devices.add_default_input(testing::input_device(kPlanar));
  ASSERT_EQ(list(), 0);
  ASSERT_EQ(count, 2);
  EXPECT_EQ(infos[0].id, first);
  EXPECT_STREQ(infos[0].name, "Speaker");
  EXPECT_STREQ(infos[0].uid, "Speaker");
  EXPECT_EQ(infos[0].output_channels, 4u);
  EXPECT_EQ(infos[0].input_channels, 0u);
  EXPECT_EQ(infos[0].rate, 96000.0);
  EXPECT_EQ(infos[0].buffer_frames, 128u);
  EXPECT_TRUE(infos[0].is_default_output);
  EXPECT_FALSE(infos[0].is_default_input);
  EXPECT_EQ(infos[1].id, second);
  EXPECT_EQ(infos[1].input_channels, 2u);
  EXPECT_TRUE(infos[1].is_default_input);
}

TEST_F(DeviceList, CountsWhatFindsNoRoom) {
  for (int i = 0; i < 3; ++i) devices.add(testing::output_device(kInterleaved));
  EXPECT_EQ(audevice_list(nullptr, 0, &count), 0);
  EXPECT_EQ(count, 3);
}

TEST_F(DeviceList, CutsLongNamesAtAWholeCharacter) {
  std::string name;
  for (int i = 0; i < 200; ++i) name += "\xc3\xa9";
  ausim_device device = testing::output_device(kInterleaved);
  device.name = name.c_str();
  devices.add(device);
  ASSERT_EQ(list(), 0);
  EXPECT_EQ(infos[0].name, name.substr(0, 254));
}

TEST_F(DeviceList, PassesOnTheStatusOfWhatFailed) {
  devices.fail(AUSIM_GET, "dev#", AUDEVICE_NOT_RUNNING);
  EXPECT_EQ(list(), AUDEVICE_NOT_RUNNING);
  EXPECT_EQ(count, 0);
}

TEST_F(DeviceList, LeavesOutWhatCannotBeRead) {
  devices.add(testing::output_device(kInterleaved));
  devices.fail(AUSIM_GET, "nsrt", 5);
  devices.fail(AUSIM_GET, "lnam", 5);
  ASSERT_EQ(list(), 0);
  EXPECT_EQ(infos[0].rate, 0.0);
  EXPECT_STREQ(infos[0].name, "");
}

TEST(DeviceListWithoutMemory, GivesAStatus) {
  SimulatedDevices devices;
  devices.stop_noting();
  EXPECT_GT(testing::fail_each_allocation([] {
              std::int32_t count = 0;
              return audevice_list(nullptr, 0, &count) == 0;
            }),
            0);
}

struct Changes {
  static void count_one(void *self) { ++static_cast<Changes *>(self)->count; }
  int count = 0;
};

TEST(DeviceWatch, TellsOfDevicesAndDefaults) {
  SimulatedDevices devices;
  Changes changes;
  audevice_watch *const watch = audevice_watch_create(Changes::count_one, &changes);
  ASSERT_NE(watch, nullptr);
  const std::uint32_t id = devices.add(testing::output_device(kInterleaved));
  EXPECT_EQ(changes.count, 1);
  ausim_set_default(devices, 0, id);
  EXPECT_EQ(changes.count, 2);
  ausim_set_default(devices, 1, id);
  EXPECT_EQ(changes.count, 3);
  audevice_watch_destroy(watch);
  ausim_remove_device(devices, id);
  EXPECT_EQ(changes.count, 3);
}

TEST(DeviceWatch, NeedsSomebodyToTell) {
  const SimulatedDevices devices;
  EXPECT_EQ(audevice_watch_create(nullptr, nullptr), nullptr);
  audevice_watch_destroy(nullptr);
}

TEST(DeviceWatch, SurvivesAFailedAllocation) {
  SimulatedDevices devices;
  devices.stop_noting();
  EXPECT_GT(testing::fail_each_allocation([] {
              Changes changes;
              audevice_watch *const watch = audevice_watch_create(Changes::count_one, &changes);
              audevice_watch_destroy(watch);
              return watch != nullptr;
            }),
            0);
}

}  // namespace
}  // namespace auspool
