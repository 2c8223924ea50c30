#include "wire/content_kind.h"

#include <cstdint>

#include "io/escape.h"
#include "wire/walk.h"

namespace qmsg {
namespace {

// Higher field numbers are taken for accident: no schema uses them.
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

ContentKind GuessContentKind(std::string_view bytes) {
  if (bytes.empty()) {
    return ContentKind::kBytes;
  }
  const Legibility legibility = LegibilityOf(bytes);
  if (legibility == Legibility::kText) {
    return ContentKind::kText;
  }
  if (CanBeMessage(bytes)) {
    return ContentKind::kMessage;
  }
  return legibility == Legibility::kLines ? ContentKind::kText : ContentKind::kBytes;
}

const char* Name(ContentKind kind) {
  switch (kind) {
    case ContentKind::kMessage:
      return "a message";
    case ContentKind::kText:
      return "text";
    case ContentKind::kBytes:
      break;
  }
  return "bytes";
}

}  // namespace qmsg
