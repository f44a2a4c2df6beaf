// The keys of a dictionary of chapters: its tracks, and what an element of them has.
#pragma once

namespace auspool::tags {

inline constexpr char kContentsTrack[] = "Autag2ChapterTOCTrack", kImageTrack[] = "Autag2ChapterImageTrack",
                      kLinkTrack[] = "Autag2ChapterHRefTrack";
inline constexpr char kElementStart[] = "Autag2ChapterElementStartTime",
                      kElementDuration[] = "Autag2ChapterElementDuration",
                      kElementTitle[] = "Autag2ChapterElementTitle", kElementUrl[] = "Autag2ChapterElementURL",
                      kElementImage[] = "Autag2ChapterElementImage";

}  // namespace auspool::tags
