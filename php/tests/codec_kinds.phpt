--TEST--
Every kind of field has one PHP value, and takes those that JSON's mapping takes
--FILE--
<?php
require 'codec.inc';

function show(string $type, string $hex): void
{
    var_dump(qmsg_decode($type, hex2bin($hex)));
}

echo "-- decoded\n";
show('JQ.Result', '0801');                                     // bool
show('SqlQuery', '08ffffffffffffffffff01');                    // int32
show('SqlConnection', '08ffffffff0f');                         // uint32
show('QueueId', '0880808080808080808001');                     // int64: the least
show('Header', '38ffffffffffffffff7f');                        // uint64: PHP_INT_MAX
show('Header', '3880808080808080808001');                      // and one more
show('QVal', '29000000000000f83f');                            // double
show('QVal', '290000000000000080');
show('QVal', '29000000000000f0ff');
show('QVal', '29000000000000f87f');
show('QuorPHP.Error', '1202c3a9');                             // string
show('QVal', '0804');                                          // enum
show('QVal', '0809');
show('StackTrace', '0a001a00');                                // an empty element, and an unknown field
show('RequestHeaders', '1201611200');                          // texts
show('JQ.AttrList', '0a0f08ffffffffffffffffff0112022002');     // map
show('QVal', '3a0a0880f2d6ca0610c0843d');                      // Timestamp
show('SqlQuery', '4a0b1080b6ca91feffffffff01');                // Duration

echo "-- presence\n";
show('QVal', '1000');                    // a member of a oneof keeps its default
show('QVal', '1a00');
show('SqlQuery', '10002a003800');        // a field without presence does not
show('SqlQuery', '4200');                // an empty sub-message is set

echo "-- encoded\n";
function same(string $type, string $hex, array ...$values): void
{
    foreach ($values as $value) {
        $written = bin2hex(qmsg_encode($type, $value));
        echo $written === $hex ? '.' : json_encode($value) . " is $written, not $hex\n";
    }
}
same('JQ.Result', '0801', ['ok' => true]);
same('JQ.Result', '', ['ok' => false], ['ok' => null], []);
same('SqlQuery', '08ffffffffffffffffff01', ['statementType' => -1], ['statement_type' => -1],
    ['statementType' => '-1'], ['statementType' => -1.0]);
same('SqlConnection', '08ffffffff0f', ['ident' => 4294967295], ['ident' => '4294967295'],
    ['ident' => 4294967295.0]);
same('QueueId', '0880808080808080808001', ['queueId' => PHP_INT_MIN],
    ['queueId' => '-9223372036854775808'], ['queueId' => (float) PHP_INT_MIN]);
same('Header', '38ffffffffffffffffff01', ['origDataPtr' => '18446744073709551615']);
same('Header', '3880808080808080808001', ['origDataPtr' => 9223372036854775808.0]);
same('QVal', '29000000000000f83f', ['doubleValue' => 1.5], ['doubleValue' => '1.5'],
    ['doubleValue' => '15e-1']);
same('QVal', '290000000000000040', ['doubleValue' => 2], ['doubleValue' => '2']);
same('QVal', '290000000000000080', ['doubleValue' => -0.0]);
same('QVal', '29000000000000f0ff', ['doubleValue' => -INF], ['doubleValue' => '-Infinity']);
same('QVal', '29000000000000f07f', ['doubleValue' => INF], ['doubleValue' => 'Infinity']);
same('QVal', '29000000000000f87f', ['doubleValue' => NAN], ['doubleValue' => 'NaN']);
same('QVal', '0804', ['valueType' => 'INTEGER'], ['valueType' => 4]);
same('QVal', '08ffffffffffffffffff01', ['valueType' => -1]);
same('QVal', '1000', ['boolValue' => false]);
same('QVal', '2000', ['intValue' => 0, 'boolValue' => null]);
same('SqlQuery', '', ['query' => '', 'rows' => 0, 'flags' => '0']);
same('SqlQuery', '4200', ['error' => []]);
same('RequestHeaders', '1201611200', ['headers' => ['a', '']]);
same('RequestHeaders', '', ['headers' => []]);
same('JQ.AttrList', '0a0408011200' . '0a0408021200', ['attrList' => [2 => [], 1 => []]],
    ['attrList' => ['2' => [], '1' => []]]);
$query = 'SELECT 1';
$queries = ['queries' => [['query' => &$query]]];
same('SqlQueries', '120a2a0853454c4543542031', $queries);
echo "\n";
--EXPECT--
-- decoded
array(1) {
  ["ok"]=>
  bool(true)
}
array(1) {
  ["statementType"]=>
  int(-1)
}
array(1) {
  ["ident"]=>
  int(4294967295)
}
array(1) {
  ["queueId"]=>
  int(-9223372036854775808)
}
array(1) {
  ["origDataPtr"]=>
  int(9223372036854775807)
}
array(1) {
  ["origDataPtr"]=>
  string(19) "9223372036854775808"
}
array(1) {
  ["doubleValue"]=>
  float(1.5)
}
array(1) {
  ["doubleValue"]=>
  float(-0)
}
array(1) {
  ["doubleValue"]=>
  float(-INF)
}
array(1) {
  ["doubleValue"]=>
  float(NAN)
}
array(1) {
  ["message"]=>
  string(2) "é"
}
array(1) {
  ["valueType"]=>
  string(7) "INTEGER"
}
array(1) {
  ["valueType"]=>
  int(9)
}
array(1) {
  ["frames"]=>
  array(1) {
    [0]=>
    array(0) {
    }
  }
}
array(1) {
  ["headers"]=>
  array(2) {
    [0]=>
    string(1) "a"
    [1]=>
    string(0) ""
  }
}
array(1) {
  ["attrList"]=>
  array(1) {
    [-1]=>
    array(1) {
      ["intValue"]=>
      int(2)
    }
  }
}
array(1) {
  ["tmValue"]=>
  string(24) "2026-01-01T00:00:00.001Z"
}
array(1) {
  ["duration"]=>
  string(7) "-0.500s"
}
-- presence
array(1) {
  ["boolValue"]=>
  bool(false)
}
array(1) {
  ["stringValue"]=>
  string(0) ""
}
array(1) {
  ["connectionId"]=>
  int(0)
}
array(1) {
  ["error"]=>
  array(0) {
  }
}
-- encoded
........................................
