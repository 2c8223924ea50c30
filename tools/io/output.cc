#include "io/output.h"

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>

#include "error.h"

namespace qmsg {
namespace {

[[noreturn]] void Fail() {
  if (errno == EPIPE) {
    throw ClosedPipe();
  }
  throw Error(ExitCode::kInputOutput,
              std::string("cannot write standard output: ") + std::strerror(errno));
}

}  // namespace

Output& Output::Standard() {
  static Output output(stdout);
  return output;
}

void Output::Write(std::string_view bytes) {
  if (std::fwrite(bytes.data(), 1, bytes.size(), file_) != bytes.size()) {
    Fail();
  }
}

void Output::Flush() {
  if (std::fflush(file_) != 0) {
    Fail();
  }
}

bool Output::IsTerminal() const { return isatty(fileno(file_)) == 1; }

bool WantsColour(const Output& output) {
  const char* no_colour = std::getenv("NO_COLOR");
  return output.IsTerminal() && (no_colour == nullptr || *no_colour == '\0');
}

}  // namespace qmsg
