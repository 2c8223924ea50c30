--TEST--
The golden bytes are read and written as their JSON says, and refused as they say
--FILE--
<?php
require 'codec.inc';

$count = ['accepted' => 0, 'refused' => 0];
$byType = [];
$types = [];
foreach (vectors() as ['name' => $name, 'type' => $type, 'bytes' => $bytes, 'json' => $json,
    'writes' => $writes, 'refused' => $refused]) {
    if ($refused !== null) {
        ++$count['refused'];
        if (!str_starts_with((string) thrown(fn() => qmsg_decode($type, $bytes)), 'offset ')) {
            echo "$name: is not refused\n";
        }
        continue;
    }
    ++$count['accepted'];
    $value = qmsg_decode($type, $bytes);
    $codes = array_column(qmsg_check($type, $bytes), 'code');
    $hasUnknownFields = in_array('unknown-field', $codes) || in_array('wire-type', $codes);
    $written = qmsg_encode($type, $value);
    if (!$hasUnknownFields && $written !== $writes) {
        echo "$name: writes ", bin2hex($written), ', not ', bin2hex($writes), "\n";
    }
    if ($json !== null) {
        $difference = difference(fromJson($json), $value);
        if ($difference !== null) {
            echo "$name: $difference\n";
        }
        // JSON has one NaN, without its sign and payload.
        if (qmsg_encode($type, fromJson($json)) !== $written && !str_contains($json, 'NaN')) {
            echo "$name: its JSON is written differently\n";
        }
        $types[$type] = true;
        if ($hasUnknownFields) {
            $byType[$type][$name] = [$bytes, $written];
        }
    }
}

// The tool drops unknown fields on the way through JSON.
foreach ($byType as $type => $cases) {
    $json = toolJson($type, delimited(array_column($cases, 0)));
    [$stream] = tool(['encode', '--framing', 'delimited', '--type', $type], $json);
    $byTool = array_combine(array_keys($cases), messagesOf($stream));
    foreach ($cases as $name => [$bytes, $written]) {
        if ($written !== $byTool[$name]) {
            echo "$name: writes ", bin2hex($written), ', the tool ', bin2hex($byTool[$name]), "\n";
        }
    }
}
echo $count['accepted'] > 1000 && $count['refused'] > 300 ? 'all' : json_encode($count), "\n";
echo count($types), " messages, ", count($byType), " of them with unknown fields\n";
--EXPECT--
all
49 messages, 49 of them with unknown fields
