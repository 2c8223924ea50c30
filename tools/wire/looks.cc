#include "wire/looks.h"

#include <cstdint>

#include "io/escape.h"
#include "wire/walk.h"

namespace qmsg {
namespace {

// Nobody counts the fields of a message further than that.
constexpr std::uint32_t kMaxNumber = 0xffff;

class Numbers : public Visitor {
 public:
  void Value(const Occurrence& at, const Path& /*path*/) override { Note(at); }
  void Enter(const Occurrence& at, const google::protobuf::Descriptor* /*type*/,
             const Path& /*path*/) override {
    Note(at);
  }

  bool low() const { return low_; }

 private:
  void Note(const Occurrence& at) { low_ = low_ && at.number <= kMaxNumber; }

  bool low_ = true;
};

bool CanBeMessage(std::string_view bytes) {
  Numbers numbers;
  return Walk(bytes, nullptr, numbers) && numbers.low();
}

}  // namespace

Looks LooksLike(std::string_view bytes) {
  if (bytes.empty()) {
    return Looks::kBytes;
  }
  const Legibility legibility = LegibilityOf(bytes);
  if (legibility == Legibility::kText) {
    return Looks::kText;
  }
  if (CanBeMessage(bytes)) {
    return Looks::kMessage;
  }
  return legibility == Legibility::kLines ? Looks::kText : Looks::kBytes;
}

const char* Name(Looks looks) {
  switch (looks) {
    case Looks::kMessage:
      return "a message";
    case Looks::kText:
      return "text";
    case Looks::kBytes:
      break;
  }
  return "bytes";
}

}  // namespace qmsg
