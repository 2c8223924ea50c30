#include "observe.h"

#include <google/protobuf/arena.h>
#include <google/protobuf/descriptor.h>
#include <google/protobuf/io/coded_stream.h>
#include <google/protobuf/io/zero_copy_stream_impl_lite.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <vector>

#include "aliasing_output.h"
#include "support/log_recorder.h"

namespace differential {
namespace {

using contract::Arena;
using contract::DeterministicBytes;
using contract::NewOnHeap;
using google::protobuf::io::ArrayInputStream;
using google::protobuf::io::ArrayOutputStream;
using google::protobuf::io::CodedInputStream;
using google::protobuf::io::CodedOutputStream;

// Around the 16 bytes that the runtime looks ahead, and so that all that is longer is cut
// somewhere.
constexpr int kReadBlocks[] = {1, 2, 3, 7, 15, 16, 17, 31, 33, 64, 200};
constexpr int kWriteBlocks[] = {1, 3, 15, 16, 17, 33, 100};
constexpr int kDepths[] = {0, 1, 2, 3, 4};

int Size(const std::string& bytes) { return static_cast<int>(bytes.size()); }

const char* Verdict(bool done) { return done ? "yes" : "no"; }

// A copy that ends where its memory ends, so that a sanitizer sees a read beyond it.
std::vector<char> Exact(const std::string& bytes) { return {bytes.begin(), bytes.end()}; }

// Bytes that are not a message can make the runtime return more of the stream than it took, which
// the stream checks.
std::string ReadPart(Message& message, ArrayInputStream& stream, int size) {
  try {
    return Verdict(message.ParseFromBoundedZeroCopyStream(&stream, size));
  } catch (const google::protobuf::FatalException& exception) {
    return exception.message();
  }
}

class Observer {
 public:
  Observer(const Input& input, Observations& observations)
      : input_(input),
        observations_(observations),
        holds_map_(contract::HoldsMap(*input.prototype->GetDescriptor())) {}

  bool Run() {
    observations_.Add("input", 0, input_.bytes);
    const std::unique_ptr<Message> message = NewOnHeap(*input_.prototype);
    const bool accepted = message->ParseFromString(input_.bytes);
    Add("read from a string", 0, Verdict(accepted));
    if (input_.detail == Detail::kVerdict) {
      AddWritten("written to a string", 0, message->SerializeAsString());
    } else {
      try {
        RunOtherStages(*message);
      } catch (const google::protobuf::FatalException& exception) {
        Add("ends the process", 0, exception.message());
      }
    }
    return accepted;
  }

 private:
  // With the lines logged since the last call.
  void Add(const char* stage, int variant, const std::string& result) {
    observations_.Add(stage, variant, result);
    for (const LogRecorder::Line& line : log_.Take()) {
      observations_.Add(stage, variant, "logs " + std::to_string(line.level) + ": " + line.text);
    }
  }

  void AddWritten(const char* stage, int variant, std::string bytes) {
    if (holds_map_) {
      std::sort(bytes.begin(), bytes.end());
    }
    Add(stage, variant, bytes);
  }

  void AddState(const char* stage, int variant, const Message& message) {
    Add(stage, variant, DeterministicBytes(message));
  }

  void RunOtherStages(const Message& message) {
    AddState("what was read from a string", 0, message);
    ReadInOtherWays();
    Write(message);
    Handle(message);
    if (input_.field != nullptr) {
      WriteTextSetByHand();
    }
  }

  void ReadInOtherWays() {
    const std::string& bytes = input_.bytes;
    const std::vector<char> exact = Exact(bytes);

    Arena arena;
    Message& on_arena = *input_.prototype->New(&arena);
    Add("read on an arena", 0, Verdict(on_arena.ParseFromArray(exact.data(), Size(bytes))));
    AddState("what was read on an arena", 0, on_arena);

    for (const int block : kReadBlocks) {
      // A stream of one block is read as an array is.
      if (block > 1 && block >= Size(bytes)) {
        break;
      }
      const std::unique_ptr<Message> message = NewOnHeap(*input_.prototype);
      ArrayInputStream stream(exact.data(), Size(bytes), block);
      Add("read in blocks of", block, Verdict(message->ParseFromZeroCopyStream(&stream)));
      AddState("what was read in blocks of", block, *message);
    }

    for (const int depth : kDepths) {
      const std::unique_ptr<Message> message = NewOnHeap(*input_.prototype);
      ArrayInputStream stream(exact.data(), Size(bytes), 50);
      CodedInputStream coded(&stream);
      coded.SetRecursionLimit(depth);
      Add("read with a limit of levels of", depth, Verdict(message->ParseFromCodedStream(&coded)));
      AddState("what was read with a limit of levels of", depth, *message);
    }

    // The message ends before the stream does, and its last text may reach beyond that end.
    const std::unique_ptr<Message> message = NewOnHeap(*input_.prototype);
    const std::string longer = bytes + bytes;
    for (const int size : {Size(bytes), Size(bytes) / 2}) {
      ArrayInputStream stream(longer.data(), Size(longer), 20);
      Add("read as the first part of a stream, of", size, ReadPart(*message, stream, size));
      Add("the stream after that stands at", size, std::to_string(stream.ByteCount()));
      AddState("what was read as the first part of a stream, of", size, *message);
    }
    Add("read behind what is there", 0, Verdict(message->MergeFromString(bytes)));
    AddState("what was read behind what was there", 0, *message);
    Add("read over what is there", 0, Verdict(message->ParseFromString(bytes)));
    AddState("what was read over what was there", 0, *message);
  }

