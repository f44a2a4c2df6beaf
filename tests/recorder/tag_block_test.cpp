// The tags that a host gives for a file, from its dictionary to what is read from the finished file.
#include "recorder/tag_block.h"

#include <gtest/gtest.h>

#include <atomic>

#include "auspool/autag2.h"
#include "support/pcm_file.h"
#include "support/recording_host.h"
#include "support/tag_file.h"
#include "support/watch.h"

namespace auspool::testing {
namespace {

audict *new_tag(const char *title) {
  audict *tag = audict_create();
  audict_set_string(tag, "Title", title);
  audict_set_string(tag, "Artist", "Lanterns");
  audict_set_integer(tag, "Year", 1952, AUDICT_INT32);
  audict_set_integer(tag, "TrackNum", 3, AUDICT_INT32);
  audict_set_data(tag, "AlbumCover", "\xFF\xD8 the bytes of a picture, an odd number", 41);
  return tag;
}

void expect_tag(const std::string &path, const audict *tag, std::uint32_t format) {
  std::int32_t error = -1;
  std::uint32_t found = 77;
  const Ref read(autag2_read(path.c_str(), &error, &found));
  EXPECT_EQ(error, 0);
  EXPECT_EQ(found, format);
  EXPECT_TRUE(audict_equal(read.get(), tag)) << audict_string(Ref(audict_print(read.get())).get());
}

class RecordedTags : public ::testing::TestWithParam<AuRecOutputType> {
protected:
  std::uint32_t format() const { return GetParam() == AuRecOutputTypeAIFF ? AUTAG2_AIFF : AUTAG2_WAVE; }
  const Samples left = noise(20000, 1, 0.5), right = noise(20000, 2, 0.5);
};

TEST_P(RecordedTags, StandInTheFileBesideTheSameAudio) {
  Host host(GetParam());
  host.on_path = [](char *, void *&, void *, audict **tags) { *tags = new_tag("Night Train"); };
  ASSERT_EQ(host.start(), 0);
  host.feed(left, right);
  aurec_stop(host);
  ASSERT_EQ(host.finished().size(), 1u);
  const PcmFile file = read_pcm_file(host.finished()[0]);
  EXPECT_TRUE(file.valid);
  EXPECT_EQ(file.samples, integers_of(left, right, 16));
  const Ref tag(new_tag("Night Train"));
  EXPECT_EQ(file.tags, bytes_of(Ref(autag2_create(tag.get(), format())).get()));
  expect_tag(host.finished()[0], tag.get(), format());
}

TEST_P(RecordedTags, AreThoseOfEachFile) {
  Host host(GetParam());
  std::atomic<int> files = 0;
  host.on_path = [&files](char *, void *&, void *, audict **tags) {
    if (++files != 2) *tags = new_tag(files == 1 ? "first" : "third");
  };
  ASSERT_EQ(host.start(), 0);
  for (int i = 0; i < 3; ++i) {
    host.feed(left, right);
    host.wait_until_ring_is_empty();
    if (i < 2) aurec_make_new_file(host);
    host.wait_until([&] { return files >= std::min(3, i + 2); }, "the next file");
  }
  aurec_stop(host);
  ASSERT_EQ(host.finished().size(), 3u);
  expect_tag(host.finished()[0], Ref(new_tag("first")).get(), format());
  expect_tag(host.finished()[2], Ref(new_tag("third")).get(), format());
  EXPECT_EQ(read_pcm_file(host.finished()[1]).tags, "") << "the second has none";
}

TEST_P(RecordedTags, CanBeRewrittenLater) {
  Host host(GetParam());
  host.on_path = [](char *, void *&, void *, audict **tags) { *tags = new_tag("Night Train"); };
  ASSERT_EQ(host.start(), 0);
  host.feed(left, right);
  aurec_stop(host);
  ASSERT_EQ(host.finished().size(), 1u);
  const Ref changed(new_tag("Another Train"));
  EXPECT_EQ(autag2_write(host.finished()[0].c_str(), changed.get()), 0);
  expect_tag(host.finished()[0], changed.get(), format());
  EXPECT_EQ(read_pcm_file(host.finished()[0]).samples, integers_of(left, right, 16)) << "they stood before the audio";
}

INSTANTIATE_TEST_SUITE_P(Types, RecordedTags, ::testing::Values(AuRecOutputTypeAIFF, AuRecOutputTypeWAVE),
                         [](const auto &it) { return it.param == AuRecOutputTypeAIFF ? "Aiff" : "Wave"; });

TEST(TagBlock, IsEmptyWhereMemoryRanOutAndTheDictionaryIsReleased) {
  audict *tag = new_tag("x");
  const long before = live_allocations();
  for (int nth = 1;; ++nth) {
    TagsOfFile tags;
    *tags.out() = audict_retain(tag);
    const AllocationFailer failer(nth);
    const TagBlock block = tags.take_block(kTagKindAIFF);
    EXPECT_EQ(block.empty(), failer.failed());
    EXPECT_EQ(*tags.out(), nullptr);
    if (!failer.failed()) break;
  }
  EXPECT_EQ(live_allocations(), before);
  audict_release(tag);
}

TEST(TagsOfFile, BecomeACopyThatCanBeChanged) {
  audict *host = new_tag("x");
  TagsOfFile tags;
  *tags.out() = audict_retain(host);
  audict *own = tags.make_own();
  EXPECT_TRUE(audict_equal(own, host));
  EXPECT_TRUE(audict_set_string(own, "Title", "y"));
  EXPECT_STREQ(audict_get_string(host, "Title"), "x");
  TagsOfFile none;
  EXPECT_EQ(audict_count(none.make_own()), 0u);
  EXPECT_NE(*none.out(), nullptr);
  audict_release(host);
}

TEST(TagsOfFile, AreNoneWhereTheCopyFindsNoMemory) {
  TagsOfFile tags;
  *tags.out() = new_tag("x");
  const AllocationFailer failer(1);
  EXPECT_EQ(tags.make_own(), nullptr);
  EXPECT_EQ(*tags.out(), nullptr);
}

TEST(TagBlock, OfATagWithNothingToWriteIsEmpty) {
  TagsOfFile tags;
  EXPECT_TRUE(tags.take_block(kTagKindAIFF).empty());
  *tags.out() = audict_create();
  EXPECT_TRUE(tags.take_block(kTagKindAIFF).empty());
  *tags.out() = audict_create();
  EXPECT_EQ(tags.take_block(kTagKindWAVE).size(), 30u) << "WAVE has its empty list";
}

}  // namespace
}  // namespace auspool::testing
