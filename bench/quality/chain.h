// Our own chains in the precision that each works in.
#pragma once

#include <memory>
#include <vector>

#include "auspool/raesampler.h"

namespace quality {

using Chain = std::unique_ptr<raesampler, void (*)(raesampler *)>;

Chain make_chain(int flags, double in, double out);

// Converts the next samples of a signal: as doubles from VeryHigh on, as floats below.
std::vector<double> convert(raesampler *r, int flags, const std::vector<double> &in);

// A whole signal: what comes out has its length times the ratio.
std::vector<double> convert_whole(int quality, double in, double out, std::vector<double> signal);

}  // namespace quality
