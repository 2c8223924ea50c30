#ifndef QMSG_BENCH_LIMITS_SQL_QUERY_H_
#define QMSG_BENCH_LIMITS_SQL_QUERY_H_

#include <string>
#include <string_view>

#include "../peers/structs.h"

// A reader and a writer of this one message, written by hand for speed, with no runtime below them.
// Both know the fields of the schema files and no others. Of a part that arrives twice the later
// one holds.

// Views of `bytes`, which have to outlive them; text is not checked. False if the bytes are
// damaged.
bool ReadSqlQuery(std::string_view bytes, structs::SqlQuery<std::string_view>& query);

// Copies, which are UTF-8. False if the bytes are damaged or a text is not UTF-8.
bool ReadSqlQuery(std::string_view bytes, structs::SqlQuery<std::string>& query);

// The bytes, which lie in `buffer`; one that has been used before is not allocated again.
std::string_view WriteSqlQuery(const structs::SqlQuery<std::string>& query, std::string& buffer);

#endif
