#include "auplayer/aupacketplayer/packets.h"

#include <cmath>
#include <cstddef>

#include "auplayer/aupacketplayer/context.h"
#include "auplayer/aupacketplayer/log.h"
#include "auplayer/aupacketplayer/require.h"
#include "auplayer/aupacketplayer/states.h"
#include "buffers/auptrbuf.h"

namespace auspool {
namespace {

const Packet *packet_of(const void *node) {
  return static_cast<const Packet *>(auptrbuf_node_get_ptr(static_cast<const auptrbuf_node *>(node)));
}

}  // namespace

void FreeNode(void *packet) {
  delete static_cast<Packet *>(packet);
}

void free_heap_node(void *node) {
  const std::unique_ptr<auptrbuf_node> owner(static_cast<auptrbuf_node *>(node));
  FreeNode(owner->ptr);
}

int TimestampLessThan(const void *a, const void *b, void *) {
  return packet_of(a)->timestamp < packet_of(b)->timestamp;
}

// The queue gives the newest first, so all that follows a flush marker was queued before it.
void StealPackets(aupacketplayer &ctx) {
  bool flushed = false;
  while (auptrbuf_node *node = auptrbuf_get_and_remove_node(ctx.packets.get())) {
    const Packet *packet = packet_of(node);
    require(packet != nullptr, "packet != NULL");
    if (packet->flags & kFlushMarker) {
      flush(ctx);
      flushed = true;
    } else if (!flushed) {
      if (!std::isfinite(packet->timestamp) || is_too_old(ctx, *packet)) {
        log(ctx, kPacketDetail, "rejecting packet %f", packet->timestamp);
      } else if (auheap_add(ctx.heap.get(), node)) {
        continue;
      }
    }
    auptrbuf_free_node(ctx.packets.get(), node);
  }
}

bool has_packet(const aupacketplayer &ctx) {
  return auheap_get_minimum(ctx.heap.get()) != nullptr;
}

const Packet &first_packet(const aupacketplayer &ctx, const char *function, int line) {
  const void *node = auheap_get_minimum(ctx.heap.get());
  require(node != nullptr, "node", function, line);
  return *packet_of(node);
}

bool is_too_old(const aupacketplayer &ctx, const Packet &packet) {
  return !(packet.timestamp > ctx.last_timestamp);
}

void RemoveMinNode(aupacketplayer &ctx) {
  auto *node = static_cast<auptrbuf_node *>(auheap_get_and_remove_minimum(ctx.heap.get()));
  require(node != nullptr, "node");
  auptrbuf_free_node(ctx.packets.get(), node);
}

void RemovePacketsUntilTime(aupacketplayer &ctx, double time) {
  while (has_packet(ctx) && first_packet(ctx).timestamp < time) RemoveMinNode(ctx);
}

}  // namespace auspool
