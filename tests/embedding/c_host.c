/* A host in plain C. It knows neither the messages nor the protobuf runtime.

   Usage: c_host STEP...
     lazy now local global deepbind   how to open from here on: now and local, unless told otherwise
     use                              use the plugin that was opened last
     declarations                     let it list all declarations
     close                            close what was opened last
     cycles                           close it and open it again, 50 times, and print how many bytes
                                      more of the heap are in use than after the second time
     anything else                    open the shared object of that path */

#define _GNU_SOURCE
#include <dlfcn.h>
#include <malloc.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "plugin.h"

/* There if an allocator of its own counts. */
extern size_t __sanitizer_get_current_allocated_bytes(void) __attribute__((weak));

static int binding = RTLD_NOW, scope = RTLD_LOCAL, deepbind = 0;

static size_t heap_in_use(void) {
  return __sanitizer_get_current_allocated_bytes ? __sanitizer_get_current_allocated_bytes()
                                                 : mallinfo2().uordblks;
}

static void* open_or_exit(const char* path) {
  void* handle = dlopen(path, binding | scope | deepbind);
  if (handle == NULL) {
    fprintf(stderr, "c_host: %s\n", dlerror());
    exit(EXIT_FAILURE);
  }
  return handle;
}

static const struct Plugin* plugin_or_exit(void* handle) {
  const struct Plugin* plugin = dlsym(handle, QMSG_PLUGIN_NAME);
  if (plugin == NULL) {
    fprintf(stderr, "c_host: %s\n", dlerror());
    exit(EXIT_FAILURE);
  }
  return plugin;
}

static void close_or_exit(void* handle) {
  if (dlclose(handle) != 0) {
    fprintf(stderr, "c_host: %s\n", dlerror());
    exit(EXIT_FAILURE);
  }
}

static void* cycles(const char* path, void* handle) {
  enum { WARM = 2, TIMES = 50 };
  size_t after_the_first = 0;
  for (int i = 1; i <= TIMES; ++i) {
    close_or_exit(handle);
    handle = open_or_exit(path);
    if (i == WARM) {
      after_the_first = heap_in_use();
    }
  }
  printf("%ld\n", (long)heap_in_use() - (long)after_the_first);
  return handle;
}

int main(int argc, char** argv) {
  void* handle = NULL;
  const char* path = NULL;
  for (int i = 1; i < argc; ++i) {
    const char* step = argv[i];
    if (strcmp(step, "lazy") == 0) {
      binding = RTLD_LAZY;
    } else if (strcmp(step, "now") == 0) {
      binding = RTLD_NOW;
    } else if (strcmp(step, "local") == 0) {
      scope = RTLD_LOCAL;
    } else if (strcmp(step, "global") == 0) {
      scope = RTLD_GLOBAL;
    } else if (strcmp(step, "deepbind") == 0) {
      deepbind = RTLD_DEEPBIND;
    } else if (strcmp(step, "use") == 0) {
      if (plugin_or_exit(handle)->use() != 0) {
        return EXIT_FAILURE;
      }
    } else if (strcmp(step, "declarations") == 0) {
      if (strlen(plugin_or_exit(handle)->declarations()) == 0) {
        return EXIT_FAILURE;
      }
    } else if (strcmp(step, "close") == 0) {
      close_or_exit(handle);
    } else if (strcmp(step, "cycles") == 0) {
      handle = cycles(path, handle);
    } else {
      path = step;
      handle = open_or_exit(path);
    }
  }
  return EXIT_SUCCESS;
}
