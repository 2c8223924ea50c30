#include "codec/failure.h"

#include <zend_exceptions.h>

#include <exception>
#include <ext/spl/spl_exceptions.h>
#include <new>
#include <string>

namespace qmsg::php {
namespace {

zend_class_entry* exception_class = nullptr;

zval* Property(zend_object* object, const char* name) {
  const auto* info = static_cast<zend_property_info*>(zend_hash_str_find_ptr(
      &exception_class->properties_info, name, std::char_traits<char>::length(name)));
  return OBJ_PROP(object, info->offset);
}

// Both properties have a value from the beginning, also where a script makes the exception.
zend_object* Create(zend_class_entry* type) {
  zend_object* object = spl_ce_RuntimeException->create_object(type);
  ZVAL_LONG(Property(object, "offset"), -1);
  ZVAL_EMPTY_STRING(Property(object, "path"));
  return object;
}

void Declare(const char* name, std::uint32_t type) {
  zval none;
  ZVAL_UNDEF(&none);
  zend_string* key = zend_string_init_interned(name, std::char_traits<char>::length(name), true);
  zend_declare_typed_property(exception_class, key, &none, ZEND_ACC_PUBLIC | ZEND_ACC_READONLY,
                              nullptr, zend_type ZEND_TYPE_INIT_CODE(type, 0, 0));
}

}  // namespace

void RegisterException() {
  zend_class_entry type;
  INIT_CLASS_ENTRY(type, "QmsgException", nullptr);
  exception_class = zend_register_internal_class_ex(&type, spl_ce_RuntimeException);
  exception_class->create_object = Create;
  Declare("offset", IS_LONG);
  Declare("path", IS_STRING);
}

Failure& LastFailure() {
#ifdef ZTS
  static thread_local Failure failure;
#else
  static Failure failure;
#endif
  return failure;
}

void ThrowLastFailure() {
  const Failure& failure = LastFailure();
  zend_object* thrown = zend_throw_exception(exception_class, failure.text.c_str(), 0);
  ZVAL_LONG(Property(thrown, "offset"), failure.offset);
  ZVAL_STRINGL_FAST(Property(thrown, "path"), failure.path.data(), failure.path.size());
}

void KeepException() noexcept {
  try {
    throw;
  } catch (Failure& failure) {
    LastFailure() = std::move(failure);
  } catch (const std::bad_alloc&) {
    LastFailure() = {"out of memory", "", -1};  // std::string has room for a short text
  } catch (const std::exception& error) {
    LastFailure() = {error.what(), "", -1};
  }
}

}  // namespace qmsg::php
