// What the engine knows of the functions: it agrees with qmsg.stub.php.
#pragma once

#include <php.h>

#include "codec/codec.h"
#include "recorder/events.h"

ZEND_BEGIN_ARG_WITH_RETURN_TYPE_INFO_EX(arginfo_qmsg_encode, 0, 2, IS_STRING, 0)
ZEND_ARG_TYPE_INFO(0, type, IS_STRING, 0)
ZEND_ARG_TYPE_INFO(0, value, IS_ARRAY, 0)
ZEND_END_ARG_INFO()

ZEND_BEGIN_ARG_WITH_RETURN_TYPE_INFO_EX(arginfo_qmsg_decode, 0, 2, IS_ARRAY, 0)
ZEND_ARG_TYPE_INFO(0, type, IS_STRING, 0)
ZEND_ARG_TYPE_INFO(0, bytes, IS_STRING, 0)
ZEND_END_ARG_INFO()

ZEND_BEGIN_ARG_WITH_RETURN_TYPE_INFO_EX(arginfo_qmsg_check, 0, 2, IS_ARRAY, 0)
ZEND_ARG_TYPE_INFO(0, type, IS_STRING, 0)
ZEND_ARG_TYPE_INFO(0, bytes, IS_STRING, 0)
ZEND_END_ARG_INFO()

ZEND_BEGIN_ARG_WITH_RETURN_TYPE_INFO_EX(arginfo_qmsg_event, 0, 1, _IS_BOOL, 0)
ZEND_ARG_TYPE_INFO(0, type, IS_STRING, 0)
ZEND_ARG_TYPE_INFO_WITH_DEFAULT_VALUE(0, text, IS_STRING, 0, "''")
ZEND_ARG_TYPE_INFO_WITH_DEFAULT_VALUE(0, data, IS_MIXED, 0, "NULL")
ZEND_ARG_TYPE_INFO_WITH_DEFAULT_VALUE(0, severity, IS_LONG, 0, "0")
ZEND_END_ARG_INFO()

inline constexpr zend_function_entry kModuleFunctions[] = {
    PHP_FE(qmsg_encode, arginfo_qmsg_encode) PHP_FE(qmsg_decode, arginfo_qmsg_decode)
        PHP_FE(qmsg_check, arginfo_qmsg_check) PHP_FE(qmsg_event, arginfo_qmsg_event) PHP_FE_END};
