// Everything that the schema files declare carries a comment for their reader.

#include <google/protobuf/descriptor.h>
#include <google/protobuf/descriptor.pb.h>
#include <gtest/gtest.h>

#include <fstream>
#include <regex>
#include <string>
#include <type_traits>

namespace {

using google::protobuf::Descriptor;
using google::protobuf::DescriptorPool;
using google::protobuf::EnumDescriptor;
using google::protobuf::FieldDescriptor;
using google::protobuf::FileDescriptor;
using google::protobuf::FileDescriptorSet;
using google::protobuf::OneofDescriptor;
using google::protobuf::SourceLocation;

// Visits each element that a reader sees declared, map entries aside.
template <typename Visitor>
void ForEachElement(const FileDescriptor& file, Visitor visit) {
  for (int i = 0; i < file.message_type_count(); ++i) {
    const Descriptor& message = *file.message_type(i);
    visit(message);
    for (int j = 0; j < message.field_count(); ++j) {
      visit(*message.field(j));
    }
    for (int j = 0; j < message.oneof_decl_count(); ++j) {
      visit(*message.oneof_decl(j));
    }
    for (int j = 0; j < message.enum_type_count(); ++j) {
      const EnumDescriptor& type = *message.enum_type(j);
      visit(type);
      for (int k = 0; k < type.value_count(); ++k) {
        visit(*type.value(k));
      }
    }
  }
}

// What a reader gets of a field that is absent, as its comment names it.
std::string Default(const FieldDescriptor& field) {
  if (field.is_repeated()) {
    return "Empty";
  }
  if (field.has_presence()) {
    return "Absent";
  }
  switch (field.cpp_type()) {
    case FieldDescriptor::CPPTYPE_STRING:
      return "Empty";
    case FieldDescriptor::CPPTYPE_BOOL:
      return "False";
    case FieldDescriptor::CPPTYPE_ENUM:
      return field.default_value_enum()->name();
    default:
      return "0";
  }
}

// The sentence in which a comment says what absence means, as a regular expression. With implicit
// presence it names two meanings, because the default value and absence read the same.
std::string AbsenceSentence(const FieldDescriptor& field) {
  const OneofDescriptor* const oneof = field.containing_oneof();
  if (oneof != nullptr && oneof->field_count() > 1) {
    return "Absent: `" + oneof->name() + "` holds another member or none\\.";
  }
  return Default(field) + ": " + (field.has_presence() ? "([^.:]+ or )?" : "[^.:]+ or ") +
         "not (recorded|given)\\.";
}

// In one line.
std::string CommentOf(const FieldDescriptor& field) {
  SourceLocation location;
  field.GetSourceLocation(&location);
  return std::regex_replace(location.leading_comments, std::regex("\\s+"), " ");
}

class Comments : public testing::Test {
 protected:
  void SetUp() override {
    std::ifstream stream(QMSG_DESCRIPTOR_SET, std::ios::binary);
    FileDescriptorSet set;
    ASSERT_TRUE(set.ParseFromIstream(&stream)) << QMSG_DESCRIPTOR_SET;
    for (const auto& file : set.file()) {
      ASSERT_NE(pool_.BuildFile(file), nullptr) << file.name();
    }
  }

  template <typename Visitor>
  void ForEachElementOfAllFiles(Visitor visit) {
    for (const char* name : {"codetrace.proto", "config.proto", "jobqueue.proto", "login.proto",
                             "monitor.proto", "quorphp.proto", "tarq.proto"}) {
      const FileDescriptor* file = pool_.FindFileByName(name);
      ASSERT_NE(file, nullptr) << name;
      ForEachElement(*file, visit);
    }
  }

 private:
  DescriptorPool pool_;
};

TEST_F(Comments, StandAboveEveryElementAsWholeSentences) {
  int elements = 0;
  ForEachElementOfAllFiles([&elements](const auto& element) {
    ++elements;
    SourceLocation location;
    ASSERT_TRUE(element.GetSourceLocation(&location)) << element.full_name();
    const std::string& comment = location.leading_comments;
    ASSERT_GE(comment.size(), sizeof(" X.\n") - 1) << element.full_name() << " has no comment";
    EXPECT_EQ(comment.substr(comment.size() - 2), ".\n") << element.full_name() << ":" << comment;
    EXPECT_EQ(comment.find("TODO"), std::string::npos) << element.full_name();
  });
  EXPECT_EQ(elements, 276);
}

TEST_F(Comments, OfFieldsEndWithWhatAbsenceMeans) {
  int fields = 0;
  ForEachElementOfAllFiles([&fields](const auto& element) {
    if constexpr (std::is_same_v<decltype(element), const FieldDescriptor&>) {
      ++fields;
      const std::string expected = AbsenceSentence(element);
      EXPECT_TRUE(std::regex_search(CommentOf(element), std::regex("\\. " + expected + " $")))
          << "expected: the comment of " << element.full_name() << " ends with " << expected
          << "\nfound:   " << CommentOf(element);
    }
  });
  EXPECT_EQ(fields, 180);
}

}  // namespace
