// Which types of the schema are wire-equivalent, worked out from their declarations.
#include "guess/wire_equivalence.h"

#include <google/protobuf/descriptor.pb.h>
#include <google/protobuf/text_format.h>
#include <gtest/gtest.h>

#include <set>
#include <string>
#include <utility>
#include <vector>

#include "schema/schema.h"

namespace {

using Pair = std::pair<std::string, std::string>;

TEST(AreWireEquivalent, TypesWithTheSameFieldsOnly) {
  std::set<Pair> found;
  const std::vector<const google::protobuf::Descriptor*> types = qmsg::SchemaMessages();
  for (std::size_t i = 0; i < types.size(); ++i) {
    for (std::size_t j = i + 1; j < types.size(); ++j) {
      const bool same = qmsg::AreWireEquivalent(types[i], types[j]);
      EXPECT_EQ(same, qmsg::AreWireEquivalent(types[j], types[i]));
      if (same) {
        found.emplace(types[i]->full_name(), types[j]->full_name());
      }
    }
  }
  // One string in field 1; and a string in field 1 with any number of them in field 2.
  const std::set<Pair> expected = {
      {"quor.protobuf.Login.Login", "quor.protobuf.Login.Config"},
      {"quor.protobuf.Login.Login", "quor.protobuf.Tarq.SqlError"},
      {"quor.protobuf.Login.Config", "quor.protobuf.Tarq.SqlError"},
      {"quor.protobuf.Tarq.StorageData", "quor.protobuf.Tarq.RequestHeaders"},
      {"quor.protobuf.Tarq.StorageData", "quor.protobuf.Tarq.ResponseHeaders"},
      {"quor.protobuf.Tarq.RequestHeaders", "quor.protobuf.Tarq.ResponseHeaders"},
  };
  EXPECT_EQ(found, expected);
}

TEST(AreWireEquivalent, ATypeWithItself) {
  for (const google::protobuf::Descriptor* type : qmsg::SchemaMessages()) {
    EXPECT_TRUE(qmsg::AreWireEquivalent(type, type)) << type->full_name();
  }
}

// Types that differ in one property each.
constexpr char kFields[] = R"pb(
  name: "fields.proto"
  syntax: "proto3"
  enum_type {
    name: "E"
    value { name: "E_ZERO" number: 0 }
    value { name: "E_ONE" number: 1 }
  }
  enum_type {
    name: "SameE"
    value { name: "S_ZERO" number: 0 }
    value { name: "S_ONE" number: 1 }
  }
  enum_type {
    name: "OtherE"
    value { name: "O_ZERO" number: 0 }
    value { name: "O_TWO" number: 2 }
  }
  message_type {
    name: "Text"
    field { name: "a" number: 1 label: LABEL_OPTIONAL type: TYPE_STRING }
  }
  message_type {
    name: "OtherName"
    field { name: "b" number: 1 label: LABEL_OPTIONAL type: TYPE_STRING }
  }
  message_type {
    name: "Texts"
    field { name: "a" number: 1 label: LABEL_REPEATED type: TYPE_STRING }
  }
  message_type {
    name: "Bytes"
    field { name: "a" number: 1 label: LABEL_OPTIONAL type: TYPE_BYTES }
  }
  message_type {
    name: "Number2"
    field { name: "a" number: 2 label: LABEL_OPTIONAL type: TYPE_STRING }
  }
  message_type {
    name: "Chosen"
    field { name: "a" number: 1 label: LABEL_OPTIONAL type: TYPE_STRING oneof_index: 0 }
    oneof_decl { name: "o" }
  }
  message_type {
    name: "More"
    field { name: "a" number: 1 label: LABEL_OPTIONAL type: TYPE_STRING }
    field { name: "b" number: 2 label: LABEL_OPTIONAL type: TYPE_STRING }
  }
  message_type {
    name: "HasText"
    field { name: "a" number: 1 label: LABEL_OPTIONAL type: TYPE_MESSAGE type_name: "Text" }
  }
  message_type {
    name: "HasOtherName"
    field { name: "a" number: 1 label: LABEL_OPTIONAL type: TYPE_MESSAGE type_name: "OtherName" }
  }
  message_type {
    name: "HasMore"
    field { name: "a" number: 1 label: LABEL_OPTIONAL type: TYPE_MESSAGE type_name: "More" }
  }
  message_type {
    name: "HasE"
    field { name: "a" number: 1 label: LABEL_OPTIONAL type: TYPE_ENUM type_name: "E" }
  }
  message_type {
    name: "HasSameE"
    field { name: "a" number: 1 label: LABEL_OPTIONAL type: TYPE_ENUM type_name: "SameE" }
  }
  message_type {
    name: "HasOtherE"
    field { name: "a" number: 1 label: LABEL_OPTIONAL type: TYPE_ENUM type_name: "OtherE" }
  }
  message_type {
    name: "Chain"
    field { name: "a" number: 1 label: LABEL_OPTIONAL type: TYPE_MESSAGE type_name: "Chain" }
  }
  message_type {
    name: "OtherChain"
    field { name: "a" number: 1 label: LABEL_OPTIONAL type: TYPE_MESSAGE type_name: "OtherChain" }
  }
)pb";

TEST(AreWireEquivalent, DependsOnlyOnTheWireFormat) {
  google::protobuf::FileDescriptorProto declared;
  ASSERT_TRUE(google::protobuf::TextFormat::ParseFromString(kFields, &declared));
  google::protobuf::DescriptorPool pool;
  ASSERT_NE(pool.BuildFile(declared), nullptr);
  const std::set<Pair> expected = {{"Text", "OtherName"},
                                   {"HasText", "HasOtherName"},
                                   {"HasE", "HasSameE"},
                                   {"Chain", "OtherChain"}};
  for (const auto& a : declared.message_type()) {
    for (const auto& b : declared.message_type()) {
      const bool same = a.name() == b.name() || expected.count({a.name(), b.name()}) > 0 ||
                        expected.count({b.name(), a.name()}) > 0;
      EXPECT_EQ(qmsg::AreWireEquivalent(pool.FindMessageTypeByName(a.name()),
                                        pool.FindMessageTypeByName(b.name())),
                same)
          << a.name() << ' ' << b.name();
    }
  }
}

}  // namespace
