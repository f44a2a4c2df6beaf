// What comes of a stream in the long run: drift is followed, jitter and loss do not pile up, and the bounds that hosts
// are told are where they are said to be.
#include <algorithm>
#include <cmath>

#include "support/packet_stream.h"

namespace auspool::testing {
namespace {

// How a stream is heard over a span, in seconds.
struct Span {
  double mean_late = 0, earliest = 1, latest = -1, mean_correction = 0, silent = 0;
};

Span hear(PacketStream &stream, double until) {
  Span span;
  int positions = 0, calls = 0;
  for (double time = 0; time < until; ++calls) {
    const Heard heard = stream.next();
    time = heard.time;
    span.mean_correction += heard.rate_correction;
    span.silent += heard.silent / PacketStream::kRate;
    if (!heard.has_position) continue;
    ++positions;
    span.mean_late += heard.late;
    span.earliest = std::min(span.earliest, heard.late);
    span.latest = std::max(span.latest, heard.late);
  }
  span.mean_late /= positions;
  span.mean_correction /= calls;
  return span;
}

Span hear_after(const StreamSettings &settings, double skipped, double until) {
  PacketStream stream(settings);
  hear(stream, skipped);
  return hear(stream, until);
}

// Settled: heard within a millisecond of the mean, without a hole, at the rate of the output.
void expect_settled(double drift, double after) {
  PacketStream stream({.drift = drift});
  hear(stream, after);
  const Span begin = hear(stream, after + 200), rest = hear(stream, after + 400);
  for (const Span &span : {begin, rest}) {
    EXPECT_NEAR(span.earliest, rest.mean_late, 1e-3) << drift;
    EXPECT_NEAR(span.latest, rest.mean_late, 1e-3) << drift;
    EXPECT_EQ(span.silent, 0.0) << drift;
  }
  EXPECT_NEAR(rest.mean_correction, drift, 1e-6);
}

TEST(Convergence, ADriftOf500PpmIsFollowedWithin150Seconds) {
  for (const double drift : {5e-4, -5e-4}) expect_settled(drift, 150);
}

TEST(Convergence, ADriftOf3000PpmIsFollowedWithin325Seconds) {
  for (const double drift : {3e-3, -3e-3}) expect_settled(drift, 325);
}

// The next packet's time is compared with that of the call's first frame.
TEST(Convergence, InBalanceTheAudioIsAFewMillisecondsLate) {
  const Span longer_calls = hear_after({.packet = 441, .call = 512}, 5, 35);
  EXPECT_NEAR(longer_calls.mean_late, 3.76e-3, 0.1e-3);  // most of half a packet
  const Span shorter_calls = hear_after({.drift = 5e-4, .packet = 1024, .call = 256}, 200, 230);
  EXPECT_NEAR(shorter_calls.mean_late, 1.95e-3, 0.15e-3);  // a third of a call
}

TEST(Convergence, JitterOfArrivalIsNotHeard) {
  const Span calm = hear_after({.drift = 5e-4}, 300, 400),
             wild = hear_after({.drift = 5e-4, .arrival_jitter = 0.02}, 300, 400);
  EXPECT_EQ(wild.mean_late, calm.mean_late);
  EXPECT_EQ(wild.silent, 0.0);
}

TEST(Convergence, LostPacketsAreSilentAndNothingElseIs) {
  PacketStream stream({.drift = -1e-3, .arrival_jitter = 0.02, .loss = 0.05, .reordering = 0.05});
  const Span begin = hear(stream, 400);
  EXPECT_GT(begin.silent, 0.0);
  const std::int64_t lost_before = stream.lost();
  const Span span = hear(stream, 1000);
  EXPECT_NEAR(span.silent, static_cast<double>(stream.lost() - lost_before) * 0.01, 0.1);
  EXPECT_NEAR(span.mean_correction, -1e-3, 3e-6);
  EXPECT_LT(span.latest - span.earliest, 1e-3);
}

TEST(Convergence, TimestampsThatAreOffByLessThan150FramesMakeNoHoles) {
  const Span span = hear_after({.drift = 5e-4, .timestamp_jitter = 0.0033}, 200, 500);
  EXPECT_EQ(span.silent, 0.0);
  EXPECT_LT(span.latest - span.earliest, 1e-3);
}

TEST(Convergence, TimestampsThatAreOffByMoreMakeHolesUnlessPaddingIsOff) {
  const Span padded = hear_after({.drift = 5e-4, .timestamp_jitter = 0.0045}, 200, 500);
  EXPECT_GT(padded.silent, 1.0);
  EXPECT_GT(padded.latest - padded.earliest, 10e-3);
  const Span plain = hear_after({.drift = 5e-4, .timestamp_jitter = 0.0045, .pads = false}, 200, 500);
  EXPECT_EQ(plain.silent, 0.0);
  EXPECT_LT(plain.latest - plain.earliest, 1e-3);
}

struct Sizes {
  std::uint32_t packet, call;
};

// Over a hundred seconds, some time after it began.
double swing(Sizes sizes) {
  const Span span = hear_after({.drift = 5e-4, .packet = sizes.packet, .call = sizes.call, .lead = 0.3}, 250, 350);
  return span.latest - span.earliest;
}

TEST(Convergence, SettlesBelowTheBoundOfStability) {
  for (const Sizes sizes : {Sizes{128, 64}, {700, 128}, {1024, 256}, {4096, 512}}) {
    EXPECT_LT(swing(sizes), 15e-3) << sizes.packet << "/" << sizes.call;
  }
}

TEST(Convergence, SwingsAboveTheBoundOfStability) {
  for (const Sizes sizes : {Sizes{352, 64}, {900, 128}, {4096, 256}}) {
    EXPECT_GT(swing(sizes), 25e-3) << sizes.packet << "/" << sizes.call;
  }
}

// A packet of up to 300 frames that is lost is not padded: what follows is early by its length each time.
TEST(Convergence, ShortPacketsThatAreOftenLostCannotBeCaughtUpWith) {
  const Span span = hear_after({.packet = 256, .loss = 0.05}, 200, 500);
  EXPECT_GT(span.silent, 1.0);
  EXPECT_GT(span.latest - span.earliest, 20e-3);
}

}  // namespace
}  // namespace auspool::testing