  void Write(const Message& message) {
    const std::size_t size = message.ByteSizeLong();
    Add("ByteSizeLong()", 0, std::to_string(size));
    Add("GetCachedSize()", 0, std::to_string(message.GetCachedSize()));
    AddWritten("written to a string", 0, message.SerializeAsString());
    std::string string = "in front";
    Add("written behind a string", 0, Verdict(message.AppendToString(&string)));
    AddWritten("what was written behind a string", 0, string);

    std::vector<char> array(size);
    Add("written to an array", 0, Verdict(message.SerializeToArray(array.data(), Int(size))));
    AddWritten("what was written to an array", 0, {array.begin(), array.end()});
    if (size > 0) {
      array.resize(size - 1);
      array.shrink_to_fit();
      Add("written to an array that is too small", 0,
          Verdict(message.SerializeToArray(array.data(), Int(size) - 1)));
    }
    string.assign(size, '\0');
    message.SerializeWithCachedSizesToArray(reinterpret_cast<std::uint8_t*>(string.data()));
    AddWritten("written with the cached sizes", 0, string);

    for (const int block : kWriteBlocks) {
      string.assign(size, '\0');
      ArrayOutputStream stream(string.data(), Int(size), block);
      Add("written in blocks of", block, Verdict(message.SerializeToZeroCopyStream(&stream)));
      Add("bytes written in blocks of", block, std::to_string(stream.ByteCount()));
      AddWritten("what was written in blocks of", block, string);
    }
    for (const int block : {16, 100}) {
      AliasingOutput stream(block);
      bool done = false;
      {
        CodedOutputStream output(&stream);
        output.EnableAliasing(true);
        output.SetSerializationDeterministic(true);
        done = message.SerializeToCodedStream(&output);
      }
      Add("written, aliasing, in blocks of", block, Verdict(done));
      Add("what was written, aliasing, in blocks of", block, stream.Bytes());
      Add("bytes aliased in blocks of", block, std::to_string(stream.aliased()));
    }
  }

  void Handle(const Message& message) {
    const std::unique_ptr<Message> copy = NewOnHeap(*input_.prototype);
    copy->CopyFrom(message);
    AddState("copied", 0, *copy);
    copy->MergeFrom(message);
    AddState("merged into a copy", 0, *copy);
    copy->Clear();
    AddState("cleared", 0, *copy);
    Add("read after clearing", 0, Verdict(copy->ParseFromString(input_.bytes)));
    AddState("what was read after clearing", 0, *copy);
    Arena arena;
    Message& on_arena = *input_.prototype->New(&arena);
    on_arena.CopyFrom(message);
    AddState("copied to an arena", 0, on_arena);
    copy->DiscardUnknownFields();
    Add("ByteSizeLong() without unknown fields", 0, std::to_string(copy->ByteSizeLong()));
    AddState("without unknown fields", 0, *copy);
    // Last: reflection changes how a map is stored.
    Add("as text", 0, message.ShortDebugString());
  }

  void WriteTextSetByHand() {
    const std::unique_ptr<Message> message = NewOnHeap(*input_.prototype);
    if (input_.field->is_repeated()) {
      message->GetReflection()->AddString(message.get(), input_.field, input_.text);
    } else {
      message->GetReflection()->SetString(message.get(), input_.field, input_.text);
    }
    AddState("text set by hand", 0, *message);
    Write(*message);
  }

  static int Int(std::size_t size) { return static_cast<int>(size); }

  const Input& input_;
  Observations& observations_;
  const bool holds_map_;
  LogRecorder log_;
};

}  // namespace

bool Observe(const Input& input, Observations& observations) {
  return Observer(input, observations).Run();
}

}  // namespace differential
