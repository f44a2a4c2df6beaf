// The conversions of one channel. All share one shape, so that a route picks one and calls it.
#pragma once

#include <cstddef>
#include <cstdint>

namespace auspool {

using InnerRoutine = void (*)(const void *source, std::uint32_t source_format, std::int32_t source_stride, void *target,
                              std::uint32_t target_format, std::int32_t target_stride, std::size_t frames);

// For formats of the kind that the name says, or null where no routine makes the target's width.
InnerRoutine float_to_float_routine(std::uint32_t source_format, std::uint32_t target_format);
InnerRoutine float_to_integer_routine(std::uint32_t target_format);
InnerRoutine integer_to_float_routine(std::uint32_t source_format);

}  // namespace auspool
