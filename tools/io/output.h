// Writes the output.
#pragma once

#include <cstdio>
#include <exception>
#include <string_view>

namespace qmsg {

// The reader of standard output has closed it; this is not reported.
class ClosedPipe : public std::exception {};

// A buffered stream of bytes.
class Output {
 public:
  explicit Output(std::FILE* file) : file_(file) {}

  static Output& Standard();

  // Both throw ClosedPipe, or Error when the output cannot be written.
  void Write(std::string_view bytes);
  void Flush();

  bool IsTerminal() const;

 private:
  std::FILE* file_;
};

// Whether to write colours: on a terminal, unless the environment has NO_COLOR.
bool WantsColour(const Output& output);

}  // namespace qmsg
