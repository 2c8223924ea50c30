#include "wire/view.h"

#include <google/protobuf/any.pb.h>
#include <google/protobuf/io/coded_stream.h>

#include <algorithm>
#include <vector>

#include "io/escape.h"
#include "schema/schema.h"
#include "wire/content_kind.h"
#include "wire/values.h"
#include "wire/walk.h"

namespace qmsg {
namespace {

namespace pb = google::protobuf;
using Look = Piece::Look;

// Deepest level at which messages in values are shown as messages.
constexpr std::size_t kMaxNesting = 100;

// The type URL of an Any; if it occurs twice the last one counts, as for a parser.
class UrlInAny : public Visitor {
 public:
  explicit UrlInAny(std::string_view bytes) : bytes_(bytes) {
    Walk(bytes, pb::Any::descriptor(), *this);
  }

  void Value(const Occurrence& at, const Path& path) override {
    if (path.depth() == 1 && at.known && at.number == pb::Any::kTypeUrlFieldNumber) {
      url_ = bytes_.substr(at.value, at.size());
    }
  }

  const std::string_view& url() const { return url_; }

 private:
  std::string_view bytes_;
  std::string_view url_;
};

class View : public Visitor {
 public:
  View(std::string_view bytes, const pb::Descriptor* type, std::uint64_t base, std::size_t level,
       HexLines& lines)
      : bytes_(bytes), base_(base), level_(level), lines_(lines) {
    levels_.push_back({bytes.size(), type, false});
  }

  std::size_t Show() {
    const pb::Descriptor* type = levels_.front().type;
    if (type == pb::Any::descriptor()) {
      ResolveAny();
    }
    Walk(bytes_, type, *this);
    return faults_;
  }

  void Value(const Occurrence& at, const Path& /*path*/) override {
    if (at.wire_type != WireType::WIRETYPE_LENGTH_DELIMITED) {
      Head(at, at.end, ": " + NumberText(at));
      return;
    }
    const std::string_view content = bytes_.substr(at.value, at.size());
    if (at.known && at.field->type() == pb::FieldDescriptor::TYPE_STRING) {
      Head(at, at.value, ": " + ByteCount(at.size()));
      Content(content, Level() + 1, HexLines::Beside::kText);
    } else if (at.known && in_any_ != nullptr) {
      Head(at, at.value, ": " + in_any_->full_name() + ", " + ByteCount(at.size()));
      Inside(content, in_any_);
    } else {
      Unknown(at, content);
    }
  }

  void Enter(const Occurrence& at, const pb::Descriptor* type, const Path& /*path*/) override {
    const bool group = at.wire_type == WireType::WIRETYPE_START_GROUP;
    std::string about;
    if (!group) {
      about = ": " + ByteCount(at.size());
      const std::string time = TimeText(bytes_.substr(at.value, at.size()), type);
      about += time.empty() ? "" : ", " + time;
    }
    Head(at, at.value, about);
    levels_.push_back({group ? End() : at.end, type, group});
  }

  void Leave(const Occurrence& at, const Path& /*path*/) override {
    levels_.pop_back();
    if (cursor_ < at.end) {  // Only the end of a group without a fault is left.
      Field(at.end, {{"end of group " + std::to_string(at.number)}});
    }
  }

  void Meet(const Fault& fault, const Path& path) override {
    ++faults_;
    if (fault.kind == Fault::Kind::kUtf8) {
      lines_.Field(
          0, {}, Level() + 1,
          {{"<- at " + std::to_string(base_ + fault.offset) + ": " + fault.reason, Look::kFault}});
      return;
    }
    const Piece reason{" <- " + fault.reason, Look::kFault};
    if (path.depth() < levels_.size()) {
      Field(std::min(cursor_ + HexLines::kBytes, End()), {reason});
    } else if (!CutOff(path.steps().back(), reason)) {
      std::vector<Piece> pieces = Names(path.steps().back());
      pieces.push_back(reason);
      Field(path.steps().back().value, pieces);
    }
    Content(bytes_.substr(cursor_, End() - cursor_), Level() + 1, HexLines::Beside::kNothing);
  }

