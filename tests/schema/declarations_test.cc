// The schema files declare exactly what declarations.txt says, in that order.

#include <google/protobuf/descriptor.h>
#include <gtest/gtest.h>
#include <qmsg/login.pb.h>

#include <algorithm>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

namespace {

using google::protobuf::Descriptor;
using google::protobuf::DescriptorPool;
using google::protobuf::EnumDescriptor;
using google::protobuf::FieldDescriptor;
using google::protobuf::FileDescriptor;

using Lines = std::vector<std::string>;

std::string WithoutRoot(const std::string& full_name) {
  constexpr std::string_view kRoot = "quor.protobuf.";
  return full_name.compare(0, kRoot.size(), kRoot) == 0 ? full_name.substr(kRoot.size())
                                                        : full_name;
}

std::string TypeOf(const FieldDescriptor& field) {
  if (field.is_map()) {
    return std::string("map<") + TypeOf(*field.message_type()->map_key()) + ", " +
           TypeOf(*field.message_type()->map_value()) + ">";
  }
  const std::string prefix = field.is_repeated() ? "repeated " : "";
  if (field.message_type() != nullptr) {
    return prefix + WithoutRoot(field.message_type()->full_name());
  }
  if (field.enum_type() != nullptr) {
    return prefix + WithoutRoot(field.enum_type()->full_name());
  }
  return prefix + field.type_name();
}

std::string Declare(const EnumDescriptor& type) {
  std::string line = "    enum " + type.name() + ":";
  for (int i = 0; i < type.value_count(); ++i) {
    line += " " + type.value(i)->name() + "=" + std::to_string(type.value(i)->number());
  }
  return line;
}

std::string Declare(const FieldDescriptor& field) {
  std::string line =
      "    " + std::to_string(field.number()) + " " + field.name() + ": " + TypeOf(field);
  if (field.containing_oneof() != nullptr) {
    line += " (in " + field.containing_oneof()->name() + ")";
  }
  return line;
}

void Declare(const FileDescriptor& file, Lines& lines) {
  lines.push_back(file.name() + " " + file.package());
  for (int i = 0; i < file.dependency_count(); ++i) {
    lines.push_back("  import " + file.dependency(i)->name());
  }
  for (int i = 0; i < file.message_type_count(); ++i) {
    const Descriptor& message = *file.message_type(i);
    lines.push_back("  message " + message.name());
    for (int j = 0; j < message.enum_type_count(); ++j) {
      lines.push_back(Declare(*message.enum_type(j)));
    }
    for (int j = 0; j < message.field_count(); ++j) {
      lines.push_back(Declare(*message.field(j)));
    }
  }
}

Lines ReadLines(const char* path) {
  std::ifstream file(path);
  Lines lines;
  for (std::string line; std::getline(file, line);) {
    lines.push_back(line);
  }
  return lines;
}

TEST(SchemaFiles, DeclareWhatIsListedInThatOrder) {
  const auto& pool = *DescriptorPool::generated_pool();
  Lines declared;
  for (const char* file : {"codetrace.proto", "config.proto", "jobqueue.proto", "login.proto",
                           "monitor.proto", "quorphp.proto", "tarq.proto"}) {
    Declare(*pool.FindFileByName(file), declared);
  }
  // Makes the program need the library, whose classes nothing else here names.
  ASSERT_EQ(quor::protobuf::Login::Login::descriptor()->file()->pool(), &pool);
  const Lines listed = ReadLines(QMSG_DECLARATIONS);
  ASSERT_FALSE(listed.empty()) << QMSG_DECLARATIONS << " cannot be read";
  for (std::size_t i = 0; i < std::min(listed.size(), declared.size()); ++i) {
    ASSERT_EQ(declared[i], listed[i]) << "line " << i + 1 << " of " << QMSG_DECLARATIONS;
  }
  EXPECT_EQ(declared.size(), listed.size());
}

TEST(SchemaFiles, LeaveRetiredNumbersUnused) {
  // Numbers of removed fields: a reader of an earlier release would take the new field for the old.
  const struct {
    const char* message;
    int number;
  } retired[] = {{"Tarq.Error", 3}, {"Tarq.Function", 4}, {"Tarq.Function", 5}};
  for (const auto& [name, number] : retired) {
    const Descriptor* message = DescriptorPool::generated_pool()->FindMessageTypeByName(
        std::string("quor.protobuf.") + name);
    ASSERT_NE(message, nullptr) << name;
    EXPECT_EQ(message->FindFieldByNumber(number), nullptr) << name << ' ' << number;
  }
}

TEST(SchemaFiles, AreProto3AndDeclareNoServiceExtensionOrOptionalField) {
  for (const char* name : {"codetrace.proto", "config.proto", "jobqueue.proto", "login.proto",
                           "monitor.proto", "quorphp.proto", "tarq.proto"}) {
    const FileDescriptor* file = DescriptorPool::generated_pool()->FindFileByName(name);
    ASSERT_NE(file, nullptr) << name;
    EXPECT_EQ(file->syntax(), FileDescriptor::SYNTAX_PROTO3) << name;
    EXPECT_EQ(file->service_count(), 0) << name;
    EXPECT_EQ(file->extension_count(), 0) << name;
    for (int i = 0; i < file->message_type_count(); ++i) {
      const Descriptor& message = *file->message_type(i);
      EXPECT_EQ(message.real_oneof_decl_count(), message.oneof_decl_count()) << message.full_name();
    }
  }
}

}  // namespace
