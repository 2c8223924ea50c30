--TEST--
A statement in which the request ends is recorded as unfinished
--FILE--
<?php
require __DIR__ . '/record.inc';
$program = <<<'PHP'
$db = new PDO('sqlite::memory:');
$db->sqliteCreateFunction('end', function () { %s });
register_shutdown_function(fn () => $db->query("SELECT 'last'"));
$db->query("SELECT end()");
echo 'never';
PHP;
foreach (['$x = str_repeat("x", 1 << 30);', 'exit(0);', 'class Twice {} eval("class Twice {}");'] as $end) {
    $run = new Recording(sprintf($program, $end));
    check('nothing runs behind it', false, str_contains($run->output, 'never'));
    $queries = $run->queries();
    usort($queries, fn ($a, $b) => $b['query'] <=> $a['query']);
    check('both statements', ['SELECT end()', 'SELECT ?'], array_column($queries, 'query'));
    check('flag 4 is set', [4, 0], array_map(fn ($q) => (int) ($q['flags'] ?? 0), $queries));
    check('the request has its end', 1, count($run->all('QuorPHP.RShutdownData')));
}
?>
--EXPECT--
ok: nothing runs behind it
ok: both statements
ok: flag 4 is set
ok: the request has its end
ok: nothing runs behind it
ok: both statements
ok: flag 4 is set
ok: the request has its end
ok: nothing runs behind it
ok: both statements
ok: flag 4 is set
ok: the request has its end
