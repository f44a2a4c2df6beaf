#include <gtest/gtest.h>

#include "auspool/autag2.h"
#include "support/atoms.h"
#include "support/m4a_tags.h"
#include "support/tag_file.h"

using namespace auspool::testing;

namespace {

class M4aBuild : public ::testing::Test {
protected:
  std::string built() const {
    const Ref data(autag2_create(tag.get(), AUTAG2_M4A));
    return bytes_of(data.get());
  }
  std::string items() const { return atom_at(built(), "udta.meta.ilst").bytes.substr(8); }

  const Ref tag{audict_create()};
  const std::string positions = item("trkn", 0, std::string(8, '\0')) + item("disk", 0, std::string(8, '\0'));
};

TEST_F(M4aBuild, WritesNothingForNoTag) {
  EXPECT_EQ(autag2_create(nullptr, AUTAG2_M4A), nullptr);
}

TEST_F(M4aBuild, EmptyTagHasPositionsAllTheSame) {
  EXPECT_EQ(built(),
            atom("udta", atom("meta", be32(0) + atom("hdlr", words({0, 0}) + "mdirappl" + std::string(12, '\0')) +
                                          atom("ilst", positions))));
}

TEST_F(M4aBuild, TextsComeInTheirOrder) {
  for (const char *key : {"EncoderSettings", "Lyrics", "Comment", "Composer", "Grouping", "Encoder", "Genre", "Album",
                          "Sidekick", "Artist", "Title"}) {
    audict_set_string(tag.get(), key, key);
  }
  EXPECT_EQ(items(), text_item("\xA9nam", "Title") +
                         text_item("\xA9"
                                   "ART",
                                   "Artist") +
                         text_item("aART", "Sidekick") +
                         text_item("\xA9"
                                   "alb",
                                   "Album") +
                         text_item("\xA9gen", "Genre") + text_item("\xA9too", "Encoder") +
                         text_item("\xA9grp", "Grouping") + text_item("\xA9wrt", "Composer") +
                         text_item("\xA9"
                                   "cmt",
                                   "Comment") +
                         text_item("\xA9lyr", "Lyrics") + text_item("tsse", "EncoderSettings") + positions);
}

TEST_F(M4aBuild, NumbersComeBehindTheTexts) {
  audict_set_integer(tag.get(), "Year", 1962, AUDICT_INT32);
  audict_set_integer(tag.get(), "BPM", 120, AUDICT_INT16);
  audict_set_integer(tag.get(), "iTunesStik", 0, AUDICT_INT8);
  audict_set_boolean(tag.get(), "Compilation", true);
  audict_set_integer(tag.get(), "TrackNum", 3, AUDICT_INT32);
  audict_set_integer(tag.get(), "TrackTotal", 12, AUDICT_INT32);
  audict_set_integer(tag.get(), "DiscTotal", 2, AUDICT_INT32);
  EXPECT_EQ(items(), text_item("\xA9"
                               "day",
                               "1962") +
                         item("tmpo", 21, be16(120)) + item("stik", 21, std::string(1, '\0')) + item("cpil", 21, "\1") +
                         item("trkn", 0, be16(0) + be16(3) + be16(12) + be16(0)) +
                         item("disk", 0, be16(0) + be16(0) + be16(2) + be16(0)));
}

TEST_F(M4aBuild, LeavesOutWhatSaysNothing) {
  audict_set_string(tag.get(), "Title", "");
  audict_set_integer(tag.get(), "Year", 0, AUDICT_INT32);
  audict_set_integer(tag.get(), "BPM", 0, AUDICT_INT16);
  audict_set_boolean(tag.get(), "Compilation", false);
  EXPECT_EQ(items(), positions);
  audict_set_integer(tag.get(), "Compilation", 1, AUDICT_INT32);
  EXPECT_EQ(items(), positions) << "a number is no boolean";
}

TEST_F(M4aBuild, CoverTellsItsKind) {
  const auto cover = [&](const std::string &bytes) {
    audict_set_data(tag.get(), "AlbumCover", bytes.data(), bytes.size());
    return items();
  };
  EXPECT_EQ(cover("\x89PNG"), positions + item("covr", 14, "\x89PNG"));
  EXPECT_EQ(cover("\xFF\xD8\xFF"), positions + item("covr", 13, "\xFF\xD8\xFF"));
  EXPECT_EQ(cover("GIF89a"), positions + item("covr", 0, "GIF89a"));
}

TEST_F(M4aBuild, LongTextsEndWithAWholeCharacter) {
  std::string title(4095, 'a');
  title += "\xC3\xA9 and more";
  audict_set_string(tag.get(), "Title", title.c_str());
  EXPECT_EQ(items(), text_item("\xA9nam", std::string(4095, 'a')) + positions);
}

}  // namespace
