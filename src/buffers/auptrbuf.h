// The entry of the pointer queue. Whoever holds one when its queue is gone deletes it himself.
#pragma once

#include "auspool/auptrbuf.h"

struct auptrbuf_node {
  auptrbuf_node *next;
  void *ptr;
};
