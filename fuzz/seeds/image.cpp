// Small pictures of every kind that is told apart.
#include "seeds/seed.h"
#include "support/pictures.h"

int main(int, char **arguments) {
  using namespace auspool::testing;
  const std::string folder = arguments[1];
  int number = 0;
  for (const auto kind :
       {PngKind::rgb, PngKind::rgba, PngKind::gray, PngKind::gray_alpha, PngKind::palette, PngKind::rgb16}) {
    write_seed(folder, "png" + std::to_string(number++), png_file(12, 7, kind));
  }
  for (const auto kind : {JpegKind::baseline, JpegKind::progressive, JpegKind::gray, JpegKind::cmyk}) {
    write_seed(folder, "jpeg" + std::to_string(number++), jpeg_file(12, 7, kind));
  }
}
