#ifndef QMSG_EXAMPLES_PHP_REQUEST_REPORT_H_
#define QMSG_EXAMPLES_PHP_REQUEST_REPORT_H_

#include <ostream>

#include "recording.h"

void PrintReport(const Recording& recording, std::ostream& out);

#endif
