// Packets of audio as datagrams between two processes of one computer, whose clock they share: that is why numbers lie
// as they are in memory, and why a timestamp means the same to both.
#pragma once

#include <arpa/inet.h>
#include <sys/socket.h>
#include <sys/uio.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <optional>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

namespace packets {

constexpr std::uint32_t kMostFrames = 4096;

struct Head {
  char magic[4] = {'a', 'u', 'p', 'k'};
  std::uint32_t frames = 0;  // 0 says that the stream is over
  std::uint64_t number = 0;  // of the packet; at the end how many there were
  double timestamp = 0;      // seconds by au_now
  double rate = 0;           // Hz
};

struct Datagram {
  Head head;
  std::vector<float> audio;  // interleaved stereo
};

class Socket {
public:
  // Listens on a port, 0 for any that is free.
  static Socket listening(int port) {
    Socket socket;
    socket.address_.sin_port = htons(static_cast<std::uint16_t>(port));
    if (bind(socket.number_, socket.address(), socket.size_) != 0) socket.fail("port " + std::to_string(port));
    if (getsockname(socket.number_, socket.address(), &socket.size_) != 0) socket.fail("getsockname");
    const timeval patience = {0, 100000};  // so that a reader can look up from time to time
    if (setsockopt(socket.number_, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience) != 0) socket.fail("setsockopt");
    return socket;
  }

  static Socket sending(int port) {
    Socket socket;
    socket.address_.sin_port = htons(static_cast<std::uint16_t>(port));
    return socket;
  }

  Socket(Socket &&other) noexcept : number_(other.number_), address_(other.address_) { other.number_ = -1; }
  ~Socket() {
    if (number_ >= 0) close(number_);
  }

  int port() const { return ntohs(address_.sin_port); }

  void send(Datagram packet) {
    iovec parts[2];
    const msghdr message = message_of(packet, parts);
    // That nobody listens is the network's business, not the sender's.
    if (sendmsg(number_, &message, 0) < 0 && errno != ECONNREFUSED) fail("sending");
  }

  // The next packet, or nothing for a while; what is no packet is passed over.
  std::optional<Datagram> receive() {
    Datagram packet;
    packet.audio.resize(2 * kMostFrames);
    iovec parts[2];
    msghdr message = message_of(packet, parts);
    message.msg_name = nullptr;  // whoever it is from
    message.msg_namelen = 0;
    const ssize_t count = recvmsg(number_, &message, 0);
    const Head &head = packet.head;
    if (count < static_cast<ssize_t>(sizeof head) || std::memcmp(head.magic, Head().magic, sizeof head.magic) != 0 ||
        head.frames > kMostFrames || static_cast<std::size_t>(count) != sizeof head + 8 * head.frames ||
        !(head.rate >= 1000)) {
      return std::nullopt;
    }
    packet.audio.resize(2 * head.frames);
    return packet;
  }

private:
  Socket() : number_(socket(AF_INET, SOCK_DGRAM, 0)) {
    if (number_ < 0) fail("socket");
    address_.sin_family = AF_INET;
    address_.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  }
  [[noreturn]] void fail(const std::string &what) { throw std::system_error(errno, std::generic_category(), what); }
  msghdr message_of(Datagram &packet, iovec *parts) {
    parts[0] = {&packet.head, sizeof packet.head};
    parts[1] = {packet.audio.data(), packet.audio.size() * sizeof(float)};
    msghdr message = {};
    message.msg_name = address();
    message.msg_namelen = size_;
    message.msg_iov = parts;
    message.msg_iovlen = 2;
    return message;
  }
  sockaddr *address() { return reinterpret_cast<sockaddr *>(&address_); }

  int number_;
  sockaddr_in address_{};
  socklen_t size_ = sizeof address_;
};

}  // namespace packets
