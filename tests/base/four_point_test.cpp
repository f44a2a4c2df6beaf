#include "base/four_point.h"

#include <gtest/gtest.h>

#include <vector>

#include "support/signals.h"

namespace auspool {
namespace {

// Tells its four arguments and the place apart.
struct Polynomial {
  template <typename V>
  V operator()(V a, V b, V c, V d, V t) const {
    return a + 10.0f * b + 100.0f * c + 1000.0f * d + t;
  }
};

constexpr float kUntouched = 12345.0f;

FourPointPlaces some_places(std::uint32_t count) {
  FourPointPlaces places;
  places.count = count;
  places.base = 2;
  for (std::uint32_t k = 0; k < count; ++k) {
    places.offset[k] = static_cast<std::int32_t>(k * 7 % 20);
    places.t[k] = static_cast<float>(k) * 0.125f;
  }
  return places;
}

TEST(FourPoint, OneChannelIsReadAtEveryPlaceAndStride) {
  const std::vector<float> source = testing::noise(100, 1);
  for (std::uint32_t count = 0; count < 12; ++count) {
    const FourPointPlaces places = some_places(count);
    for (std::size_t from : {1u, 2u, 3u}) {
      for (std::size_t to : {1u, 2u}) {
        std::vector<float> destination(30, kUntouched);
        interpolate_channel(places, {source.data(), from}, {destination.data(), to}, Polynomial());
        for (std::size_t i = 0; i < destination.size(); ++i) {
          const std::size_t k = i / to;
          const float *s = source.data() + (2 + k * 7 % 20) * from;
          const bool written = i % to == 0 && k < count;
          const float t = static_cast<float>(k) * 0.125f;
          ASSERT_EQ(destination[i], written ? Polynomial()(s[0], s[from], s[2 * from], s[3 * from], t) : kUntouched);
        }
      }
    }
  }
}

TEST(FourPoint, APairIsReadAsEachChannelIsAlone) {
  const std::vector<float> source = testing::noise(100, 1);
  for (std::uint32_t count = 0; count < 12; ++count) {
    const FourPointPlaces places = some_places(count);
    for (std::size_t stride : {2u, 3u}) {
      std::vector<float> pair(40, kUntouched), alone = pair;
      interpolate_pair(places, {source.data(), stride}, {pair.data(), stride}, Polynomial());
      for (std::size_t c : {0u, 1u}) {
        interpolate_channel(places, {source.data() + c, stride}, {alone.data() + c, stride}, Polynomial());
      }
      ASSERT_EQ(pair, alone) << count;
    }
  }
}

}  // namespace
}  // namespace auspool
