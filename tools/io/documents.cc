#include "io/documents.h"

#include <string_view>

#include "io/text.h"

namespace qmsg {
bool DocumentReader::Next(Document& document) {
  document.index = next_index_++;
  document.text.clear();
  return form_ == TextForm::kJson ? NextJson(document) : NextText(document);
}

bool DocumentReader::Get(char& character) {
  if (next_ == block_.size()) {
    block_.resize(kReadSize);
    block_.resize(input_.Read(block_.data(), block_.size()));
    next_ = 0;
    if (block_.empty()) {
      return false;
    }
  }
  character = block_[next_++];
  line_ += character == '\n' ? 1 : 0;
  return true;
}

// Leaves invalid JSON to the parser, which reports it.
bool DocumentReader::NextJson(Document& document) {
  char character = 0;
  do {
    if (!Get(character)) {
      return false;
    }
  } while (IsSpace(character));
  document.line = line_;
  int depth = 0;
  bool in_string = false;
  do {
    document.text += character;
    if (in_string) {
      if (character == '\\' && Get(character)) {
        document.text += character;
      } else if (character == '"') {
        in_string = false;
      }
    } else if (character == '"') {
      in_string = true;
    } else if (character == '{' || character == '[') {
      ++depth;
    } else if (character == '}' || character == ']') {
      --depth;
    }
    if (depth <= 0 && !in_string && (character == '}' || character == ']')) {
      return true;
    }
  } while (Get(character));
  return true;
}

bool DocumentReader::NextText(Document& document) {
  document.line = line_;
  std::size_t line_begin = 0;
  bool blank = true;
  for (char character = 0; Get(character);) {
    document.text += character;
    blank = blank && IsSpace(character);
    if (character == '\n') {
      if (std::string_view(document.text).substr(line_begin) == kEndOfText) {
        document.text.resize(line_begin);
        return true;
      }
      line_begin = document.text.size();
    }
  }
  return !blank;
}

}  // namespace qmsg
