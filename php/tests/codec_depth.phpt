--TEST--
Arrays that contain themselves and messages in messages end at a depth of 100
--FILE--
<?php
require 'codec.inc';

const ANY = 'type.googleapis.com/google.protobuf.Any';

function nested(int $depth): array
{
    $value = [];
    for ($level = 1; $level < $depth; ++$level) {
        $value = ['@type' => ANY, 'value' => $value];
    }
    return $value;
}

// The value of an Any is written with its length, so an Any inside makes it longer.
$bytes = qmsg_encode('Any', nested(100));
var_dump(qmsg_decode('Any', $bytes) === nested(100));
echo substr(thrown(fn() => qmsg_encode('Any', nested(101))), -45), "\n";

function length(int $number): string
{
    return $number < 0x80 ? chr($number) : chr($number & 0x7f | 0x80) . length($number >> 7);
}
$any = fn(string $inside) => "\x0a" . length(strlen(ANY)) . ANY . "\x12" . length(strlen($inside)) . $inside;
echo thrown(fn() => qmsg_decode('Any', $any($bytes))), "\n";
echo thrown(function () use ($any) {
    for ($bytes = '', $level = 0; $level < 5000; ++$level) {
        $bytes = $any($bytes);
    }
    qmsg_decode('Any', $bytes);
}), "\n";

$loop = ['@type' => ANY];
$loop['value'] = &$loop;
echo strlen($message = thrown(fn() => qmsg_encode('Any', $loop))) > 0 ? substr($message, -45) : 'no error', "\n";

// No other message contains itself.
$query = ['query' => 'SELECT 1'];
$query['error'] = &$query;
echo substr(thrown(fn() => qmsg_encode('SqlQuery', $query)), 0, 60), "\n";
$frames = [];
$frames[0] = &$frames;
echo substr(thrown(fn() => qmsg_encode('StackTrace', ['frames' => $frames])), 0, 60), "\n";
--EXPECT--
bool(true)
value: messages are nested more than 100 deep
offset 4353, value: messages are nested more than 100 deep
offset 4545, value: messages are nested more than 100 deep
value: messages are nested more than 100 deep
error.query: quor.protobuf.Tarq.SqlError has no such field; 
frames[0][0]: quor.protobuf.QuorPHP.StackTraceFrame has no s
