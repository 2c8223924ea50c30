#include <google/protobuf/duration.pb.h>
#include <gtest/gtest.h>
#include <qmsg/quorphp.pb.h>
#include <qmsg/tarq.pb.h>

#include <cstdint>
#include <string>
#include <vector>

#include "fields.h"
#include "wire.h"

namespace {

using google::protobuf::Duration;
using quor::protobuf::QuorPHP::StackTrace;
using quor::protobuf::Tarq::SqlConnection;
using quor::protobuf::Tarq::SqlConnections;
using quor::protobuf::Tarq::SqlError;
using quor::protobuf::Tarq::SqlQueries;
using quor::protobuf::Tarq::SqlQuery;
using quor::protobuf::Tarq::SqlTransaction;
using quor::protobuf::Tarq::SqlTransactions;
using wire::ExpectBytes;
using wire::Hex;
using wire::Parse;

TEST(SqlConnection, HasItsFieldsUnderTheirTags) {
  ExpectField(PLAIN_NUMBER(SqlConnection, ident, uint32_t), "08");
  ExpectField(PLAIN_NUMBER(SqlConnection, driver_type, int32_t), "10");
  ExpectField(PLAIN_TEXT(SqlConnection, dsn), "1A", "quor.protobuf.Tarq.SqlConnection.dsn");
}

TEST(SqlTransaction, HasItsFieldsUnderTheirTags) {
  ExpectField(PLAIN_NUMBER(SqlTransaction, ident, uint32_t), "08");
  ExpectField(ONEOF_NUMBER(SqlTransaction, parent_id, uint32_t), "10");
  ExpectField(PLAIN_NUMBER(SqlTransaction, rows, int32_t), "18");
  ExpectField(SUB_MESSAGE(SqlTransaction, duration, Duration), "22");
}

TEST(SqlError, HasItsFieldUnderItsTag) {
  ExpectField(PLAIN_TEXT(SqlError, message), "0A", "quor.protobuf.Tarq.SqlError.message");
}

TEST(SqlQuery, HasItsFieldsUnderTheirTags) {
  ExpectField(PLAIN_NUMBER(SqlQuery, statement_type, int32_t), "08");
  ExpectField(ONEOF_NUMBER(SqlQuery, connection_id, uint32_t), "10");
  ExpectField(ONEOF_NUMBER(SqlQuery, driver_type, int32_t), "18");
  ExpectField(ONEOF_NUMBER(SqlQuery, transaction_id, uint32_t), "20");
  ExpectField(PLAIN_TEXT(SqlQuery, query), "2A", "quor.protobuf.Tarq.SqlQuery.query");
  ExpectField(PLAIN_NUMBER(SqlQuery, status, int32_t), "30");
  ExpectField(PLAIN_NUMBER(SqlQuery, flags, uint64_t), "38");
  ExpectField(SUB_MESSAGE(SqlQuery, error, SqlError), "42");
  ExpectField(SUB_MESSAGE(SqlQuery, duration, Duration), "4A");
  ExpectField(PLAIN_NUMBER(SqlQuery, rows, int32_t), "50");
  ExpectField(SUB_MESSAGE(SqlQuery, stack_trace, StackTrace), "5A");
}

TEST(SqlLists, HaveTheirFieldsUnderTheirTags) {
  ExpectField(PLAIN_TEXT(SqlConnections, queue_id), "0A",
              "quor.protobuf.Tarq.SqlConnections.queue_id");
  ExpectField(LIST(SqlConnections, connections, SqlConnection), "12");
  ExpectField(PLAIN_TEXT(SqlTransactions, queue_id), "0A",
              "quor.protobuf.Tarq.SqlTransactions.queue_id");
  ExpectField(LIST(SqlTransactions, transactions, SqlTransaction), "12");
  ExpectField(PLAIN_TEXT(SqlQueries, queue_id), "0A", "quor.protobuf.Tarq.SqlQueries.queue_id");
  ExpectField(LIST(SqlQueries, queries, SqlQuery), "12");
}

TEST(SqlQuery, NamesTheCasesOfItsOneofsByTheFieldNumbers) {
  EXPECT_EQ((std::vector<int>{SqlQuery::CONNECTION_NOT_SET, SqlQuery::kConnectionId}),
            (std::vector<int>{0, 2}));
  EXPECT_EQ((std::vector<int>{SqlQuery::DRIVER_NOT_SET, SqlQuery::kDriverType}),
            (std::vector<int>{0, 3}));
  EXPECT_EQ((std::vector<int>{SqlQuery::TRANSACTION_NOT_SET, SqlQuery::kTransactionId}),
            (std::vector<int>{0, 4}));
}

TEST(SqlTransaction, NamesTheCasesOfItsOneofByTheFieldNumbers) {
  EXPECT_EQ((std::vector<int>{SqlTransaction::PARENT_NOT_SET, SqlTransaction::kParentId}),
            (std::vector<int>{0, 2}));
}

TEST(SqlConnection, IsWrittenAsTheBytesWorkedOutByHand) {
  SqlConnection connection;
  connection.set_ident(1);
  connection.set_driver_type(2);
  connection.set_dsn("d");
  ExpectBytes(connection, "08 01 10 02 1A 01 64");
}

TEST(SqlConnections, IsWrittenAsTheBytesWorkedOutByHand) {
  SqlConnections connections;
  connections.set_queue_id("q");
  connections.add_connections()->set_ident(1);
  connections.add_connections()->set_dsn("d");
  ExpectBytes(connections, "0A 01 71 12 02 08 01 12 03 1A 01 64");
}

TEST(SqlTransaction, IsWrittenAsTheBytesWorkedOutByHand) {
  SqlTransaction transaction;
  transaction.set_ident(1);
  transaction.set_parent_id(2);
  transaction.set_rows(3);
  transaction.mutable_duration()->set_seconds(4);
  ExpectBytes(transaction, "08 01 10 02 18 03 22 02 08 04");
}

TEST(SqlTransactions, IsWrittenAsTheBytesWorkedOutByHand) {
  SqlTransactions transactions;
  transactions.set_queue_id("q");
  transactions.add_transactions()->set_ident(1);
  transactions.add_transactions()->set_parent_id(1);
  ExpectBytes(transactions, "0A 01 71 12 02 08 01 12 02 10 01");
}

TEST(SqlError, IsWrittenAsTheBytesWorkedOutByHand) {
  SqlError error;
  error.set_message("no");
  ExpectBytes(error, "0A 02 6E 6F");
}

TEST(SqlQuery, IsWrittenAsTheBytesWorkedOutByHand) {
  SqlQuery query;
  query.set_statement_type(1);
  query.set_connection_id(2);
  query.set_driver_type(3);
  query.set_transaction_id(4);
  query.set_query("q");
  query.set_status(6);
  query.set_flags(7);
  query.mutable_error()->set_message("e");
  query.mutable_duration()->set_seconds(9);
  query.set_rows(10);
  query.mutable_stack_trace()->add_frames()->set_frame_id(11);
  ExpectBytes(query,
              "08 01"
              "10 02"
              "18 03"
              "20 04"
              "2A 01 71"
              "30 06"
              "38 07"
              "42 03 0A 01 65"
              "4A 02 08 09"
              "50 0A"
              "5A 04 0A 02 08 0B");
}

TEST(SqlQueries, IsWrittenAsTheBytesWorkedOutByHand) {
  SqlQueries queries;
  queries.set_queue_id("q");
  queries.add_queries()->set_query("a");
  queries.add_queries()->set_connection_id(0);
  ExpectBytes(queries, "0A 01 71 12 03 2A 01 61 12 02 10 00");
}

TEST(SqlQuery, TellsConnectionZeroFromNone) {
  SqlQuery query;
  query.set_connection_id(0);
  EXPECT_EQ(Hex(query), "10 00");
  EXPECT_TRUE(query.has_connection_id());
  EXPECT_EQ(query.connection_id(), 0U);
  EXPECT_EQ(query.connection_case(), SqlQuery::kConnectionId);
  query.clear_connection_id();
  EXPECT_EQ(Hex(query), "");
  EXPECT_EQ(query.connection_case(), SqlQuery::CONNECTION_NOT_SET);
}

TEST(SqlQuery, ReadsADriverOfZeroAsSet) {
  const auto query = Parse<SqlQuery>("18 00");
  EXPECT_EQ(query.driver_case(), SqlQuery::kDriverType);
  EXPECT_EQ(query.driver_type(), 0);
  EXPECT_EQ(Hex(query), "18 00");
}

TEST(SqlQuery, TellsADriverOfZeroFromNoneOnlyByItsPresence) {
  const SqlQuery none;
  const auto zero = Parse<SqlQuery>("18 00");
  EXPECT_EQ(none.driver_type(), 0);
  EXPECT_EQ(zero.driver_type(), 0);
  EXPECT_FALSE(none.has_driver_type());
  EXPECT_TRUE(zero.has_driver_type());
  EXPECT_EQ(none.driver_case(), SqlQuery::DRIVER_NOT_SET);
}

TEST(SqlQuery, ClearsEachOfItsOneofsApart) {
  auto query = Parse<SqlQuery>("10 01 18 02 20 03");
  query.clear_driver();
  EXPECT_EQ(query.driver_case(), SqlQuery::DRIVER_NOT_SET);
  EXPECT_EQ(Hex(query), "10 01 20 03");
  query.clear_connection();
  EXPECT_EQ(query.connection_case(), SqlQuery::CONNECTION_NOT_SET);
  EXPECT_EQ(Hex(query), "20 03");
  query.clear_transaction();
  EXPECT_EQ(query.transaction_case(), SqlQuery::TRANSACTION_NOT_SET);
  EXPECT_EQ(Hex(query), "");
}

TEST(SqlTransaction, WritesAParentOfZeroButNotItsOwnNumberZero) {
  SqlTransaction transaction;
  transaction.set_parent_id(0);
  transaction.set_ident(0);
  EXPECT_EQ(Hex(transaction), "10 00");
  EXPECT_EQ(transaction.parent_case(), SqlTransaction::kParentId);
  EXPECT_TRUE(Parse<SqlTransaction>("10 00").has_parent_id());
  transaction.clear_parent();
  EXPECT_EQ(transaction.parent_case(), SqlTransaction::PARENT_NOT_SET);
  EXPECT_EQ(Hex(transaction), "");
}

TEST(SqlConnection, DoesNotKeepADriverOfZero) {
  SqlConnection connection;
  connection.set_driver_type(0);
  EXPECT_EQ(Hex(connection), "");
  EXPECT_EQ(Hex(Parse<SqlConnection>("10 00")), "");
}

TEST(SqlConnection, HasNoPresenceForItsDriverUnlikeAQuery) {
  EXPECT_FALSE(HAS_PRESENCE(SqlConnection, driver_type));
  EXPECT_TRUE(HAS_PRESENCE(SqlQuery, driver_type));
}

TEST(SqlQuery, TakesATransactionOfZeroButNotNoneWhenMerged) {
  auto target = Parse<SqlQuery>("20 09");
  target.MergeFrom(SqlQuery());
  EXPECT_EQ(target.transaction_id(), 9U);
  target.MergeFrom(Parse<SqlQuery>("20 00"));
  EXPECT_TRUE(target.has_transaction_id());
  EXPECT_EQ(target.transaction_id(), 0U);
  EXPECT_EQ(Hex(target), "20 00");
}

TEST(SqlTransaction, TakesAParentOfZeroButNotNoneWhenMerged) {
  auto target = Parse<SqlTransaction>("08 01 10 09 18 05");
  target.MergeFrom(Parse<SqlTransaction>("18 06"));
  EXPECT_EQ(Hex(target), "08 01 10 09 18 06");
  target.MergeFrom(Parse<SqlTransaction>("10 00"));
  EXPECT_EQ(Hex(target), "08 01 10 00 18 06");
}

TEST(SqlQuery, WritesNegativeNumbersInTenBytes) {
  SqlQuery query;
  query.set_statement_type(-1);
  query.set_status(-1);
  query.set_rows(-1);
  const std::string bytes =
      "08 FF FF FF FF FF FF FF FF FF 01 "
      "30 FF FF FF FF FF FF FF FF FF 01 "
      "50 FF FF FF FF FF FF FF FF FF 01";
  EXPECT_EQ(Hex(query), bytes);
  const auto read = Parse<SqlQuery>(bytes);
  EXPECT_EQ(read.statement_type(), -1);
  EXPECT_EQ(read.status(), -1);
  EXPECT_EQ(read.rows(), -1);
}

TEST(SqlQuery, KeepsTheTopBitOfItsFlags) {
  SqlQuery query;
  query.set_flags(0x8000'0000'0000'0000);
  EXPECT_EQ(Hex(query), "38 80 80 80 80 80 80 80 80 80 01");
  EXPECT_EQ(Parse<SqlQuery>("38 80 80 80 80 80 80 80 80 80 01").flags(), 0x8000'0000'0000'0000);
}

TEST(SqlQuery, WritesAnErrorWithoutAMessage) {
  SqlQuery query;
  query.mutable_error()->set_message("");
  EXPECT_EQ(Hex(query), "42 00");
  EXPECT_TRUE(Parse<SqlQuery>("42 00").has_error());
}

TEST(SqlQuery, KeepsAReferenceOfAnotherWireTypeAsUnknown) {
  const auto query = Parse<SqlQuery>("12 01 61 15 01 02 03 04 20 05");
  EXPECT_FALSE(query.has_connection_id());
  EXPECT_EQ(Hex(query), "20 05 12 01 61 15 01 02 03 04");
}

TEST(SqlQuery, MergesWhatIsSetAndSubMessagesFieldByField) {
  auto target = Parse<SqlQuery>("08 01 10 02 2A 01 61 42 03 0A 01 65 4A 02 08 01 5A 02 0A 00");
  target.MergeFrom(Parse<SqlQuery>("18 00 30 05 42 00 4A 02 10 02 5A 02 0A 00 60 01"));
  EXPECT_EQ(Hex(target),
            "08 01 10 02 18 00 2A 01 61 30 05 42 03 0A 01 65 4A 04 08 01 10 02 5A 04 0A 00 0A 00 "
            "60 01");
}

TEST(SqlQuery, IsEmptyOnceCleared) {
  auto query =
      Parse<SqlQuery>("08 01 10 00 18 00 20 00 2A 01 61 30 01 38 01 42 00 4A 00 50 01 5A 00 60 01");
  query.Clear();
  EXPECT_FALSE(query.has_connection_id());
  EXPECT_FALSE(query.has_driver_type());
  EXPECT_FALSE(query.has_transaction_id());
  EXPECT_FALSE(query.has_error());
  EXPECT_FALSE(query.has_duration());
  EXPECT_FALSE(query.has_stack_trace());
  EXPECT_EQ(Hex(query), "");
}

TEST(SqlTransactions, ResolveNoReference) {
  SqlTransactions transactions;
  SqlTransaction* const transaction = transactions.add_transactions();
  transaction->set_ident(1);
  transaction->set_parent_id(1);
  transactions.add_transactions()->set_parent_id(99);
  ExpectBytes(transactions, "12 04 08 01 10 01 12 02 10 63");
}

TEST(SqlQueries, AppendsQueriesWhenMerged) {
  auto target = Parse<SqlQueries>("0A 01 71 12 03 2A 01 61");
  target.MergeFrom(Parse<SqlQueries>("12 03 2A 01 61 12 00"));
  EXPECT_EQ(Hex(target), "0A 01 71 12 03 2A 01 61 12 03 2A 01 61 12 00");
}

}  // namespace
