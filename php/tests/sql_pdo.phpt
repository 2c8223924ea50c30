--TEST--
PDO: statements, their rows, errors, stacks and transactions
--FILE--
<?php
require __DIR__ . '/record.inc';
$run = new Recording(<<<'PHP'
final class Shop
{
    public function __construct(private PDO $db) {}
    public function order(array $items): void
    {
        $this->db->beginTransaction();
        $insert = $this->db->prepare('INSERT INTO item VALUES (:id, :name)');
        foreach ($items as $id => $name) {
            $insert->execute(['id' => $id, 'name' => $name]);
        }
        $this->db->exec('SAVEPOINT one');
        $this->db->exec("UPDATE item SET name = 'x'");
        $this->db->exec('ROLLBACK TO one');
        $this->db->exec('RELEASE one');
        $this->db->commit();
    }
}
$db = new class('sqlite::memory:') extends PDO {};
$db->exec('CREATE TABLE item (id INTEGER PRIMARY KEY, name TEXT)');
(new Shop($db))->order([1 => 'a', 2 => 'b']);
$db->query('SELECT * FROM item WHERE id = 1')->fetchAll();
try {
    $db->exec("INSERT INTO item VALUES (1, 'again')");
} catch (PDOException $e) {
    echo $e->getMessage(), "\n";
}
try {
    $db->prepare('SELEC 1');
} catch (PDOException $e) {
    echo $e->getMessage(), "\n";
}
$db->setAttribute(PDO::ATTR_ERRMODE, PDO::ERRMODE_SILENT);
var_dump($db->query('SELECT * FROM missing'));
$db->exec('BEGIN');
PHP);
echo $run->output;
$queries = $run->queries();
echo implode("\n", array_column($queries, 'query')), "\n";
check('types', [6, 2, 2, 7, 3, 7, 7, 1, 2, 0, 1, 7], array_map(fn ($q) => $q['statement_type'] ?? 0, $queries));
check('rows', [0, 1, 1, 0, 2, 0, 0, 0, 0, 0, 0, 0], array_map(fn ($q) => $q['rows'] ?? 0, $queries));
check('status: the number of SQLite', [8 => 19, 9 => 1, 10 => 1], array_filter(array_map(fn ($q) => $q['status'] ?? 0, $queries)));
check('error', 'UNIQUE constraint failed: item.id', $queries[8]['error']['message']);
check('each took some time', [], array_filter($queries, fn ($q) => (float) $q['duration'] <= 0));
check('all are of the connection', [1], array_values(array_unique(array_column($queries, 'connection_id'))));
check('driver 3 is SQLite', [3], array_values(array_unique(array_column($queries, 'driver_type'))));
check('the connection', [['ident' => 1, 'driver_type' => 3, 'dsn' => 'sqlite::memory:']], $run->all('Tarq.SqlConnections')[0]['connections']);
check('the transaction of each', [null, 1, 1, 2, 2, 2, 3, null, null, null, null, 4], array_map(fn ($q) => $q['transaction_id'] ?? null, $queries));
$transactions = array_column($run->all('Tarq.SqlTransactions')[0]['transactions'], null, 'ident');
ksort($transactions);
check('savepoints are inside', [null, 1, 1, null], array_map(fn ($t) => $t['parent_id'] ?? null, array_values($transactions)));
check('rows that a transaction changed', [4, 2, 0, 0], array_map(fn ($t) => $t['rows'] ?? 0, array_values($transactions)));
check('stack', ['PDOStatement::execute 10', 'Shop::order 21', '/program.php 21'], frames($queries[1]['stack_trace']));
check('frame 0 is the innermost', [null, 1, 2], array_map(fn ($f) => $f['frame_id'] ?? null, $queries[1]['stack_trace']['frames']));
check('arguments', '["a","b"]', preg_replace('/"(\d)":/', '', strtr($queries[1]['stack_trace']['frames'][1]['function_args']['values'][0]['value']['json_value'], '{}', '[]')));
?>
--EXPECT--
SQLSTATE[23000]: Integrity constraint violation: 19 UNIQUE constraint failed: item.id
SQLSTATE[HY000]: General error: 1 near "SELEC": syntax error
bool(false)
CREATE TABLE item (id INTEGER PRIMARY KEY, name TEXT)
INSERT INTO item VALUES (:id, :name)
INSERT INTO item VALUES (:id, :name)
SAVEPOINT one
UPDATE item SET name = ?
ROLLBACK TO one
RELEASE one
SELECT * FROM item WHERE id = ?
INSERT INTO item VALUES (?, ?)
SELEC ?
SELECT * FROM missing
BEGIN
ok: types
ok: rows
ok: status: the number of SQLite
ok: error
ok: each took some time
ok: all are of the connection
ok: driver 3 is SQLite
ok: the connection
ok: the transaction of each
ok: savepoints are inside
ok: rows that a transaction changed
ok: stack
ok: frame 0 is the innermost
ok: arguments
