--TEST--
A request has a begin, an end, and one tag
--FILE--
<?php
require __DIR__ . '/record.inc';
$run = new Recording('usleep(20000); http_response_code(404); echo "out"; exit(3);');
check('the program prints what it prints', 'out', $run->output);
check('it ends as it ends', 3, $run->status);
[$begin] = $run->all('QuorPHP.RInitData');
[$end] = $run->all('QuorPHP.RShutdownData');
check('nothing else is recorded', 2, count($run->records));
check('the begin comes first', $begin, $run->records[0]);
check('both have the tag', $begin['queue_id'], $end['queue_id']);
check('the tag is 16 digits', 1, preg_match('/^[0-9a-f]{16}$/', $begin['queue_id']));
check('PHP', [PHP_MAJOR_VERSION, PHP_MINOR_VERSION], [$begin['php_version']['major_version'], $begin['php_version']['minor_version']]);
check('the target is the script', '/program.php', $begin['target']);
check('the node', gethostname(), $begin['node_name']);
check('the time took at least the sleep', true, (float) $end['total_time'] >= 0.02);
check('and less than a minute', true, (float) $end['total_time'] < 60);
check('the status', 404, $end['http_response_code']);
check('the limit', 128 << 20, (int) $end['memory_limit']);

check('without output nothing is recorded', '', (new Recording('', ['qmsg.output' => '']))->bytes);
check('a group can be left out', [], (new Recording('', ['qmsg.record' => 'sql']))->records);
?>
--EXPECT--
ok: the program prints what it prints
ok: it ends as it ends
ok: nothing else is recorded
ok: the begin comes first
ok: both have the tag
ok: the tag is 16 digits
ok: PHP
ok: the target is the script
ok: the node
ok: the time took at least the sleep
ok: and less than a minute
ok: the status
ok: the limit
ok: without output nothing is recorded
ok: a group can be left out
