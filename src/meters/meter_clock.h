// The time of the meters.
#pragma once

namespace auspool {

// Seconds of a clock that never steps back, which a time of day may do: that would raise levels. As with a time of day,
// second 0 lies far in the past, also just after the start of the machine.
double meter_seconds();

// From such a second until now. Not below 0, which it would be if another thread set `time` to a later one just now.
double meter_seconds_since(double time);

}  // namespace auspool
