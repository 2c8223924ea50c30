// Where bytes come from.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace qmsg {

// What the bytes are written as.
enum class Form { kBinary, kHex, kBase64 };

// A file, or standard input, whose bytes are decoded from their form. Hexadecimal digits may be
// parted by white space, ':' and ','; base64 by white space, in the usual alphabet or that of URLs.
class Input {
 public:
  // "-" is standard input. Throws Error when there is nothing that can be read.
  Input(const std::string& path, Form form);
  ~Input();
  Input(const Input&) = delete;
  Input& operator=(const Input&) = delete;

  const std::string& name() const { return name_; }

  // Reads up to `size` bytes; fewer only at the end of the input. Throws Error when reading fails,
  // or when the text is not of the form.
  std::size_t Read(char* bytes, std::size_t size);

  // Bytes that have been handed out.
  std::uint64_t position() const { return position_; }

  // For progress: bytes of the file as it lies there, if that is known, and how many were read.
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
  std::string raw_;      // what was read last, as it lies there
  std::string decoded_;  // what of it has not been handed out begins at next_
  std::size_t next_ = 0;
  std::uint32_t bits_ = 0;  // of characters that do not make a byte yet
  int bit_count_ = 0;
  int padding_ = 0;
  std::uint64_t line_ = 1;
  std::uint64_t column_ = 0;
};

// Reads all that is left. Throws Error when it is more than one message can have.
std::string ReadAll(Input& input);

}  // namespace qmsg
