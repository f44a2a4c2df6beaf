// The host's log.
#pragma once

#include <cstdint>

#include "auplayer/aupacketplayer/context.h"

namespace auspool {

inline constexpr std::int32_t kStateChange = 1;
inline constexpr std::int32_t kPacketDetail = 3;

template <typename... Arguments>
void log(const aupacketplayer &ctx, std::int32_t level, const char *format, Arguments... arguments) {
  if (ctx.log_callback) ctx.log_callback(ctx.log_context, level, format, arguments...);
}

}  // namespace auspool
