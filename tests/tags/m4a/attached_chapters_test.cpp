// Chapters that we have built, in a real file, as other programs see them.
#include "tags/m4a/attached_chapters.h"

#include "auspool/autag2.h"
#include "platform/image.h"
#include "support/other_programs.h"
#include "support/pictures.h"
#include "support/tag_file.h"

namespace auspool::testing {
namespace {

class AttachedChapters : public ::testing::Test {
protected:
  void SetUp() override { NEED_PROGRAM("ffmpeg"); }

  // Six seconds of audio with the chapters, whose index counts in samples.
  TagFile file() const {
    const TempDir folder;
    output_of("ffmpeg -v error -f lavfi -i sine=duration=6:sample_rate=44100 -c:a aac -movie_timescale 44100 " +
              folder.file("a.m4a"));
    return TagFile(with_chapters(read_file(folder.file("a.m4a")), built()));
  }

  void add_title(double start, double duration, const char *title) {
    Ref element = timed(start, duration);
    audict_set_string(element.get(), "Autag2ChapterElementTitle", title);
    tags::append(*titles, std::move(element));
  }
  void add_picture(double start, double duration, const Bytes &picture) {
    Ref element = timed(start, duration);
    audict_set_data(element.get(), "Autag2ChapterElementImage", picture.data(), picture.size());
    tags::append(*pictures, std::move(element));
  }
  void add_link(double start, double duration, const char *url, const char *title) {
    Ref element = timed(start, duration);
    audict_set_string(element.get(), "Autag2ChapterElementURL", url);
    audict_set_string(element.get(), "Autag2ChapterElementTitle", title);
    tags::append(*links, std::move(element));
  }

  static constexpr char kContents[] = "Autag2ChapterTOCTrack", kImages[] = "Autag2ChapterImageTrack",
                        kLinks[] = "Autag2ChapterHRefTrack";

private:
  static Ref timed(double start, double duration) {
    Ref element(audict_create());
    audict_set_float(element.get(), "Autag2ChapterElementStartTime", start, AUDICT_FLOAT64);
    audict_set_float(element.get(), "Autag2ChapterElementDuration", duration, AUDICT_FLOAT64);
    return element;
  }

  std::string built() const {
    const Ref chapters(audict_create());
    if (audict_count(titles.get()) > 0) audict_set(chapters.get(), kContents, titles.get());
    if (audict_count(pictures.get()) > 0) audict_set(chapters.get(), kImages, pictures.get());
    if (audict_count(links.get()) > 0) audict_set(chapters.get(), kLinks, links.get());
    return bytes_of(Ref(autag2_chapter_create(chapters.get(), AUTAG2_M4A)).get());
  }

