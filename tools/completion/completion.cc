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

CompletionInput CompletionInputOf(const CLI::App& root) {
  std::vector<Element> messages;
  for (const Element& element : SchemaElements()) {
    if (std::holds_alternative<const pb::Descriptor*>(element)) {
      messages.push_back(element);
    }
  }
  return {FactsOf(root), CommandsOf(root), NamesOf(messages), NamesOf(SchemaElements())};
}

std::string Join(const std::vector<std::string>& words, const std::string& separator) {
  std::string text;
  for (const std::string& word : words) {
    text += (text.empty() ? "" : separator) + word;
  }
  return text;
}

}  // namespace qmsg
