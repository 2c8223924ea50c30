// Code that each compile option of the hardening changes in a way that can be seen in the object.

#include <cstddef>
#include <cstring>

extern "C" {

void Use(void* bytes);

// _FORTIFY_SOURCE makes it a call of __memcpy_chk, the stack protector adds one of
// __stack_chk_fail.
void CopyIntoObjectOfKnownSize(const void* bytes, std::size_t size) {
  char object[64];
  std::memcpy(object, bytes, size);
  Use(object);
}

// Stack clash protection allocates it page by page.
void UseManyPagesOfStack() {
  char pages[4 * 4096];
  Use(pages);
}
}
