--TEST--
Cut off anywhere and with any bit flipped, messages are accepted and read as by the tool
--FILE--
<?php
require 'codec.inc';

// The longest message of each type up to a length.
$longest = [];
foreach (vectors() as ['type' => $type, 'bytes' => $bytes, 'refused' => $refused]) {
    $length = strlen($bytes);
    if ($refused === null && $length <= 60 && $length > strlen($longest[$type] ?? '')) {
        $longest[$type] = $bytes;
    }
}

$accepted = $refused = 0;
foreach ($longest as $type => $whole) {
    $messages = [];
    for ($at = 0; $at < strlen($whole); ++$at) {
        $messages[] = substr($whole, 0, $at);
        for ($bit = 0; $bit < 8; ++$bit) {
            $flipped = $whole;
            $flipped[$at] = chr(ord($whole[$at]) ^ 1 << $bit);
            $messages[] = $flipped;
        }
    }
    $values = [];
    foreach (toolFindings($type, $messages) as $i => $findings) {
        $bytes = $messages[$i];
        if (qmsg_check($type, $bytes) !== $findings) {
            echo "$type ", bin2hex($bytes), ": other findings\n";
        }
        try {
            $value = qmsg_decode($type, $bytes);
        } catch (QmsgException $error) {
            $value = null;
        }
        if (in_array('error', array_column($findings, 'severity')) !== ($value === null)) {
            echo "$type ", bin2hex($bytes), ': ', $value === null ? 'refused' : 'accepted', "\n";
        }
        $value === null ? ++$refused : ++$accepted;
        if ($value !== null && qmsg_decode($type, qmsg_encode($type, $value)) != $value) {
            echo "$type ", bin2hex($bytes), ": is not written back\n";
        }
        // The tool has no JSON for times out of range.
        if ($value !== null && !array_intersect(['nanos-range', 'seconds-range'], array_column($findings, 'code'))) {
            $values[] = [$bytes, $value];
        }
    }
    $lines = toolJson($type, delimited(array_column($values, 0)));
    foreach (explode("\n", rtrim($lines)) as $i => $json) {
        $difference = difference(lowerCamelCase(fromJson($json)), $values[$i][1]);
        if ($difference !== null) {
            echo "$type ", bin2hex($values[$i][0]), ": $difference\n";
        }
    }
}
echo count($longest), ' messages, ', $accepted > 2000 && $refused > 2000 ? 'thousands' : "$accepted and $refused", "\n";
--EXPECT--
49 messages, thousands
