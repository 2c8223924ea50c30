--TEST--
What a request records is bounded, and what is left out is counted
--FILE--
<?php
require __DIR__ . '/record.inc';
$db = '$db = new PDO("sqlite::memory:"); ';
$run = new Recording($db . 'for ($i = 0; $i < 100000; $i++) { $db->exec("SELECT 1"); } $db->beginTransaction();', ['qmsg.max_request' => '1M']);
check('bytes', true, strlen($run->bytes) > 700_000 && strlen($run->bytes) < 1_100_000);
check('each statement is recorded or counted', 100000, count($run->queries()) + $run->loss('dropped.statements'));
check('the connection is there', 1, count($run->all('Tarq.SqlConnections')));
check('the transaction is there', 1, count($run->all('Tarq.SqlTransactions')));
check('the end is there', 1, count($run->all('QuorPHP.RShutdownData')));

$run = new Recording($db . 'ini_set("memory_limit", "1G"); $big = "SELECT \'" . str_repeat("x", 50_000_000) . "\'"; $db->query($big); echo memory_get_peak_usage() - strlen($big) < 80_000_000 ? "small" : "large";');
check('a statement of 50 MB runs', 'small', $run->output);
check('it is cut', 1, $run->loss('cut.texts'));
check('flag 2 says so', '2', $run->queries()[0]['flags']);

$run = new Recording($db . '$db->exec("SELECT 1 -- " . str_repeat("x", 10) . "\n, abcdefghij");', ['qmsg.max_text' => 20]);
check('max_text', 'SELECT ?  ', $run->queries()[0]['query']);

$run = new Recording('function f($x, $y) { trigger_error("here"); } f(str_repeat("ä", 100), range(1, 100));', ['qmsg.max_argument' => 11, 'display_errors' => 0]);
[$text, $list] = $run->all('Tarq.Error')[0]['stack_trace']['frames'][1]['function_args']['values'];
check('an argument is cut between characters', 'äääää...', $text['value']['string_value']);
check('elements of an array', true, str_ends_with($list['value']['json_value'], ',"..."]') && json_decode($list['value']['json_value']) !== null);

$run = new Recording('function v($first, ...$rest) { trigger_error("here"); } v(1, 2, 3, 4);', ['display_errors' => 0]);
check('arguments of a variadic parameter', ['first', 'rest', '2', '3'], array_map(fn ($v) => $v['string_key'] ?? $v['int_key'], $run->all('Tarq.Error')[0]['stack_trace']['frames'][1]['function_args']['values']));

$run = new Recording('function deep($n) { $n ? deep($n - 1) : trigger_error("here"); } deep(1000);', ['qmsg.stack_depth' => 3, 'display_errors' => 0]);
check('stack_depth', 3, count($run->all('Tarq.Error')[0]['stack_trace']['frames']));
check('no stack at all', [], (new Recording($db . '$db->query("SELECT 1");', ['qmsg.stack_depth' => 0]))->queries()[0]['stack_trace'] ?? []);

$run = new Recording('for ($i = 0; $i < 5000; $i++) { qmsg_event("loop"); }');
check('events', 1000, count($run->all('Monitor.Event')));
check('and those beyond', 4000, $run->loss('dropped.events'));
foreach (['qmsg.output=nowhere', 'qmsg.record=sql,everything', 'qmsg.functions=some', 'qmsg.max_text=-1', 'qmsg.sample_interval=5'] as $setting) {
    [$name, $value] = explode('=', $setting);
    echo (new Recording('', [$name => $value, 'html_errors' => 0]))->output;
}
?>
--EXPECT--
ok: bytes
ok: each statement is recorded or counted
ok: the connection is there
ok: the transaction is there
ok: the end is there
ok: a statement of 50 MB runs
ok: it is cut
ok: flag 2 says so
ok: max_text
ok: an argument is cut between characters
ok: elements of an array
ok: arguments of a variadic parameter
ok: stack_depth
ok: no stack at all
ok: events
ok: and those beyond

Warning: qmsg.output: 'nowhere' is neither file: nor unix: with an absolute path, nor empty, which records nothing in Unknown on line 0

Warning: qmsg.record: there is no 'everything'. There are request, sql, errors, superglobals, headers, post, response and all in Unknown on line 0

Warning: qmsg.functions: there is no 'some'. There are off, sample and exact in Unknown on line 0

Warning: qmsg.max_text: '-1' is less than 0 in Unknown on line 0

Warning: qmsg.sample_interval: '5' is less than 100 in Unknown on line 0
