--TEST--
After the memory limit has ended a call in its middle, the next call works
--INI--
memory_limit=8M
--FILE--
<?php
ini_set('display_errors', '0');
ini_set('log_errors', '0');

register_shutdown_function(function () {
    ini_set('memory_limit', '256M');
    echo error_get_last()['message'] ?? 'no error', "\n";
    $query = ['query' => 'SELECT 1', 'rows' => 1];
    var_dump(qmsg_decode('SqlQuery', qmsg_encode('SqlQuery', $query)) === $query);
    var_dump(qmsg_decode('SqlQuery', "\x50\x01" . "\x2a\x08SELECT 1") === $query);
    var_dump(count(qmsg_check('SqlQuery', "\x78\x01")));
});
// In another order than a writer's, so that the bytes are in C++'s memory too.
$bytes = "\x12\x01h\x0a\x01a" . str_repeat("\x12\x01h", 1000000);
qmsg_decode('RequestHeaders', $bytes);
--EXPECTF--
Allowed memory size of 8388608 bytes exhausted%s
bool(true)
bool(true)
int(1)
