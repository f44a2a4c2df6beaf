// Starting and stopping, and what is asked of the device.
#include <bit>

#include "players.h"
#include "support/watch.h"

namespace auspool::testing {
namespace {

template <typename Generation>
class PlayerStart : public PlayerTest<Generation> {
protected:
  std::vector<std::uint32_t> sizes_tried(std::uint32_t frames, std::uint32_t accepted_from) {
    this->devices.on_operation = [=](const DeviceOperation &operation) {
      const bool size = operation.kind == AUSIM_SET && operation.selector == "fsiz";
      return size && operation.as<std::uint32_t>() < accepted_from ? -1 : 0;
    };
    this->set_options([=](AuPlayerOptions &options) { options.io_buffer_frames = frames; });
    this->devices.take_operations();
    EXPECT_EQ(Generation::start(this->player), 0);
    std::vector<std::uint32_t> sizes;
    for (const DeviceOperation &operation : this->devices.take_operations(AUSIM_SET)) {
      EXPECT_EQ(operation.selector, "fsiz");
      EXPECT_EQ(operation.scope, "glob");
      sizes.push_back(operation.as<std::uint32_t>());
    }
    return sizes;
  }
};
TYPED_TEST_SUITE(PlayerStart, Generations, GenerationNames);

using Sizes = std::vector<std::uint32_t>;

TYPED_TEST(PlayerStart, FollowsTheDefaultDevice) {
  const std::uint32_t id = this->stereo();
  EXPECT_EQ(TypeParam::is_active(this->player), 0u);
  EXPECT_EQ(TypeParam::device(this->player), 0u);
  EXPECT_EQ(TypeParam::start(this->player), 0);
  EXPECT_EQ(TypeParam::is_active(this->player), 1u);
  EXPECT_EQ(TypeParam::device(this->player), id);
  TypeParam::stop(this->player);
  EXPECT_EQ(TypeParam::is_active(this->player), 0u);
  EXPECT_EQ(TypeParam::device(this->player), 0u);
}

TYPED_TEST(PlayerStart, TakesTheDeviceOfTheOptions) {
  this->stereo();
  const std::uint32_t other = this->devices.add(output_device(kInterleaved));
  this->set_options([=](AuPlayerOptions &options) { options.device = other; });
  EXPECT_EQ(TypeParam::start(this->player), 0);
  EXPECT_EQ(TypeParam::device(this->player), other);
}

TYPED_TEST(PlayerStart, WithoutADefaultDeviceIsMinus2) {
  EXPECT_EQ(TypeParam::start(this->player), AUPLAYER_NO_DEFAULT_DEVICE);
  EXPECT_EQ(TypeParam::start(this->player), -2);
  EXPECT_EQ(TypeParam::is_active(this->player), 0u);
}

TYPED_TEST(PlayerStart, AsksInOrder) {
  const std::uint32_t id = this->stereo();
  this->devices.take_operations();
  TypeParam::start(this->player);
  std::string asked;
  for (const DeviceOperation &operation : this->devices.take_operations()) {
    asked += std::to_string(operation.kind) + operation.selector + operation.scope + " ";
    EXPECT_EQ(operation.object, operation.selector == "dOut" ? 1 : id);
  }
  EXPECT_EQ(asked, "1dOutglob 1nsrtglob 1dch2outp 6 10 8 4nsrtglob 1nsrtglob ");
  TypeParam::stop(this->player);
  asked.clear();
  for (const DeviceOperation &operation : this->devices.take_operations()) {
    asked += std::to_string(operation.kind) + operation.selector + operation.scope + " ";
  }
  EXPECT_EQ(asked, "10 9 7 5nsrtglob ");
}

TYPED_TEST(PlayerStart, ListensToTheDefaultOutputFromCreationOn) {
  this->devices.take_operations();
  auto *const other = TypeParam::create();
  const auto added = this->devices.take_operations();
  ASSERT_EQ(added.size(), 1u);
  EXPECT_EQ(added[0].kind, AUSIM_ADD_LISTENER);
  EXPECT_EQ(added[0].selector, "dOut");
  EXPECT_EQ(added[0].scope, "glob");
  TypeParam::destroy(other);
  EXPECT_EQ(this->devices.take_operations(AUSIM_REMOVE_LISTENER).size(), 1u);
}

TYPED_TEST(PlayerStart, DucksByAHairAndBack) {
  this->stereo();
  TypeParam::start(this->player);
  EXPECT_EQ(this->devices.take_operations(AUSIM_DUCK).at(0).template as<float>(), std::bit_cast<float>(0x3F7FFFEFu));
  TypeParam::stop(this->player);
  EXPECT_EQ(this->devices.take_operations(AUSIM_DUCK).at(0).template as<float>(), 1.0f);
}

TYPED_TEST(PlayerStart, DoesNotDuckWhereThatIsNotOffered) {
  this->stereo();
  ausim_set_ducking(this->devices, 0);
  EXPECT_EQ(TypeParam::start(this->player), 0);
  TypeParam::stop(this->player);
  EXPECT_TRUE(this->devices.take_operations(AUSIM_DUCK).empty());
}

// ---- Failures ----

TYPED_TEST(PlayerStart, GivesTheStatusOfTheStepThatFailed) {
  this->stereo();
  struct Step {
    std::int32_t kind;
    const char *selector;
  };
  for (const auto &[kind, selector] : {Step{AUSIM_GET, "dOut"}, Step{AUSIM_CREATE_IO, ""}, Step{AUSIM_START, ""}}) {
    this->devices.fail(kind, selector, -77);
    EXPECT_EQ(TypeParam::start(this->player), -77) << kind;
    EXPECT_EQ(TypeParam::is_active(this->player), 0u);
    EXPECT_EQ(TypeParam::device(this->player), 0u);
    EXPECT_EQ(this->player->io_proc_id, 0u);
    EXPECT_EQ(rbuffer2_size(this->player->ring.get()), 0);
    this->devices.fail(kind, selector, 0);
  }
  EXPECT_EQ(TypeParam::start(this->player), 0);
}

TYPED_TEST(PlayerStart, ThatFailsAtTheDeviceTakesItsIoAway) {
  this->stereo();
  this->devices.fail(AUSIM_START, "", -77);
  TypeParam::start(this->player);
  const auto operations = this->devices.take_operations();
  EXPECT_EQ(operations.back().kind, AUSIM_DESTROY_IO);
}

TYPED_TEST(PlayerStart, ThatFindsNoMemoryForTheRingAsksNothingOfTheDevice) {
  this->stereo();
  this->set_options([](AuPlayerOptions &options) { options.ring_frames = UINT32_MAX; });
  this->devices.take_operations();
  EXPECT_NE(TypeParam::start(this->player), 0);
  EXPECT_TRUE(this->devices.take_operations().empty());
  EXPECT_EQ(TypeParam::is_active(this->player), 0u);
}

TYPED_TEST(PlayerStart, GoesOnWhereRateBufferSizeAndListenerFail) {
  this->stereo();
  this->set_options([](AuPlayerOptions &options) { options.io_buffer_frames = 128; });
  this->devices.fail(AUSIM_GET, "nsrt", -1);
  this->devices.fail(AUSIM_SET, "fsiz", -1);
  this->devices.fail(AUSIM_GET, "dch2", -1);
  this->devices.fail(AUSIM_ADD_LISTENER, "nsrt", -1);
  this->devices.fail(AUSIM_DUCK, "", -1);
  EXPECT_EQ(TypeParam::start(this->player), 0);
  EXPECT_EQ(this->player->device_rate, 44100.0f);
}

TYPED_TEST(PlayerStart, StopsWhateverTheDeviceSays) {
  this->stereo();
  TypeParam::start(this->player);
  for (const std::int32_t kind : {AUSIM_STOP, AUSIM_DESTROY_IO, AUSIM_DUCK}) this->devices.fail(kind, "", -1);
  this->devices.fail(AUSIM_REMOVE_LISTENER, "nsrt", -1);
  TypeParam::stop(this->player);
  EXPECT_EQ(TypeParam::is_active(this->player), 0u);
  EXPECT_EQ(this->player->io_proc_id, 0u);
}

TYPED_TEST(PlayerStart, SurvivesAFailedAllocation) {
  this->devices.stop_noting();
  EXPECT_GE(fail_each_allocation([] {
              auto *const made = TypeParam::create();
              TypeParam::destroy(made);
              return made != nullptr;
            }),
            2);
}

// ---- Buffer sizes ----

TYPED_TEST(PlayerStart, AsksForNoBufferSizeByDefault) {
  this->stereo();
  EXPECT_EQ(this->sizes_tried(0, 0), Sizes());
}

TYPED_TEST(PlayerStart, AsksForTheBufferSizeAndStopsAtSuccess) {
  this->stereo();
  EXPECT_EQ(this->sizes_tried(100, 0), Sizes({100}));
  EXPECT_EQ(this->sizes_tried(100, 800), Sizes({100, 200, 400, 800}));
}

TYPED_TEST(PlayerStart, DoublesARefusedBufferSizeUpTo4096) {
  this->stereo();
  EXPECT_EQ(this->sizes_tried(100, UINT32_MAX), Sizes({100, 200, 400, 800, 1600, 3200}));
  EXPECT_EQ(this->sizes_tried(2048, UINT32_MAX), Sizes({2048, 4096}));
  EXPECT_EQ(this->sizes_tried(2049, UINT32_MAX), Sizes({2049}));
  EXPECT_EQ(this->sizes_tried(3000, UINT32_MAX), Sizes({3000}));
  EXPECT_EQ(this->sizes_tried(4096, UINT32_MAX), Sizes({4096}));
}

TYPED_TEST(PlayerStart, DoesNotAskForMoreThan4096Frames) {
  this->stereo();
  EXPECT_EQ(this->sizes_tried(4097, 0), Sizes());
  EXPECT_EQ(this->sizes_tried(UINT32_MAX, 0), Sizes());
}

// ---- Channels ----

TYPED_TEST(PlayerStart, NegativeChannelsResetBoth) {
  this->set_options([](AuPlayerOptions &options) {
    options.left_channel = 3;
    options.right_channel = -1;
    options.ring_frames = 5;
  });
  EXPECT_EQ(TypeParam::options(this->player).left_channel, 0);
  EXPECT_EQ(TypeParam::options(this->player).right_channel, 0);
  EXPECT_EQ(TypeParam::options(this->player).ring_frames, 5u);
  this->set_options([](AuPlayerOptions &options) {
    options.left_channel = -3;
    options.right_channel = 2;
  });
  EXPECT_EQ(TypeParam::options(this->player).right_channel, 0);
}

struct ChannelCase {
  std::int32_t left, right;                 // options
  std::uint32_t prefer_left, prefer_right;  // the device's
  std::uint32_t working_left, working_right;
};

TYPED_TEST(PlayerStart, FillsInTheDevicesPreferredChannels) {
  for (const ChannelCase &c : {ChannelCase{0, 0, 3, 4, 3, 4},
                               {3, 0, 1, 2, 3, 2},
                               {0, 3, 1, 2, 1, 3},
                               {2, 1, 3, 4, 2, 1},
                               {0, 0, 3, 0, 0, 0},
                               {0, 0, 0, 0, 0, 0},
                               {3, 0, 0, 2, 3, 0}}) {
    ausim_device device = output_device(kFour);
    device.output_left = c.prefer_left;
    device.output_right = c.prefer_right;
    this->devices.add_default_output(device);
    this->set_options([&](AuPlayerOptions &options) {
      options.left_channel = c.left;
      options.right_channel = c.right;
    });
    EXPECT_EQ(TypeParam::start(this->player), 0);
    EXPECT_EQ(this->player->out_left_channel, c.working_left);
    EXPECT_EQ(this->player->out_right_channel, c.working_right);
  }
}

TYPED_TEST(PlayerStart, DoesNotAskForPreferredChannelsWhereBothAreChosen) {
  this->stereo();
  this->set_options([](AuPlayerOptions &options) { options.left_channel = options.right_channel = 1; });
  TypeParam::start(this->player);
  for (const DeviceOperation &operation : this->devices.take_operations()) EXPECT_NE(operation.selector, "dch2");
}

TYPED_TEST(PlayerStart, DistrustsPreferredChannelsOfAnotherSize) {
  const std::uint32_t id = this->stereo();
  const std::uint32_t one = 2;
  ausim_set_property(this->devices, id, "dch2", "outp", 4, &one);
  TypeParam::start(this->player);
  EXPECT_EQ(this->player->out_left_channel, 0u);
  EXPECT_EQ(this->player->out_right_channel, 0u);
}

// ---- What stays and what does not ----

TYPED_TEST(PlayerStart, OptionsCountFromTheNextStart) {
  const std::uint32_t first = this->stereo(), second = this->devices.add(output_device(kInterleaved));
  TypeParam::start(this->player);
  this->set_options([=](AuPlayerOptions &options) { options.device = second; });
  EXPECT_EQ(TypeParam::device(this->player), first);
  EXPECT_EQ(TypeParam::start(this->player), 0);
  EXPECT_EQ(TypeParam::device(this->player), second);
}

TYPED_TEST(PlayerStart, RunsOnceHoweverOftenItIsStarted) {
  const std::uint32_t id = this->stereo();
  TypeParam::start(this->player);
  TypeParam::start(this->player);
  this->play(Samples(512, 0.25f));
  EXPECT_EQ(this->heard(id, 1), Samples(512, 0.25f));
}

TYPED_TEST(PlayerStart, SizesTheRing) {
  this->stereo();
  TypeParam::start(this->player);
  EXPECT_EQ(rbuffer2_size(this->player->ring.get()), 262144);
  this->set_options([](AuPlayerOptions &options) { options.ring_frames = 1000; });
  TypeParam::start(this->player);
  EXPECT_EQ(rbuffer2_size(this->player->ring.get()), 4000);
  const PullCallback callback = [](float *, int, double) {};
  TypeParam::set_callback(this->player, &callback);
  TypeParam::start(this->player);
  EXPECT_EQ(rbuffer2_size(this->player->ring.get()), 0);
  TypeParam::stop(this->player);
}

TYPED_TEST(PlayerStart, GainStaysThroughStartAndStop) {
  this->stereo();
  EXPECT_EQ(TypeParam::get_gain(this->player), 1.0f);
  TypeParam::set_gain(this->player, 0.5f);
  TypeParam::start(this->player);
  TypeParam::stop(this->player);
  EXPECT_EQ(TypeParam::get_gain(this->player), 0.5f);
}

TYPED_TEST(PlayerStart, PlayDoneIsForgottenAtTheNextStart) {
  this->stereo();
  TypeParam::start(this->player);
  TypeParam::play_done(this->player);
  EXPECT_FALSE(TypeParam::is_playing(this->player));
  TypeParam::start(this->player);
  EXPECT_TRUE(TypeParam::is_playing(this->player));
}

TYPED_TEST(PlayerStart, StoppingAnInactivePlayerDoesNothing) {
  this->stereo();
  this->devices.take_operations();
  TypeParam::stop(this->player);
  EXPECT_TRUE(this->devices.take_operations().empty());
}

TYPED_TEST(PlayerStart, ANullPlayerHasNoDevice) {
  EXPECT_EQ(TypeParam::device(nullptr), AUPLAYER_NO_DEVICE);
  EXPECT_EQ(TypeParam::device(nullptr), 0xFFFFFFFEu);
  TypeParam::destroy(nullptr);
}

TYPED_TEST(PlayerStart, DestroyingARunningPlayerStopsIt) {
  const std::uint32_t id = this->stereo();
  auto *const other = TypeParam::create();
  TypeParam::start(other);
  this->devices.take_operations();
  TypeParam::destroy(other);
  const auto operations = this->devices.take_operations(AUSIM_STOP);
  EXPECT_EQ(operations.size(), 1u);
  ausim_run(this->devices, id, 1);
}

// ---- Without a device ----

TYPED_TEST(PlayerStart, WithoutADeviceOnlyKeepsThePosition) {
  this->set_options([](AuPlayerOptions &options) { options.device = AUPLAYER_NO_DEVICE; });
  this->devices.take_operations();
  EXPECT_EQ(TypeParam::start(this->player), 0);
  EXPECT_EQ(TypeParam::device(this->player), AUPLAYER_NO_DEVICE);
  EXPECT_EQ(TypeParam::is_active(this->player), 1u);
  EXPECT_TRUE(TypeParam::is_playing(this->player));
  this->play(Samples(22050));
  TypeParam::play_wait(this->player, {nullptr, nullptr}, 12000, 48000.0f);
  EXPECT_FLOAT_EQ(TypeParam::now_playing(this->player), 0.75f);
  EXPECT_EQ(TypeParam::get_buffer_length(this->player), 0.0f);
  EXPECT_EQ(TypeParam::device_latency(this->player), 0.0f);
  TypeParam::stop(this->player);
  EXPECT_EQ(TypeParam::device(this->player), 0u);
  EXPECT_TRUE(this->devices.take_operations().empty());
}

// ---- Idle sleep ----

std::uint32_t is_sleep_allowed() {
  platform::AudioDevices devices;
  std::uint32_t allowed = 7;
  EXPECT_EQ(devices.get(platform::kSystemObject, platform::kSleepAllowed, &allowed), 0);
  return allowed;
}

TYPED_TEST(PlayerStart, AllowsIdleSleepBetweenTheFirstBeginAndTheLastEnd) {
  EXPECT_EQ(is_sleep_allowed(), 0u);
  TypeParam::end_allow_idle_sleep();  // nothing at 0
  TypeParam::begin_allow_idle_sleep();
  EXPECT_EQ(is_sleep_allowed(), 1u);
  TypeParam::begin_allow_idle_sleep();
  TypeParam::end_allow_idle_sleep();
  EXPECT_EQ(is_sleep_allowed(), 1u);
  TypeParam::end_allow_idle_sleep();
  EXPECT_EQ(is_sleep_allowed(), 0u);
}

TEST(PlayerIdleSleep, IsCountedByEachGenerationForItself) {
  auplayer_begin_allow_idle_sleep();
  auplayer2_begin_allow_idle_sleep();
  auplayer2_end_allow_idle_sleep();
  EXPECT_EQ(is_sleep_allowed(), 0u) << "the last step counts, whoever takes it";
  auplayer_end_allow_idle_sleep();
  EXPECT_EQ(is_sleep_allowed(), 0u);
}

}  // namespace
}  // namespace auspool::testing
