--TEST--
qmsg_check finds what the tool finds in the golden bytes
--FILE--
<?php
require 'codec.inc';

$byType = [];
foreach (vectors() as $case) {
    $byType[$case['type']][$case['name']] = $case['bytes'];
}
$codes = [];
foreach ($byType as $type => $cases) {
    foreach (array_combine(array_keys($cases), toolFindings($type, array_values($cases))) as $name => $found) {
        if (qmsg_check($type, $cases[$name]) !== $found) {
            echo "$name: ", json_encode(qmsg_check($type, $cases[$name])), ', the tool ', json_encode($found), "\n";
        }
        $codes += array_flip(array_column($found, 'code'));
    }
}
ksort($codes);
echo implode(' ', array_keys($codes)), "\n";

var_dump(qmsg_check('SqlQuery', hex2bin('2a02c328')));
var_dump(qmsg_check('SqlQuery', ''));

echo "-- in an Any\n";
$error = qmsg_encode('Any', ['@type' => 'type.googleapis.com/quor.protobuf.QuorPHP.Error', 'message' => 'a']);
foreach ([$error, $error . "\x18\x01", substr($error, 0, -1) . "\xff", str_replace('Error', 'QVals', $error),
    "\x12\x01a"] as $bytes) {
    foreach (qmsg_check('Any', $bytes) as $found) {
        echo implode(' | ', $found), "\n";
    }
    // A file of one message with its length: the tool's offsets count that too.
    [$lines] = tool(['check', '--framing', 'any'], delimited([$bytes]));
    echo preg_replace('/^standard input: message 0/m', 'the tool', $lines);
}

echo "-- very many\n";
$findings = qmsg_check('SqlQuery', str_repeat("\x78\x01", 100000));
echo count($findings), ' ', $findings[999]['offset'], "\n";
--EXPECT--
content-length duplicate-key malformed nanos-range repeated-singular seconds-range type-tag undeclared-enum unknown-field utf-8 wire-type
array(1) {
  [0]=>
  array(5) {
    ["offset"]=>
    int(2)
    ["path"]=>
    string(5) "query"
    ["severity"]=>
    string(5) "error"
    ["code"]=>
    string(5) "utf-8"
    ["message"]=>
    string(28) "byte 0xc3 is not valid UTF-8"
  }
}
array(0) {
}
-- in an Any
54 | 3 | warning | unknown-field | google.protobuf.Any has no field 3
the tool: offset 55: warning: 3: google.protobuf.Any has no field 3 [unknown-field]
53 | message | error | utf-8 | byte 0xff is not valid UTF-8
the tool: offset 54: error: message: byte 0xff is not valid UTF-8 [utf-8]
0 | type_url | warning | unknown-type | the schema has no type "type.googleapis.com/quor.protobuf.QuorPHP.QVals"
the tool: offset 1: warning: type_url: the schema has no type "type.googleapis.com/quor.protobuf.QuorPHP.QVals" [unknown-type]
0 | type_url | error | any-type | the google.protobuf.Any does not name its type
the tool: offset 1: error: type_url: the google.protobuf.Any does not name its type; is the framing right? [any-type]
-- very many
1000 1998
