#include "io/input.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <iostream>

#include "error.h"
#include "io/output.h"
#include "io/text.h"

namespace qmsg {
namespace {

std::string Reason() { return std::strerror(errno); }

int HexDigit(char character) {
  if (character >= '0' && character <= '9') {
    return character - '0';
  }
  const char lower = static_cast<char>(character | 0x20);
  return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

int Base64Digit(char character) {
  if (character >= 'A' && character <= 'Z') {
    return character - 'A';
  }
  if (character >= 'a' && character <= 'z') {
    return character - 'a' + 26;
  }
  if (character >= '0' && character <= '9') {
    return character - '0' + 52;
  }
  if (character == '+' || character == '-') {
    return 62;
  }
  return character == '/' || character == '_' ? 63 : -1;
}

}  // namespace

Input::Input(const std::string& path, Form form)
    : name_(path == "-" ? "standard input" : path), form_(form) {
  if (path != "-") {
    descriptor_ = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor_ < 0) {
      throw Error(ExitCode::kInputOutput, "cannot open '" + path + "': " + Reason());
    }
  } else if (isatty(STDIN_FILENO) == 1) {
    std::cerr << "qmsg: reading standard input; end it with Ctrl-D\n";
  }
  struct stat status {};
  if (fstat(descriptor_, &status) == 0 && S_ISDIR(status.st_mode)) {
    if (path != "-") {
      close(descriptor_);
    }
    throw Error(ExitCode::kInputOutput, "'" + name_ + "' is a directory; name the files in it");
  }
  if (S_ISREG(status.st_mode)) {
    file_size_ = static_cast<std::uint64_t>(status.st_size);
  }
}

Input::~Input() {
  if (descriptor_ != STDIN_FILENO) {
    close(descriptor_);
  }
}

std::size_t Input::Read(char* bytes, std::size_t size) {
  std::size_t done = 0;
  while (done < size && (next_ < decoded_.size() || Fill())) {
    const std::size_t step = std::min(size - done, decoded_.size() - next_);
    std::memcpy(bytes + done, decoded_.data() + next_, step);
    done += step;
    next_ += step;
  }
  position_ += done;
  return done;
}

// Returns whether there are bytes to return.
bool Input::Fill() {
  next_ = 0;
  decoded_.clear();
  while (decoded_.empty() && ReadFile()) {
    switch (form_) {
      case Form::kBinary:
        decoded_.swap(raw_);
        break;
      case Form::kHex:
        DecodeHex();
        break;
      case Form::kBase64:
        DecodeBase64();
        break;
    }
  }
  if (decoded_.empty() && form_ == Form::kHex && bit_count_ != 0) {
    throw Error(ExitCode::kBadData, "'" + name_ + "' ends in the middle of a byte: its number of " +
                                        "hexadecimal digits is odd");
  }
  if (decoded_.empty() && form_ == Form::kBase64 && bit_count_ == 6) {
    throw Error(ExitCode::kBadData, "'" + name_ + "' ends in the middle of a byte of base64");
  }
  return !decoded_.empty();
}

bool Input::ReadFile() {
  // Before it waits for more, the reader of the output gets what there is.
  pollfd ready{descriptor_, POLLIN, 0};
  if (!file_size_ && poll(&ready, 1, 0) == 0) {
    Output::Standard().Flush();
  }
  raw_.resize(kReadSize);
  ssize_t size = 0;
  do {
    size = read(descriptor_, raw_.data(), raw_.size());
  } while (size < 0 && errno == EINTR);
  if (size < 0) {
    throw Error(ExitCode::kInputOutput, "cannot read '" + name_ + "': " + Reason());
  }
  raw_.resize(static_cast<std::size_t>(size));
  file_position_ += raw_.size();
  return size > 0;
}

void Input::DecodeHex() {
  for (const char character : raw_) {
    ++column_;
    if (character == '\n') {
      ++line_;
      column_ = 0;
    }
    if (IsSpace(character) || character == ':' || character == ',') {
      continue;
    }
    const int digit = HexDigit(character);
    if (digit < 0) {
      RefuseCharacter(character, "a hexadecimal digit");
    }
    bits_ = bits_ << 4 | static_cast<std::uint32_t>(digit);
    bit_count_ += 4;
    if (bit_count_ == 8) {
      decoded_.push_back(static_cast<char>(bits_));
      bits_ = 0;
      bit_count_ = 0;
    }
  }
}

void Input::DecodeBase64() {
  for (const char character : raw_) {
    ++column_;
    if (character == '\n') {
      ++line_;
      column_ = 0;
    }
    if (IsSpace(character)) {
      continue;
    }
    if (character == '=' && padding_ < 2 && (padding_ > 0 || bit_count_ == 4 || bit_count_ == 2)) {
      ++padding_;
      bits_ = 0;
      bit_count_ = 0;
      continue;
    }
    const int digit = Base64Digit(character);
    if (digit < 0 || padding_ > 0) {
      RefuseCharacter(character, padding_ > 0 ? "white space after the end of base64" : "base64");
    }
    bits_ = (bits_ << 6 | static_cast<std::uint32_t>(digit)) & 0xfffU;
    bit_count_ += 6;
    if (bit_count_ >= 8) {
      bit_count_ -= 8;
      decoded_.push_back(static_cast<char>(bits_ >> bit_count_));
      bits_ &= (1U << bit_count_) - 1;
    }
  }
}

void Input::RefuseCharacter(char character, const char* wanted) const {
  const auto byte = static_cast<unsigned char>(character);
  const std::string shown =
      byte >= 0x20 && byte < 0x7f
          ? std::string("'") + character + "'"
          : std::string("byte 0x") + kHexDigits[byte >> 4] + kHexDigits[byte & 15];
  throw Error(ExitCode::kBadData, name_ + ": line " + std::to_string(line_) + ", column " +
                                      std::to_string(column_) + ": " + shown + " is not " + wanted +
                                      "; --in gives the encoding of the input");
}

std::string ReadAll(Input& input) {
  std::string bytes;
  std::size_t size = 0;
  do {
    bytes.resize(size + std::max(size, kReadSize));
    size += input.Read(bytes.data() + size, bytes.size() - size);
    if (size > INT_MAX) {
      throw Error(ExitCode::kBadData, "'" + input.name() + "' has more than the 2 GiB that one " +
                                          "message can have; a stream of messages is read with " +
                                          "--framing delimited or any");
    }
  } while (size == bytes.size());
  bytes.resize(size);
  return bytes;
}

}  // namespace qmsg
