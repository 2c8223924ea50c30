#include "completion/completion.h"

#include <algorithm>

#include "schema/names.h"

namespace qmsg {
namespace pb = google::protobuf;

namespace {

std::vector<std::string> NamesOf(const std::vector<Element>& elements) {
  std::vector<std::string> names;
  std::transform(elements.begin(), elements.end(), std::back_inserter(names), ShortName);
  std::transform(elements.begin(), elements.end(), std::back_inserter(names), FullName);
  std::sort(names.begin(), names.end());
  names.erase(std::unique(names.begin(), names.end()), names.end());
  return names;
}

}  // namespace

CompletionInput CompletionInputOf(const CommandLine& line) {
  std::vector<Element> messages;
  for (const Element& element : SchemaElements()) {
    if (std::holds_alternative<const pb::Descriptor*>(element)) {
      messages.push_back(element);
    }
  }
  return {line, NamesOf(messages), NamesOf(SchemaElements())};
}

}  // namespace qmsg
