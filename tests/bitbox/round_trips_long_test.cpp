#include "bitbox/round_trips.h"

namespace auspool {
namespace {

using testing::Format;

// 0x2000 is another name of the order without a flag.
bool is_of_its_own(const Format &format) {
  return (format.word & 0x2000) == 0;
}

TEST(RoundTripsLong, EveryTwentyFourBitValueSurvivesEveryFormatThatHoldsIt) {
  for (const Format &format : testing::integer_formats()) {
    if (format.width() != 24 || !is_of_its_own(format)) continue;
    for (const Format &through : testing::all_formats()) {
      if (through.width() >= 24 && is_of_its_own(through)) testing::expect_round_trip(format, through);
    }
  }
}

}  // namespace
}  // namespace auspool
