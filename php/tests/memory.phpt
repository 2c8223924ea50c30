--TEST--
The memory of a request, and the event by rule when it is high
--SKIPIF--
<?php
if (getenv('USE_ZEND_ALLOC') === '0') {
    echo "skip PHP's own allocator is off";
}
?>
--FILE--
<?php
require __DIR__ . '/record.inc';
$program = '$text = str_repeat("x", 5_000_000); unset($text);';
$run = new Recording($program, ['qmsg.high_memory' => '4M']);
[$end] = $run->all('QuorPHP.RShutdownData');
check('the peak is above the text', true, $end['memory_peak_usage'] > 5_000_000);
check('the usage at the end is not', true, $end['memory_usage'] < 5_000_000);
[$event] = $run->all('Monitor.Event');
check('the event', ['HighMemoryUsage', 'high_memory'], [$event['event_type'], $event['rule_name']]);
check('its memory', true, (int) $event['memory_usage_bytes'] > 5_000_000);
check('below the threshold', [], (new Recording($program, ['qmsg.high_memory' => '50M']))->all('Monitor.Event'));
?>
--EXPECT--
ok: the peak is above the text
ok: the usage at the end is not
ok: the event
ok: its memory
ok: below the threshold
