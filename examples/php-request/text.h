#ifndef QMSG_EXAMPLES_PHP_REQUEST_TEXT_H_
#define QMSG_EXAMPLES_PHP_REQUEST_TEXT_H_

#include <google/protobuf/duration.pb.h>
#include <qmsg/quorphp.pb.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

// Values as people read them. Widths and limits count characters, not bytes.

double Seconds(const google::protobuf::Duration& duration);

std::string TimeText(double seconds);         // "83 µs", "12.5 ms", "1.25 s"
std::string MemoryText(std::uint64_t bytes);  // "700 B", "1.5 MiB"
std::string CountText(std::int64_t count, std::string_view singular, std::string_view plural);

// One line of at most `limit` characters. Runs of white space become one blank, and control
// characters become visible.
std::string LineText(std::string_view text, std::size_t limit);

// As written in PHP source; arrays and objects as JSON.
std::string ValueText(const quor::protobuf::QuorPHP::QVal& value, std::size_t limit);

std::string AlignRight(const std::string& text, std::size_t width);
std::string AlignLeft(const std::string& text, std::size_t width);

#endif
