#include "bitbox/round_trips.h"

namespace auspool {
namespace {

using testing::expect_round_trip;
using testing::Format;

TEST(RoundTrips, EverySixteenBitValueSurvivesEveryFormat) {
  for (const Format &format : testing::integer_formats()) {
    if (format.width() != 16) continue;
    for (const Format &through : testing::all_formats()) expect_round_trip(format, through);
  }
}

TEST(RoundTrips, EveryTwentyFourBitValueSurvivesFloatsAndWiderIntegers) {
  expect_round_trip({0x18}, {0x4020});
  expect_round_trip({0x1018}, {0x5040});
  expect_round_trip({0x8018}, {0x20});
}

}  // namespace
}  // namespace auspool
