--TEST--
A google.protobuf.Any carries a message with its type
--FILE--
<?php
require 'codec.inc';

const ANY = 'google.protobuf.Any';
const PREFIX = 'type.googleapis.com/';

function any(string $name, string $value, string $prefix = PREFIX): string
{
    $url = $prefix . $name;
    return "\x0a" . chr(strlen($url)) . $url . ($value === '' ? '' : "\x12" . chr(strlen($value)) . $value);
}

function both(string $bytes): void
{
    $value = qmsg_decode(ANY, $bytes);
    echo json_encode($value, JSON_UNESCAPED_SLASHES), ' ',
        qmsg_encode(ANY, $value) === $bytes ? "and back\n" : "is not written back\n";
    // The tool reads the array's JSON as the same bytes.
    $json = json_encode($value === [] ? new stdClass() : $value);
    [$encoded] = tool(['encode', '--framing', 'any'], $json);
    echo $encoded === delimited([$bytes]) ? '' : "the tool differs\n";
}

both('');
both(any('quor.protobuf.JQ.Result', ''));
both(any('quor.protobuf.JQ.Result', "\x08\x01"));
both(any('quor.protobuf.QuorPHP.Error', "\x08\x01\x12\x01a"));
both(any('google.protobuf.Duration', "\x08\x01"));
both(any('google.protobuf.Timestamp', ''));
$inner = any('quor.protobuf.JQ.Result', "\x08\x01");
both(any(ANY, $inner));

echo "-- other bytes for the same\n";
$value = ['@type' => PREFIX . 'quor.protobuf.JQ.Result', 'ok' => true];
var_dump(qmsg_decode(ANY, "\x12\x02\x08\x01\x1a\x00" . any('quor.protobuf.JQ.Result', '')) === $value);
var_dump(qmsg_decode(ANY, any('x', "\x08") . $inner) === $value);
var_dump(qmsg_decode(ANY, any('quor.protobuf.JQ.Result', "\x08\x00\x08\x01\x10\x01")) === $value);
echo bin2hex(qmsg_encode(ANY, ['ok' => true, '@type' => 'a/b/quor.protobuf.JQ.Result'])), "\n";
var_dump(qmsg_decode(ANY, any('google.protobuf.Duration', "\x08\x01\x10\xff\xff\xff\xff\xff\xff\xff\xff\xff\x01"))['value']);
var_dump(qmsg_decode('google.protobuf.Duration', "\x08\x01\x10\x05"));
var_dump(bin2hex(qmsg_encode('google.protobuf.Timestamp', ['seconds' => 1, 'nanos' => 5])));

echo "-- refused\n";
foreach ([
    "\x12\x02\x08\x01",
    any('quor.protobuf.None', "\x08\x01"),
    any('JQ.Result', ''),
    any('google.protobuf.Empty', ''),
    any('quor.protobuf.QuorPHP.Error', "\x08\x01\x12\x02a"),
    any(ANY, any('quor.protobuf.QuorPHP.Error', "\x12\x01\xff")),
    "\x0a\x05ab",
    "\x0a\x01\xff",
] as $bytes) {
    echo thrown(fn() => qmsg_decode(ANY, $bytes)), "\n";
}
foreach ([
    ['ok' => true],
    ['@type' => 'quor.protobuf.JQ.Result'],
    ['@type' => PREFIX . 'JQ.Result'],
    ['@type' => 1],
    ['@type' => PREFIX . "\xff"],
    ['@type' => PREFIX . 'quor.protobuf.JQ.Result', 'okay' => true],
    ['@type' => PREFIX . 'google.protobuf.Duration'],
    ['@type' => PREFIX . 'google.protobuf.Duration', 'value' => 1],
    ['@type' => PREFIX . 'google.protobuf.Duration', 'value' => '1s', 'more' => 1],
    ['@type' => PREFIX . ANY, 'value' => ['@type' => PREFIX . 'quor.protobuf.JQ.Result', 'ok' => 1]],
] as $array) {
    echo thrown(fn() => qmsg_encode(ANY, $array)), "\n";
}
--EXPECT--
[] and back
{"@type":"type.googleapis.com/quor.protobuf.JQ.Result"} and back
{"@type":"type.googleapis.com/quor.protobuf.JQ.Result","ok":true} and back
{"@type":"type.googleapis.com/quor.protobuf.QuorPHP.Error","code":1,"message":"a"} and back
{"@type":"type.googleapis.com/google.protobuf.Duration","value":"1s"} and back
{"@type":"type.googleapis.com/google.protobuf.Timestamp","value":"1970-01-01T00:00:00Z"} and back
{"@type":"type.googleapis.com/google.protobuf.Any","value":{"@type":"type.googleapis.com/quor.protobuf.JQ.Result","ok":true}} and back
-- other bytes for the same
bool(true)
bool(true)
bool(true)
0a1b612f622f71756f722e70726f746f6275662e4a512e526573756c7412020801
array(2) {
  ["seconds"]=>
  int(1)
  ["nanos"]=>
  int(-1)
}
array(2) {
  ["seconds"]=>
  int(1)
  ["nanos"]=>
  int(5)
}
string(8) "08011005"
-- refused
offset 0, type_url: the google.protobuf.Any does not name its type
offset 0, type_url: the schema has no type "type.googleapis.com/quor.protobuf.None"
offset 0, type_url: the schema has no type "type.googleapis.com/JQ.Result"
offset 0, type_url: the schema has no type "type.googleapis.com/google.protobuf.Empty"
offset 54, message: a length of 2 bytes, but the message has only 1 left
offset 96, message: byte 0xff is not valid UTF-8
offset 1, type_url: a length of 5 bytes, but the message has only 2 left
offset 2, type_url: byte 0xff is not valid UTF-8
a google.protobuf.Any needs the key @type with its type
@type: the URL of a type of the schema, such as "type.googleapis.com/quor.protobuf.QuorPHP.QVal", is expected, not the string "quor.protobuf.JQ.Result"
@type: the URL of a type of the schema, such as "type.googleapis.com/quor.protobuf.QuorPHP.QVal", is expected, not the string "type.googleapis.com/JQ.Result"
@type: a string is expected, not 1
@type: byte 20 of the string is not valid UTF-8
okay: quor.protobuf.JQ.Result has no such field; it has ok
value: is missing
value: a duration such as "1.500s" is expected, not 1
a google.protobuf.Any with a google.protobuf.Duration has the keys @type and value alone
value.ok: true or false is expected, not 1
