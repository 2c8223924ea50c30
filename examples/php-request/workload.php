<?php
declare(strict_types=1);

// A small shop takes orders.

namespace Shop;

use PDO;
use PDOException;
use PDOStatement;
use SensitiveParameter;

final class Database
{
    public int $ran = 0;
    public int $refused = 0;
    private int $depth = 0;

    public function __construct(private readonly PDO $pdo)
    {
    }

    public function run(string $sql, array $parameters = []): PDOStatement
    {
        ++$this->ran;
        try {
            $statement = $this->pdo->prepare($sql);
            $statement->execute($parameters);
            return $statement;
        } catch (PDOException $error) {
            ++$this->refused;
            throw $error;
        }
    }

    /** What fails inside is undone; a transaction inside a transaction is a savepoint. */
    public function transaction(callable $work): mixed
    {
        $inner = $this->depth > 0;
        $savepoint = 'level_' . $this->depth;
        $inner ? $this->run("SAVEPOINT $savepoint") : $this->pdo->beginTransaction();
        ++$this->depth;
        try {
            $result = $work();
            $inner ? $this->run("RELEASE $savepoint") : $this->pdo->commit();
            return $result;
        } catch (PDOException $error) {
            if ($inner) {
                $this->run("ROLLBACK TO $savepoint");
                $this->run("RELEASE $savepoint");
            } else {
                $this->pdo->rollBack();
            }
            throw $error;
        } finally {
            --$this->depth;
        }
    }
}

final class Shop
{
    public function __construct(private readonly Database $database)
    {
    }

    public function create(): void
    {
        $this->database->run('CREATE TABLE customer (
            id INTEGER PRIMARY KEY, email TEXT NOT NULL UNIQUE, name TEXT NOT NULL,
            password TEXT NOT NULL, discount REAL NOT NULL, newsletter INTEGER NOT NULL, phone TEXT)');
        $this->database->run('CREATE TABLE product (
            id INTEGER PRIMARY KEY, name TEXT NOT NULL, price INTEGER NOT NULL, stock INTEGER NOT NULL)');
        $this->database->run('CREATE TABLE "order" (
            id INTEGER PRIMARY KEY, customer_id INTEGER NOT NULL REFERENCES customer, note TEXT)');
        $this->database->run('CREATE TABLE line (
            order_id INTEGER NOT NULL REFERENCES "order", product_id INTEGER NOT NULL REFERENCES product,
            quantity INTEGER NOT NULL)');
    }

    public function stock(int $customers, int $products, int $orders): void
    {
        $numbers = 'WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < CAST(? AS INTEGER))';
        $this->database->transaction(function () use ($numbers, $customers, $products, $orders): void {
            $this->database->run("INSERT INTO customer $numbers
                SELECT i, 'c' || i || '@example.org', 'Customer ' || i, '', 0.0, i % 2, NULL FROM n", [$customers]);
            $this->database->run("INSERT INTO product $numbers
                SELECT i, 'Crème brûlée No. ' || i, 100 + i * 37 % 900, 1000 FROM n", [$products]);
            $this->database->run("INSERT INTO \"order\" $numbers
                SELECT i, 1 + i * 7919 % $customers, NULL FROM n", [$orders]);
            $this->database->run("INSERT INTO line $numbers
                SELECT 1 + i / 4, 1 + i * 104729 % $products, 1 + i % 3 FROM n", [4 * $orders - 1]);
        });
    }

    public function register(
        string $email,
        string $name,
        #[SensitiveParameter] string $password,
        float $discount,
        bool $newsletter,
        ?string $phone,
    ): int {
        return $this->database->transaction(function () use (
            $email, $name, $password, $discount, $newsletter, $phone,
        ): int {
            $this->database->run(
                'INSERT INTO customer (email, name, password, discount, newsletter, phone)
                 VALUES (?, ?, ?, ?, ?, ?)',
                [$email, $name, hash('sha256', $password), $discount, (int) $newsletter, $phone],
            );
            return (int) $this->database->run('SELECT last_insert_rowid()')->fetchColumn();
        });
    }

    /** A customer who is in the database already stays as they are. */
    public function customer(string $email, string $name, float $discount, bool $newsletter, ?string $phone): int
    {
        try {
            return $this->register($email, $name, 'correct horse', $discount, $newsletter, $phone);
        } catch (PDOException) {
            return (int) $this->database->run('SELECT id FROM customer WHERE email = ?', [$email])
                ->fetchColumn();
        }
    }

    /** @param array $buyer the arguments of customer(), by name */
    public function order(int $number, array $buyer, array $quantities, ?string $note): int
    {
        return $this->database->transaction(function () use ($number, $buyer, $quantities, $note): int {
            $customer = $this->customer(...$buyer);
            $this->database->run('INSERT INTO "order" VALUES (?, ?, ?)', [$number, $customer, $note]);
            array_map(
                fn (int $product, int $quantity) => $this->addLine($number, $product, $quantity),
                array_keys($quantities),
                $quantities,
            );
            return $customer;
        });
    }

    private function addLine(int $order, int $product, int $quantity): void
    {
        $this->database->run('INSERT INTO line VALUES (?, ?, ?)', [$order, $product, $quantity]);
        $this->database->run('UPDATE product SET stock = stock - ? WHERE id = ?', [$quantity, $product]);
    }

    public function bestCustomers(int $count): array
    {
        return $this->database->run(
            'SELECT c.name, COUNT(DISTINCT o.id) AS orders, SUM(l.quantity * p.price) AS spent
             FROM customer c
             JOIN "order" o ON o.customer_id = c.id
             JOIN line l ON l.order_id = o.id
             JOIN product p ON p.id = l.product_id
             GROUP BY c.id ORDER BY spent DESC LIMIT CAST(? AS INTEGER)',
            [$count],
        )->fetchAll(PDO::FETCH_ASSOC);
    }

    public function soldTogether(): array
    {
        $pairs = [];
        $statement = $this->database->run(
            'SELECT a.product_id AS one, b.product_id AS other, COUNT(*) AS times
             FROM line a JOIN line b ON b.order_id = a.order_id AND b.product_id > a.product_id
             GROUP BY 1, 2 HAVING times > 1 ORDER BY times DESC, one LIMIT 20');
        foreach ($statement as $pair) {
            $pairs[] = $pair['one'] . '+' . $pair['other'];
        }
        return $pairs;
    }
}

$file = tempnam(sys_get_temp_dir(), 'shop');
register_shutdown_function(unlink(...), $file);
$database = new Database(new PDO("sqlite:$file"));
$shop = new Shop($database);

$shop->create();
$shop->stock(400, 200, 5000);
$ada = ['email' => 'ada@example.org', 'name' => 'Ada', 'discount' => 0.0, 'newsletter' => true,
    'phone' => '+44 20 7946 0000'];
$shop->order(5001, $ada, [3 => 1, 14 => 2, 15 => 1], null);
// From an old list in Latin-1, and under an address that is taken.
$zoe = ['email' => 'ada@example.org', 'name' => "Zo\xEB", 'discount' => 0.15, 'newsletter' => false,
    'phone' => null];
$shop->order(5002, $zoe, [3 => 2, 14 => 1], 'Grüße aus Zürich');
$shop->soldTogether();
$best = $shop->bestCustomers(5);
http_response_code(201);

printf("%d statements, %d refused, pid %d, PHP %s, best customer: %s\n",
    $database->ran, $database->refused, getmypid(), PHP_VERSION, $best[0]['name']);
