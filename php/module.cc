// The PHP extension qmsg: what the engine calls, and when.

#include <google/protobuf/stubs/common.h>
#include <php.h>

#include <exception>
#include <ext/standard/info.h>

#include "arginfo.h"
#include "codec/codec.h"
#include "recorder/engine.h"
#include "recorder/lifecycle.h"
#include "recorder/settings.h"

namespace {

PHP_MINIT_FUNCTION(qmsg) {
  RegisterSettings(type, module_number);
  try {
    GOOGLE_PROTOBUF_VERIFY_VERSION;
    StartRecorder();
  } catch (const std::exception& error) {
    zend_error(E_CORE_WARNING, "qmsg: %s", error.what());
    return FAILURE;
  }
  return qmsg::php::StartCodec() ? SUCCESS : FAILURE;
}

PHP_MSHUTDOWN_FUNCTION(qmsg) {
  qmsg::php::StopCodec();
  UnregisterSettings(type, module_number);
  return SUCCESS;
}

PHP_RINIT_FUNCTION(qmsg) {
  BeginRequest();
  return SUCCESS;
}

PHP_RSHUTDOWN_FUNCTION(qmsg) {
  EndRequest();
  return SUCCESS;
}

PHP_MINFO_FUNCTION(qmsg) {
  php_info_print_table_start();
  php_info_print_table_row(2, "qmsg", QMSG_VERSION);
  php_info_print_table_row(2, "recording",
                           CurrentSettings().groups == 0 ? "no: qmsg.output is empty" : "yes");
  php_info_print_table_end();
  DISPLAY_INI_ENTRIES();
}

}  // namespace

// NOLINTNEXTLINE(misc-use-internal-linkage): the engine's macro names it
zend_module_entry qmsg_module_entry = {STANDARD_MODULE_HEADER, "qmsg",
                                       kModuleFunctions,       PHP_MINIT(qmsg),
                                       PHP_MSHUTDOWN(qmsg),    PHP_RINIT(qmsg),
                                       PHP_RSHUTDOWN(qmsg),    PHP_MINFO(qmsg),
                                       QMSG_VERSION,           STANDARD_MODULE_PROPERTIES};

ZEND_GET_MODULE(qmsg)
