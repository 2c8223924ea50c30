#include "guess/hint.h"

#include <google/protobuf/any.pb.h>
#include <google/protobuf/io/coded_stream.h>

#include <algorithm>
#include <vector>

#include "guess/ranking.h"
#include "schema/schema.h"

namespace qmsg {
namespace {

namespace pb = google::protobuf;

// The messages of a stream; none if the bytes are not a stream, or a stream of empty messages.
std::vector<std::string_view> Frames(std::string_view bytes) {
  std::vector<std::string_view> frames;
  pb::io::CodedInputStream input(reinterpret_cast<const std::uint8_t*>(bytes.data()),
                                 static_cast<int>(bytes.size()));
  bool empty = true;
  while (input.CurrentPosition() < static_cast<int>(bytes.size())) {
    int length = 0;
    if (!input.ReadVarintSizeAsInt(&length)) {
      return {};
    }
    const auto at = static_cast<std::size_t>(input.CurrentPosition());
    if (!input.Skip(length)) {
      return {};
    }
    frames.push_back(bytes.substr(at, static_cast<std::size_t>(length)));
    empty = empty && length == 0;
  }
  return empty ? std::vector<std::string_view>() : frames;
}

bool AreAnys(const std::vector<std::string_view>& frames) {
  return std::all_of(frames.begin(), frames.end(), [](std::string_view frame) {
    pb::Any any;
    return any.ParseFromArray(frame.data(), static_cast<int>(frame.size())) &&
           TypeOf(any.type_url()) != nullptr;
  });
}

std::string Messages(std::size_t count) {
  return std::to_string(count) + (count == 1 ? " message" : " messages");
}

bool IsHex(std::string_view bytes) {
  return bytes.find_first_not_of("0123456789abcdefABCDEF \t\r\n:,") == std::string_view::npos;
}

}  // namespace

std::string Hint(std::string_view bytes) {
  const std::vector<std::string_view> frames = Frames(bytes);
  if (!frames.empty()) {
    if (AreAnys(frames)) {
      return "looks like a stream of " + Messages(frames.size()) +
             (frames.size() == 1 ? " that names its type" : " that name their types") +
             ": --framing any";
    }
    Ranking ranking(SchemaMessages());
    for (const std::string_view frame : frames) {
      ranking.Judge(frame, 0, "");
    }
    const std::vector<Candidate> candidates = ranking.Candidates();
    if (!candidates.empty() && candidates.front().evidence.FitsWell()) {
      return "looks like a delimited stream of " + Messages(frames.size()) + " of type " +
             candidates.front().types.front()->full_name() +
             (candidates.front().types.size() > 1 ||
                      (candidates.size() > 1 && candidates[1].rank == 1)
                  ? ", or another"
                  : "") +
             ": --framing delimited";
    }
  }
  return !bytes.empty() && IsHex(bytes) ? "looks like hexadecimal digits: --in hex" : "";
}

}  // namespace qmsg
