--TEST--
Monitoring events by rules, and those of the program
--FILE--
<?php
require __DIR__ . '/record.inc';
$run = new Recording(<<<'PHP'
function job() { var_dump(qmsg_event('import', "half\xff", ['row' => 5, 'password' => 'x'], 2)); }
job();
@trigger_error('quiet', E_USER_WARNING);
trigger_error('loud', E_USER_WARNING);
trigger_error('note', E_USER_NOTICE);
usleep(50000);
is_dir('/missing');
var_dump(strrpos('abc', 'b'), strrpos('abc', 'x'));
PHP, ['qmsg.slow_request' => 40, 'qmsg.error_events' => E_USER_WARNING,
    'qmsg.slow_function' => 30, 'qmsg.watch_functions' => 'usleep, STRRPOS', 'display_errors' => 0]);
echo $run->output;
$events = $run->all('Monitor.Event');
echo implode("\n", array_map(fn ($e) => ($e['event_type'] ?? 'SlowFunctionExecution') . ' by ' . $e['rule_name'], $events)), "\n";
check('custom', ['type' => 'import', 'text' => 'half\\xFF', 'user_data' => ['value_type' => 'JSON', 'json_value' => '{"row":5,"password":"[redacted]"}'], 'severity' => 2], $events[0]['custom']);
check('its stack', ['qmsg_event 2', 'job 3', '/program.php 3'], frames($events[0]['stack_trace']));
check('error', 'loud', $events[1]['php_error']['message']);
check('slow function', 'usleep', $events[2]['function']['function_name']);
check('with its arguments', '50000', $events[2]['function']['function_args']['values'][0]['value']['int_value']);
check('time', true, (float) $events[2]['exec_time'] >= 0.05);
check('function that failed', ['strrpos', 9], [$events[3]['function']['function_name'], $events[3]['function']['line_no']]);
check('slow request', true, (float) $events[4]['exec_time'] >= 0.05);
echo (new Recording('var_dump(qmsg_event("a"));', ['qmsg.output' => '']))->output;
check('no rules, no events', [], (new Recording('usleep(50000);'))->all('Monitor.Event'));
?>
--EXPECT--
bool(true)
int(1)
bool(false)
CustomEvent by qmsg_event
PhpError by error_events
SlowFunctionExecution by slow_function
FunctionError by function_error
SlowRequestExecution by slow_request
ok: custom
ok: its stack
ok: error
ok: slow function
ok: with its arguments
ok: time
ok: function that failed
ok: slow request
bool(false)
ok: no rules, no events
