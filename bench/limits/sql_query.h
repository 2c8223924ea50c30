#ifndef QMSG_BENCH_LIMITS_SQL_QUERY_H_
#define QMSG_BENCH_LIMITS_SQL_QUERY_H_

#include <string>
#include <string_view>

#include "../../implementations/structs.h"

// A reader and a writer of this one message, written by hand for speed, without a runtime. Both
// know only the fields of the schema files. The later of two occurrences of a sub-message replaces
// the earlier one.

// Makes views of `bytes`, which have to outlive them. Does not validate text. False if the bytes
// are damaged.
bool ReadSqlQuery(std::string_view bytes, structs::SqlQuery<std::string_view>& query);

// Copies the texts. False if the bytes are damaged or a text is not UTF-8.
bool ReadSqlQuery(std::string_view bytes, structs::SqlQuery<std::string>& query);

// The bytes, which are in `buffer`. A reused buffer is not allocated again.
std::string_view WriteSqlQuery(const structs::SqlQuery<std::string>& query, std::string& buffer);

#endif
