// What the text frames of a tag say, put under the keys of its dictionary.
#pragma once

#include <string>

#include "auspool/audict.h"

namespace auspool::tags {

// A frame's text, with the key that it goes to.
void set_text(audict &tag, const char *key, std::string text);
// A genre's number in parentheses stands for its name.
void set_genre(audict &tag, const char *key, std::string text);
// A number that begins the text and is above 0.
void set_number(audict &tag, const char *key, std::string text);
// True for such a number; other texts say nothing.
void set_flag(audict &tag, const char *key, std::string text);
// "position" or "position/total".
void set_track(audict &tag, const char *key, std::string text);
void set_disc(audict &tag, const char *key, std::string text);

}  // namespace auspool::tags
