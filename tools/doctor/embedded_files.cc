#include "doctor/embedded_files.h"

#include <algorithm>
#include <cctype>
#include <optional>

namespace qmsg::doctor {
namespace {

constexpr std::string_view kEnding = ".proto";
constexpr std::size_t kLongest = 127;  // longest string with a length of one byte
// Tags of FileDescriptorProto, all of wire type 2.
constexpr char kName = 0x0a;
constexpr char kPackage = 0x12;
// Tags that can follow the name: package, dependency, message, enum, service, extension, options,
// public and weak dependencies, syntax.
constexpr std::string_view kNext = "\x12\x1a\x22\x2a\x32\x3a\x42\x50\x58\x62";

bool IsPrintable(std::string_view text) {
  return std::all_of(text.begin(), text.end(),
                     [](char character) { return character >= 0x20 && character < 0x7f; });
}

// Where the descriptor begins that has the name ending at `end`.
std::optional<std::size_t> Begin(std::string_view bytes, std::size_t end) {
  for (std::size_t size = kEnding.size() + 1; size <= kLongest && size + 2 <= end; ++size) {
    const std::size_t begin = end - size - 2;
    if (bytes[begin] == kName && bytes[begin + 1] == static_cast<char>(size)) {
      return IsPrintable(bytes.substr(begin + 2, size)) ? std::optional(begin) : std::nullopt;
    }
  }
  return std::nullopt;
}

std::string Package(std::string_view bytes, std::size_t at) {
  if (at + 2 > bytes.size() || bytes[at] != kPackage) {
    return "";
  }
  const auto size = static_cast<unsigned char>(bytes[at + 1]);
  const std::string_view package = bytes.substr(at + 2, size);
  return size <= kLongest && package.size() == size && IsPrintable(package) ? std::string(package)
                                                                            : std::string();
}

}  // namespace

std::vector<EmbeddedFile> FindEmbeddedFiles(std::string_view bytes) {
  std::vector<EmbeddedFile> files;
  for (std::size_t at = bytes.find(kEnding); at != std::string_view::npos;
       at = bytes.find(kEnding, at + 1)) {
    const std::size_t end = at + kEnding.size();
    if (end == bytes.size() || kNext.find(bytes[end]) == std::string_view::npos) {
      continue;
    }
    if (const std::optional<std::size_t> begin = Begin(bytes, end)) {
      files.push_back(
          {std::string(bytes.substr(*begin + 2, end - *begin - 2)), Package(bytes, end), *begin});
    }
  }
  return files;
}

}  // namespace qmsg::doctor
