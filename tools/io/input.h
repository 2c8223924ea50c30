// Reads and decodes the input.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace qmsg {

// How many bytes are read at a time.
constexpr std::size_t kReadSize = std::size_t{256} * 1024;

// The encoding of the bytes.
enum class Form { kBinary, kHex, kBase64 };

// A file, or standard input, that is decoded. Hexadecimal digits may be separated by white space,
// ':' and ','; base64 by white space, in the standard or the URL-safe alphabet.
class Input {
 public:
  // "-" is standard input. Throws Error when it cannot be opened.
  Input(const std::string& path, Form form);
  ~Input();
  Input(const Input&) = delete;
  Input& operator=(const Input&) = delete;

  const std::string& name() const { return name_; }

  // Reads up to `size` bytes; fewer only at the end of the input. Throws Error when reading fails,
  // or when the text is not in that encoding.
  std::size_t Read(char* bytes, std::size_t size);

  // Number of bytes that Read has returned.
  std::uint64_t position() const { return position_; }

  // For progress: size of the file before decoding, if known, and how much of it was read.
  std::optional<std::uint64_t> file_size() const { return file_size_; }
  std::uint64_t file_position() const { return file_position_; }

 private:
  bool Fill();
  bool ReadFile();
  void DecodeHex();
  void DecodeBase64();
  [[noreturn]] void RefuseCharacter(char character, const char* wanted) const;

  std::string name_;
  Form form_;
  int descriptor_ = 0;  // standard input
  std::optional<std::uint64_t> file_size_;
  std::uint64_t file_position_ = 0;
  std::uint64_t position_ = 0;
  std::string raw_;      // the block read last, before decoding
  std::string decoded_;  // Read continues at next_
  std::size_t next_ = 0;
  std::uint32_t bits_ = 0;  // of an incomplete byte
  int bit_count_ = 0;
  int padding_ = 0;
  std::uint64_t line_ = 1;
  std::uint64_t column_ = 0;
};

// Reads the rest. Throws Error when it exceeds the limit of a message, 2 GiB.
std::string ReadAll(Input& input);

}  // namespace qmsg
