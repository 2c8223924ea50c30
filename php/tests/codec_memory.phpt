--TEST--
Messages that are written, read, refused and checked leave no memory behind
--SKIPIF--
<?php
if (getenv('USE_ZEND_ALLOC') === '0') {
    echo "skip PHP's own allocator is off";
}
?>
--FILE--
<?php
require 'codec.inc';

$cases = [];
foreach (vectors() as ['type' => $type, 'bytes' => $bytes]) {
    $cases[] = [$type, $bytes];
}
$any = qmsg_encode('Any', ['@type' => 'type.googleapis.com/google.protobuf.Any', 'value' =>
    ['@type' => 'type.googleapis.com/quor.protobuf.QuorPHP.Error', 'message' => 'a']]);
array_push($cases, ['Any', $any], ['Any', substr($any, 0, -1)]);

function all(array $cases): void
{
    foreach ($cases as [$type, $bytes]) {
        try {
            $value = qmsg_decode($type, $bytes);
            qmsg_encode($type, $value);
            $value['nothing'] = true;
            qmsg_encode($type, $value);
        } catch (QmsgException) {
        }
        qmsg_check($type, $bytes);
    }
}

// Of the process too: what C++ has does not count in PHP's figure.
function resident(): int
{
    preg_match('/^VmRSS:\s+(\d+)/m', file_get_contents('/proc/self/status'), $kilobytes);
    return (int) $kilobytes[1];
}

for ($round = 0; $round < 60; ++$round) {
    if ($round === 5) {
        $resident = resident();  // first: the expression stays compiled
        $own = memory_get_usage();
    }
    all($cases);
}
echo memory_get_usage() - $own, " bytes\n";
echo resident() - $resident < 2000 ? "no more pages\n" : resident() - $resident . " KiB\n";
--EXPECT--
0 bytes
no more pages
