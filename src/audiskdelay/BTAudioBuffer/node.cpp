#include "audiskdelay/BTAudioBuffer/node.h"

#include <cstring>

#include "audiskdelay/BTAudioBuffer/checks.h"

namespace auspool::audiskdelay {
namespace {

// Entry `index` of the table that grows down from the node's end.
std::uint16_t &offset_entry(const BTAudioNode *node, std::uint32_t index) {
  return *reinterpret_cast<std::uint16_t *>(node->bytes + kBTAudioNodeSize - 2 - 2 * std::size_t{index});
}

void check_index(const BTAudioNode *node, std::uint32_t index) {
  assert_that(index < (BTAudioNodeGetDescriptor(node))->records, "index < (BTAudioNodeGetDescriptor(node))->records");
}

void touch(BTAudioNode *node) {
  node->block->dirty = 1;
}

}  // namespace

BTAudioNodeDescriptor *BTAudioNodeGetDescriptor(const BTAudioNode *node) {
  assert_that(node != nullptr, "node != NULL");
  return reinterpret_cast<BTAudioNodeDescriptor *>(node->bytes);
}

void BTAudioNodeReset(BTAudioNode *node) {
  *BTAudioNodeGetDescriptor(node) = {{'n', 'o', 'd', 'e'}, 0, 0, kBTAudioFreeNode, 0, 0};
  offset_entry(node, 0) = sizeof(BTAudioNodeDescriptor);
  touch(node);
}

std::uint32_t BTAudioNodeGetRecordSize(const BTAudioNode *node, std::uint32_t index) {
  check_index(node, index);
  return std::uint32_t{offset_entry(node, index + 1)} - offset_entry(node, index);
}

std::uint8_t *BTAudioNodeGetRecord(const BTAudioNode *node, std::uint32_t index) {
  check_index(node, index);
  return node->bytes + offset_entry(node, index);
}

bool BTAudioNodeHasRoom(const BTAudioNode *node, std::uint32_t size) {
  const std::uint32_t count = record_count(node);
  const std::uint32_t table = kBTAudioNodeSize - 2 - 2 * count;
  return offset_entry(node, count) + size + 2 <= table;
}

void BTAudioNodeInsertRecord(BTAudioNode *node, std::uint32_t index, const void *data, std::uint32_t size) {
  const std::uint32_t recordCount = record_count(node);
  assert_that(index <= recordCount, "index <= recordCount");
  std::uint8_t *const place = node->bytes + offset_entry(node, index);
  std::memmove(place + size, place, static_cast<std::size_t>(node->bytes + offset_entry(node, recordCount) - place));
  std::memcpy(place, data, size);
  for (std::uint32_t i = recordCount + 1; i > index; --i) {
    offset_entry(node, i) = static_cast<std::uint16_t>(offset_entry(node, i - 1) + size);
  }
  ++BTAudioNodeGetDescriptor(node)->records;
  touch(node);
}

void BTAudioNodeSetRecord(BTAudioNode *node, std::uint32_t index, const void *data, std::uint32_t size) {
  assert_that(size == BTAudioNodeGetRecordSize(node, index), "size == BTAudioNodeGetRecordSize(node,index)");
  std::uint8_t *const oldRecordData = BTAudioNodeGetRecord(node, index);
  assert_that(BTAudioCompareKeys(static_cast<const BTAudioKey *>(data), key_at(node, index)) == 0,
              "BTAudioCompareKeys((BTAudioKey*)data,(BTAudioKey*)oldRecordData) == 0");
  std::memcpy(oldRecordData, data, size);
  touch(node);
}

void BTAudioNodeDeleteRecord(BTAudioNode *node, std::uint32_t index) {
  const std::uint32_t size = BTAudioNodeGetRecordSize(node, index), last = record_count(node) - 1;
  std::uint8_t *const place = BTAudioNodeGetRecord(node, index);
  std::uint8_t *const end = node->bytes + offset_entry(node, last + 1);
  std::memmove(place, place + size, static_cast<std::size_t>(end - place) - size);
  for (std::uint32_t i = index + 1; i <= last; ++i) {
    offset_entry(node, i) = static_cast<std::uint16_t>(offset_entry(node, i + 1) - size);
  }
  --BTAudioNodeGetDescriptor(node)->records;
  touch(node);
}

std::uint32_t lower_bound(const BTAudioNode *node, BTAudioKey key) {
  const std::uint32_t count = record_count(node);
  std::uint32_t index = 0;
  while (index < count && BTAudioCompareKeys(key_at(node, index), &key) < 0) ++index;
  return index;
}

bool holds(const BTAudioNode *node, std::uint32_t index, BTAudioKey key) {
  return index < record_count(node) && BTAudioCompareKeys(key_at(node, index), &key) == 0;
}

std::uint32_t choose_child(const BTAudioNode *node, BTAudioKey key) {
  const std::uint32_t index = lower_bound(node, key);
  return holds(node, index, key) || index == 0 ? index : index - 1;
}

}  // namespace auspool::audiskdelay
