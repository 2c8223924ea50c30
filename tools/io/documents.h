// Takes text apart into the JSON values or the text-format messages in it.
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

// What stands behind each message of a stream in text format.
inline constexpr char kEndOfText[] = "---\n";

// JSON values follow one another with or without white space between them; messages in text format
// each end with kEndOfText, which the last one may lack.
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
