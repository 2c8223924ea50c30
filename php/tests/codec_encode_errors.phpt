--TEST--
What cannot be encoded is refused with its path
--FILE--
<?php
require 'codec.inc';

function refuse(string $type, array $value): void
{
    try {
        qmsg_encode($type, $value);
        echo "not refused\n";
    } catch (QmsgException $error) {
        echo "[$error->path] {$error->getMessage()}", $error->offset === -1 ? '' : ' with an offset', "\n";
    }
}

echo "-- keys\n";
refuse('SqlQuery', ['qury' => '']);
refuse('SqlQueries', ['queries' => [[], ['error' => ['code' => 1]]]]);
refuse('SqlQuery', ['SELECT 1']);
refuse('SqlQuery', ['@type' => 'x/quor.protobuf.Tarq.SqlQuery']);
refuse('SqlQuery', ["a\0\xff\n" . str_repeat('x', 100) => null]);
refuse('SqlTransaction', ['parentId' => 1, 'parent_id' => 1]);
refuse('QVal', ['boolValue' => false, 'string_value' => '']);
refuse('JobId', ['queueName' => 'a', 'jobId' => 1, 'queueId' => 1]);

echo "-- values\n";
refuse('JQ.Result', ['ok' => 1]);
refuse('JQ.Result', ['ok' => 'true']);
refuse('SqlQuery', ['rows' => 2147483648]);
refuse('SqlQuery', ['rows' => -2147483649]);
refuse('SqlQuery', ['rows' => 1.5]);
refuse('SqlQuery', ['rows' => NAN]);
refuse('SqlQuery', ['rows' => '1e2']);
refuse('SqlQuery', ['rows' => '']);
refuse('SqlQuery', ['rows' => ' 1']);
refuse('SqlQuery', ['rows' => true]);
refuse('SqlQuery', ['rows' => [1]]);
refuse('SqlConnection', ['ident' => -1]);
refuse('SqlConnection', ['ident' => 4294967296]);
refuse('QueueId', ['queueId' => '9223372036854775808']);
refuse('QueueId', ['queueId' => 9223372036854775808.0]);
refuse('Header', ['origDataPtr' => -1]);
refuse('Header', ['origDataPtr' => '18446744073709551616']);
refuse('Header', ['origDataPtr' => 18446744073709551616.0]);
refuse('QVal', ['doubleValue' => 'inf']);
refuse('QVal', ['doubleValue' => '1e999']);
refuse('QVal', ['doubleValue' => '1.']);
refuse('QVal', ['doubleValue' => false]);
refuse('QVal', ['valueType' => 'integer']);
refuse('QVal', ['valueType' => 2147483648]);
refuse('QVal', ['valueType' => '4']);
refuse('SqlQuery', ['query' => 1]);
refuse('SqlQuery', ['query' => "caf\xe9"]);
refuse('SqlQuery', ['query' => str_repeat('é', 50) . "\xed\xa0\x80"]);
refuse('SqlQuery', ['error' => 'gone']);
refuse('SqlQuery', ['error' => [1]]);

echo "-- lists and maps\n";
refuse('SqlQueries', ['queries' => 'SELECT 1']);
refuse('SqlQueries', ['queries' => [1 => []]]);
refuse('SqlQueries', ['queries' => ['a' => []]]);
refuse('SqlQueries', ['queries' => [[], null]]);
refuse('RequestHeaders', ['headers' => ['a', null]]);
refuse('RequestHeaders', ['headers' => ['a', ['b']]]);
refuse('JQ.AttrList', ['attrList' => ['x' => []]]);
refuse('JQ.AttrList', ['attrList' => ['01' => []]]);
refuse('JQ.AttrList', ['attrList' => [2147483648 => []]]);
refuse('JQ.AttrList', ['attrList' => [1 => null]]);
refuse('JQ.AttrList', ['attrList' => [-5 => ['intValue' => 'x']]]);
refuse('JQ.AttrList', ['attrList' => 1]);

echo "-- objects\n";
class Text implements Stringable, JsonSerializable
{
    public function __toString(): string
    {
        echo "code of the script ran\n";
        return '';
    }

