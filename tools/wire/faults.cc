#include "wire/faults.h"

namespace qmsg {
namespace {

class First : public Visitor {
 public:
  explicit First(std::uint64_t base) : base_(base) {}

  void Meet(const Fault& fault, const Path& path) override {
    if (text_.empty()) {
      text_ = Describe(fault, path, base_);
    }
  }

  const std::string& text() const { return text_; }

 private:
  std::uint64_t base_;
  std::string text_;
};

}  // namespace

std::string Describe(const Fault& fault, const Path& path, std::uint64_t base) {
  const std::string field = path.ToString();
  return "offset " + std::to_string(base + fault.offset) + (field.empty() ? "" : ", " + field) +
         ": " + fault.reason;
}

std::string FirstFault(std::string_view bytes, const google::protobuf::Descriptor* type,
                       std::uint64_t base) {
  First first(base);
  Walk(bytes, type, first);
  return first.text();
}

}  // namespace qmsg
