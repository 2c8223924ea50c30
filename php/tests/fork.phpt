--TEST--
A forked process is a request of its own
--EXTENSIONS--
pcntl
--SKIPIF--
<?php
if (str_contains(getenv('QMSG_PHP_UNDER') ?: '', 'valgrind')) {
    echo 'skip it depends on time, of which valgrind takes much';
}
?>
--FILE--
<?php
require __DIR__ . '/record.inc';
foreach (['off', 'sample', 'exact'] as $functions) {
    $run = new Recording(<<<'PHP'
    function spin() { $end = hrtime(true) + 20000000; while (hrtime(true) < $end) { } }
    $db = new PDO('sqlite::memory:');
    $db->exec('SELECT 1 AS before');
    $child = pcntl_fork();
    $db->exec($child ? 'SELECT 1 AS parent' : 'SELECT 1 AS child');
    spin();
    if ($child) {
        pcntl_wait($status);
        echo pcntl_wexitstatus($status);
    }
    PHP, ['qmsg.functions' => $functions]);
    check('both end well', '0', $run->output);
    $requests = [];
    foreach ($run->records as $record) {
        $requests[$record['queue_id']][] = basename(strtr($record['@type'], '.', '/'));
    }
    check('two requests', 2, count($requests));
    foreach ($requests as $records) {
        check('begin and end', [1, 1], [array_count_values($records)['RInitData'], array_count_values($records)['RShutdownData']]);
        check('times', $functions === 'off' ? 0 : 1, array_count_values($records)['Functions'] ?? 0);
    }
    $queries = array_map(fn ($q) => array_column($q['queries'], 'query'), $run->all('Tarq.SqlQueries'));
    sort($queries);
    check('the statements of each, once', [['SELECT ? AS child'], ['SELECT ? AS before', 'SELECT ? AS parent']], $queries);
}
?>
--EXPECT--
ok: both end well
ok: two requests
ok: begin and end
ok: times
ok: begin and end
ok: times
ok: the statements of each, once
ok: both end well
ok: two requests
ok: begin and end
ok: times
ok: begin and end
ok: times
ok: the statements of each, once
ok: both end well
ok: two requests
ok: begin and end
ok: times
ok: begin and end
ok: times
ok: the statements of each, once
