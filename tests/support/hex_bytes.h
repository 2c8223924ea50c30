// Wire bytes as hexadecimal text.
#pragma once

#include <google/protobuf/message.h>
#include <google/protobuf/unknown_field_set.h>
#include <google/protobuf/util/message_differencer.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "log_recorder.h"

namespace wire {

// "08 01" as two bytes. Spaces may be left out, so that one literal a field can be joined.
std::string Bytes(const std::string& hex);

// The opposite of Bytes, with a space between two bytes.
std::string Hex(const std::string& bytes);

// The message as it is written.
std::string Hex(const google::protobuf::Message& message);

const google::protobuf::UnknownFieldSet& UnknownFields(const google::protobuf::Message& message);

template <typename M>
M Parse(const std::string& hex) {
  M message;
  EXPECT_TRUE(message.ParseFromString(Bytes(hex))) << hex;
  return message;
}

// The message is written as these bytes, and these bytes are read as that message.
template <typename M>
void ExpectBytes(const M& message, const std::string& hex) {
  EXPECT_EQ(Hex(message), Hex(Bytes(hex)));
  const M read = Parse<M>(hex);
  EXPECT_TRUE(UnknownFields(read).empty()) << hex;
  EXPECT_TRUE(google::protobuf::util::MessageDifferencer::Equals(read, message))
      << hex << " was read as " << read.ShortDebugString();
}

// One line, at error level, that names the field and what was being done ("parsing").
void ExpectComplaint(const std::vector<LogRecorder::Line>& lines, const std::string& field,
                     const std::string& doing);

}  // namespace wire
