// What the command line of auspool-packets says.
#pragma once

#include <cstdint>
#include <string>

namespace packets {

struct SendSettings {
  std::string file;
  int port = 47100;
  int frames = 441;       // a packet
  double lead = 200;      // milliseconds from departure to due time
  double jitter = 0;      // milliseconds on the way, at most
  double loss = 0;        // percent
  double reordering = 0;  // percent
  double drift = 0;       // ppm that the sender's clock runs fast
  unsigned seed = 1;
};

struct ReceiveSettings {
  std::string out;  // empty for a device
  std::uint32_t device = 0;
  int port = 47100;
  int block = 512;   // frames that the output asks for at a time
  double rate = 0;   // Hz of the output; 0 for that of the packets
  double wait = 10;  // seconds for the next packet
  bool json = false;
};

int send(const SendSettings &settings);
int receive(const ReceiveSettings &settings);

}  // namespace packets
