// The functions that write, read and check messages: qmsg.stub.php documents them.
#pragma once

#include <php.h>

namespace qmsg::php {

// Before the first request. Returns false, with a warning of the engine, if it cannot work.
bool StartCodec();
// After the last request.
void StopCodec();

}  // namespace qmsg::php

PHP_FUNCTION(qmsg_encode);
PHP_FUNCTION(qmsg_decode);
PHP_FUNCTION(qmsg_check);
