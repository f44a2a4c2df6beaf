#include "soak.h"

namespace auspool::testing {
namespace {

template <typename Generation>
class PlayerOverAMinute : public PlayerSoak<Generation> {};
TYPED_TEST_SUITE(PlayerOverAMinute, Generations, GenerationNames);

TYPED_TEST(PlayerOverAMinute, ShareAPlayerOnDevicesThatChange) {
  this->share_a_player(std::chrono::seconds(60));
}

TYPED_TEST(PlayerOverAMinute, MayEndAPlayerWhileItsDeviceChanges) {
  this->end_players_while_devices_change(std::chrono::seconds(10));
  SUCCEED() << "the sanitizers are the judge";
}

}  // namespace
}  // namespace auspool::testing