 private:
  // If the input ends inside a string, bytes or message field, shows the part that is there.
  bool CutOff(const Occurrence& at, const Piece& reason) {
    if (!at.known || at.wire_type != WireType::WIRETYPE_LENGTH_DELIMITED || End() < bytes_.size()) {
      return false;
    }
    pb::io::CodedInputStream input(reinterpret_cast<const std::uint8_t*>(bytes_.data() + at.value),
                                   static_cast<int>(End() - at.value));
    int length = 0;
    const bool read = input.ReadVarintSizeAsInt(&length);
    const std::size_t begin = at.value + static_cast<std::size_t>(input.CurrentPosition());
    // If there are enough bytes for the length, the fault is another one.
    if (!read || static_cast<std::size_t>(length) <= End() - begin) {
      return false;
    }
    std::vector<Piece> pieces = Names(at);
    pieces.push_back(reason);
    Field(begin, pieces);
    if (at.field->type() == pb::FieldDescriptor::TYPE_MESSAGE) {
      Inside(bytes_.substr(cursor_), at.field->message_type());
    } else {
      Content(bytes_.substr(cursor_), Level() + 1,
              at.field->type() == pb::FieldDescriptor::TYPE_STRING ? HexLines::Beside::kText
                                                                   : HexLines::Beside::kNothing);
    }
    return true;
  }

  // A message or group that is being shown.
  struct Open {
    std::size_t end;  // of a group: of the message around it
    const pb::Descriptor* type;
    bool group;
  };

  std::size_t Level() const { return level_ + levels_.size() - 1; }
  std::size_t End() const { return levels_.back().end; }

  // The field's name and type, and how it deviates from its declaration.
  std::vector<Piece> Names(const Occurrence& at) const {
    const std::string number = std::to_string(at.number);
    if (at.known) {
      const std::string index =
          at.field->is_repeated() ? '[' + std::to_string(at.repetition) + ']' : "";
      return {{at.field->name() + index, Look::kName},
              {" (" + number + ", " + TypeName(at.field) + ')'}};
    }
    std::string about = std::string(" (") + Name(at.wire_type) + ')';
    if (at.field != nullptr) {
      about += ", but " + at.field->name() + " is " + TypeName(at.field);
    } else if (levels_.back().type != nullptr) {
      about += ", not declared";
    }
    return {{"field " + number, Look::kName}, {about}};
  }

  void Head(const Occurrence& at, std::size_t end, const std::string& about) {
    std::vector<Piece> pieces = Names(at);
    pieces.push_back({about});
    Field(end, pieces);
  }

  // Shows the bytes up to `end`.
  void Field(std::size_t end, const std::vector<Piece>& pieces) {
    lines_.Field(base_ + cursor_, bytes_.substr(cursor_, end - cursor_), Level(), pieces);
    cursor_ = end;
  }

  void Content(std::string_view content, std::size_t level, HexLines::Beside beside) {
    if (!content.empty()) {
      lines_.Content(base_ + cursor_, content, level, beside);
      cursor_ += content.size();
    }
  }

  void Inside(std::string_view content, const pb::Descriptor* type) {
    if (Level() >= kMaxNesting) {
      Content(content, Level() + 1, HexLines::Beside::kNothing);
      return;
    }
    faults_ += ViewMessage(content, type, base_ + cursor_, Level() + 1, lines_);
    cursor_ += content.size();
  }

  void Unknown(const Occurrence& at, std::string_view content) {
    ContentKind kind = GuessContentKind(content);
    if (kind == ContentKind::kMessage && Level() >= kMaxNesting) {
      kind = ContentKind::kBytes;
    }
    const std::string guess = content.empty() ? "" : std::string(", looks like ") + Name(kind);
    Head(at, at.value, ": " + ByteCount(at.size()) + guess);
    if (kind == ContentKind::kMessage) {
      Inside(content, nullptr);
    } else {
      Content(content, Level() + 1,
              kind == ContentKind::kText ? HexLines::Beside::kText : HexLines::Beside::kNothing);
    }
  }

  void ResolveAny() {
    const UrlInAny any(bytes_);
    in_any_ = TypeOf(any.url());
    if (in_any_ == nullptr) {
      ++faults_;
      lines_.Field(0, {}, Level(),
                   {{any.url().empty() ? std::string("<- it does not name its type")
                                       : "<- the schema has no type '" + Escape(any.url()) + "'",
                     Look::kFault}});
    }
  }

  std::string_view bytes_;
  std::uint64_t base_;
  std::size_t level_;
  HexLines& lines_;
  std::vector<Open> levels_;
  std::size_t cursor_ = 0;  // All before it has been shown.
  const pb::Descriptor* in_any_ = nullptr;
  std::size_t faults_ = 0;
};

}  // namespace

std::size_t ViewMessage(std::string_view bytes, const pb::Descriptor* type, std::uint64_t base,
                        std::size_t level, HexLines& lines) {
  return View(bytes, type, base, level, lines).Show();
}

std::string ByteCount(std::size_t count) {
  return std::to_string(count) + (count == 1 ? " byte" : " bytes");
}

}  // namespace qmsg
