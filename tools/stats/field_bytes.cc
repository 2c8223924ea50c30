#include "stats/field_bytes.h"

#include <algorithm>

#include "wire/walk.h"

namespace qmsg {
namespace pb = google::protobuf;

// A field below another one.
struct FieldBytes::Node {
  std::uint32_t number = 0;
  const pb::FieldDescriptor* field = nullptr;
  std::uint64_t bytes = 0;
  std::uint64_t occurrences = 0;
  std::vector<std::unique_ptr<Node>> children;

  Node& Child(const Occurrence& at) {
    const pb::FieldDescriptor* known = at.known ? at.field : nullptr;
    for (const auto& child : children) {
      if (child->number == at.number && child->field == known) {
        return *child;
      }
    }
    children.push_back(std::make_unique<Node>());
    children.back()->number = at.number;
    children.back()->field = known;
    return *children.back();
  }

  void AddRows(const std::string& path, std::vector<Row>& rows) const {
    for (const auto& child : children) {
      const std::string child_path =
          (path.empty() ? "" : path + '.') +
          (child->field == nullptr ? std::to_string(child->number) : child->field->name());
      if (child->occurrences > 0) {
        rows.push_back({child_path, child->bytes, child->occurrences});
      }
      child->AddRows(child_path, rows);
    }
  }
};

class FieldBytes::Counter : public Visitor {
 public:
  // `by`: 1 to count, -1 to take back what was counted.
  Counter(Node& root, int by) : by_(by) { nodes_.push_back(&root); }

  void Value(const Occurrence& at, const Path& /*path*/) override {
    Count(nodes_.back()->Child(at), at);
  }
  void Enter(const Occurrence& at, const pb::Descriptor* /*type*/, const Path& /*path*/) override {
    nodes_.push_back(&nodes_.back()->Child(at));
  }
  void Leave(const Occurrence& at, const Path& /*path*/) override {
    Count(*nodes_.back(), at);
    nodes_.pop_back();
  }

 private:
  void Count(Node& node, const Occurrence& at) const {
    node.occurrences += static_cast<std::uint64_t>(by_);
    node.bytes += static_cast<std::uint64_t>(by_) * (at.end - at.begin);
  }

  int by_;
  std::vector<Node*> nodes_;
};

FieldBytes::FieldBytes() : root_(std::make_unique<Node>()) {}
FieldBytes::~FieldBytes() = default;
FieldBytes::FieldBytes(FieldBytes&&) noexcept = default;
FieldBytes& FieldBytes::operator=(FieldBytes&&) noexcept = default;

bool FieldBytes::Add(std::string_view bytes, const pb::Descriptor* type) {
  Counter count(*root_, 1);
  if (Walk(bytes, type, count)) {
    return true;
  }
  Counter take_back(*root_, -1);
  Walk(bytes, type, take_back);
  return false;
}

std::vector<FieldBytes::Row> FieldBytes::Rows() const {
  std::vector<Row> rows;
  root_->AddRows("", rows);
  std::sort(rows.begin(), rows.end(), [](const Row& a, const Row& b) {
    return a.bytes != b.bytes ? a.bytes > b.bytes : a.path < b.path;
  });
  return rows;
}

}  // namespace qmsg