  const Ref titles = tags::make_array(), pictures = tags::make_array(), links = tags::make_array();
};

TEST_F(AttachedChapters, AreShownByFfprobeWithTitlesAndTimes) {
  add_title(0, 1.5, "One");
  add_title(1.5, 2.25, "Zwei \xC3\xA4");
  add_title(3.75, 2.25, "\xE4\xB8\x89");
  const TagFile with = file();
  EXPECT_EQ(output_of("ffprobe -v error -show_entries chapter=start_time,end_time:chapter_tags=title -of csv=p=0 " +
                      quoted(with.path())),
            "0.000000,1.500000,One\n1.500000,3.750000,Zwei \xC3\xA4\n3.750000,6.000000,\xE4\xB8\x89\n");
}

TEST_F(AttachedChapters, AreShownByMediainfo) {
  NEED_PROGRAM("mediainfo");
  add_title(0, 1.5, "One");
  add_title(1.5, 4.5, "Zwei \xC3\xA4");
  add_picture(0, 6, jpeg_file(200, 150));
  const std::string seen = output_of("mediainfo " + quoted(file().path()));
  const auto shows = [&](const char *line, const char *value) {
    const std::size_t at = seen.find(std::string("\n") + line + " ");
    return at != std::string::npos &&
           seen.substr(at, seen.find('\n', at + 1) - at).ends_with(std::string(": ") + value);
  };
  EXPECT_TRUE(shows("00:00:00.000", "One")) << seen;
  EXPECT_TRUE(shows("00:00:01.500", "Zwei \xC3\xA4")) << seen;
  EXPECT_TRUE(shows("Width", "200 pixels")) << seen;
  EXPECT_TRUE(shows("Height", "150 pixels")) << seen;
}

// A second track of texts is one of chapters to ffprobe, and the last wins.
TEST_F(AttachedChapters, LinksAreShownByFfprobeByTheirTexts) {
  add_title(0, 6, "One");
  add_link(0, 2, "http://example.org/", "site");
  add_link(2, 4, "http://example.org/2", "other site");
  EXPECT_EQ(output_of("ffprobe -v error -show_entries chapter=start_time:chapter_tags=title -of csv=p=0 " +
                      quoted(file().path())),
            "0.000000,site\n2.000000,other site\n");
}

TEST_F(AttachedChapters, AreAtomsThatAtomicParsleyKnows) {
  NEED_PROGRAM("AtomicParsley");
  add_title(0, 6, "One");
  add_picture(0, 6, jpeg_file(200, 150));
  add_link(0, 6, "http://example.org/", "site");
  const std::string tree = output_of("AtomicParsley " + quoted(file().path()) + " -T");
  std::size_t tracks = 0;
  for (std::size_t at = 0; (at = tree.find("Atom trak", at)) != std::string::npos; ++at) ++tracks;
  EXPECT_EQ(tracks, 4u) << tree;
}

TEST_F(AttachedChapters, LeaveTheAudioAsItWas) {
  add_title(0, 6, "One");
  const TagFile with = file();
  EXPECT_EQ(output_of("ffprobe -v error -select_streams a -count_packets -show_entries stream=nb_read_packets -of "
                      "csv=p=0 " +
                      quoted(with.path())),
            "260\n");
}

TEST_F(AttachedChapters, ComeBackWithPicturesAndLinks) {
  const Bytes large = jpeg_file(200, 150);
  add_title(0, 2, "One");
  add_title(2, 4, "Two");
  add_picture(0, 2, large);
  add_picture(2, 4, png_file(60, 40));
  add_link(0, 6, "http://example.org/", "site");
  const ReadResult read = file().chapters();
  EXPECT_EQ(read.error, 0);
  ASSERT_EQ(audict_count(audict_get(read.dict.get(), kContents)), 2u);
  const audict *const images = audict_get(read.dict.get(), kImages);
  ASSERT_EQ(audict_count(images), 2u);
  const std::string first = bytes_of(audict_get(audict_at(images, 0), "Autag2ChapterElementImage"));
  EXPECT_EQ(first, std::string(large.begin(), large.end())) << "as it was";
  const std::string second = bytes_of(audict_get(audict_at(images, 1), "Autag2ChapterElementImage"));
  const auto info = platform::image_info({reinterpret_cast<const std::uint8_t *>(second.data()), second.size()});
  ASSERT_TRUE(info);
  EXPECT_EQ(info->width, 200u);
  const audict *const read_link = audict_at(audict_get(read.dict.get(), kLinks), 0);
  EXPECT_STREQ(audict_get_string(read_link, "Autag2ChapterElementURL"), "http://example.org/");
  EXPECT_STREQ(audict_get_string(read_link, "Autag2ChapterElementTitle"), "site");
}

TEST_F(AttachedChapters, PicturesAreAVideoStreamOfTheirSizeToFfprobe) {
  add_title(0, 6, "One");
  add_picture(0, 2, jpeg_file(200, 150));
  add_picture(2, 4, png_file(60, 40));
  EXPECT_EQ(output_of("ffprobe -v error -select_streams v -show_entries "
                      "stream=codec_name,width,height,nb_frames -of csv=p=0 " +
                      quoted(file().path())),
            "mjpeg,200,150,2\n");
}

}  // namespace
}  // namespace auspool::testing
