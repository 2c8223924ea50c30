--TEST--
Times are texts as in JSON, and arrays of their parts where JSON has no text
--INI--
date.timezone=Asia/Kathmandu
--FILE--
<?php
require 'codec.inc';

// What a time's parts are in PHP: $hex is the content of the sub-message.
function timestamp(string $hex): mixed
{
    $bytes = hex2bin('3a' . sprintf('%02x', strlen($hex) / 2) . $hex);
    $value = qmsg_decode('QVal', $bytes)['tmValue'];
    if (qmsg_encode('QVal', ['tmValue' => $value]) !== $bytes) {
        echo 'is not written back: ';
    }
    return $value;
}

function duration(string $hex): mixed
{
    $bytes = hex2bin('4a' . sprintf('%02x', strlen($hex) / 2) . $hex);
    $value = qmsg_decode('SqlQuery', $bytes)['duration'];
    if (qmsg_encode('SqlQuery', ['duration' => $value]) !== $bytes) {
        echo 'is not written back: ';
    }
    return $value;
}

function show(mixed $value): void
{
    echo json_encode($value), "\n";
}

show(timestamp(''));
show(timestamp('1001'));
show(timestamp('0880f2d6ca06' . '10c0843d'));  // 1,000,000 ns
show(timestamp('0880f2d6ca06' . '10e807'));    // 1,000 ns
show(timestamp('08ffffffffffffffffff01'));     // one second before 1970
show(timestamp('088092b8c398feffffff01'));     // the first second of the year 1
show(timestamp('08ff91b8c398feffffff01'));     // and the one before
show(timestamp('08ff82d1ffaf07'));             // the last second of the year 9999
show(timestamp('088083d1ffaf07'));             // and the one after
show(timestamp('108094ebdc03'));               // 1,000,000,000 ns
show(timestamp('10ffffffffffffffffff01'));
show(duration(''));
show(duration('0801'));
show(duration('10c0843d'));
show(duration('08ffffffffffffffffff01' . '10ffffffffffffffffff01'));
show(duration('0801' . '10ffffffffffffffffff01'));   // different signs
show(duration('0880bcaece9709'));                    // 10,000 years
show(duration('0881bcaece9709'));

echo "-- read\n";
function seconds(mixed $time): string
{
    return bin2hex(substr(qmsg_encode('QVal', ['tmValue' => $time]), 2));
}
show(seconds('2026-10-14T17:46:40Z'));               // 1,792,000,000 seconds
show(seconds('2026-10-14T19:46:40+02:00'));
show(seconds('2026-10-14T08:16:40-09:30'));
show(seconds('2024-02-29T00:00:00Z'));               // 1,709,164,800 seconds
show(seconds(new DateTimeImmutable('2024-02-29T00:00:00Z')));
show(seconds('1969-12-31T23:59:59.25Z'));            // -1 s and 250,000,000 ns
show(seconds(new DateTime('1969-12-31T23:59:59.25Z')));
show(seconds(new DateTimeImmutable('2026-10-14 23:31:40')));  // in the script's time zone, +05:45
show(seconds(['seconds' => '1', 'nanos' => -1]));
show(seconds(['nanos' => 1]));
show(seconds([]));
show(bin2hex(qmsg_encode('SqlQuery', ['duration' => '-1.000000001s'])));

echo "-- refused\n";
foreach (['2026-10-14', '2026-10-14T17:46:40', '2026-10-14 17:46:40Z', '2026-10-14t17:46:40z',
    '2026-02-29T00:00:00Z', '2026-13-01T00:00:00Z', '2026-00-01T00:00:00Z', '2026-01-00T00:00:00Z',
    '2026-10-14T24:00:00Z', '2026-10-14T00:60:00Z', '2026-10-14T00:00:60Z', '2026-10-14T17:46:40.Z',
    '2026-10-14T17:46:40.1234567890Z', '2026-10-14T17:46:40+02', '2026-10-14T17:46:40+24:00',
    '0001-01-01T00:00:00+00:01', '9999-12-31T23:59:59-00:01', '0000-01-01T00:00:00Z', ' ', '',
    "2026-10-14T17:46:40Z\0", 1792000000, true] as $time) {
    if (thrown(fn() => seconds($time)) === null) {
        echo 'not refused: ', json_encode($time), "\n";
    }
}
foreach (['1', 's', '1.s', '.5s', '+1s', '--1s', '1.0000000001s', '315576000001s', '-315576000001s',
    '99999999999999999999s', '1 s', '1s ', '', 1, 1.5] as $time) {
    if (thrown(fn() => qmsg_encode('SqlQuery', ['duration' => $time])) === null) {
        echo 'not refused: ', json_encode($time), "\n";
    }
}
class Unconstructed extends DateTime
{
    public function __construct()
    {
    }
}
foreach ([new Unconstructed(), new DateInterval('P1D'), new DateTimeZone('UTC'),
    ['seconds' => 1, 'nano' => 1], ['seconds' => '9223372036854775808'], [1, 2]] as $time) {
    echo thrown(fn() => seconds($time)), "\n";
}
--EXPECT--
"1970-01-01T00:00:00Z"
"1970-01-01T00:00:00.000000001Z"
"2026-01-01T00:00:00.001Z"
"2026-01-01T00:00:00.000001Z"
"1969-12-31T23:59:59Z"
"0001-01-01T00:00:00Z"
{"seconds":-62135596801,"nanos":0}
"9999-12-31T23:59:59Z"
{"seconds":253402300800,"nanos":0}
{"seconds":0,"nanos":1000000000}
{"seconds":0,"nanos":-1}
"0s"
"1s"
"0.001s"
"-1.000000001s"
{"seconds":1,"nanos":-1}
"315576000000s"
{"seconds":315576000001,"nanos":0}
-- read
"088080bfd606"
"088080bfd606"
"088080bfd606"
"088092ffae06"
"088092ffae06"
"08ffffffffffffffffff011080e59a77"
"08ffffffffffffffffff011080e59a77"
"088080bfd606"
"080110ffffffffffffffffff01"
"1001"
""
"4a1608ffffffffffffffffff0110ffffffffffffffffff01"
-- refused
tmValue: the constructor of Unconstructed has not called its parent's
tmValue: a time such as "2026-11-22T18:00:00.123Z", or a DateTimeInterface, is expected, not an object of DateInterval
tmValue: a time such as "2026-11-22T18:00:00.123Z", or a DateTimeInterface, is expected, not an object of DateTimeZone
tmValue: an array for a time has the keys seconds and nanos alone
tmValue.seconds: an integer from -9223372036854775808 to 9223372036854775807 is expected, not the string "9223372036854775808"
tmValue: an array for a time has the keys seconds and nanos alone
