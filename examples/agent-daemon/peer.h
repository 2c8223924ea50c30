#ifndef QMSG_EXAMPLES_AGENT_DAEMON_PEER_H_
#define QMSG_EXAMPLES_AGENT_DAEMON_PEER_H_

#include <cstdint>
#include <optional>
#include <string>
#include <vector>
#include <zmq.hpp>

// The protocol of agent and daemon. Each line is one ZeroMQ message of several frames. Numbers are
// decimal text. A type is the full name of the message in the next frame.
//
//   login    agent:   type, a Login
//            daemon:  "ok", type, a Config, session
//   records  agent:   session, number, type, the record    (numbers count from 0)
//            daemon:  "ok", how many records it has of this agent, up to and with this one
//   either   daemon:  "refused", reason
using Frames = std::vector<std::string>;

inline constexpr const char* kOk = "ok";
inline constexpr const char* kRefused = "refused";
// Larger frames end the connection that they come from.
inline constexpr std::int64_t kMaxFrameSize = 1 << 20;
// Further frames of a message are dropped.
inline constexpr std::size_t kMaxFrames = 8;

// A socket that drops unsent messages when it is closed, and limits the size that it receives.
zmq::socket_t MakeSocket(zmq::context_t& context, zmq::socket_type type);

// Waits until an item is ready, a signal arrives or `milliseconds` have passed; -1 waits for ever.
void Wait(zmq::pollitem_t* items, std::size_t count, int milliseconds);

// Waits up to `milliseconds` for a message. Returns an empty one if none came.
Frames Receive(zmq::socket_t& socket, int milliseconds);

void Send(zmq::socket_t& socket, const Frames& frames);

// The number in a frame, or nothing if the frame is not a number.
std::optional<std::uint64_t> Number(const std::string& frame);

#endif
