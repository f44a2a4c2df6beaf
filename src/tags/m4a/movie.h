// What a movie without tags tells of itself.
#pragma once

#include "platform/file.h"
#include "tags/dict/node.h"

namespace auspool::tags {

// Adds title and cover, where they are missing and the file has a video track: the file's name without its extension,
// and a small picture of the film.
void read_movie(audict &tag, platform::File &file, const char *path);

}  // namespace auspool::tags
