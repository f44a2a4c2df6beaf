#include "support/pcm_file.h"
#include "support/recording_host.h"

using namespace auspool;
using namespace auspool::testing;

namespace {

TEST(RecorderPCM, WritesWhatItIsGivenIntoEachContainerAndWidth) {
  for (const AuRecOutputType type : {AuRecOutputTypeAIFF, AuRecOutputTypeWAVE}) {
    for (const std::uint32_t bit_depth : {0u, 1u}) {
      SCOPED_TRACE(::testing::Message() << "type " << type << " bit_depth " << bit_depth);
      Host host(type);
      aurec_set_pcm_options(host, {.mono = 0, .bit_depth = bit_depth, .mono_source = 0, .sample_rate = 0});
      const Samples left = noise(50000, 1, 1.2), right = noise(50000, 2, 1.0);
      ASSERT_EQ(host.start(), 0);
      host.feed(left, right);
      aurec_stop(host);
      ASSERT_EQ(host.finished().size(), 1u);
      const PcmFile file = read_pcm_file(host.finished()[0]);
      EXPECT_TRUE(file.valid);
      EXPECT_EQ(file.channels, 2);
      EXPECT_EQ(file.rate, 44100);
      EXPECT_EQ(file.bits, bit_depth ? 24 : 16);
      EXPECT_EQ(file.samples, integers_of(left, right, file.bits));
    }
  }
}

}  // namespace
