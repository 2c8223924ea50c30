--TEST--
SQLite3: statements, prepared ones and errors
--FILE--
<?php
require __DIR__ . '/record.inc';
$run = new Recording(<<<'PHP'
$db = new SQLite3(':memory:');
$db->exec('CREATE TABLE t (a)');
$db->exec('INSERT INTO t VALUES (1), (2)');
$statement = $db->prepare('SELECT a FROM t WHERE a > :least');
$statement->bindValue(':least', 1);
echo $statement->execute()->fetchArray()['a'], "\n";
echo $db->querySingle('SELECT max(a) FROM t'), "\n";
@$db->query('SELECT * FROM missing');
$db->enableExceptions(true);
try {
    $db->exec('also wrong');
} catch (Exception $e) {
    echo $e->getMessage(), "\n";
}
PHP);
echo $run->output;
$queries = $run->queries();
echo implode("\n", array_column($queries, 'query')), "\n";
check('rows of a change', 2, $queries[1]['rows']);
check('flag 1 is a prepared statement', '1', $queries[2]['flags']);
check('status', 1, $queries[4]['status']);
check('message of an exception', 'near "also": syntax error', $queries[5]['error']['message']);
check('one connection', [1], array_values(array_unique(array_column($queries, 'connection_id'))));
?>
--EXPECT--
2
2
near "also": syntax error
CREATE TABLE t (a)
INSERT INTO t VALUES (?), (?)
SELECT a FROM t WHERE a > :least
SELECT max(a) FROM t
SELECT * FROM missing
also wrong
ok: rows of a change
ok: flag 1 is a prepared statement
ok: status
ok: message of an exception
ok: one connection
