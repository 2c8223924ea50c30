// What a plugin that uses the library gives its host: C functions, so that the host needs to know
// neither the messages nor the runtime.
#pragma once

#include <stddef.h>  // NOLINT(modernize-deprecated-headers): for C as well

#define QMSG_PLUGIN_ADDRESSES 100

// NOLINTBEGIN(modernize-redundant-void-arg): it means something in C
struct Plugin {
  // Reads, writes and prints messages. Returns nonzero if something is not as it should be, and
  // says on stderr what.
  int (*use)(void);
  // All declarations as this process knows them, as text. Needs all reflection data.
  const char* (*declarations)(void);
  // Writes where the reflection data of each message lies; returns of how many. There has to be
  // room for QMSG_PLUGIN_ADDRESSES.
  size_t (*reflection_addresses)(const void** addresses);
  // A new Tarq.SqlQuery with this query. Any plugin may read and delete it.
  void* (*make)(const char* query);
  // Whether the message is of the class that this plugin knows, and holds the query.
  int (*reads)(const void* message, const char* query);
  void (*drop)(void* message);
};
// NOLINTEND(modernize-redundant-void-arg)

// The name of the object of that type in each plugin.
#define QMSG_PLUGIN_NAME "qmsg_plugin"
