// protobuf-c: unpacks and packs the message of each line.

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "types.h"

static const ProtobufCMessageDescriptor* FindType(const char* name) {
  for (size_t i = 0; i < sizeof types / sizeof types[0]; ++i) {
    if (strcmp(types[i]->name, name) == 0) {
      return types[i];
    }
  }
  return NULL;
}

static void* Allocate(size_t size) {
  void* memory = malloc(size ? size : 1);
  if (!memory) {
    perror("malloc");
    exit(1);
  }
  return memory;
}

static unsigned NibbleOf(char digit) {
  const char* const digits = "0123456789abcdef";
  const char* const found = digit ? strchr(digits, digit) : NULL;
  if (!found) {
    fprintf(stderr, "not a hex digit: %c\n", digit);
    exit(1);
  }
  return (unsigned)(found - digits);
}

static size_t FromHex(const char* hex, uint8_t* bytes) {
  size_t size = 0;
  for (; strcmp(hex, "-") != 0 && *hex; hex += 2) {
    bytes[size++] = (uint8_t)(NibbleOf(hex[0]) << 4 | NibbleOf(hex[1]));
  }
  return size;
}

static void Answer(const ProtobufCMessageDescriptor* type, const char* hex) {
  uint8_t* const read = Allocate(strlen(hex) / 2);
  ProtobufCMessage* message = protobuf_c_message_unpack(type, NULL, FromHex(hex, read), read);
  free(read);
  if (!message) {
    puts("refused");
    return;
  }
  uint8_t* const written = Allocate(protobuf_c_message_get_packed_size(message));
  const size_t size = protobuf_c_message_pack(message, written);
  protobuf_c_message_free_unpacked(message, NULL);
  fputs(size ? "accepted " : "accepted -", stdout);
  for (size_t i = 0; i < size; ++i) {
    printf("%02x", written[i]);
  }
  putchar('\n');
  free(written);
}

int main(void) {
  char* line = NULL;
  size_t capacity = 0;
  while (getline(&line, &capacity, stdin) > 0) {
    const char* name = strtok(line, " \n");
    const char* hex = strtok(NULL, " \n");
    if (!name || !hex) {
      fprintf(stderr, "not a type and its bytes in hex\n");
      return 1;
    }
    const ProtobufCMessageDescriptor* type = FindType(name);
    if (type) {
      Answer(type, hex);
    } else {
      puts("unknown-type");
    }
  }
  free(line);
  return 0;
}
