// Packets, their order, and their road: from the queue to the heap, and back to the queue to be freed by a producer.
// But for FreeNode and free_heap_node, all is for the thread that gets frames, and real-time safe.
#pragma once

#include <cstdint>
#include <memory>

#include "auspool/aupacketplayer.h"

namespace auspool {

inline constexpr std::uint64_t kFlushMarker = 1;

struct Packet {
  std::uint64_t flags = 0;                  // kFlushMarker, or 0 for audio
  std::unique_ptr<float[]> data = nullptr;  // interleaved stereo; null in a flush marker
  std::uint32_t frames = 0;
  double timestamp = 0.0;  // when the first frame is due to be heard, seconds by au_now
};

// Frees a packet of the queue.
void FreeNode(void *packet);

// Frees an entry of the heap, which is a node of the queue, with its packet.
void free_heap_node(void *node);

// The order of the heap, whose entries are nodes of the queue.
int TimestampLessThan(const void *a, const void *b, void *context);

// Takes all packets off the queue and puts those that may still be played into the heap.
void StealPackets(aupacketplayer &ctx);

bool has_packet(const aupacketplayer &ctx);

// The earliest packet of the heap, which must not be empty.
const Packet &first_packet(const aupacketplayer &ctx, const char *function = __builtin_FUNCTION(),
                           int line = __builtin_LINE());

// Whether a packet's time is behind what was last started; also true of a time that is no number.
bool is_too_old(const aupacketplayer &ctx, const Packet &packet);

// Hands the earliest packet of the heap back to the queue.
void RemoveMinNode(aupacketplayer &ctx);

// Does so with all packets due before `time`.
void RemovePacketsUntilTime(aupacketplayer &ctx, double time);

}  // namespace auspool
