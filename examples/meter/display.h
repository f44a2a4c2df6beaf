// The meters on a terminal, drawn anew in the same place.
#pragma once

#include <string>

#include "meter/measurement.h"

namespace meter {

class Display {
public:
  // `total` seconds of audio; 0 when nobody knows.
  Display(std::string title, double total, const Measurement &measurement);

  void draw(const Moment &moment);

private:
  std::vector<std::string> lines(const Moment &moment) const;
  std::string bar(float rms, float peak) const;
  std::string spectrum_row(const Moment &moment, int row) const;

  std::string title_;
  double total_;
  std::string scale_;  // frequencies below the spectrum
  bool has_blocks_;    // whether the terminal shows the characters of eighths
  std::size_t drawn_lines_ = 0;
};

}  // namespace meter