    public function jsonSerialize(): mixed
    {
        echo "code of the script ran\n";
        return '';
    }
}
enum Suit: string
{
    case Hearts = 'H';
}
refuse('SqlQuery', ['query' => new Text()]);
refuse('SqlQuery', ['rows' => new Text()]);
refuse('SqlQuery', ['error' => new ArrayObject(['message' => 'gone'])]);
refuse('SqlQuery', ['query' => Suit::Hearts]);
refuse('SqlQuery', ['duration' => new DateTime()]);
refuse('SqlQuery', ['query' => fopen('php://memory', 'r')]);

echo "-- arguments\n";
foreach (['Tarq.SqlQueris', 'Error', 'zzzzzzzzzzzz', '', 'AttrListEntry', 'Monitor.Event.EventType',
    str_repeat('x', 300), "SqlQuery\0"] as $type) {
    echo thrown(fn() => qmsg_encode($type, [])), "\n";
}
echo thrown(fn() => qmsg_decode('SqlQuer', '')), "\n";
echo thrown(fn() => qmsg_check('SqlQuer', '')), "\n";
echo thrown(fn() => qmsg_encode('SqlQuery', 'x')), "\n";

echo "-- the exception\n";
$made = new class('text', 3) extends QmsgException {};
var_dump($made instanceof RuntimeException, $made->offset, $made->path, $made->getMessage());
echo thrown(function () use ($made) {
    $made->offset = 1;
}), "\n";
--EXPECT--
-- keys
[qury] qury: quor.protobuf.Tarq.SqlQuery has no such field; it has statementType, connectionId, driverType, transactionId, query, status, flags, error, duration, rows, stackTrace
[queries[1].error.code] queries[1].error.code: quor.protobuf.Tarq.SqlError has no such field; it has message
[[0]] [0]: quor.protobuf.Tarq.SqlQuery has no such field; it has statementType, connectionId, driverType, transactionId, query, status, flags, error, duration, rows, stackTrace
[@type] @type: quor.protobuf.Tarq.SqlQuery has no such field; it has statementType, connectionId, driverType, transactionId, query, status, flags, error, duration, rows, stackTrace
[a\x00\xff\nxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx...] a\x00\xff\nxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx...: quor.protobuf.Tarq.SqlQuery has no such field; it has statementType, connectionId, driverType, transactionId, query, status, flags, error, duration, rows, stackTrace
[parent_id] parent_id: the same field as parentId
[string_value] string_value: is in the same oneof as boolValue; one of them can be set
[queueId] queueId: is in the same oneof as queueName; one of them can be set
-- values
[ok] ok: true or false is expected, not 1
[ok] ok: true or false is expected, not the string "true"
[rows] rows: an integer from -2147483648 to 2147483647 is expected, not 2147483648
[rows] rows: an integer from -2147483648 to 2147483647 is expected, not -2147483649
[rows] rows: an integer from -2147483648 to 2147483647 is expected, not 1.5
[rows] rows: an integer from -2147483648 to 2147483647 is expected, not nan
[rows] rows: an integer from -2147483648 to 2147483647 is expected, not the string "1e2"
[rows] rows: an integer from -2147483648 to 2147483647 is expected, not the string ""
[rows] rows: an integer from -2147483648 to 2147483647 is expected, not the string " 1"
[rows] rows: an integer from -2147483648 to 2147483647 is expected, not true
[rows] rows: an integer from -2147483648 to 2147483647 is expected, not array
[ident] ident: an integer from 0 to 4294967295 is expected, not -1
[ident] ident: an integer from 0 to 4294967295 is expected, not 4294967296
[queueId] queueId: an integer from -9223372036854775808 to 9223372036854775807 is expected, not the string "9223372036854775808"
[queueId] queueId: an integer from -9223372036854775808 to 9223372036854775807 is expected, not 9223372036854775808
[origDataPtr] origDataPtr: an integer from 0 to 18446744073709551615 is expected, not -1
[origDataPtr] origDataPtr: an integer from 0 to 18446744073709551615 is expected, not the string "18446744073709551616"
[origDataPtr] origDataPtr: an integer from 0 to 18446744073709551615 is expected, not 18446744073709551616
[doubleValue] doubleValue: a number is expected, not the string "inf"
[doubleValue] doubleValue: a number is expected, not the string "1e999"
[doubleValue] doubleValue: a number is expected, not the string "1."
[doubleValue] doubleValue: a number is expected, not false
[valueType] valueType: a number or one of UNDEF, NUL, BOOL, STRING, INTEGER, DOUBLE, JSON, TIMESTAMP is expected, not the string "integer"
[valueType] valueType: an integer from -2147483648 to 2147483647 is expected, not 2147483648
[valueType] valueType: a number or one of UNDEF, NUL, BOOL, STRING, INTEGER, DOUBLE, JSON, TIMESTAMP is expected, not the string "4"
[query] query: a string is expected, not 1
[query] query: byte 3 of the string is not valid UTF-8
[query] query: byte 100 of the string is not valid UTF-8
[error] error: an array is expected, not the string "gone"
[error[0]] error[0]: quor.protobuf.Tarq.SqlError has no such field; it has message
-- lists and maps
[queries] queries: a list is expected, not the string "SELECT 1"
[queries] queries: a list is expected, not an array with other keys than 0, 1, 2...
[queries] queries: a list is expected, not an array with other keys than 0, 1, 2...
[queries[1]] queries[1]: an array is expected, not null
[headers[1]] headers[1]: a string is expected, not null
[headers[1]] headers[1]: a string is expected, not array
[attrList.x] attrList.x: a key of this map is an integer from -2147483648 to 2147483647
[attrList.01] attrList.01: a key of this map is an integer from -2147483648 to 2147483647
[attrList[2147483648]] attrList[2147483648]: a key of this map is an integer from -2147483648 to 2147483647
[attrList[1]] attrList[1]: an array is expected, not null
[attrList[-5].intValue] attrList[-5].intValue: an integer from -9223372036854775808 to 9223372036854775807 is expected, not the string "x"
[attrList] attrList: an array is expected, not 1
-- objects
[query] query: a string is expected, not an object of Text
[rows] rows: an integer from -2147483648 to 2147483647 is expected, not an object of Text
[error] error: an array is expected, not an object of ArrayObject
[query] query: a string is expected, not an object of Suit
[duration] duration: a duration such as "1.500s" is expected, not an object of DateTime
[query] query: a string is expected, not resource
-- arguments
ValueError: qmsg_encode(): Argument #1 ($type) must name a message: no message is called 'Tarq.SqlQueris'; nearest: quor.protobuf.Tarq.SqlQueries, quor.protobuf.Tarq.SqlQuery, quor.protobuf.Tarq.SqlError
ValueError: qmsg_encode(): Argument #1 ($type) must name a message: 'Error' is ambiguous: quor.protobuf.QuorPHP.Error, quor.protobuf.Tarq.Error
ValueError: qmsg_encode(): Argument #1 ($type) must name a message: no message is called 'zzzzzzzzzzzz'; 'qmsg types' lists all types
ValueError: qmsg_encode(): Argument #1 ($type) must name a message: no message is called ''; 'qmsg types' lists all types
ValueError: qmsg_encode(): Argument #1 ($type) must name a message: no message is called 'AttrListEntry'; nearest: quor.protobuf.JQ.AttrList
ValueError: qmsg_encode(): Argument #1 ($type) must name a message: no message is called 'Monitor.Event.EventType'; 'qmsg types' lists all types
ValueError: qmsg_encode(): Argument #1 ($type) must name a message: no message is called 'xxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx'; 'qmsg types' lists all types
ValueError: qmsg_encode(): Argument #1 ($type) must name a message: no message is called 'SqlQuery\x00'; nearest: quor.protobuf.Tarq.SqlQuery, quor.protobuf.Tarq.SqlQueries
ValueError: qmsg_decode(): Argument #1 ($type) must name a message: no message is called 'SqlQuer'; nearest: quor.protobuf.Tarq.SqlQuery, quor.protobuf.Tarq.SqlQueries
ValueError: qmsg_check(): Argument #1 ($type) must name a message: no message is called 'SqlQuer'; nearest: quor.protobuf.Tarq.SqlQuery, quor.protobuf.Tarq.SqlQueries
TypeError: qmsg_encode(): Argument #2 ($value) must be of type array, string given
-- the exception
bool(true)
int(-1)
string(0) ""
string(4) "text"
Error: Cannot modify readonly property QmsgException::$offset
