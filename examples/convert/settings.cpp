#include "convert/settings.h"

#include <sndfile.h>

namespace convert {

const char *const kHelp = R"(usage: auspool-convert IN OUT --format FORMAT [OPTION]...
Writes the samples of IN, any file that libsndfile reads, in another format: all channels, the rate as it is.

OUT is a container by its name: .wav, .aiff or .aif, .caf, .au. Any other name, as .raw or .pcm, gets the bare samples,
interleaved. A file of that name is replaced when the whole is written, and not before.

  --format s16|s24|s32|f32|f64|s24in32   signed integers or floats of so many bits; s24in32, in raw files alone, is 24
                        bits in the lower three of four bytes
  --big                 raw samples in big-endian order (little-endian); a container has its own order
  --dither TYPE         on the way to integers: rpdf, tpdf add noise; simp, ff_f, fwgt, ff-4, ff-6, ff-8 also shape it,
                        at rates from 44100 (none)
  --json                prints a line of JSON: path, frames, channels, rate, format, big_endian, dither, bytes, clipped

Integers are read and written exactly, also as floats of more bits; fewer bits are rounded, which dither makes free of
distortion. Samples beyond full scale clip where integers are written: the last line counts them.

Exit status: 0 if OUT is complete, 1 if not, 2 for a wrong command line.)";

namespace {

constexpr Format kFormats[] = {{"s16", 16, 2, SF_FORMAT_PCM_16},
                               {"s24", 24, 3, SF_FORMAT_PCM_24},
                               {"s32", 32, 4, SF_FORMAT_PCM_32},
                               {"f32", BITBOX_FLOAT | 32, 4, SF_FORMAT_FLOAT},
                               {"f64", BITBOX_FLOAT | 64, 8, SF_FORMAT_DOUBLE},
                               {"s24in32", BITBOX_UNPACKED | 24, 4, 0}};

constexpr Container kContainers[] = {{".wav", SF_FORMAT_WAV, false},
                                     {".aiff", SF_FORMAT_AIFF, true},
                                     {".aif", SF_FORMAT_AIFF, true},
                                     {".caf", SF_FORMAT_CAF, true},
                                     {".au", SF_FORMAT_AU, true}};

const Container *container_of(const std::filesystem::path &path) {
  std::string extension = path.extension().string();
  for (char &c : extension) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  for (const Container &container : kContainers)
    if (extension == container.extension) return &container;
  return nullptr;
}

void check(const Settings &s) {
  std::error_code none;
  if (s.format < 0) throw example::UsageError("--format is missing");
  if (s.dither && s.to_floats()) throw example::UsageError("--dither is of no use to floats");
  if (s.container && !s.target().subtype)
    throw example::UsageError("s24in32 is for raw files, not for " + s.out.string());
  if (std::filesystem::exists(s.out, none) && !std::filesystem::is_regular_file(s.out, none))
    throw example::UsageError(s.out.string() + " is no regular file");
  if (std::filesystem::equivalent(s.in, s.out, none)) throw example::UsageError("IN and OUT are the same file");
}

}  // namespace

const Format &Settings::target() const {
  return kFormats[format];
}

std::string Settings::dither_name() const {
  std::string name;
  for (int shift = 24; dither && shift >= 0; shift -= 8) name += static_cast<char>(dither >> shift);
  return name.empty() ? "none" : name;
}

Settings settings_from(int argc, char **argv) {
  Settings s;
  std::vector<std::pair<std::string, int>> formats, dithers;
  for (const Format &format : kFormats) formats.emplace_back(format.name, static_cast<int>(formats.size()));
  for (const char *name : {"rpdf", "tpdf", "simp", "ff_f", "fwgt", "ff-4", "ff-6", "ff-8"})  // their codes spell them
    dithers.emplace_back(name, name[0] << 24 | name[1] << 16 | name[2] << 8 | name[3]);
  const auto paths =
      example::parse(argc, argv,
                     {example::flag("help", s.help), example::choice_option("format", s.format, formats),
                      example::flag("big", s.big_endian), example::choice_option("dither", s.dither, dithers),
                      example::flag("json", s.json)});
  if (s.help) return s;
  if (paths.size() != 2) throw example::UsageError("one IN and one OUT are wanted");
  s.in = paths[0];
  s.out = paths[1];
  s.container = container_of(s.out);
  if (s.container && s.big_endian) throw example::UsageError("--big is for raw files, not for " + s.out.string());
  if (s.container) s.big_endian = s.container->big_endian;
  check(s);
  return s;
}

}  // namespace convert
