--TEST--
mysqli: statements, their rows, errors, stacks and transactions
--SKIPIF--
<?php
if (getenv('QMSG_MYSQL_SOCKET') === false) {
    echo 'skip needs MariaDB: ./dev apps mysqli';
}
?>
--FILE--
<?php
require __DIR__ . '/record.inc';
$run = new Recording(<<<'PHP'
mysqli_report(MYSQLI_REPORT_ERROR | MYSQLI_REPORT_STRICT);
$place = [null, 'qmsg', getenv('MYSQL_PWD'), 'qmsg', 0, getenv('QMSG_MYSQL_SOCKET')];
$db = new mysqli(...$place);
$db->query('CREATE TABLE item (id INT PRIMARY KEY, name VARCHAR(20)) ENGINE=InnoDB');
$db->begin_transaction();
$insert = $db->prepare('INSERT INTO item VALUES (?, ?)');
foreach ([1 => 'tea', 2 => 'pear'] as $id => $name) {
    $insert->bind_param('is', $id, $name);
    $insert->execute();
}
$db->savepoint('one');
$db->query("UPDATE item SET name = 'x'");
$db->query('ROLLBACK TO SAVEPOINT one');
$db->commit();
echo $db->query("SELECT * FROM item WHERE name > 'a'")->num_rows, "\n";
try {
    $db->query("INSERT INTO item VALUES (1, 'a secret text')");
} catch (mysqli_sql_exception $e) {
    echo $e->getCode(), "\n";
}
mysqli_report(MYSQLI_REPORT_OFF);
var_dump($db->prepare('SELEC 1'));
var_dump($insert->execute([2, 'again']));
$other = mysqli_connect(...$place);
mysqli_autocommit($other, false);
echo count(mysqli_fetch_all(mysqli_execute_query($other, 'SELECT id FROM item WHERE id < ?', [9]))), "\n";
mysqli_query($other, 'DELETE FROM item');
mysqli_rollback($other);
$other->multi_query("SELECT 1; SELECT 'b'");
do {
    $other->store_result();
} while ($other->next_result());
$named = $other->stmt_init();
$named->prepare('SELECT name FROM item');
$named->execute();
echo count($named->get_result()->fetch_all()), "\n";
$other->close();
$pdo = new PDO('mysql:unix_socket=' . $place[5] . ';dbname=qmsg', 'qmsg', $place[2]);
echo $pdo->query('SELECT id FROM item')->rowCount(), "\n";
$pdo->setAttribute(PDO::ATTR_ERRMODE, PDO::ERRMODE_SILENT);
var_dump($pdo->exec("INSERT INTO item VALUES (1, 'a')"));
PHP, ['display_errors' => 0], ['mysqlnd', 'mysqli', 'pdo_mysql']);
echo $run->output, "--\n";
$queries = $run->queries();
echo implode("\n", array_column($queries, 'query')), "\n";
$each = fn (string $field): array => array_map(fn ($query) => $query[$field] ?? 0, $queries);
check('types', [6, 2, 2, 3, 7, 1, 2, 0, 2, 1, 4, 1, 1, 1, 2], $each('statement_type'));
check('rows', [0, 1, 1, 2, 0, 2, 0, 0, 0, 2, 2, 0, 0, 2, 0], $each('rows'));
check('status: the number of MariaDB', [6 => 1062, 7 => 1064, 8 => 1062, 14 => 1062], array_filter($each('status')));
check('no value in an error', [], preg_grep("/secret|again|'1'|'2'/", array_column(array_column($queries, 'error'), 'message')));
check('prepared', [1, 2, 8, 9, 12], array_keys(array_filter($each('flags'), fn ($flags) => $flags & 1)));
check('several', [11, 14], array_keys(array_filter($each('flags'), fn ($flags) => $flags & 8)));
check('connections', [...array_fill(0, 9, 1), ...array_fill(0, 4, 2), 3, 3], $each('connection_id'));
check('all are MySQL', [1], array_values(array_unique($each('driver_type'))));
check('each took some time', [], array_filter($queries, fn ($query) => (float) $query['duration'] <= 0));
// Without autocommit, the database begins the next transaction by itself.
check('the transaction of each', [0, 1, 1, 2, 2, 0, 0, 0, 0, 4, 4, 0, 0, 0, 0], $each('transaction_id'));
$transactions = array_column($run->all('Tarq.SqlTransactions')[0]['transactions'], null, 'ident');
ksort($transactions);
check('rows that a transaction changed', [4, 2, 0, 2], array_map(fn ($one) => $one['rows'] ?? 0, array_values($transactions)));
check('savepoints are inside', [0, 1, 1, 0], array_map(fn ($one) => $one['parent_id'] ?? 0, array_values($transactions)));
check('stack', ['mysqli_execute_query 27', '/program.php 27'], frames($queries[9]['stack_trace']));
$text = implode("\n", array_column($run->all('Tarq.SqlConnections')[0]['connections'], 'dsn'));
check('places without a password', 3, substr_count(str_replace(getenv('QMSG_MYSQL_SOCKET'), 'SOCKET', $text), 'unix_socket=SOCKET'));
check('no password at all', false, str_contains($run->bytes, getenv('MYSQL_PWD')));
?>
--EXPECT--
2
1062
bool(false)
bool(false)
2
2
2
bool(false)
--
CREATE TABLE item (id INT PRIMARY KEY, name VARCHAR(?)) ENGINE=InnoDB
INSERT INTO item VALUES (?, ?)
INSERT INTO item VALUES (?, ?)
UPDATE item SET name = ?
ROLLBACK TO SAVEPOINT one
SELECT * FROM item WHERE name > ?
INSERT INTO item VALUES (?, ?)
SELEC ?
INSERT INTO item VALUES (?, ?)
SELECT id FROM item WHERE id < ?
DELETE FROM item
SELECT ?; SELECT ?
SELECT name FROM item
SELECT id FROM item
INSERT INTO item VALUES (?, ?)
ok: types
ok: rows
ok: status: the number of MariaDB
ok: no value in an error
ok: prepared
ok: several
ok: connections
ok: all are MySQL
ok: each took some time
ok: the transaction of each
ok: rows that a transaction changed
ok: savepoints are inside
ok: stack
ok: places without a password
ok: no password at all
