#include <gtest/gtest.h>
#include <qmsg/quorphp.pb.h>
#include <qmsg/tarq.pb.h>

#include "support/hex_bytes.h"

namespace messages::tarq {
namespace {

using quor::protobuf::Tarq::SqlConnection;
using quor::protobuf::Tarq::SqlQueries;
using quor::protobuf::Tarq::SqlQuery;
using quor::protobuf::Tarq::SqlTransaction;
using quor::protobuf::Tarq::SqlTransactions;
using wire::ExpectBytes;
using wire::Hex;
using wire::Parse;

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

TEST(SqlQuery, WritesAnErrorWithoutAMessage) {
  SqlQuery query;
  query.mutable_error()->set_message("");
  EXPECT_EQ(Hex(query), "42 00");
  EXPECT_TRUE(Parse<SqlQuery>("42 00").has_error());
}

TEST(SqlTransactions, ResolveNoReference) {
  SqlTransactions transactions;
  SqlTransaction* const transaction = transactions.add_transactions();
  transaction->set_ident(1);
  transaction->set_parent_id(1);
  transactions.add_transactions()->set_parent_id(99);
  ExpectBytes(transactions, "12 04 08 01 10 01 12 02 10 63");
}

}  // namespace
}  // namespace messages::tarq
