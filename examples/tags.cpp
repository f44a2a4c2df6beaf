// Reads, changes and builds the tags of audio files: the library's tag functions at work.
#include <auspool/autag2.h>

#include <cstdio>
#include <filesystem>
#include <map>

#include "common/change.h"
#include "common/command_line.h"
#include "tags/chapters.h"
#include "tags/json.h"

namespace {

using example::Changes;
using example::Json;
using example::UsageError;
using example::Value;

constexpr const char *kHelp = R"(usage: auspool-tags read FILE... [--json]
       auspool-tags write FILE [KEY=VALUE]... [--cover IMAGE] [--remove KEY] [--clear]
       auspool-tags chapters FILE... [--save-images DIR]
       auspool-tags create FORMAT [KEY=VALUE]... [--cover IMAGE] > FILE
       auspool-tags chapters-create FORMAT CHAPTERS.json > FILE

read             prints the tags of the files; with --json an object a file, with path, format, error, tags,
                 chapter_error and chapters
write            reads the tag of a file, clears, removes and sets keys in it, writes it back and prints the result code.
                 A file whose tag cannot be read in full is left alone unless --clear is given
chapters         prints the chapters of the files; --save-images stores their pictures
create           writes the bytes of a tag to standard output
chapters-create  the same for the chapters of a JSON file, which has the form that read prints; an image is the name of
                 its file, from the folder of the JSON file

FORMAT is aiff, mp3, m4a, wave, caf or flac. Keys are Title, Artist, Album, Sidekick (the album's artist), Comment,
Genre, Grouping, Composer, Lyrics, Encoder, EncoderSettings, Year, BPM, TrackNum, TrackTotal, DiscNum, DiscTotal,
TrackLength, iTunesStik, Compilation and ID3Podcast (true or false; for FLAC 1 or 0).

Exit status: read 0 once it has printed; otherwise 0 if all went well, 1 if not; 2 for a wrong command line.
)";

struct Arguments {
  std::vector<std::string> words;  // what is no option, without the name of the command
  bool json = false, help = false;
  std::string image_folder;
  Changes changes;
};

Json read_file(const std::string &path) {
  int32_t error = 0, chapter_error = 0;
  constexpr uint32_t kNone = UINT32_MAX;
  uint32_t format = kNone;
  const Value tags(autag2_read(path.c_str(), &error, &format));
  const Value chapters(autag2_chapter_read(path.c_str(), &chapter_error));
  return {{"path", path},
          {"format", format != kNone ? Json(format) : Json()},
          {"error", example::code_to_json(error)},
          {"tags", example::to_json(tags.get())},
          {"chapter_error", example::code_to_json(chapter_error)},
          {"chapters", example::to_json(chapters.get())}};
}

void print_lines(const Json &file) {
  std::printf("%s:", file["path"].get<std::string>().c_str());
  if (file["error"] != 0) std::printf(" error %s", file["error"].dump().c_str());
  std::printf(file["format"].is_null() ? " no known format\n" : "\n");
  for (const auto &[key, value] : file["tags"].items()) {
    const std::string text = value.is_string() ? value.get<std::string>() : value.dump();
    std::printf("  %-16s %s\n", key.c_str(), text.c_str());
  }
}

int read(const Arguments &arguments) {
  for (const std::string &path : arguments.words) {
    const Json file = read_file(path);
    if (arguments.json) {
      std::printf("%s\n", file.dump(-1, ' ', false, Json::error_handler_t::replace).c_str());
    } else {
      print_lines(file);
    }
  }
  return 0;
}

int write(Arguments &arguments) {
  const std::string path = arguments.words[0];
  arguments.changes.settings.assign(arguments.words.begin() + 1, arguments.words.end());
  int32_t code = 0;
  Value tag(autag2_read(path.c_str(), &code, nullptr));
  if (!tag) tag.reset(audict_create());
  if (code == 0 || arguments.changes.clear) {
    arguments.changes.apply(tag.get());
    code = autag2_write(path.c_str(), tag.get());
  }
  std::printf("%s: %s\n", path.c_str(), example::code_text(code).c_str());
  return code == 0 ? 0 : 1;
}

int chapters(const Arguments &arguments) {
  return example::print_chapters(arguments.words, arguments.image_folder) ? 0 : 1;
}

uint32_t format_from(const std::string &name) {
  static const std::map<std::string, uint32_t> formats = {{"aiff", AUTAG2_AIFF}, {"mp3", AUTAG2_MP3},
                                                          {"m4a", AUTAG2_M4A},   {"wave", AUTAG2_WAVE},
                                                          {"caf", AUTAG2_CAF},   {"flac", AUTAG2_FLAC}};
  const auto found = formats.find(name);
  if (found == formats.end()) throw UsageError(name + ": aiff, mp3, m4a, wave, caf or flac is wanted");
  return found->second;
}

int print_bytes(const audict *data) {
  std::size_t length = 0;
  const void *bytes = audict_data(data, &length);
  if (bytes == nullptr) throw std::runtime_error("there is nothing to write in this format");
  return std::fwrite(bytes, 1, length, stdout) == length && std::fflush(stdout) == 0 ? 0 : 1;
}

int create(Arguments &arguments) {
  const uint32_t format = format_from(arguments.words[0]);
  arguments.changes.settings.assign(arguments.words.begin() + 1, arguments.words.end());
  const Value tag(audict_create());
  arguments.changes.apply(tag.get());
  return print_bytes(Value(autag2_create(tag.get(), format)).get());
}

int create_chapters(const Arguments &arguments) {
  if (arguments.words.size() != 2) throw UsageError("a format and a JSON file are wanted");
  const std::string path = arguments.words[1];
  const Json json = Json::parse(example::read_whole_file(path));
  const Value chapters = example::chapters_from_json(json, std::filesystem::path(path).parent_path().string());
  return print_bytes(Value(autag2_chapter_create(chapters.get(), format_from(arguments.words[0]))).get());
}

int run(int argc, char **argv) {
  Arguments arguments;
  auto options = arguments.changes.options();
  options.push_back(example::flag("json", arguments.json));
  options.push_back(example::flag("help", arguments.help));
  options.push_back(example::text_option("save-images", arguments.image_folder));
  arguments.words = example::parse(argc, argv, options);
  if (arguments.help) return std::fputs(kHelp, stdout) < 0 ? 1 : 0;
  if (arguments.words.size() < 2) throw UsageError("a command and what it is for are wanted");
  const std::string command = arguments.words.front();
  arguments.words.erase(arguments.words.begin());
  if (command == "read") return read(arguments);
  if (command == "write") return write(arguments);
  if (command == "chapters") return chapters(arguments);
  if (command == "create") return create(arguments);
  if (command == "chapters-create") return create_chapters(arguments);
  throw UsageError("there is no command " + command);
}

}  // namespace

int main(int argc, char **argv) {
  return example::guarded("auspool-tags", [&] { return run(argc, argv); });
}
