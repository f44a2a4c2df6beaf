#include "soak.h"

namespace auspool::testing {
namespace {

template <typename Generation>
class PlayerThreads : public PlayerSoak<Generation> {};
TYPED_TEST_SUITE(PlayerThreads, Generations, GenerationNames);

TYPED_TEST(PlayerThreads, ShareAPlayerOnDevicesThatChange) {
  this->share_a_player(std::chrono::milliseconds(700));
}

TYPED_TEST(PlayerThreads, MayEndAPlayerWhileItsDeviceChanges) {
  this->end_players_while_devices_change(std::chrono::milliseconds(400));
  SUCCEED() << "the sanitizers are the judge";
}

}  // namespace
}  // namespace auspool::testing
