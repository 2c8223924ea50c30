// Splits text into its JSON values or text-format messages.
#pragma once

#include <cstdint>
#include <string>

#include "io/input.h"

namespace qmsg {

enum class TextForm { kJson, kText };

// The text of one message.
struct Document {
  std::uint64_t index = 0;  // in its input, from 0
  std::uint64_t line = 1;   // on which it begins, from 1
  std::string text;
};

// The line after each message of a stream in text format.
inline constexpr char kEndOfText[] = "---\n";

// JSON values may be separated by white space. kEndOfText ends each message in text format; after
// the last one it may be missing.
class DocumentReader {
 public:
  DocumentReader(Input& input, TextForm form) : input_(input), form_(form) {}

  // Reads the next document, in memory of its size. Returns false at the end of the input.
  bool Next(Document& document);

 private:
  bool NextJson(Document& document);
  bool NextText(Document& document);
  bool Get(char& character);

  Input& input_;
  TextForm form_;
  std::uint64_t next_index_ = 0;
  std::uint64_t line_ = 1;
  std::string block_;
  std::size_t next_ = 0;
};

}  // namespace qmsg
