// Sends an audio file as packets over the loopback network, and receives such packets with the packet player.
#include <cstdio>

#include "common/command_line.h"
#include "common/device.h"
#include "packets/settings.h"

namespace {

constexpr const char *kHelp =
    R"(usage: auspool-packets receive [--out FILE.wav | --device ID] [--port N] [--block FRAMES]
                                [--rate HZ] [--wait SECONDS] [--backend NAME] [--json]
       auspool-packets send FILE [--port N] [--packet FRAMES] [--lead MS] [--jitter MS] [--loss PERCENT]
                            [--reorder PERCENT] [--drift PPM] [--seed N]

Two processes of one computer: first start one that receives, then one that sends.

receive    plays the packets of one sender on a sound device or into a WAVE file, in real time, and prints each second
           what the packet player does: its state, how far the audio is off its timestamps, and by how much it corrects
           the rate
  --out FILE         plays into this file
  --device ID        plays on the device of this uid or number in auspool-devices (the system's default)
  --backend NAME     that reaches the device; help lists them
  --block FRAMES     how much the output asks for at a time, 16 to 4096 (512)
  --rate HZ          of the file, 4000 to 192000 (that of the packets)
  --wait SECONDS     for the next packet before it gives up (10)
  --json             an object a line
send       sends a file, in real time
  --packet FRAMES    in each packet, 16 to 4096 (441)
  --lead MS          how long before its time a packet leaves (200)
  --jitter MS        by up to how much a packet is late (0)
  --loss PERCENT     of the packets that are not sent at all (0)
  --reorder PERCENT  of the packets that come three later (0)
  --drift PPM        by how much the sender's clock is fast (0)
  --seed N           of what is left to chance (1)
both
  --port N           UDP, on 127.0.0.1 (47100); for receive 0 is any that is free, and is told

Exit status: 0 if all went well, 1 if not, 2 for a wrong command line.
)";

using example::number_option;

int run(int argc, char **argv) {
  packets::SendSettings send;
  packets::ReceiveSettings receive;
  bool help = false;
  std::string backend, device;
  int port = send.port;
  const auto words =
      example::parse(argc, argv,
                     {example::flag("help", help), example::text_option("out", receive.out),
                      example::text_option("device", device), example::text_option("backend", backend),
                      number_option("port", port, 0, 65535), number_option("block", receive.block, 16, 4096),
                      number_option("rate", receive.rate, 4000, 192000), number_option("wait", receive.wait, 0, 86400),
                      example::flag("json", receive.json), number_option("packet", send.frames, 16, 4096),
                      number_option("lead", send.lead, 0, 10000), number_option("jitter", send.jitter, 0, 10000),
                      number_option("loss", send.loss, 0, 100), number_option("reorder", send.reordering, 0, 100),
                      number_option("drift", send.drift, -50000, 50000), number_option("seed", send.seed, 0, 1e9)});
  if (help) return std::puts(kHelp) < 0;
  if (backend == "help") return example::print_backends();
  example::choose_backend(backend);
  send.port = receive.port = port;
  receive.device = example::find_device(device);
  if (words.size() == 1 && words[0] == "receive") return packets::receive(receive);
  if (words.size() == 2 && words[0] == "send") {
    send.file = words[1];
    return packets::send(send);
  }
  throw example::UsageError("receive, or send and a file, is wanted");
}

}  // namespace

int main(int argc, char **argv) {
  return example::guarded("auspool-packets", [&] { return run(argc, argv); });
}
