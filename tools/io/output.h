// Where data goes.
#pragma once

#include <cstdio>
#include <exception>
#include <string_view>

namespace qmsg {

// Nobody reads standard output any more: no reason to say anything.
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

// Whether colours are welcome there: on a terminal, unless the environment has NO_COLOR.
bool WantsColour(const Output& output);

}  // namespace qmsg
