// The descriptor tables as the library exports them, and reflection data built on first use.

#include <google/protobuf/descriptor.h>
#include <google/protobuf/descriptor.pb.h>
#include <google/protobuf/generated_message_reflection.h>
#include <gtest/gtest.h>
#include <qmsg/codetrace.pb.h>
#include <qmsg/config.pb.h>
#include <qmsg/jobqueue.pb.h>
#include <qmsg/login.pb.h>
#include <qmsg/monitor.pb.h>
#include <qmsg/quorphp.pb.h>
#include <qmsg/tarq.pb.h>

#include <set>
#include <string>
#include <vector>

#include "support/threads.h"

namespace {

using google::protobuf::Descriptor;
using google::protobuf::DescriptorPool;
using google::protobuf::FileDescriptor;
using google::protobuf::Message;
using google::protobuf::Reflection;
using google::protobuf::internal::AddDescriptorsRunner;
using google::protobuf::internal::DescriptorTable;
using testing::TestWithParam;
using testing::Values;

struct File {
  const DescriptorTable* table;
  const std::uint32_t* offsets;
  std::string name;
  int size;
  std::vector<std::string> imports;
  std::vector<std::string> classes;  // In the order of the default instances.
  int enums;
};

void PrintTo(const File& file, std::ostream* out) { *out << file.name; }

constexpr char kTimestamp[] = "google/protobuf/timestamp.proto";
constexpr char kDuration[] = "google/protobuf/duration.proto";

class Table : public TestWithParam<File> {
 protected:
  const File& file() const { return GetParam(); }
  const DescriptorTable& table() const { return *GetParam().table; }
};

INSTANTIATE_TEST_SUITE_P(
    Of, Table,
    Values(File{&descriptor_table_codetrace_2eproto,
                TableStruct_codetrace_2eproto::offsets,
                "codetrace.proto",
                314,
                {},
                {"CT.Header"},
                1},
           File{&descriptor_table_config_2eproto,
                TableStruct_config_2eproto::offsets,
                "config.proto",
                495,
                {},
                {"Config.Value", "Config.Namespace", "Config.Set"},
                1},
           File{&descriptor_table_jobqueue_2eproto,
                TableStruct_jobqueue_2eproto::offsets,
                "jobqueue.proto",
                1148,
                {kTimestamp, "quorphp.proto"},
                {"JQ.Result", "JQ.AttrList.AttrListEntry", "JQ.AttrList", "JQ.QueueId",
                 "JQ.QueueIdList", "JQ.Queue", "JQ.QueueList", "JQ.JobId", "JQ.JobIdList", "JQ.Job",
                 "JQ.JobList"},
                0},
           File{&descriptor_table_login_2eproto,
                TableStruct_login_2eproto::offsets,
                "login.proto",
                101,
                {},
                {"Login.Login", "Login.Config"},
                0},
           File{&descriptor_table_monitor_2eproto,
                TableStruct_monitor_2eproto::offsets,
                "monitor.proto",
                1180,
                {kDuration, kTimestamp, "quorphp.proto"},
                {"Monitor.Superglobals", "Monitor.FunctionData", "Monitor.PhpErrorData",
                 "Monitor.CustomEventData", "Monitor.Event"},
                1},
           File{&descriptor_table_quorphp_2eproto,
                TableStruct_quorphp_2eproto::offsets,
                "quorphp.proto",
                1568,
                {kDuration, kTimestamp},
                {"QuorPHP.Error", "QuorPHP.PhpVersion", "QuorPHP.QVal", "QuorPHP.SuperglobalValue",
                 "QuorPHP.SuperglobalVariable", "QuorPHP.QuorArrayValue", "QuorPHP.QuorArray",
                 "QuorPHP.StackTraceFrame", "QuorPHP.StackTrace", "QuorPHP.RInitData",
                 "QuorPHP.RShutdownData"},
                1},
           File{&descriptor_table_tarq_2eproto,
                TableStruct_tarq_2eproto::offsets,
                "tarq.proto",
                2263,
                {kDuration, kTimestamp, "quorphp.proto"},
                {"Tarq.Function", "Tarq.Functions", "Tarq.Error", "Tarq.StorageData",
                 "Tarq.Storage", "Tarq.Superglobals", "Tarq.RequestHeaders", "Tarq.RawPostData",
                 "Tarq.ResponseHeaders", "Tarq.ResponseBody", "Tarq.SqlConnection",
                 "Tarq.SqlConnections", "Tarq.SqlTransaction", "Tarq.SqlTransactions",
                 "Tarq.SqlError", "Tarq.SqlQuery", "Tarq.SqlQueries"},
                2}),
    [](const auto& of) { return of.param.name.substr(0, of.param.name.find('.')); });

TEST_P(Table, IsRegisteredWhenTheLibraryIsLoadedButNotEagerly) {
  EXPECT_TRUE(table().is_initialized);
  EXPECT_FALSE(table().is_eager);
  EXPECT_EQ(table().filename, file().name);
}

TEST_P(Table, HoldsTheSerializedFileDescriptor) {
  ASSERT_EQ(table().size, file().size);
  google::protobuf::FileDescriptorProto embedded;
  ASSERT_TRUE(embedded.ParseFromArray(table().descriptor, table().size));
  EXPECT_EQ(embedded.name(), file().name);
  EXPECT_EQ(embedded.options().ByteSizeLong(), 3U) << embedded.options().DebugString();
  EXPECT_TRUE(embedded.options().cc_enable_arenas());
}

TEST_P(Table, ListsTheImportedTablesSortedByFileName) {
  std::vector<std::string> imports;
  imports.reserve(static_cast<std::size_t>(table().num_deps));
  for (int i = 0; i < table().num_deps; ++i) {
    imports.emplace_back(table().deps[i]->filename);
  }
  EXPECT_EQ(imports, file().imports);
}

TEST_P(Table, ListsItsDefaultInstancesNestedMessagesFirst) {
  std::vector<std::string> classes;
  classes.reserve(static_cast<std::size_t>(table().num_messages));
  for (int i = 0; i < table().num_messages; ++i) {
    const std::string& name = table().default_instances[i]->GetDescriptor()->full_name();
    classes.push_back(name.substr(sizeof("quor.protobuf")));
  }
  EXPECT_EQ(classes, file().classes);
}

TEST_P(Table, FillsMetadataAndEnumSlotsOnFirstUseOnly) {
  ASSERT_EQ(static_cast<std::size_t>(table().num_messages), file().classes.size());
  for (std::size_t i = 0; i < file().classes.size(); ++i) {
    EXPECT_EQ(table().file_level_metadata[i].descriptor, nullptr) << file().classes[i];
    EXPECT_EQ(table().file_level_metadata[i].reflection, nullptr) << file().classes[i];
  }
  for (int i = 0; i < file().enums; ++i) {
    EXPECT_EQ(table().file_level_enum_descriptors[i], nullptr);
  }

  const int last = table().num_messages - 1;
  const Descriptor* descriptor = table().default_instances[last]->GetDescriptor();

  EXPECT_EQ(table().file_level_metadata[last].descriptor, descriptor);
  std::set<const Reflection*> reflections;
  for (std::size_t i = 0; i < file().classes.size(); ++i) {
    ASSERT_NE(table().file_level_metadata[i].descriptor, nullptr) << file().classes[i];
    EXPECT_EQ(table().file_level_metadata[i].descriptor->full_name(),
              "quor.protobuf." + file().classes[i]);
    reflections.insert(table().file_level_metadata[i].reflection);
  }
  EXPECT_EQ(reflections.size(), file().classes.size());
  for (int i = 0; i < file().enums; ++i) {
    EXPECT_EQ(table().file_level_enum_descriptors[i]->file()->name(), file().name);
  }
  EXPECT_EQ(table().file_level_service_descriptors, nullptr);
}

TEST_P(Table, GivesEachMessageItsReflectionOffsets) {
  enum Header { kHasBits, kMetadata, kExtensions, kOneofCase, kWeakFields, kInlinedStrings, kSize };
  constexpr auto kNone = ~std::uint32_t{0};
  EXPECT_EQ(table().offsets, file().offsets);
  ASSERT_EQ(static_cast<std::size_t>(table().num_messages), file().classes.size());
  for (std::size_t i = 0; i < file().classes.size(); ++i) {
    SCOPED_TRACE(file().classes[i]);
    const Descriptor* descriptor = table().default_instances[i]->GetDescriptor();
    const auto begin = static_cast<std::size_t>(table().schemas[i].offsets_index);
    const std::uint32_t* offsets = table().offsets + begin;
    if (!descriptor->options().map_entry()) {
      EXPECT_EQ(offsets[kHasBits], kNone);
    }
    EXPECT_EQ(offsets[kExtensions], kNone);
    EXPECT_EQ(offsets[kOneofCase] != kNone, descriptor->oneof_decl_count() > 0);
    // Behind the entries of the fields comes one for each oneof.
    const auto fields = static_cast<std::size_t>(descriptor->field_count());
    for (std::size_t field = 0; field < fields; ++field) {
      EXPECT_NE(offsets[kSize + field], kNone)
          << descriptor->field(static_cast<int>(field))->name();
    }
  }
}

TEST_P(Table, IsNotRegisteredTwice) {
  const FileDescriptor* before = DescriptorPool::generated_pool()->FindFileByName(file().name);
  const AddDescriptorsRunner again(&table());
  EXPECT_EQ(DescriptorPool::generated_pool()->FindFileByName(file().name), before);
}

TEST_P(Table, BuildsReflectionOnceForThreadsThatStartTogether) {
  std::vector<const Reflection*> seen(16);
  const Message* message = table().default_instances[0];
  RunTogether(seen.size(), [&](std::size_t thread) { seen[thread] = message->GetReflection(); });
  EXPECT_EQ(std::set<const Reflection*>(seen.begin(), seen.end()).size(), 1U);
  EXPECT_EQ(seen[0], table().file_level_metadata[0].reflection);
  EXPECT_EQ(message->GetDescriptor(),
            DescriptorPool::generated_pool()->FindMessageTypeByName(message->GetTypeName()));
}

}  // namespace
