#include "peer.h"

#include <cerrno>
#include <charconv>
#include <chrono>

zmq::socket_t MakeSocket(zmq::context_t& context, zmq::socket_type type) {
  zmq::socket_t socket(context, type);
  socket.set(zmq::sockopt::linger, 0);
  socket.set(zmq::sockopt::maxmsgsize, kMaxFrameSize);
  return socket;
}

void Wait(zmq::pollitem_t* items, std::size_t count, int milliseconds) {
  try {
    zmq::poll(items, count, std::chrono::milliseconds(milliseconds));
  } catch (const zmq::error_t& error) {
    if (error.num() != EINTR) {
      throw;
    }
  }
}

Frames Receive(zmq::socket_t& socket, int milliseconds) {
  zmq::pollitem_t item = {socket.handle(), 0, ZMQ_POLLIN, 0};
  Wait(&item, 1, milliseconds);
  Frames frames;
  // ZeroMQ delivers a message with all its frames, or not at all.
  zmq::message_t frame;
  do {
    if (!socket.recv(frame, zmq::recv_flags::dontwait)) {
      return {};
    }
    if (frames.size() < kMaxFrames) {
      frames.push_back(frame.to_string());
    }
  } while (frame.more());
  return frames;
}

void Send(zmq::socket_t& socket, const Frames& frames) {
  for (std::size_t i = 0; i < frames.size(); ++i) {
    const bool last = i + 1 == frames.size();
    socket.send(zmq::buffer(frames[i]), last ? zmq::send_flags::none : zmq::send_flags::sndmore);
  }
}

std::optional<std::uint64_t> Number(const std::string& frame) {
  std::uint64_t number = 0;
  const char* end = frame.data() + frame.size();
  const auto result = std::from_chars(frame.data(), end, number);
  if (result.ec != std::errc() || result.ptr != end) {
    return std::nullopt;
  }
  return number;
}
