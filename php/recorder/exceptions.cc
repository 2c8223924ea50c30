#include "recorder/exceptions.h"

#include <php.h>
#include <zend_exceptions.h>

zend_string* ExceptionMessage(zend_object* exception) {
  zval room;
  ZVAL_UNDEF(&room);
  const zval* message = zend_read_property_ex(zend_get_exception_base(exception), exception,
                                              ZSTR_KNOWN(ZEND_STR_MESSAGE), true, &room);
  // A subclass may have put anything there.
  zend_string* text =
      Z_TYPE_P(message) == IS_STRING ? zend_string_copy(Z_STR_P(message)) : ZSTR_EMPTY_ALLOC();
  zval_ptr_dtor(&room);
  return text;
}

bool IsExit(const zend_object* exception) {
  return zend_is_unwind_exit(exception) || zend_is_graceful_exit(exception);
}
