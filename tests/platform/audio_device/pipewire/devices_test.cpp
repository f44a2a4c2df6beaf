// What the sinks and sources of a private sound server are as devices.
#include <gtest/gtest.h>

#include <algorithm>

#include "auspool/audevice.h"
#include "support/sound_system.h"

namespace auspool::platform {
namespace {

using testing::Ears;
using testing::eventually;
using testing::SoundTest;

class PipeWireDevices : public SoundTest {
protected:
  template <typename T>
  T value(ObjectId object, const PropertyAddress &address) {
    T value{};
    EXPECT_EQ(devices().get(object, address, &value), 0);
    return value;
  }
};

TEST_F(PipeWireDevices, AreSinksAndSourcesWithTheirNames) {
  EXPECT_EQ(system->all().size(), 4u);
  EXPECT_EQ(system->text(system->device("main"), kName), "Main speakers");
  EXPECT_EQ(system->text(system->device("quad"), kName), "Four speakers");
  EXPECT_EQ(system->text(system->device("line"), kName), "Line in");
}

TEST_F(PipeWireDevices, HaveNumbersThatNoOtherBackendGives) {
  const ObjectId here = system->device("main");
  system.reset();
  ASSERT_EQ(choose_audio_backend("simulated"), 0);
  ObjectId elsewhere = 0;
  EXPECT_EQ(AudioDevices().get(kSystemObject, kDefaultOutput, &elsewhere), 0);
  EXPECT_GT(elsewhere, here);
  system.emplace();
  EXPECT_GT(system->device("main"), elsewhere);
}

TEST_F(PipeWireDevices, HaveChannelsInOneDirection) {
  const ObjectId quad = system->device("quad"), line = system->device("line");
  EXPECT_EQ(value<std::uint32_t>(quad, channel_count(kOutput)), 4u);
  EXPECT_EQ(value<std::uint32_t>(quad, channel_count(kInput)), 0u);
  EXPECT_EQ(value<std::uint32_t>(line, channel_count(kOutput)), 0u);
  EXPECT_EQ(value<std::uint32_t>(line, channel_count(kInput)), 2u);
  const auto format = value<StreamFormat>(quad, stream_format(kOutput));
  EXPECT_EQ(format.rate, 48000.0);
  EXPECT_EQ(format.format, four_cc("lpcm"));
  EXPECT_EQ(format.channels, 4u);
  EXPECT_EQ(format.bytes_per_frame, 16u);
  std::uint32_t size = 0;
  EXPECT_EQ(devices().property_size(line, stream_format(kOutput), &size), AUDEVICE_UNKNOWN_PROPERTY);
  EXPECT_EQ(devices().property_size(quad, data_source(kOutput), &size), AUDEVICE_UNKNOWN_PROPERTY);
}

TEST_F(PipeWireDevices, SayWhichChannelsAreLeftAndRight) {
  server->add_sink("turned", 4, "RL RR FR FL");
  server->add_sink("mono", 1, "MONO");
  ASSERT_TRUE(eventually([&] { return system->device("turned") != 0 && system->device("mono") != 0; }));
  std::uint32_t pair[2] = {};
  std::uint32_t bytes = sizeof pair;
  ASSERT_EQ(devices().get_property(system->device("turned"), stereo_pair(kOutput), &bytes, pair), 0);
  EXPECT_EQ(pair[0], 4u);
  EXPECT_EQ(pair[1], 3u);
  EXPECT_EQ(devices().get_property(system->device("mono"), stereo_pair(kOutput), &bytes, pair),
            AUDEVICE_UNKNOWN_PROPERTY);
  EXPECT_EQ(value<std::uint32_t>(system->device("mono"), channel_count(kOutput)), 1u);
}

TEST_F(PipeWireDevices, FollowTheDefaultsOfTheSystem) {
  EXPECT_EQ(system->default_output(), system->device("main"));
  EXPECT_EQ(value<ObjectId>(kSystemObject, kDefaultInput), system->device("line"));
  Ears ears(devices(), kSystemObject, kDefaultOutput);
  server->set_default_sink("other");
  EXPECT_TRUE(eventually([&] { return ears.heard > 0; }));
  EXPECT_EQ(system->default_output(), system->device("other"));
}

TEST_F(PipeWireDevices, CanBeMadeTheDefault) {
  const ObjectId quad = system->device("quad"), line = system->device("line");
  ASSERT_TRUE(eventually([&] { return devices().set(kSystemObject, kDefaultOutput, quad) == 0; }));
  EXPECT_EQ(system->default_output(), quad);
  EXPECT_EQ(devices().set(kSystemObject, kDefaultOutput, line), AUDEVICE_BAD_VALUE);
  EXPECT_EQ(devices().set(kSystemObject, kDefaultOutput, ObjectId{4711}), AUDEVICE_BAD_VALUE);
  EXPECT_EQ(devices().set(kSystemObject, kDefaultOutput, 1.0), AUDEVICE_BAD_SIZE);
  EXPECT_EQ(devices().set(kSystemObject, kDevices, quad), AUDEVICE_READ_ONLY);
  EXPECT_EQ(system->default_output(), quad);
}

TEST_F(PipeWireDevices, ComeAndGoWhileTheServerRuns) {
  Ears list(devices(), kSystemObject, kDevices), defaults(devices(), kSystemObject, kDefaultOutput);
  const ObjectId old = system->default_output();
  server->add_sink("better", 2, "FL,FR", 900);
  ASSERT_TRUE(eventually([&] { return system->device("better") != 0; }));
  const ObjectId better = system->device("better");
  ASSERT_TRUE(eventually([&] { return system->default_output() == better; }));
  EXPECT_TRUE(eventually([&] { return list.heard > 0 && defaults.heard > 0; }));

  Ears rate(devices(), better, kNominalRate);
  const int heard = list.heard;
  server->remove("better");
  ASSERT_TRUE(eventually([&] { return system->default_output() == old; }));
  EXPECT_TRUE(eventually([&] { return list.heard > heard; }));
  EXPECT_EQ(system->device("better"), 0u);
  double value = 0.0;
  EXPECT_EQ(devices().get(better, kNominalRate, &value), AUDEVICE_BAD_OBJECT);
  EXPECT_EQ(devices().set(better, kNominalRate, 48000.0), AUDEVICE_BAD_OBJECT);

  server->add_sink("better", 2, "FL,FR", 1);
  ASSERT_TRUE(eventually([&] { return system->device("better") != 0; }));
  EXPECT_NE(system->device("better"), better) << "a number is not used again";
}

TEST_F(PipeWireDevices, WithoutIoTakeRatesAndSizesThatTheGraphAllows) {
  const ObjectId main = system->device("main");
  EXPECT_EQ(system->rate(main), 48000.0);
  EXPECT_EQ(system->frames(main), 1024u);
  EXPECT_EQ(devices().set(main, kNominalRate, 96000.0), 0);
  EXPECT_EQ(system->rate(main), 96000.0);
  EXPECT_EQ(value<StreamFormat>(main, stream_format(kOutput)).rate, 96000.0);
  EXPECT_EQ(devices().set(main, kNominalRate, 22050.0), AUDEVICE_BAD_VALUE);
  EXPECT_EQ(devices().set(main, kNominalRate, 48000u), AUDEVICE_BAD_SIZE);
  EXPECT_EQ(devices().set(main, kBufferFrames, 512u), 0);
  EXPECT_EQ(system->frames(main), 512u);
  EXPECT_EQ(devices().set(main, kBufferFrames, 16u), AUDEVICE_BAD_VALUE);
  EXPECT_EQ(devices().set(main, kBufferFrames, 8193u), AUDEVICE_BAD_VALUE);
  EXPECT_EQ(devices().set(main, channel_count(kOutput), 1u), AUDEVICE_READ_ONLY);
  EXPECT_EQ(system->frames(main), 512u);
  EXPECT_EQ(system->rate(main), 96000.0);
}

TEST_F(PipeWireDevices, FollowTheGraphsSettings) {
  const ObjectId main = system->device("main");
  Ears rate(devices(), main, kNominalRate), frames(devices(), main, kBufferFrames);
  ASSERT_TRUE(eventually([&] { return rate.heard > 0; }));  // whoever listens to a rate is called at first
  server->set("force-rate", 44100);
  server->set("force-quantum", 256);
  EXPECT_TRUE(eventually([&] { return rate.heard > 1 && frames.heard > 0; }));
  EXPECT_EQ(system->rate(main), 44100.0);
  EXPECT_EQ(system->frames(main), 256u);
  EXPECT_EQ(devices().set(main, kNominalRate, 48000.0), AUDEVICE_BAD_VALUE);
  EXPECT_EQ(devices().set(main, kBufferFrames, 512u), AUDEVICE_BAD_VALUE);
}

TEST_F(PipeWireDevices, AreListedToHosts) {
  audevice_info infos[8];
  std::int32_t count = 0;
  ASSERT_EQ(audevice_list(infos, 8, &count), 0);
  ASSERT_EQ(count, 4);
  const auto main = std::ranges::find(infos, infos + 4, std::string("main"), &audevice_info::uid);
  ASSERT_NE(main, infos + 4);
  EXPECT_STREQ(main->name, "Main speakers");
  EXPECT_EQ(main->output_channels, 2u);
  EXPECT_EQ(main->is_default_output, 1);
}

}  // namespace
}  // namespace auspool::platform
