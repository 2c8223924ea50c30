// Text that is not UTF-8 is written with one line in the log, and refused when read.

#include <google/protobuf/descriptor.h>
#include <gtest/gtest.h>

#include "support/log_recorder.h"
#include "support/prototypes.h"
#include "support/wire.h"

namespace contract {
namespace {

using namespace std::string_literals;

const std::vector<std::string>& InvalidTexts() {
  static const std::vector<std::string> texts = {
      "\xff"s,              // no such byte
      "good, then \x80"s,   // a continuation of nothing
      "\xe2\x82"s,          // cut short
      "\xc3("s,             // a first byte without its continuation
      "\xc0\x80"s,          // zero in more bytes than it needs
      "\xed\xa0\x80"s,      // half of a surrogate pair
      "\xf4\x90\x80\x80"s,  // beyond U+10FFFF
  };
  return texts;
}

const std::vector<std::string>& ValidTexts() {
  static const std::vector<std::string> texts = {"\0"s, "caf\xc3\xa9"s, "\xe2\x82\xac"s,
                                                 "\xef\xbf\xbf"s, "\xf4\x8f\xbf\xbf"s};
  return texts;
}

void PutString(Message& message, const FieldDescriptor* field, const std::string& text) {
  if (field->is_repeated()) {
    message.GetReflection()->AddString(&message, field, text);
  } else {
    message.GetReflection()->SetString(&message, field, text);
  }
}

// Calls check(prototype, field) for each string field of each message type.
template <class Check>
void ForEachStringField(const Check& check) {
  for (const Message* prototype : Prototypes()) {
    for (const FieldDescriptor* field : Fields(*prototype)) {
      if (field->type() == FieldDescriptor::TYPE_STRING) {
        SCOPED_TRACE(field->full_name());
        check(*prototype, field);
      }
    }
  }
}

// `doing` is what the runtime was at: "parsing" or "serializing".
void ExpectErrorsNaming(const FieldDescriptor* field, const char* doing, std::size_t count,
                        const LogRecorder& log) {
  EXPECT_EQ(log.lines().size(), count);
  for (const LogRecorder::Line& line : log.lines()) {
    EXPECT_EQ(line.level, google::protobuf::LOGLEVEL_ERROR);
    EXPECT_NE(line.text.find("'" + field->full_name() + "'"), std::string::npos) << line.text;
    EXPECT_NE(line.text.find(doing), std::string::npos) << line.text;
  }
}

TEST(InvalidText, IsWrittenWithOneErrorThatNamesTheField) {
  ForEachStringField([](const Message& prototype, const FieldDescriptor* field) {
    for (const std::string& text : InvalidTexts()) {
      const std::unique_ptr<Message> message = NewOnHeap(prototype);
      PutString(*message, field, text);
      const LogRecorder log;
      EXPECT_EQ(message->SerializeAsString(), wire::LengthDelimitedField(field->number(), text));
      ExpectErrorsNaming(field, "serializing", 1, log);
    }
  });
}

TEST(InvalidText, IsRefusedWithAnErrorThatNamesTheField) {
  ForEachStringField([](const Message& prototype, const FieldDescriptor* field) {
    for (const std::string& text : InvalidTexts()) {
      const std::unique_ptr<Message> message = NewOnHeap(prototype);
      const LogRecorder log;
      EXPECT_FALSE(message->ParseFromString(wire::LengthDelimitedField(field->number(), text)));
      ExpectErrorsNaming(field, "parsing", 1, log);
    }
  });
}

TEST(InvalidText, IsReportedForEachElementOfARepeatedField) {
  int repeated_strings = 0;
  ForEachStringField([&](const Message& prototype, const FieldDescriptor* field) {
    if (!field->is_repeated()) {
      return;
    }
    ++repeated_strings;
    const std::unique_ptr<Message> message = NewOnHeap(prototype);
    for (const char* text : {"\xff", "good", "", "\xfe"}) {
      PutString(*message, field, text);
    }
    const LogRecorder log;
    EXPECT_EQ(message->SerializeAsString(),
              wire::LengthDelimitedField(field->number(), "\xff") +
                  wire::LengthDelimitedField(field->number(), "good") +
                  wire::LengthDelimitedField(field->number(), "") +
                  wire::LengthDelimitedField(field->number(), "\xfe"));
    ExpectErrorsNaming(field, "serializing", 2, log);
  });
  EXPECT_EQ(repeated_strings, 3);
}

TEST(InvalidText, InALaterElementIsRefusedToo) {
  ForEachStringField([](const Message& prototype, const FieldDescriptor* field) {
    if (!field->is_repeated()) {
      return;
    }
    const std::unique_ptr<Message> message = NewOnHeap(prototype);
    const LogRecorder log;
    EXPECT_FALSE(message->ParseFromString(wire::LengthDelimitedField(field->number(), "good") +
                                          wire::LengthDelimitedField(field->number(), "\xff")));
    ExpectErrorsNaming(field, "parsing", 1, log);
    EXPECT_EQ(message->GetReflection()->GetRepeatedString(*message, field, 0), "good");
  });
}

TEST(ValidText, IsWrittenAndReadInSilence) {
  ForEachStringField([](const Message& prototype, const FieldDescriptor* field) {
    for (const std::string& text : ValidTexts()) {
      const std::string bytes = wire::LengthDelimitedField(field->number(), text);
      const std::unique_ptr<Message> message = NewOnHeap(prototype);
      const LogRecorder log;
      EXPECT_TRUE(message->ParseFromString(bytes));
      EXPECT_EQ(message->SerializeAsString(), bytes);
      EXPECT_TRUE(log.lines().empty());
    }
  });
}

}  // namespace
}  // namespace contract
