--TEST--
Bytes that are no message are refused with the offset, the path and the reason of the tool
--FILE--
<?php
require 'codec.inc';

function refuse(string $type, string $hex): void
{
    try {
        qmsg_decode($type, hex2bin($hex));
        echo "not refused\n";
    } catch (QmsgException $error) {
        $line = "$error->offset [$error->path] {$error->getMessage()}\n";
        echo str_replace(implode('.', array_fill(0, 101, '15')), '15... 101 times', $line);
    }
}

refuse('SqlQuery', 'ff');
refuse('SqlQuery', '00');
refuse('SqlQuery', '0e');
refuse('SqlQuery', '08');
refuse('SqlQuery', '08ffffffffffffffffffff01');
refuse('SqlQuery', '2a05616263');
refuse('SqlQuery', '2affffffff0f');
refuse('SqlQuery', '2a02c328');
refuse('QVal', '2900');
refuse('SqlQueries', '0a016112021001' . '12072a0361ff62' . '5000');
refuse('SqlQueries', '1204' . '4a021001' . '1204' . '4a0210ff');
refuse('JQ.AttrList', '0a060805' . '1203' . '0803');
refuse('SqlQuery', '7b');
refuse('SqlQuery', '7b84');
refuse('SqlQuery', '7c');
refuse('SqlQuery', str_repeat('7b', 101) . str_repeat('7c', 101));
// The first fault counts.
refuse('RequestHeaders', '1201ff' . '1201fe');

// All as the tool says it.
foreach (vectors() as ['type' => $type, 'bytes' => $bytes, 'refused' => $refused]) {
    if ($refused !== null) {
        $error = array_values(array_filter(qmsg_check($type, $bytes),
            fn($finding) => $finding['severity'] === 'error'))[0];
        $where = $error['path'] === '' ? '' : ", {$error['path']}";
        $expected = "offset {$error['offset']}$where: {$error['message']}";
        $actual = thrown(fn() => qmsg_decode($type, $bytes));
        if ($actual !== $expected) {
            echo "$actual\nnot: $expected\n";
        }
    }
}
--EXPECT--
0 [] offset 0: the tag of a field is cut off: the message ends inside it
0 [] offset 0: a tag with field number 0
0 [] offset 0: wire type 6 in the tag of field 1 does not exist
1 [statement_type] offset 1, statement_type: a number is cut off: the message ends inside it
1 [statement_type] offset 1, statement_type: a number is longer than 10 bytes, the maximum
1 [query] offset 1, query: a length of 5 bytes, but the message has only 3 left
1 [query] offset 1, query: a length of 4294967295 bytes exceeds the limit of a message
2 [query] offset 2, query: byte 0xc3 is not valid UTF-8
1 [double_value] offset 1, double_value: a number of 8 bytes is cut off: the message has 1 of them
12 [queries[1].query] offset 12, queries[1].query: byte 0xff is not valid UTF-8
11 [queries[1].duration.nanos] offset 11, queries[1].duration.nanos: a number is cut off: the message ends inside it
5 [attr_list[0].value] offset 5, attr_list[0].value: a length of 3 bytes, but the message has only 2 left
1 [15] offset 1, 15: the group of field 15 has no end: the message ends first
1 [15] offset 1, 15: the tag of a field is cut off: the message ends inside it
0 [] offset 0: the end of a group of field 15, which was not started
100 [15... 101 times] offset 100, 15... 101 times: messages and groups are nested more than 100 deep
2 [headers[0]] offset 2, headers[0]: byte 0xff is not valid UTF-8
