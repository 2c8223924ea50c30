#ifndef QMSG_EXAMPLES_REFLECTION_WALKER_WALK_H_
#define QMSG_EXAMPLES_REFLECTION_WALKER_WALK_H_

#include <google/protobuf/message.h>

#include <ostream>

// Writes a line "path = value" for each value in a message of any type, in the order of the field
// numbers, for example queries[0].rows = 12. Entries of a map come in the order of their keys, for
// example attr_list[7].value_type = INTEGER. An empty message that is present is {}. Unknown fields
// are counted, in a line whose last name is <unknown>. Text is quoted, and its control characters
// are escaped.
void Walk(const google::protobuf::Message& message, std::ostream& out);

#endif
